// velm::detail::in_parts: a range of work shared by threads.
#pragma once

#include <algorithm>
#include <cstddef>
#include <thread>
#include <vector>

namespace velm::detail {

/// Calls part(from, to) for as many parts of [0, count) as there are threads, each in its own.
template <class Part>
void in_parts(std::size_t count, int threads, Part part) {
    const auto parts = std::min(static_cast<std::size_t>(std::max(threads, 1)), count);
    if (parts <= 1) return part(std::size_t(0), count);
    std::vector<std::thread> others;
    for (std::size_t k = 1; k < parts; ++k)
        others.emplace_back(part, count * k / parts, count * (k + 1) / parts);
    part(std::size_t(0), count / parts);
    for (std::thread& other : others)
        other.join();
}

} // namespace velm::detail
