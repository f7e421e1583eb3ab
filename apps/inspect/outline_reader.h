// outline_reader.h: plain outline files and airfoil coordinate files: `Outline`, `read_outline`.
#pragma once

#include <string>
#include <vector>

#include "inspect/text_source.h"
#include "velm/frame/point.h"
#include "velm/frame/vec.h"

namespace velm::inspect {

using Polygon = QuickAlgebra::ERVec<ERPoint2D>;

/// How the lines of a nominal file make contours.
enum class OutlineForm {
    automatic, ///< `runs` where a line of two counts announces them, otherwise `contours`
    contours,  ///< a blank line between contours, the first outer, the others holes
    round,     ///< one run round the profile, blank lines without meaning
    runs,      ///< a line of two counts, then an upper and a lower run from the same end
};

struct Outline {
    std::string title; ///< the first line that is no data, empty without one
    OutlineForm form = OutlineForm::contours;
    /// Each with at least three vertices that are not on one line, no two neighbours equal, the
    /// closing vertex not repeated; turned as the file has them.
    std::vector<Polygon> contours;
};

/// Reads a nominal outline: a vertex a line, two numbers parted by blanks, tabs or commas; `#`
/// starts a comment; the first line before the vertices that is no data is the title.
///
/// The counts line of an airfoil file is recognised as the first data line holding two whole counts
/// whose sum is the number of the vertices that follow. Its two runs are joined at the end that
/// they share (the nearer one where they share none), the upper run turned round if need be.
///
/// Throws `Failure`: (input) with the file, the line and what was expected, (file) on read errors.
Outline read_outline(TextSource& source, OutlineForm form = OutlineForm::automatic);

} // namespace velm::inspect
