// velm::intersections, velm::self_intersections: every place where two curves of the plane meet.
//
//     const auto a = velm::prepare(arc), b = velm::prepare(spline); // curves/prepare.h
//     std::vector<velm::CurveIntersection> found;
//     if (!velm::intersections(*a, *b, found)) warn();  // the budget ended: see `unresolved`
//     for (const velm::CurveIntersection& i : found)
//         if (i.kind == velm::IntersectionKind::crossing) use(i.point, i.a.t, i.b.t);
//
// Segments, arcs, conics, Bezier curves, NURBS curves and chains of them: all that a prepared curve
// holds. A place comes once, whether or not it lies on joints, on the seam of a closed curve or
// where the search has halved a piece; stretches in common come as intervals.
//
// What holds. The poles are taken as known to some roundings: error = u ((n + 4) reach +
// magnitude), with u = 2^-53, n the greater degree, reach the size of the two pieces and magnitude
// their largest coordinate; `tolerance` (model units) adds to that. The curves meet where they are
// as near to each other as that.
//
//   complete      any two places of the curves that are nearer than tolerance + 2 error lie in the
//                 parameter intervals of one of the entries
//   none invented in each entry there are places nearer than about 2 tolerance + 8 error
//   each once     entries don't share places; meetings that lie closer together than their
//                 enclosures are wide are one entry, whose sides say whether the curves cross
//   crossings     one whose sides differ is a true crossing: inside a piece proved by the signs on
//                 both sides, at joints by the nearest points next to it, evaluated in doubles
//   unresolved    if the budget ends, what wasn't decided is listed as such and false is returned
//
// There are no absolute tolerances: curves of 1e-6 and of 1e6 units have the same answers.
//
// Accuracy. The enclosure of a crossing reaches some error / (speed * sine of the angle) to either
// side, that of a contact of order k about the (k + 1)th root of that; `a.t` and `b.t` are zeros of
// the distance's derivative of order k, far better than the enclosure: 1e-14 of the interval on
// curves whose derivatives don't differ much in size.
//
// Method. Boxes of a tree per curve select pairs of pieces. A pair is clipped by the strips along
// and across its chords (Sederberg and Nishita, Curve intersection using Bezier clipping, CAD 22,
// 1990) and halved. Tangents that differ throughout mean one crossing at most (Sederberg and
// Meyers, Loop detection in surface patch intersections, CAGD 5, 1988); Newton's method finds it,
// and the least angle between tangents bounds all places as near as the error. Parts that are
// nearly parallel are compared by the signs of one polynomial, see detail/graph_intersection.h.
#pragma once

#include "velm/curves/prepared_curve.h"
#include "velm/export.h"
#include "velm/frame/box.h"
#include "velm/frame/interval.h"

#include <vector>

namespace velm {

enum class IntersectionKind {
    crossing,   ///< the curves change sides
    touching,   ///< they stay on their sides
    end,        ///< at an end of a curve that isn't closed
    overlap,    ///< a stretch in common
    unresolved, ///< the budget ended: the curves may meet in these intervals, or not
};

/// A place where two curves meet, or a stretch that they share.
struct CurveIntersection {
    IntersectionKind kind = IntersectionKind::crossing;
    /// The place on each curve. Of an overlap the start on a, with its place on b.
    CurvePlace a, b;
    ERPoint2D point;
    /// Hold the parameters of the meeting; of an overlap the stretch, on b from where it starts on
    /// a. The end lies below the start where the interval runs through the seam of a closed curve
    /// or, in an overlap, where b runs the other way.
    ERLimites a_parameters, b_parameters;
    /// Holds the meeting.
    ERMinimax2D box;
    /// How many derivatives agree: 0 where the curves meet at an angle, 1 with a common tangent, 2
    /// with a common curvature as well, and so on; at a joint the most of its sides.
    int order = 0;
    /// The side of b on which a lies before and after, +1 left of b; 0 beyond an end or if unknown.
    int before = 0;
    int after = 0;
    /// Whether the tangents' scalar product is positive.
    bool same_direction = true;
};

struct IntersectionOptions {
    /// Places no farther apart than this meet; in model units. It costs time where curves run
    /// along each other at about this distance.
    double tolerance = 0.0;
    /// The parts that are examined before the search gives up.
    int budget = 1 << 20;
};

/// All meetings of two curves in the order of a's parameter, an overlap's first. Returns whether
/// nothing is unresolved. `found` is emptied first. The search keeps its lists for the next one
/// of the thread: one that is no larger allocates nothing, unless `found` has to grow.
VELM_API bool intersections(const PreparedCurve<2>& a, const PreparedCurve<2>& b,
                            std::vector<CurveIntersection>& found,
                            const IntersectionOptions& options = {});
VELM_API std::vector<CurveIntersection> intersections(const PreparedCurve<2>& a,
                                                      const PreparedCurve<2>& b,
                                                      const IntersectionOptions& options = {});

/// All meetings of a curve with itself, except of neighbouring places: a joint, the seam and a cusp
/// are none, a stretch that turns back on itself is an overlap. The place `a` comes before `b`.
VELM_API bool self_intersections(const PreparedCurve<2>& curve,
                                 std::vector<CurveIntersection>& found,
                                 const IntersectionOptions& options = {});
VELM_API std::vector<CurveIntersection> self_intersections(const PreparedCurve<2>& curve,
                                                           const IntersectionOptions& options = {});

} // namespace velm
