// velm::detail::StoreStep, ReadingStep, StepMember, RemovalWithoutRoom, AllSteps: an operation of a
// store as a whole.
#pragma once

#include "velm/export.h"
#include "velm/platform/file_exception.h"

#include <utility>

class ERFileManager;

namespace velm::detail {

/// One public operation that changes a store. While it is under way its writes are gathered in
/// memory, and what is read sees them. finish() writes them, first what goes to free space. Where
/// it raises, or is never reached, the store goes back to what it was: nothing of the operation is
/// left. One inside another is a part of it; where a part fails, the whole does.
class VELM_API StoreStep {
public:
    explicit StoreStep(ERFileManager& file);
    StoreStep(const StoreStep&) = delete;
    StoreStep& operator=(const StoreStep&) = delete;
    ~StoreStep();

    void finish();

private:
    ERFileManager& file_;
    bool finished_ = false;
};

/// One that only reads: small reads are served from a window of bytes.
class VELM_API ReadingStep {
public:
    explicit ReadingStep(ERFileManager& file);
    ReadingStep(const ReadingStep&) = delete;
    ReadingStep& operator=(const ReadingStep&) = delete;
    ~ReadingStep();

private:
    ERFileManager& file_;
};

/// What knows more in memory than the file manager, and goes back with it.
class VELM_API StepMember {
public:
    StepMember() = default;
    StepMember(const StepMember&) = delete;
    StepMember& operator=(const StepMember&) = delete;
    virtual ~StepMember() { join(nullptr); }

    /// Takes part in the operations of a file from now on, or of none.
    void join(ERFileManager* file);

    void forget_file() { joined_ = nullptr; } // which is gone

    virtual void remember() = 0;         // before an operation begins
    virtual void go_back() noexcept = 0; // to that
    virtual void operation_has_succeeded() {}

private:
    ERFileManager* joined_ = nullptr;
};

/// While it lives, the free list grows no node that the file has no room for: the extent that makes
/// it necessary, which is lost to the list in any case, is the only one that isn't listed.
class VELM_API RemovalWithoutRoom {
public:
    explicit RemovalWithoutRoom(ERFileManager& file);
    RemovalWithoutRoom(const RemovalWithoutRoom&) = delete;
    RemovalWithoutRoom& operator=(const RemovalWithoutRoom&) = delete;
    ~RemovalWithoutRoom();

    /// Whether the failure of an outermost operation was for want of room; it is deleted then.
    static bool is_called_for(const ERFileManager& file, CFileException* failure);

private:
    ERFileManager& file_;
};

/// Runs a removal as one operation, and again without room where there is none.
template <class Work>
auto removal(ERFileManager& file, Work work) {
    const auto as_one_step = [&] {
        StoreStep step(file);
        const auto result = work();
        step.finish();
        return result;
    };
    try {
        return as_one_step();
    } catch (CFileException* failure) {
        if (!RemovalWithoutRoom::is_called_for(file, failure)) throw;
    }
    const RemovalWithoutRoom sparing(file);
    return as_one_step();
}

/// Steps that are all attempted, whichever fails, as a close must. finish() raises the first
/// failure; later ones are deleted.
class VELM_API AllSteps {
public:
    AllSteps() = default;
    AllSteps(const AllSteps&) = delete;
    AllSteps& operator=(const AllSteps&) = delete;
    ~AllSteps() {
        if (first_) first_->Delete();
    }

    template <class Step>
    void attempt(Step step) {
        try {
            step();
        } catch (CFileException* failure) {
            if (first_)
                failure->Delete();
            else
                first_ = failure;
        }
    }
    void finish() {
        if (first_) throw std::exchange(first_, nullptr);
    }

private:
    CFileException* first_ = nullptr;
};

} // namespace velm::detail
