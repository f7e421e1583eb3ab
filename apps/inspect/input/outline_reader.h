// outline_reader.h: nominal files: `read_outline`.
#pragma once

#include "inspect/input/dxf_drawing.h"
#include "inspect/input/text_source.h"
#include "velm/inspection/section_result.h"
#include "velm/planar/contour.h"

#include <string>
#include <vector>

namespace velm::inspect {

/// An outline as a file describes it.
struct NominalOutline : Outline {
    std::string title; ///< the first line that is no data; may be empty
    OutlineForm form = OutlineForm::contours;
    /// One sentence each about what a drawing's unit became and what was left out of it.
    std::vector<std::string> notes;
};

/// How near the ends of loose pieces are that belong together, unless it is told.
inline constexpr double default_chain_tolerance = 0.001;

/// Reads a nominal outline: a vertex a line, two numbers parted by blanks, tabs or commas, or lines
/// and arcs, a letter and its numbers a line (outline_commands.h), or loose pieces, four numbers a
/// line (outline_pieces.h), or a drawing (DXF, dxf_drawing.h); `#` starts a comment; the first line
/// before the data that is none is the title. Lines and arcs, and loose pieces, are recognised by
/// the first line of data, a drawing by its first group.
///
/// The counts line of an airfoil file is recognised as the first data line holding two whole counts
/// whose sum is the number of the vertices that follow. Its two runs are joined at the end that
/// they share (the nearer one where they share none), the upper run turned round if need be.
///
/// `drawing.millimetres` is the length of the file's unit in any form of file; without it the
/// header of a drawing decides, and other numbers stay as they are.
///
/// The contours' order and turning have no meaning: what lies in an even number of others is an
/// outer one (outline_nesting.h).
///
/// Throws `Failure`: (input) with the file, the line and what was expected, (file) on read errors.
NominalOutline read_outline(TextSource& source, OutlineForm form = OutlineForm::automatic,
                            double chain_tolerance = default_chain_tolerance,
                            const DxfOptions& drawing = {});

} // namespace velm::inspect
