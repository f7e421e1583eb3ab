// velm::reduce_degree: a Bezier or NURBS curve of a lower degree within a tolerance.
#pragma once

#include "velm/curves/bezier_curve.h"
#include "velm/curves/nurbs_curve.h"

namespace velm {

/// A curve with how far it may be from the one it was made of.
template <class Curve>
struct ReducedCurve {
    Curve curve;
    /// Every point of either curve is within this of the other's point at the same parameter, over
    /// the whole domain: neither leaves the other by more. Infinite where no bound can be given.
    double deviation = 0.0;
};

///     const auto lighter = velm::reduce_degree(curve, 1e-6);
///     if (lighter.curve.degree() < curve.degree()) use(lighter.curve, lighter.deviation);
///
/// The curve of the lowest degree, down to 1, that repeated lowering by one reaches with a
/// deviation of at most `tolerance`; `curve` itself, with deviation 0, where one step is too much.
/// Ends, domain and limits are kept.
///
/// A step takes the poles that, raised again, are nearest to the old ones in the sum of squares,
/// the ends held (compare M. Eck, Degree reduction of Bezier curves, CAGD 10, 1993). The deviation
/// is not sampled: it is the greatest distance between the poles of the given curve and those of
/// the result raised to its degree, which bounds the distance of the curves, plus what rounding may
/// add. For weights the difference of weights counts with the reach of the curve about its middle,
/// over the least weight; with a weight that is not positive there is no bound, and the curve stays
/// as it is.
template <class Curve>
VELM_API ReducedCurve<Curve> reduce_degree(const Curve& curve, double tolerance);

/// The NURBS curve of the lowest degree, down to 1, tried one by one, whose deviation is at most
/// `tolerance`; `curve` itself, with deviation 0, where the first step is too much, and where it
/// has no spans or a weight that isn't positive. Ends and limits are kept; an unclamped curve is
/// clamped before, and limits at its end become that of the domain.
///
/// Each degree is tried on the given curve itself. Every knot loses as many copies as the degree
/// steps, so that the curve stays as smooth there as it is, except for the last copy, where it
/// keeps the smoothness that the lower degree has. The poles are those that, raised again, are
/// nearest to the given ones, with as many copies of the knots, in the sum of squares, the ends
/// held; a system of as many bands as the degree. The deviation is bounded by those poles, as for
/// Bezier curves.
VELM_API ReducedCurve<ERCpoleNURBS2D> reduce_degree(const ERCpoleNURBS2D& curve, double tolerance);
VELM_API ReducedCurve<ERCpoleNURBS3D> reduce_degree(const ERCpoleNURBS3D& curve, double tolerance);

extern template ReducedCurve<ERCpoleBezier2D> reduce_degree(const ERCpoleBezier2D&, double);
extern template ReducedCurve<ERCpoleBezier2DR> reduce_degree(const ERCpoleBezier2DR&, double);
extern template ReducedCurve<ERCpoleBezier3D> reduce_degree(const ERCpoleBezier3D&, double);
extern template ReducedCurve<ERCpoleBezier3DR> reduce_degree(const ERCpoleBezier3DR&, double);

} // namespace velm
