// velm::intersections in space: the places where two curves come within a tolerance of each other,
// and those where a curve meets a plane.
//
//     const auto a = velm::prepare(arc), b = velm::prepare(spline); // curves/prepare.h
//     std::vector<velm::SpaceIntersection> found;
//     velm::SpaceIntersectionOptions options;
//     options.tolerance = 1e-3;
//     if (!velm::intersections(*a, *b, found, options)) warn(); // the budget ended
//     for (const velm::SpaceIntersection& i : found)
//         use(i.point, i.distance, i.a.t, i.b.t);
//
// What holds, with the errors of the poles as in curves/intersections.h:
//
//   complete      any two places of the curves that are nearer than the tolerance lie in the
//                 parameter intervals of one of the entries
//   none invented in each entry there are places nearer than 2 tolerance + 8 error
//   each once     entries don't share places; a stretch along which the curves run within the
//                 tolerance is one entry, whose intervals hold the stretch
//   unresolved    if the budget ends, one more entry holds both whole curves and false is returned
//
// The enclosure of a place where the curves meet at an angle reaches some 3 tolerance / (speed *
// sine of the angle) to either side. Where they run nearly parallel the time grows with the square
// root of length^2 * curvature / tolerance.
//
// Method. As in the plane: boxes of a tree per curve select pairs of pieces, and parts clip each
// other by the strips along and across their chords. Parts whose cones of tangents are disjoint
// come together in one place at most; others are halved until they are straight within an eighth
// of the tolerance.
#pragma once

#include "velm/curves/prepared_curve.h"
#include "velm/export.h"
#include "velm/frame/box.h"
#include "velm/frame/interval.h"
#include "velm/fwd.h"

#include <vector>

namespace velm {

/// Where two curves of space come within the tolerance of each other.
struct SpaceIntersection {
    /// Near each other as no others that were found in it; the middle between them.
    CurvePlace a, b;
    ERPoint3D point;
    double distance = 0.0;
    /// Hold all places within the tolerance. Of a closed curve the end lies below the start where
    /// the seam is between.
    ERLimites a_parameters, b_parameters;
    ERMinimax3D box;         ///< holds these places
    bool unresolved = false; ///< the budget ended: there may be others
};

struct SpaceIntersectionOptions {
    /// In model units; 0: 2^-30 of both curves' sizes.
    double tolerance = 0.0;
    /// The parts that are examined before the search gives up.
    int budget = 1 << 20;
};

/// In the order of a's parameter, an unresolved entry last. Returns whether there is none. `found`
/// is emptied first.
VELM_API bool intersections(const PreparedCurve<3>& a, const PreparedCurve<3>& b,
                            std::vector<SpaceIntersection>& found,
                            const SpaceIntersectionOptions& options = {});

/// Every place where the curve meets the plane, once, with an interval that holds it: as
/// PreparedCurve<3>::crossings, on the side of the normal above 0. None of a plane without a
/// normal. Defined in surfaces/curve_and_plane.cpp.
VELM_API void intersections(const PreparedCurve<3>& curve, const ERPlane& plane,
                            std::vector<CurveCrossing<3>>& found);

} // namespace velm
