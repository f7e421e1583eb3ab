#include "inspect/keep/inspection_archive_reader.h"

#include <algorithm>
#include <vector>

#include "inspect/keep/archive_forms.h"

namespace velm::inspect {
namespace {

constexpr ULONGLONG checksum_size = sizeof(DWORD);
constexpr int buffer_size = 1 << 16;

bool has_magic(CFile& file) {
    char magic[archive_magic.size()] = {};
    file.SeekToBegin();
    return file.Read(magic, sizeof magic) == sizeof magic &&
           std::string_view(magic, sizeof magic) == archive_magic;
}

// Whether the last bytes are the hash of all others. Leaves the position at the beginning.
bool has_true_checksum(CFile& file) {
    file.SeekToBegin();
    DWORD hash = hxu_fnv1a_hash({});
    std::vector<char> block(buffer_size);
    const ULONGLONG length = file.GetLength();
    if (length < checksum_size) return false;
    for (ULONGLONG left = length - checksum_size; left > 0;) {
        const UINT came =
            file.Read(block.data(), static_cast<UINT>(std::min<ULONGLONG>(left, block.size())));
        if (came == 0) return false;
        hash = hxu_fnv1a_hash({block.data(), came}, hash);
        left -= came;
    }
    DWORD stored = 0;
    const bool is_whole = file.Read(&stored, sizeof stored) == sizeof stored;
    file.SeekToBegin();
    return is_whole && stored == hash;
}

} // namespace

bool is_inspection_archive(const std::string& path) {
    CFile file;
    return file.Open(path.c_str(), UINT(CFile::modeRead) | CFile::shareDenyNone) != 0 &&
           has_magic(file);
}

InspectionArchiveReader::InspectionArchiveReader(CFile& file)
    : archive_(&file, UINT(CArchive::load) | CArchive::bNoFlushOnDelete, buffer_size),
      size_(file.GetLength()) {
    if (!has_magic(file)) archive_.raise(CArchiveException::badClass);
    DWORD version = 0;
    if (file.Read(&version, sizeof version) == sizeof version && version > archive_version)
        archive_.raise(CArchiveException::badSchema);
    if (!has_true_checksum(file)) archive_.raise(CArchiveException::genericException);
    char magic[archive_magic.size()];
    archive_.get_bytes(magic, sizeof magic);
    DWORD kind = 0;
    archive_ >> version >> kind;
    if (version == 0) archive_.raise(CArchiveException::badSchema);
    kind_ = static_cast<ArchivedKind>(kind);
    if (kind_ != ArchivedKind::section && kind_ != ArchivedKind::targets)
        archive_.raise(CArchiveException::badClass);
    exchange(archive_, program_);
}

bool InspectionArchiveReader::next() {
    bool follows = false;
    exchange(archive_, follows);
    if (!follows) finish();
    return follows;
}

void InspectionArchiveReader::take(const Judged& point) {
    summary_.add(point);
    if (point.in_tolerance == false) out_of_tolerance_.set(count_, true);
    ++count_;
}

void InspectionArchiveReader::finish() {
    gmBinaryFlagsEx stored;
    stored.serialize(archive_);
    ArchivedFigures figures;
    exchange(archive_, figures);
    out_of_tolerance_.resize(count_);
    const bool agrees = count_ > 0 && stored == out_of_tolerance_ &&
                        figures.count == summary_.deviations.count() &&
                        figures.in_tolerance == summary_.in_tolerance &&
                        figures.out_of_tolerance == summary_.out_of_tolerance &&
                        archive_.bytes_left() == checksum_size;
    if (!agrees) archive_.raise(CArchiveException::badIndex);
}

Failure archive_failure(CArchiveException* exception, const std::string& path) {
    const int cause = exception->m_cause;
    exception->Delete();
    return Failure(ExitCode::input,
                   cause == CArchiveException::badSchema
                       ? path + ": is an archive of a later version; this program reads version " +
                             std::to_string(archive_version)
                       : path + ": is a damaged archive of an inspection");
}

} // namespace velm::inspect
