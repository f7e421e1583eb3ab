// velm::detail::with_constant, with_size, all_below: small sizes and indices as compile-time
// constants.
#pragma once

#include <type_traits>
#include <utility>

namespace velm::detail {

/// Calls f with n: as a std::integral_constant if n is low to high, so that its loops are laid out
/// for that number, else as an int. The results of f must not depend on which.
template <int low, int high, class Function>
[[gnu::always_inline]] inline decltype(auto) with_constant(int n, const Function& f) {
    if constexpr (low > high) {
        return f(n);
    } else {
        if (n == low) return f(std::integral_constant<int, low>{});
        return with_constant<low + 1, high>(n, f);
    }
}

/// As with_constant, for the size of a small matrix or system.
template <class Function>
decltype(auto) with_size(int n, Function f) {
    return with_constant<1, 6>(n, f);
}

/// Calls f with 0, 1, ... below n as long as it returns true, and returns whether it always did. If
/// n is a constant, so are the indices.
template <class Function>
bool all_below(int n, Function f) {
    for (int i = 0; i < n; ++i)
        if (!f(i)) return false;
    return true;
}
template <int n, class Function>
bool all_below(std::integral_constant<int, n>, Function f) {
    return [&]<int... i>(std::integer_sequence<int, i...>) {
        return (f(std::integral_constant<int, i>{}) && ...);
    }
    (std::make_integer_sequence<int, n>{});
}

} // namespace velm::detail
