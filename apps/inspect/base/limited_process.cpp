#include "inspect/base/limited_process.h"

#include "inspect/base/failure.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#ifdef __linux__
#include <sys/prctl.h>
#endif

namespace velm::inspect {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t most_said = 4096;            // bytes that are kept
constexpr std::chrono::milliseconds look_again{5}; // whether it has ended
constexpr double grace = 5.0;                      // seconds, for the clock to end it first

double seconds_of(const ProcessLimits& limits) {
    constexpr double longest = 1e9; // that fits the clock
    return std::min(limits.seconds, longest);
}

void lower_limit(int resource, std::uint64_t most) {
    rlimit limits{};
    if (::getrlimit(static_cast<__rlimit_resource>(resource), &limits) != 0) return;
    const auto wanted = static_cast<rlim_t>(most);
    if (limits.rlim_max == RLIM_INFINITY || wanted < limits.rlim_max) limits.rlim_max = wanted;
    limits.rlim_cur = limits.rlim_max;
    ::setrlimit(static_cast<__rlimit_resource>(resource), &limits);
}

// In the child: the program with its limits, or the end.
[[noreturn]] void become(const std::vector<char*>& arguments, int said, pid_t parent,
                         const ProcessLimits& limits) {
    ::setpgid(0, 0);
    const int nothing = ::open("/dev/null", O_RDWR);
    ::dup2(nothing, STDIN_FILENO);
    ::dup2(nothing, STDOUT_FILENO);
    ::dup2(said, STDERR_FILENO);
#ifdef __linux__
    ::prctl(PR_SET_PDEATHSIG, SIGKILL); // it doesn't outlive this program
#endif
    if (::getppid() != parent) ::_exit(127);
    lower_limit(RLIMIT_AS, limits.bytes);
    lower_limit(RLIMIT_CPU, static_cast<std::uint64_t>(std::ceil(seconds_of(limits) + grace)));
    lower_limit(RLIMIT_FSIZE, limits.file_bytes);
    lower_limit(RLIMIT_CORE, 0);
    ::execv(arguments.front(), arguments.data());
    ::_exit(127);
}

// Takes what is there to read; false when nothing more can come.
bool hear(int from, std::string& said) {
    char bytes[most_said];
    for (;;) {
        const ssize_t got = ::read(from, bytes, sizeof bytes);
        if (got == 0) return false;
        if (got < 0) return errno == EAGAIN || errno == EINTR;
        said.append(bytes, static_cast<std::size_t>(got));
        if (said.size() > most_said) said.erase(0, said.size() - most_said);
    }
}

bool has_ended(pid_t child) {
    siginfo_t state{};
    return ::waitid(P_PID, static_cast<id_t>(child), &state, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           state.si_pid == child;
}

// Listens until the child has ended, whether or not it or others keep the pipe open, or the time is
// over; then ends the child's group.
ProcessEnd attend(pid_t child, int from, Clock::time_point deadline) {
    ProcessEnd end;
    bool listens = true;
    while (!has_ended(child) && !end.timed_out) {
        pollfd ready{listens ? from : -1, POLLIN, 0};
        ::poll(&ready, 1, static_cast<int>(look_again.count()));
        if (ready.revents != 0) listens = hear(from, end.said);
        end.timed_out = Clock::now() >= deadline;
    }
    if (listens) hear(from, end.said);
    ::kill(-child, SIGKILL); // before its number is free
    while (::waitpid(child, &end.status, 0) < 0 && errno == EINTR) {
    }
    return end;
}

} // namespace

ProcessEnd run_limited(std::vector<std::string> words, const ProcessLimits& limits) {
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) fail_file(words.front(), "can't be run", errno);
    ::fcntl(ends[0], F_SETFL, O_NONBLOCK);
    const auto deadline =
        Clock::now() + std::chrono::milliseconds(std::llround(1000.0 * seconds_of(limits)));
    const pid_t parent = ::getpid(), child = ::fork();
    if (child == 0) become(arguments, ends[1], parent, limits);
    const int fault = errno;
    ::close(ends[1]);
    if (child < 0) {
        ::close(ends[0]);
        fail_file(words.front(), "can't be run", fault);
    }
    ::setpgid(child, child); // whichever of the two is first
    ProcessEnd end = attend(child, ends[0], deadline);
    ::close(ends[0]);
    return end;
}

} // namespace velm::inspect
