// velm::reduce_degree: a Bezier curve of a lower degree within a tolerance.
#pragma once

#include "velm/curves/bezier_curve.h"

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

extern template ReducedCurve<ERCpoleBezier2D> reduce_degree(const ERCpoleBezier2D&, double);
extern template ReducedCurve<ERCpoleBezier2DR> reduce_degree(const ERCpoleBezier2DR&, double);
extern template ReducedCurve<ERCpoleBezier3D> reduce_degree(const ERCpoleBezier3D&, double);
extern template ReducedCurve<ERCpoleBezier3DR> reduce_degree(const ERCpoleBezier3DR&, double);

} // namespace velm
