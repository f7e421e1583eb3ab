#include "inspect/inspection/section.h"

#include "inspect/input/file_date.h"
#include "inspect/input/outline_reader.h"
#include "inspect/inspection/alignment.h"
#include "inspect/inspection/section_points.h"
#include "inspect/keep/archive_file.h"
#include "inspect/keep/store_writer.h"

namespace velm::inspect {
namespace {

std::vector<SectionRow> read_all(SectionPoints& points) {
    std::vector<SectionRow> rows;
    SectionRow row;
    while (points.next(row))
        rows.push_back(row);
    return rows;
}

SectionHead head_of(const SectionOptions& options, const NominalOutline& outline) {
    SectionHead head;
    head.nominal = options.nominal;
    head.measured = options.measured;
    head.tolerance = options.tolerance;
    head.frame = options.frame;
    head.max_height = options.max_height;
    head.title = outline.title;
    head.form = outline.form;
    head.contours = static_cast<int>(outline.contours.size());
    head.edges = outline.edge_count();
    head.info = options.info;
    fill_in_date(head.info, options.measured);
    head.decimals = options.decimals;
    return head;
}

// Refuses points to be aligned that spread across the plane.
void require_flat(const SectionPoints& points, const SectionOptions& options) {
    if (points.ignores_height() && options.tolerance &&
        points.highest() - points.lowest() > options.tolerance->upper - options.tolerance->lower)
        throw SectionRefusal{SectionFault::out_of_plane, points.name(), points.lowest(),
                             points.highest()};
}

} // namespace

InspectionEnd inspect_section(const SectionOptions& options, Progress& progress) {
    TextSource nominal(options.nominal);
    const NominalOutline outline =
        read_outline(nominal, options.form, options.chain_tolerance, options.drawing);
    InspectionEnd end;
    for (const std::string& note : outline.notes)
        end.notes.emplace_back(options.nominal + ": " + note);
    const Profile profile(outline);
    const ProbingOptions probing{options.measured,   options.diameter,        options.frame,
                                 options.max_height, options.tolerance,       options.table,
                                 options.max_angle,  options.turns_directions};
    SectionPoints points(probing, profile, progress);
    SectionHead head = head_of(options, outline);
    describe_columns(points.records(), head);
    if (points.has_directions()) head.max_angle = options.max_angle;
    std::vector<SectionRow> aligned;
    if (options.align) {
        aligned = read_all(points);
        require_flat(points, options);
        head.alignment = align_section(aligned, profile, options.max_angle, points.name());
    }

    SectionOutputs outputs(head, outline, options.paths);
    std::optional<RecordFileWriter<SectionRecordWriter>> store;
    if (options.paths.store)
        store.emplace(outputs.set(), *options.paths.store, options.paths.sync, head, outline);
    std::optional<ArchiveFileWriter<SectionArchiveWriter>> archive;
    if (options.paths.archive)
        archive.emplace(outputs.set(), *options.paths.archive, head, outline);
    const auto take = [&](SectionRow& row) {
        judge(row, head);
        outputs.add(row);
        if (store) store->add(row);
        if (archive) archive->add(row);
    };
    SectionRow row;
    if (options.align) {
        for (SectionRow& each : aligned)
            take(each);
    } else {
        while (points.next(row))
            take(row);
    }
    if (points.ignores_height())
        end.notes.emplace_back(UnusedHeights{points.name(), points.lowest(), points.highest()});
    if (store) store->finish(outputs.summary());
    if (archive) archive->finish(outputs.summary());
    progress.clear();
    outputs.finish();
    for (InspectionNote& note : points.notes())
        end.notes.push_back(std::move(note));
    end.is_in_tolerance = outputs.is_in_tolerance();
    end.may_be_misplaced = !options.align && may_be_misplaced(outputs.summary());
    return end;
}

} // namespace velm::inspect
