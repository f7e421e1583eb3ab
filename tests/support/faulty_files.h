// The system's file operations with faults: the k-th call of a kind fails, transfers fall short and
// are interrupted. In force for the life of the object.
#pragma once

#include "velm/platform/detail/system_files.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <limits>

namespace velm_test {

class FaultyFiles : public velm::detail::SystemFiles {
public:
    enum Operation { opening, closing, reading, writing, seeking, cutting, locking, operations };

    FaultyFiles() : previous_(velm::detail::set_system_files(this)) {}
    FaultyFiles(const FaultyFiles&) = delete;
    FaultyFiles& operator=(const FaultyFiles&) = delete;
    ~FaultyFiles() override { velm::detail::set_system_files(previous_); }

    static constexpr int for_ever = INT_MAX;

    /// From now on the k-th call, counted from 1, and the `times` - 1 calls after it fail with the
    /// error number.
    void fail(Operation operation, int k, int error, int times = 1) {
        plans_[operation] = {k, error, times};
        calls_[operation] = 0;
    }
    void fail_no_more() { plans_ = {}; }
    /// Instead of failing, the first call of a plan for writing moves half of its bytes.
    void begin_with_half() { begins_with_half_ = true; }
    /// From now on no byte from that offset on can be written, as with a limited size of files.
    void limit(off_t length) { limit_ = length; }
    /// Calls since the last fail() for the operation.
    int calls(Operation operation) const { return calls_[operation]; }
    /// Transfers move at most that many bytes, and every other one is interrupted first.
    void fall_short(std::size_t most) { most_ = most; }
    long long bytes_read() const { return bytes_read_; }
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
        const ssize_t came = SystemFiles::read(file, buffer, std::min(count, most_), offset);
        bytes_read_ += std::max(came, ssize_t{0});
        return came;
    }
    ssize_t write(int file, const void* buffer, std::size_t count, off_t offset) override {
        if (fails(writing)) {
            const bool half = begins_with_half_ && calls_[writing] == plans_[writing].k;
            return half && count > 1 ? SystemFiles::write(file, buffer, count / 2, offset) : -1;
        }
        if (interrupted()) return -1;
        if (offset >= limit_) {
            errno = EFBIG;
            return -1;
        }
        const auto room = static_cast<std::size_t>(limit_ - offset);
        return SystemFiles::write(file, buffer, std::min({count, most_, room}), offset);
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
        int times = 0;
    };
    bool fails(Operation operation) {
        const Plan& plan = plans_[operation];
        const int after = ++calls_[operation] - plan.k;
        if (plan.k == 0 || after < 0 || after >= plan.times) return false;
        errno = plan.error;
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
    bool begins_with_half_ = false;
    off_t limit_ = std::numeric_limits<off_t>::max();
    int last_opened_ = -1;
    long long bytes_read_ = 0;
};

} // namespace velm_test
