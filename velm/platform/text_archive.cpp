#include "velm/platform/text_archive.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace {

constexpr DWORD null_text = 0xFFFFFFFF;

// The stored length of a text, nothing for a null text. Never beyond the archive's end.
std::optional<DWORD> get_length(CArchive& archive) {
    DWORD length;
    archive >> length;
    if (length == null_text) return {};
    if (length > archive.bytes_left()) archive.raise(CArchiveException::endOfFile);
    return length;
}

} // namespace

CArchive& operator<<(CArchive& archive, const char* text) {
    if (text == nullptr) return archive << null_text;
    const std::size_t length = std::strlen(text);
    if (length >= null_text) archive.raise(CArchiveException::genericException);
    archive << static_cast<DWORD>(length);
    archive.put_bytes(text, length);
    return archive;
}

CArchive& operator>>(CArchive& archive, char*& text) {
    const std::optional<DWORD> length = get_length(archive);
    if (!length) {
        text = nullptr;
        return archive;
    }
    auto block = std::make_unique_for_overwrite<char[]>(std::size_t{*length} + 1);
    archive.get_bytes(block.get(), *length);
    block[*length] = '\0';
    text = block.release();
    return archive;
}

CArchive& operator>>(CArchive& archive, utString& text) {
    const std::optional<DWORD> length = get_length(archive);
    if (!length) {
        text = utString();
        return archive;
    }
    std::string bytes(*length, '\0');
    archive.get_bytes(bytes.data(), *length);
    bytes.resize(std::min(bytes.find('\0'), bytes.size()));
    text = utString(std::move(bytes));
    return archive;
}
