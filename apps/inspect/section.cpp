#include "inspect/section.h"

#include <cmath>

#include "inspect/measured_reader.h"
#include "inspect/number_text.h"
#include "inspect/outline_reader.h"
#include "inspect/progress.h"
#include "inspect/repeated_ids.h"
#include "inspect/section_store.h"
#include "inspect/text_escape.h"

namespace velm::inspect {
namespace {

// Points too far off the plane of the section: all are counted, the first ones named.
class StrayPoints {
public:
    explicit StrayPoints(std::optional<double> max_height) : max_height_(max_height) {}
    void add(const SectionRow& row, std::size_t line) {
        if (!max_height_ || !row.space || std::fabs(row.space->height) <= *max_height_) return;
        if (count_++ >= most_named) return;
        names_ += (names_.empty() ? "'" : ", '") + clipped(row.id, 40) + "' (line " +
                  std::to_string(line) + ", height " +
                  fixed(row.space->height, decimals_for(row.space->height, 4)) + ")";
    }
    void refuse(const TextSource& source) const {
        if (count_ == 0) return;
        source.refuse_whole(
            (count_ == 1 ? "a point lies" : std::to_string(count_) + " points lie") +
            std::string(" more than ") + shortest(*max_height_) +
            " off the plane of the section: " + names_ +
            (count_ > most_named ? " and " + std::to_string(count_ - most_named) + " more" : ""));
    }

private:
    static constexpr std::uint64_t most_named = 20;
    std::optional<double> max_height_;
    std::uint64_t count_ = 0;
    std::string names_;
};

// Brings a point into the section's frame, where there is one.
void place(SectionRow& row, const MeasuredPoint& point, const std::optional<SectionFrame>& frame,
           const TextSource& source) {
    row.measured = ERPoint2D(point.x, point.y);
    if (!frame) return;
    if (!point.z)
        source.refuse_at(point.line,
                         "column z: expected a number, found nothing; --frame needs all three "
                         "coordinates");
    const ERPoint3D measured(point.x, point.y, *point.z);
    const ERPoint3D placed = frame->to_section(measured);
    if (!std::isfinite(placed.x() + placed.y() + placed.z()))
        source.refuse_at(point.line, "the point lies too far from the outline to be compared");
    row.measured = ERPoint2D(placed.x(), placed.y());
    row.space = SpacePoint{measured, placed.z()};
}

// Compares one point; refuses what leaves the range of doubles.
SectionRow compare(const Profile& profile, const MeasuredPoint& point,
                   const SectionOptions& options, const TextSource& source) {
    SectionRow row;
    row.id = point.id;
    place(row, point, options.frame, source);
    if (profile.is_comparable(row.measured)) row.comparison = profile.compare(row.measured);
    row.diameter = point.diameter.value_or(options.diameter);
    row.deviation = row.comparison.distance - row.diameter / 2.0;
    if (!profile.is_comparable(row.measured) || !(std::fabs(row.deviation) <= largest_deviation))
        source.refuse_at(point.line, "the point lies too far from the outline to be compared");
    judge(row, options.tolerance);
    return row;
}

} // namespace

ExitCode inspect_section(const SectionOptions& options) {
    TextSource nominal(options.nominal);
    const Outline outline = read_outline(nominal, options.form, options.chain_tolerance);
    const Profile profile(outline);
    TextSource measured(options.measured);
    MeasuredReader reader(measured);
    if (options.frame && !reader.has_z())
        measured.refuse("expected a header with the columns id, x, y and z, which --frame needs; "
                        "missing: z");

    const SectionHead head{options.nominal, options.measured,   options.tolerance,
                           options.frame,   options.max_height, {}};
    SectionOutputs outputs(head, outline, options.paths);
    std::optional<SectionStore> store;
    if (options.store) store.emplace(outputs.set(), *options.store, outline, head);
    RepeatedIds repeated;
    StrayPoints strays(options.max_height);
    Progress progress(!options.paths.quiet);
    MeasuredPoint point;
    std::uint64_t count = 0;
    while (reader.next(point)) {
        SectionRow row = compare(profile, point, options, measured);
        row.index = count++;
        repeated.add(point.id, point.line);
        strays.add(row, point.line);
        outputs.add(row);
        if (store) store->add(row);
        progress.update(count, measured.bytes_read(), measured.size());
    }
    progress.clear();
    strays.refuse(measured);
    if (count == 0)
        measured.refuse_whole("no rows behind the header; expected at least one measured point");

    if (store) store->finish(outputs.summary());
    outputs.finish();
    repeated.warn(measured.name());
    return outputs.summary().out_of_tolerance > 0 ? ExitCode::out_of_tolerance : ExitCode::good;
}

} // namespace velm::inspect
