// section_reports.h: the reports of a section that programs read, written row by row:
// `SectionJson`, `SectionCsv`.
#pragma once

#include <string>

#include "inspect/base/output_set.h"
#include "velm/inspection/section_result.h"

namespace velm::inspect {

/// {"velm":...,"command":"section",...,"points":[...],"summary":{...}}: ids are strings, doubles
/// read back exactly, what a tolerance decides is null without one. The form is fixed.
///
/// With a frame, which then stands in front of the points, `measured` has the three numbers of the
/// machine and each point its `height`; `foot` has the two of the section.
///
/// Where the points were aligned, the motion stands in front of them (see `append_alignment`), each
/// has its moved place in the section as `aligned`, and its `deviation_before`; `measured` stays.
class SectionJson {
public:
    SectionJson(Output& output, const SectionHead& head);
    void add(const SectionRow& row);
    void finish(const Summary& summary);

private:
    Output& output_;
    bool ascii_; // a terminal gets no byte that could steer it
    std::string text_;
    bool first_ = true;
};

/// A header and the same rows: id, measured_x, measured_y, with a frame measured_z and height,
/// foot_x, foot_y, contour, distance, deviation, in_tolerance (true, false or empty), where the
/// points were aligned aligned_x, aligned_y, deviation_before, and place at the end.
class SectionCsv {
public:
    SectionCsv(Output& output, const SectionHead& head);
    void add(const SectionRow& row);

private:
    Output& output_;
    bool on_terminal_;
    std::string text_;
};

} // namespace velm::inspect
