#include "velm/wireframe/arc_in_space.h"

#include "velm/frame/point_functions.h"
#include "velm/frame/stored_form.h"
#include "velm/transforms/transformation_factories.h"
#include "velm/wireframe/detail/angles.h"
#include "velm/wireframe/detail/arc_between.h"
#include "velm/wireframe/detail/split.h"
#include "velm/wireframe/detail/trigonometric_box.h"
#include "velm/wireframe/detail/turn_projection.h"

#include <cmath>
#include <ostream>

VELM_DEFINE_CLASS(ERArc3D, ERCircle3D, ERFiniteEntity3DWFBoundedWithAngle)
VELM_DEFINE_STORED_FORM(ERArc3D, ERCircle3D)

using velm::detail::turn;
using velm::detail::TurnProjection;

// Assigns the virtual base once.
ERArc3D& ERArc3D::operator=(const ERArc3D& other) {
    ERCircle3D::operator=(other);
    setLimites(other.startAngle(), other.endAngle());
    return *this;
}

ERInfoPoint3DWF ERArc3D::PtCur(double t) {
    return ERInfoPoint3DWF(velm::detail::circle_point(circle_, t), getRepere(), Coord3D_Z, 0.0);
}

ERPoint3D ERArc3D::operator()(double t) { return ERCircle3D::operator()(t); }

ERMinimax3D ERArc3D::getBox() {
    return velm::detail::box_of_arc<velm::Space>(
        center(), getRepere().getVector(Coord3D_X) * radius(),
        getRepere().getVector(Coord3D_Y) * radius(), getBound());
}

double ERArc3D::arcLength(ERLimites interval, double) const {
    return std::fabs(interval.end() - interval.start()) * radius();
}

double ERArc3D::arcLength(double) const { return std::fabs(endAngle() - startAngle()) * radius(); }

int ERArc3D::splitAt(t_SmartPtr<ERFiniteEntity3DWF>& first, t_SmartPtr<ERFiniteEntity3DWF>& second,
                     double t) const {
    return velm::detail::split_at_angle(*this, t, first, second);
}

t_SmartPtr<EREntity2DWF> ERArc3D::get2DEntProjectedOn(const ERPmIsometrie3D& frame) {
    const TurnProjection image(*this, frame);
    if (Project2DWillBeSegment(frame)) return new ERSegment2D(image.segment(getBound()));
    if (Project2DWillBeEllipse(frame)) return image.arc(startAngle(), endAngle());
    const double zero = std::atan2(image.big.j(), image.big.i());
    t_SmartPtr<ERFiniteEntity2DWF> arc(
        new ERArc2D(image.centre, radius(), zero + image.sense() * (startAngle() - image.phase),
                    zero + image.sense() * (endAngle() - image.phase)));
    return arc.get();
}

void ERArc3D::reverse() { EREntAngle::reverse(); }

ERObject* ERArc3D::getCopy() const { return new ERArc3D(*this); }

void ERArc3D::printOn(std::ostream& out) const {
    out << "Arc : Centre :" << center() << '\n'
        << "      Normale:" << normale() << '\n'
        << "      Rayon  :" << radius() << '\n';
    velm::detail::print_limits(out, *this);
}

int Arc3Points(ERArc3D& arc, const ERPoint3D& a, const ERPoint3D& b, const ERPoint3D& c) {
    ERPoint3D center;
    ERVector3D normal;
    double radius;
    if (!GetCircle(a, b, c, center, normal, radius)) return 0;
    const ERPmIsometrie3D frame = ERChgRepere3D(normal, center);
    const double start = velm::detail::angle_about({}, frame.Project(a));
    double end = velm::detail::angle_about({}, frame.Project(c));
    if (start > end) end += turn;
    arc = ERArc3D(frame, radius, start, end);
    return 1;
}

int ArcCenterStartEnd(ERArc3D& first, ERArc3D& second, const ERPoint3D& start,
                      const ERPoint3D& center, const ERPoint3D& end, const ERVector3D& normal) {
    constexpr double radius_tolerance = 1e-9; // part of the contract
    const ERVector3D to_start(center, start), to_end(center, end);
    const double radius = to_start.norme();
    if (!(std::fabs(radius - to_end.norme()) <= radius_tolerance)) return 0;

    const ERVector3D x = to_start.getnormalized();
    ERVector3D axis = x ^ to_end.getnormalized();
    if (isEqual(axis, ERVector3D(), equalityTolerance)) {
        axis = normal - x * (normal * x);
        if (!(axis.norme2() > 0.0)) return 0;
    } else if (axis * normal < 0.0) {
        axis = -axis;
    }
    const ERPmIsometrie3D frame = ERChgRepere3D(x, axis ^ x, center);
    const double angle =
        velm::detail::angle_from(0.0, velm::detail::angle_about({}, frame.Project(end)));
    first = ERArc3D(frame, radius, 0.0, angle);
    second = ERArc3D(frame, radius, angle, turn);
    return 1;
}
