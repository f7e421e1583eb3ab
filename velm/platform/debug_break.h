// DebugBreak: stops in the debugger.
#pragma once

#include "velm/export.h"

/// Stops in a debugger that is attached, and returns when it goes on; without one the process ends.
VELM_API void DebugBreak();
