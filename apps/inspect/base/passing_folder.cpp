#include "inspect/base/passing_folder.h"

#include "inspect/base/failure.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <sys/wait.h>
#include <unistd.h>

namespace velm::inspect {
namespace {

// Holds back the signals that end a program, so that none comes between the making of the folder
// and the process that removes it, which keeps them blocked.
class BlockedSignals {
public:
    BlockedSignals() {
        sigset_t ends;
        sigemptyset(&ends);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP})
            sigaddset(&ends, signal);
        ::sigprocmask(SIG_BLOCK, &ends, &before_);
    }
    ~BlockedSignals() { ::sigprocmask(SIG_SETMASK, &before_, nullptr); }
    BlockedSignals(const BlockedSignals&) = delete;
    BlockedSignals& operator=(const BlockedSignals&) = delete;

private:
    sigset_t before_{};
};

// Closes all else that was inherited: others wait for the end of pipes among it, such as those of
// other folders. Descriptors are given out from 0, and the program opens few.
void close_all_but(int kept) {
    constexpr long most_looked_at = 4096;
    const long most = std::min(::sysconf(_SC_OPEN_MAX), most_looked_at);
    for (int descriptor = 0; descriptor < most; ++descriptor)
        if (descriptor != kept) ::close(descriptor);
}

// Removes the folder when the pipe ends. A reader of CAD files that ends at the same moment may
// still put a file there, so it is tried again.
[[noreturn]] void remove_at_the_end(int from, const std::string& folder) {
    ::setsid(); // what is sent to the program's group isn't sent here
    close_all_but(from);
    char byte = 0;
    while (::read(from, &byte, 1) != 0 && errno == EINTR) {
    }
    constexpr int most_tries = 100;      // two seconds in all
    constexpr useconds_t pause = 20'000; // microseconds
    std::error_code error;
    for (int n = 0; n < most_tries; ++n) {
        std::filesystem::remove_all(folder, error);
        if (!error && !std::filesystem::exists(folder, error)) break;
        ::usleep(pause);
    }
    ::_exit(0);
}

} // namespace

PassingFolder::PassingFolder() {
    std::error_code error;
    const std::filesystem::path place = std::filesystem::temp_directory_path(error);
    path_ = ((error ? "/tmp" : place) / "velm-XXXXXX").string();
    const BlockedSignals blocked; // until the folder has its remover
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) fail_file(path_, "can't be created", errno);
    if (::mkdtemp(path_.data()) != nullptr) {
        remover_ = ::fork();
        if (remover_ == 0) remove_at_the_end(ends[0], path_);
    }
    const int fault = errno;
    ::close(ends[0]);
    lifeline_ = ends[1];
    if (remover_ >= 0) return;
    ::close(lifeline_);
    ::rmdir(path_.c_str());
    fail_file(path_, "can't be created", fault);
}

PassingFolder::~PassingFolder() {
    ::close(lifeline_);
    while (::waitpid(remover_, nullptr, 0) < 0 && errno == EINTR) {
    }
}

} // namespace velm::inspect
