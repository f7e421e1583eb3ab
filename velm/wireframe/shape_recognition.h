// CreateRectangle2D, CreateRectangle3D, CreateRectangleFrom2Segments, CreateRegularPolygon2D,
// CreateRegularPolygon3D: closed shapes recognised in points. BuildSlot: the end arcs of a slot.
//
//     ERRectangle2D plate;
//     int found;
//     CreateRectangle2D({{0, 0}, {40, 0}, {40, 20}, {0, 20}}, plate, found, 1);
//     if (found) report(plate.length(), plate.width());
//
// A shape is recognised if each point is within velm::recognition_tolerance times the diagonal of
// the points' box of its vertex. What comes out is the shape that fits the points by least squares
// (in space in the plane through their mean), its first vertex at the first point. A last point
// that repeats the first within the tolerance is the closing one. Points that aren't finite are no
// shape.
//
// Each returns 1 and sets `found` to 1, or returns and sets 0 and leaves the shape unchanged.
#pragma once

#include "velm/export.h"
#include "velm/frame/point.h"
#include "velm/frame/vec.h"
#include "velm/fwd.h"

namespace velm {

/// A millionth: coarse for coordinates that went through single precision or six digits of a text,
/// fine for a shape that is really another one.
inline constexpr double recognition_tolerance = 1e-6;

} // namespace velm

/// Four corners, in either sense. With `ordered` other than 0 they are in order around the
/// rectangle; with 0 in any order, and then the outline runs counter-clockwise from the first. The
/// sides have a length above the tolerance.
VELM_API int CreateRectangle2D(const ERVec<ERPoint2D>& points, ERRectangle2D& rectangle, int& found,
                               int ordered);
/// The same in space. In any order the outline runs counter-clockwise about the frame's z axis.
VELM_API int CreateRectangle3D(const ERVec<ERPoint3D>& points, ERRectangle3D& rectangle, int& found,
                               int ordered);
/// Two opposite sides, each in either sense; edge 0 is the first. Returns 1, or 0 with the
/// rectangle unchanged.
VELM_API int CreateRectangleFrom2Segments(const ERSegment3D& first, const ERSegment3D& second,
                                          ERRectangle3D& rectangle);

/// Three and more vertices in order, in either sense; the polygon keeps it.
VELM_API int CreateRegularPolygon2D(const ERVec<ERPoint2D>& points, ERRegularPolygon2D& polygon,
                                    int& found);
/// The same in space; the polygon is counter-clockwise about the frame's z axis.
VELM_API int CreateRegularPolygon3D(const ERVec<ERPoint3D>& points, ERRegularPolygon3D& polygon,
                                    int& found);

/// The two end arcs of the slot around two circles, counter-clockwise: from where the common
/// tangents on either side touch the first circle, around its far side, and the same on the second;
/// half circles for equal radii. Returns 1, or 0 with the arcs unchanged if one circle is inside
/// the other.
VELM_API int BuildSlot(const ERCircle2D& first, const ERCircle2D& second, ERArc2D& start,
                       ERArc2D& end);
/// The same for the circles' centers projected on a plane, with the arcs in it, counter-clockwise
/// about its normal. Defined in surfaces/slot_in_plane.cpp.
VELM_API int BuildSlot(const ERPlane& plane, const ERCircle3D& first, const ERCircle3D& second,
                       ERArc3D& start, ERArc3D& end);
