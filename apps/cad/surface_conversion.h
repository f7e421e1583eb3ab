// convert_surface: the surface of a face as one of the library's, exactly.
#pragma once

#include "cad/curve_conversion.h"

#include "velm/frame/interval.h"
#include "velm/frame/point.h"
#include "velm/surfaces/any_bounded_surface.h"

#include <Geom_Surface.hxx>

#include <optional>
#include <string>

namespace velm::cad {

/// Where a parameter pair of the file's surface is on the library's: exchanged or not, then scaled
/// and moved; where a conic became a spline, what becomes u has that one's parameter first.
struct ParameterMap {
    bool exchanged = false;
    std::optional<ConicParameter> conic;
    double scale_u = 1.0, shift_u = 0.0; ///< of the library's u
    double scale_v = 1.0, shift_v = 0.0;

    ERPoint2D operator()(double u, double v) const {
        if (exchanged) return {scale_u * along_u(v) + shift_u, scale_v * u + shift_v};
        return {scale_u * along_u(u) + shift_u, scale_v * v + shift_v};
    }
    /// The derivative of a curve's mapped point, of the curve's own.
    ERPoint2D derivative(double u, double v, double du, double dv) const {
        const double bent = conic ? conic->derivative(exchanged ? v : u) : 1.0;
        if (exchanged) return {scale_u * bent * dv, scale_v * du};
        return {scale_u * bent * du, scale_v * dv};
    }

private:
    double along_u(double t) const { return conic ? (*conic)(t) : t; }
};

struct ConvertedSurface {
    t_SmartPtr<ERAnyBoundedSurface> surface; ///< null: `why` says why
    ParameterMap map;
    std::string why;
};

/// A rectangle of the file's parameters, which may pass the seam of a periodic surface.
struct ParameterRange {
    double u_first = 0.0, u_last = 0.0, v_first = 0.0, v_last = 0.0;
};

/// Plane, cylinder, cone, sphere and torus become the bounded ones, left-handed placements too;
/// an extrusion of a circle along its axis is a cylinder; revolutions and offsets become their
/// kinds; all other extrusions, Bezier and B-spline surfaces become NURBS surfaces. Exact, except
/// where the curve of an extrusion or revolution is not one that a spline or conic can be (see
/// convert_curve). The limits hold the range.
ConvertedSurface convert_surface(const Handle(Geom_Surface) & surface, const ParameterRange& range);

} // namespace velm::cad
