#include "velm/wireframe/circle.h"

#include "velm/frame/point_functions.h"
#include "velm/frame/stored_form.h"
#include "velm/transforms/plane_transformation.h"
#include "velm/wireframe/circle_in_space.h"
#include "velm/wireframe/detail/angles.h"
#include "velm/wireframe/intersections.h"
#include "velm/wireframe/line.h"

#include <cmath>
#include <limits>
#include <ostream>

VELM_DEFINE_CLASS(ERCircle2D, EREntity2DWF)
VELM_DEFINE_STORED_FORM(ERCircle2D, EREntity2DWF)

ERPoint2D ERCircle2D::operator()(double t) const {
    return center_ + radius_ * velm::detail::unit_vector(t);
}

ERMinimax2D ERCircle2D::getBox() const {
    const ERVector2D half(radius_, radius_);
    return ERMinimax2D(center_ - half, center_ + half);
}

EREntity::DISTMINRES ERCircle2D::SignedMinimalDistance(const ERPoint2D& p, double& dist) {
    const double r = distance(p, center_);
    dist = r - radius_;
    return r <= equalityTolerance ? DISTMIN_EVERYWHERE : DISTMIN_FOUND;
}

void ERCircle2D::scale(double s) {
    center_ *= s;
    radius_ *= s;
}

void ERCircle2D::translate(const ERPoint2D& v) { center_ += v; }

void ERCircle2D::transformFrom(const ERTransfo2D& t) {
    center_ = t.TransFrom(center_);
    radius_ *= t.factHomo();
}

void ERCircle2D::transformTo(const ERTransfo2D& t) {
    center_ = t.TransTo(center_);
    radius_ /= t.factHomo();
}

t_SmartPtr<EREntity3DWF> ERCircle2D::get3DEquiv(const ERPmIsometrie3D& frame) {
    return new ERCircle3D(frame, *this);
}

void ERCircle2D::reverse() {}

ERObject* ERCircle2D::getCopy() const { return new ERCircle2D(*this); }

void ERCircle2D::printOn(std::ostream& out) const {
    out << "Cercle2D : Centre  " << center_ << '\n' << "         : Radius  " << radius_ << '\n';
}

namespace {

constexpr double no_radius = std::numeric_limits<double>::max();

} // namespace

int GetCircle(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& c, ERPoint2D& center,
              double& radius) {
    const ERVector2D u = ERVector2D(a, b).getnormalized(), v = ERVector2D(b, c).getnormalized();
    ERPoint2D meeting;
    if (velm::cross(u, v) == 0.0 ||
        !intersect(ERInfLine2D(ERVector2D(-u.j(), u.i()), milieu(a, b)),
                   ERInfLine2D(ERVector2D(-v.j(), v.i()), milieu(b, c)), meeting)) {
        radius = no_radius;
        return 0;
    }
    center = meeting;
    radius = distance(center, a);
    return 1;
}

int GetCircle(const ERPoint3D& a, const ERPoint3D& b, const ERPoint3D& c, ERPoint3D& center,
              ERVector3D& normal, double& radius) {
    const ERVector3D u = ERVector3D(a, b).getnormalized(), v = ERVector3D(b, c).getnormalized();
    const ERVector3D across = u ^ v;
    const ERVector3D axis = across.getnormalized();
    ERPoint3D meeting, other;
    if (isEqual(across, ERVector3D(), equalityTolerance) ||
        !intersect(ERInfLine3D(axis ^ u, milieu(a, b)), ERInfLine3D(axis ^ v, milieu(b, c)),
                   meeting, other)) {
        radius = no_radius;
        return 0;
    }
    center = meeting;
    normal = axis;
    radius = distance(center, a);
    return 1;
}

int GetCircle(const ERPoint3D& a, const ERPoint3D& b, const ERPoint3D& c, ERPoint3D& center,
              double& radius) {
    ERVector3D normal;
    return GetCircle(a, b, c, center, normal, radius);
}
