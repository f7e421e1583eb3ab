#include "velm/numerics/projection_on_polynomial.h"

#include "velm/frame/dimension.h"
#include "velm/frame/point.h"
#include "velm/numerics/laguerre_roots.h"

#include <algorithm>

namespace {

ERPolynome one() { return ERPolynome(polyValue, 1.0); }

// Adds (x - coordinate w)(x' w - x w') to the sum, coefficient by coefficient; d is the largest
// degree of all.
void add_perpendicularity(const ERPolynome& x, const ERPolynome& w, double coordinate, int d,
                          ERPolynome& sum) {
    ERPolynome offset(polyConstruct, d);
    for (int i = 0; i <= d; ++i)
        offset[i] = x(i) - coordinate * w(i);
    ERPolynome turn(polyConstruct, 2 * d - 1);
    for (int i = 1; i <= d; ++i)
        for (int j = 0; j <= d; ++j)
            turn[i - 1 + j] += i * x(i) * w(j) - x(j) * (i * w(i));
    for (int i = 0; i <= d; ++i)
        for (int j = 0; j < 2 * d; ++j)
            sum[i + j] += offset[i] * turn[j];
}

template <class Dim>
int stationary_parameters(const ERTValVector<ERPolynome>& polys, const ERLimites& limits,
                          const typename Dim::Point& p, ERVec<double>& roots) {
    const int n = polys.length();
    int d = 0;
    for (const ERPolynome& poly : polys)
        d = std::max(d, poly.degree());
    ERPolynome f(polyConstruct, std::max(3 * d - 1, 0));
    const ERPolynome weight = n == Dim::size + 1 ? polys[Dim::size] : one();
    if (d > 0)
        for (int i = 0; i < std::min(n - 1, Dim::size); ++i)
            add_perpendicularity(polys[i], weight, p[i], d, f);
    return Zeros(f, limits, roots);
}

} // namespace

int ProjectionPointOnCpoly(const ERTValVector<ERPolynome>& polys, ERLimites limits,
                           const ERPoint2D& p, ERVec<double>& roots) {
    return stationary_parameters<velm::Plane>(polys, limits, p, roots);
}

int ProjectionPointOnCpoly(const ERTValVector<ERPolynome>& polys, ERLimites limits,
                           const ERPoint3D& p, ERVec<double>& roots) {
    return stationary_parameters<velm::Space>(polys, limits, p, roots);
}
