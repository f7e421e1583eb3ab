// KernelGuard: a failure of the CAD kernel ends the process with one sentence.
#pragma once

#include <csignal>
#include <string>
#include <vector>

namespace velm::cad {

/// The kernel follows what a damaged file says, and may read where nothing is. As long as a guard
/// lives, the signals of that end the process: it writes the sentence to stderr and exits with the
/// code. Nothing is cleaned up, so no output may be open. One at a time.
class KernelGuard {
public:
    KernelGuard(const std::string& sentence, int exit_code);
    KernelGuard(const KernelGuard&) = delete;
    KernelGuard& operator=(const KernelGuard&) = delete;
    ~KernelGuard();

private:
    struct Former {
        int signal;
        struct sigaction action;
    };
    std::vector<Former> former_;
    std::vector<char> stack_; ///< for the handler: the process's own may be what is used up
};

} // namespace velm::cad
