#include "velm/wireframe/detail/turn_projection.h"

#include "velm/frame/point_functions.h"
#include "velm/wireframe/detail/angles.h"
#include "velm/wireframe/elliptical_arc.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace velm::detail {

namespace {

ERVector2D flattened(ERVector3D v, const ERPmIsometrie3D& frame) {
    return frame.TransTo(v).castToVector2D(Coord3D_Z);
}

} // namespace

// The big axis is along the direction in which the circle's plane is level.
TurnProjection::TurnProjection(const ERCircle3D& circle, const ERPmIsometrie3D& frame)
    : centre(frame.Project(circle.center())), half_big(circle.radius()) {
    const ERVector3D view = frame.getVector(Coord3D_Z), normal = circle.normale();
    const ERVector3D x = circle.getRepere().getVector(Coord3D_X),
                     y = circle.getRepere().getVector(Coord3D_Y), level = view ^ normal;
    const double sine = level.norme();
    half_small = half_big * (view * normal);
    half_focal = half_big * sine;
    // In parallel planes every direction is level.
    const ERVector3D along = sine > 0.0 ? level.getnormalized() : x;
    phase = std::atan2(along * y, along * x);
    big = flattened(along, frame).normalize();
}

// The half axes of the ellipse map to conjugate half diameters u and v of the image.
TurnProjection::TurnProjection(const EREllipse3D& ellipse, const ERPmIsometrie3D& frame)
    : centre(frame.Project(ellipse.getCenter())) {
    const EllipseFrame flat = ellipse.flat().frame();
    const ERVector2D u = flattened(lifted(ellipse.getRepere(), flat.big()), frame),
                     v = flattened(lifted(ellipse.getRepere(), flat.small()), frame);
    const double mixed = 2.0 * (u * v), excess = u.norme2() - v.norme2();
    phase = 0.5 * std::atan2(mixed, excess);
    const ERVector2D half_axis = u * std::cos(phase) + v * std::sin(phase);
    half_big = half_axis.norme();
    big = half_big > 0.0 ? half_axis.getnormalized() : ERVector2D(Coord2D_X);
    half_small = half_big > 0.0 ? cross(u, v) / half_big : 0.0;
    half_focal = std::sqrt(std::hypot(mixed, excess));
}

EREllipse2D TurnProjection::ellipse() const {
    const ERVector2D to_focus = big * half_focal;
    return EREllipse2D(centre - to_focus, centre + to_focus, 2.0 * half_big);
}

ERSegment2D TurnProjection::segment() const {
    return ERSegment2D(centre - big * half_big, centre + big * half_big);
}

ERSegment2D TurnProjection::segment(const ERLimites& bound) const {
    const auto along = [&](double t) { return half_big * std::cos(t - phase); };
    double low = std::min(along(bound.start()), along(bound.end()));
    double high = std::max(along(bound.start()), along(bound.end()));
    double foremost = phase, backmost = phase + std::numbers::pi;
    if (bring_within(bound, foremost)) high = half_big;
    if (bring_within(bound, backmost)) low = -half_big;
    return ERSegment2D(centre + big * low, centre + big * high);
}

// The eccentric angle on the image is the parameter, counted from `phase` in the direction in which
// the curve is seen.
t_SmartPtr<EREntity2DWF> TurnProjection::arc(double first, double last) const {
    const double start = sense() * (first - phase);
    const double end = start + std::clamp(sense() * (last - first), -turn, turn);
    // From the lower of the two on, within the turn below 0: see ERArcEllipse2D::getBound.
    const double shift = angle_from(-turn, std::min(start, end)) - std::min(start, end);
    t_SmartPtr<ERArcEllipse2D> arc(new ERArcEllipse2D(ellipse(), 0.0, turn));
    const double from = arc->param_to_central(start + shift);
    const double to = arc->param_to_central(end + shift);
    arc->setLimites(from, to);
    return arc.get();
}

} // namespace velm::detail
