#include "inspect/inspection/reported_kinds.h"

#include "inspect/report/fit_outputs.h"
#include "inspect/report/section_outputs.h"
#include "inspect/report/target_outputs.h"
#include "velm/inspection/kept_fit.h"

namespace velm::inspect {
namespace {

// The outputs of each kind of inspection.
SectionOutputs outputs_of(const SectionRecordReader& reader, const OutputPaths& paths) {
    return {reader.head(), reader.outline(), paths};
}
SectionOutputs outputs_of(const SectionArchiveReader& reader, const OutputPaths& paths) {
    return {reader.head(), reader.outline(), paths};
}
FitOutputs outputs_of(const FitRecordReader& reader, const OutputPaths& paths) {
    return {reader.head(), paths};
}
FitOutputs outputs_of(const FitArchiveReader& reader, const OutputPaths& paths) {
    return {reader.head(), paths};
}
template <class Reader>
TargetOutputs outputs_of(const Reader& reader, const OutputPaths& paths) {
    return {reader.head(), paths};
}

// Passes on all rows of a reader; whether they are in tolerance. `update` shows the progress after
// that many rows.
template <class Reader, class Update>
bool report_rows(Reader& reader, const OutputPaths& paths, Progress& progress, Update update) {
    auto outputs = outputs_of(reader, paths);
    typename Reader::Row row;
    for (std::uint64_t count = 1; reader.next(row); ++count) {
        outputs.add(row);
        update(progress, count);
    }
    progress.clear();
    outputs.finish();
    return outputs.is_in_tolerance();
}

template <class Reader>
bool report_record(InspectionRecords& file, const StoredInspection& inspection,
                   const OutputPaths& paths, Progress& shown) {
    Reader reader(file, inspection);
    return report_rows(reader, paths, shown, [&](Progress& progress, std::uint64_t count) {
        progress.update(count, count, reader.count());
    });
}

template <class Reader>
bool report_document(InspectionArchiveReader& document, const OutputPaths& paths, Progress& shown) {
    Reader reader(document);
    return report_rows(reader, paths, shown, [&](Progress& progress, std::uint64_t count) {
        progress.update(count, document.bytes_read(), document.size());
    });
}

} // namespace

std::span<const ReportedKind> reported_kinds() {
    static constexpr ReportedKind kinds[] = {
        {"section", section_kind, ArchivedKind::section, report_record<SectionRecordReader>,
         report_document<SectionArchiveReader>},
        {"targets", targets_kind, ArchivedKind::targets, report_record<TargetRecordReader>,
         report_document<TargetArchiveReader>},
        {"fit", fit_kind, ArchivedKind::fit, report_record<FitRecordReader>,
         report_document<FitArchiveReader>},
    };
    return kinds;
}

} // namespace velm::inspect
