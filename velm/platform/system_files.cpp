#include "velm/platform/detail/system_files.h"

#include <fcntl.h>
#include <unistd.h>

namespace velm::detail {

namespace {

constinit SystemFiles* replacement = nullptr;

// There before any constructor runs, and never destroyed: a host's static objects may close their
// files at exit.
union Immortal {
    SystemFiles files;

    constexpr Immortal() : files() {}
    ~Immortal() {}
};
constinit Immortal system_itself;

// Locks of the open file description: they apply to byte ranges, distinguish readers from writers,
// belong to the descriptor and not to the process, and outlast the closing of another descriptor
// of the same file.
struct flock byte_range(off_t first, off_t count, bool exclusive) {
    struct flock range = {};
    range.l_type = static_cast<short>(exclusive ? F_WRLCK : F_RDLCK);
    range.l_whence = SEEK_SET;
    range.l_start = first;
    range.l_len = count;
    return range;
}

} // namespace

int SystemFiles::open(const char* path, int flags, mode_t mode) {
    return ::open(path, flags, mode);
}

int SystemFiles::close(int file) { return ::close(file); }

int SystemFiles::duplicate(int file) { return ::fcntl(file, F_DUPFD_CLOEXEC, 0); }

ssize_t SystemFiles::read(int file, void* buffer, std::size_t count, off_t offset) {
    return ::pread(file, buffer, count, offset);
}

ssize_t SystemFiles::write(int file, const void* buffer, std::size_t count, off_t offset) {
    return ::pwrite(file, buffer, count, offset);
}

int SystemFiles::seek(int, off_t) { return 0; }

int SystemFiles::status(int file, struct stat* status) { return ::fstat(file, status); }

int SystemFiles::status_of(const char* path, struct stat* status) { return ::stat(path, status); }

int SystemFiles::truncate(int file, off_t length) { return ::ftruncate(file, length); }

off_t SystemFiles::next_data(int file, off_t offset) {
#if defined(SEEK_DATA)
    return ::lseek(file, offset, SEEK_DATA); // read and write pass their own offsets
#else
    static_cast<void>(file);
    return offset;
#endif
}

int SystemFiles::synchronise(int file) { return ::fsync(file); }

int SystemFiles::remove(const char* path) { return ::unlink(path); }

int SystemFiles::lock(int file, off_t first, off_t count, bool exclusive) {
    struct flock range = byte_range(first, count, exclusive);
    return ::fcntl(file, F_OFD_SETLK, &range);
}

int SystemFiles::is_locked(int file, off_t byte) {
    struct flock range = byte_range(byte, 1, true);
    if (::fcntl(file, F_OFD_GETLK, &range) < 0) return -1;
    return range.l_type != F_UNLCK;
}

SystemFiles& system_files() { return replacement != nullptr ? *replacement : system_itself.files; }

SystemFiles* set_system_files(SystemFiles* operations) {
    SystemFiles* const previous = replacement;
    replacement = operations;
    return previous;
}

} // namespace velm::detail
