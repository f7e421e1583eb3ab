#include "velm/platform/debug_break.h"

#include <csignal>

void DebugBreak() { std::raise(SIGTRAP); }
