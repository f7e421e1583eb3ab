#include "velm/store/store_batch.h"

#include "velm/platform/file_exception.h"
#include "velm/store/detail/operation_state.h"

#include <utility>

namespace velm {

namespace {

ERFileManager& writable_file(const ERObjectDataBase& store) {
    ERFileManager* const file = store.fileManager();
    if (file == nullptr) AfxThrowFileException(CFileException::invalidFile);
    if (file->isReadOnly()) file->raise(CFileException::accessDenied);
    if (!file->has_free_list()) file->raise(CFileException::invalidFile);
    return *file;
}

} // namespace

StoreBatch::StoreBatch(ERObjectDataBase& store) : file_(writable_file(store)) {
    detail::OperationState& now = *file_.operation;
    if (now.changes > 0) file_.raise(CFileException::genericException);
    step_.emplace(file_);
    now.batch = std::make_unique<detail::OperationState::Batch>();
}

StoreBatch::StoreBatch(ERDataBase& data) : StoreBatch(*data.objects()) {}

StoreBatch::~StoreBatch() = default;

void StoreBatch::commit() {
    if (!step_) return;
    std::vector<long> freed;
    try {
        file_.end_batch();
        step_->finish();
        freed = std::move(file_.operation->batch->freed);
        file_.operation->batch.reset();
    } catch (...) {
        step_.reset();
        throw;
    }
    step_.reset();
    try {
        for (const long payload : freed)
            file_.deallocate(payload);
    } catch (CFileException* failure) { // what isn't given back is waste
        failure->Delete();
    }
}

} // namespace velm
