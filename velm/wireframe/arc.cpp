#include "velm/wireframe/arc.h"

#include "velm/frame/point_functions.h"
#include "velm/frame/smart_pointer.h"
#include "velm/frame/stored_form.h"
#include "velm/transforms/plane_transformation.h"
#include "velm/wireframe/arc_in_space.h"
#include "velm/wireframe/detail/angles.h"
#include "velm/wireframe/detail/arc_between.h"
#include "velm/wireframe/detail/split.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <ostream>

VELM_DEFINE_CLASS(ERArc2D, ERFiniteEntity2DWFBoundedWithAngle, ERCircle2D)
VELM_DEFINE_STORED_FORM(ERArc2D, ERCircle2D)

using velm::detail::angle_about;
using velm::detail::turn;
using velm::detail::unit_vector;

namespace {

constexpr double pi = std::numbers::pi;

// The limits in rising order.
ERLimites rising(const EREntAngle& angles) {
    const double start = angles.startAngle(), end = angles.endAngle();
    return ERLimites(std::min(start, end), std::max(start, end));
}

} // namespace

// Assigns the virtual base once.
ERArc2D& ERArc2D::operator=(const ERArc2D& other) {
    ERCircle2D::operator=(other);
    setLimites(other.startAngle(), other.endAngle());
    return *this;
}

ERInfoPoint2D ERArc2D::PtCur(double t) { return velm::detail::circle_point(*this, t); }

ERPoint2D ERArc2D::operator()(double t) { return ERCircle2D::operator()(t); }

ERMinimax2D ERArc2D::getBox() {
    ERMinimax2D box((*this)(startAngle()), (*this)(endAngle()));
    const ERLimites bound = getBound();
    const double r = radius_;
    const ERVector2D extremes[] = {{r, 0.0}, {0.0, r}, {-r, 0.0}, {0.0, -r}};
    for (int quarter = 0; quarter < 4; ++quarter) {
        double angle = quarter * (0.5 * pi);
        if (velm::detail::bring_within(bound, angle)) box.Update(center_ + extremes[quarter]);
    }
    return box;
}

double ERArc2D::arcLength(ERLimites interval, double) const {
    return std::fabs(interval.end() - interval.start()) * radius_;
}

double ERArc2D::arcLength(double) const { return std::fabs(endAngle() - startAngle()) * radius_; }

ERVector2D ERArc2D::normal(double t) { return -unit_vector(t); }

int ERArc2D::splitAt(t_SmartPtr<ERFiniteEntity2DWF>& first, t_SmartPtr<ERFiniteEntity2DWF>& second,
                     double t) const {
    return velm::detail::split_at_angle(*this, t, first, second);
}

void ERArc2D::normalized() {
    double start = startAngle(), end = endAngle();
    if (0.0 <= start && start < end && end <= turn) return;
    // All whole turns at once: turn by turn, a large angle would take that many steps.
    double turns = 0.0;
    if (start > turn) turns = -std::ceil((start - turn) / turn);
    if (start < 0.0) turns = std::ceil(-start / turn);
    setLimites(start + turns * turn, end + turns * turn);
}

int ERArc2D::ProjectPoint(const ERPoint2D& p, ERVec<double>& params, double) const {
    if (p == center_) return -1;
    const ERLimites bound = rising(*this);
    double angle = angle_about(center_, p);
    if (bound.end() > pi && angle < 0.0) angle += turn;
    if (bound.inBound(angle)) params.append(angle);
    return params.size();
}

int ERArc2D::intersectWithAxeY(double y, ERVec<double>& params) const {
    const double x = y - center_.x();
    if (std::fabs(x) > radius_) return 0;
    if (std::fabs(x) == radius_) {
        params.append(x > 0.0 ? 0.0 : pi);
        return params.size();
    }
    const ERLimites bound = rising(*this);
    const double height = std::sqrt(radius_ * radius_ - x * x);
    for (const double angle : {std::atan2(height, x), std::atan2(-height, x)}) {
        if (bound.inBound(angle)) params.append(angle);
    }
    return params.size();
}

EREntity::DISTMINRES ERArc2D::SignedMinimalDistance(const ERPoint2D& p, double& dist, double& t) {
    const DISTMINRES found = ERCircle2D::SignedMinimalDistance(p, dist);
    if (found == DISTMIN_EVERYWHERE) {
        t = startAngle();
        return found;
    }
    double angle = angle_about(center_, p);
    if (velm::detail::bring_within(getBound(), angle)) {
        t = angle;
        return DISTMIN_FOUND;
    }
    const double to_start = distance(p, firstPt()), to_end = distance(p, lastPt());
    t = to_end < to_start ? endAngle() : startAngle();
    dist = std::copysign(std::min(to_start, to_end), dist < 0.0 ? -1.0 : 1.0);
    return DISTMIN_AT_END;
}

EREntity::DISTMINRES ERArc2D::SignedMinimalDistance(const ERPoint2D& p, double& dist) {
    return ERFiniteEntity2DWF::SignedMinimalDistance(p, dist);
}

void ERArc2D::scale(double s) { ERCircle2D::scale(s); }

void ERArc2D::translate(const ERPoint2D& v) { ERCircle2D::translate(v); }

void ERArc2D::transformFrom(const ERTransfo2D& t) {
    if (t.isDirect()) {
        const double angle = t.angle();
        ERCircle2D::transformFrom(t);
        setLimites(startAngle() + angle, endAngle() + angle);
    } else {
        mirror([&](const ERPoint2D& p) { return t.TransFrom(p); });
    }
}

void ERArc2D::transformTo(const ERTransfo2D& t) {
    if (t.isDirect()) {
        const double angle = t.angle();
        ERCircle2D::transformTo(t);
        setLimites(startAngle() - angle, endAngle() - angle);
    } else {
        mirror([&](const ERPoint2D& p) { return t.TransTo(p); });
    }
}

template <class Map>
void ERArc2D::mirror(Map map) {
    const ERPoint2D first = map(firstPt()), last = map(lastPt());
    // The ends of a whole turn agree only within rounding.
    *this = velm::detail::arc_between(EREntAngle::isClosed(0.0) ? first : last, first, map(center_),
                                      !isDirect());
}

t_SmartPtr<EREntity3DWF> ERArc2D::get3DEquiv(const ERPmIsometrie3D& frame) {
    t_SmartPtr<ERArc3D> lifted(new ERArc3D(*this, frame));
    return lifted.get();
}

void ERArc2D::reverse() { EREntAngle::reverse(); }

ERObject* ERArc2D::getCopy() const { return new ERArc2D(*this); }

void ERArc2D::printOn(std::ostream& out) const {
    out << "Arc : Centre :" << center_ << '\n' << "      Rayon  :" << radius_ << '\n';
    velm::detail::print_limits(out, *this);
}

int Arc3Points(ERArc2D& arc, const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& c) {
    ERPoint2D center;
    double radius;
    if (!GetCircle(a, b, c, center, radius)) return 0;
    const double start = angle_about(center, a);
    double end = angle_about(center, c);
    if (start > end) end += turn;
    arc = ERArc2D(center, radius, start, end);
    return 1;
}

int Arc2PointsCenter(ERArc2D& arc, const ERPoint2D& p1, const ERPoint2D& p2,
                     const ERPoint2D& center, int reversed) {
    constexpr double radius_tolerance = 1e-9; // part of the contract
    if (!(std::fabs(distance(p1, center) - distance(p2, center)) <= radius_tolerance)) return 0;
    arc = velm::detail::arc_between(p1, p2, center, reversed != 0);
    return 1;
}

namespace velm::detail {

ERInfoPoint2D circle_point(const ERCircle2D& circle, double t) {
    const ERVector2D outward = unit_vector(t) * circle.radius();
    return {t, 1, circle.center() + outward, ERVector2D(-outward.j(), outward.i()), -outward};
}

ERArc2D arc_between(const ERPoint2D& p1, const ERPoint2D& p2, const ERPoint2D& center,
                    bool reversed) {
    const ERPoint2D &from = reversed ? p2 : p1, &to = reversed ? p1 : p2;
    ERArc2D arc(center, distance(from, center), 0.0, turn);
    if (!(p1 == p2)) {
        double start = angle_about(center, from), end = angle_about(center, to);
        if (start > end) end += turn;
        if (end >= turn) {
            start -= turn;
            end -= turn;
        }
        arc.setLimites(start, end);
    }
    if (reversed) arc.reverse();
    return arc;
}

} // namespace velm::detail
