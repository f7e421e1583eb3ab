#include "velm/store/store_step.h"

#include "velm/platform/file_exception.h"
#include "velm/store/detail/operation_state.h"
#include "velm/store/file_space.h"

#include <vector>

namespace velm::detail {

StoreStep::StoreStep(ERFileManager& file) : file_(file) {
    OperationState& now = *file_.operation;
    if (now.changes > 0 && now.doomed) file_.raise(CFileException::genericException);
    if (now.changes == 0) file_.begin_operation();
    ++now.changes;
    ++now.steps;
}

void StoreStep::finish() {
    OperationState& now = *file_.operation;
    if (now.changes == 1) {
        if (now.doomed) file_.raise(CFileException::genericException);
        file_.commit();
        for (StepMember* const member : now.members)
            member->operation_has_succeeded();
    }
    finished_ = true;
}

StoreStep::~StoreStep() {
    OperationState& now = *file_.operation;
    if (!finished_) {
        if (now.changes == 1)
            file_.roll_back();
        else
            now.doomed = true;
    }
    if (now.steps == 1) now.window_size = 0;
    --now.changes;
    --now.steps;
}

ReadingStep::ReadingStep(ERFileManager& file) : file_(file) { ++file_.operation->steps; }

ReadingStep::~ReadingStep() {
    if (--file_.operation->steps == 0) file_.operation->window_size = 0;
}

void StepMember::join(ERFileManager* file) {
    if (joined_ != nullptr) std::erase(joined_->operation->members, this);
    joined_ = file;
    if (joined_ == nullptr) return;
    joined_->operation->members.push_back(this);
    if (joined_->operation->changes > 0) remember();
}

RemovalWithoutRoom::RemovalWithoutRoom(ERFileManager& file) : file_(file) {
    file_.operation->sparing = true;
}

RemovalWithoutRoom::~RemovalWithoutRoom() { file_.operation->sparing = false; }

bool RemovalWithoutRoom::is_called_for(const ERFileManager& file, CFileException* failure) {
    if (file.operation->changes > 0 || failure->m_cause != CFileException::diskFull) return false;
    failure->Delete();
    return true;
}

} // namespace velm::detail
