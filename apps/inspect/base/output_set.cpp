#include "inspect/base/output_set.h"

#include "inspect/base/failure.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace velm::inspect {
namespace {

constexpr std::size_t block = std::size_t{1} << 16;
constexpr int most_links = 40;

// Temporary names that a signal handler may remove: plain memory that is complete before it is
// published and cleared before it is reused.
constexpr std::size_t most_temporaries = 16;
constexpr std::size_t longest_name = 4096;
std::array<char[longest_name], most_temporaries> temporary_names;
std::array<volatile std::sig_atomic_t, most_temporaries> temporary_used;

void remove_temporaries(int signal) {
    for (std::size_t i = 0; i < most_temporaries; ++i)
        if (temporary_used[i] != 0) ::unlink(temporary_names[i]);
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

void remember_temporary(const std::string& name) {
    static const bool installed = [] {
        for (const int signal : {SIGINT, SIGTERM, SIGHUP})
            if (std::signal(signal, remove_temporaries) == SIG_IGN) std::signal(signal, SIG_IGN);
        return true;
    }();
    static_cast<void>(installed);
    for (std::size_t i = 0; i < most_temporaries; ++i) {
        if (temporary_used[i] != 0 || name.size() >= longest_name) continue;
        std::memcpy(temporary_names[i], name.c_str(), name.size() + 1);
        temporary_used[i] = 1;
        return;
    }
}

void forget_temporary(const std::string& name) {
    for (std::size_t i = 0; i < most_temporaries; ++i)
        if (temporary_used[i] != 0 && name == temporary_names[i]) temporary_used[i] = 0;
}

// The place that a path leads to; symbolic links of its last part are followed even if they dangle.
std::string follow_links(std::filesystem::path path) {
    for (int links = 0; links < most_links; ++links) {
        std::error_code error;
        const std::filesystem::path target = std::filesystem::read_symlink(path, error);
        if (error) return path.string();
        path = target.is_absolute() ? target : path.parent_path() / target;
    }
    return path.string();
}

// The number of the process's own open file that a path names, -1 for any other path.
int named_descriptor(const std::string& path) {
    if (path == "/dev/stdout") return STDOUT_FILENO;
    if (path == "/dev/stderr") return STDERR_FILENO;
    for (const std::string_view folder : {"/dev/fd/", "/proc/self/fd/"}) {
        if (path.rfind(folder, 0) != 0) continue;
        int number = -1;
        const char* const last = path.data() + path.size();
        const auto [end, error] = std::from_chars(path.data() + folder.size(), last, number);
        if (error == std::errc() && end == last) return number;
    }
    return -1;
}

void remove_all(const std::string& name) {
    std::error_code error;
    std::filesystem::remove_all(name, error);
}

void require_nothing(const std::string& path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) == 0) fail_file(path, "can't be made", EEXIST);
}

// Holds the folder of a place for this process. Without locks in the file system it does nothing.
class FolderLock {
public:
    explicit FolderLock(const std::string& place) {
        const std::string folder = std::filesystem::path(place).parent_path().string();
        descriptor_ = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_CLOEXEC);
        if (descriptor_ >= 0) static_cast<void>(::flock(descriptor_, LOCK_EX));
    }
    ~FolderLock() {
        if (descriptor_ >= 0) ::close(descriptor_);
    }
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

private:
    int descriptor_;
};

mode_t default_mode() {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return static_cast<mode_t>(0666) & ~mask;
}

} // namespace

Output::~Output() {
    if (descriptor_ > STDERR_FILENO) ::close(descriptor_);
    for (const std::string& name : {temporary_, backup_}) {
        if (name.empty()) continue;
        remove_all(name);
        forget_temporary(name);
    }
}

bool Output::is_terminal() const { return ::isatty(descriptor_) == 1; }

void Output::open_standard() {
    name_ = "standard output";
    descriptor_ = STDOUT_FILENO;
}

// An open file is written from its present position: opened again, it would be overwritten from its
// start.
void Output::open_directly(const std::string& path) {
    const int named = named_descriptor(path);
    descriptor_ = named >= 0 ? ::fcntl(named, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)
                             : ::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
    if (descriptor_ < 0) fail_file(name_, "can't be opened for writing", errno);
}

void Output::open_beside(const std::string& place) {
    replaces_ = ::stat(place.c_str(), &before_) == 0;
    if (replaces_ && ::access(place.c_str(), W_OK) != 0)
        fail_file(name_, "can't be opened for writing", errno);
    const std::filesystem::path path(place);
    const std::string base = path.filename().string().substr(0, 200);
    std::string name = (path.parent_path() / ("." + base + ".XXXXXX")).string();
    descriptor_ = ::mkostemp(name.data(), O_CLOEXEC);
    if (descriptor_ < 0) fail_file(name_, "can't be opened for writing", errno);
    temporary_ = name;
    remember_temporary(name);
    place_ = place;
    if (replaces_)
        take_after(before_);
    else if (::fchmod(descriptor_, default_mode()) != 0)
        fail_file(name_, "can't be given its mode", errno);
}

// The owner comes first: changing it clears bits of the mode. If that is not permitted, the file
// remains ours.
void Output::take_after(const struct stat& status) {
    if (::fchown(descriptor_, status.st_uid, status.st_gid) != 0) errno = 0;
    if (::fchmod(descriptor_, status.st_mode & 07777) != 0)
        fail_file(name_, "can't be given its mode", errno);
}

void Output::open_folder_beside(std::string place) {
    while (place.size() > 1 && place.back() == '/')
        place.pop_back();
    const std::filesystem::path path(place);
    const std::string base = path.filename().string().substr(0, 200);
    std::string name = (path.parent_path() / ("." + base + ".XXXXXX")).string();
    if (::mkdtemp(name.data()) == nullptr) fail_file(name_, "can't be made", errno);
    temporary_ = name;
    place_ = place;
    is_folder_ = true;
    if (::chmod(name.c_str(), default_mode() | (default_mode() & 0444) >> 2) != 0)
        fail_file(name_, "can't be given its mode", errno);
}

// Leaves the temporary's name without its file, for a writer that creates its files itself.
void Output::close_beside() {
    ::close(std::exchange(descriptor_, -1));
    ::unlink(temporary_.c_str());
}

// Takes the file that another writer has created, and gives it the owner and mode of the file that
// it replaces.
void Output::open_finished() {
    descriptor_ = ::open(temporary_.c_str(), O_WRONLY | O_CLOEXEC);
    struct stat status {};
    if (descriptor_ < 0 || (replaces_ && ::stat(place_.c_str(), &status) != 0))
        fail_file(name_, "can't be written", errno);
    if (replaces_) take_after(status);
}

void Output::write(std::string_view text) {
    pending_ += text;
    if (pending_.size() >= block) flush();
}

void Output::flush() {
    std::string_view rest = pending_;
    while (!rest.empty()) {
        const ssize_t done = ::write(descriptor_, rest.data(), rest.size());
        if (done >= 0) {
            rest.remove_prefix(static_cast<std::size_t>(done));
        } else if (errno != EINTR) {
            const int error = errno;
            pending_.clear();
            fail_file(name_, "can't be written", error);
        }
    }
    pending_.clear();
}

void Output::finish() {
    if (is_folder_) return;
    if (descriptor_ < 0) open_finished();
    flush();
    if (descriptor_ == STDOUT_FILENO) return;
    if (!place_.empty() && ::fsync(descriptor_) != 0 && errno != EINVAL)
        fail_file(name_, "can't be written", errno);
    if (::close(std::exchange(descriptor_, -1)) != 0) fail_file(name_, "can't be written", errno);
}

void Output::require_unchanged() const {
    struct stat now {};
    const bool is_there = ::stat(place_.c_str(), &now) == 0;
    if (is_there == replaces_ &&
        (!is_there || (now.st_dev == before_.st_dev && now.st_ino == before_.st_ino)))
        return;
    throw Failure(FailureKind::file, name_ + ": another program has changed it in the meantime");
}

// 0, or -1 with errno. If the file system can't refuse to replace, the check before has to suffice.
int Output::rename_to_place() const {
    if (is_new_) {
        const int result =
            ::renameat2(AT_FDCWD, temporary_.c_str(), AT_FDCWD, place_.c_str(), RENAME_NOREPLACE);
        if (result == 0 || (errno != EINVAL && errno != ENOSYS)) return result;
    }
    return ::rename(temporary_.c_str(), place_.c_str());
}

Output* OutputSet::add_text(bool quiet) {
    const bool is_taken = std::any_of(outputs_.begin(), outputs_.end(), [](const auto& output) {
        return output->descriptor_ == STDOUT_FILENO;
    });
    return quiet || is_taken ? nullptr : &add("-");
}

Output& OutputSet::add(const std::string& path) {
    outputs_.push_back(std::unique_ptr<Output>(new Output));
    Output& output = *outputs_.back();
    output.name_ = path;
    if (path == "-") {
        output.open_standard();
        return output;
    }
    if (named_descriptor(path) >= 0) {
        output.open_directly(path);
        return output;
    }
    const std::string place = follow_links(path);
    struct stat status {};
    const bool exists = ::stat(place.c_str(), &status) == 0;
    if (!exists && errno != ENOENT) fail_file(path, "can't be opened for writing", errno);
    if (exists && S_ISDIR(status.st_mode)) fail_file(path, "can't be opened for writing", EISDIR);
    if (exists && !S_ISREG(status.st_mode))
        output.open_directly(path);
    else
        output.open_beside(place);
    return output;
}

std::string OutputSet::add_by_name(const std::string& path) {
    struct stat status {};
    // Opening a pipe would wait for its reader.
    const bool exists = ::stat(path.c_str(), &status) == 0;
    if (exists && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode))
        throw Failure(FailureKind::file, path + ": expected a regular file or a new name");
    Output& output = add(path);
    if (output.place_.empty())
        throw Failure(FailureKind::file, path + ": expected a regular file or a new name");
    output.close_beside();
    return output.temporary_;
}

std::string OutputSet::add_continued_by_name(const std::string& path) {
    const std::string name = add_by_name(path);
    outputs_.back()->continues_ = true;
    return name;
}

std::string OutputSet::add_new_by_name(const std::string& path) {
    require_nothing(path);
    const std::string name = add_by_name(path);
    outputs_.back()->is_new_ = true;
    return name;
}

std::string OutputSet::add_new_folder(const std::string& path) {
    require_nothing(path);
    outputs_.push_back(std::unique_ptr<Output>(new Output));
    Output& output = *outputs_.back();
    output.name_ = path;
    output.is_new_ = true;
    output.open_folder_beside(path);
    return output.temporary_;
}

void OutputSet::commit() {
    for (const auto& output : outputs_)
        output->finish();
    // Runs that put object files into the same folder wait for each other here.
    std::optional<FolderLock> lock;
    for (const auto& output : outputs_) {
        if (!output->continues_) continue;
        if (!lock) lock.emplace(output->place_);
        output->require_unchanged();
    }
    rename_all();
}

void OutputSet::rename_all() {
    std::size_t done = 0;
    int error = 0;
    for (; done < outputs_.size(); ++done) {
        Output& output = *outputs_[done];
        if (output.place_.empty()) continue;
        // A second name keeps the old file for the case that a later rename fails.
        const std::string backup = output.temporary_ + ".old";
        if (::link(output.place_.c_str(), backup.c_str()) == 0) {
            output.backup_ = backup;
            remember_temporary(backup);
        }
        if (output.rename_to_place() != 0) {
            error = errno;
            break;
        }
        forget_temporary(output.temporary_);
        output.temporary_.clear();
    }
    if (done == outputs_.size()) return;
    const std::string failed = outputs_[done]->name_;
    while (done-- > 0) {
        const Output& output = *outputs_[done];
        if (output.place_.empty()) continue;
        if (!output.backup_.empty())
            static_cast<void>(std::rename(output.backup_.c_str(), output.place_.c_str()));
        else if (!output.replaces_)
            remove_all(output.place_);
    }
    fail_file(failed, "can't be put in its place", error);
}

bool is_standard_output(const std::string& path) {
    return path == "-" || named_descriptor(path) == STDOUT_FILENO;
}

bool leads_to(const std::string& path, int descriptor) {
    struct stat of_path {
    }, of_descriptor{};
    return ::fstat(descriptor, &of_descriptor) == 0 && S_ISREG(of_descriptor.st_mode) &&
           ::stat(path.c_str(), &of_path) == 0 && of_path.st_dev == of_descriptor.st_dev &&
           of_path.st_ino == of_descriptor.st_ino;
}

bool same_file(const std::string& a, const std::string& b) {
    struct stat of_a {
    }, of_b{};
    const bool a_exists = ::stat(a.c_str(), &of_a) == 0;
    const bool b_exists = ::stat(b.c_str(), &of_b) == 0;
    if (a_exists && b_exists) return of_a.st_dev == of_b.st_dev && of_a.st_ino == of_b.st_ino;
    if (a_exists != b_exists) return false;
    std::error_code error;
    const auto place = [&](const std::string& path) {
        const std::filesystem::path absolute = std::filesystem::absolute(follow_links(path), error);
        return std::filesystem::weakly_canonical(absolute, error).lexically_normal();
    };
    return place(a) == place(b);
}

} // namespace velm::inspect
