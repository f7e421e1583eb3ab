#include "inspect/inspection/archive_report.h"

#include "inspect/inspection/report_rows.h"
#include "inspect/keep/inspection_archive_reader.h"
#include "inspect/keep/section_archive.h"
#include "inspect/keep/target_archive.h"
#include "inspect/report/target_outputs.h"

namespace velm::inspect {
namespace {

// By the bytes of the file.
template <class Row, class Reader, class Outputs>
ExitCode report_document(Reader& reader, Outputs& outputs, const InspectionArchiveReader& document,
                         bool quiet) {
    return report_rows<Row>(reader, outputs, quiet, [&](Progress& progress, std::uint64_t count) {
        progress.update(count, document.bytes_read(), document.size());
    });
}

ExitCode report_section(InspectionArchiveReader& document, const SectionPaths& paths) {
    SectionArchiveReader reader(document);
    SectionOutputs outputs(reader.head(), reader.outline(), paths);
    return report_document<SectionRow>(reader, outputs, document, paths.quiet);
}

ExitCode report_targets(InspectionArchiveReader& document, const ReportOptions& options) {
    const SectionPaths& paths = options.paths;
    if (paths.svg)
        throw Failure(ExitCode::input,
                      options.store + ": is of targets, whose picture is in the page (--html)");
    TargetArchiveReader reader(document);
    TargetOutputs outputs(reader.head(), {paths.json, paths.csv, paths.html, paths.quiet});
    return report_document<TargetRow>(reader, outputs, document, paths.quiet);
}

} // namespace

ExitCode report_archived(const ReportOptions& options) {
    if (options.number.value_or(1) != 1)
        throw Failure(ExitCode::input, options.store + ": holds 1 inspection, no number " +
                                           std::to_string(*options.number));
    return with_archive(options.store, [&] {
        CFile file(options.store.c_str(), UINT(CFile::modeRead) | CFile::shareDenyWrite);
        InspectionArchiveReader document(file);
        return document.kind() == ArchivedKind::section ? report_section(document, options.paths)
                                                        : report_targets(document, options);
    });
}

} // namespace velm::inspect
