// polyline_reader.h: files of open polylines: `Polylines`, `read_polylines`.
#pragma once

#include <vector>

#include "inspect/input/text_source.h"
#include "velm/planar/contour.h"

namespace velm::inspect {

struct Polylines {
    std::vector<Polygon> lines; ///< each of at least two points, at least two of them different
};

/// Reads polylines: a point a line, two numbers parted by blanks, tabs or commas; a blank line
/// parts polylines; `#` starts a comment; one line of another kind may stand in front. Throws
/// `Failure`: (input) with the file, the line and what was expected, (file) on read errors.
Polylines read_polylines(TextSource& source);

} // namespace velm::inspect
