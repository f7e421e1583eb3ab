// velm::nearest_points: the least distance of two curves of the plane or of space, certified.
//
//     const auto a = velm::prepare(arc), b = velm::prepare(spline); // curves/prepare.h
//     const velm::NearestPoints<2> found = velm::nearest_points(*a, *b);
//     if (found.certified) use(found.distance, found.on_a, found.on_b, found.a.t, found.b.t);
//
// No two points of the curves are nearer to each other than `lower`. Of several equally near pairs
// one comes, the same at each call.
//
// Method. Pairs of boxes, of pieces and of parts of pieces wait in the order of a lower bound of
// their distance. A pair of parts is bounded by the gap between the projections of their poles on
// the line through the nearest points of their chords, which misses the distance by the square of
// the parts' length; Newton's method finds a nearer pair of points in it. What is no nearer than
// the nearest pair by more than the accuracy is done; other parts are halved.
#pragma once

#include "velm/curves/prepared_curve.h"
#include "velm/export.h"

namespace velm {

template <int N>
struct NearestPoints {
    CurvePlace a, b;
    typename DimensionOf<N>::Point on_a, on_b;
    double distance = 0.0;
    double lower = 0.0; ///< 0 <= lower <= distance
    /// Whether `lower` has come within 2^-40 of the curves' sizes + 2^-49 distance of `distance`.
    /// If not, the budget ended, as it does on long stretches of curved parallels, whose
    /// distance is proved to a millionth of their size then.
    bool certified = false;
};

/// The pairs that one search examines before it gives up the certificate.
inline constexpr int nearest_points_budget = 1 << 16;

/// The search keeps its list of pairs for the next one of the thread.
template <int N>
VELM_API NearestPoints<N> nearest_points(const PreparedCurve<N>& a, const PreparedCurve<N>& b,
                                         int budget = nearest_points_budget);

extern template VELM_API NearestPoints<2> nearest_points(const PreparedCurve<2>&,
                                                         const PreparedCurve<2>&, int);
extern template VELM_API NearestPoints<3> nearest_points(const PreparedCurve<3>&,
                                                         const PreparedCurve<3>&, int);

} // namespace velm
