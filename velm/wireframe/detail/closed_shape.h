// velm::detail: edges of closed shapes, their nearest points, and their parameters.
#pragma once

#include "velm/frame/point.h"
#include "velm/frame/vector.h"

#include <cmath>
#include <limits>

namespace velm::detail {

/// v turned by +90 degrees.
constexpr ERVector2D turned_left(const ERVector2D& v) { return {-v.j(), v.i()}; }

/// The nearest point of a shape among those of its edges.
struct NearestEdge {
    ERPoint2D foot;
    double distance = std::numeric_limits<double>::infinity();
    int edge = -1; ///< none

    /// Keeps the nearer one, the earlier of two equally near ones.
    void take(const ERPoint2D& at, double from_p, int number) {
        if (from_p < distance) *this = {at, from_p, number};
    }
    /// The outputs of Project.
    int give(ERPoint2D& at, double& from_p, int& number) const {
        if (edge < 0) return 0;
        at = foot;
        from_p = distance;
        number = edge;
        return 1;
    }
};

/// The nearest point of the segment from a to b.
inline ERPoint2D nearest_on_segment(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& p) {
    const ERVector2D edge(a, b);
    const double s = ERVector2D(a, p) * edge / edge.norme2();
    if (!(s > 0.0)) return a; // NaN for an edge without length
    return s < 1.0 ? a + edge * s : b;
}

/// t in [0, n], by whole turns of n: above n down to (0, n], below 0 up to [0, n), all exactly
/// but for one rounding. NaN for a t that isn't finite.
inline double wrapped(double t, int n) {
    if (t > n) {
        const double rest = std::fmod(t, n);
        return rest == 0.0 ? n : rest;
    }
    if (t < 0.0) {
        const double rest = std::fmod(t, n);
        return rest == 0.0 ? 0.0 : rest + n;
    }
    return t;
}

/// The number of the edge that a t of [0, n] is on: a whole one ends it.
inline int edge_of(double t) { return t > 0.0 ? static_cast<int>(std::ceil(t)) - 1 : 0; }

} // namespace velm::detail
