// velm::principal_axes: the centroid of points and the axes of their spread. velm::FitOutcome: how
// a fit ended.
#pragma once

#include "velm/export.h"
#include "velm/frame/dimension.h"
#include "velm/frame/point.h"
#include "velm/frame/vector.h"

#include <array>
#include <cstddef>
#include <span>

namespace velm {

enum class FitOutcome {
    fitted,
    too_few_points,
    not_finite,    ///< a coordinate is infinite or NaN
    coincident,    ///< the points agree except for rounding
    collinear,     ///< on one line except for rounding: no unique plane or circle
    no_direction,  ///< equal spread in directions among which the fit has to choose
    not_converged, ///< the iteration ran out of steps
};

/// "the points lie on one line" and the like: the outcome as the end of a sentence.
VELM_API const char* outcome_text(FitOutcome outcome);

/// Second moments of points about their centroid, on their own axes.
template <class D>
struct PrincipalAxes {
    static constexpr std::size_t n = D::size;

    /// fitted, too_few_points (no points at all), not_finite or coincident. If coincident, only
    /// `centroid` is meaningful; if too_few_points or not_finite, nothing is.
    FitOutcome outcome = FitOutcome::too_few_points;
    typename D::Point centroid;
    /// Orthonormal, by decreasing spread.
    std::array<typename D::Vector, n> axis{};
    /// The root mean square of the coordinate along each axis.
    std::array<double, n> spread{};
    /// A generous bound of how far rounding of the coordinates may shift a point: a spread up to
    /// this counts as 0.
    double rounding = 0.0;
};

/// Two passes. The first finds the centroid, and the axes by Jacobi's rotations (Golub and Van
/// Loan, Matrix Computations, 4th edition, section 8.5) of the moments about the first point,
/// corrected for their means (Chan, Golub and LeVeque, "Algorithms for computing the sample
/// variance", 1983). The second takes the moments about the centroid in those axes, corrected
/// again, and their rotations: this gives small spreads and their directions to nearly the accuracy
/// of a singular value decomposition of the points. Points may have any scale.
template <class D>
VELM_API PrincipalAxes<D> principal_axes(std::span<const typename D::Point> points);

extern template PrincipalAxes<Plane> principal_axes<Plane>(std::span<const ERPoint2D>);
extern template PrincipalAxes<Space> principal_axes<Space>(std::span<const ERPoint3D>);

} // namespace velm
