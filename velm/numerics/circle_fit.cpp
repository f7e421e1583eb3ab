#include "velm/numerics/circle_fit.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace velm {

namespace {

constexpr double eps = std::numeric_limits<double>::epsilon();

using Points = std::vector<ERPoint2D>;
using Vector3 = std::array<double, 3>;

// A (x^2 + y^2) + B x + C y + D = 0; normalised, B^2 + C^2 - 4 A D = 1. A is 0 for a line.
struct Equation {
    double a = 0.0, b = 0.0, c = 0.0, d = 0.0;

    double at(const ERPoint2D& p) const {
        return a * (p.x() * p.x() + p.y() * p.y()) + b * p.x() + c * p.y() + d;
    }
    ERVector2D gradient(const ERPoint2D& p) const {
        return {b + 2.0 * a * p.x(), c + 2.0 * a * p.y()};
    }
    ERPoint2D centre() const { return {-b / (2.0 * a), -c / (2.0 * a)}; }
};

// r / R for a value of the equation: 0 at the centre, 1 on the rim.
double relative_radius(double a, double value) {
    return std::sqrt(std::max(1.0 + 4.0 * a * value, 0.0));
}

double sum_of_squares(const Equation& e, const Points& points) {
    double sum = 0.0;
    for (const ERPoint2D& p : points) {
        const double value = e.at(p), distance = 2.0 * value / (1.0 + relative_radius(e.a, value));
        sum += distance * distance;
    }
    return sum;
}

// The points about their centroid, on their axes, with a mean square distance of 1.
Points normalised(std::span<const ERPoint2D> points, const PrincipalAxes<Plane>& axes,
                  double scale) {
    Points result;
    result.reserve(points.size());
    for (const ERPoint2D& p : points) {
        const ERVector2D v(axes.centroid, p);
        result.emplace_back(v * axes.axis[0] / scale, v * axes.axis[1] / scale);
    }
    return result;
}

struct Moments {
    double xx = 0.0, yy = 0.0, xy = 0.0, xz = 0.0, yz = 0.0, zz = 0.0, z = 0.0;
};

Moments moments_of(const Points& points) {
    Moments m;
    for (const ERPoint2D& p : points) {
        const double x = p.x(), y = p.y(), z = x * x + y * y;
        m.xx += x * x, m.yy += y * y, m.xy += x * y;
        m.xz += x * z, m.yz += y * z, m.zz += z * z;
    }
    const auto n = static_cast<double>(points.size());
    for (double* sum : {&m.xx, &m.yy, &m.xy, &m.xz, &m.yz, &m.zz})
        *sum /= n;
    m.z = m.xx + m.yy;
    return m;
}

// The least root of Taubin's cubic, by Newton's method from 0, which reaches it from below.
double least_root(const Moments& m) {
    const double cov = m.xx * m.yy - m.xy * m.xy, var_z = m.zz - m.z * m.z;
    const double a3 = 4.0 * m.z, a2 = -3.0 * m.z * m.z - m.zz;
    const double a1 = var_z * m.z + 4.0 * cov * m.z - m.xz * m.xz - m.yz * m.yz;
    const double a0 =
        m.xz * (m.xz * m.yy - m.yz * m.xy) + m.yz * (m.yz * m.xx - m.xz * m.xy) - var_z * cov;
    double x = 0.0, y = a0;
    for (int step = 0; step < 99; ++step) {
        const double next = x - y / (a1 + x * (2.0 * a2 + x * 3.0 * a3));
        if (next == x || !std::isfinite(next)) break;
        const double value = a0 + next * (a1 + next * (a2 + next * a3));
        if (!(std::fabs(value) < std::fabs(y))) break;
        x = next;
        y = value;
    }
    return x;
}

Equation start_of(const Points& points) {
    const Equation straight{0.0, 0.0, 1.0, 0.0};
    const Moments m = moments_of(points);
    const double x = least_root(m);
    Equation round;
    round.a = x * x - x * m.z + m.xx * m.yy - m.xy * m.xy;
    round.b = -(m.xz * (m.yy - x) - m.yz * m.xy);
    round.c = -(m.yz * (m.xx - x) - m.xz * m.xy);
    round.d = -round.a * m.z;
    const double length =
        std::sqrt(round.b * round.b + round.c * round.c - 4.0 * round.a * round.d);
    for (double* value : {&round.a, &round.b, &round.c, &round.d})
        *value /= length;
    if (!std::isfinite(round.a + round.b + round.c)) return straight;
    return sum_of_squares(round, points) < sum_of_squares(straight, points) ? round : straight;
}

// The point of the rim nearest to the centroid; if the centroid is near the centre, the one in the
// direction of the first point.
ERPoint2D rim_point(const Equation& e, const ERPoint2D& first) {
    const ERVector2D g(e.b, e.c);
    const double length = g.norme();
    if (length > 0.125) return ERPoint2D(g * (-2.0 * e.d / (1.0 + length) / length));
    const ERPoint2D centre = e.centre();
    ERVector2D out(centre, first);
    if (out.norme2() == 0.0) out = ERVector2D(1.0, 0.0);
    return centre + out.getnormalized() * (0.5 / std::fabs(e.a));
}

// The circle as A, D and the angle of (B, C).
struct Parameters {
    double a = 0.0, d = 0.0, phi = 0.0;

    // |(B, C)| squared; it must be positive for a circle.
    double square() const { return 1.0 + 4.0 * a * d; }
    Equation equation() const {
        const double length = std::sqrt(square());
        return {a, length * std::cos(phi), length * std::sin(phi), d};
    }
    Parameters moved(const Vector3& step) const {
        return {a + step[0], d + step[1], phi + step[2]};
    }
};

// Half the sum of squares at given parameters, with its derivatives.
struct Expansion {
    double squares = 0.0;
    Vector3 gradient{};
    std::array<Vector3, 3> hessian{}; // upper triangle
    Vector3 damped{};                 // the diagonal without second derivatives, never negative
};

// A distance d solves A d^2 + d = P, where P is the equation's value. Hence
//   d_i  = (P_i - [i is A] d^2) / Q,   Q = 1 + 2 A d = r / R,
//   d_ij = (P_ij - 2 d ([i is A] d_j + [j is A] d_i) - 2 A d_i d_j) / Q.
Expansion expand(const Parameters& q, const Points& points) {
    // In spreads. At the centre the distance has no derivative; this near, 1 / r would multiply the
    // rounding of the coordinates to 1e-7 and more.
    constexpr double near_center = 1e-9;
    const Equation e = q.equation();
    const double length = std::sqrt(q.square()), cube = length * length * length;
    const double u = e.b / length, v = e.c / length;
    const double aa = -4.0 * q.d * q.d / cube, dd = -4.0 * q.a * q.a / cube;
    const double ad = (2.0 + 4.0 * q.a * q.d) / cube;
    const double by_a = 2.0 * q.d / length, by_d = 2.0 * q.a / length;
    Expansion result;
    for (const ERPoint2D& p : points) {
        const double value = e.at(p), ratio = relative_radius(e.a, value);
        const double d = 2.0 * value / (1.0 + ratio), f = 1.0 / std::max(ratio, near_center);
        const double w = u * p.x() + v * p.y(), t = u * p.y() - v * p.x();
        const double z = p.x() * p.x() + p.y() * p.y();
        const Vector3 j = {(z + by_a * w - d * d) * f, (1.0 + by_d * w) * f, length * t * f};
        const std::array<Vector3, 3> second = {
            Vector3{aa * w - 4.0 * d * j[0], ad * w - 2.0 * d * j[1], by_a * t - 2.0 * d * j[2]},
            Vector3{0.0, dd * w, by_d * t}, Vector3{0.0, 0.0, -length * w}};
        result.squares += d * d;
        for (std::size_t k = 0; k < 3; ++k) {
            result.gradient[k] += j[k] * d;
            result.damped[k] += j[k] * j[k];
            for (std::size_t l = k; l < 3; ++l)
                result.hessian[k][l] +=
                    j[k] * j[l] + d * f * (second[k][l] - 2.0 * q.a * j[k] * j[l]);
        }
    }
    return result;
}

// Solves (hessian + damping * diagonal) step = -gradient by Cholesky's factorisation after
// scaling. False if the matrix is not positive definite.
bool damped_step(const Expansion& e, double damping, Vector3& step) {
    Vector3 scale;
    for (std::size_t k = 0; k < 3; ++k) {
        if (!(e.damped[k] > 0.0)) return false;
        scale[k] = 1.0 / std::sqrt(e.damped[k]);
    }
    std::array<Vector3, 3> l{};
    Vector3 y{};
    for (std::size_t i = 0; i < 3; ++i) {
        y[i] = -e.gradient[i] * scale[i];
        for (std::size_t j = 0; j <= i; ++j) {
            double sum = e.hessian[j][i] * scale[i] * scale[j] + (i == j ? damping : 0.0);
            for (std::size_t k = 0; k < j; ++k)
                sum -= l[i][k] * l[j][k];
            if (i == j && !(sum > 0.0)) return false;
            l[i][j] = i == j ? std::sqrt(sum) : sum / l[j][j];
        }
        for (std::size_t k = 0; k < i; ++k)
            y[i] -= l[i][k] * y[k];
        y[i] /= l[i][i];
    }
    for (std::size_t i = 3; i-- > 0;) {
        for (std::size_t k = i + 1; k < 3; ++k)
            y[i] -= l[k][i] * y[k];
        y[i] /= l[i][i];
    }
    for (std::size_t k = 0; k < 3; ++k)
        step[k] = y[k] * scale[k];
    return true;
}

// Damped Newton steps, until they are as small as rounding or stop shrinking near it.
bool iterate(Parameters& q, const Points& points, CircleIteration& iteration) {
    constexpr int most_steps = 200;
    // Steps are in units of the points' spread. The sum is flat at its minimum: a step s changes it
    // by about s^2, so one below `sure`, the root of a rounding, changes it by no more than that.
    // `small` is a few roundings; steps up to `stalled` may be noise, and end the iteration once
    // they no longer shrink to a quarter. Damping up to `no_damping` is lost in the rounding of the
    // hessian's diagonal; with `most_damping` steps are below `small`.
    constexpr double small = 1e-15, stalled = 1e-11, sure = 1e-8;
    constexpr double no_damping = 1e-12, most_damping = 1e16;
    // Starts small, since the first guess is good; ten times more after a step that is worse, a
    // hundredth after a better one, so that the last steps are Newton's (Marquardt 1963).
    double damping = 1e-4, last = std::numeric_limits<double>::infinity();
    Expansion at = expand(q, points);
    while (iteration.steps < most_steps && damping < most_damping) {
        ++iteration.steps;
        Vector3 step{};
        const bool solved = damped_step(at, damping, step);
        const Parameters next = q.moved(step);
        const double size = std::fabs(step[0]) + std::fabs(step[1]) + std::fabs(step[2]);
        const bool is_newton = damping <= no_damping;
        bool better = solved && next.square() > 0.0;
        Expansion there;
        if (better) {
            there = expand(next, points);
            better = there.squares <= at.squares || size <= sure;
        }
        if (!better) {
            damping = std::max(damping, 1e-6) * 10.0;
            continue;
        }
        q = next;
        at = there;
        damping = damping > no_damping ? damping * 1e-2 : 0.0;
        iteration.last_step = size;
        if (is_newton && (size <= small || (size <= stalled && size >= 0.25 * last))) return true;
        last = size;
    }
    return false;
}

} // namespace

FlatCircle fit_flat_circle(std::span<const ERPoint2D> points) {
    FlatCircle result;
    if (points.size() < 3) return result;
    const PrincipalAxes<Plane> axes = principal_axes<Plane>(points);
    result.outcome = axes.outcome;
    if (axes.outcome != FitOutcome::fitted) return result;
    result.outcome = FitOutcome::collinear;
    if (axes.spread[1] <= axes.rounding) return result;

    const double scale = std::hypot(axes.spread[0], axes.spread[1]);
    Points local = normalised(points, axes, scale);
    const Equation start = start_of(local);
    const ERPoint2D rim = rim_point(start, local.front());
    for (ERPoint2D& p : local)
        p -= rim;
    const ERVector2D g = start.gradient(rim);
    Parameters q{start.a, 0.0, std::atan2(g.j(), g.i())};
    const bool converged = iterate(q, local, result.iteration);

    constexpr double flattest = 4.0 * eps;
    if (std::fabs(q.a) <= flattest) return result;
    const Equation e = q.equation();
    const ERPoint2D centre = (rim + e.centre()) * scale;
    result.outcome = converged ? FitOutcome::fitted : FitOutcome::not_converged;
    result.centre = axes.centroid + axes.axis[0] * centre.x() + axes.axis[1] * centre.y();
    result.radius = scale * 0.5 / std::fabs(q.a);
    result.rms = scale * std::sqrt(sum_of_squares(e, local) / static_cast<double>(points.size()));
    result.iteration.last_step *= scale;
    return result;
}

} // namespace velm
