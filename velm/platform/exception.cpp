#include "velm/platform/exception.h"

#include <cstdio>

CException::~CException() = default;

BOOL CException::GetErrorMessage(char* buffer, UINT size) const {
    if (size > 0) *buffer = '\0';
    return 0;
}

BOOL CInvalidArgException::GetErrorMessage(char* buffer, UINT size) const {
    std::snprintf(buffer, size, "An invalid argument was encountered.");
    return 1;
}

void AfxThrowInvalidArgException() { throw new CInvalidArgException; }
