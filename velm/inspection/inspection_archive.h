// SectionArchiveWriter, SectionArchiveReader and the same of targets and surfaces: an inspection as
// a document of a CArchive, as docs/archive-format.md describes it byte by byte. Those of fits are
// in kept_fit.h.
//
//     velm::SectionArchiveWriter archive("wing.arc", "my-program 1.0", head, outline);
//     for (const velm::SectionRow& row : rows) archive.add(row);
//     archive.finish(summary);
//
//     CFile file("wing.arc", CFile::modeRead | CFile::shareDenyWrite);
//     velm::InspectionArchiveReader document(file);
//     if (document.kind() != velm::ArchivedKind::section) return;
//     velm::SectionArchiveReader reader(document);
//     for (velm::SectionRow row; reader.next(row);) use(row, reader.head(), reader.outline());
//
// The head and the rows are stored by their descriptions (field.h): a field with a place in the
// archive is written and read by that alone.
//
// Documents of version 1, which have no head beyond the kind's own fields, are read too.
//
// Guarantees: what is read is what was written, to the last bit, and is judged again by the
// tolerance. Memory doesn't grow with the points, except for a bit each. A row is written from
// where it is.
//
// Failure: files throw their CFileException*; a file that isn't finished is no document. A reader
// throws a CArchiveException* for what is damaged: the checksum is compared first, then every count
// and number; badSchema for a version that it doesn't know, badClass for what is no such document.
// The rows that were read before then are to be given up. A writer throws a CArchiveException* for
// a number that isn't finite.
#pragma once

#include "velm/export.h"
#include "velm/inspection/nominal_mesh.h"
#include "velm/inspection/section_result.h"
#include "velm/inspection/summary.h"
#include "velm/inspection/surface_result.h"
#include "velm/inspection/target_result.h"
#include "velm/measure/selection_flags.h"
#include "velm/planar/contour.h"
#include "velm/platform/archive.h"
#include "velm/platform/archive_exception.h"
#include "velm/platform/file.h"
#include "velm/platform/name_comparison.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace velm {

/// What a document holds. The numbers are part of files: they never change.
enum class ArchivedKind : DWORD { section = 1, targets = 2, fit = 3, surface = 4 };

/// The first bytes of a document, and the version after them. Both are part of files.
inline constexpr std::string_view archive_magic = "velm inspection\n";
inline constexpr DWORD archive_version = 3;

/// Whether a file begins as a document. Moves its position.
VELM_API bool is_inspection_archive(CFile& file);

/// A file written from its beginning to its end, and the FNV-1a hash of what was written.
class VELM_API HashedFile : public CFile {
public:
    using CFile::CFile;
    void Write(const void* bytes, UINT count) override;
    DWORD hash() const { return hash_; }

private:
    DWORD hash_ = hxu_fnv1a_hash({});
};

/// What documents of all kinds have in common, from the magic to the checksum.
class VELM_API InspectionArchiveWriter {
public:
    /// Creates the file, or empties it. `program` is the program that writes it, with its version.
    InspectionArchiveWriter(const std::string& path, std::string_view program, ArchivedKind kind);

    /// Writes what follows the points, and closes the file. Nothing may follow.
    void finish(const Summary& summary);

protected:
    /// Announces the next point, which the caller writes.
    void announce(const Judged& point);
    CArchive& archive() { return archive_; }

private:
    HashedFile file_;
    CArchive archive_;
    gmBinaryFlagsEx out_of_tolerance_;
    int count_ = 0;
};

/// Reads a document of any kind; the readers of the kinds go on from there.
class VELM_API InspectionArchiveReader {
public:
    /// Compares the checksum first, so that what was damaged by accident is refused before anything
    /// of it is used. The file must outlive the reader.
    explicit InspectionArchiveReader(CFile& file);

    ArchivedKind kind() const { return kind_; }
    const std::string& program() const { return program_; }
    ULONGLONG size() const { return size_; }
    ULONGLONG bytes_read() const { return size_ - archive_.bytes_left(); }

private:
    friend class SectionArchiveReader;
    friend class TargetArchiveReader;
    friend class FitArchiveReader;
    friend class SurfaceArchiveReader;

    // Whether a point follows. After the last one the rest is read, and compared with the points.
    bool next();
    // Reads a head. That of an older document judges by the exact limits.
    template <class Head>
    void load_head(Head& head);
    // Takes a point that was read and judged.
    void take(const Judged& point);
    void finish();

    CArchive archive_;
    ULONGLONG size_;
    ArchivedKind kind_ = ArchivedKind::section;
    std::string program_;
    gmBinaryFlagsEx out_of_tolerance_;
    Summary summary_;
    int count_ = 0;
    int version_ = 1;
};

/// Writes a section: its head, the outline with an identifier of each edge, and the points.
class VELM_API SectionArchiveWriter : public InspectionArchiveWriter {
public:
    /// Of an outline whose areas are settled.
    SectionArchiveWriter(const std::string& path, std::string_view program, const SectionHead& head,
                         const Outline& outline);

    void add(const SectionRow& row);

private:
    SectionHead head_;
};

class VELM_API SectionArchiveReader {
public:
    using Row = SectionRow;

    /// A document of this kind, which must outlive the reader.
    explicit SectionArchiveReader(InspectionArchiveReader& document);

    const SectionHead& head() const { return head_; }
    /// Its areas are settled, and each contour encloses one.
    const Outline& outline() const { return outline_; }
    /// The next point; false after the last.
    bool next(SectionRow& row);

private:
    InspectionArchiveReader& document_;
    SectionHead head_;
    Outline outline_;
    std::uint64_t count_ = 0;
};

/// Writes targets: their head and the points.
class VELM_API TargetArchiveWriter : public InspectionArchiveWriter {
public:
    TargetArchiveWriter(const std::string& path, std::string_view program, const TargetHead& head);

    void add(const TargetRow& row);

private:
    TargetHead head_;
};

/// Gives back what was written, except the numbers of measured points beyond 65,535, which the form
/// of a target cuts.
class VELM_API TargetArchiveReader {
public:
    using Row = TargetRow;

    /// A document of this kind, which must outlive the reader.
    explicit TargetArchiveReader(InspectionArchiveReader& document);

    const TargetHead& head() const { return head_; }
    /// The next target; false after the last.
    bool next(TargetRow& row);

private:
    InspectionArchiveReader& document_;
    TargetHead head_;
};

/// Writes surfaces: their head, the faces with their triangles, and the points.
class VELM_API SurfaceArchiveWriter : public InspectionArchiveWriter {
public:
    SurfaceArchiveWriter(const std::string& path, std::string_view program, const SurfaceHead& head,
                         const NominalMesh& mesh);

    void add(const SurfaceRow& row);

private:
    SurfaceHead head_;
};

class VELM_API SurfaceArchiveReader {
public:
    using Row = SurfaceRow;

    /// A document of this kind, which must outlive the reader.
    explicit SurfaceArchiveReader(InspectionArchiveReader& document);

    const SurfaceHead& head() const { return head_; }
    const NominalMesh& mesh() const { return mesh_; }
    /// The next point; false after the last.
    bool next(SurfaceRow& row);

private:
    InspectionArchiveReader& document_;
    SurfaceHead head_;
    NominalMesh mesh_;
    std::uint64_t count_ = 0;
};

} // namespace velm
