#include "inspect/inspection/report.h"

#include "inspect/base/progress.h"
#include "inspect/keep/archive_file.h"
#include "inspect/keep/store_reader.h"
#include "inspect/report/target_outputs.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace velm::inspect {
namespace {

// The outputs of each kind of inspection.
SectionOutputs outputs_of(const SectionRecordReader& reader, const OutputPaths& paths) {
    return {reader.head(), reader.outline(), paths};
}
SectionOutputs outputs_of(const SectionArchiveReader& reader, const OutputPaths& paths) {
    return {reader.head(), reader.outline(), paths};
}
template <class Reader>
TargetOutputs outputs_of(const Reader& reader, const OutputPaths& paths) {
    return {reader.head(), paths};
}

// Passes on all rows of a reader; whether they are in tolerance. `update` shows the progress after
// that many rows.
template <class Reader, class Update>
bool report_rows(Reader& reader, const OutputPaths& paths, Update update) {
    auto outputs = outputs_of(reader, paths);
    Progress progress(!paths.quiet);
    typename Reader::Row row;
    for (std::uint64_t count = 1; reader.next(row); ++count) {
        outputs.add(row);
        update(progress, count);
    }
    progress.clear();
    outputs.finish();
    return outputs.summary().out_of_tolerance == 0;
}

template <class Reader>
bool report_record(InspectionRecords& file, const StoredInspection& inspection,
                   const OutputPaths& paths) {
    Reader reader(file, inspection);
    return report_rows(reader, paths, [&](Progress& progress, std::uint64_t count) {
        progress.update(count, count, reader.count());
    });
}

template <class Reader>
bool report_document(InspectionArchiveReader& document, const OutputPaths& paths) {
    Reader reader(document);
    return report_rows(reader, paths, [&](Progress& progress, std::uint64_t count) {
        progress.update(count, document.bytes_read(), document.size());
    });
}

// A kind of inspection that is kept: its name in an object file and its number in an archive, with
// the readers of both.
struct ReportedKind {
    std::string_view stored;
    ArchivedKind archived;
    bool has_svg;
    bool (*report_record)(InspectionRecords&, const StoredInspection&, const OutputPaths&);
    bool (*report_document)(InspectionArchiveReader&, const OutputPaths&);
};

constexpr ReportedKind kinds[] = {
    {section_kind, ArchivedKind::section, true, report_record<SectionRecordReader>,
     report_document<SectionArchiveReader>},
    {targets_kind, ArchivedKind::targets, false, report_record<TargetRecordReader>,
     report_document<TargetArchiveReader>},
};

constexpr const char* no_svg = "is of targets, whose picture is part of the HTML page";

const StoredInspection& choose(const std::vector<StoredInspection>& all,
                               const ReportOptions& options) {
    if (all.empty()) throw Failure(ExitCode::input, options.store + ": holds no inspection");
    const std::string holds = options.store + ": holds " + std::to_string(all.size()) +
                              (all.size() == 1 ? " inspection" : " inspections");
    if (options.number) {
        if (*options.number > all.back().number)
            throw Failure(ExitCode::input,
                          holds + ", no number " + std::to_string(*options.number));
        return all[static_cast<std::size_t>(*options.number - 1)];
    }
    return all.back();
}

bool report_archived(const ReportOptions& options) {
    if (options.number.value_or(1) != 1)
        throw Failure(ExitCode::input, options.store + ": holds 1 inspection, no number " +
                                           std::to_string(*options.number));
    return with_archive(options.store, [&] {
        CFile file(options.store.c_str(), UINT(CFile::modeRead) | CFile::shareDenyWrite);
        InspectionArchiveReader document(file);
        const auto kind =
            std::find_if(std::begin(kinds), std::end(kinds), [&](const ReportedKind& known) {
                return known.archived == document.kind();
            });
        if (!kind->has_svg && options.paths.svg)
            throw Failure(ExitCode::input, options.store + ": " + no_svg);
        return kind->report_document(document, options.paths);
    });
}

} // namespace

ReportResult report_stored(const ReportOptions& options) {
    if (is_archive_file(options.store)) return {report_archived(options), 1, {}};
    const std::unique_ptr<InspectionRecords> file = open_records(options.store);
    return with_records(options.store, [&]() -> ReportResult {
        const std::vector<StoredInspection> all = file->inspections();
        const StoredInspection& chosen = choose(all, options);
        const std::string stored = chosen.kind();
        for (const ReportedKind& kind : kinds) {
            if (kind.stored != stored) continue;
            if (!kind.has_svg && options.paths.svg) chosen.refuse(no_svg);
            return {kind.report_record(*file, chosen, options.paths), all.size(),
                    std::to_string(chosen.number) + " (" + chosen.title() + ")"};
        }
        chosen.refuse("is of a kind that has no report");
    });
}

} // namespace velm::inspect
