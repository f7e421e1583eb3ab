#include "velm/surfaces/surface_point.h"

#include "velm/frame/math_utils.h"
#include "velm/frame/point_functions.h"
#include "velm/numerics/quadratic.h"
#include "velm/transforms/transformation.h"

#include <algorithm>
#include <cmath>

namespace {

// The coefficients of the first and the second fundamental form; first = E G - F^2.
struct Forms {
    explicit Forms(const ERInfoPoint3DSurf& p)
        : E(p.tangenteU() * p.tangenteU()), F(p.tangenteU() * p.tangenteV()),
          G(p.tangenteV() * p.tangenteV()), first(E * G - F * F) {
        const ERVector3D normal = p.tangenteU() ^ p.tangenteV();
        const double length = std::sqrt(first);
        L = p.derivative(0, 2) * normal / length;
        M = p.derivative(1, 1) * normal / length;
        Q = p.derivative(2, 0) * normal / length;
    }

    double gaussian() const { return (L * Q - M * M) / first; }
    double mean() const { return 0.5 * (Q * E - 2.0 * F * M + L * G) / first; }

    double E, F, G, first;
    double L, M, Q;
};

bool is_null(const ERVector3D& v) { return isEqual(v, ERVector3D(), equalityTolerance); }

} // namespace

ERInfoPoint3DSurf::ERInfoPoint3DSurf(const ERPoint2D& parameter, const ERPoint3D& point,
                                     const ERVector3D& du, const ERVector3D& duu,
                                     const ERVector3D& dv, const ERVector3D& duv,
                                     const ERVector3D& dvv)
    : parameter_(parameter), derivatives_(ERMatrix<ERPoint3D>::unfilled(order_count, order_count)) {
    const std::span<ERPoint3D> target = derivatives_.writable();
    target[0] = point;
    target[1] = ERPoint3D(du);
    target[2] = ERPoint3D(duu);
    target[3] = ERPoint3D(dv);
    target[4] = ERPoint3D(duv);
    target[5] = ERPoint3D();
    target[6] = ERPoint3D(dvv);
    target[7] = target[8] = ERPoint3D();
}

ERInfoPoint3DSurf::ERInfoPoint3DSurf(const ERPoint2D& parameter, const ERPoint3D& point)
    : parameter_(parameter), derivatives_(1, 1, &point) {}

ERVector3D ERInfoPoint3DSurf::normale() const {
    const ERVector3D du = tangenteU(), dv = tangenteV();
    if (is_null(du)) return is_null(dv) ? ERVector3D() : derivative(2, 0).getnormalized();
    if (is_null(dv)) return derivative(0, 2).getnormalized();
    return (du ^ dv).getnormalized();
}

double ERInfoPoint3DSurf::courbureGaussienne() const { return Forms(*this).gaussian(); }

double ERInfoPoint3DSurf::courbureMoyenne() const { return Forms(*this).mean(); }

double ERInfoPoint3DSurf::courbureNormale(double du, double dv) const {
    const Forms f(*this);
    return (f.L * du * du + 2.0 * f.M * du * dv + f.Q * dv * dv) /
           (f.E * du * du + 2.0 * f.F * du * dv + f.G * dv * dv);
}

int ERInfoPoint3DSurf::courburesExtremes(double& k1, double& k2) const {
    const Forms f(*this);
    return EquationBiCarre(f.first, 2.0 * f.F * f.M - f.G * f.L - f.E * f.Q, f.L * f.Q - f.M * f.M,
                           k1, k2);
}

int ERInfoPoint3DSurf::directionPrincipale(double& d1, double& d2) const {
    const Forms f(*this);
    return EquationBiCarre(f.Q * f.F - f.M * f.G, f.L * f.G - f.Q * f.E, f.M * f.E - f.L * f.F, d1,
                           d2);
}

void ERInfoPoint3DSurf::transformFrom(const ERTr3DRev& t) {
    for (ERPoint3D& element : derivatives_.writable().subspan(1)) {
        ERVector3D v(element);
        element = ERPoint3D(t.TransFrom(v));
    }
    t.TransFrom(derivatives_[0]);
}

void ERInfoPoint3DSurf::transformTo(const ERTr3DRev& t) {
    for (ERPoint3D& element : derivatives_.writable().subspan(1)) {
        ERVector3D v(element);
        element = ERPoint3D(t.TransTo(v));
    }
    t.TransTo(derivatives_[0]);
}

namespace velm {

PrincipalCurvatures principal_curvatures(const ERInfoPoint3DSurf& point) {
    const Forms f(point);
    const double mean = f.mean();
    const double radicand = mean * mean - f.gaussian();
    const double half = std::sqrt(radicand < 0.0 ? 0.0 : radicand);
    return {mean - half, mean + half};
}

} // namespace velm
