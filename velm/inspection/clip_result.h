// ClipHead, ClipPiece, ClipFigures: the parts of polylines that lie in a region. They are reported,
// not kept.
#pragma once

#include "velm/inspection/field.h"
#include "velm/planar/contour.h"

#include <cstdint>
#include <string>

namespace velm {

/// What was clipped.
struct ClipHead {
    std::string region, polyline; ///< names of the files
};
template <>
VELM_API std::span<const Field> fields_of<ClipHead>();

/// A part of a polyline that lies in the region, borders included.
struct ClipPiece {
    using Head = ClipHead;

    int polyline = 0; ///< from 0, in the order of the file
    Polygon points;
    double length = 0.0;
};
template <>
VELM_API std::span<const Field> fields_of<ClipPiece>();

/// The figures over all pieces.
struct ClipFigures {
    std::uint64_t polylines = 0, pieces = 0;
    double length_inside = 0.0;
    double length = 0.0; ///< of all polylines
    /// How near the chords are to the arcs and curves that they replace; 0 if it has
    /// none.
    double chord_error = 0.0;
};
template <>
VELM_API std::span<const Field> fields_of<ClipFigures>();

} // namespace velm
