#include "velm/measure/orthogonal_fit.h"

#include "velm/frame/point_functions.h"

#include <cmath>
#include <limits>
#include <vector>

namespace velm {

namespace {

// Whether two spreads differ by more than the rounding of the points explains.
template <class D>
bool apart(const PrincipalAxes<D>& axes, std::size_t greater, std::size_t smaller) {
    constexpr double eps = std::numeric_limits<double>::epsilon();
    const double scale = axes.spread[0];
    const double more = axes.spread[greater] / scale, less = axes.spread[smaller] / scale;
    return more * more - less * less > 16.0 * eps + 2.0 * more * axes.rounding / scale;
}

// v or -v: towards `side` if that decides, else with its main component positive.
template <class Vector>
Vector turned(const Vector& v, const Vector& side) {
    double along = v * side;
    if (along == 0.0 || !std::isfinite(along)) {
        int main = 0;
        for (int k = 1; k < Vector::components; ++k)
            if (std::fabs(v[k]) > std::fabs(v[main])) main = k;
        along = v[main];
    }
    return along < 0.0 ? -v : v;
}

template <class D, class Fit>
Fit line_along(std::span<const typename D::Point> points, const typename D::Vector& towards) {
    using Vector = typename D::Vector;
    Fit fit;
    if (points.size() < 2) return fit;
    const PrincipalAxes<D> axes = principal_axes<D>(points);
    fit.outcome = axes.outcome;
    if (fit.outcome != FitOutcome::fitted) return fit;
    fit.centroid = axes.centroid;
    const Vector way(points.front(), points.back());
    fit.direction = turned(axes.axis[0], towards.norme2() > 0.0 ? towards : way);
    for (std::size_t k = 1; k < axes.spread.size(); ++k)
        fit.rms = std::hypot(fit.rms, axes.spread[k]);
    if (!apart(axes, 0, 1)) fit.outcome = FitOutcome::no_direction;
    return fit;
}

PlaneFit plane_across(const PrincipalAxes<Space>& axes, const ERVector3D& side) {
    PlaneFit fit;
    fit.outcome = axes.outcome;
    if (fit.outcome != FitOutcome::fitted) return fit;
    fit.centroid = axes.centroid;
    fit.normal = turned(axes.axis[2], side);
    fit.rms = axes.spread[2];
    if (axes.spread[1] <= axes.rounding) {
        fit.outcome = FitOutcome::collinear;
    } else if (!apart(axes, 1, 2)) {
        fit.outcome = FitOutcome::no_direction;
    }
    return fit;
}

// std::hypot, because squares may overflow or vanish: points may have any scale.
double length(const ERVector3D& v) { return std::hypot(v.i(), v.j(), v.k()); }

} // namespace

double LineFit2D::residual(const ERPoint2D& p) const {
    return cross(ERVector2D(centroid, p), direction);
}

double LineFit3D::residual(const ERPoint3D& p) const {
    return length(ERVector3D(centroid, p) ^ direction);
}

double PlaneFit::residual(const ERPoint3D& p) const { return ERVector3D(centroid, p) * normal; }

double CircleFit2D::residual(const ERPoint2D& p) const {
    return std::hypot(p.x() - centre.x(), p.y() - centre.y()) - radius;
}

double CircleFit3D::residual(const ERPoint3D& p) const {
    const ERVector3D v(centre, p);
    return length(v - normal * (v * normal)) - radius;
}

double CircleFit3D::height(const ERPoint3D& p) const { return ERVector3D(centre, p) * normal; }

LineFit2D fit_line(std::span<const ERPoint2D> points, const ERVector2D& towards) {
    return line_along<Plane, LineFit2D>(points, towards);
}

LineFit3D fit_line(std::span<const ERPoint3D> points, const ERVector3D& towards) {
    return line_along<Space, LineFit3D>(points, towards);
}

PlaneFit fit_plane(std::span<const ERPoint3D> points, const ERVector3D& side) {
    if (points.size() < 3) return {};
    return plane_across(principal_axes<Space>(points), side);
}

CircleFit2D fit_circle(std::span<const ERPoint2D> points) {
    const FlatCircle flat = fit_flat_circle(points);
    return {flat.outcome, flat.centre, flat.radius, flat.rms, flat.iteration};
}

CircleFit3D fit_circle(std::span<const ERPoint3D> points, const ERVector3D& side) {
    CircleFit3D fit;
    if (points.size() < 3) return fit;
    const PrincipalAxes<Space> axes = principal_axes<Space>(points);
    const PlaneFit plane = plane_across(axes, side);
    fit.outcome = plane.outcome;
    if (fit.outcome != FitOutcome::fitted) return fit;

    std::vector<ERPoint2D> flat_points;
    flat_points.reserve(points.size());
    for (const ERPoint3D& p : points) {
        const ERVector3D v(axes.centroid, p);
        flat_points.emplace_back(v * axes.axis[0], v * axes.axis[1]);
    }
    const FlatCircle flat = fit_flat_circle(flat_points);
    fit.outcome = flat.outcome;
    fit.centre = axes.centroid + axes.axis[0] * flat.centre.x() + axes.axis[1] * flat.centre.y();
    fit.normal = plane.normal;
    fit.radius = flat.radius;
    fit.rms = flat.rms;
    fit.plane_rms = plane.rms;
    fit.iteration = flat.iteration;
    return fit;
}

} // namespace velm
