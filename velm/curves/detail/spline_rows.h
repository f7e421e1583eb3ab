// B-spline arithmetic on rows of poles: insertion and removal of knots, elevation of the degree,
// Bezier pieces, continuation. Rows are as in bernstein_rows.h, so that the same code serves a
// curve, the rows of a grid of poles and its columns.
//
// Weighted coordinates and weights are doubles like the others: all of it is affine in them.
// REQUIRES knots in order, with room for one span, and as many poles as belong to them. Outputs may
// not overlap inputs. None of it takes the thread's scratch buffer; up to degree 29 with four
// doubles a pole none allocates, except elevation of a curve with more than 64 distinct knots.
#pragma once

#include "velm/curves/detail/bernstein_rows.h"
#include "velm/curves/detail/knot_search.h"
#include "velm/export.h"

namespace velm::detail {

/// Inserts t r times, by Boehm's algorithm: `window` is the degree + 1 poles up to pole place.last,
/// with room for r more, and becomes the poles that take their place. Each copy beyond multiplicity
/// p repeats a pole. REQUIRES t in the domain.
VELM_API void insert_in_window(const KnotView& knots, const InsertionPlace& place, double t, int r,
                               PoleRow window);

/// Whether remove_from_row has an effect at the knot whose last copy is knot k: not at the ends.
VELM_API bool is_removable(const KnotView& knots, int k);
/// Takes one copy of the knot whose last copy is knot k out of the poles: `row` is all of them and
/// has one pole less then. The curve changes as it may: nothing is tested. Poles are computed from
/// both sides and averaged where they meet (The NURBS Book, A5.8, for one removal); of two poles
/// that a knot of multiplicity p + 1 separates the mean stays, at multiplicity p the pole between
/// falls. REQUIRES is_removable.
VELM_API void remove_from_row(const KnotView& knots, int k, PoleRow row);

/// Knots of the curve of one degree more: each distinct one once more. Returns their number, at
/// most twice the old; `out` may be null.
VELM_API int elevated_knots(const KnotView& knots, double* out);
/// The poles of the curve of one degree more; `out` is for all of them. Prautzsch's average: pole j
/// is the mean of the blossom's values over the p + 1 ways to leave out one of the knots that
/// belong to it (H. Prautzsch, Degree elevation of B-spline curves, CAGD 1, 1984). Each value is
/// got from old poles by convex combinations only, so no digits are lost at uneven knots. REQUIRES
/// both ends of the domain to occur at least p + 1 times.
VELM_API void elevate_spline(const KnotView& knots, ConstPoleRow row, PoleRow out);

/// The Bezier poles of one span: `knots` points at knot s of the span, knot s < knot s + 1, and is
/// read from knots[-p] to knots[p + 1]; `row` is the p + 1 poles up to pole s. The blends are those
/// of Boehm's insertion of the lower end, then of the upper one, to multiplicity p + 1. `out` may
/// not be `row`.
VELM_API void span_to_bezier(const double* knots, ConstPoleRow row, PoleRow out);

/// Moves the start of the first span, knot p < knot p + 1, to a, the poles following its
/// polynomial: knots 0 to p are a then. `row` is the first p + 1 poles. Exact for any a up to
/// rounding, which grows with the p-th power of the distance in spans.
VELM_API void continue_start(double* knots, double a, PoleRow row);
/// The same for the end of the last span: `knots` points at knot n of n poles, knot n - 1 < knot n,
/// `row` is the last p + 1 poles.
VELM_API void continue_end(double* knots, double b, PoleRow row);

} // namespace velm::detail
