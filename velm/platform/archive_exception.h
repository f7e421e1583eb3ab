// CArchiveException, AfxThrowArchiveException: failures of an archive.
#pragma once

#include "velm/export.h"
#include "velm/platform/exception.h"

#include <string>

/// A failure of an archive: a cause and the name of its file.
class VELM_API CArchiveException : public CException {
public:
    /// The values are fixed: hosts store and report them.
    enum {
        none,
        genericException,
        readOnly,  ///< storing to an archive that loads
        endOfFile, ///< loading past the end
        writeOnly, ///< loading from an archive that stores
        badIndex,  ///< an impossible stored number
        badClass,
        badSchema
    };

    explicit CArchiveException(int cause = none, const char* name = nullptr)
        : m_cause(cause), m_strFileName(name != nullptr ? name : "") {}

    BOOL GetErrorMessage(char* buffer, UINT size) const override;

    int m_cause;
    std::string m_strFileName;
};

/// Throws a new CArchiveException*.
[[noreturn]] VELM_API void AfxThrowArchiveException(int cause, const char* name = nullptr);
