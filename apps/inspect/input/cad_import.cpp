#include "inspect/input/cad_import.h"

#include "inspect/base/failure.h"
#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <string_view>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#ifdef __linux__
#include <sys/prctl.h>
#endif

namespace velm::inspect {
namespace {

namespace fs = std::filesystem;

constexpr const char* importer = "velm-cad-import";
constexpr std::size_t most_complaint = 4096; // bytes of what it says that are kept

std::string lower_case(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

bool is_program(const fs::path& path) {
    std::error_code error;
    return fs::is_regular_file(path, error) && ::access(path.c_str(), X_OK) == 0;
}

// Beside this program, as they are installed or built, then in PATH; empty if it is nowhere.
std::string find_importer() {
    std::error_code error;
    const fs::path self = fs::read_symlink("/proc/self/exe", error);
    if (!error) {
        const fs::path folder = self.parent_path();
        for (const fs::path& beside : {folder / importer, folder / ".." / "cad" / importer})
            if (is_program(beside)) return beside;
    }
    const char* const path = std::getenv("PATH");
    std::string_view rest = path != nullptr ? path : "";
    while (!rest.empty()) {
        const std::string_view folder = rest.substr(0, rest.find(':'));
        rest.remove_prefix(std::min(folder.size() + 1, rest.size()));
        if (!folder.empty() && is_program(fs::path(folder) / importer))
            return fs::path(folder) / importer;
    }
    return {};
}

void limit(int resource, std::uint64_t most) {
    rlimit limits{};
    if (::getrlimit(static_cast<__rlimit_resource>(resource), &limits) != 0) return;
    const auto wanted = static_cast<rlim_t>(most);
    if (limits.rlim_max == RLIM_INFINITY || wanted < limits.rlim_max) limits.rlim_max = wanted;
    limits.rlim_cur = limits.rlim_max;
    ::setrlimit(static_cast<__rlimit_resource>(resource), &limits);
}

struct Ended {
    int status = 0;
    bool timed_out = false;
    std::string said; // on its standard error
};

// In the child: the program with its limits, or the end.
[[noreturn]] void become(const std::vector<char*>& arguments, int said,
                         const ImportLimits& limits) {
    const int nothing = ::open("/dev/null", O_RDWR);
    ::dup2(nothing, STDIN_FILENO);
    ::dup2(nothing, STDOUT_FILENO);
    ::dup2(said, STDERR_FILENO);
#ifdef __linux__
    ::prctl(PR_SET_PDEATHSIG, SIGKILL); // it doesn't outlive this program
#endif
    limit(RLIMIT_AS, limits.bytes);
    limit(RLIMIT_CPU, static_cast<std::uint64_t>(limits.seconds));
    limit(RLIMIT_FSIZE, limits.file_bytes);
    limit(RLIMIT_CORE, 0);
    ::execv(arguments.front(), arguments.data());
    ::_exit(127);
}

// Reads what the child says until it closes its end or the time is over.
bool gather(int from, std::chrono::steady_clock::time_point end, std::string& said) {
    char bytes[1024];
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            end - std::chrono::steady_clock::now());
        if (left.count() <= 0) return false;
        pollfd ready{from, POLLIN, 0};
        const int events =
            ::poll(&ready, 1, static_cast<int>(std::min<long>(left.count(), 60'000)));
        if (events < 0 && errno != EINTR) return false;
        if (events <= 0) continue;
        const ssize_t got = ::read(from, bytes, sizeof bytes);
        if (got == 0 || (got < 0 && errno != EINTR)) return true;
        if (got > 0 && said.size() < most_complaint)
            said.append(bytes, static_cast<std::size_t>(got));
    }
}

Ended run(std::vector<std::string> words, const ImportLimits& limits) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) fail_file(importer, "can't be run", errno);
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    const pid_t child = ::fork();
    if (child < 0) fail_file(importer, "can't be run", errno);
    if (child == 0) become(arguments, ends[1], limits);
    ::close(ends[1]);
    Ended ended;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(limits.seconds);
    ended.timed_out = !gather(ends[0], end, ended.said);
    ::close(ends[0]);
    if (ended.timed_out) ::kill(child, SIGKILL);
    while (::waitpid(child, &ended.status, 0) < 0 && errno == EINTR) {
    }
    return ended;
}

// Its last line without its name: the sentence that ends it.
std::string last_sentence(const std::string& said) {
    std::string_view text = said;
    while (text.ends_with('\n'))
        text.remove_suffix(1);
    text = text.substr(text.rfind('\n') + 1);
    const std::string own = std::string(importer) + ": ";
    if (text.starts_with(own)) text.remove_prefix(own.size());
    return std::string(text);
}

void require_good(const Ended& ended, const std::string& cad_file, const ImportLimits& limits) {
    const auto refuse = [&](const std::string& why) {
        throw Failure(FailureKind::input, cad_file + ": " + why);
    };
    const std::string program = std::string("the reader of CAD files, ") + importer + ", ";
    const bool used_its_time =
        ended.timed_out || (WIFSIGNALED(ended.status) && (WTERMSIG(ended.status) == SIGXCPU ||
                                                          WTERMSIG(ended.status) == SIGKILL));
    if (used_its_time)
        refuse(program + "was ended: it needed more than " + std::to_string(limits.seconds) +
               " seconds or too much memory");
    if (WIFSIGNALED(ended.status))
        refuse(program + "crashed on it (signal " + std::to_string(WTERMSIG(ended.status)) + ")");
    const int code = WEXITSTATUS(ended.status);
    if (code == 0) return;
    const std::string why = last_sentence(ended.said);
    if (why.find("memory is not enough") != std::string::npos)
        refuse(program + "needed more than " + grouped(limits.bytes >> 20, ",") + " MiB of memory");
    if (why.empty()) refuse(program + "ended with code " + std::to_string(code));
    throw Failure(
        code == static_cast<int>(FailureKind::file) ? FailureKind::file : FailureKind::input, why);
}

} // namespace

bool is_cad_file(const std::string& path) {
    std::error_code error;
    if (!fs::is_regular_file(path, error)) return false;
    std::string start(256, '\0');
    std::ifstream file(path, std::ios::binary);
    file.read(start.data(), static_cast<std::streamsize>(start.size()));
    start.resize(static_cast<std::size_t>(file.gcount()));
    const bool is_step = start.find("ISO-10303-21") != std::string::npos;
    const bool is_brep = start.find("DBRep_DrawableShape") != std::string::npos ||
                         start.find("CASCADE Topology") != std::string::npos;
    constexpr std::size_t section_column = 72; // of a line of IGES
    const bool is_iges = start.size() > section_column && start[section_column] == 'S' &&
                         start.substr(0, section_column).find('\n') == std::string::npos;
    if (is_step || is_brep || is_iges) return true;
    const std::string extension = lower_case(fs::path(path).extension());
    for (const char* const known : {".step", ".stp", ".iges", ".igs", ".brep", ".brp"})
        if (extension == known) return true;
    return false;
}

ImportedPart::ImportedPart(const std::string& cad_file, bool skip_bad, const ImportLimits& limits) {
    const std::string program = find_importer();
    if (program.empty())
        throw Failure(FailureKind::input, cad_file + ": is a CAD file, for which " + importer +
                                              " is needed beside velm-inspect or in PATH; it isn't "
                                              "there");
    folder_ = (fs::temp_directory_path() / "velm-XXXXXX").string();
    if (::mkdtemp(folder_.data()) == nullptr) fail_file(folder_, "can't be created", errno);
    path_ = folder_ + "/part.velm";
    std::vector<std::string> words{program};
    if (skip_bad) words.emplace_back("--skip-bad");
    for (const std::string& word : {std::string("--"), cad_file, path_})
        words.push_back(word);
    try {
        require_good(run(std::move(words), limits), cad_file, limits);
    } catch (...) {
        std::error_code error;
        fs::remove_all(folder_, error);
        throw;
    }
}

ImportedPart::~ImportedPart() {
    std::error_code error;
    fs::remove_all(folder_, error);
}

} // namespace velm::inspect
