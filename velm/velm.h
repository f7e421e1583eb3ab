// velm/velm.h: everything in one include.
#pragma once

#include "velm/frame/reference.h"
#include "velm/fwd.h"
#include "velm/version.h"
