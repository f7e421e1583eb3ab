#include "inspect/keep/inspection_archive.h"

#include "inspect/keep/archive_forms.h"
#include "velm/version.h"

namespace velm::inspect {

void HashedFile::Write(const void* bytes, UINT count) {
    CFile::Write(bytes, count);
    hash_ = hxu_fnv1a_hash({static_cast<const char*>(bytes), count}, hash_);
}

InspectionArchive::InspectionArchive(OutputSet& outputs, const std::string& path, ArchivedKind kind)
    : path_(path), working_copy_(outputs.add_by_name(path)) {
    guarded([&] {
        file_.emplace(working_copy_.c_str(),
                      UINT(CFile::modeCreate) | CFile::modeWrite | CFile::shareExclusive);
        constexpr int buffer_size = 1 << 16;
        archive_.emplace(&*file_, UINT(CArchive::store) | CArchive::bNoFlushOnDelete, buffer_size);
        archive_->put_bytes(archive_magic.data(), archive_magic.size());
        *archive_ << archive_version << static_cast<DWORD>(kind);
        std::string program = "velm-inspect " VELM_VERSION_STRING;
        exchange(*archive_, program);
    });
}

void InspectionArchive::announce(const Judged& point) {
    bool follows = true;
    exchange(*archive_, follows);
    if (point.in_tolerance == false) out_of_tolerance_.set(count_, true);
    ++count_;
}

void InspectionArchive::finish(const Summary& summary) {
    guarded([&] {
        bool follows = false;
        exchange(*archive_, follows);
        out_of_tolerance_.resize(count_);
        out_of_tolerance_.num_of_selected_points(); // so that the count is stored
        out_of_tolerance_.serialize(*archive_);
        ArchivedFigures figures(summary);
        exchange(*archive_, figures);
        archive_->Flush();
        *archive_ << file_->hash();
        archive_->Close();
        file_->Close();
    });
}

} // namespace velm::inspect
