// area_fault, is_arc_of_circle, nurbs_fault: whether what a file gave makes an outline.
//
//     if (velm::area_fault(contour) != velm::AreaFault::none) refuse(line);
//
// Contour, CurveEdge and Profile take what passes; settle_areas (outline_nesting.h) compares whole
// contours with one another.
#pragma once

#include "velm/export.h"
#include "velm/planar/contour.h"

#include <span>

namespace velm {

/// Why a contour encloses no area.
enum class AreaFault {
    none,
    too_few_vertices,       ///< less than three, or none with arcs or curves
    beyond_double,          ///< it reaches beyond what a double can hold
    on_one_line,            ///< exactly; of straight edges
    leads_back,             ///< out along an arc and back along the same one
    leads_back_along_curves ///< within 1e-8 of the square of its size
};
VELM_API AreaFault area_fault(const Contour& contour);
inline bool has_area(const Contour& contour) { return area_fault(contour) == AreaFault::none; }

/// Whether the arc is a whole turn at most, about a finite centre with a radius.
VELM_API bool is_arc_of_circle(const ERArc2D& arc);

inline constexpr int highest_spline_degree = 25;

/// Why a degree, knots and weights make no NURBS curve.
enum class NurbsFault {
    none,
    degree,           ///< below 1 or above highest_spline_degree
    counts,           ///< less than degree + 1 poles, or not poles + degree + 1 knots
    descending_knots, ///< they don't ascend
    no_interval,      ///< the knots from the degree-th to the last but the degree-th are one
    weight,           ///< one isn't positive
};
/// One weight per pole.
VELM_API NurbsFault nurbs_fault(int degree, std::span<const double> knots,
                                std::span<const double> weights);

/// The curve of weighted poles between the knots p and n, and nothing beyond; what it is made of
/// has no fault. The knots need not be clamped.
VELM_API ERCpoleNURBS2D between_domain_knots(const QuickAlgebra::ERVec<ERPole2DH>& poles,
                                             int degree, std::span<const double> knots);

} // namespace velm
