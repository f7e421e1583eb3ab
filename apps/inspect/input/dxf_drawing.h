// dxf_drawing.h: a drawing interchange file (DXF) as pieces of curves in the plane: `Drawing`,
// `read_dxf`.
#pragma once

#include "inspect/input/drawn_curves.h"
#include "inspect/input/text_source.h"

#include <cstddef>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace velm::inspect {

struct DrawnPiece {
    std::variant<DrawnSegment, DrawnArc, DrawnSpline> shape;
    std::string layer;
    std::size_t line = 0; ///< the start of its entity in the file
};

/// Entities of one type that are no pieces of the outline, and why.
struct LeftOut {
    std::string type;
    std::string why;
    std::size_t count = 0;
    std::size_t first_line = 0;
};

struct Drawing {
    /// In the order of the file, blocks inserted. In millimetres if the unit is known.
    std::vector<DrawnPiece> pieces;
    std::vector<LeftOut> left_out;
    std::vector<std::string> layers; ///< of all pieces in the file, chosen or not; sorted
    /// The unit that the header gives, "" for none, and its length in millimetres.
    std::string unit;
    double millimetres = 1.0;
};

struct DxfOptions {
    std::vector<std::string> layers;   ///< those to read; empty: all
    std::optional<double> millimetres; ///< of the drawing's unit, in place of the header's
};

/// The length of a unit by its name ("mm", "inch", ...); nothing for an unknown name.
std::optional<double> millimetres_of_unit(std::string_view name);

/// Whether the text begins like a DXF file: with the group 0, SECTION, or with a comment, group
/// 999, alone on its line.
bool starts_like_dxf(std::string_view text);

/// Reads LINE, ARC, CIRCLE, ELLIPSE, LWPOLYLINE and POLYLINE with bulges, SPLINE, and INSERT of
/// blocks with scale, rotation, rows and columns, nested up to 16 deep. Everything else, and
/// entities off the drawing plane or on paper, are counted in `left_out`.
///
/// Throws `Failure` (input) with the line, the group and what was expected.
Drawing read_dxf(TextSource& source, const DxfOptions& options = {});

} // namespace velm::inspect
