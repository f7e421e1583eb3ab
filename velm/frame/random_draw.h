// velm::detail::rand15: the C library's generator narrowed to the range that the formulas require.
#pragma once

#include <cstdlib>

namespace velm::detail {

/// A draw of std::rand() in [0, 32767], the same range on every platform: the upper 15 bits if
/// RAND_MAX is greater. Shares the process-wide state of std::rand() and std::srand().
inline int rand15() {
    static_assert((static_cast<unsigned>(RAND_MAX) & (static_cast<unsigned>(RAND_MAX) + 1u)) == 0 &&
                      RAND_MAX >= 0x7FFF,
                  "rand() is expected to draw whole bits");
    return std::rand() / (RAND_MAX / 0x8000 + 1);
}

} // namespace velm::detail
