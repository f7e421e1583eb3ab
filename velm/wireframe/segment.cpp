#include "velm/wireframe/segment.h"

#include "velm/frame/point_functions.h"
#include "velm/frame/stored_form.h"
#include "velm/transforms/plane_transformation.h"
#include "velm/transforms/transformation_handle.h"

#include <algorithm>
#include <cmath>
#include <ostream>
#include <utility>

VELM_DEFINE_CLASS(ERSegment2D, ERFiniteEntity2DWF)
VELM_DEFINE_CLASS(ERSegment3D, ERFiniteEntity3DWF)

double div_vect(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& p) {
    ERVector2D extent(a, b);
    int axis = std::fabs(extent.i()) > std::fabs(extent.j()) ? Coord2D_X : Coord2D_Y;
    return (p[axis] - a[axis]) / (b[axis] - a[axis]);
}

double div_vect(const ERPoint3D& a, const ERPoint3D& b, const ERPoint3D& p) {
    int axis = ERVector3D(a, b).axeOptimum();
    return (p[axis] - a[axis]) / (b[axis] - a[axis]);
}

namespace velm::detail {

namespace {

// The nearest point of a segment, as its distance from p.
struct Nearest {
    EREntity::DISTMINRES kind;
    double distance;
    // On the segment's line, not clamped.
    double parameter;
};

template <class Point, class Vector>
Nearest nearest_point(const Point& p1, const Point& p2, const Vector& direction, const Point& p) {
    Point foot = p1 + direction * (Vector(p1, p) * direction);
    double t = div_vect(p1, p2, foot);
    if (-1e-7 < t && t < 1.0000001) return {EREntity::DISTMIN_FOUND, distance(foot, p), t};
    return {EREntity::DISTMIN_AT_END, distance(p, t > 1.0 ? p2 : p1), t};
}

// Appends t if it is in [0, 1]; returns the size.
int append_if_within(ERVec<double>& params, double t) {
    if (t >= 0.0 && t <= 1.0) params.append(t);
    return params.size();
}

} // namespace

template <class D>
typename D::Vector Segment<D>::dirVector() const {
    return Vector(P1, P2);
}

template <class D>
void Segment<D>::scale(double s) {
    P1 *= s;
    P2 *= s;
}

template <class D>
void Segment<D>::translate(const Point& v) {
    const Point by = v; // v may be an end of this segment
    P1 += by;
    P2 += by;
}

template <class D>
void Segment<D>::reverse() {
    std::swap(P1, P2);
}

template <class D>
typename D::Point Segment<D>::at(double t) const {
    return P1 + dirVector() * t;
}

template <class D>
typename D::InfoPoint Segment<D>::PtCur(double t) {
    return {t, 1, at(t), dirVector(), Vector()};
}

template <class D>
typename D::Point Segment<D>::operator()(double t) {
    return at(t);
}

template <class D>
ERVec<typename D::Point> Segment<D>::approxime(int) {
    return {P1, P2};
}

template <class D>
typename D::Box Segment<D>::getBox() {
    typename D::Box box;
    box.Update(P1);
    box.Update(P2);
    return box;
}

template <class D>
double Segment<D>::arcLength(ERLimites interval, double) const {
    return distance(at(interval.end()), at(interval.start()));
}

template <class D>
double Segment<D>::arcLength(double) const {
    return distance(at(0.0), at(1.0));
}

template <class D>
int Segment<D>::splitAt(t_SmartPtr<Curve>& first, t_SmartPtr<Curve>& second, double t) const {
    const Point middle = at(t);
    t_SmartPtr<Curve> before(new typename D::Segment(P1, middle));
    t_SmartPtr<Curve> after(new typename D::Segment(middle, P2));
    first = std::move(before); // may release this segment
    second = std::move(after);
    return 1;
}

VELM_DEFINE_STORED_TEMPLATE(Segment, D::FiniteEntity)

template class Segment<Plane>;
template class Segment<Space>;

} // namespace velm::detail

int ERSegment2D::isClosed(double) const { return 0; }

int ERSegment3D::isClosed() const { return 0; }

ERObject* ERSegment2D::getCopy() const { return new ERSegment2D(*this); }

ERObject* ERSegment3D::getCopy() const { return new ERSegment3D(*this); }

void ERSegment2D::printOn(std::ostream& out) const {
    out << "Segment 2D : P1=" << P1 << " P2=" << P2 << '\n';
}

void ERSegment3D::printOn(std::ostream& out) const {
    out << "Segment 3D : P1=" << P1 << " P2=" << P2 << '\n';
}

void ERSegment2D::transformFrom(const ERTransfo2D& t) {
    P1 = t.TransFrom(P1);
    P2 = t.TransFrom(P2);
}

void ERSegment2D::transformTo(const ERTransfo2D& t) {
    P1 = t.TransTo(P1);
    P2 = t.TransTo(P2);
}

void ERSegment3D::transformFrom(const ERPmSimilitude3D& t) {
    t.TransFrom(P1);
    t.TransFrom(P2);
}

void ERSegment3D::transformFrom(const ERPmIsometrie3D& t) {
    transformFrom(static_cast<const ERPmSimilitude3D&>(t));
}

void ERSegment3D::transformTo(const ERPmSimilitude3D& t) {
    t.TransTo(P1);
    t.TransTo(P2);
}

void ERSegment3D::transformTo(const ERPmIsometrie3D& t) {
    transformTo(static_cast<const ERPmSimilitude3D&>(t));
}

t_SmartPtr<EREntity3DWF> ERSegment2D::get3DEquiv(const ERPmIsometrie3D& frame) {
    t_SmartPtr<ERSegment3D> lifted(
        new ERSegment3D(P1.castToPoint3D(Coord3D_Z, 0.0), P2.castToPoint3D(Coord3D_Z, 0.0)));
    lifted->transformFrom(frame);
    return lifted.get();
}

t_SmartPtr<EREntity2DWF> ERSegment3D::get2DEntProjectedOn(const ERPmIsometrie3D& frame) {
    return new ERSegment2D(frame.Project(P1), frame.Project(P2));
}

int ERSegment2D::ProjectPoint(const ERPoint2D& p, ERVec<double>& params, double) const {
    ERVector2D extent = dirVector();
    double t = (ERVector2D(P1, p) * extent.getnormalized()) / extent.norme();
    return velm::detail::append_if_within(params, t);
}

EREntity::DISTMINRES ERSegment2D::SignedMinimalDistance(const ERPoint2D& p, double& dist,
                                                        double& t) {
    ERVector2D u = dirVector().getnormalized();
    velm::detail::Nearest nearest = velm::detail::nearest_point(P1, P2, u, p);
    // Part of the contract: a point on the segment's line counts as left of it, and distance 0 is
    // -0.0.
    bool right = (p.x() - P1.x()) * u.j() - (p.y() - P1.y()) * u.i() > 0.0;
    dist = right ? nearest.distance : -nearest.distance;
    t = std::clamp(nearest.parameter, 0.0, 1.0);
    return nearest.kind;
}

EREntity::DISTMINRES ERSegment3D::SignedMinimalDistance(const ERPoint3D& p, double& dist) {
    ERVector3D u = dirVector().getnormalized();
    velm::detail::Nearest nearest = velm::detail::nearest_point(P1, P2, u, p);
    dist = nearest.distance;
    return nearest.kind;
}

int ERSegment3D::intersectWithPlanZ(double z, ERVec<double>& params) const {
    ERVector3D d = dirVector().getnormalized();
    if (d.k() == 0.0) return 0;
    // Part of the contract: a distance along the segment, compared with [0, 1] as if it were a
    // parameter.
    return velm::detail::append_if_within(params, (z - P1.z()) / d.k());
}
