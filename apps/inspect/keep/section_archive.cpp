#include "inspect/keep/section_archive.h"

#include "inspect/keep/archive_forms.h"
#include "inspect/result/section_target.h"

namespace velm::inspect {
namespace {

bool is_edge(const Outline& outline, const OutlineComparison& found) {
    return static_cast<std::size_t>(found.contour) < outline.contours.size() &&
           found.edge < outline.contours[static_cast<std::size_t>(found.contour)].size();
}

} // namespace

SectionArchive::SectionArchive(OutputSet& outputs, const std::string& path, const Outline& outline,
                               const SectionHead& head)
    : archive_(outputs, path, ArchivedKind::section), head_(head) {
    Outline stored = outline;
    archive_.put_head([&](CArchive& archive) {
        exchange(archive, head_);
        exchange_outline(archive, stored, head_);
    });
}

void SectionArchive::add(const SectionRow& row) {
    SectionRow stored = row;
    gmTargetPoint target = section_target(row, head_.frame);
    archive_.put_point(row,
                       [&](CArchive& archive) { exchange_row(archive, stored, target, head_); });
}

SectionArchiveReader::SectionArchiveReader(InspectionArchiveReader& document)
    : document_(document) {
    exchange(document_.archive(), head_);
    exchange_outline(document_.archive(), outline_, head_);
}

bool SectionArchiveReader::next(SectionRow& row) {
    if (!document_.next()) return false;
    row = SectionRow();
    row.index = count_++;
    gmTargetPoint target;
    exchange_row(document_.archive(), row, target, head_);
    if (!is_edge(outline_, row.comparison)) document_.archive().raise(CArchiveException::badIndex);
    judge(row, head_.tolerance);
    document_.take(row);
    return true;
}

} // namespace velm::inspect
