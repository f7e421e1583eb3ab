#include "velm/surfaces/detail/shape_estimate.h"

#include "velm/curves/detail/band_matrix.h"
#include "velm/numerics/circle_fit.h"
#include "velm/numerics/lu_decomposition.h"
#include "velm/numerics/principal_axes.h"
#include "velm/numerics/symmetric_eigen.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace velm::detail {

namespace {

// The symmetric matrix of a sum of outer products.
template <std::size_t N>
struct Moments {
    std::array<double, N * N> a{};

    void add(const std::array<double, N>& v) {
        for (std::size_t i = 0; i < N; ++i)
            for (std::size_t j = 0; j < N; ++j)
                a[i * N + j] += v[i] * v[j];
    }
    // The unit vector with the least square sum of products with the vectors.
    std::array<double, N> least_direction() const {
        Mgc::Eigen eigen(static_cast<int>(N));
        for (std::size_t i = 0; i < N; ++i)
            for (std::size_t j = 0; j < N; ++j)
                eigen.Matrix(int(i), int(j)) = a[i * N + j];
        eigen.EigenStuffN();
        int least = 0;
        for (int k = 1; k < int(N); ++k)
            if (eigen.GetEigenvalue(k) < eigen.GetEigenvalue(least)) least = k;
        std::array<double, N> direction{};
        for (std::size_t i = 0; i < N; ++i)
            direction[i] = eigen.GetEigenvector(int(i), least);
        return direction;
    }
};

ERVector3D vector_of(const std::array<double, 3>& v) { return {v[0], v[1], v[2]}; }

// The point x with the least sum of |M (x - p)|^2, M the projection along the normal (`across`) or
// onto it: normals that meet in a centre, tangent planes that meet in an apex.
std::optional<ERPoint3D> common_point(const std::vector<OrientedPoint>& points, bool across) {
    std::array<double, 9> a{};
    std::array<double, 3> b{}, x{};
    for (const OrientedPoint& q : points)
        for (std::size_t i = 0; i < 3; ++i)
            for (std::size_t j = 0; j < 3; ++j) {
                const double product = q.normal[int(i)] * q.normal[int(j)];
                const double m = across ? (i == j ? 1.0 : 0.0) - product : product;
                a[3 * i + j] += m;
                b[i] += m * q.point[int(j)];
            }
    if (!solve(a, b, x)) return std::nullopt;
    return ERPoint3D(x[0], x[1], x[2]);
}

// The circle of the points (distance from the axis, height), or of the points along the axis.
std::optional<EstimatedShape> cylinder(const std::vector<OrientedPoint>& points) {
    Moments<3> normals;
    for (const OrientedPoint& q : points)
        normals.add({q.normal.i(), q.normal.j(), q.normal.k()});
    const ERVector3D z = vector_of(normals.least_direction()).getnormalized();
    const ERVector3D x = z.find_perpendicular().getnormalized(), y = z ^ x;
    std::vector<ERPoint2D> flat;
    for (const OrientedPoint& q : points) {
        const ERVector3D p(points.front().point, q.point);
        flat.emplace_back(p * x, p * y);
    }
    const FlatCircle circle = fit_flat_circle(flat);
    if (circle.outcome != FitOutcome::fitted && circle.outcome != FitOutcome::not_converged)
        return std::nullopt;
    return EstimatedShape{SurfaceKind::cylinder,
                          points.front().point +
                              ERPoint3D(x * circle.centre.x() + y * circle.centre.y()),
                          z, circle.radius, 0.0};
}

// The ends of the normals are in a plane across the axis.
std::optional<EstimatedShape> cone(const std::vector<OrientedPoint>& points) {
    std::vector<ERPoint3D> ends;
    for (const OrientedPoint& q : points)
        ends.emplace_back(q.normal.i(), q.normal.j(), q.normal.k());
    const PrincipalAxes<Space> axes = principal_axes<Space>(ends);
    const auto apex = common_point(points, false);
    if (axes.outcome != FitOutcome::fitted || !apex) return std::nullopt;
    ERVector3D z = axes.axis[2];
    if (ERVector3D(*apex, points[points.size() / 2].point) * z < 0.0) z = -z;
    const double sine = std::fabs(ERVector3D(axes.centroid) * z);
    if (!(sine < 1.0)) return std::nullopt;
    return EstimatedShape{SurfaceKind::cone, *apex, z, std::asin(sine), 0.0};
}

// All normals meet the axis: for the axis (a, m) and a normal (n, p ^ n), a.(p ^ n) + m.n = 0.
std::optional<EstimatedShape> torus(const std::vector<OrientedPoint>& points, double size) {
    const ERPoint3D middle = points[points.size() / 2].point;
    Moments<6> complex;
    for (const OrientedPoint& q : points) {
        const ERVector3D p = ERVector3D(middle, q.point) * (1.0 / size), moment = p ^ q.normal;
        complex.add({moment.i(), moment.j(), moment.k(), q.normal.i(), q.normal.j(), q.normal.k()});
    }
    const std::array<double, 6> line = complex.least_direction();
    const ERVector3D a(line[0], line[1], line[2]), m(line[3], line[4], line[5]);
    constexpr double no_direction = 1e-6;
    if (!(a.norme() > no_direction)) return std::nullopt;
    const ERVector3D z = a.getnormalized();
    const ERPoint3D foot = middle + ERPoint3D((a ^ m) * (size / a.norme2()));
    std::vector<ERPoint2D> meridian;
    for (const OrientedPoint& q : points) {
        const ERVector3D p(foot, q.point);
        meridian.emplace_back((p - z * (p * z)).norme(), p * z);
    }
    const FlatCircle circle = fit_flat_circle(meridian);
    if ((circle.outcome != FitOutcome::fitted && circle.outcome != FitOutcome::not_converged) ||
        !(circle.centre.x() > 0.0))
        return std::nullopt;
    return EstimatedShape{SurfaceKind::torus, foot + ERPoint3D(z * circle.centre.y()), z,
                          circle.centre.x(), circle.radius};
}

// The shape after a step: the origin along x, y and the axis, the axis by x and y, both radii.
constexpr std::size_t freedoms = 7;
EstimatedShape moved(const EstimatedShape& shape, const ERVector3D& x, const ERVector3D& y,
                     double size, const std::array<double, freedoms>& step) {
    EstimatedShape next(shape);
    next.origin += ERPoint3D(x * step[0] + y * step[1] + shape.axis * step[2]);
    next.axis = (shape.axis + (x * step[3] + y * step[4]) * (1.0 / size)).getnormalized();
    next.radius += shape.kind == SurfaceKind::cone ? step[5] / size : step[5];
    next.small_radius += step[6];
    return next;
}

double square_sum(const EstimatedShape& shape, const std::vector<OrientedPoint>& points) {
    double sum = 0.0;
    for (const OrientedPoint& q : points) {
        const double d = shape.distance(q.point);
        sum += d * d;
    }
    return sum;
}

} // namespace

double EstimatedShape::distance(const ERPoint3D& p) const {
    const ERVector3D arm(origin, p);
    const double height = arm * axis;
    const double out = (arm - axis * height).norme();
    switch (kind) {
    case SurfaceKind::plane:
        return height;
    case SurfaceKind::cylinder:
        return out - radius;
    case SurfaceKind::sphere:
        return arm.norme() - radius;
    case SurfaceKind::cone:
        return out * std::cos(radius) - std::fabs(height) * std::sin(radius);
    default: {
        const double near = std::hypot(out - radius, height) - small_radius;
        const double far = std::hypot(out + radius, height) - small_radius;
        // The part beyond the axis of a torus that crosses it.
        return std::fabs(far) < std::fabs(near) ? far : near;
    }
    }
}

std::optional<EstimatedShape> estimate(SurfaceKind kind, const std::vector<OrientedPoint>& points,
                                       double size) {
    switch (kind) {
    case SurfaceKind::plane: {
        std::vector<ERPoint3D> list;
        for (const OrientedPoint& q : points)
            list.push_back(q.point);
        const PrincipalAxes<Space> axes = principal_axes<Space>(list);
        if (axes.outcome != FitOutcome::fitted) return std::nullopt;
        return EstimatedShape{kind, axes.centroid, axes.axis[2], 0.0, 0.0};
    }
    case SurfaceKind::sphere: {
        const auto centre = common_point(points, true);
        if (!centre) return std::nullopt;
        double radius = 0.0;
        for (const OrientedPoint& q : points)
            radius += ERVector3D(*centre, q.point).norme();
        return EstimatedShape{kind, *centre, ERVector3D(0, 0, 1),
                              radius / static_cast<double>(points.size()), 0.0};
    }
    case SurfaceKind::cylinder:
        return cylinder(points);
    case SurfaceKind::cone:
        return cone(points);
    default:
        return torus(points, size);
    }
}

void refine(EstimatedShape& shape, const std::vector<OrientedPoint>& points, double size) {
    constexpr int most_steps = 8;
    // Freedoms without effect, such as the turn of a sphere, stay where they are.
    constexpr double damping = 1e-10;
    double sum = square_sum(shape, points);
    for (int n = 0; n < most_steps; ++n) {
        const ERVector3D x = shape.axis.find_perpendicular().getnormalized(), y = shape.axis ^ x;
        const double h = 1e-6 * size;
        std::array<EstimatedShape, 2 * freedoms> probes;
        for (std::size_t k = 0; k < 2 * freedoms; ++k) {
            std::array<double, freedoms> step{};
            step[k / 2] = k % 2 == 0 ? h : -h;
            probes[k] = moved(shape, x, y, size, step);
        }
        constexpr int count = static_cast<int>(freedoms);
        BandMatrix matrix(count, count - 1, count - 1);
        std::vector<double> right(freedoms, 0.0);
        double trace = 0.0;
        for (const OrientedPoint& q : points) {
            std::array<double, freedoms> slope{};
            for (std::size_t k = 0; k < freedoms; ++k)
                slope[k] = (probes[2 * k].distance(q.point) - probes[2 * k + 1].distance(q.point)) /
                           (2.0 * h);
            const double d = shape.distance(q.point);
            for (std::size_t i = 0; i < freedoms; ++i) {
                right[i] -= slope[i] * d;
                trace += slope[i] * slope[i];
                for (std::size_t j = 0; j < freedoms; ++j)
                    matrix.at(int(i), int(j)) += slope[i] * slope[j];
            }
        }
        for (int i = 0; i < count; ++i)
            matrix.at(i, i) += damping * trace;
        if (!matrix.solve(right)) return;
        std::array<double, freedoms> step{};
        std::copy_n(right.begin(), freedoms, step.begin());
        const EstimatedShape next = moved(shape, x, y, size, step);
        const double next_sum = square_sum(next, points);
        if (!(next_sum < sum)) return;
        shape = next;
        sum = next_sum;
    }
}

} // namespace velm::detail
