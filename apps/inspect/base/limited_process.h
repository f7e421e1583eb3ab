// limited_process.h: a program run with limits: `ProcessLimits`, `ProcessEnd`, `run_limited`.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace velm::inspect {

struct ProcessLimits {
    double seconds = 0.0;         ///< of the clock
    std::uint64_t bytes = 0;      ///< of memory
    std::uint64_t file_bytes = 0; ///< of a file that it writes
};

struct ProcessEnd {
    int status = 0;         ///< as waitpid gives it
    bool timed_out = false; ///< it was ended by the clock
    std::string said;       ///< the end of what it wrote to standard error
};

/// Runs a program (its path, then its arguments) without input and waits for it, not longer than
/// the limit. Programs that it has started itself are ended with it. Throws `Failure` (file) if no
/// process can be had; a program that can't be run ends with code 127.
ProcessEnd run_limited(std::vector<std::string> words, const ProcessLimits& limits);

} // namespace velm::inspect
