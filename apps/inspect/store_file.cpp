#include "inspect/store_file.h"

#include <filesystem>

#include "velm/store/store_image.h"

namespace velm::inspect {

Failure store_failure(CFileException* exception, const std::string& path) {
    const int cause = exception->m_cause;
    char text[400] = "";
    exception->GetErrorMessage(text, sizeof text);
    const std::string known = exception->m_strFileName;
    exception->Delete();
    const bool misunderstood = cause == CFileException::invalidFile ||
                               cause == CFileException::endOfFile ||
                               cause == CFileException::badSeek;
    if (misunderstood) return Failure(ExitCode::input, path + ": is no sound object file");
    // The message names the file where the exception knew it.
    const std::string sentence = text;
    const bool names_it = !known.empty() && sentence.find(known) != std::string::npos;
    return Failure(ExitCode::file, names_it ? sentence : path + ": " + sentence);
}

void call_by_name(CFileException& exception, const std::string& working_copy,
                  const std::string& name) {
    using Path = std::filesystem::path;
    if (Path(exception.m_strFileName).filename() == Path(working_copy).filename())
        exception.m_strFileName = name;
}

void require_store(const std::string& path, const std::string& name) {
    with_store(name, [&] {
        const StoreImage image(path.c_str());
        if (!image.head_known || !image.header_known)
            throw Failure(ExitCode::input, name + ": is no object file: expected the word 268 at "
                                                  "offset 8 and a database header");
        if (image.header.version > DatabaseHeader::current_version)
            throw Failure(ExitCode::input, name + ": has version " +
                                               std::to_string(image.header.version) +
                                               "; this program reads versions up to " +
                                               std::to_string(DatabaseHeader::current_version));
    });
}

void require_true_counters(const std::string& path, const std::string& name) {
    if (with_store(name, [&] { return counters_are_stale(path.c_str()); }))
        throw Failure(ExitCode::input,
                      name +
                          ": its counters are behind its contents, as a program leaves them "
                          "that was stopped; rebuild it first: velm-inspect store " +
                          name + " --salvage NEW");
}

} // namespace velm::inspect
