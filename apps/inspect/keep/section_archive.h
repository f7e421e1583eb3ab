// section_archive.h: the inspection of a section as a document in an archive: `SectionArchive`,
// `SectionArchiveReader`.
#pragma once

#include <string>

#include "inspect/keep/inspection_archive.h"
#include "inspect/keep/inspection_archive_reader.h"
#include "velm/inspection/section_result.h"
#include "velm/planar/contour.h"

namespace velm::inspect {

/// Writes the inputs, the outline with an identifier for each edge, and the points as they are
/// compared, each as a target. Throws `Failure`.
class SectionArchive {
public:
    SectionArchive(OutputSet& outputs, const std::string& path, const Outline& outline,
                   const SectionHead& head);

    void add(const SectionRow& row);
    void finish(const Summary& summary) { archive_.finish(summary); }

private:
    InspectionArchive archive_;
    SectionHead head_;
};

/// Gives back what was written. Throws as `InspectionArchiveReader` does.
class SectionArchiveReader {
public:
    /// A document of this kind, which must outlive the reader.
    explicit SectionArchiveReader(InspectionArchiveReader& document);

    const SectionHead& head() const { return head_; }
    const Outline& outline() const { return outline_; }
    /// The next point; false behind the last.
    bool next(SectionRow& row);

private:
    InspectionArchiveReader& document_;
    SectionHead head_;
    Outline outline_;
    std::uint64_t count_ = 0;
};

} // namespace velm::inspect
