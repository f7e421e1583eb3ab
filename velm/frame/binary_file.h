// ERFile: a typed layer over CFile that reads and writes the primitive stored forms.
#pragma once

#include "velm/export.h"
#include "velm/platform/file.h"

#include <bit>
#include <cstddef>
#include <cstdint>

static_assert(std::endian::native == std::endian::little, "stored forms are little-endian");

// The typed operations hide CFile's own on purpose: with both visible, an array of structures and
// its count would be taken as bytes.
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Woverloaded-virtual"
#endif

/// Values are stored as they are in memory, little-endian, without a tag: 1 byte for char, 2 for
/// short, 4 for int and float, 8 for double. A long is 64 bits in memory and always 32 on file; a
/// value that does not fit is saturated when it is written.
///
/// Reading returns 1 if all bytes were read, else 0 with the target partly filled; writing returns
/// 1 and throws CFileException* on failure.
class VELM_API ERFile : public CFile {
public:
    ERFile() = default;
    /// Opens the file with CFile::OpenFlags or throws.
    ERFile(const char* name, unsigned int flags) : CFile(name, flags) {}
    ~ERFile() override;

    /// Returns 1, or 0 if the file can't be opened.
    int Open(const char* name, unsigned int flags) { return CFile::Open(name, flags); }
    void Close() override;

    long CurOffset();
    /// Moves to an offset from the beginning. Returns whether the new position is not zero, so that
    /// SeekTo(0) returns 0 although it succeeds: part of the contract.
    int SeekTo(long offset);
    int Eof();
    /// Whether the file has no bytes. Leaves the position at the end: part of the contract.
    int IsEmpty();
    /// Whether the status of the open file can be read.
    int Exists();
    static int Exists(const char* name);

    int Read(char& value);
    int Read(unsigned char& value);
    int Read(short& value);
    int Read(unsigned short& value);
    int Read(int& value);
    int Read(unsigned int& value);
    int Read(long& value);
    int Read(unsigned long& value);
    int Read(float& value);
    int Read(double& value);

    int Read(char* values, std::size_t count);
    int Read(unsigned char* values, std::size_t count);
    int Read(short* values, std::size_t count);
    int Read(unsigned short* values, std::size_t count);
    int Read(int* values, std::size_t count);
    int Read(unsigned int* values, std::size_t count);
    int Read(long* values, std::size_t count);
    int Read(unsigned long* values, std::size_t count);
    int Read(float* values, std::size_t count);
    int Read(double* values, std::size_t count);

    /// Reads characters up to a NUL, a byte 0xFF or the end of the file, none of which is copied,
    /// and closes the string with a NUL. The buffer has no bound: it must be large enough for the
    /// string on file. Returns 1 always. That 0xFF ends a string too is part of the contract.
    int Read(char* text);

    int Write(char value);
    int Write(unsigned char value);
    int Write(short value);
    int Write(unsigned short value);
    int Write(int value);
    int Write(unsigned int value);
    int Write(long value);
    int Write(unsigned long value);
    int Write(float value);
    int Write(double value);

    int Write(const char* values, std::size_t count);
    int Write(const unsigned char* values, std::size_t count);
    int Write(const short* values, std::size_t count);
    int Write(const unsigned short* values, std::size_t count);
    int Write(const int* values, std::size_t count);
    int Write(const unsigned int* values, std::size_t count);
    int Write(const long* values, std::size_t count);
    int Write(const unsigned long* values, std::size_t count);
    int Write(const float* values, std::size_t count);
    int Write(const double* values, std::size_t count);

    /// Writes the characters and the closing NUL.
    int Write(const char* text);
};

#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

namespace velm {

/// The bytes between the position and the end of the file, 0 past the end. A stored length or count
/// is compared with it before anything is allocated.
VELM_API ULONGLONG bytes_left(const CFile& file);

/// Reads up to count bytes and returns the number read.
VELM_API std::size_t read_bytes(ERFile& file, void* target, std::size_t count);
/// Writes all bytes or throws.
VELM_API void write_bytes(ERFile& file, const void* source, std::size_t count);

/// The 32-bit form of a long: saturated.
constexpr std::int32_t stored_long(long value) {
    return value > INT32_MAX   ? INT32_MAX
           : value < INT32_MIN ? INT32_MIN
                               : static_cast<std::int32_t>(value);
}
constexpr std::uint32_t stored_long(unsigned long value) {
    return value > UINT32_MAX ? UINT32_MAX : static_cast<std::uint32_t>(value);
}

} // namespace velm
