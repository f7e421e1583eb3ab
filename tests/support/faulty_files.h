// The system's file operations with faults: the k-th call of a kind fails, transfers fall short and
// are interrupted. In force for the life of the object.
#pragma once

#include "velm/platform/detail/system_files.h"

#include <algorithm>
#include <array>
#include <cerrno>

namespace velm_test {

class FaultyFiles : public velm::detail::SystemFiles {
public:
    enum Operation { opening, closing, reading, writing, seeking, cutting, locking, operations };

    FaultyFiles() : previous_(velm::detail::set_system_files(this)) {}
    FaultyFiles(const FaultyFiles&) = delete;
    FaultyFiles& operator=(const FaultyFiles&) = delete;
    ~FaultyFiles() override { velm::detail::set_system_files(previous_); }

    /// From now on the k-th call, counted from 1, fails with the error number.
    void fail(Operation operation, int k, int error) {
        plans_[operation] = {k, error};
        calls_[operation] = 0;
    }
    /// Calls since the last fail() for the operation.
    int calls(Operation operation) const { return calls_[operation]; }
    /// Transfers move at most that many bytes, and every other one is interrupted first.
    void fall_short(std::size_t most) { most_ = most; }
    int last_opened() const { return last_opened_; }

    int open(const char* path, int flags, mode_t mode) override {
        if (fails(opening)) return -1;
        return last_opened_ = SystemFiles::open(path, flags, mode);
    }
    int close(int file) override {
        const bool fault = fails(closing);
        const int error = errno;
        const int result = SystemFiles::close(file);
        if (!fault) return result;
        errno = error;
        return -1;
    }
    ssize_t read(int file, void* buffer, std::size_t count, off_t offset) override {
        if (fails(reading) || interrupted()) return -1;
        return SystemFiles::read(file, buffer, std::min(count, most_), offset);
    }
    ssize_t write(int file, const void* buffer, std::size_t count, off_t offset) override {
        if (fails(writing) || interrupted()) return -1;
        return SystemFiles::write(file, buffer, std::min(count, most_), offset);
    }
    int seek(int file, off_t offset) override {
        return fails(seeking) ? -1 : SystemFiles::seek(file, offset);
    }
    int truncate(int file, off_t length) override {
        return fails(cutting) ? -1 : SystemFiles::truncate(file, length);
    }
    int lock(int file, off_t first, off_t count, bool exclusive) override {
        return fails(locking) ? -1 : SystemFiles::lock(file, first, count, exclusive);
    }

private:
    struct Plan {
        int k = 0;
        int error = 0;
    };
    bool fails(Operation operation) {
        if (++calls_[operation] != plans_[operation].k) return false;
        errno = plans_[operation].error;
        return true;
    }
    bool interrupted() {
        if (most_ == whole_) return false;
        interrupt_ = !interrupt_;
        if (interrupt_) errno = EINTR;
        return interrupt_;
    }

    static constexpr std::size_t whole_ = static_cast<std::size_t>(-1) >> 1;
    velm::detail::SystemFiles* previous_;
    std::array<Plan, operations> plans_;
    std::array<int, operations> calls_ = {};
    std::size_t most_ = whole_;
    bool interrupt_ = false;
    int last_opened_ = -1;
};

} // namespace velm_test
