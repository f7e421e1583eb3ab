// ERRoundedSlot2D, and the end arcs of a slot between two circles.
#include "velm/frame/point_functions.h"
#include "velm/frame/stored_form.h"
#include "velm/transforms/plane_transformation.h"
#include "velm/wireframe/arc.h"
#include "velm/wireframe/closest_point.h"
#include "velm/wireframe/detail/angles.h"
#include "velm/wireframe/detail/closed_shape.h"
#include "velm/wireframe/detail/shape_text.h"
#include "velm/wireframe/detail/slot_pieces.h"
#include "velm/wireframe/planar_shapes.h"
#include "velm/wireframe/shape_recognition.h"
#include "velm/wireframe/shapes_in_space.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <ostream>

VELM_DEFINE_CLASS(ERRoundedSlot2D, EREntity2DWF)
VELM_DEFINE_STORED_FORM(ERRoundedSlot2D, EREntity2DWF)

using std::numbers::pi;
using velm::detail::turned_left;

namespace velm::detail {

SlotPieces::SlotPieces(const ERRoundedSlot2D& slot) {
    const ERVector2D m = turned_left(slot.main_direction()) * slot.radius();
    const ERPoint2D &c1 = slot.center1(), &c2 = slot.center2();
    const double left = angle_about({}, ERPoint2D(m.i(), m.j()));
    const double right = left > 0.0 ? left - pi : left + pi;
    arcs[0] = ERArc2D(c1, slot.radius(), left, left + pi);
    arcs[1] = ERArc2D(c2, slot.radius(), right, right + pi);
    sides[0] = ERSegment2D(c1 - m, c2 - m);
    sides[1] = ERSegment2D(c2 + m, c1 + m);
}

} // namespace velm::detail

ERPoint2D ERRoundedSlot2D::center() const { return milieu(center1_, center2_); }

double ERRoundedSlot2D::length() const { return distance(center1_, center2_) + 2.0 * radius_; }

ERVector2D ERRoundedSlot2D::main_direction() const {
    if (center1_ == center2_) return {1.0, 0.0};
    return ERVector2D(center1_, center2_).getnormalized();
}

ERInfoPoint2D ERRoundedSlot2D::PtCur(double t) const {
    const ERVector2D u = main_direction(), m = turned_left(u);
    const ERVector2D along = u * distance(center1_, center2_);
    const auto on_arc = [&](double angle) {
        return (m * std::cos(angle) + turned_left(m) * std::sin(angle)) * radius_;
    };
    ERPoint2D point;
    ERVector2D slope;
    if (!(t >= 0.0 && t <= 4.0)) {
        // Part of the contract: the origin.
    } else if (t <= 1.0) {
        point = center1_ + on_arc(pi * t);
    } else if (t <= 2.0) {
        point = center1_ - m * radius_ + along * (t - 1.0);
        slope = along;
    } else if (t <= 3.0) {
        point = center2_ - on_arc(pi * (t - 2.0));
    } else {
        point = center2_ + m * radius_ - along * (t - 3.0);
        slope = -along;
    }
    return {t, 1, point, slope, ERVector2D()};
}

ERMinimax2D ERRoundedSlot2D::getBox() const {
    const double reach = std::fabs(radius_);
    ERMinimax2D box;
    box.Update(center1_);
    box.Update(center2_);
    box.Inflate(reach);
    return box;
}

int ERRoundedSlot2D::Project(const ERPoint2D& p, ERPoint2D& foot, double& distance,
                             int& entity) const {
    const velm::detail::SlotPieces pieces(*this);
    velm::detail::NearestEdge nearest;
    for (int i = 0; i < 2; ++i) {
        const auto on_arc = velm::closest_point(pieces.arcs[i], p);
        nearest.take(on_arc.point, on_arc.distance, 2 * i);
        const ERSegment2D& side = pieces.sides[i];
        const ERPoint2D at = velm::detail::nearest_on_segment(side.getP1(), side.getP2(), p);
        nearest.take(at, ::distance(at, p), 2 * i + 1);
    }
    return nearest.give(foot, distance, entity);
}

EREntity::DISTMINRES ERRoundedSlot2D::SignedMinimalDistance(const ERPoint2D& p, double& dist) {
    dist = distance(velm::detail::nearest_on_segment(center1_, center2_, p), p) - radius_;
    return DISTMIN_FOUND;
}

void ERRoundedSlot2D::scale(double s) {
    center1_ *= s;
    center2_ *= s;
    radius_ *= s;
}

void ERRoundedSlot2D::translate(const ERPoint2D& v) {
    const ERPoint2D by = v; // may be a center
    center1_ += by;
    center2_ += by;
}

void ERRoundedSlot2D::transformFrom(const ERTransfo2D& t) {
    center1_ = t.TransFrom(center1_);
    center2_ = t.TransFrom(center2_);
    radius_ *= t.factHomo();
}

void ERRoundedSlot2D::transformTo(const ERTransfo2D& t) {
    center1_ = t.TransTo(center1_);
    center2_ = t.TransTo(center2_);
    radius_ /= t.factHomo();
}

void ERRoundedSlot2D::reverse() { std::swap(center1_, center2_); }

t_SmartPtr<EREntity3DWF> ERRoundedSlot2D::get3DEquiv(const ERPmIsometrie3D& frame) {
    return new ERRoundedSlot3D(frame, *this);
}

void ERRoundedSlot2D::printOn(std::ostream& out) const {
    velm::detail::print_slot(out, "Rounded Slot 2D:", center1_, center2_, radius_);
}

ERObject* ERRoundedSlot2D::getCopy() const { return new ERRoundedSlot2D(*this); }

int BuildSlot(const ERCircle2D& first, const ERCircle2D& second, ERArc2D& start, ERArc2D& end) {
    const ERVector2D between(first.center(), second.center());
    const double d = between.norme();
    // The common tangents touch both circles in the directions whose cosine to the line of centers
    // this is; there are none if one circle is inside the other.
    const double cosine = (first.radius() - second.radius()) / d;
    if (!(std::fabs(cosine) < 1.0)) return 0;
    const double axis = std::atan2(between.j(), between.i()), half = std::acos(cosine);
    start = ERArc2D(first, axis + half, axis + 2.0 * pi - half);
    end = ERArc2D(second, axis - half, axis + half);
    start.normalized();
    end.normalized();
    return 1;
}
