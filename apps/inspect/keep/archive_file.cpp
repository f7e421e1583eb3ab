#include "inspect/keep/archive_file.h"

#include <filesystem>

namespace velm::inspect {

bool is_archive_file(const std::string& path) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) return false;
    CFile file;
    return file.Open(path.c_str(), UINT(CFile::modeRead) | CFile::shareDenyNone) != 0 &&
           is_inspection_archive(file);
}

Failure archive_failure(CArchiveException* exception, const std::string& path) {
    const int cause = exception->m_cause;
    exception->Delete();
    return Failure(
        FailureKind::input,
        cause == CArchiveException::badSchema
            ? path + ": is an archive of a later version; this program reads versions up to " +
                  std::to_string(archive_version)
            : path + ": is a damaged archive of an inspection");
}

} // namespace velm::inspect
