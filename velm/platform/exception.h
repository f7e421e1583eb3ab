// CException, CInvalidArgException, AfxThrowInvalidArgException: what the framework throws, by
// pointer.
#pragma once

#include "velm/export.h"
#include "velm/platform/integer_types.h"
#include "velm/platform/root_class.h"

/// The base of all exceptions. They are made by new, thrown as a pointer, and given up by whoever
/// catches them through Delete().
class VELM_API CException : public CObject {
public:
    /// With auto_delete 0, Delete() leaves the object alone.
    explicit CException(BOOL auto_delete = 1) : m_bAutoDelete(auto_delete) {}

    void Delete() {
        if (m_bAutoDelete) delete this;
    }

    /// Writes one sentence that says what happened, cut to size bytes with its NUL. Returns 0 when
    /// there is nothing to say; the buffer is then the empty string.
    virtual BOOL GetErrorMessage(char* buffer, UINT size) const;

    ~CException() override;

private:
    BOOL m_bAutoDelete;
};

/// An argument that can't be worked with.
class VELM_API CInvalidArgException : public CException {
public:
    using CException::CException;
    BOOL GetErrorMessage(char* buffer, UINT size) const override;
};

/// Throws a new CInvalidArgException*.
[[noreturn]] VELM_API void AfxThrowInvalidArgException();
