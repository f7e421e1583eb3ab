#include "inspect/keep/store_writer.h"

#include <sys/stat.h>

#include <vector>

namespace velm::inspect {
namespace {

// Opens a file against all others; null when it isn't there. A file that another program has put
// in its place meanwhile is opened again.
std::unique_ptr<CFile> lock_existing(const std::string& path) {
    for (;;) {
        struct stat before {
        }, after{};
        if (::stat(path.c_str(), &before) != 0) return nullptr;
        auto file = std::make_unique<CFile>(path.c_str(),
                                            UINT(CFile::modeReadWrite) | CFile::shareExclusive);
        if (::stat(path.c_str(), &after) == 0 && before.st_ino == after.st_ino &&
            before.st_dev == after.st_dev)
            return file;
    }
}

void copy(CFile& from, const std::string& to) {
    CFile target(to.c_str(), UINT(CFile::modeCreate) | CFile::modeWrite | CFile::shareExclusive);
    std::vector<char> block(std::size_t{1} << 20);
    while (const UINT came = from.Read(block.data(), static_cast<UINT>(block.size())))
        target.Write(block.data(), came);
    target.Close();
}

} // namespace

StoreWriter::StoreWriter(OutputSet& outputs, const std::string& path, bool sync) : path_(path) {
    open(outputs.add_continued_by_name(path));
    database_.objects()->flush_at_close(sync);
    with_store(path_, [this] { batch_.emplace(database_); });
}

StoreWriter::~StoreWriter() = default;

void StoreWriter::open(const std::string& working_copy) {
    with_store(
        path_,
        [&] {
            lock_ = lock_existing(path_);
            if (lock_) copy(*lock_, working_copy);
        },
        working_copy);
    if (lock_) {
        require_store(working_copy, path_);
        require_known_trees(working_copy, path_);
        require_true_counters(working_copy, path_);
    }
    check(database_.Open(working_copy.c_str(), 0));
}

// Throws for any code but success. The codes are the causes of file exceptions.
void StoreWriter::check(gmErrorCode code) const {
    if (code == gmSuccess) return;
    with_store(path_, [&] {
        AfxThrowFileException(code == gmFileRefused ? gmInvalidFile : code, -1, path_.c_str());
    });
}

void StoreWriter::close() {
    with_store(path_, [this] { batch_->commit(); });
    batch_.reset();
    check(database_.Close());
}

} // namespace velm::inspect
