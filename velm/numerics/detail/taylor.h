// velm::detail::Taylor: power series in two variables up to a total order, with the arithmetic of
// functions (Griewank and Walther, Evaluating Derivatives, 2nd edition, chapter 13).
//
// T is double, for the derivatives at a place, or Interval, for bounds of them over a rectangle of
// places: every operation then holds what it gives for each of the series that its operands hold.
#pragma once

#include "velm/numerics/detail/interval.h"

#include <array>
#include <cstddef>

namespace velm::detail {

template <class T, int N>
struct Taylor {
    static constexpr std::size_t count = std::size_t(N + 1) * std::size_t(N + 2) / 2;
    /// The place of the coefficient of x^i y^j.
    static constexpr std::size_t at(int i, int j) {
        const int n = i + j;
        return static_cast<std::size_t>(n * (n + 1) / 2 + j);
    }
    /// Calls f(i, j) for each coefficient, by rising total order.
    template <class F>
    static void for_orders(F f) {
        for (int n = 0; n <= N; ++n)
            for (int j = 0; j <= n; ++j)
                f(n - j, j);
    }

    T& operator()(int i, int j) { return c[at(i, j)]; }
    const T& operator()(int i, int j) const { return c[at(i, j)]; }

    friend Taylor operator+(Taylor a, const Taylor& b) {
        for (std::size_t k = 0; k < count; ++k)
            a.c[k] = a.c[k] + b.c[k];
        return a;
    }
    friend Taylor operator-(Taylor a, const Taylor& b) {
        for (std::size_t k = 0; k < count; ++k)
            a.c[k] = a.c[k] - b.c[k];
        return a;
    }
    friend Taylor operator*(Taylor a, const T& factor) {
        for (T& value : a.c)
            value = value * factor;
        return a;
    }
    friend Taylor operator*(const Taylor& a, const Taylor& b) {
        Taylor product;
        for_orders([&](int i, int j) { product(i, j) = convolved(a, b, i, j, 0, i + j); });
        return product;
    }

    /// The sum of a(k, l) b(i - k, j - l) over the orders k + l from `low` to `high`.
    static T convolved(const Taylor& a, const Taylor& b, int i, int j, int low, int high) {
        T sum{};
        for (int k = 0; k <= i; ++k)
            for (int l = 0; l <= j; ++l)
                if (k + l >= low && k + l <= high) sum = sum + a(k, l) * b(i - k, j - l);
        return sum;
    }

    std::array<T, count> c{};
};

template <class T, int N>
Taylor<T, N> squared(const Taylor<T, N>& a) {
    Taylor<T, N> result = a * a;
    result(0, 0) = square(a(0, 0)); // never below 0
    return result;
}

/// 1 / a, for a(0, 0) > 0: a r = 1, order by order.
template <class T, int N>
Taylor<T, N> inverse(const Taylor<T, N>& a) {
    Taylor<T, N> r;
    r(0, 0) = inverse_of_positive(a(0, 0));
    Taylor<T, N>::for_orders([&](int i, int j) {
        if (i + j > 0) r(i, j) = (T{} - Taylor<T, N>::convolved(a, r, i, j, 1, i + j)) * r(0, 0);
    });
    return r;
}

/// The square root, for a(0, 0) > 0: s s = a, order by order.
template <class T, int N>
Taylor<T, N> root(const Taylor<T, N>& a) {
    Taylor<T, N> s;
    s(0, 0) = root(a(0, 0));
    const T half = inverse_of_positive(s(0, 0)) * T(0.5);
    Taylor<T, N>::for_orders([&](int i, int j) {
        if (i + j > 0)
            s(i, j) = (a(i, j) - Taylor<T, N>::convolved(s, s, i, j, 1, i + j - 1)) * half;
    });
    return s;
}

/// The derivatives by x and by y, of an order less, and the series cut to that order.
template <class T, int N>
Taylor<T, N - 1> by_x(const Taylor<T, N>& a) {
    Taylor<T, N - 1> d;
    d.for_orders([&](int i, int j) { d(i, j) = a(i + 1, j) * T(i + 1.0); });
    return d;
}
template <class T, int N>
Taylor<T, N - 1> by_y(const Taylor<T, N>& a) {
    Taylor<T, N - 1> d;
    d.for_orders([&](int i, int j) { d(i, j) = a(i, j + 1) * T(j + 1.0); });
    return d;
}
template <class T, int N>
Taylor<T, N - 1> cut(const Taylor<T, N>& a) {
    Taylor<T, N - 1> lower;
    lower.for_orders([&](int i, int j) { lower(i, j) = a(i, j); });
    return lower;
}

} // namespace velm::detail
