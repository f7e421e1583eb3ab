#include "inspect/targets.h"

#include <memory>
#include <vector>

#include "inspect/number_text.h"
#include "inspect/output_set.h"
#include "inspect/progress.h"
#include "inspect/repeated_ids.h"
#include "inspect/target_alignment.h"
#include "inspect/target_reader.h"
#include "inspect/target_reports.h"

namespace velm::inspect {
namespace {

// What was read of a table.
struct ReadTable {
    std::vector<TargetRow> rows;
    RepeatedIds repeated;
    BadRows bad;
};

ReadTable read_table(const TargetOptions& options, TextSource& source) {
    TargetReader reader(source);
    ReadTable table;
    Progress progress(!options.quiet);
    while (reader.next()) {
        try {
            table.rows.push_back(reader.row(static_cast<int>(table.rows.size()) + 1));
            table.repeated.add(table.rows.back().id, reader.line());
        } catch (const RowFault& fault) {
            table.bad.add(reader, fault);
        }
        progress.update(table.rows.size(), source.bytes_read(), source.size());
    }
    progress.clear();
    if (table.bad.count() > 0 && !options.skip_bad)
        throw Failure(ExitCode::input, table.bad.sentence(source.name()));
    if (table.rows.empty())
        source.refuse_whole(table.bad.count() > 0
                                ? "no row can be used; expected at least one measured point"
                                : "no rows behind the header; expected at least one measured "
                                  "point");
    return table;
}

// The outputs of one run; those not asked for stay null.
struct Reports {
    OutputSet outputs;
    std::unique_ptr<TargetJson> json;
    std::unique_ptr<TargetCsv> csv;
    Output* html = nullptr;
    bool shows_table = true;

    Reports(const TargetOptions& options, const std::optional<AppliedAlignment>& alignment)
        : shows_table(!options.quiet) {
        const auto prepare = [&](const std::optional<std::string>& path) -> Output* {
            if (path == "-") shows_table = false;
            return path ? &outputs.add(*path) : nullptr;
        };
        Output* const json_file = prepare(options.json);
        Output* const csv_file = prepare(options.csv);
        html = prepare(options.html);
        if (json_file != nullptr)
            json = std::make_unique<TargetJson>(*json_file, options.table, options.tolerance,
                                                alignment);
        if (csv_file != nullptr) csv = std::make_unique<TargetCsv>(*csv_file);
    }
};

} // namespace

ExitCode inspect_targets(const TargetOptions& options) {
    TextSource source(options.table);
    ReadTable table = read_table(options, source);
    std::optional<AppliedAlignment> alignment;
    if (options.align) alignment = align_targets(table.rows, source.name());
    Reports reports(options, alignment);
    KeptRows<TargetRow> kept;
    Summary summary;
    summary.tolerance = options.tolerance;
    for (TargetRow& row : table.rows) {
        judge(row, options.tolerance);
        summary.add(row);
        kept.add(row);
        if (reports.json) reports.json->add(row);
        if (reports.csv) reports.csv->add(row);
    }
    if (reports.json)
        reports.json->finish(summary,
                             options.skip_bad ? std::optional(table.bad.count()) : std::nullopt);
    if (reports.html != nullptr)
        reports.html->write(
            target_page(table.rows, summary, source.name(), alignment, table.bad.count()));
    if (reports.shows_table)
        reports.outputs.add("-").write(target_table(
            kept, summary, source.name() + ", each point against its nominal", alignment));
    reports.outputs.commit();
    if (table.bad.count() > 0) warn_user("skipped: " + table.bad.sentence(source.name()));
    table.repeated.warn(source.name());
    return summary.out_of_tolerance > 0 ? ExitCode::out_of_tolerance : ExitCode::good;
}

} // namespace velm::inspect
