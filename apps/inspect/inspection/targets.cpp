#include "inspect/inspection/targets.h"

#include "inspect/base/progress.h"
#include "inspect/base/repeated_ids.h"
#include "inspect/input/target_reader.h"
#include "inspect/inspection/alignment.h"
#include "inspect/keep/archive_file.h"
#include "inspect/keep/store_writer.h"

#include <vector>

namespace velm::inspect {
namespace {

// The contents of a table.
struct ReadTable {
    std::vector<TargetRow> rows;
    RepeatedIds repeated;
    BadRows bad;
};

ReadTable read_table(const TargetOptions& options, TextSource& source) {
    TargetReader reader(source);
    ReadTable table;
    Progress progress(!options.paths.quiet);
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
                                : "no rows after the header; expected at least one measured "
                                  "point");
    return table;
}

} // namespace

bool inspect_targets(const TargetOptions& options) {
    TextSource source(options.table);
    ReadTable table = read_table(options, source);
    TargetHead head{options.table, options.tolerance, std::nullopt, std::nullopt};
    if (options.align) head.alignment = align_targets(table.rows, source.name());
    if (options.skip_bad) head.skipped = table.bad.count();
    TargetOutputs outputs(head, options.paths);
    std::optional<KeptRecords<TargetRecordWriter>> store;
    if (options.paths.store)
        store.emplace(outputs.set(), *options.paths.store, options.paths.sync, head);
    std::optional<KeptArchive<TargetArchiveWriter>> archive;
    if (options.paths.archive) archive.emplace(outputs.set(), *options.paths.archive, head);
    for (TargetRow& row : table.rows) {
        judge(row, options.tolerance);
        outputs.add(row);
        if (store) store->add(row);
        if (archive) archive->add(row);
    }
    if (store) store->finish(outputs.summary());
    if (archive) archive->finish(outputs.summary());
    outputs.finish();
    if (table.bad.count() > 0) warn_user("skipped: " + table.bad.sentence(source.name()));
    table.repeated.warn(source.name());
    return outputs.summary().out_of_tolerance == 0;
}

} // namespace velm::inspect
