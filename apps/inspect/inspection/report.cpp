#include "inspect/inspection/report.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "inspect/base/progress.h"
#include "inspect/keep/archive_file.h"
#include "inspect/keep/section_record.h"
#include "inspect/keep/target_record.h"
#include "inspect/report/target_outputs.h"

namespace velm::inspect {
namespace {

// What each kind of inspection is read from, and what takes its rows.
struct SectionKind {
    using Row = SectionRow;
    using Record = SectionRecord;
    using Document = SectionArchiveReader;
    static constexpr const char* stored = section_kind;
    static constexpr ArchivedKind archived = ArchivedKind::section;
    static constexpr bool has_svg = true;
    template <class Reader>
    static SectionOutputs outputs(const Reader& reader, const OutputPaths& paths) {
        return {reader.head(), reader.outline(), paths};
    }
};

struct TargetKind {
    using Row = TargetRow;
    using Record = TargetRecord;
    using Document = TargetArchiveReader;
    static constexpr const char* stored = targets_kind;
    static constexpr ArchivedKind archived = ArchivedKind::targets;
    static constexpr bool has_svg = false;
    template <class Reader>
    static TargetOutputs outputs(const Reader& reader, const OutputPaths& paths) {
        return {reader.head(), paths};
    }
};

// Hands all rows of a reader on and ends as the run did. `update` shows the progress after so many
// rows.
template <class Kind, class Reader, class Update>
ExitCode report_rows(Reader& reader, const OutputPaths& paths, Update update) {
    auto outputs = Kind::outputs(reader, paths);
    Progress progress(!paths.quiet);
    typename Kind::Row row;
    for (std::uint64_t count = 1; reader.next(row); ++count) {
        outputs.add(row);
        update(progress, count);
    }
    progress.clear();
    outputs.finish();
    return outputs.summary().out_of_tolerance > 0 ? ExitCode::out_of_tolerance : ExitCode::good;
}

template <class Kind>
ExitCode report_record(StoreReader& reader, const StoredInspection& inspection,
                       const OutputPaths& paths) {
    typename Kind::Record record(reader, inspection);
    return report_rows<Kind>(record, paths, [&](Progress& progress, std::uint64_t count) {
        progress.update(count, count, record.count());
    });
}

template <class Kind>
ExitCode report_document(InspectionArchiveReader& document, const OutputPaths& paths) {
    typename Kind::Document reader(document);
    return report_rows<Kind>(reader, paths, [&](Progress& progress, std::uint64_t count) {
        progress.update(count, document.bytes_read(), document.size());
    });
}

struct ReportedKind {
    std::string_view stored;
    ArchivedKind archived;
    bool has_svg;
    ExitCode (*report_record)(StoreReader&, const StoredInspection&, const OutputPaths&);
    ExitCode (*report_document)(InspectionArchiveReader&, const OutputPaths&);
};

template <class Kind>
constexpr ReportedKind reported{Kind::stored, Kind::archived, Kind::has_svg, report_record<Kind>,
                                report_document<Kind>};
constexpr ReportedKind kinds[] = {reported<SectionKind>, reported<TargetKind>};

constexpr const char* no_svg = "is of targets, whose picture is in the page (--html)";

std::string numbered(const StoredInspection& inspection) {
    return std::to_string(inspection.number) + " (" + inspection.title() + ")";
}

const StoredInspection& choose(const StoreReader& reader, const std::vector<StoredInspection>& all,
                               const ReportOptions& options) {
    if (all.empty()) throw Failure(ExitCode::input, reader.path() + ": holds no inspection");
    const std::string holds = reader.path() + ": holds " + std::to_string(all.size()) +
                              (all.size() == 1 ? " inspection" : " inspections");
    if (options.number) {
        if (*options.number > all.back().number)
            throw Failure(ExitCode::input,
                          holds + ", no number " + std::to_string(*options.number));
        return all[static_cast<std::size_t>(*options.number - 1)];
    }
    if (all.size() > 1)
        warn_user(holds + ", of which this is the last, " + numbered(all.back()) +
                  "; --record N reports another, velm-inspect store " + reader.path() +
                  " lists them");
    return all.back();
}

ExitCode report_archived(const ReportOptions& options) {
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

ExitCode report_stored(const ReportOptions& options) {
    if (is_archive_file(options.store)) return report_archived(options);
    StoreReader reader(options.store);
    const std::vector<StoredInspection> all = list_inspections(reader);
    const StoredInspection& chosen = choose(reader, all, options);
    const std::string stored = chosen.fields(reader).kind();
    for (const ReportedKind& kind : kinds) {
        if (kind.stored != stored) continue;
        if (!kind.has_svg && options.paths.svg) chosen.refuse(reader, no_svg);
        return kind.report_record(reader, chosen, options.paths);
    }
    chosen.refuse(reader, "is of a kind that has no report");
}

} // namespace velm::inspect
