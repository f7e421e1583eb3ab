// progress.h: `Progress`, a bar on the terminal for work that takes longer than a second.
#pragma once

#include <chrono>
#include <cstdint>

namespace velm::inspect {

/// Shows a bar on stderr with the count done and the time left, if that is a terminal; it appears
/// after the first second and is erased at the end. In a pipe it shows nothing.
class Progress {
public:
    /// `shown` false keeps it silent.
    explicit Progress(bool shown);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// `count` items done, `done` of `total` bytes read; a total of 0 means unknown.
    void update(std::uint64_t count, std::uint64_t done, std::uint64_t total) {
        if (active_ && (++calls_ & 0xFFF) == 0) show(count, done, total);
    }
    /// Erases the bar, before other text goes to the terminal.
    void clear();

private:
    using Clock = std::chrono::steady_clock;
    void show(std::uint64_t count, std::uint64_t done, std::uint64_t total);

    bool active_;
    bool visible_ = false;
    std::uint64_t calls_ = 0;
    Clock::time_point start_ = Clock::now();
    Clock::time_point last_ = start_;
};

} // namespace velm::inspect
