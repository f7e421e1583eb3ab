// velm::detail: sums and norms over arrays of doubles; each sum adds its terms in order.
#pragma once

#include "velm/frame/vec.h"
#include "velm/numerics/matrix.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace velm::detail {

inline double dot(const ERVec<double>& a, const ERVec<double>& b) {
    const auto x = a.view();
    const auto y = b.view();
    double sum = 0.0;
    for (std::size_t i = 0; i < std::min(x.size(), y.size()); ++i)
        sum += x[i] * y[i];
    return sum;
}

inline double norm2(const ERVec<double>& a) { return dot(a, a); }
inline double norm(const ERVec<double>& a) { return std::sqrt(norm2(a)); }

inline double distance2(const ERVec<double>& a, const ERVec<double>& b) {
    const auto x = a.view();
    const auto y = b.view();
    double sum = 0.0;
    for (std::size_t i = 0; i < x.size(); ++i)
        sum += (x[i] - y[i]) * (x[i] - y[i]);
    return sum;
}

inline void add(ERVec<double>& a, const ERVec<double>& b) {
    const auto x = a.writable();
    const auto y = b.view();
    for (std::size_t i = 0; i < x.size(); ++i)
        x[i] += y[i];
}

inline void subtract(ERVec<double>& a, const ERVec<double>& b) {
    const auto x = a.writable();
    const auto y = b.view();
    for (std::size_t i = 0; i < x.size(); ++i)
        x[i] -= y[i];
}

inline void scale(ERVec<double>& a, double factor) {
    for (double& x : a.writable())
        x *= factor;
}

/// Whether the sizes are those of a system with as many equations as unknowns.
inline bool is_square_system(const ERMatrix<double>& jacobian, const ERVec<double>& f,
                             const ERVec<double>& x) {
    return f.size() == x.size() && jacobian.rows() == x.size() && jacobian.columns() == x.size() &&
           jacobian.is_whole();
}

} // namespace velm::detail
