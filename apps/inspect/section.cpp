#include "inspect/section.h"

#include <cmath>
#include <memory>

#include "inspect/measured_reader.h"
#include "inspect/number_text.h"
#include "inspect/outline_reader.h"
#include "inspect/output_set.h"
#include "inspect/progress.h"
#include "inspect/repeated_ids.h"
#include "inspect/section_picture.h"
#include "inspect/section_reports.h"
#include "inspect/section_store.h"
#include "inspect/section_table.h"
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
    row.deviation = row.comparison.distance - point.diameter.value_or(options.diameter) / 2.0;
    constexpr double largest_deviation = 1e150; // whose square is a double
    if (!profile.is_comparable(row.measured) || !(std::fabs(row.deviation) <= largest_deviation))
        source.refuse_at(point.line, "the point lies too far from the outline to be compared");
    row.severity = std::fabs(row.deviation);
    if (options.tolerance) {
        row.severity = std::fabs(row.deviation - options.tolerance->middle());
        row.in_tolerance = options.tolerance->contains(row.deviation);
    }
    return row;
}

// The outputs of one run; those not asked for stay null.
struct Reports {
    OutputSet outputs;
    std::unique_ptr<SectionJson> json;
    std::unique_ptr<SectionCsv> csv;
    std::unique_ptr<SectionStore> store;
    Output* svg = nullptr;
    bool shows_table = true;

    Reports(const SectionOptions& options, const Outline& outline) : shows_table(!options.quiet) {
        const auto prepare = [&](const std::optional<std::string>& path) -> Output* {
            if (path == "-") shows_table = false;
            return path ? &outputs.add(*path) : nullptr;
        };
        Output* const json_file = prepare(options.json);
        Output* const csv_file = prepare(options.csv);
        svg = prepare(options.svg);
        if (json_file != nullptr)
            json = std::make_unique<SectionJson>(*json_file, options.nominal, options.measured,
                                                 options.tolerance, options.frame);
        if (csv_file != nullptr)
            csv = std::make_unique<SectionCsv>(*csv_file, options.frame.has_value());
        if (options.store)
            store = std::make_unique<SectionStore>(
                outputs, *options.store, outline, options.nominal, options.measured,
                options.tolerance, options.frame, options.max_height);
    }
};

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

    Reports reports(options, outline);
    KeptRows<SectionRow> rows;
    SectionPicture picture(outline, options.tolerance);
    Summary summary;
    summary.tolerance = options.tolerance;
    RepeatedIds repeated;
    StrayPoints strays(options.max_height);
    Progress progress(!options.quiet);
    MeasuredPoint point;
    while (reader.next(point)) {
        SectionRow row = compare(profile, point, options, measured);
        row.index = summary.deviations.count();
        repeated.add(point.id, point.line);
        strays.add(row, point.line);
        summary.add(row);
        rows.add(row);
        if (reports.json) reports.json->add(row);
        if (reports.csv) reports.csv->add(row);
        if (reports.store) reports.store->add(row);
        if (reports.svg != nullptr) picture.add(row);
        progress.update(row.index + 1, measured.bytes_read(), measured.size());
    }
    progress.clear();
    strays.refuse(measured);
    if (summary.deviations.count() == 0)
        measured.refuse_whole("no rows behind the header; expected at least one measured point");

    if (reports.json) reports.json->finish(summary);
    if (reports.store) reports.store->finish(summary);
    if (reports.svg != nullptr)
        reports.svg->write(picture.svg(summary, rows.worst(), options.nominal, options.measured));
    if (reports.shows_table)
        reports.outputs.add("-").write(
            section_table(rows, summary, options.measured + " against " + options.nominal));
    reports.outputs.commit();
    repeated.warn(measured.name());
    return summary.out_of_tolerance > 0 ? ExitCode::out_of_tolerance : ExitCode::good;
}

} // namespace velm::inspect
