// velm::polyline, velm::tight_box: what holds a curve: points whose chords stay within a stated
// distance of it, and its least box.
//
//     const auto curve = velm::prepare(arc);
//     for (const velm::CurveVertex<2>& vertex : velm::polyline(*curve, 1e-3))
//         draw(vertex.point);
//     const ERMinimax2D box = velm::tight_box(*curve);
#pragma once

#include "velm/curves/prepared_curve.h"

#include <vector>

namespace velm {

template <int N>
struct CurveVertex {
    double t = 0.0;
    typename DimensionOf<N>::Point point;
};

/// Points of the curve, both ends and all joints of its pieces among them, such that each point of
/// the curve lies within `chord_error` of the chord over its own part of the parameter, and each
/// point of the chord within as much of that part, except for the rounding of the points. Parts
/// that don't meet are joined by a chord, which is longer than that.
///
/// A piece of length h in its u differs from its chord by at most h^2 / 8 times the largest second
/// derivative, which second differences of the poles bound (Filip, Magedson and Markot, Surface
/// algorithms using bounds on derivatives, CAGD 3, 1986). With weights, C = X / w, Q a point of the
/// chord and e the error of linear interpolation, C - Q = (e_X - Q e_w) / w.
///
/// Empty if chord_error isn't positive, or if more than 2^24 points are needed.
template <int N>
VELM_API std::vector<CurveVertex<N>> polyline(const PreparedCurve<N>& curve, double chord_error);

/// The least box of the curve, except for rounding: its ends, joints and the places where a
/// coordinate has an extreme.
template <int N>
VELM_API typename DimensionOf<N>::Box tight_box(const PreparedCurve<N>& curve);

extern template VELM_API std::vector<CurveVertex<2>> polyline(const PreparedCurve<2>&, double);
extern template VELM_API std::vector<CurveVertex<3>> polyline(const PreparedCurve<3>&, double);
extern template VELM_API ERMinimax2D tight_box(const PreparedCurve<2>&);
extern template VELM_API ERMinimax3D tight_box(const PreparedCurve<3>&);

} // namespace velm
