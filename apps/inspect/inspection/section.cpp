#include "inspect/inspection/section.h"

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
    return head;
}

} // namespace

bool inspect_section(const SectionOptions& options) {
    TextSource nominal(options.nominal);
    const NominalOutline outline =
        read_outline(nominal, options.form, options.chain_tolerance, options.drawing);
    for (const std::string& note : outline.notes)
        warn_user(options.nominal + ": " + note);
    const Profile profile(outline);
    const ProbingOptions probing{options.measured, options.diameter, options.frame,
                                 options.max_height, !options.paths.quiet};
    SectionPoints points(probing, profile);
    SectionHead head = head_of(options, outline);
    std::vector<SectionRow> aligned;
    if (options.align) {
        aligned = read_all(points);
        head.alignment = align_section(aligned, profile, points.name());
    }

    SectionOutputs outputs(head, outline, options.paths);
    std::optional<KeptRecords<SectionRecordWriter>> store;
    if (options.paths.store)
        store.emplace(outputs.set(), *options.paths.store, options.paths.sync, head, outline);
    std::optional<KeptArchive<SectionArchiveWriter>> archive;
    if (options.paths.archive)
        archive.emplace(outputs.set(), *options.paths.archive, head, outline);
    const auto take = [&](SectionRow& row) {
        judge(row, options.tolerance);
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
    if (store) store->finish(outputs.summary());
    if (archive) archive->finish(outputs.summary());
    outputs.finish();
    points.warn_of_repeated_ids();
    return outputs.summary().out_of_tolerance == 0;
}

} // namespace velm::inspect
