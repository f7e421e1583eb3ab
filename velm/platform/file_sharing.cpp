// For each right there are two bytes beyond the longest file: a user of the right holds the first,
// an opener that denies it holds the second. An opener takes its own bytes and then looks whether
// anyone else holds the opposite ones: of two that exclude each other at most one succeeds. Shared
// locks let any number of like-minded openers in; an opener that both uses and denies a right takes
// its two bytes exclusively in one step, so that of two such openers the first one wins.
#include "velm/platform/detail/file_sharing.h"

#include "velm/platform/detail/system_files.h"
#include "velm/platform/file.h"
#include "velm/platform/file_exception.h"

#include <cerrno>
#include <fcntl.h>

namespace velm::detail {

namespace {

constexpr off_t reading_bytes = static_cast<off_t>(CFile::longest) + 1;
constexpr off_t writing_bytes = reading_bytes + 2;

Failure lock_failure(int os_error) {
    if (os_error == EAGAIN || os_error == EACCES) {
        return {CFileException::sharingViolation, os_error};
    }
    return {CFileException::lockViolation, os_error};
}

Failure take(int file, int access, off_t bytes, Right right) {
    const bool exclusive = access == O_WRONLY || (access == O_RDWR && right.uses && right.denies);
    const off_t first = right.uses ? bytes : bytes + 1;
    const off_t count = right.uses + right.denies;
    if (count == 0) return {};
    return system_files().lock(file, first, count, exclusive) < 0 ? lock_failure(errno) : Failure{};
}

Failure look(int file, off_t bytes, Right right) {
    for (const off_t opposite : {bytes + 1, bytes}) {
        if (!(opposite == bytes ? right.denies : right.uses)) continue;
        const int held = system_files().is_locked(file, opposite);
        if (held < 0) return lock_failure(errno);
        if (held > 0) return {CFileException::sharingViolation, EAGAIN};
    }
    return {};
}

} // namespace

Failure hold_shares(int file, Right reading, Right writing) {
    const int access = ::fcntl(file, F_GETFL) & O_ACCMODE;
    Failure failure = take(file, access, reading_bytes, reading);
    if (failure.cause == 0) failure = take(file, access, writing_bytes, writing);
    if (failure.cause == 0) failure = look(file, reading_bytes, reading);
    if (failure.cause == 0) failure = look(file, writing_bytes, writing);
    const bool denies = reading.denies || writing.denies;
    if (failure.cause == CFileException::lockViolation && !denies) return {};
    return failure;
}

} // namespace velm::detail
