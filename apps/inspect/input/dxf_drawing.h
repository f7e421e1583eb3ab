// dxf_drawing.h: a drawing interchange file (DXF) as pieces of curves in the plane: `Drawing`,
// `read_dxf`.
#pragma once

#include "inspect/input/text_source.h"
#include "velm/frame/point.h"
#include "velm/frame/vector.h"

#include <cstddef>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace velm::inspect {

struct DrawnSegment {
    ERPoint2D start, end;
};

/// An arc of a circle or an ellipse: centre + cos(t) u + sin(t) v, from t = `from` to t = `to`,
/// 0 < to - from <= 2 pi. u and v are conjugate half axes; on a circle they are orthogonal and of
/// one length, and the arc runs clockwise where u ^ v is negative.
struct DrawnArc {
    ERPoint2D centre;
    ERVector2D u, v;
    double from = 0.0, to = 0.0;
    ERPoint2D start, end; ///< as the file gives them, otherwise evaluated

    bool is_circular() const;
    bool is_closed() const;
};

/// A NURBS curve: as many knots as poles plus degree + 1, ascending, clamped or not.
struct DrawnSpline {
    int degree = 0;
    std::vector<double> knots;
    std::vector<ERPoint2D> poles;
    std::vector<double> weights; ///< positive; one a pole
};

struct DrawnPiece {
    std::variant<DrawnSegment, DrawnArc, DrawnSpline> shape;
    std::string layer;
    std::size_t line = 0; ///< where its entity starts in the file
};

/// Entities of one type that are no pieces of the outline, and why.
struct LeftOut {
    std::string type;
    std::string why;
    std::size_t count = 0;
    std::size_t first_line = 0;
};

struct Drawing {
    /// In the order of the file, blocks inserted. In millimetres where the unit is known.
    std::vector<DrawnPiece> pieces;
    std::vector<LeftOut> left_out;
    std::vector<std::string> layers; ///< of all pieces in the file, sorted; chosen or not
    /// The unit that the header gives, "" for none, and its length in millimetres.
    std::string unit;
    double millimetres = 1.0;
};

struct DxfOptions {
    std::vector<std::string> layers;   ///< those to read; empty: all
    std::optional<double> millimetres; ///< of the drawing's unit, in place of the header's
};

/// Whether the text begins as a DXF file does: a group code 0 or 999 on a line of its own.
bool starts_like_dxf(std::string_view first_line, std::string_view second_line);

/// Reads LINE, ARC, CIRCLE, ELLIPSE, LWPOLYLINE and POLYLINE with bulges, SPLINE, and INSERT of
/// blocks with scale, turn, rows and columns, nested up to 16 deep. Everything else, and what does
/// not lie in the drawing plane or is on paper, is counted in `left_out`.
///
/// Throws `Failure` (input) with the line, the group and what was expected.
Drawing read_dxf(TextSource& source, const DxfOptions& options = {});

} // namespace velm::inspect
