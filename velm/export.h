// velm/export.h: which symbols leave the library, and what it asks of a compiler. VELM_API marks
// what a host may link against; everything else stays hidden. Define VELM_STATIC to build or use
// the static library.
#pragma once

#if !defined(__cplusplus) || __cplusplus < 202002L
#error "velm needs C++20: compile with -std=c++20 or later"
#endif

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

/// Before the definition of a static object of class type: it is made before all static objects
/// without a priority and destroyed after them, so that a host's own static objects can use it. The
/// lower priorities are the compiler's own.
#if defined(__GNUC__)
#define VELM_INIT_FIRST __attribute__((init_priority(101)))
#else
#define VELM_INIT_FIRST
#endif

#if defined(__FAST_MATH__)
#error "velm needs strict IEEE arithmetic: compile without -ffast-math"
#endif
