#include "inspect/inspection/section_points.h"

#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace velm::inspect {
namespace {

constexpr std::uint64_t most_named = 20;
constexpr const char* too_far = "the point is too far from the outline to be compared";

} // namespace

bool compare(SectionRow& row, const Profile& profile, double max_angle) {
    if (!profile.is_comparable(row.placed())) return false;
    std::optional<OutlineComparison> found;
    if (row.direction)
        found = profile.compare(row.placed(), *row.direction,
                                std::cos(max_angle * std::numbers::pi / 180.0));
    row.is_assigned = !row.direction || found.has_value();
    row.comparison = found ? *found : profile.compare(row.placed());
    if (!row.is_assigned) row.comparison.place = OutlinePlace::unassigned;
    row.deviation = row.comparison.distance - row.diameter / 2.0;
    return std::fabs(row.deviation) <= largest_deviation;
}

SectionPoints::SectionPoints(const ProbingOptions& options, const Profile& profile,
                             Progress& progress)
    : options_(options), profile_(profile), source_(options.measured),
      reader_(source_, options.table, true), progress_(progress) {
    if (options.frame && !reader_.has(Column::z))
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
    row.feature = point_.feature;
    row.part = point_.part;
    try {
        row.limits = row_limits(point_.lower, point_.upper, options_.tolerance);
    } catch (const RowFault& fault) {
        source_.refuse_at(point_.line, fault.what());
    }
    place(row);
    set_direction(row);
    if (!compare(row, profile_, options_.max_angle)) source_.refuse_at(point_.line, too_far);
    repeated_.add(point_.part, point_.id, point_.line);
    note_height(row);
    note_assignment(row);
    progress_.update(count_, source_.bytes_read(), source_.size());
    return true;
}

// The part of the direction in the section. Without a third component it lies in the plane.
void SectionPoints::set_direction(SectionRow& row) const {
    const auto& [i, j, k] = point_.approach;
    ERVector3D direction(i.value_or(0.0), j.value_or(0.0), k.value_or(0.0));
    const double length = std::hypot(direction.i(), direction.j(), direction.k());
    if (!(length > 0.0) || !std::isfinite(length)) return;
    if (options_.frame) {
        const ERPoint3D origin = options_.frame->origin();
        const ERPoint3D tip = options_.frame->to_section(origin + direction * (1.0 / length));
        direction = ERVector3D(tip.x(), tip.y(), tip.z()) * length;
    }
    const double sense = (options_.turns_directions ? -1.0 : 1.0) / length;
    row.direction = ERVector2D(direction.i() * sense, direction.j() * sense);
}

// A direction the other way round leads to a place that isn't there, or, on a closed outline, to
// the far wall: what makes a place `nearer` is far beyond any deviation that is still measured
// against the right wall of a thin part.
void SectionPoints::note_assignment(const SectionRow& row) {
    constexpr double nearer = 10.0;
    if (!row.direction) return;
    ++directed_;
    if (!row.is_assigned) ++unassigned_;
    SectionRow turned = row;
    turned.direction = ERVector2D(-row.direction->i(), -row.direction->j());
    if (row.is_assigned && std::fabs(row.comparison.distance) <= row.diameter) return;
    if (!compare(turned, profile_, options_.max_angle) || !turned.is_assigned) return;
    if (!row.is_assigned ||
        std::fabs(row.comparison.distance) >
            nearer * (std::fabs(turned.comparison.distance) + row.diameter / 2.0))
        ++reversed_;
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
    if (point_.z) {
        lowest_ = std::min(lowest_, *point_.z);
        highest_ = std::max(highest_, *point_.z);
    }
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
    if (2 * reversed_ > count_)
        throw SectionRefusal{SectionFault::reversed_directions, name(), 0.0, 0.0,
                             options_.turns_directions};
    if (unassigned_ == count_) throw SectionRefusal{SectionFault::none_assigned, name()};
}

std::vector<InspectionNote> SectionPoints::notes() const {
    std::vector<InspectionNote> notes;
    for (std::string& note : table_notes(records(), name()))
        notes.emplace_back(std::move(note));
    if (unassigned_ > 0)
        notes.emplace_back(
            UnassignedPoints{name(), unassigned_, "outline", std::nullopt, options_.max_angle});
    if (std::string repeated = repeated_.sentence(name()); !repeated.empty())
        notes.emplace_back(std::move(repeated));
    return notes;
}

} // namespace velm::inspect
