#include "velm/wireframe/shape_recognition.h"

#include "velm/frame/box.h"
#include "velm/frame/point_functions.h"
#include "velm/transforms/transformation_factories.h"
#include "velm/wireframe/detail/closed_shape.h"
#include "velm/wireframe/segment.h"
#include "velm/wireframe/shapes_in_space.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace {

using velm::detail::turned_left;

using Flat = ERVec<ERPoint2D>;
using Solid = ERVec<ERPoint3D>;

// How far a vertex may be off: velm::recognition_tolerance times the diagonal of the box.
template <class Box, class Point>
double tolerance_of(const ERVec<Point>& points) {
    Box box;
    box.Update(points);
    return velm::recognition_tolerance * distance(box.MinPoint(), box.MaxPoint());
}

// The vertices of an outline without the closing point; none if a tolerance can't be said.
template <class Point>
ERVec<Point> open_outline(ERVec<Point> points, double tolerance) {
    if (points.empty() || !std::isfinite(tolerance)) return {};
    if (distance(std::as_const(points).front(), std::as_const(points).back()) <= tolerance)
        points.resize(points.size() - 1);
    return points;
}

template <class Point>
bool fits(const ERVec<Point>& points, const ERVec<Point>& vertices, double tolerance) {
    const auto near = [tolerance](const Point& p, const Point& q) {
        return distance(p, q) <= tolerance;
    };
    return !points.empty() && points.size() == vertices.size() &&
           std::equal(points.cbegin(), points.cend(), vertices.cbegin(), near);
}

// Orders points around the mean of their places in a plane, counter-clockwise from the first.
template <class Point, class Flatten>
void sort_around(ERVec<Point>& points, Flatten flatten) {
    if (points.empty()) return;
    const ERPoint2D centre = flatten(Barycentre(points));
    const double start = PseudoTheta(centre, flatten(std::as_const(points)[0]));
    const auto from_first = [&](const Point& p) {
        constexpr double whole_turn = 360.0;
        const double angle = PseudoTheta(centre, flatten(p)) - start;
        return angle < 0.0 ? angle + whole_turn : angle;
    };
    std::stable_sort(points.begin(), points.end(),
                     [&](const Point& p, const Point& q) { return from_first(p) < from_first(q); });
}

// The rectangle of least squares to four points around it. With e the sum of the edges along and f
// of those across, its unit direction d has the greatest (e . d)^2 + (f . n)^2, n being d turned
// to the side of f, and its sides are e . d / 2 and f . n / 2.
Flat fitted_rectangle(const Flat& p) {
    if (p.size() != 4) return {};
    const ERPoint2D centre = Barycentre(p);
    const ERVector2D e = ERVector2D(p[0], p[1]) + ERVector2D(p[3], p[2]);
    const ERVector2D f = ERVector2D(p[0], p[3]) + ERVector2D(p[1], p[2]);
    const double side = velm::cross(e, f) < 0.0 ? -1.0 : 1.0;
    const ERVector2D g = turned_left(f) * -side;
    const double angle =
        0.5 * std::atan2(2.0 * (e.i() * e.j() + g.i() * g.j()),
                         e.i() * e.i() + g.i() * g.i() - e.j() * e.j() - g.j() * g.j());
    ERVector2D d(std::cos(angle), std::sin(angle));
    if (d * (e + g) < 0.0) d = -d;
    const ERVector2D n = turned_left(d) * side;
    const ERVector2D half_length = d * (e * d * 0.25), half_width = n * (f * n * 0.25);
    return {centre - half_length - half_width, centre + half_length - half_width,
            centre + half_length + half_width, centre - half_length + half_width};
}

// The regular polygon of least squares: the points turned back onto the first one, averaged.
Flat fitted_polygon(const Flat& points) {
    const int n = points.size();
    if (n < 3) return {};
    const ERPoint2D centre = Barycentre(points);
    ERVector2D best;
    double best_turn = 0.0;
    for (const double turn : {2.0 * std::numbers::pi / n, -2.0 * std::numbers::pi / n}) {
        ERVector2D sum;
        for (int k = 0; k < n; ++k) {
            const ERVector2D arm(centre, points[k]);
            sum += arm * std::cos(k * turn) - turned_left(arm) * std::sin(k * turn);
        }
        if (sum.norme2() > best.norme2()) best = sum, best_turn = turn;
    }
    best *= 1.0 / n;
    Flat vertices(n);
    for (int k = 0; k < n; ++k)
        vertices[k] =
            centre + best * std::cos(k * best_turn) + turned_left(best) * std::sin(k * best_turn);
    return vertices;
}

bool has_sides(const Flat& vertices, double least) {
    return vertices.size() > 2 && distance(vertices[0], vertices[1]) > least &&
           distance(vertices[1], vertices[2]) > least;
}

// The fit to points around an outline; none if it isn't theirs.
template <class Fit>
Flat recognised(const Flat& points, double tolerance, Fit fit) {
    const Flat vertices = fit(points);
    return has_sides(vertices, tolerance) && fits(points, vertices, tolerance) ? vertices : Flat();
}

// The sum of the cross products of neighbours seen from the first point (Newell): the normal of
// the plane of points around an outline.
ERVector3D normal_of_outline(const Solid& points) {
    ERVector3D sum;
    for (int i = 2; i < points.size(); ++i)
        sum += ERVector3D(points[0], points[i - 1]) ^ ERVector3D(points[0], points[i]);
    return sum;
}

// The greatest of all cross products seen from the first point: a normal of points in any order.
ERVector3D normal_of_points(const Solid& points) {
    ERVector3D greatest;
    for (int i = 1; i < points.size(); ++i) {
        for (int j = i + 1; j < points.size(); ++j) {
            const ERVector3D across =
                ERVector3D(points[0], points[i]) ^ ERVector3D(points[0], points[j]);
            if (across.norme2() > greatest.norme2()) greatest = across;
        }
    }
    return greatest;
}

// Makes `shape` the fit to points around an outline of space.
template <class FlatShape, class Shape, class Fit>
bool recognise_in_space(const Solid& points, double tolerance, Fit fit, Shape& shape) {
    const ERVector3D normal = normal_of_outline(points);
    if (!(normal.norme2() > 0.0)) return false;
    const ERPmIsometrie3D frame = ERChgRepere3D(normal, Barycentre(points));
    Flat flat(points.size());
    std::transform(points.cbegin(), points.cend(), flat.begin(),
                   [&](const ERPoint3D& p) { return frame.Project(p); });
    const Flat vertices = fit(flat);
    if (!has_sides(vertices, tolerance)) return false;
    const Shape made(frame, FlatShape(vertices));
    if (!fits(points, made.getPoints(), tolerance)) return false;
    shape = made;
    return true;
}

} // namespace

int CreateRectangle2D(const ERVec<ERPoint2D>& points, ERRectangle2D& rectangle, int& found,
                      int ordered) {
    const double tolerance = tolerance_of<ERMinimax2D>(points);
    Flat outline = open_outline(points, tolerance);
    if (!ordered) sort_around(outline, [](const ERPoint2D& p) { return p; });
    const Flat vertices = recognised(outline, tolerance, fitted_rectangle);
    found = !vertices.empty();
    if (found) rectangle = ERRectangle2D(vertices);
    return found;
}

int CreateRectangle3D(const ERVec<ERPoint3D>& points, ERRectangle3D& rectangle, int& found,
                      int ordered) {
    constexpr int corners = 4;
    const double tolerance = tolerance_of<ERMinimax3D>(points);
    Solid outline = open_outline(points, tolerance);
    found = 0;
    if (outline.size() != corners) return 0;
    if (!ordered) {
        const ERVector3D normal = normal_of_points(outline);
        if (!(normal.norme2() > 0.0)) return 0;
        const ERPmIsometrie3D frame = ERChgRepere3D(normal, Barycentre(outline));
        sort_around(outline, [&](const ERPoint3D& p) { return frame.Project(p); });
    }
    found = recognise_in_space<ERRectangle2D>(outline, tolerance, fitted_rectangle, rectangle);
    return found;
}

int CreateRectangleFrom2Segments(const ERSegment3D& first, const ERSegment3D& second,
                                 ERRectangle3D& rectangle) {
    const bool same_sense = first.dirVector() * second.dirVector() > 0.0;
    int found;
    return CreateRectangle3D({first.getP1(), first.getP2(),
                              same_sense ? second.getP2() : second.getP1(),
                              same_sense ? second.getP1() : second.getP2()},
                             rectangle, found, 1);
}

int CreateRegularPolygon2D(const ERVec<ERPoint2D>& points, ERRegularPolygon2D& polygon,
                           int& found) {
    const double tolerance = tolerance_of<ERMinimax2D>(points);
    const Flat vertices = recognised(open_outline(points, tolerance), tolerance, fitted_polygon);
    found = !vertices.empty();
    if (found) polygon = ERRegularPolygon2D(vertices);
    return found;
}

int CreateRegularPolygon3D(const ERVec<ERPoint3D>& points, ERRegularPolygon3D& polygon,
                           int& found) {
    const double tolerance = tolerance_of<ERMinimax3D>(points);
    found = recognise_in_space<ERRegularPolygon2D>(open_outline(points, tolerance), tolerance,
                                                   fitted_polygon, polygon);
    return found;
}
