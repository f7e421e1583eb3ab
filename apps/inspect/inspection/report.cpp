#include "inspect/inspection/report.h"

#include "inspect/inspection/archive_report.h"
#include "inspect/inspection/report_rows.h"
#include "inspect/keep/inspection_archive_reader.h"
#include "inspect/keep/section_record.h"
#include "inspect/keep/target_record.h"
#include "inspect/report/target_outputs.h"

namespace velm::inspect {
namespace {

// By the number of rows.
template <class Row, class Record, class Outputs>
ExitCode report_record(Record& record, Outputs& outputs, bool quiet) {
    return report_rows<Row>(record, outputs, quiet, [&](Progress& progress, std::uint64_t count) {
        progress.update(count, count, record.count());
    });
}

ExitCode report_section(StoreReader& reader, const StoredInspection& inspection,
                        const ReportOptions& options) {
    SectionRecord record(reader, inspection);
    SectionOutputs outputs(record.head(), record.outline(), options.paths);
    return report_record<SectionRow>(record, outputs, options.paths.quiet);
}

ExitCode report_targets(StoreReader& reader, const StoredInspection& inspection,
                        const ReportOptions& options) {
    const SectionPaths& paths = options.paths;
    if (paths.svg)
        inspection.refuse(reader, "is of targets, whose picture is in the page (--html)");
    TargetRecord record(reader, inspection);
    TargetOutputs outputs(record.head(), {paths.json, paths.csv, paths.html, paths.quiet});
    return report_record<TargetRow>(record, outputs, paths.quiet);
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
