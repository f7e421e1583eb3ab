// velm::detail::QuotientNet: the quotient of two polynomials in Bernstein form, the lower one
// positive, with bounds that shrink as its domain is halved.
#pragma once

#include "velm/surfaces/detail/bernstein_net.h"

#include <algorithm>
#include <cmath>

namespace velm::detail {

struct QuotientNet {
    BernsteinNet net; ///< numerator and denominator; the coefficients of the latter are positive

    QuotientNet() = default;
    QuotientNet(const BernsteinNet& numerator, const BernsteinNet& denominator)
        : net(numerator.p, numerator.q, 2) {
        for (std::size_t k = 0; k < net.count(); ++k) {
            net.c[2 * k] = numerator.c[k];
            net.c[2 * k + 1] = denominator.c[k];
        }
    }

    /// The value of the quotient is between the least and the largest of these, which are values of
    /// it at the corners.
    double value(int i, int j) const { return net.at(i, j)[0] / net.at(i, j)[1]; }
    template <class F>
    void for_values(F f) const {
        if (net.empty()) return;
        for (int j = 0; j <= net.q; ++j)
            for (int i = 0; i <= net.p; ++i)
                f(value(i, j));
    }
    template <class F>
    void for_corners(F f) const {
        if (net.empty()) return;
        for (const int j : {0, net.q})
            for (const int i : {0, net.p})
                f(value(i, j));
    }
    /// The size of second differences: where there are none along U and V the largest of the values
    /// is that of a corner.
    double bend(bool along_u) const {
        double most = 0.0;
        for (int j = along_u ? 0 : 1; j < net.q + along_u; ++j)
            for (int i = along_u ? 1 : 0; i < net.p + !along_u; ++i) {
                const double before = along_u ? value(i - 1, j) : value(i, j - 1);
                const double after = along_u ? value(i + 1, j) : value(i, j + 1);
                most = std::max(most, std::fabs((after - value(i, j)) - (value(i, j) - before)));
            }
        return most;
    }
    bool bends_along_u() const { return bend(true) >= bend(false); }
    QuotientNet half(bool along_u, bool low) const {
        QuotientNet part(*this);
        const ERLimites all(0.0, 1.0), own(low ? 0.0 : 0.5, low ? 0.5 : 1.0);
        restrict_net(part.net, along_u ? own : all, along_u ? all : own);
        return part;
    }
};

} // namespace velm::detail
