#include "velm/curves/nurbs_fit.h"

#include "velm/curves/detail/band_matrix.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace velm {
namespace {

using detail::BandMatrix;

constexpr int highest_degree = 25;

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

// degree + 1 copies of 0 and of 1 around the inner knots.
ERKnotVector clamped(int degree, const std::vector<double>& inner) {
    ERVec<double> knots;
    for (int i = 0; i <= degree; ++i)
        knots.append(0.0);
    for (const double knot : inner)
        knots.append(knot);
    for (int i = 0; i <= degree; ++i)
        knots.append(1.0);
    return ERKnotVector(degree, knots);
}

// The basis functions at a parameter: degree + 1 values from pole `first` on.
struct BasisRow {
    int first;
    std::vector<double> values;
};

std::vector<BasisRow> basis_rows(const ERKnotVector& knots, const std::vector<double>& t) {
    std::vector<BasisRow> rows;
    for (const double at : t) {
        BasisRow row;
        const int span = knots.FindSpan(at);
        row.first = span - knots.degree();
        row.values.resize(static_cast<std::size_t>(knots.degree()) + 1);
        knots.BasisFunsBuffer(span, at, row.values.data());
        rows.push_back(std::move(row));
    }
    return rows;
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
    std::vector<double> inner; // means of `degree` parameters
    for (int j = 1; j < n - degree; ++j) {
        double sum = 0.0;
        for (int i = j; i < j + degree; ++i)
            sum += t[static_cast<std::size_t>(i)];
        inner.push_back(sum / degree);
    }
    const ERKnotVector knots = clamped(degree, inner);
    BandMatrix matrix(n, degree, degree);
    const std::vector<BasisRow> rows = basis_rows(knots, t);
    for (int i = 0; i < n; ++i) {
        const BasisRow& row = rows[static_cast<std::size_t>(i)];
        for (int k = 0; k <= degree; ++k) {
            // All outside the band is zero: the matrix has full pivots (de Boor).
            if (matrix.holds(i, row.first + k))
                matrix.at(i, row.first + k) = row.values[static_cast<std::size_t>(k)];
        }
    }
    std::vector<Point> poles(points.begin(), points.end());
    if (!matrix.solve(poles)) return std::nullopt;
    poles.front() = points.front();
    poles.back() = points.back();
    return curve_of<Nurbs>(poles, knots);
}

// The inner knots of a least-squares curve (The NURBS Book, 9.68 and 9.69): each span holds at
// least one parameter.
std::vector<double> spread_knots(const std::vector<double>& t, int degree, int poles) {
    std::vector<double> inner;
    const double step = static_cast<double>(t.size()) / (poles - degree);
    for (int j = 1; j < poles - degree; ++j) {
        const double place = j * step;
        const auto i = static_cast<std::size_t>(place);
        const double part = place - static_cast<double>(i);
        inner.push_back((1.0 - part) * t[i - 1] + part * t[i]);
    }
    return inner;
}

template <class Nurbs, class Point>
std::optional<ApproximatingCurve<Nurbs>> near(std::span<const Point> points, int degree,
                                              int pole_count, PointParameters kind) {
    const int n = static_cast<int>(points.size());
    if (degree < 1 || degree > highest_degree || pole_count < degree + 1 || pole_count >= n)
        return std::nullopt;
    std::vector<double> t = parameters_of(points, kind);
    if (t.empty()) return std::nullopt;
    const ERKnotVector knots = clamped(degree, spread_knots(t, degree, pole_count));
    const std::vector<BasisRow> rows = basis_rows(knots, t);

    // The normal equations of the inner poles, for what the ends leave of the points.
    const int inner = pole_count - 2;
    std::vector<Point> poles(static_cast<std::size_t>(pole_count));
    poles.front() = points.front();
    poles.back() = points.back();
    if (inner > 0) {
        BandMatrix matrix(inner, degree, degree);
        std::vector<Point> right(static_cast<std::size_t>(inner));
        for (std::size_t k = 1; k + 1 < points.size(); ++k) {
            const BasisRow& row = rows[k];
            const auto basis = [&](int pole) {
                const int i = pole - row.first;
                return i >= 0 && i <= degree ? row.values[static_cast<std::size_t>(i)] : 0.0;
            };
            const Point rest =
                points[k] - points.front() * basis(0) - points.back() * basis(pole_count - 1);
            for (int i = std::max(1, row.first); i <= std::min(inner, row.first + degree); ++i) {
                right[static_cast<std::size_t>(i - 1)] += rest * basis(i);
                for (int j = std::max(1, row.first); j <= std::min(inner, row.first + degree); ++j)
                    matrix.at(i - 1, j - 1) += basis(i) * basis(j);
            }
        }
        if (!matrix.solve(right)) return std::nullopt;
        std::copy(right.begin(), right.end(), poles.begin() + 1);
    }
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
