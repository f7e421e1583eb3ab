#include "velm/platform/file_exception.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace {

const char* sentence(int cause) {
    switch (cause) {
    case CFileException::none:
        return "no error occurred";
    case CFileException::fileNotFound:
        return "the file was not found";
    case CFileException::badPath:
        return "the path is not valid";
    case CFileException::tooManyOpenFiles:
        return "too many files are open";
    case CFileException::accessDenied:
        return "access was denied";
    case CFileException::invalidFile:
        return "the file can't be used";
    case CFileException::removeCurrentDir:
        return "the current directory can't be removed";
    case CFileException::directoryFull:
        return "the directory is full";
    case CFileException::badSeek:
        return "there is no such position in the file";
    case CFileException::hardIO:
        return "an input or output error occurred";
    case CFileException::sharingViolation:
        return "the file is in use";
    case CFileException::lockViolation:
        return "the file can't be locked";
    case CFileException::diskFull:
        return "the disk is full";
    case CFileException::endOfFile:
        return "the file ends too early";
    default:
        return "an error occurred";
    }
}

} // namespace

int CFileException::OsErrorToException(LONG os_error) {
    switch (os_error) {
    case 0:
        return none;
    case ENOENT:
        return fileNotFound;
    case ENOTDIR:
    case ENAMETOOLONG:
    case ELOOP:
        return badPath;
    case EMFILE:
    case ENFILE:
        return tooManyOpenFiles;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
    case ETXTBSY:
    case EEXIST:
        return accessDenied;
    case EBADF:
    case ENXIO:
    case ENODEV:
        return invalidFile;
    case ESPIPE:
    case EINVAL:
    case EOVERFLOW:
        return badSeek;
    case EIO:
        return hardIO;
    case EAGAIN:
        return sharingViolation;
    case EDEADLK:
    case ENOLCK:
        return lockViolation;
    case ENOSPC:
    case EFBIG:
    case EDQUOT:
        return diskFull;
    default:
        return genericException;
    }
}

void CFileException::ThrowOsError(LONG os_error, const char* name) {
    AfxThrowFileException(OsErrorToException(os_error), os_error, name);
}

BOOL CFileException::GetErrorMessage(char* buffer, UINT size) const {
    const char* const name =
        m_strFileName.empty() ? "a file without a name" : m_strFileName.c_str();
    if (m_lOsError > 0) {
        std::snprintf(buffer, size, "%s: %s (%s).", name, sentence(m_cause),
                      std::generic_category().message(m_lOsError).c_str());
    } else {
        std::snprintf(buffer, size, "%s: %s.", name, sentence(m_cause));
    }
    return 1;
}

void AfxThrowFileException(int cause, LONG os_error, const char* name) {
    throw new CFileException(cause, os_error, name);
}
