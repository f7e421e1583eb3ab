// velm/export.h: which symbols leave the library. VELM_API marks what a host may link against;
// everything else stays hidden. Define VELM_STATIC to build or use the static library.
#pragma once

#if defined(VELM_STATIC)
#define VELM_API
#elif defined(_WIN32)
#if defined(VELM_BUILDING)
#define VELM_API __declspec(dllexport)
#else
#define VELM_API __declspec(dllimport)
#endif
#else
#define VELM_API __attribute__((visibility("default")))
#endif

#if defined(__FAST_MATH__)
#error "velm needs strict IEEE arithmetic: compile without -ffast-math"
#endif
