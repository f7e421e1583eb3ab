// CFileException, AfxThrowFileException: failures of a file.
#pragma once

#include "velm/export.h"
#include "velm/platform/exception.h"

#include <string>

/// A failure of a file operation: a cause, the operating system's error number and the file's name.
class VELM_API CFileException : public CException {
public:
    /// The values are fixed: hosts store and report them.
    enum {
        none,
        genericException,
        fileNotFound,
        badPath,
        tooManyOpenFiles,
        accessDenied,
        invalidFile,
        removeCurrentDir,
        directoryFull,
        badSeek,
        hardIO,
        sharingViolation,
        lockViolation,
        diskFull,
        endOfFile
    };

    explicit CFileException(int cause = none, LONG os_error = -1, const char* name = nullptr)
        : m_cause(cause), m_lOsError(os_error), m_strFileName(name != nullptr ? name : "") {}

    /// The cause for an error number of the operating system (errno); none for 0, genericException
    /// for one that has no cause of its own.
    static int OsErrorToException(LONG os_error);
    /// Throws a new exception for an error number of the operating system.
    [[noreturn]] static void ThrowOsError(LONG os_error, const char* name = nullptr);

    BOOL GetErrorMessage(char* buffer, UINT size) const override;

    int m_cause;
    LONG m_lOsError;           ///< errno, or -1
    std::string m_strFileName; ///< as it was given to the file, or empty
};

/// Throws a new CFileException*.
[[noreturn]] VELM_API void AfxThrowFileException(int cause, LONG os_error = -1,
                                                 const char* name = nullptr);
