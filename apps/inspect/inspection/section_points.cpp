#include "inspect/inspection/section_points.h"

#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"

#include <cmath>

namespace velm::inspect {
namespace {

constexpr std::uint64_t most_named = 20;
constexpr const char* too_far = "the point is too far from the outline to be compared";

} // namespace

bool compare(SectionRow& row, const Profile& profile) {
    if (!profile.is_comparable(row.placed())) return false;
    row.comparison = profile.compare(row.placed());
    row.deviation = row.comparison.distance - row.diameter / 2.0;
    return std::fabs(row.deviation) <= largest_deviation;
}

SectionPoints::SectionPoints(const ProbingOptions& options, const Profile& profile)
    : options_(options), profile_(profile), source_(options.measured), reader_(source_),
      progress_(options.shows_progress) {
    if (options.frame && !reader_.has_z())
        source_.refuse(
            "expected a header with the columns id, x, y and z, for points in the machine's "
            "coordinates; missing: z");
}

bool SectionPoints::next(SectionRow& row) {
    if (!reader_.next(point_)) {
        finish();
        return false;
    }
    row = SectionRow();
    row.id = point_.id;
    row.index = count_++;
    row.diameter = point_.diameter.value_or(options_.diameter);
    place(row);
    if (!compare(row, profile_)) source_.refuse_at(point_.line, too_far);
    repeated_.add(point_.id, point_.line);
    note_height(row);
    progress_.update(count_, source_.bytes_read(), source_.size());
    return true;
}

// Maps a point into the section's frame, if any.
void SectionPoints::place(SectionRow& row) const {
    row.measured = ERPoint2D(point_.x, point_.y);
    if (!options_.frame) return;
    if (!point_.z)
        source_.refuse_at(point_.line,
                          "column z: expected a number, found nothing; a point in the machine's "
                          "coordinates has three of them");
    const ERPoint3D measured(point_.x, point_.y, *point_.z);
    const ERPoint3D placed = options_.frame->to_section(measured);
    if (!std::isfinite(placed.x() + placed.y() + placed.z()))
        source_.refuse_at(point_.line, too_far);
    row.measured = ERPoint2D(placed.x(), placed.y());
    row.space = SpacePoint{measured, placed.z()};
}

void SectionPoints::note_height(const SectionRow& row) {
    if (!options_.max_height || !row.space || std::fabs(row.space->height) <= *options_.max_height)
        return;
    if (stray_count_++ >= most_named) return;
    stray_names_ += (stray_names_.empty() ? "'" : ", '") + clipped(row.id, 40) + "' (line " +
                    std::to_string(point_.line) + ", height " +
                    fixed(row.space->height, decimals_for(row.space->height, 4)) + ")";
}

void SectionPoints::finish() {
    progress_.clear();
    if (stray_count_ > most_named)
        stray_names_ += " and " + std::to_string(stray_count_ - most_named) + " more";
    if (stray_count_ > 0)
        source_.refuse_whole(
            (stray_count_ == 1 ? "a point is" : std::to_string(stray_count_) + " points are") +
            std::string(" more than ") + shortest(*options_.max_height) +
            " off the plane of the section: " + stray_names_);
    if (count_ == 0)
        source_.refuse_whole("no rows after the header; expected at least one measured point");
}

} // namespace velm::inspect
