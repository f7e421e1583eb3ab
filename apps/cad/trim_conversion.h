// convert_trim: a curve in the parameters of a surface as one of the library's, exactly.
#pragma once

#include "cad/surface_conversion.h"

#include "velm/frame/finite_entity.h"

#include <Geom2d_Curve.hxx>

namespace velm::cad {

/// The part over [first, last], mapped: a segment, or a NURBS curve.
t_SmartPtr<ERFiniteEntity2DWF> convert_trim(const Handle(Geom2d_Curve) & curve, double first,
                                            double last, const ParameterMap& map);

} // namespace velm::cad
