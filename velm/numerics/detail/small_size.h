// velm::detail::with_size, all_below: small sizes and indices as compile-time constants.
#pragma once

#include <type_traits>
#include <utility>

namespace velm::detail {

/// Calls f with n: as a std::integral_constant if n is 1 to 6, so that its loops are unrolled for
/// that size, else as an int. The results of f must not depend on which.
template <class Function>
decltype(auto) with_size(int n, Function f) {
    switch (n) {
    case 1:
        return f(std::integral_constant<int, 1>{});
    case 2:
        return f(std::integral_constant<int, 2>{});
    case 3:
        return f(std::integral_constant<int, 3>{});
    case 4:
        return f(std::integral_constant<int, 4>{});
    case 5:
        return f(std::integral_constant<int, 5>{});
    case 6:
        return f(std::integral_constant<int, 6>{});
    default:
        return f(n);
    }
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
