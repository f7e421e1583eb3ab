// inspection_archive_reader.h: documents of inspections read back: `InspectionArchiveReader`,
// `with_archive`.
#pragma once

#include <string>

#include "inspect/keep/inspection_archive.h"
#include "velm/platform/archive_exception.h"

namespace velm::inspect {

/// Whether a file begins as a document of an inspection. False for one that can't be read.
bool is_inspection_archive(const std::string& path);

/// Reads a document of any kind from the file's beginning on. The checksum is looked at first, so
/// that what was damaged by accident is refused before anything of it is told. Throws a
/// CArchiveException* about what is damaged, with badSchema for a later version than is
/// understood, and the file's own exceptions.
class InspectionArchiveReader {
public:
    /// The file must outlive the reader.
    explicit InspectionArchiveReader(CFile& file);

    ArchivedKind kind() const { return kind_; }
    const std::string& program() const { return program_; }
    CArchive& archive() { return archive_; }
    ULONGLONG size() const { return size_; }
    ULONGLONG bytes_read() const { return size_ - archive_.bytes_left(); }

    /// Whether a point follows. Behind the last one, what stands there is read and compared with
    /// the points.
    bool next();
    /// A point that was read and judged.
    void take(const Judged& point);

private:
    void finish();

    CArchive archive_;
    ULONGLONG size_;
    ArchivedKind kind_ = ArchivedKind::section;
    std::string program_;
    gmBinaryFlagsEx out_of_tolerance_;
    Summary summary_;
    int count_ = 0;
};

/// The sentence for an archive exception, which is given up.
Failure archive_failure(CArchiveException* exception, const std::string& path);

/// Runs `work`, turning exceptions about the document at `path` into failures.
template <class Work>
auto with_archive(const std::string& path, Work work) {
    try {
        return with_store(path, work);
    } catch (CArchiveException* exception) {
        throw archive_failure(exception, path);
    }
}

} // namespace velm::inspect
