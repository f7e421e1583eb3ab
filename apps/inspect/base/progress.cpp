#include "inspect/base/progress.h"

#include "inspect/base/number_text.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <unistd.h>

namespace velm::inspect {
namespace {

using namespace std::chrono_literals;

std::string time_text(double seconds) {
    const auto whole = static_cast<long>(std::min(seconds, 359999.0) + 0.5);
    if (whole < 60) return std::to_string(whole) + " s";
    const long minutes = whole / 60;
    return std::to_string(minutes) + " min " + std::to_string(whole % 60) + " s";
}

} // namespace

Progress::Progress(bool shown) : active_(shown && ::isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() { clear(); }

void Progress::clear() {
    if (visible_) std::fputs("\r\x1b[K", stderr);
    visible_ = false;
}

void Progress::show(std::uint64_t count, std::uint64_t done, std::uint64_t total) {
    const auto now = Clock::now();
    if (now - start_ < 1s || (visible_ && now - last_ < 100ms)) return;
    last_ = now;
    visible_ = true;
    std::string line = "\r";
    if (total > 0) {
        constexpr int width = 30;
        const double part = std::min(1.0, static_cast<double>(done) / static_cast<double>(total));
        const int full = static_cast<int>(part * width);
        line += '[' + std::string(static_cast<std::size_t>(full), '#') +
                std::string(static_cast<std::size_t>(width - full), '.') + "] " +
                fixed(100.0 * part, 0) + " %  ";
        const double spent = std::chrono::duration<double>(now - start_).count();
        line += grouped(count, ",") + " points, " +
                time_text(spent * (1.0 - part) / std::max(part, 1e-6)) + " left";
    } else {
        line += grouped(count, ",") + " points";
    }
    std::fputs((line + "\x1b[K").c_str(), stderr);
}

} // namespace velm::inspect
