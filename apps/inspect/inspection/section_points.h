// section_points.h: `SectionPoints`, the measured points of a section, compared with its outline.
#pragma once

#include "inspect/base/progress.h"
#include "inspect/base/repeated_ids.h"
#include "inspect/input/measured_reader.h"
#include "inspect/inspection/inspection_end.h"
#include "velm/inspection/section_frame.h"
#include "velm/inspection/section_result.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace velm::inspect {

/// The file of the measured points, and how it is read.
struct ProbingOptions {
    std::string measured;               ///< the name of the file
    double diameter = 0.0;              ///< of the ball if the file has none
    std::optional<SectionFrame> frame;  ///< without one, x and y are the section's own
    std::optional<double> max_height;   ///< how far off the frame's plane a point may lie
    std::optional<Tolerance> tolerance; ///< completes limits that rows give in part
    TableOptions table;
    double max_angle = 60.0;       ///< degrees, of a direction and an outward normal
    bool turns_directions = false; ///< they point into the material
};

/// Compares a row's placed point with the place that its direction says; false if it is too far
/// from the outline for that. A point without a place is unassigned, and compared with the nearest.
bool compare(SectionRow& row, const Profile& profile, double max_angle);

/// Why the points can't be compared.
enum class SectionFault {
    reversed_directions, ///< more than half belong to the outline the other way round
    none_assigned,       ///< no point belongs to a place
    out_of_plane,        ///< points to be aligned spread across the plane of the outline
};
struct SectionRefusal {
    SectionFault fault;
    std::string measured;               ///< the name of the file
    double lowest = 0.0, highest = 0.0; ///< z of points out of the plane
    bool turned_directions = false;     ///< i, j, k were said to point into the material
};

/// Reads the rows of a section's measured points one by one, maps them into the section's frame, if
/// any, and compares them. Throws `Failure` (input), and at the end `SectionRefusal`.
class SectionPoints {
public:
    /// The options and the profile must outlive this.
    SectionPoints(const ProbingOptions& options, const Profile& profile, Progress& progress);

    /// The next point, compared but not judged. After the last one false, if there are points and
    /// none is too far off the plane of the section.
    bool next(SectionRow& row);
    const std::string& name() const { return source_.name(); }
    const CsvRecords& records() const { return reader_.records(); }
    bool has_directions() const { return reader_.has(Column::i) || reader_.has(Column::j); }
    /// How far z spreads where there is no frame to use it.
    bool ignores_height() const { return !options_.frame && lowest_ < highest_; }
    double lowest() const { return lowest_; }
    double highest() const { return highest_; }
    /// About all points, at the end.
    std::vector<InspectionNote> notes() const;

private:
    void place(SectionRow& row) const;
    void set_direction(SectionRow& row) const;
    void note_assignment(const SectionRow& row);
    void note_height(const SectionRow& row);
    void finish();

    const ProbingOptions& options_;
    const Profile& profile_;
    TextSource source_;
    MeasuredReader reader_;
    MeasuredPoint point_; // the one read last
    std::uint64_t count_ = 0;
    RepeatedIds repeated_;
    Progress& progress_;
    std::uint64_t stray_count_ = 0; // points too far off the plane of the section
    std::string stray_names_;       // of the first ones
    std::uint64_t directed_ = 0, reversed_ = 0, unassigned_ = 0;
    double lowest_ = std::numeric_limits<double>::infinity(), highest_ = -lowest_; // z
};

} // namespace velm::inspect
