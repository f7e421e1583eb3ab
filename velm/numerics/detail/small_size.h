// velm::detail::with_size: small sizes as compile-time constants.
#pragma once

#include <type_traits>

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

} // namespace velm::detail
