// failure.h: `Failure`, the sentence with which the program ends early.
#pragma once

#include <stdexcept>
#include <string>

namespace velm::inspect {

/// What is at fault. The program has an exit code for each.
enum class FailureKind {
    usage, ///< the command line is wrong
    input, ///< an input can't be understood
    file,  ///< a file can't be read or written, stdout included
};

/// A failure that ends the program: one sentence for stderr, naming the file, the line and the
/// cause. It may contain texts from files unescaped: the code that prints it passes it through
/// `terminal_text`.
class Failure : public std::runtime_error {
public:
    Failure(FailureKind kind, const std::string& sentence)
        : std::runtime_error(sentence), kind_(kind) {}
    FailureKind kind() const { return kind_; }

private:
    FailureKind kind_;
};

/// The sentence "'path': what: <text of errno>" as a failure of the kind `file`.
[[noreturn]] void fail_file(const std::string& path, const char* what, int error);

/// "velm-inspect: warning: ..." on stderr.
void warn_user(const std::string& sentence);

} // namespace velm::inspect
