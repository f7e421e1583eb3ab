// CException, CInvalidArgException, AfxThrowInvalidArgException: the framework's exceptions, thrown
// by pointer.
#pragma once

#include "velm/export.h"
#include "velm/platform/integer_types.h"
#include "velm/platform/root_class.h"

/// The base of all exceptions. They are made by new and thrown as a pointer; the code that catches
/// one releases it with Delete().
class VELM_API CException : public CObject {
public:
    /// With auto_delete 0, Delete() keeps the object.
    explicit CException(BOOL auto_delete = 1) : m_bAutoDelete(auto_delete) {}

    void Delete() {
        if (m_bAutoDelete) delete this;
    }

    /// Writes one sentence about what happened, cut to size bytes with its NUL. Returns 0 if there
    /// is nothing to report; the buffer is then the empty string.
    virtual BOOL GetErrorMessage(char* buffer, UINT size) const;

    ~CException() override;

private:
    BOOL m_bAutoDelete;
};

/// An unusable argument.
class VELM_API CInvalidArgException : public CException {
public:
    using CException::CException;
    BOOL GetErrorMessage(char* buffer, UINT size) const override;
};

/// Throws a new CInvalidArgException*.
[[noreturn]] VELM_API void AfxThrowInvalidArgException();
