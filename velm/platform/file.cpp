#include "velm/platform/file.h"

#include "velm/platform/detail/file_sharing.h"
#include "velm/platform/detail/system_files.h"
#include "velm/platform/file_exception.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>
#include <utility>

using velm::detail::Failure;
using velm::detail::system_files;

namespace {

constexpr UINT access_bits = 0x0003;
constexpr UINT share_bits = 0x0070;

bool reads(UINT flags) { return (flags & access_bits) != CFile::modeWrite; }
bool writes(UINT flags) { return (flags & access_bits) != CFile::modeRead; }
bool empties(UINT flags) {
    return (flags & CFile::modeCreate) != 0 && (flags & CFile::modeNoTruncate) == 0;
}

Failure os_failure(int os_error) {
    return {CFileException::OsErrorToException(os_error), os_error};
}

// Why a name can't be opened: distinguishes a missing file from a missing folder.
Failure open_failure(const char* name, int os_error) {
    if (os_error == ENOENT) {
        std::error_code ignored;
        const auto folder = std::filesystem::path(name).parent_path();
        if (!folder.empty() && !std::filesystem::exists(folder, ignored)) {
            return {CFileException::badPath, os_error};
        }
    }
    return os_failure(os_error);
}

int open_retrying(const char* name, int flags) {
    constexpr mode_t mode = 0666;
    int file;
    do {
        file = system_files().open(name, flags, mode);
    } while (file < 0 && errno == EINTR);
    return file;
}

// Opens without emptying and without waiting. A file to be written is opened for reading too if
// that is allowed, since shared locks need it. Returns -1 with errno set.
int open_descriptor(const char* name, UINT flags) {
    int common = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    if ((flags & CFile::modeCreate) != 0) common |= O_CREAT;
    if (!writes(flags) && !empties(flags)) return open_retrying(name, common | O_RDONLY);
    const int file = open_retrying(name, common | O_RDWR);
    if (file >= 0 || errno != EACCES || reads(flags)) return file;
    return open_retrying(name, common | O_WRONLY);
}

Failure require_regular(int file) {
    struct stat status;
    if (system_files().status(file, &status) < 0) return os_failure(errno);
    if (S_ISDIR(status.st_mode)) return {CFileException::accessDenied, EISDIR};
    if (!S_ISREG(status.st_mode)) return {CFileException::invalidFile, -1};
    return {};
}

// Takes the locks of an open, and only then empties the file if the flags ask for it.
Failure take_over(int file, UINT flags) {
    Failure failure = require_regular(file);
    if (failure.cause == CFileException::none) {
        const UINT share = flags & share_bits;
        const bool deny_all = share == CFile::shareCompat || share == CFile::shareExclusive;
        failure = velm::detail::hold_shares(
            file, {reads(flags), deny_all || share == CFile::shareDenyRead},
            {writes(flags) || empties(flags), deny_all || share == CFile::shareDenyWrite});
    }
    if (failure.cause == CFileException::none && empties(flags) &&
        system_files().truncate(file, 0) < 0) {
        failure = os_failure(errno);
    }
    return failure;
}

void fill_status(CFileStatus& status, const struct stat& from, std::string name) {
    status.m_ctime = from.st_ctime;
    status.m_mtime = from.st_mtime;
    status.m_atime = from.st_atime;
    status.m_size = static_cast<ULONGLONG>(from.st_size);
    status.m_attribute = CFile::normal;
    if ((from.st_mode & 0222) == 0) status.m_attribute |= CFile::readOnly;
    if (S_ISDIR(from.st_mode)) status.m_attribute |= CFile::directory;
    status.m_szFullName = std::move(name);
}

std::string full_name(const char* name) {
    if (name[0] == '/') return name;
    std::error_code error;
    std::string full = std::filesystem::absolute(name, error).string();
    return error ? name : full;
}

} // namespace

CFile::CFile(const char* name, UINT open_flags) {
    auto failure = std::make_unique<CFileException>();
    if (!CFile::Open(name, open_flags, failure.get())) throw failure.release();
}

CFile::~CFile() { CFile::Abort(); }

BOOL CFile::Open(const char* name, UINT open_flags, CFileException* error) {
    Abort();
    const char* const given = name != nullptr ? name : "";
    Failure failure;
    const int file = open_descriptor(given, open_flags);
    if (file < 0) {
        failure = open_failure(given, errno);
    } else {
        failure = take_over(file, open_flags);
        if (failure.cause != CFileException::none) system_files().close(file);
    }
    if (failure.cause != CFileException::none) {
        if (error != nullptr) {
            error->m_cause = failure.cause;
            error->m_lOsError = failure.os_error;
            error->m_strFileName = given;
        }
        return 0;
    }
    m_hFile = file;
    m_flags = open_flags;
    m_position = 0;
    m_strFileName = full_name(given);
    return 1;
}

void CFile::Close() {
    if (!is_open()) return;
    const int result = system_files().close(std::exchange(m_hFile, -1));
    const std::string name = std::exchange(m_strFileName, {});
    // After an interruption the descriptor is gone all the same.
    if (result < 0 && errno != EINTR) CFileException::ThrowOsError(errno, name.c_str());
}

void CFile::Abort() {
    if (!is_open()) return;
    system_files().close(std::exchange(m_hFile, -1));
    m_strFileName.clear();
}

std::unique_ptr<CFile> CFile::Duplicate() const {
    auto copy = std::make_unique<CFile>();
    copy->m_hFile = system_files().duplicate(m_hFile);
    if (copy->m_hFile < 0) raise(errno);
    copy->m_flags = m_flags;
    copy->m_position = m_position;
    copy->m_strFileName = m_strFileName;
    return copy;
}

UINT CFile::Read(void* buffer, UINT count) {
    if (is_open() && !reads(m_flags)) raise_cause(CFileException::accessDenied);
    char* const bytes = static_cast<char*>(buffer);
    UINT done = 0;
    while (done < count) {
        const ssize_t came = system_files().read(m_hFile, bytes + done, count - done,
                                                 static_cast<off_t>(m_position));
        if (came < 0 && errno == EINTR) continue;
        if (came < 0) raise(errno);
        if (came == 0) break;
        done += static_cast<UINT>(came);
        m_position += static_cast<ULONGLONG>(came);
    }
    return done;
}

void CFile::Write(const void* buffer, UINT count) {
    if (is_open() && !writes(m_flags)) raise_cause(CFileException::accessDenied);
    if (count > 0 && (m_position > longest || count > longest - m_position)) {
        raise_cause(CFileException::diskFull);
    }
    const char* const bytes = static_cast<const char*>(buffer);
    UINT done = 0;
    while (done < count) {
        const ssize_t went = system_files().write(m_hFile, bytes + done, count - done,
                                                  static_cast<off_t>(m_position));
        if (went < 0 && errno == EINTR) continue;
        if (went < 0) raise(errno);
        if (went == 0) raise_cause(CFileException::diskFull);
        done += static_cast<UINT>(went);
        m_position += static_cast<ULONGLONG>(went);
    }
}

void CFile::Flush() {
    int result;
    do {
        result = system_files().synchronise(m_hFile);
    } while (result < 0 && errno == EINTR);
    if (result < 0) raise(errno);
}

ULONGLONG CFile::Seek(LONGLONG offset, UINT from) {
    LONGLONG start = 0;
    if (from == current) {
        start = static_cast<LONGLONG>(m_position);
    } else if (from == end) {
        start = static_cast<LONGLONG>(GetLength());
    } else if (from != begin) {
        raise_cause(CFileException::badSeek);
    }
    if (offset > INT64_MAX - start || start + offset < 0) raise_cause(CFileException::badSeek);
    if (system_files().seek(m_hFile, static_cast<off_t>(start + offset)) < 0) raise(errno);
    m_position = static_cast<ULONGLONG>(start + offset);
    return m_position;
}

ULONGLONG CFile::GetLength() const {
    struct stat status;
    if (system_files().status(m_hFile, &status) < 0) raise(errno);
    return static_cast<ULONGLONG>(status.st_size);
}

void CFile::SetLength(ULONGLONG length) {
    if (is_open() && !writes(m_flags)) raise_cause(CFileException::accessDenied);
    if (length > longest && length > GetLength()) raise_cause(CFileException::diskFull);
    int result;
    do {
        result = system_files().truncate(m_hFile, static_cast<off_t>(length));
    } while (result < 0 && errno == EINTR);
    if (result < 0) raise(errno);
}

ULONGLONG CFile::next_data(ULONGLONG offset) const {
    const off_t data = system_files().next_data(m_hFile, static_cast<off_t>(offset));
    if (data >= 0) return static_cast<ULONGLONG>(data);
    return errno == ENXIO ? GetLength() : offset;
}

BOOL CFile::GetStatus(CFileStatus& status) const {
    struct stat found;
    if (!is_open() || system_files().status(m_hFile, &found) < 0) return 0;
    fill_status(status, found, m_strFileName);
    return 1;
}

BOOL CFile::GetStatus(const char* name, CFileStatus& status) {
    struct stat found;
    if (name == nullptr || system_files().status_of(name, &found) < 0) return 0;
    fill_status(status, found, full_name(name));
    return 1;
}

void CFile::Rename(const char* old_name, const char* new_name) {
#if defined(__linux__)
    if (::renameat2(AT_FDCWD, old_name, AT_FDCWD, new_name, RENAME_NOREPLACE) == 0) return;
    if (errno != ENOSYS && errno != EINVAL) CFileException::ThrowOsError(errno, old_name);
#endif
    // If the system can't refuse an existing name by itself, look for it first.
    struct stat found;
    if (::lstat(new_name, &found) == 0) CFileException::ThrowOsError(EEXIST, old_name);
    if (std::rename(old_name, new_name) < 0) CFileException::ThrowOsError(errno, old_name);
}

void CFile::Remove(const char* name) {
    if (system_files().remove(name) < 0) CFileException::ThrowOsError(errno, name);
}

std::string CFile::GetFileName() const {
    return std::filesystem::path(m_strFileName).filename().string();
}

void CFile::raise(int os_error) const {
    CFileException::ThrowOsError(os_error, m_strFileName.c_str());
}

void CFile::raise_cause(int cause) const {
    AfxThrowFileException(cause, -1, m_strFileName.c_str());
}
