#include "cad/kernel_guard.h"

#include <cstddef>
#include <unistd.h>

namespace velm::cad {

namespace {

// For the handler, which may allocate nothing.
std::string guarded_sentence;
int guarded_code = 0;

extern "C" void end_process(int) {
    const ssize_t written = write(STDERR_FILENO, guarded_sentence.data(), guarded_sentence.size());
    static_cast<void>(written);
    _exit(guarded_code);
}

} // namespace

KernelGuard::KernelGuard(const std::string& sentence, int exit_code) {
    guarded_sentence = sentence + "\n";
    guarded_code = exit_code;
    constexpr std::size_t stack_size = 65536;
    stack_.resize(stack_size);
    stack_t stack{};
    stack.ss_sp = stack_.data();
    stack.ss_size = stack_.size();
    sigaltstack(&stack, nullptr);
    for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT}) {
        struct sigaction action {};
        action.sa_handler = end_process;
        action.sa_flags = SA_ONSTACK;
        Former former{signal, {}};
        if (sigaction(signal, &action, &former.action) == 0) former_.push_back(former);
    }
}

KernelGuard::~KernelGuard() {
    for (const Former& former : former_)
        sigaction(former.signal, &former.action, nullptr);
    stack_t stack{};
    stack.ss_flags = SS_DISABLE;
    sigaltstack(&stack, nullptr);
}

} // namespace velm::cad
