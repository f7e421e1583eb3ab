#include "inspect/inspection/targets.h"

#include "inspect/base/repeated_ids.h"
#include "inspect/input/file_date.h"
#include "inspect/input/measured_reader.h"
#include "inspect/input/target_reader.h"
#include "inspect/inspection/alignment.h"
#include "inspect/keep/archive_file.h"
#include "inspect/keep/store_writer.h"

#include <vector>

namespace velm::inspect {
namespace {

// The contents of a table.
struct ReadTable {
    TargetHead head;
    std::vector<TargetRow> rows;
    std::vector<std::string> notes;
    RepeatedIds repeated;
    BadRows bad;
};

ReadTable read_table(const TargetOptions& options, TextSource& source, Progress& progress) {
    TargetReader reader(source, options.table_options);
    ReadTable table;
    while (reader.next()) {
        try {
            table.rows.push_back(
                reader.row(static_cast<int>(table.rows.size()) + 1, options.tolerance));
            table.repeated.add(table.rows.back().part, table.rows.back().id, reader.line());
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
    describe_columns(reader.records(), table.head);
    table.notes = table_notes(reader.records(), source.name());
    return table;
}

} // namespace

InspectionEnd inspect_targets(const TargetOptions& options, Progress& progress) {
    TextSource source(options.table);
    ReadTable table = read_table(options, source, progress);
    TargetHead& head = table.head;
    head.table = options.table;
    head.tolerance = options.tolerance;
    head.info = options.info;
    fill_in_date(head.info, options.table);
    head.decimals = options.decimals;
    if (options.align) head.alignment = align_targets(table.rows, source.name());
    if (options.skip_bad) head.skipped = table.bad.count();
    TargetOutputs outputs(head, options.paths);
    std::optional<KeptRecords<TargetRecordWriter>> store;
    if (options.paths.store)
        store.emplace(outputs.set(), *options.paths.store, options.paths.sync, head);
    std::optional<KeptArchive<TargetArchiveWriter>> archive;
    if (options.paths.archive) archive.emplace(outputs.set(), *options.paths.archive, head);
    for (TargetRow& row : table.rows) {
        judge(row, head);
        outputs.add(row);
        if (store) store->add(row);
        if (archive) archive->add(row);
    }
    if (store) store->finish(outputs.summary());
    if (archive) archive->finish(outputs.summary());
    outputs.finish();
    InspectionEnd end{outputs.is_in_tolerance(), std::move(table.notes),
                      !options.align && may_be_misplaced(outputs.summary())};
    if (table.bad.count() > 0) end.notes.push_back("skipped: " + table.bad.sentence(source.name()));
    if (const std::string repeated = table.repeated.sentence(source.name()); !repeated.empty())
        end.notes.push_back(repeated);
    return end;
}

} // namespace velm::inspect
