// exit_code.h: the endings of the program: `ExitCode`.
#pragma once

#include "inspect/base/failure.h"

namespace velm::inspect {

/// The exit codes, documented in --help; scripts depend on them.
enum class ExitCode : int {
    good = 0,             ///< everything in tolerance, or no tolerance given
    out_of_tolerance = 1, ///< at least one value out of tolerance
    usage = 2,
    input = 3,
    file = 4,
};

inline ExitCode exit_code(FailureKind kind) {
    switch (kind) {
    case FailureKind::usage:
        return ExitCode::usage;
    case FailureKind::input:
        return ExitCode::input;
    case FailureKind::file:
        break;
    }
    return ExitCode::file;
}

} // namespace velm::inspect
