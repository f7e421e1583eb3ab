#include "inspect/keep/store_file.h"

#include "velm/platform/file.h"
#include "velm/store/file_space.h"
#include "velm/store/store_image.h"

#include <algorithm>
#include <filesystem>
#include <optional>

namespace velm::inspect {

Failure store_failure(CFileException* exception, const std::string& path) {
    const int cause = exception->m_cause;
    const LONG os_error = exception->m_lOsError;
    char text[400] = "";
    exception->GetErrorMessage(text, sizeof text);
    const std::string known = exception->m_strFileName;
    exception->Delete();
    const bool misunderstood = cause == CFileException::invalidFile ||
                               cause == CFileException::endOfFile ||
                               cause == CFileException::badSeek;
    if (misunderstood) return Failure(FailureKind::input, path + ": is no sound object file");
    if (cause == CFileException::diskFull && os_error <= 0)
        return Failure(FailureKind::file,
                       path + ": the disk is full, or the file would exceed its limit of 2 GiB");
    // The message names the file where the exception knew it.
    const std::string sentence = text;
    const bool names_it = !known.empty() && sentence.find(known) != std::string::npos;
    return Failure(FailureKind::file, names_it ? sentence : path + ": " + sentence);
}

void call_by_name(CFileException& exception, const std::string& working_copy,
                  const std::string& name) {
    using Path = std::filesystem::path;
    if (Path(exception.m_strFileName).filename() == Path(working_copy).filename())
        exception.m_strFileName = name;
}

namespace {

// The header of the database in a file that begins as an object file.
std::optional<DatabaseHeader> database_header(CFile& file) {
    std::int32_t head[3] = {}; // the start, the end of data, and the size of a node
    DatabaseHeader header;
    if (file.Read(head, sizeof head) != sizeof head || head[2] != ERFileManager::node_size ||
        head[0] < ERFileManager::first_block)
        return std::nullopt;
    file.Seek(head[0], CFile::begin);
    if (file.Read(&header, sizeof header) != sizeof header) return std::nullopt;
    return header;
}

} // namespace

bool is_store_file(const std::string& path) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) return false;
    try {
        CFile file;
        return file.Open(path.c_str(), UINT(CFile::modeRead) | CFile::shareDenyNone) != 0 &&
               database_header(file).has_value();
    } catch (CFileException* exception) {
        exception->Delete();
        return false;
    }
}

std::uint64_t room_in_store(const std::string& path) {
    constexpr std::uint64_t most_bytes = (std::uint64_t{1} << 31) - 1;
    std::error_code error;
    const std::uint64_t size = std::filesystem::file_size(path, error);
    return error ? most_bytes : most_bytes - std::min(size, most_bytes);
}

void require_store(const std::string& path, const std::string& name) {
    const auto refuse = [&](const std::string& why) {
        throw Failure(FailureKind::input, name + ": " + why);
    };
    with_store(name, [&] {
        CFile file(path.c_str(), UINT(CFile::modeRead) | CFile::shareDenyWrite);
        const std::optional<DatabaseHeader> header = database_header(file);
        if (!header)
            refuse("is no object file: expected the word 268 at offset 8 and a database header");
        if (header->version > DatabaseHeader::current_version)
            refuse("has version " + std::to_string(header->version) +
                   "; this program reads versions up to " +
                   std::to_string(DatabaseHeader::current_version));
    });
}

void require_known_trees(const std::string& path, const std::string& name) {
    const bool known = with_store(name, [&] {
        const StoreImage image(path.c_str());
        return image.classes.known && image.objects.known &&
               (!image.has_index || image.index.known);
    });
    if (!known) throw StoreRefusal{StoreFault::damaged_tree, name, {}};
}

void require_true_counters(const std::string& path, const std::string& name) {
    if (with_store(name, [&] { return counters_are_stale(path.c_str()); }))
        throw StoreRefusal{StoreFault::stale_counters, name, {}};
}

} // namespace velm::inspect
