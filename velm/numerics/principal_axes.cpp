#include "velm/numerics/principal_axes.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

namespace velm {

namespace {

constexpr double eps = std::numeric_limits<double>::epsilon();

template <class D>
using Axes = std::array<typename D::Vector, PrincipalAxes<D>::n>;
template <std::size_t n>
using Symmetric = std::array<std::array<double, n>, n>;

// Two points are processed side by side: twice the sums in one step, and no addition waits for the
// previous one.
using Pair [[gnu::vector_size(16)]] = double;

// The offsets of two points from a place, coordinate by coordinate.
template <std::size_t n>
struct Offsets {
    Pair at[n];
};

double total(const Pair& sum) { return sum[0] + sum[1]; }

// Calls add(offsets) for the points two by two; the place itself is the partner of an odd last
// point.
template <class Point, class Add>
void for_each_pair(std::span<const Point> points, const Point& place, Add add) {
    constexpr std::size_t n = Point::components;
    const auto offsets = [&place](const Point& p, const Point& q) {
        Offsets<n> result;
        for (std::size_t k = 0; k < n; ++k)
            result.at[k] = Pair{p[int(k)], q[int(k)]} - place[int(k)];
        return result;
    };
    std::size_t i = 0;
    for (; i + 1 < points.size(); i += 2)
        add(offsets(points[i], points[i + 1]));
    if (i < points.size()) add(offsets(points[i], place));
}

// The moments of coordinates(p - centre) over all points, corrected for their means, which are
// written to `means`.
template <class D, class Coordinates>
Symmetric<PrincipalAxes<D>::n> moments(std::span<const typename D::Point> points,
                                       const typename D::Point& centre, Coordinates coordinates,
                                       std::array<double, PrincipalAxes<D>::n>& means) {
    constexpr std::size_t n = PrincipalAxes<D>::n;
    Offsets<n> first{};
    Offsets<n*(n + 1) / 2> second{};
    for_each_pair(points, centre, [&](const Offsets<n>& offsets) {
        const Offsets<n> u = coordinates(offsets);
        std::size_t at = 0;
        for (std::size_t k = 0; k < n; ++k) {
            first.at[k] += u.at[k];
            for (std::size_t l = k; l < n; ++l)
                second.at[at++] += u.at[k] * u.at[l];
        }
    });
    const auto count = static_cast<double>(points.size());
    for (std::size_t k = 0; k < n; ++k)
        means[k] = total(first.at[k]) / count;
    Symmetric<n> result{};
    std::size_t at = 0;
    for (std::size_t k = 0; k < n; ++k)
        for (std::size_t l = k; l < n; ++l)
            result[k][l] = result[l][k] = total(second.at[at++]) / count - means[k] * means[l];
    return result;
}

// Turns axes k and l so that m[k][l] vanishes.
template <std::size_t n, class Vector>
void rotate(Symmetric<n>& m, std::array<Vector, n>& axis, std::size_t k, std::size_t l) {
    const double theta = (m[l][l] - m[k][k]) / (2.0 * m[k][l]);
    const double t = std::copysign(1.0, theta) / (std::fabs(theta) + std::hypot(theta, 1.0));
    const double c = 1.0 / std::sqrt(t * t + 1.0), s = t * c;
    m[k][k] -= t * m[k][l];
    m[l][l] += t * m[k][l];
    m[k][l] = m[l][k] = 0.0;
    for (std::size_t r = 0; r < n; ++r) {
        if (r == k || r == l) continue;
        const double mk = m[r][k], ml = m[r][l];
        m[r][k] = m[k][r] = c * mk - s * ml;
        m[r][l] = m[l][r] = s * mk + c * ml;
    }
    const Vector old = axis[k];
    axis[k] = old * c - axis[l] * s;
    axis[l] = old * s + axis[l] * c;
}

// Cyclic Jacobi: carries `axis` to the axes of m, by decreasing diagonal. An element counts as
// zero if it can change neither of its diagonal elements, so small ones keep their digits.
template <std::size_t n, class Vector>
void diagonalise(Symmetric<n>& m, std::array<Vector, n>& axis) {
    constexpr int most_sweeps = 30; // far more than needed, as convergence is quadratic
    bool turned = true;
    for (int sweep = 0; sweep < most_sweeps && turned; ++sweep) {
        turned = false;
        for (std::size_t k = 0; k + 1 < n; ++k) {
            for (std::size_t l = k + 1; l < n; ++l) {
                const double limit = std::sqrt(std::fabs(m[k][k])) * std::sqrt(std::fabs(m[l][l]));
                // Smaller elements change no digit of the diagonal.
                if (!(std::fabs(m[k][l]) > 0.25 * eps * limit)) continue;
                rotate<n>(m, axis, k, l);
                turned = true;
            }
        }
    }
    for (std::size_t k = 0; k + 1 < n; ++k) {
        for (std::size_t l = n - 1; l > k; --l) {
            if (!(m[l][l] > m[l - 1][l - 1])) continue;
            std::swap(m[l][l], m[l - 1][l - 1]);
            std::swap(axis[l], axis[l - 1]);
        }
    }
}

template <class Point>
double largest_coordinate(std::span<const Point> points) {
    double largest = 0.0;
    for (const Point& p : points)
        for (int k = 0; k < Point::components; ++k)
            largest = std::max(largest, std::fabs(p[k]));
    return largest;
}

template <class D>
bool finite(const typename D::Point& p) {
    for (int k = 0; k < D::Point::components; ++k)
        if (!std::isfinite(p[k])) return false;
    return true;
}

// For points whose squares overflow or vanish: the axes about the first point, in a scale of their
// own.
template <class D>
PrincipalAxes<D> scaled_axes(std::span<const typename D::Point> points) {
    using Point = typename D::Point;
    PrincipalAxes<D> result;
    result.outcome = FitOutcome::not_finite;
    if (!std::all_of(points.begin(), points.end(), finite<D>)) return result;
    const double largest = largest_coordinate(points);
    const int shrink = largest > 0x1p500 ? -std::ilogb(largest) : 0;
    const auto shrunk = [shrink](const Point& p) {
        return Point::each([&](int k) { return std::scalbn(p[k], shrink); });
    };
    const Point first = shrunk(points.front());
    std::vector<Point> moved;
    moved.reserve(points.size());
    for (const Point& p : points)
        moved.push_back(shrunk(p) - first);
    const double reach = largest_coordinate(std::span<const Point>(moved));
    result.outcome = FitOutcome::coincident;
    result.centroid = points.front();
    if (reach == 0.0) return result;
    const int grow = -std::ilogb(reach);
    for (Point& p : moved)
        p = Point::each([&](int k) { return std::scalbn(p[k], grow); });
    result = principal_axes<D>(std::span<const Point>(moved));
    const int back = -shrink - grow;
    result.centroid = Point::each([&](int k) {
        return std::scalbn(first[k] + std::scalbn(result.centroid[k], -grow), -shrink);
    });
    for (double& spread : result.spread)
        spread = std::scalbn(spread, back);
    result.rounding = std::max(std::scalbn(result.rounding, back), 8.0 * eps * largest);
    return result;
}

} // namespace

template <class D>
PrincipalAxes<D> principal_axes(std::span<const typename D::Point> points) {
    constexpr std::size_t n = PrincipalAxes<D>::n;
    PrincipalAxes<D> result;
    if (points.empty()) return result;

    std::array<double, n> means{};
    const typename D::Point first = points.front();
    auto m = moments<D>(
        points, first, [](const Offsets<n>& u) { return u; }, means);
    const auto centre = D::Point::each([&](int k) { return first[k] + means[std::size_t(k)]; });
    double trace = 0.0;
    for (std::size_t k = 0; k < n; ++k)
        trace += m[k][k];
    constexpr double smallest = 0x1p-600, greatest = 0x1p900;
    if (!(trace > smallest && trace < greatest)) return scaled_axes<D>(points);

    for (std::size_t k = 0; k < n; ++k)
        result.axis[k][int(k)] = 1.0;
    diagonalise<n>(m, result.axis);
    const Axes<D> axis = result.axis;
    m = moments<D>(
        points, centre,
        [&axis](const Offsets<n>& u) {
            Offsets<n> turned;
            for (std::size_t k = 0; k < n; ++k) {
                turned.at[k] = u.at[0] * axis[k][0];
                for (std::size_t l = 1; l < n; ++l)
                    turned.at[k] += u.at[l] * axis[k][int(l)];
            }
            return turned;
        },
        means);
    diagonalise<n>(m, result.axis);

    result.centroid = centre;
    double largest = 0.0;
    for (std::size_t k = 0; k < n; ++k) {
        result.centroid += axis[k] * means[k];
        result.axis[k].normalize();
        result.spread[k] = std::sqrt(std::max(m[k][k], 0.0));
        largest = std::max(largest, std::fabs(centre[int(k)]));
    }
    result.rounding = 8.0 * eps * (largest + std::sqrt(trace));
    result.outcome =
        std::sqrt(trace) > result.rounding ? FitOutcome::fitted : FitOutcome::coincident;
    return result;
}

template PrincipalAxes<Plane> principal_axes<Plane>(std::span<const ERPoint2D>);
template PrincipalAxes<Space> principal_axes<Space>(std::span<const ERPoint3D>);

const char* outcome_text(FitOutcome outcome) {
    switch (outcome) {
    case FitOutcome::fitted:
        return "the fit stands";
    case FitOutcome::too_few_points:
        return "there are too few points";
    case FitOutcome::not_finite:
        return "a coordinate is not finite";
    case FitOutcome::coincident:
        return "all points coincide";
    case FitOutcome::collinear:
        return "the points lie on one line";
    case FitOutcome::no_direction:
        return "the points spread alike in every direction that counts";
    case FitOutcome::not_converged:
        return "the iteration does not converge";
    }
    return "";
}

} // namespace velm
