#include "velm/inspection/inspection_archive.h"

#include "velm/inspection/detail/archive_fields.h"
#include "velm/inspection/fit_result.h"

#include <algorithm>
#include <vector>

namespace velm {
namespace {

constexpr auto first_kind = static_cast<DWORD>(ArchivedKind::section),
               last_kind = static_cast<DWORD>(ArchivedKind::surface);
constexpr ULONGLONG checksum_size = sizeof(DWORD);
constexpr int buffer_size = 1 << 16;

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

bool is_inspection_archive(CFile& file) {
    char magic[archive_magic.size()] = {};
    file.SeekToBegin();
    return file.Read(magic, sizeof magic) == sizeof magic &&
           std::string_view(magic, sizeof magic) == archive_magic;
}

void HashedFile::Write(const void* bytes, UINT count) {
    CFile::Write(bytes, count);
    hash_ = hxu_fnv1a_hash({static_cast<const char*>(bytes), count}, hash_);
}

InspectionArchiveWriter::InspectionArchiveWriter(const std::string& path, std::string_view program,
                                                 ArchivedKind kind)
    : file_(path.c_str(), UINT(CFile::modeCreate) | CFile::modeWrite | CFile::shareExclusive),
      archive_(&file_, UINT(CArchive::store) | CArchive::bNoFlushOnDelete, buffer_size) {
    archive_.put_bytes(archive_magic.data(), archive_magic.size());
    archive_ << archive_version << static_cast<DWORD>(kind);
    detail::store_text(archive_, program);
}

void InspectionArchiveWriter::announce(const Judged& point) {
    detail::store_truth(archive_, true);
    if (point.in_tolerance == false) out_of_tolerance_.set(count_, true);
    ++count_;
}

void InspectionArchiveWriter::finish(const Summary& summary) {
    detail::store_truth(archive_, false);
    out_of_tolerance_.resize(count_);
    out_of_tolerance_.num_of_selected_points(); // so that the count is stored
    out_of_tolerance_.serialize(archive_);
    detail::store_subject(archive_, summary.figures());
    archive_.Flush();
    archive_ << file_.hash();
    archive_.Close();
    file_.Close();
}

InspectionArchiveReader::InspectionArchiveReader(CFile& file)
    : archive_(&file, UINT(CArchive::load) | CArchive::bNoFlushOnDelete, buffer_size),
      size_(file.GetLength()) {
    if (!is_inspection_archive(file)) archive_.raise(CArchiveException::badClass);
    DWORD version = 0;
    if (file.Read(&version, sizeof version) == sizeof version && version > archive_version)
        archive_.raise(CArchiveException::badSchema);
    if (!has_true_checksum(file)) archive_.raise(CArchiveException::genericException);
    char magic[archive_magic.size()];
    archive_.get_bytes(magic, sizeof magic);
    DWORD kind = 0;
    archive_ >> version >> kind;
    if (version == 0) archive_.raise(CArchiveException::badSchema);
    version_ = static_cast<int>(version);
    kind_ = static_cast<ArchivedKind>(kind);
    if (kind < first_kind || kind > last_kind) archive_.raise(CArchiveException::badClass);
    program_ = detail::load_text(archive_);
}

template <class Head>
void InspectionArchiveReader::load_head(Head& head) {
    head.rule.reset();
    detail::load_subject(archive_, head, version_);
}
template void InspectionArchiveReader::load_head(SectionHead&);
template void InspectionArchiveReader::load_head(TargetHead&);
template void InspectionArchiveReader::load_head(FitHead&);
template void InspectionArchiveReader::load_head(SurfaceHead&);

bool InspectionArchiveReader::next() {
    const bool follows = detail::load_truth(archive_);
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
    Figures figures;
    detail::load_subject(archive_, figures, version_);
    out_of_tolerance_.resize(count_);
    const bool agrees = count_ > 0 && stored == out_of_tolerance_ &&
                        figures.count == summary_.count() &&
                        figures.in_tolerance == summary_.in_tolerance &&
                        figures.out_of_tolerance == summary_.out_of_tolerance &&
                        archive_.bytes_left() == checksum_size;
    detail::require(archive_, agrees);
}

} // namespace velm
