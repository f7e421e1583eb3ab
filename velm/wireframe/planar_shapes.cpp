#include "velm/wireframe/planar_shapes.h"

#include "velm/frame/detail/stored_points.h"
#include "velm/frame/point_functions.h"
#include "velm/transforms/plane_transformation.h"
#include "velm/wireframe/detail/closed_shape.h"
#include "velm/wireframe/detail/shape_text.h"
#include "velm/wireframe/shapes_in_space.h"

#include <algorithm>
#include <cmath>
#include <ostream>

VELM_DEFINE_CLASS(ERRectangle2D, EREntity2DWF)
VELM_DEFINE_CLASS(ERRegularPolygon2D, EREntity2DWF)

namespace velm::detail {

ERPoint2D ClosedShape::ProjectPt(const ERPoint2D& p) const {
    ERPoint2D foot = p;
    double distance;
    int entity;
    Project(p, foot, distance, entity);
    return foot;
}

int ClosedShape::Get_Entity_Number(const ERPoint2D& p, int& entity) const {
    ERPoint2D foot;
    double distance;
    return Project(p, foot, distance, entity);
}

template <class Self, class Form>
void VertexShape::stored_fields(Self& self, Form& form) {
    form(stored_poles(self.points));
}

VELM_DEFINE_STORED_FORM(VertexShape, EREntity2DWF)

ERInfoPoint2D VertexShape::PtCur(double t) const {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    const int n = points.size();
    const double at = n > 0 ? wrapped(t, n) : nan;
    if (!(at >= 0.0))
        return {t, 1, ERPoint2D(nan, nan), ERVector2D(nan, nan), ERVector2D(nan, nan)};
    const int i = edge_of(at);
    const ERVector2D edge(vertex(i), vertex(i + 1));
    return {at, 1, vertex(i) + edge * (at - i), edge, ERVector2D()};
}

ERMinimax2D VertexShape::getBox() const {
    ERMinimax2D box;
    box.Update(points);
    return box;
}

int VertexShape::Project(const ERPoint2D& p, ERPoint2D& foot, double& distance, int& entity) const {
    NearestEdge nearest;
    for (int i = 0; i < points.size(); ++i) {
        const ERPoint2D at = nearest_on_segment(vertex(i), vertex(i + 1), p);
        nearest.take(at, ::distance(at, p), i);
    }
    return nearest.give(foot, distance, entity);
}

void VertexShape::scale(double s) {
    for (ERPoint2D& p : points)
        p *= s;
}

void VertexShape::translate(const ERPoint2D& v) {
    const ERPoint2D by = v; // may be a vertex
    for (ERPoint2D& p : points)
        p += by;
}

void VertexShape::transformFrom(const ERTransfo2D& t) { t.TransFrom(points); }

void VertexShape::transformTo(const ERTransfo2D& t) { t.TransTo(points); }

void VertexShape::reverse() { std::reverse(points.begin(), points.end()); }

namespace {

// Four corners: the first four points, the last one repeated, the origin without any.
ERVec<ERPoint2D> four_corners(ERVec<ERPoint2D> given) {
    constexpr int corners = 4;
    if (given.size() > corners) given.resize(corners);
    const ERPoint2D last = given.empty() ? ERPoint2D() : std::as_const(given).back();
    given.append(last, corners - given.size());
    return given;
}

} // namespace

} // namespace velm::detail

using velm::detail::turned_left;

ERRectangle2D::ERRectangle2D() : ERRectangle2D(ERVec<ERPoint2D>()) {}

ERRectangle2D::ERRectangle2D(const ERVec<ERPoint2D>& corners)
    : VertexShape(velm::detail::four_corners(corners)) {}

ERRectangle2D::ERRectangle2D(const ERPoint2D& centre, const ERVector2D& direction, double length,
                             double width) {
    const ERVector2D d = direction.getnormalized(), n = turned_left(d);
    const ERPoint2D c0 = centre - d * (length * 0.5) - n * (width * 0.5);
    const ERPoint2D c1 = c0 + d * length, c2 = c1 + n * width;
    points = {c0, c1, c2, c2 - d * length};
}

ERPoint2D ERRectangle2D::centre() const { return milieu(vertex(0), vertex(2)); }

double ERRectangle2D::length() const { return distance(vertex(0), vertex(1)); }

double ERRectangle2D::width() const { return distance(vertex(1), vertex(2)); }

ERVector2D ERRectangle2D::main_direction() const {
    return ERVector2D(vertex(0), vertex(1)).getnormalized();
}

ERVector2D ERRectangle2D::auxiliary_direction() const {
    return ERVector2D(vertex(1), vertex(2)).getnormalized();
}

void ERRectangle2D::restoreGuts(ERFile& file) {
    VertexShape::restoreGuts(file);
    points = velm::detail::four_corners(points);
}

t_SmartPtr<EREntity3DWF> ERRectangle2D::get3DEquiv(const ERPmIsometrie3D& frame) {
    return new ERRectangle3D(frame, *this);
}

void ERRectangle2D::printOn(std::ostream& out) const {
    velm::detail::print_rectangle(out, "Rectangle 2D:", points, length(), width());
}

ERObject* ERRectangle2D::getCopy() const { return new ERRectangle2D(*this); }

ERRegularPolygon2D::ERRegularPolygon2D(const ERPoint2D& centre, const ERVector2D& direction,
                                       double side, int n) {
    // Fixed to the last digit: vertices that were computed with them are compared.
    constexpr double turn = 6.283185307179586, half_turn = 3.141592653589793;
    if (n < 1) return;
    const double a = turn / n;
    const double radius = side / (2.0 * std::cos((half_turn - a) * 0.5));
    const ERVector2D u = direction.getnormalized(), v = turned_left(u);
    points.resize(n);
    for (int k = 0; k < n; ++k)
        points[k] = centre + (u * std::cos(k * a) + v * std::sin(k * a)) * radius;
}

ERPoint2D ERRegularPolygon2D::barycenter() const { return Barycentre(points); }

double ERRegularPolygon2D::length_side() const {
    return points.empty() ? 0.0 : distance(vertex(0), vertex(1));
}

ERCircle2D ERRegularPolygon2D::inside_circle() const {
    if (points.empty()) return {};
    const ERPoint2D centre = barycenter();
    return {centre, distance(centre, milieu(vertex(0), vertex(1)))};
}

ERCircle2D ERRegularPolygon2D::outside_circle() const {
    if (points.empty()) return {};
    const ERPoint2D centre = barycenter();
    return {centre, distance(centre, vertex(0))};
}

int ERRegularPolygon2D::offset(double d) {
    const double inner = inside_circle().radius(), moved = inner + d;
    if (!(inner > 0.0 && moved > 0.0 && std::isfinite(moved))) return 0;
    const ERPoint2D centre = barycenter();
    for (ERPoint2D& p : points)
        p = centre + ERVector2D(centre, p) * (moved / inner);
    return 1;
}

t_SmartPtr<EREntity3DWF> ERRegularPolygon2D::get3DEquiv(const ERPmIsometrie3D& frame) {
    return new ERRegularPolygon3D(frame, *this);
}

void ERRegularPolygon2D::printOn(std::ostream& out) const {
    velm::detail::print_regular_polygon(out, "Regular Polygon 2D: ", barycenter(), nb_sides(),
                                        length_side());
}

ERObject* ERRegularPolygon2D::getCopy() const { return new ERRegularPolygon2D(*this); }
