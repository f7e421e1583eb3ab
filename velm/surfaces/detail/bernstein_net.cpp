#include "velm/surfaces/detail/bernstein_net.h"

#include "velm/surfaces/detail/pole_grid.h"

#include <algorithm>
#include <cmath>

namespace velm::detail {

namespace {

// C(n, 0) to C(n, n), rounded once each up to n = 56.
std::vector<double> binomials(int n) {
    std::vector<double> row(std::size_t(n) + 1, 1.0);
    for (int k = 1; k <= n; ++k)
        row[std::size_t(k)] = row[std::size_t(k) - 1] * (n - k + 1) / k;
    return row;
}

// f(coefficient values, C(p, i) C(q, j)) for each coefficient.
template <class Net, class F>
void for_scaled(Net& a, F f) {
    const std::vector<double> in_u = binomials(a.p), in_v = binomials(a.q);
    for (int j = 0; j <= a.q; ++j)
        for (int i = 0; i <= a.p; ++i)
            f(a.at(i, j), in_u[std::size_t(i)] * in_v[std::size_t(j)]);
}

BernsteinNet scaled(const BernsteinNet& a) {
    BernsteinNet result(a);
    for_scaled(result, [&](double* c, double f) {
        for (int k = 0; k < a.width; ++k)
            c[k] *= f;
    });
    return result;
}

} // namespace

BernsteinNet components_of(const BernsteinNet& a, int first, int width) {
    BernsteinNet part(a.p, a.q, width);
    for (std::size_t n = 0; n < a.count(); ++n)
        std::copy_n(a.c.data() + n * std::size_t(a.width) + first, width,
                    part.c.data() + n * std::size_t(width));
    return part;
}

BernsteinNet derivative_u(const BernsteinNet& a) {
    if (a.empty() || a.p == 0) return {};
    BernsteinNet d(a.p - 1, a.q, a.width);
    for (int j = 0; j <= a.q; ++j)
        for (int i = 0; i < a.p; ++i)
            for (int k = 0; k < a.width; ++k)
                d.at(i, j)[k] = a.p * (a.at(i + 1, j)[k] - a.at(i, j)[k]);
    return d;
}

BernsteinNet derivative_v(const BernsteinNet& a) {
    if (a.empty() || a.q == 0) return {};
    BernsteinNet d(a.p, a.q - 1, a.width);
    for (int j = 0; j < a.q; ++j)
        for (int i = 0; i <= a.p; ++i)
            for (int k = 0; k < a.width; ++k)
                d.at(i, j)[k] = a.q * (a.at(i, j + 1)[k] - a.at(i, j)[k]);
    return d;
}

BernsteinNet product(const BernsteinNet& factor, const BernsteinNet& b) {
    if (factor.empty() || b.empty()) return {};
    BernsteinNet result(factor.p + b.p, factor.q + b.q, b.width);
    const BernsteinNet x = scaled(factor), y = scaled(b);
    for (int l = 0; l <= x.q; ++l)
        for (int k = 0; k <= x.p; ++k) {
            const double f = *x.at(k, l);
            for (int j = 0; j <= y.q; ++j) {
                const double* from = y.at(0, j);
                double* to = result.at(k, l + j);
                const std::ptrdiff_t row = std::ptrdiff_t(y.p + 1) * y.width;
                for (std::ptrdiff_t n = 0; n < row; ++n)
                    to[n] += f * from[n];
            }
        }
    for_scaled(result, [&](double* c, double f) {
        for (int k = 0; k < b.width; ++k)
            c[k] /= f;
    });
    return result;
}

void add(BernsteinNet& a, const BernsteinNet& b, double f) {
    if (b.empty()) return;
    if (a.empty()) a = BernsteinNet(b.p, b.q, b.width);
    for (std::size_t n = 0; n < a.c.size(); ++n)
        a.c[n] += f * b.c[n];
}

void restrict_net(BernsteinNet& a, const ERLimites& u, const ERLimites& v) {
    if (a.empty()) return;
    const ERLimites whole(0.0, 1.0);
    const PoleGrid grid{a.c.data(), a.q + 1, a.p + 1, a.width};
    if (a.p > 0 && !(u == whole)) restrict_grid(grid, Axis::u, u.start(), u.end());
    if (a.q > 0 && !(v == whole)) restrict_grid(grid, Axis::v, v.start(), v.end());
}

double largest_length(const BernsteinNet& a) {
    double largest = 0.0;
    for (std::size_t n = 0; n < a.c.size(); n += std::size_t(a.width)) {
        double sum = 0.0;
        for (std::size_t k = 0; k < std::size_t(a.width); ++k)
            sum += a.c[n + k] * a.c[n + k];
        largest = std::max(largest, sum);
    }
    return std::sqrt(largest);
}

ERLimites range_of(const BernsteinNet& a, int component) {
    ERLimites range(a.c[std::size_t(component)], a.c[std::size_t(component)]);
    for (std::size_t n = std::size_t(component); n < a.c.size(); n += std::size_t(a.width)) {
        range.start() = std::min(range.start(), a.c[n]);
        range.end() = std::max(range.end(), a.c[n]);
    }
    return range;
}

} // namespace velm::detail
