#include "velm/platform/archive_exception.h"

#include <cstdio>

namespace {

const char* sentence(int cause) {
    switch (cause) {
    case CArchiveException::none:
        return "no error occurred";
    case CArchiveException::readOnly:
        return "storing to an archive that loads";
    case CArchiveException::endOfFile:
        return "the archive ends too early";
    case CArchiveException::writeOnly:
        return "loading from an archive that stores";
    case CArchiveException::badIndex:
        return "the archive holds a number that can't be right";
    case CArchiveException::badClass:
        return "the archive holds another class than expected";
    case CArchiveException::badSchema:
        return "the archive was written by an unknown version";
    default:
        return "an error occurred";
    }
}

} // namespace

BOOL CArchiveException::GetErrorMessage(char* buffer, UINT size) const {
    const char* const name =
        m_strFileName.empty() ? "an archive without a name" : m_strFileName.c_str();
    std::snprintf(buffer, size, "%s: %s.", name, sentence(m_cause));
    return 1;
}

void AfxThrowArchiveException(int cause, const char* name) {
    throw new CArchiveException(cause, name);
}
