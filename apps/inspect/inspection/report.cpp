#include "inspect/inspection/report.h"

#include "inspect/inspection/reported_kinds.h"
#include "inspect/keep/archive_file.h"
#include "inspect/keep/store_reader.h"

#include <algorithm>

namespace velm::inspect {
namespace {

const StoredInspection& choose(const std::vector<StoredInspection>& all,
                               const ReportOptions& options) {
    if (all.empty()) throw Failure(FailureKind::input, options.store + ": holds no inspection");
    const std::string holds = options.store + ": holds " + std::to_string(all.size()) +
                              (all.size() == 1 ? " inspection" : " inspections");
    if (options.number) {
        if (*options.number > all.back().number)
            throw Failure(FailureKind::input,
                          holds + ", no number " + std::to_string(*options.number));
        return all[static_cast<std::size_t>(*options.number - 1)];
    }
    return all.back();
}

bool report_archived(const ReportOptions& options, Progress& progress) {
    if (options.number.value_or(1) != 1)
        throw Failure(FailureKind::input, options.store + ": holds 1 inspection, no number " +
                                              std::to_string(*options.number));
    return read_archive(options.store, [&] {
        CFile file(options.store.c_str(), UINT(CFile::modeRead) | CFile::shareDenyWrite);
        InspectionArchiveReader document(file);
        const auto kinds = reported_kinds();
        const auto kind = std::find_if(kinds.begin(), kinds.end(), [&](const ReportedKind& known) {
            return known.archived == document.kind();
        });
        return kind->report_document(document, options.paths, progress);
    });
}

} // namespace

ReportResult report_stored(const ReportOptions& options, Progress& progress) {
    if (is_archive_file(options.store)) return {report_archived(options, progress), 1, {}};
    const std::unique_ptr<InspectionRecords> file = open_records(options.store);
    return read_records(options.store, [&]() -> ReportResult {
        const std::vector<StoredInspection> all = file->inspections();
        const StoredInspection& chosen = choose(all, options);
        const std::string stored = chosen.kind();
        for (const ReportedKind& kind : reported_kinds()) {
            if (kind.stored != stored) continue;
            return {kind.report_record(*file, chosen, options.paths, progress), all.size(),
                    std::to_string(chosen.number) + " (" + chosen.title() + ")"};
        }
        chosen.refuse("is of a kind that has no report");
    });
}

} // namespace velm::inspect
