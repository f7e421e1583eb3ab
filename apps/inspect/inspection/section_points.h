// section_points.h: `SectionPoints`, the measured points of a section, compared with its outline.
#pragma once

#include "inspect/base/progress.h"
#include "inspect/base/repeated_ids.h"
#include "inspect/input/measured_reader.h"
#include "velm/inspection/section_frame.h"
#include "velm/inspection/section_result.h"

#include <cstdint>
#include <optional>
#include <string>

namespace velm::inspect {

/// The file of the measured points, and how it is read.
struct ProbingOptions {
    std::string measured;              ///< the name of the file
    double diameter = 0.0;             ///< of the ball if the file has none
    std::optional<SectionFrame> frame; ///< without one, x and y are the section's own
    std::optional<double> max_height;  ///< how far off the frame's plane a point may lie
    bool shows_progress = true;
};

/// Compares a row's placed point; false if it is too far from the outline for that.
bool compare(SectionRow& row, const Profile& profile);

/// Reads the rows of a section's measured points one by one, maps them into the section's frame, if
/// any, and compares them; shows the progress on stderr. Throws `Failure` (input).
class SectionPoints {
public:
    /// The options and the profile must outlive this.
    SectionPoints(const ProbingOptions& options, const Profile& profile);

    /// The next point, compared but not judged. After the last one false, if there are points and
    /// none is too far off the plane of the section.
    bool next(SectionRow& row);
    const std::string& name() const { return source_.name(); }
    /// On stderr, at the end.
    void warn_of_repeated_ids() const { repeated_.warn(name()); }

private:
    void place(SectionRow& row) const;
    void note_height(const SectionRow& row);
    void finish();

    const ProbingOptions& options_;
    const Profile& profile_;
    TextSource source_;
    MeasuredReader reader_;
    MeasuredPoint point_; // the one read last
    std::uint64_t count_ = 0;
    RepeatedIds repeated_;
    Progress progress_;
    std::uint64_t stray_count_ = 0; // points too far off the plane of the section
    std::string stray_names_;       // of the first ones
};

} // namespace velm::inspect
