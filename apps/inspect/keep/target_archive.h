// target_archive.h: the inspection of targets as a document in an archive: `TargetArchive`,
// `TargetArchiveReader`.
#pragma once

#include <string>

#include "inspect/keep/inspection_archive.h"
#include "inspect/keep/inspection_archive_reader.h"
#include "velm/inspection/target_result.h"

namespace velm::inspect {

/// Writes the input and the targets as they are judged. Throws `Failure`.
class TargetArchive {
public:
    TargetArchive(OutputSet& outputs, const std::string& path, const TargetHead& head);

    void add(const TargetRow& row);
    void finish(const Summary& summary) { archive_.finish(summary); }

private:
    InspectionArchive archive_;
    TargetHead head_;
};

/// Gives back what was written, but for the numbers of the measured points beyond 65,535, which the
/// archive form cuts. Throws as `InspectionArchiveReader` does.
class TargetArchiveReader {
public:
    /// A document of this kind, which must outlive the reader.
    explicit TargetArchiveReader(InspectionArchiveReader& document);

    const TargetHead& head() const { return head_; }
    /// The next target; false behind the last.
    bool next(TargetRow& row);

private:
    InspectionArchiveReader& document_;
    TargetHead head_;
};

} // namespace velm::inspect
