// section.h: the inspection of a section: `SectionOptions`, `inspect_section`.
#pragma once

#include "inspect/base/failure.h"
#include "inspect/base/progress.h"
#include "inspect/input/outline_reader.h"
#include "inspect/inspection/inspection_end.h"
#include "inspect/inspection/section_points.h"
#include "inspect/report/section_outputs.h"
#include "velm/inspection/section_frame.h"

#include <optional>
#include <string>

namespace velm::inspect {

struct SectionOptions {
    std::string nominal;
    std::string measured;
    std::optional<Tolerance> tolerance;
    double diameter = 0.0;             ///< of the ball if the measured file has none
    std::optional<SectionFrame> frame; ///< without one, x and y are the section's own
    std::optional<double> max_height;  ///< how far off the frame's plane a point may lie
    OutputPaths paths;
    TableOptions table;            ///< how the measured file is read
    double max_angle = 60.0;       ///< degrees, of a point's direction and its place's normal
    bool turns_directions = false; ///< i, j, k point into the material
    std::vector<NamedText> info;
    std::optional<int> decimals;
    bool align = false; ///< points are first moved onto the outline by the best fit
    OutlineForm form = OutlineForm::automatic;
    DxfOptions drawing;                               ///< layers, and the unit of NOMINAL
    double chain_tolerance = default_chain_tolerance; ///< of loose pieces
};

/// Compares the measured points with the nominal outline, row by row, and writes the table, the
/// summary and the reports wanted. All outputs appear together at the end or not at all. Memory
/// doesn't grow with the number of points, except for the set of ids and the points that the
/// picture shows one by one; an alignment keeps all rows. Returns
/// what it found. Throws `Failure`, `SectionRefusal`.
InspectionEnd inspect_section(const SectionOptions& options, Progress& progress);

} // namespace velm::inspect
