// failure.h: the endings of velm-inspect: `ExitCode` and `Failure`, the one exception of the
// program.
#pragma once

#include <stdexcept>
#include <string>

namespace velm::inspect {

/// The exit codes, documented in --help; scripts depend on them.
enum class ExitCode : int {
    good = 0,             ///< everything in tolerance, or no tolerance given
    out_of_tolerance = 1, ///< at least one value out of tolerance
    usage = 2,            ///< the command line is wrong
    input = 3,            ///< an input that can't be understood
    file = 4,             ///< a file that can't be read or written, stdout included
};

/// A failure that ends the program: one sentence for stderr, naming the file, the line and the
/// cause, and the exit code. It may contain texts from files unescaped: the code that prints it
/// passes it through `terminal_text`.
class Failure : public std::runtime_error {
public:
    Failure(ExitCode code, const std::string& sentence)
        : std::runtime_error(sentence), code_(code) {}
    ExitCode code() const { return code_; }

private:
    ExitCode code_;
};

/// The sentence "'path': what: <text of errno>" as a failure of the lane `file`.
[[noreturn]] void fail_file(const std::string& path, const char* what, int error);

/// "velm-inspect: warning: ..." on stderr.
void warn_user(const std::string& sentence);

} // namespace velm::inspect
