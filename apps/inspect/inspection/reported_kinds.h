// reported_kinds.h: the registry of the kinds of inspections that are kept: `ReportedKind`,
// `reported_kinds`.
#pragma once

#include "inspect/base/output_paths.h"
#include "inspect/base/progress.h"
#include "velm/inspection/inspection_archive.h"
#include "velm/inspection/inspection_records.h"

#include <span>
#include <string_view>

namespace velm::inspect {

/// Why the outputs asked for can't be had: thrown by the functions of a kind.
enum class OutputFault {
    no_picture, ///< surfaces have none but those of their page
    no_points,  ///< points and triangles for other programs are of surfaces alone
};

/// One line a kind: its command, its names in an object file and in an archive, and what reads each
/// of these and reports it. These return whether everything is in tolerance.
struct ReportedKind {
    std::string_view command;
    std::string_view stored;
    ArchivedKind archived;
    bool (*report_record)(InspectionRecords&, const StoredInspection&, const OutputPaths&,
                          Progress&);
    bool (*report_document)(InspectionArchiveReader&, const OutputPaths&, Progress&);
};

std::span<const ReportedKind> reported_kinds();

} // namespace velm::inspect
