// velm/version.h: the version of the library, stated here and nowhere else; the build reads it.
#pragma once

#define VELM_VERSION_MAJOR 0
#define VELM_VERSION_MINOR 1
#define VELM_VERSION_PATCH 0
#define VELM_VERSION_STRING "0.1.0"
