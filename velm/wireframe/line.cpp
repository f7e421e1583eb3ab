#include "velm/wireframe/line.h"

#include "velm/frame/point_functions.h"
#include "velm/frame/stored_form.h"
#include "velm/transforms/plane_transformation.h"
#include "velm/transforms/transformation_handle.h"
#include "velm/wireframe/intersections.h"
#include "velm/wireframe/segment.h"

#include <cmath>
#include <ostream>

VELM_DEFINE_CLASS(ERInfLine2D, EREntity2DWF)
VELM_DEFINE_CLASS(ERInfLine3D, EREntity3DWF)

namespace velm::detail {

template <class D>
InfLine<D>::InfLine(const typename D::Segment& segment)
    : InfLine(segment.getP1(), segment.getP2()) {}

template <class D>
void InfLine<D>::set(const Vector& direction, const Point& through) {
    const Point start = through; // may be this line's own
    direction_ = direction.getnormalized();
    move_to(start);
}

template <class D>
void InfLine<D>::move_to(const Point& through) {
    const Point start = through;
    origin_ = start + (Vector(start, Point()) * direction_) * direction_;
}

template <class D>
void InfLine<D>::scale(double s) {
    set(direction_ * s, origin_ * s);
}

template <class D>
void InfLine<D>::translate(const Point& v) {
    move_to(origin_ + v);
}

template <class D>
void InfLine<D>::reverse() {
    direction_ = -direction_;
}

VELM_DEFINE_STORED_TEMPLATE(InfLine, D::WireEntity)

template class InfLine<Plane>;
template class InfLine<Space>;

} // namespace velm::detail

ERInfLine2D::ERInfLine2D(double a, double b, double c) {
    const ERVector2D normal(a, b);
    const double length = normal.norme();
    const ERVector2D unit = normal.getnormalized();
    const double offset = length != 0.0 ? c / length : c;
    const bool across = std::fabs(unit.j()) > std::fabs(unit.i());
    set(ERVector2D(-unit.j(), unit.i()),
        across ? ERPoint2D(0.0, -offset / unit.j()) : ERPoint2D(-offset / unit.i(), 0.0));
}

ERObject* ERInfLine2D::getCopy() const { return new ERInfLine2D(*this); }

ERObject* ERInfLine3D::getCopy() const { return new ERInfLine3D(*this); }

void ERInfLine2D::printOn(std::ostream& out) const {
    out << "InfLine2D"
        << " (  " << a() << " *x + " << b() << " *y + " << c() << " = 0 )" << '\n';
}

void ERInfLine3D::printOn(std::ostream& out) const {
    out << "InfLine3D : Origine=" << origin_ << " Direction=" << direction_ << '\n';
}

EREntity::DISTMINRES ERInfLine2D::SignedMinimalDistance(const ERPoint2D& p, double& dist) {
    dist = a() * p.x() + b() * p.y() + c();
    return DISTMIN_FOUND;
}

EREntity::DISTMINRES ERInfLine3D::SignedMinimalDistance(const ERPoint3D& p, double& dist) {
    dist = distance(*this, p);
    return DISTMIN_IN_SPACE;
}

void ERInfLine2D::transformFrom(const ERTransfo2D& t) {
    set(t.TransFrom(direction_), t.TransFrom(origin_));
}

void ERInfLine2D::transformTo(const ERTransfo2D& t) {
    set(t.TransTo(direction_), t.TransTo(origin_));
}

void ERInfLine3D::transformFrom(const ERPmSimilitude3D& t) {
    set(t.TransFrom(direction_), t.TransFrom(origin_));
}

void ERInfLine3D::transformFrom(const ERPmIsometrie3D& t) {
    transformFrom(static_cast<const ERPmSimilitude3D&>(t));
}

void ERInfLine3D::transformTo(const ERPmSimilitude3D& t) {
    set(t.TransTo(direction_), t.TransTo(origin_));
}

void ERInfLine3D::transformTo(const ERPmIsometrie3D& t) {
    transformTo(static_cast<const ERPmSimilitude3D&>(t));
}

t_SmartPtr<EREntity3DWF> ERInfLine2D::get3DEquiv(const ERPmIsometrie3D& frame) {
    ERVector3D direction = direction_.castToVector3D(Coord3D_Z, 0.0);
    ERPoint3D origin = origin_.castToPoint3D(Coord3D_Z, 0.0);
    return new ERInfLine3D(frame.TransFrom(direction), frame.TransFrom(origin));
}

t_SmartPtr<EREntity2DWF> ERInfLine3D::get2DEntProjectedOn(const ERPmIsometrie3D& frame) {
    ERVector3D direction = direction_;
    const ERVector2D flat = frame.TransTo(direction).castToVector2D(Coord3D_Z);
    if (flat.norme2() == 0.0) return {};
    return new ERInfLine2D(flat, frame.Project(origin_));
}

ERInfLine2D ERInfLine2D::parallele(double d) const {
    ERInfLine2D moved(*this);
    moved.offset(d);
    return moved;
}

void ERInfLine2D::offset(double d) { move_to(origin_ + normalVector() * d); }

bool ERInfLine2D::isParallelTo(const ERInfLine2D& other, double tol) const {
    return isParallel(direction_, other.direction_, tol);
}

bool ERInfLine3D::IsParallelTo(const ERInfLine3D& other, double tol) const {
    return isParallel(direction_, other.direction_, tol);
}

double distance(const ERInfLine2D& line, const ERPoint2D& p) {
    return std::fabs(line.a() * p.x() + line.b() * p.y() + line.c());
}

double distance(const ERInfLine3D& line, const ERPoint3D& p) {
    return distance(line.projectPt(p), p);
}

double distance(const ERInfLine3D& first, const ERInfLine3D& second) {
    ERPoint3D on_first, on_second;
    if (intersect(first, second, on_first, on_second)) return distance(on_first, on_second);
    return distance(first, second.origine());
}
