#include "velm/surfaces/projection_functors.h"

#include <cmath>

namespace velm::detail {

ERVector3D stable_normal(const ERAnyBoundedSurface& surface, const ERInfoPoint3DSurf& point,
                         int& singular) {
    constexpr double vanished = 1e-14, beside = 1e-5;
    singular = 0;
    const ERVector3D pu = point.tangenteU(), pv = point.tangenteV();
    const ERVector3D product = pu ^ pv;
    const double uu = pu.norme2(), vv = pv.norme2();
    if (uu > vanished && vv > vanished && product.norme2() > vanished * uu * vv)
        return product.getnormalized();

    singular = 1;
    const auto inward = [](const ERLimites& limits, double t) {
        const double step = (limits.end() - limits.start()) * beside;
        return limits.end() - t < t - limits.start() ? -step : step;
    };
    const double u = point.u(), v = point.v();
    const double du = inward(surface.getBoundU(), u), dv = inward(surface.getBoundV(), v);
    const ERPoint3D corner = surface(u + du, v + dv);
    ERVector3D a(point.point(), surface(u + du, v)), b(point.point(), surface(u, v + dv));
    // The shorter side is the one along which the surface collapses.
    (b.norme() <= a.norme() ? b : a) = ERVector3D(point.point(), corner);
    const ERVector3D n = a ^ b;
    return (du * dv < 0.0 ? -n : n).getnormalized();
}

FootProblem::FootProblem(const ERAnyBoundedSurface& on, const ERPoint3D& target)
    : ERCNewtonH(1e-8), surface_(on), target_(target), limits_u_(on.getBoundU()),
      span_u_(limits_u_.end() - limits_u_.start()), limits_v_(on.getBoundV()),
      span_v_(limits_v_.end() - limits_v_.start()) {
    const ERMinimax3D box = on.getBox();
    inverse_size_ = 1.0 / box.diagonal();
    center_ = box.center_point();
}

void FootProblem::move_to(double* x) {
    for (double* t : {x, x + 1})
        *t = *t < 0.0 ? 0.0 : *t > 1.0 ? 1.0 : *t;
    if (x[0] == x_ && x[1] == y_) return;
    const auto between = [](const ERLimites& limits, double t) {
        return (1.0 - t) * limits.start() + t * limits.end();
    };
    move_to_parameter(between(limits_u_, x[0]), between(limits_v_, x[1]));
    x_ = x[0];
    y_ = x[1];
}

void FootProblem::move_to_parameter(double u, double v) {
    is_placed_ = true;
    point_ = surface_.PtCur(u, v);
    difference_ = ERVector3D(target_, point_.point());
}

void FootProblem::residual(double* x, double* values) {
    move_to(x);
    values[0] = point_.tangenteU() * difference_ * span_u_;
    values[1] = point_.tangenteV() * difference_ * span_v_;
}

void FootProblem::jacobian(double* x, double* values) {
    move_to(x);
    const ERVector3D& d = difference_;
    const ERVector3D pu = point_.tangenteU(), pv = point_.tangenteV();
    values[0] = (point_.derivative(0, 2) * d + pu * pu) * (span_u_ * span_u_);
    values[1] = values[2] = (point_.derivative(1, 1) * d + pu * pv) * (span_u_ * span_v_);
    values[3] = (point_.derivative(2, 0) * d + pv * pv) * (span_v_ * span_v_);
}

namespace {

// The unknowns, clamped; written back only where that changes something, so that arrays that share
// their elements with this one keep theirs.
struct Clamped {
    explicit Clamped(const ERVec<double>& given)
        : array(given), values{given.view()[0], given.view()[1]} {}
    ~Clamped() {
        for (int i = 0; i < 2; ++i)
            if (!(array.view()[std::size_t(i)] == values[i]) && !std::isnan(values[i]))
                const_cast<ERVec<double>&>(array)[i] = values[i];
    }
    Clamped(const Clamped&) = delete;
    Clamped& operator=(const Clamped&) = delete;

    const ERVec<double>& array;
    double values[2];
};

} // namespace

ERVec<double> FootProblem::f(const ERVec<double>& x) {
    if (x.size() != 2) return {};
    Clamped unknowns(x);
    ERVec<double> result(2);
    residual(unknowns.values, result.writable().data());
    return result;
}

ERMatrix<double> FootProblem::fprime(const ERVec<double>& x) {
    if (x.size() != 2) return {};
    Clamped unknowns(x);
    ERMatrix<double> result(2, 2);
    jacobian(unknowns.values, result.writable().data());
    return result;
}

double FootProblem::H(const ERVec<double>& x) {
    if (x.size() != 2) return std::numeric_limits<double>::quiet_NaN();
    Clamped unknowns(x);
    move_to(unknowns.values);
    return 0.5 * difference_.norme2();
}

int FootProblem::HDomaine(const ERVec<double>& x) {
    for (const double t : x.view())
        if (!(t >= 0.0 && t <= 1.0)) return 1;
    return 0;
}

double FootProblem::angle_criterion(int& singular) const {
    const ERVector3D normal = stable_normal(surface_, point_, singular);
    if (normal.norme() == 0.0) return std::numeric_limits<double>::max();
    return (difference_.getnormalized() ^ normal).norme();
}

double FootProblem::angle_criterion(const ERPoint2D& parameter, int& singular) {
    if (!is_placed_ || !(parameter == point_.parametre())) {
        move_to_parameter(parameter.x(), parameter.y());
        x_ = y_ = std::numeric_limits<double>::max();
    }
    return angle_criterion(singular);
}

} // namespace velm::detail
