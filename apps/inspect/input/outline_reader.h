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
    /// One sentence each about the conversion of a drawing's unit and the entities left out.
    std::vector<std::string> notes;
};

/// The default distance up to which ends of loose pieces belong together.
inline constexpr double default_chain_tolerance = 0.001;

/// Reads a nominal outline: one vertex per line, two numbers separated by blanks, tabs or commas;
/// or lines and arcs, a letter and its numbers per line (outline_commands.h); or loose pieces, four
/// numbers per line (outline_pieces.h); or a drawing (DXF, dxf_drawing.h). `#` starts a comment;
/// the first line before the data that is no data is the title. Lines and arcs, and loose pieces,
/// are recognised by the first line of data, a drawing by its first group.
///
/// The counts line of an airfoil file is recognised as the first data line with two whole counts
/// whose sum is the number of the following vertices. Its two runs are joined at their common end
/// (the nearer one if they share none), the upper run reversed if necessary.
///
/// `drawing.millimetres` is the length of the file's unit in any form of file; without it the
/// header of a drawing decides, and other numbers are unchanged.
///
/// The contours' order and sense have no meaning: a contour in an even number of others is an outer
/// one (outline_nesting.h).
///
/// Throws `Failure`: (input) with the file, the line and what was expected, (file) on read errors.
NominalOutline read_outline(TextSource& source, OutlineForm form = OutlineForm::automatic,
                            double chain_tolerance = default_chain_tolerance,
                            const DxfOptions& drawing = {});

} // namespace velm::inspect
