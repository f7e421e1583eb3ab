#include "inspect/keep/target_archive.h"

#include "inspect/keep/archive_forms.h"

namespace velm::inspect {

TargetArchive::TargetArchive(OutputSet& outputs, const std::string& path, const TargetHead& head)
    : archive_(outputs, path, ArchivedKind::targets), head_(head) {
    archive_.put_head([&](CArchive& archive) { exchange(archive, head_); });
}

void TargetArchive::add(const TargetRow& row) {
    TargetRow stored = row;
    archive_.put_point(row, [&](CArchive& archive) { exchange_row(archive, stored, head_); });
}

TargetArchiveReader::TargetArchiveReader(InspectionArchiveReader& document) : document_(document) {
    exchange(document_.archive(), head_);
}

bool TargetArchiveReader::next(TargetRow& row) {
    if (!document_.next()) return false;
    row = TargetRow();
    exchange_row(document_.archive(), row, head_);
    judge(row, head_.tolerance);
    document_.take(row);
    return true;
}

} // namespace velm::inspect
