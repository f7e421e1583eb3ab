// polyline_reader.h: files of open polylines: `Polylines`, `read_polylines`.
#pragma once

#include "inspect/input/text_source.h"
#include "velm/planar/contour.h"

#include <vector>

namespace velm::inspect {

struct Polylines {
    std::vector<Polygon> lines; ///< each of at least two points, at least two of them different
};

/// Reads polylines: one point per line, two numbers separated by blanks, tabs or commas; a blank
/// line separates polylines; `#` starts a comment; one line of another kind may come first. Throws
/// `Failure`: (input) with the file, the line and what was expected, (file) on read errors.
Polylines read_polylines(TextSource& source);

} // namespace velm::inspect
