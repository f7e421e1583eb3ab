// velm::remove_knot, velm::join: editing of NURBS curves that keeps within a tolerance and reports
// how far the curve moved.
//
//     ERCpoleNURBS2D curve = outline;
//     const velm::KnotRemoval removal = velm::remove_knot(curve, 0.5, 1e-6);
//     if (const auto joined = velm::join(curve, next, 1e-6))
//         use(joined->curve, joined->deviation);
//
// A deviation is a bound of the distance between the points of the old and the new curve at the
// same parameter. It comes from the poles: with the knot inserted again both curves have the same
// basis functions, and for homogeneous coordinates X, w about the middle of the poles, of which no
// point of the curve is farther than R, it is at most (max |X - X'| + R max |w - w'|) / min w'. For
// the poles that a removal gives see Tiller, Knot-removal algorithms for NURBS curves and surfaces,
// CAD 24 (1992), 445-453, and The NURBS Book, 5.4. Weights have to be positive.
#pragma once

#include "velm/curves/nurbs_curve.h"
#include "velm/export.h"

#include <optional>

namespace velm {

struct KnotRemoval {
    int removed = 0;        ///< copies of the knot
    double deviation = 0.0; ///< at most the tolerance
};

/// Removes as many copies of the knot t as the tolerance, a length, allows; the curve is unchanged
/// where that is none: at the ends, where t is no knot, or where a weight isn't positive. Keeps the
/// trim.
VELM_API KnotRemoval remove_knot(ERCpoleNURBS2D& curve, double t, double tolerance);
VELM_API KnotRemoval remove_knot(ERCpoleNURBS3D& curve, double t, double tolerance);

template <class Nurbs>
struct JoinedCurve {
    Nurbs curve;
    double deviation = 0.0; ///< of either part from what it was, at most the tolerance
    int removed = 0;        ///< copies of the knot at the joint: 0 where it is a kink
};

/// a, then b, in one curve; b is reversed where its far end is the one that meets. Nothing if
/// neither end of b lies within the tolerance, a length, of the end of a, or a curve has no spans
/// or a weight that isn't positive.
///
/// Both are cut to their limits and raised to the higher degree. b's weights are scaled by one
/// factor so that they meet those of a; its parameters follow a's over a length that makes the
/// speeds at the joint agree, where both have one; a gap is shared by both end poles. Then copies
/// of the knot at the joint are removed as far as the tolerance allows.
VELM_API std::optional<JoinedCurve<ERCpoleNURBS2D>> join(const ERCpoleNURBS2D& a,
                                                         const ERCpoleNURBS2D& b, double tolerance);
VELM_API std::optional<JoinedCurve<ERCpoleNURBS3D>> join(const ERCpoleNURBS3D& a,
                                                         const ERCpoleNURBS3D& b, double tolerance);

} // namespace velm
