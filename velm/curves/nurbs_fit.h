// velm::interpolate, velm::approximate: NURBS curves through points and near points.
//
//     const auto curve = velm::interpolate(section, 3, velm::PointParameters::centripetal);
//     if (curve) store(*curve);
//     const auto fit = velm::approximate(section, 3, 12);
//     if (fit) report(fit->deviation);
//
// The curves have weights 1 and the parameters [0, 1], clamped ends and the first and the last
// point as ends. The parameters of the points and the knots are those of Piegl and Tiller, The
// NURBS Book, 9.2.1 (interpolation, knots by averaging) and 9.4.1 (least squares with the ends
// held); centripetal parameters are Lee's (Choosing nodes in parametric curve interpolation, CAD
// 21, 1989). Nothing comes back if there are too few points, if a degree is below 1 or above 25, if
// neighbours coincide or a coordinate isn't finite.
#pragma once

#include "velm/curves/nurbs_curve.h"
#include "velm/export.h"

#include <optional>
#include <span>
#include <vector>

namespace velm {

/// How far apart the parameters of neighbouring points are.
enum class PointParameters {
    chord_length, ///< in proportion to their distance
    centripetal,  ///< in proportion to its square root: calmer at sharp turns
    even,
};

/// The curve of the degree through all points, in order: as many poles as points, at least
/// degree + 1. It passes within some roundings of the coordinates' size.
VELM_API std::optional<ERCpoleNURBS2D>
interpolate(std::span<const ERPoint2D> points, int degree,
            PointParameters parameters = PointParameters::chord_length);
VELM_API std::optional<ERCpoleNURBS3D>
interpolate(std::span<const ERPoint3D> points, int degree,
            PointParameters parameters = PointParameters::chord_length);

template <class Nurbs>
struct ApproximatingCurve {
    Nurbs curve;
    std::vector<double> parameters; ///< of the points
    double deviation = 0.0;         ///< the largest distance of a point from that at its parameter
};

/// The curve with `poles` poles, from degree + 1 to one less than the points, that has the least
/// sum of squared distances from the points at their parameters, through the first and the last
/// point.
VELM_API std::optional<ApproximatingCurve<ERCpoleNURBS2D>>
approximate(std::span<const ERPoint2D> points, int degree, int poles,
            PointParameters parameters = PointParameters::chord_length);
VELM_API std::optional<ApproximatingCurve<ERCpoleNURBS3D>>
approximate(std::span<const ERPoint3D> points, int degree, int poles,
            PointParameters parameters = PointParameters::chord_length);

} // namespace velm
