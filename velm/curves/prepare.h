// velm::prepare: the prepared curve of an entity.
//
//     ERArc2D arc({0, 0}, 2.0, 0.0, 1.5);
//     const std::optional<velm::PreparedCurve<2>> curve = velm::prepare(arc);
//     if (curve) std::cout << curve->nearest({1.0, 1.0}).distance;
//
// Segments, arcs, circles, ellipses and elliptical arcs become exact rational pieces of at most a
// quarter turn, with the entity's parameter: [0, 1] on a segment, the angle on arcs (on elliptical
// ones the eccentric angle), [0, 2 pi] on whole circles and ellipses. An arc that runs clockwise
// becomes the same points in the order of rising angles, as its PtCur and getBound have them. A
// NURBS curve becomes the Bezier pieces of its spans, cut to its limits, with its parameter; any
// other curve those of its ConvertToNurbs.
//
// The prepared curve keeps nothing of the entity. Nothing comes back for an entity that isn't
// finite or has no length of parameter, and for degrees above PreparedCurve<2>::max_degree.
#pragma once

#include "velm/curves/prepared_curve.h"
#include "velm/fwd.h"

#include <optional>

namespace velm {

VELM_API std::optional<PreparedCurve<2>> prepare(const ERFiniteEntity2DWF& curve);
VELM_API std::optional<PreparedCurve<3>> prepare(const ERFiniteEntity3DWF& curve);

VELM_API std::optional<PreparedCurve<2>> prepare(const ERArc2D& arc);
VELM_API std::optional<PreparedCurve<3>> prepare(const ERArc3D& arc);
VELM_API std::optional<PreparedCurve<2>> prepare(const ERArcEllipse2D& arc);
VELM_API std::optional<PreparedCurve<3>> prepare(const ERArcEllipse3D& arc);

VELM_API std::optional<PreparedCurve<2>> prepare(const ERCircle2D& circle);
VELM_API std::optional<PreparedCurve<3>> prepare(const ERCircle3D& circle);
VELM_API std::optional<PreparedCurve<2>> prepare(const EREllipse2D& ellipse);
VELM_API std::optional<PreparedCurve<3>> prepare(const EREllipse3D& ellipse);

} // namespace velm
