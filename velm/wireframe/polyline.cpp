#include "velm/wireframe/polyline.h"

#include "velm/frame/detail/stored_points.h"
#include "velm/frame/point_functions.h"
#include "velm/frame/point_list.h"
#include "velm/transforms/plane_transformation.h"
#include "velm/transforms/transformation_handle.h"
#include "velm/wireframe/segment.h"

#include <algorithm>
#include <cmath>
#include <ostream>

VELM_DEFINE_CLASS(ERPolyline2D, ERFiniteEntity2DWF)
VELM_DEFINE_CLASS(ERPolyline3D, ERFiniteEntity3DWF)
VELM_DEFINE_CLASS(ERPolygone2D, ERPolyline2D)
VELM_DEFINE_CLASS(ERPolygone3D, ERPolyline3D)

namespace velm::detail {

namespace {

// In each coordinate; isEqual admits the tolerance itself.
template <class Point>
bool is_closer(const Point& a, const Point& b, double tolerance) {
    for (int i = 0; i < Point::components; ++i)
        if (!(std::fabs(a[i] - b[i]) < tolerance)) return false;
    return true;
}

} // namespace

template <class D>
template <class Self, class Form>
void Polyline<D>::stored_fields(Self& self, Form& form) {
    form(stored_poles(self.points));
}

VELM_DEFINE_STORED_TEMPLATE(Polyline, D::FiniteEntity)

template <class D>
Polyline<D>::Polyline(const ERVec<Point>& vertices) : points(vertices) {
    constexpr int taken_as_they_are = 2;
    if (vertices.size() <= taken_as_they_are) return;
    const auto given = vertices.view();
    ERVec<Point> kept{given.front()};
    for (std::size_t i = 1; i < given.size(); ++i)
        if (!(given[i] == given[i - 1])) kept.push_back(given[i]);
    if (kept.size() < points.size()) points = kept; // else the body stays shared
}

template <class D>
int Polyline<D>::closing_edges() const {
    return 0;
}

template <class D>
int Polyline<D>::edges() const {
    return points.empty() ? 0 : points.size() - 1 + closing_edges();
}

template <class D>
const typename D::Point& Polyline<D>::vertex(int i) const {
    return points[i < points.size() ? i : 0];
}

template <class D>
double Polyline<D>::ufin() const {
    return edges();
}

template <class D>
void Polyline<D>::cleanUp() {
    ERVec<Point> kept;
    for (const Point& p : points.view())
        if (kept.empty() || !is_closer(p, std::as_const(kept).back(), equalityTolerance))
            kept.push_back(p);
    points = kept;
    ERObject::operator=(*this); // an assigned object is in no store
}

template <class D>
int Polyline<D>::isClosed() const {
    if (points.empty()) return 0;
    return isEqual(vertex(0), vertex(edges()), equalityTolerance) ? 1 : 0;
}

template <class D>
int Polyline<D>::isClosed(double tol) const {
    if (points.empty()) return 0;
    return isEqual(vertex(0), vertex(edges()), tol) ? 1 : 0;
}

template <class D>
typename D::InfoPoint Polyline<D>::point_at(double t) const {
    const int last = edges();
    if (last < 1) return {t, 1, points.empty() ? Point() : points[0], Vector(), Vector()};
    const auto on_edge = [&](int i, double local) -> typename D::InfoPoint {
        const Vector edge(vertex(i), vertex(i + 1));
        return {t, 1, vertex(i) + edge * local, edge, Vector()};
    };
    // Part of the contract: on an open polyline the last edge starts again from its end here.
    const int vertices = points.size();
    if (t >= vertices) return on_edge(last - 1, t - (vertices - 1));

    const double low = std::max(0.0, std::floor(t)); // 0 for NaN
    const double high = std::clamp(std::ceil(t), 0.0, double(last));
    int i = static_cast<int>(low);
    if (low == high && i > 0 && i < last)
        return {t, 1, vertex(i),
                (Vector(vertex(i - 1), vertex(i)) + Vector(vertex(i), vertex(i + 1))) * 0.5,
                Vector()};
    if (i == last) --i;
    return on_edge(i, t - i);
}

template <class D>
typename D::InfoPoint Polyline<D>::PtCur(double t) {
    return point_at(t);
}

template <class D>
typename D::Box Polyline<D>::getBox() {
    typename D::Box box;
    box.Update(points);
    return box;
}

template <class D>
double Polyline<D>::arcLength(ERLimites interval, double) const {
    const double a = std::min(interval.start(), interval.end());
    const double b = std::max(interval.start(), interval.end());
    const int all = edges();
    double length = 0.0;
    for (int i = 0; i < all; ++i) {
        const double from = i == 0 ? a : std::max(a, double(i));
        const double to = i + 1 == all ? b : std::min(b, i + 1.0);
        if (to > from) length += distance(vertex(i), vertex(i + 1)) * (to - from);
    }
    return length;
}

template <class D>
double Polyline<D>::arcLength(double) const {
    double length = 0.0;
    for (int i = 0; i < edges(); ++i)
        length += distance(vertex(i), vertex(i + 1));
    return length;
}

template <class D>
int Polyline<D>::splitAt(t_SmartPtr<Curve>& first, t_SmartPtr<Curve>& second, double t) const {
    if (!(t > 0.0 && t < edges())) return 0;
    const Point middle = point_at(t).point();
    ERVec<Point> before, after{middle};
    for (int i = 0; i <= edges(); ++i) {
        if (i < t) before.push_back(vertex(i));
        if (i > t) after.push_back(vertex(i));
    }
    before.push_back(middle);
    t_SmartPtr<Curve> head(new typename D::Polyline(before));
    t_SmartPtr<Curve> tail(new typename D::Polyline(after));
    first = std::move(head); // may release this polyline
    second = std::move(tail);
    return 1;
}

template <class D>
int Polyline<D>::ProjectPoint(const Point& p, ERVec<double>& params, double tol) const {
    const Point from = p; // may be a vertex that goes
    params.clear();
    typename D::Box around(from, from), box;
    around.Inflate(tol);
    box.Update(points);
    if (RelativePosition(around, box) == BOXES_DISJOINT &&
        RelativePosition(box, around) == BOXES_DISJOINT)
        return 0;
    for (int i = 0; i < points.size(); ++i) {
        const Point &a = vertex(i), &b = vertex(i + 1);
        if (isEqual(a, b, equalityTolerance)) continue;
        const Vector u = Vector(a, b).getnormalized();
        const Point foot = a + u * (Vector(a, from) * u);
        if (tol > 0.0 && distance(foot, from) > tol) continue;
        const double s = div_vect(a, b, foot);
        if (s >= 0.0 && s < 1.0) params.push_back(i + s);
    }
    return params.size();
}

template <class D>
void Polyline<D>::scale(double s) {
    for (Point& p : points)
        p *= s;
}

template <class D>
void Polyline<D>::translate(const Point& v) {
    const Point by = v; // may be a vertex
    for (Point& p : points)
        p += by;
}

template <class D>
void Polyline<D>::reverse() {
    if (points.empty()) return;
    std::reverse(points.begin() + closing_edges(), points.end()); // a polygon keeps its start
}

template <class D>
void Polyline<D>::prepareApprox(typename D::PointList& list, const ERLimites& interval,
                                double) const {
    const double a = interval.start(), b = interval.end();
    list.append(point_at(a).point(), a);
    const ERLimites inner(std::min(a, b), std::max(a, b));
    for (int k = 0; k <= edges(); ++k) {
        const int i = a <= b ? k : edges() - k;
        if (inner.strictlyInBound(i)) list.append(vertex(i), i);
    }
    list.append(point_at(b).point(), b);
}

template <class D>
void Polyline<D>::print_as(std::ostream& out, const char* label) const {
    out << label << points.size() << " points\n";
    for (const Point& p : points.view())
        out << p << '\n';
}

template class Polyline<Plane>;
template class Polyline<Space>;

namespace {

ERVec<ERPoint3D> lifted(const ERVec<ERPoint2D>& flat, const ERPmIsometrie3D& frame) {
    ERVec<ERPoint3D> points(flat.size());
    std::transform(flat.view().begin(), flat.view().end(), points.begin(), [&](const ERPoint2D& p) {
        ERPoint3D image = p.castToPoint3D(Coord3D_Z, 0.0);
        return frame.TransFrom(image);
    });
    return points;
}

ERVec<ERPoint2D> projected(const ERVec<ERPoint3D>& points, const ERPmIsometrie3D& frame) {
    ERVec<ERPoint2D> flat(points.size());
    std::transform(points.view().begin(), points.view().end(), flat.begin(),
                   [&](const ERPoint3D& p) { return frame.Project(p); });
    return flat;
}

} // namespace

} // namespace velm::detail

ERObject* ERPolyline2D::getCopy() const { return new ERPolyline2D(*this); }
ERObject* ERPolyline3D::getCopy() const { return new ERPolyline3D(*this); }
ERObject* ERPolygone2D::getCopy() const { return new ERPolygone2D(*this); }
ERObject* ERPolygone3D::getCopy() const { return new ERPolygone3D(*this); }

void ERPolyline2D::printOn(std::ostream& out) const { print_as(out, "Polyline 2D : "); }
void ERPolyline3D::printOn(std::ostream& out) const { print_as(out, "Polyline 3D : "); }
void ERPolygone2D::printOn(std::ostream& out) const { print_as(out, "Polygone 2D : "); }
void ERPolygone3D::printOn(std::ostream& out) const { print_as(out, "Polygone 3D : "); }

int ERPolygone2D::closing_edges() const { return 1; }
int ERPolygone3D::closing_edges() const { return 1; }

void ERPolyline2D::transformFrom(const ERTransfo2D& t) { t.TransFrom(points); }
void ERPolyline2D::transformTo(const ERTransfo2D& t) { t.TransTo(points); }

void ERPolyline3D::transformFrom(const ERPmSimilitude3D& t) { t.TransFrom(points); }
void ERPolyline3D::transformFrom(const ERPmIsometrie3D& t) {
    transformFrom(static_cast<const ERPmSimilitude3D&>(t));
}
void ERPolyline3D::transformTo(const ERPmSimilitude3D& t) { t.TransTo(points); }
void ERPolyline3D::transformTo(const ERPmIsometrie3D& t) {
    transformTo(static_cast<const ERPmSimilitude3D&>(t));
}

t_SmartPtr<EREntity3DWF> ERPolyline2D::get3DEquiv(const ERPmIsometrie3D& frame) {
    return new ERPolyline3D(velm::detail::lifted(points, frame));
}
t_SmartPtr<EREntity3DWF> ERPolygone2D::get3DEquiv(const ERPmIsometrie3D& frame) {
    return new ERPolygone3D(velm::detail::lifted(points, frame));
}
t_SmartPtr<EREntity2DWF> ERPolyline3D::get2DEntProjectedOn(const ERPmIsometrie3D& frame) {
    return new ERPolyline2D(velm::detail::projected(points, frame));
}
t_SmartPtr<EREntity2DWF> ERPolygone3D::get2DEntProjectedOn(const ERPmIsometrie3D& frame) {
    return new ERPolygone2D(velm::detail::projected(points, frame));
}
