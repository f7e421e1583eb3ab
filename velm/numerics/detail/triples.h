// velm::detail::dot3, cross3: products of vectors that are three doubles in an array.
#pragma once

namespace velm::detail {

inline double dot3(const double* a, const double* b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/// `out` is an array of its own.
inline void cross3(const double* a, const double* b, double* out) {
    for (int c = 0; c < 3; ++c)
        out[c] = a[(c + 1) % 3] * b[(c + 2) % 3] - a[(c + 2) % 3] * b[(c + 1) % 3];
}

} // namespace velm::detail
