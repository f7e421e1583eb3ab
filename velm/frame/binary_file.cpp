#include "velm/frame/binary_file.h"

#include "velm/platform/file_exception.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <type_traits>

namespace {

// The most that one call of CFile moves.
constexpr std::size_t largest_transfer = std::size_t{1} << 30;

template <class T>
using Stored =
    std::conditional_t<std::is_same_v<T, long>, std::int32_t,
                       std::conditional_t<std::is_same_v<T, unsigned long>, std::uint32_t, T>>;

[[noreturn]] void raise_disk_full(const CFile& file) {
    AfxThrowFileException(CFileException::diskFull, -1, file.GetFilePath().c_str());
}

template <class T>
int read_array(ERFile& file, T* values, std::size_t count) {
    if (count > std::numeric_limits<std::size_t>::max() / sizeof(T)) return 0;
    if constexpr (sizeof(Stored<T>) == sizeof(T)) {
        return velm::read_bytes(file, values, count * sizeof(T)) == count * sizeof(T);
    } else {
        Stored<T> block[1024];
        while (count > 0) {
            const std::size_t wanted = std::min(count, std::size(block));
            const std::size_t bytes = velm::read_bytes(file, block, wanted * sizeof *block);
            const std::size_t came = bytes / sizeof *block;
            values = std::copy_n(block, came, values);
            if (came < wanted) return 0;
            count -= wanted;
        }
        return 1;
    }
}

template <class T>
int write_array(ERFile& file, const T* values, std::size_t count) {
    const ULONGLONG room = CFile::longest - std::min(file.GetPosition(), CFile::longest);
    if (count > room / sizeof(Stored<T>)) raise_disk_full(file);
    if constexpr (sizeof(Stored<T>) == sizeof(T)) {
        velm::write_bytes(file, values, count * sizeof(T));
    } else {
        Stored<T> block[1024];
        for (; count > 0; count -= std::min(count, std::size(block))) {
            const std::size_t now = std::min(count, std::size(block));
            std::transform(values, values + now, block,
                           [](T value) { return velm::stored_long(value); });
            values += now;
            velm::write_bytes(file, block, now * sizeof *block);
        }
    }
    return 1;
}

} // namespace

ULONGLONG velm::bytes_left(const CFile& file) {
    const ULONGLONG position = file.GetPosition();
    const ULONGLONG length = file.GetLength();
    return length > position ? length - position : 0;
}

std::size_t velm::read_bytes(ERFile& file, void* target, std::size_t count) {
    char* const bytes = static_cast<char*>(target);
    std::size_t done = 0;
    while (done < count) {
        const std::size_t now = std::min(count - done, largest_transfer);
        const UINT came = static_cast<CFile&>(file).Read(bytes + done, static_cast<UINT>(now));
        done += came;
        if (came < now) break;
    }
    return done;
}

void velm::write_bytes(ERFile& file, const void* source, std::size_t count) {
    if (count > CFile::longest) raise_disk_full(file);
    static_cast<CFile&>(file).Write(source, static_cast<UINT>(count));
}

ERFile::~ERFile() = default;

void ERFile::Close() { CFile::Close(); }

long ERFile::CurOffset() { return static_cast<long>(Seek(0, current)); }

int ERFile::SeekTo(long offset) { return Seek(offset, begin) != 0; }

int ERFile::Eof() { return GetPosition() == GetLength(); }

int ERFile::IsEmpty() { return SeekToEnd() == 0; }

int ERFile::Exists() {
    CFileStatus status;
    return GetStatus(status);
}

int ERFile::Exists(const char* name) {
    CFileStatus status;
    return CFile::GetStatus(name, status);
}

int ERFile::Read(char* text) {
    char next;
    while (velm::read_bytes(*this, &next, 1) == 1 && next != '\0' && next != '\xFF')
        *text++ = next;
    *text = '\0';
    return 1;
}

int ERFile::Write(const char* text) { return Write(text, std::strlen(text) + 1); }

#define VELM_FILE_NUMBER(T)                                                                        \
    int ERFile::Read(T& value) { return read_array(*this, &value, 1); }                            \
    int ERFile::Read(T* values, std::size_t count) { return read_array(*this, values, count); }    \
    int ERFile::Write(T value) { return write_array(*this, &value, 1); }                           \
    int ERFile::Write(const T* values, std::size_t count) {                                        \
        return write_array(*this, values, count);                                                  \
    }

VELM_FILE_NUMBER(char)
VELM_FILE_NUMBER(unsigned char)
VELM_FILE_NUMBER(short)
VELM_FILE_NUMBER(unsigned short)
VELM_FILE_NUMBER(int)
VELM_FILE_NUMBER(unsigned int)
VELM_FILE_NUMBER(long)
VELM_FILE_NUMBER(unsigned long)
VELM_FILE_NUMBER(float)
VELM_FILE_NUMBER(double)

#undef VELM_FILE_NUMBER
