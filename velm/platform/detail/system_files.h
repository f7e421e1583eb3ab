// SystemFiles: the operating system's file operations as CFile uses them, replaceable by a test.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>

namespace velm::detail {

/// Each operation behaves like the system call it is named for: -1 with errno set is a failure. A
/// test derives from it to make the k-th call fail, fall short or be interrupted.
class SystemFiles {
public:
    constexpr virtual ~SystemFiles() = default;

    virtual int open(const char* path, int flags, mode_t mode);
    virtual int close(int file);
    virtual int duplicate(int file);
    virtual ssize_t read(int file, void* buffer, std::size_t count, off_t offset);
    virtual ssize_t write(int file, const void* buffer, std::size_t count, off_t offset);
    /// CFile keeps its position itself: a seek is announced here before it takes effect; the system
    /// itself does nothing.
    virtual int seek(int file, off_t offset);
    virtual int status(int file, struct stat* status);
    virtual int status_of(const char* path, struct stat* status);
    virtual int truncate(int file, off_t length);
    /// The first offset, the given one or later, that is not in a hole.
    virtual off_t next_data(int file, off_t offset);
    virtual int synchronise(int file);
    virtual int remove(const char* path);
    /// Takes a lock on a range of bytes, shared or exclusive, without waiting.
    virtual int lock(int file, off_t first, off_t count, bool exclusive);
    /// Whether another open file holds a lock on the byte: 0 or 1.
    virtual int is_locked(int file, off_t byte);
};

/// The operations in force.
SystemFiles& system_files();

/// Sets the operations for the whole process, null for the system's own; not while another thread
/// uses a file. Returns the operations that were set before.
SystemFiles* set_system_files(SystemFiles* operations);

} // namespace velm::detail
