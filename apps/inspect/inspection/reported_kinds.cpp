#include "inspect/inspection/reported_kinds.h"

#include "inspect/report/fit_outputs.h"
#include "inspect/report/section_outputs.h"
#include "inspect/report/surface_outputs.h"
#include "inspect/report/target_outputs.h"
#include "velm/inspection/kept_fit.h"

#include <type_traits>

namespace velm::inspect {
namespace {

// The outputs of each kind of inspection, whether its reader is that of records or of an archive.
template <class Reader>
auto outputs_of(const Reader& reader, const OutputPaths& paths) {
    using Row = typename Reader::Row;
    if constexpr (std::is_same_v<Row, SectionRow>)
        return SectionOutputs(reader.head(), reader.outline(), paths);
    else if constexpr (std::is_same_v<Row, SurfaceRow>)
        return SurfaceOutputs(reader.head(), reader.mesh(), paths);
    else if constexpr (std::is_same_v<Row, FitRow>)
        return FitOutputs(reader.head(), paths);
    else
        return TargetOutputs(reader.head(), paths);
}

// Refuses outputs that a kind doesn't have.
template <class Row>
void require_outputs(const OutputPaths& paths) {
    constexpr bool is_of_surfaces = std::is_same_v<Row, SurfaceRow>;
    if (is_of_surfaces && paths.svg) throw OutputFault::no_picture;
    if (!is_of_surfaces && (paths.ply || paths.vtp)) throw OutputFault::no_points;
}

// Passes on all rows of a reader; whether they are in tolerance. `update` shows the progress after
// that many rows.
template <class Reader, class Update>
bool report_rows(Reader& reader, const OutputPaths& paths, Progress& progress, Update update) {
    require_outputs<typename Reader::Row>(paths);
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
        {"surface", surfaces_kind, ArchivedKind::surface, report_record<SurfaceRecordReader>,
         report_document<SurfaceArchiveReader>},
    };
    return kinds;
}

} // namespace velm::inspect
