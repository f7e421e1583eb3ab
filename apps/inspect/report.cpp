#include "inspect/report.h"

#include "inspect/archive_report.h"
#include "inspect/inspection_archive_reader.h"
#include "inspect/progress.h"
#include "inspect/section_record.h"
#include "inspect/target_outputs.h"
#include "inspect/target_record.h"

namespace velm::inspect {
namespace {

ExitCode report_section(StoreReader& reader, const StoredInspection& inspection,
                        const ReportOptions& options) {
    SectionRecord record(reader, inspection);
    SectionOutputs outputs(record.head(), record.outline(), options.paths);
    Progress progress(!options.paths.quiet);
    SectionRow row;
    while (record.next(row)) {
        outputs.add(row);
        progress.update(row.index + 1, row.index + 1, record.count());
    }
    progress.clear();
    outputs.finish();
    return outputs.summary().out_of_tolerance > 0 ? ExitCode::out_of_tolerance : ExitCode::good;
}

ExitCode report_targets(StoreReader& reader, const StoredInspection& inspection,
                        const ReportOptions& options) {
    if (options.paths.svg)
        inspection.refuse(reader, "is of targets, whose picture is in the page (--html)");
    TargetRecord record(reader, inspection);
    TargetOutputs outputs(record.head(), {options.paths.json, options.paths.csv, options.paths.html,
                                          options.paths.quiet});
    Progress progress(!options.paths.quiet);
    TargetRow row;
    for (std::uint64_t count = 1; record.next(row); ++count) {
        outputs.add(row);
        progress.update(count, count, record.count());
    }
    progress.clear();
    outputs.finish();
    return outputs.summary().out_of_tolerance > 0 ? ExitCode::out_of_tolerance : ExitCode::good;
}

// Each kind of inspection has a reader of its own.
struct KindOfReport {
    const char* kind;
    ExitCode (*report)(StoreReader&, const StoredInspection&, const ReportOptions&);
};
constexpr KindOfReport kinds[] = {{section_kind, report_section}, {targets_kind, report_targets}};

std::string numbered(const StoredInspection& inspection) {
    return std::to_string(inspection.number) + " (" + inspection.title() + ")";
}

const StoredInspection& choose(const StoreReader& reader, const std::vector<StoredInspection>& all,
                               const ReportOptions& options) {
    if (all.empty()) throw Failure(ExitCode::input, reader.path() + ": holds no inspection");
    const std::string holds = reader.path() + ": holds " + std::to_string(all.size()) +
                              (all.size() == 1 ? " inspection" : " inspections");
    if (options.number) {
        if (*options.number > all.back().number)
            throw Failure(ExitCode::input,
                          holds + ", no number " + std::to_string(*options.number));
        return all[static_cast<std::size_t>(*options.number - 1)];
    }
    if (all.size() > 1)
        warn_user(holds + ", of which this is the last, " + numbered(all.back()) +
                  "; --record N reports another, velm-inspect store " + reader.path() +
                  " lists them");
    return all.back();
}

} // namespace

ExitCode report_stored(const ReportOptions& options) {
    if (is_inspection_archive(options.store)) return report_archived(options);
    StoreReader reader(options.store);
    const std::vector<StoredInspection> all = list_inspections(reader);
    const StoredInspection& chosen = choose(reader, all, options);
    const std::string kind = chosen.fields(reader).kind();
    for (const KindOfReport& known : kinds)
        if (kind == known.kind) return known.report(reader, chosen, options);
    chosen.refuse(reader, "is of a kind that has no report");
}

} // namespace velm::inspect
