#include "velm/surfaces/detail/normal_cone.h"

#include <algorithm>
#include <cmath>

namespace velm::detail {
namespace {

// Radians that are added to each cone, for roundings: of coefficients, of the normals that are
// compared with it, and of the angles themselves.
constexpr double angle_of_rounding = 1e-9;

struct Vector {
    double x[3];
};

double length(const Vector& a) { return std::hypot(a.x[0], a.x[1], a.x[2]); }
Vector cross(const Vector& a, const Vector& b) {
    return {{a.x[1] * b.x[2] - a.x[2] * b.x[1], a.x[2] * b.x[0] - a.x[0] * b.x[2],
             a.x[0] * b.x[1] - a.x[1] * b.x[0]}};
}
double angle_between(const double* a, const double* b) {
    const Vector u{{a[0], a[1], a[2]}}, v{{b[0], b[1], b[2]}};
    return std::atan2(length(cross(u, v)), a[0] * b[0] + a[1] * b[1] + a[2] * b[2]);
}

// A polynomial of four components over [-1, 1]^2: its value in the middle, and how far it is from
// that, which is no more than the sum of the sizes of the other terms.
struct Spread {
    Vector middle{};
    double weight = 0.0;
    double by = 0.0, weight_by = 0.0;

    void add(const double* term, double factor, bool in_middle) {
        const Vector now{{factor * term[0], factor * term[1], factor * term[2]}};
        if (in_middle) {
            middle = now;
            weight = factor * term[3];
        } else {
            by += length(now);
            weight_by += std::fabs(factor * term[3]);
        }
    }
};

// w R' - w' R, which has the direction of the derivative of R / w.
Spread direction(const Spread& r, const Spread& derivative) {
    const double w = std::fabs(r.weight), slope = std::fabs(derivative.weight);
    Spread out;
    for (int c = 0; c < 3; ++c)
        out.middle.x[c] = r.weight * derivative.middle.x[c] - derivative.weight * r.middle.x[c];
    out.by = w * derivative.by + r.weight_by * (length(derivative.middle) + derivative.by) +
             slope * r.by + derivative.weight_by * (length(r.middle) + r.by);
    return out;
}

} // namespace

bool NormalCone::may_reach(const double* unit, int sign, double reach) const {
    const double turned[3] = {sign * unit[0], sign * unit[1], sign * unit[2]};
    return angle + reach >= std::numbers::pi || angle_between(axis, turned) <= angle + reach;
}

void NormalCone::join(const NormalCone& other) {
    const double between = angle_between(axis, other.axis);
    if (between + other.angle <= angle) return;
    if (between + angle <= other.angle) {
        *this = other;
        return;
    }
    // About the middle of both axes each of them is half of the way off.
    double sum[3], squared = 0.0;
    for (int c = 0; c < 3; ++c) {
        sum[c] = axis[c] + other.axis[c];
        squared += sum[c] * sum[c];
    }
    angle = std::min(0.5 * between + std::max(angle, other.angle) + angle_of_rounding,
                     std::numbers::pi);
    if (squared > 0.0)
        for (int c = 0; c < 3; ++c)
            axis[c] = sum[c] / std::sqrt(squared);
    else
        angle = std::numbers::pi;
}

// With A = a + d and B = b + e, A ^ B is within |d| |b| + |a| |e| + |d| |e| of a ^ b, and so within
// the angle of which that part of |a ^ b| is the sine.
NormalCone normal_cone(const SurfaceLeaves& leaves, const SurfaceLeaf& leaf) {
    NormalCone cone;
    if (leaf.error > 0.0) return cone;
    const int p = leaves.degree_u, q = leaves.degree_v;
    const double* term = leaves.poles(leaf);
    Spread value, by_s, by_t;
    for (int j = 0; j <= q; ++j)
        for (int i = 0; i <= p; ++i, term += 4) {
            value.add(term, 1.0, i == 0 && j == 0);
            if (i > 0) by_s.add(term, i, i == 1 && j == 0);
            if (j > 0) by_t.add(term, j, i == 0 && j == 1);
        }
    if (leaves.rational) {
        by_s = direction(value, by_s);
        by_t = direction(value, by_t);
    }
    const Vector normal = cross(by_s.middle, by_t.middle);
    const double size = length(normal);
    const double off =
        by_s.by * length(by_t.middle) + length(by_s.middle) * by_t.by + by_s.by * by_t.by;
    if (!(off < size)) return cone;
    for (int c = 0; c < 3; ++c)
        cone.axis[c] = normal.x[c] / size;
    cone.angle = std::asin(off / size) + angle_of_rounding;
    return cone;
}

} // namespace velm::detail
