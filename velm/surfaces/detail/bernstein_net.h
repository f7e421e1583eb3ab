// velm::detail::BernsteinNet: polynomials in two variables over [0, 1] x [0, 1] by their Bernstein
// coefficients, with products, derivatives and bounds.
#pragma once

#include "velm/frame/interval.h"

#include <cstddef>
#include <span>
#include <vector>

namespace velm::detail {

/// `width` polynomials of degree p in u and q in v; coefficient (i, j) of all of them stands at
/// width (j (p + 1) + i).
struct BernsteinNet {
    BernsteinNet() = default;
    BernsteinNet(int degree_u, int degree_v, int components)
        : p(degree_u), q(degree_v), width(components),
          c(std::size_t(components) * std::size_t(degree_u + 1) * std::size_t(degree_v + 1)) {}

    /// Without coefficients: the zero polynomial of any degree.
    bool empty() const { return c.empty(); }
    std::size_t count() const { return c.size() / std::size_t(width); }
    double* at(int i, int j) { return c.data() + place(i, j); }
    const double* at(int i, int j) const { return c.data() + place(i, j); }

    int p = 0, q = 0, width = 1;
    std::vector<double> c;

private:
    std::size_t place(int i, int j) const {
        return std::size_t(width) * (std::size_t(j) * std::size_t(p + 1) + std::size_t(i));
    }
};

/// Components `first` to `first` + width - 1.
BernsteinNet components_of(const BernsteinNet& a, int first, int width);
/// Of degree 0 in that direction: empty.
BernsteinNet derivative_u(const BernsteinNet& a);
BernsteinNet derivative_v(const BernsteinNet& a);
/// A net of width 1 times each component of the other; empty if one is. By binomially scaled
/// coefficients.
BernsteinNet product(const BernsteinNet& factor, const BernsteinNet& b);
/// a += f b, for nets of the same degrees or empty ones.
void add(BernsteinNet& a, const BernsteinNet& b, double f);
/// Over the part u x v of [0, 1] x [0, 1].
void restrict_net(BernsteinNet& a, const ERLimites& u, const ERLimites& v);

/// The length of no value is larger: the largest of the coefficients'. 0 of an empty net.
double largest_length(const BernsteinNet& a);
/// The least and the largest coefficient of a component.
ERLimites range_of(const BernsteinNet& a, int component);

} // namespace velm::detail
