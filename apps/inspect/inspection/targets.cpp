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

// The rows of a table, one at a time; those that can't be used are counted.
class TargetRows {
public:
    TargetRows(const TargetOptions& options, TextSource& source, Progress& progress)
        : options_(options), source_(source), reader_(source, options.table_options),
          progress_(progress) {}

    bool next(TargetRow& row) {
        while (reader_.next()) {
            progress_.update(count_, source_.bytes_read(), source_.size());
            try {
                row = reader_.row(static_cast<int>(count_) + 1, options_.tolerance);
                repeated_.add(row.part, row.id, reader_.line());
                ++count_;
                return true;
            } catch (const RowFault& fault) {
                bad_.add(reader_, fault);
            }
        }
        finish();
        return false;
    }
    const CsvRecords& records() const { return reader_.records(); }
    std::uint64_t skipped() const { return bad_.count(); }
    // About all rows, at the end.
    std::vector<InspectionNote> notes() const {
        std::vector<InspectionNote> notes;
        for (std::string& note : table_notes(records(), source_.name()))
            notes.emplace_back(std::move(note));
        if (bad_.count() > 0) notes.emplace_back("skipped: " + bad_.sentence(source_.name()));
        if (std::string repeated = repeated_.sentence(source_.name()); !repeated.empty())
            notes.emplace_back(std::move(repeated));
        return notes;
    }

private:
    void finish() {
        progress_.clear();
        if (bad_.count() > 0 && !options_.skip_bad)
            throw Failure(FailureKind::input, bad_.sentence(source_.name()));
        if (count_ == 0)
            source_.refuse_whole(bad_.count() > 0
                                     ? "no row can be used; expected at least one measured point"
                                     : "no rows after the header; expected at least one measured "
                                       "point");
    }

    const TargetOptions& options_;
    TextSource& source_;
    TargetReader reader_;
    Progress& progress_;
    RepeatedIds repeated_;
    BadRows bad_;
    std::uint64_t count_ = 0;
};

} // namespace

InspectionEnd inspect_targets(const TargetOptions& options, Progress& progress) {
    TextSource source(options.table);
    TargetRows rows(options, source, progress);
    // Where the head follows from all rows, they are read before it.
    const bool reads_ahead = options.align || options.skip_bad;
    std::vector<TargetRow> read;
    TargetRow row;
    while (reads_ahead && rows.next(row))
        read.push_back(row);
    TargetHead head;
    describe_columns(rows.records(), head);
    head.table = options.table;
    head.tolerance = options.tolerance;
    head.info = options.info;
    fill_in_date(head.info, options.table);
    head.decimals = options.decimals;
    if (options.align) head.alignment = align_targets(read, source.name());
    if (options.skip_bad) head.skipped = rows.skipped();

    TargetOutputs outputs(head, options.paths);
    std::optional<RecordFileWriter<TargetRecordWriter>> store;
    if (options.paths.store)
        store.emplace(outputs.set(), *options.paths.store, options.paths.sync, head);
    std::optional<ArchiveFileWriter<TargetArchiveWriter>> archive;
    if (options.paths.archive) archive.emplace(outputs.set(), *options.paths.archive, head);
    const auto take = [&](TargetRow& one) {
        judge(one, head);
        outputs.add(one);
        if (store) store->add(one);
        if (archive) archive->add(one);
    };
    for (TargetRow& one : read)
        take(one);
    while (!reads_ahead && rows.next(row))
        take(row);
    if (store) store->finish(outputs.summary());
    if (archive) archive->finish(outputs.summary());
    outputs.finish();
    return {outputs.is_in_tolerance(), rows.notes(),
            !options.align && may_be_misplaced(outputs.summary())};
}

} // namespace velm::inspect
