#include "velm/curves/nurbs_fit.h"

#include "velm/curves/detail/value_fit.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace velm {
namespace {

constexpr int highest_degree = detail::highest_fit_degree;

template <class Point>
double distance(const Point& a, const Point& b) {
    double sum = 0.0;
    for (int axis = 0; axis < Point::components; ++axis)
        sum += (a[axis] - b[axis]) * (a[axis] - b[axis]);
    return std::sqrt(sum);
}

// The parameters of the points in [0, 1] (The NURBS Book, 9.3 to 9.6), strictly ascending; none if
// that can't be.
template <class Point>
std::vector<double> parameters_of(std::span<const Point> points, PointParameters kind) {
    std::vector<double> t{0.0};
    for (std::size_t i = 1; i < points.size(); ++i) {
        const double chord = distance(points[i], points[i - 1]);
        if (!(chord > 0.0) || !std::isfinite(chord)) return {};
        t.push_back(t.back() + (kind == PointParameters::even           ? 1.0
                                : kind == PointParameters::chord_length ? chord
                                                                        : std::sqrt(chord)));
    }
    const double total = t.back();
    for (std::size_t i = 0; i < t.size(); ++i) {
        t[i] /= total;
        if (i > 0 && !(t[i] > t[i - 1])) return {};
    }
    return t;
}

template <class Nurbs, class Point>
Nurbs curve_of(const std::vector<Point>& poles, const ERKnotVector& knots) {
    ERVec<typename Nurbs::Pole> weighted;
    for (const Point& p : poles)
        weighted.append(typename Nurbs::Pole(p, 1.0));
    return Nurbs(weighted, knots);
}

template <class Nurbs, class Point>
std::optional<Nurbs> through(std::span<const Point> points, int degree, PointParameters kind) {
    const int n = static_cast<int>(points.size());
    if (degree < 1 || degree > highest_degree || n < degree + 1) return std::nullopt;
    const std::vector<double> t = parameters_of(points, kind);
    if (t.empty()) return std::nullopt;
    const ERKnotVector knots = detail::averaged_knots(t, degree);
    std::vector<Point> poles(points.begin(), points.end());
    if (!detail::interpolate_values(knots, t, poles)) return std::nullopt;
    return curve_of<Nurbs>(poles, knots);
}

template <class Nurbs, class Point>
std::optional<ApproximatingCurve<Nurbs>> near(std::span<const Point> points, int degree,
                                              int pole_count, PointParameters kind) {
    const int n = static_cast<int>(points.size());
    if (degree < 1 || degree > highest_degree || pole_count < degree + 1 || pole_count >= n)
        return std::nullopt;
    std::vector<double> t = parameters_of(points, kind);
    if (t.empty()) return std::nullopt;
    const ERKnotVector knots = detail::spread_knots(t, degree, pole_count);
    std::vector<Point> poles(points.begin(), points.end());
    if (!detail::approximate_values(knots, t, poles)) return std::nullopt;
    ApproximatingCurve<Nurbs> result{curve_of<Nurbs>(poles, knots), std::move(t), 0.0};
    for (std::size_t k = 0; k < points.size(); ++k)
        result.deviation =
            std::max(result.deviation, distance(result.curve(result.parameters[k]), points[k]));
    return result;
}

} // namespace

std::optional<ERCpoleNURBS2D> interpolate(std::span<const ERPoint2D> points, int degree,
                                          PointParameters parameters) {
    return through<ERCpoleNURBS2D>(points, degree, parameters);
}
std::optional<ERCpoleNURBS3D> interpolate(std::span<const ERPoint3D> points, int degree,
                                          PointParameters parameters) {
    return through<ERCpoleNURBS3D>(points, degree, parameters);
}

std::optional<ApproximatingCurve<ERCpoleNURBS2D>>
approximate(std::span<const ERPoint2D> points, int degree, int poles, PointParameters parameters) {
    return near<ERCpoleNURBS2D>(points, degree, poles, parameters);
}
std::optional<ApproximatingCurve<ERCpoleNURBS3D>>
approximate(std::span<const ERPoint3D> points, int degree, int poles, PointParameters parameters) {
    return near<ERCpoleNURBS3D>(points, degree, poles, parameters);
}

} // namespace velm
