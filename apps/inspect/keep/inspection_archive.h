// inspection_archive.h: an inspection as a document of the host's archives: `InspectionArchive`.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "inspect/base/output_set.h"
#include "inspect/keep/store_file.h"
#include "velm/inspection/summary.h"
#include "velm/measure/selection_flags.h"
#include "velm/platform/archive.h"
#include "velm/platform/file.h"
#include "velm/platform/name_comparison.h"

namespace velm::inspect {

/// What a document tells. The values stand in files and must never change.
enum class ArchivedKind : DWORD { section = 1, targets = 2 };

/// The first bytes of a document, and the version that stands behind them. Both stand in files.
inline constexpr std::string_view archive_magic = "velm inspection\n";
inline constexpr DWORD archive_version = 1;

/// A file written from its beginning to its end, and the FNV-1a hash of what was written.
class HashedFile : public CFile {
public:
    using CFile::CFile;
    void Write(const void* bytes, UINT count) override;
    DWORD hash() const { return hash_; }

private:
    DWORD hash_ = hxu_fnv1a_hash({});
};

/// Writes a document from its magic to its checksum, as docs/archive-format.md tells it, beside the
/// place where it appears together with the other outputs. Memory doesn't grow with the points, but
/// for a bit each. Throws `Failure`.
class InspectionArchive {
public:
    InspectionArchive(OutputSet& outputs, const std::string& path, ArchivedKind kind);

    /// Hands the archive to `store`, for what stands in front of the points.
    template <class Store>
    void put_head(Store store) {
        guarded([&] { store(*archive_); });
    }
    /// The same for the next point.
    template <class Store>
    void put_point(const Judged& point, Store store) {
        guarded([&] {
            announce(point);
            store(*archive_);
        });
    }
    /// Writes what stands behind the points, and closes the file.
    void finish(const Summary& summary);

private:
    template <class Work>
    void guarded(Work work) {
        with_store(path_, work, working_copy_);
    }
    void announce(const Judged& point);

    std::string path_, working_copy_;
    std::optional<HashedFile> file_;
    std::optional<CArchive> archive_;
    gmBinaryFlagsEx out_of_tolerance_;
    int count_ = 0;
};

} // namespace velm::inspect
