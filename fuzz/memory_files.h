// MemoryFiles: files that exist in memory alone, below CFile, for targets that open many of them.
#pragma once

#include "velm/platform/detail/system_files.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace velm_fuzz {

/// In force as long as it lives. Every name is a regular file of its own or missing; sharing is
/// granted always. A removed file lasts until it is closed. Only one thread uses files meanwhile.
class MemoryFiles : public velm::detail::SystemFiles {
public:
    MemoryFiles() : previous_(velm::detail::set_system_files(this)) {}
    MemoryFiles(const MemoryFiles&) = delete;
    MemoryFiles& operator=(const MemoryFiles&) = delete;
    ~MemoryFiles() override { velm::detail::set_system_files(previous_); }

    /// Makes these bytes all that there is.
    void reset(const std::string& path, std::string bytes) {
        files_.clear();
        opened_.clear();
        files_[path] = std::make_shared<std::string>(std::move(bytes));
    }

    int open(const char* path, int flags, mode_t) override {
        auto found = files_.find(path);
        if (found == files_.end()) {
            if ((flags & O_CREAT) == 0) return failure(ENOENT);
            found = files_.emplace(path, std::make_shared<std::string>()).first;
        }
        return descriptor(found->second);
    }
    int close(int file) override {
        if (!at(file)) return failure(EBADF);
        at(file).reset();
        return 0;
    }
    int duplicate(int file) override { return at(file) ? descriptor(at(file)) : failure(EBADF); }
    ssize_t read(int file, void* buffer, std::size_t count, off_t offset) override {
        if (!at(file)) return failure(EBADF);
        const std::string& bytes = *at(file);
        const std::size_t start = std::min(static_cast<std::size_t>(offset), bytes.size());
        return static_cast<ssize_t>(bytes.copy(static_cast<char*>(buffer), count, start));
    }
    ssize_t write(int file, const void* buffer, std::size_t count, off_t offset) override {
        if (!at(file)) return failure(EBADF);
        std::string& bytes = *at(file);
        const std::size_t start = static_cast<std::size_t>(offset);
        if (start > most_bytes || count > most_bytes - start) return failure(ENOSPC);
        if (bytes.size() < start + count) bytes.resize(start + count);
        if (count > 0) std::memcpy(bytes.data() + start, buffer, count);
        return static_cast<ssize_t>(count);
    }
    int status(int file, struct stat* status) override {
        return at(file) ? describe(*at(file), status) : failure(EBADF);
    }
    int status_of(const char* path, struct stat* status) override {
        const auto found = files_.find(path);
        return found != files_.end() ? describe(*found->second, status) : failure(ENOENT);
    }
    int truncate(int file, off_t length) override {
        if (!at(file)) return failure(EBADF);
        if (static_cast<std::size_t>(length) > most_bytes) return failure(ENOSPC);
        at(file)->resize(static_cast<std::size_t>(length));
        return 0;
    }
    int synchronise(int) override { return 0; }
    int remove(const char* path) override { return files_.erase(path) > 0 ? 0 : failure(ENOENT); }
    int lock(int, off_t, off_t, bool) override { return 0; }
    int is_locked(int, off_t) override { return 0; }

private:
    using File = std::shared_ptr<std::string>;

    /// A disk of this size: damaged offsets can reach far, and memory has no holes.
    static constexpr std::size_t most_bytes = std::size_t(1) << 18;
    /// Numbers that no descriptor of the process has.
    static constexpr int first_descriptor = 1 << 24;

    static int failure(int error) {
        errno = error;
        return -1;
    }
    static int describe(const std::string& bytes, struct stat* status) {
        *status = {};
        status->st_mode = S_IFREG | 0644;
        status->st_size = static_cast<off_t>(bytes.size());
        return 0;
    }
    int descriptor(const File& file) {
        auto slot = std::find(opened_.begin(), opened_.end(), nullptr);
        if (slot == opened_.end()) slot = opened_.insert(slot, nullptr);
        *slot = file;
        return first_descriptor + static_cast<int>(slot - opened_.begin());
    }
    File& at(int file) {
        const auto slot = static_cast<std::size_t>(file - first_descriptor);
        return file >= first_descriptor && slot < opened_.size() ? opened_[slot] : none_;
    }

    velm::detail::SystemFiles* const previous_;
    std::map<std::string, File> files_;
    std::vector<File> opened_; // null: a free number
    File none_;
};

} // namespace velm_fuzz
