// CArchive: a buffered stream of little-endian numbers to or from a file, the host's document.
#pragma once

#include "velm/export.h"
#include "velm/platform/archive_exception.h"
#include "velm/platform/integer_types.h"

#include <bit>
#include <cstddef>
#include <cstring>
#include <memory>

static_assert(std::endian::native == std::endian::little, "stored forms are little-endian");

class CFile;

/// Stores to a file or loads from it, starting at the file's position, in one direction for its
/// whole life.
///
/// Numbers have no tag: a BYTE, char or bool takes 1 byte, a WORD or short 2, a DWORD, int, long or
/// float 4, a LONGLONG or double 8; a long that does not fit is saturated. Storing to an archive
/// that loads, loading from one that stores, and loading past the end throw a CArchiveException*
/// with the causes readOnly, writeOnly and endOfFile; the file's own failures pass through as
/// CFileException*.
class VELM_API CArchive {
public:
    enum Mode { store = 0, load = 1, bNoFlushOnDelete = 2 };

    /// The file is not owned and must stay open as long as the archive. The caller may give a
    /// buffer of buffer_size bytes; it is not owned either.
    CArchive(CFile* file, UINT mode, int buffer_size = 4096, void* buffer = nullptr);
    CArchive(const CArchive&) = delete;
    CArchive& operator=(const CArchive&) = delete;
    /// Closes the archive, unless the mode forbids it, without reporting failures; Close() reports
    /// them.
    ~CArchive();

    bool IsLoading() const { return (mode_ & load) != 0; }
    bool IsStoring() const { return !IsLoading(); }
    CFile* GetFile() const { return file_; }

    /// Writes the buffered bytes or, when loading, moves the file's position to the next byte to be
    /// loaded.
    void Flush();
    /// Flushes and detaches from the file, which stays open. The archive can't be used afterwards.
    void Close();
    /// Detaches from the file without flushing.
    void Abort();

    /// Returns the number of bytes read: less than count only at the end of the file.
    UINT Read(void* buffer, UINT count);
    void Write(const void* buffer, UINT count);

    /// Counts take a WORD, or 0xFFFF and a DWORD from 0xFFFF on.
    void WriteCount(DWORD count);
    DWORD ReadCount();

    CArchive& operator<<(BYTE value) { return put(value); }
    CArchive& operator<<(char value) { return put(value); }
    CArchive& operator<<(bool value) { return put(static_cast<BYTE>(value)); }
    CArchive& operator<<(WORD value) { return put(value); }
    CArchive& operator<<(short value) { return put(value); }
    CArchive& operator<<(DWORD value) { return put(value); }
    CArchive& operator<<(int value) { return put(value); }
    CArchive& operator<<(long value);
    CArchive& operator<<(unsigned long value);
    CArchive& operator<<(LONGLONG value) { return put(value); }
    CArchive& operator<<(ULONGLONG value) { return put(value); }
    CArchive& operator<<(float value) { return put(value); }
    CArchive& operator<<(double value) { return put(value); }
    /// Addresses are not stored; without this they would convert to bool.
    template <class T>
    CArchive& operator<<(T* address) = delete;

    CArchive& operator>>(BYTE& value) { return get(value); }
    CArchive& operator>>(char& value) { return get(value); }
    CArchive& operator>>(bool& value);
    CArchive& operator>>(WORD& value) { return get(value); }
    CArchive& operator>>(short& value) { return get(value); }
    CArchive& operator>>(DWORD& value) { return get(value); }
    CArchive& operator>>(int& value) { return get(value); }
    CArchive& operator>>(long& value);
    CArchive& operator>>(unsigned long& value);
    CArchive& operator>>(LONGLONG& value) { return get(value); }
    CArchive& operator>>(ULONGLONG& value) { return get(value); }
    CArchive& operator>>(float& value) { return get(value); }
    CArchive& operator>>(double& value) { return get(value); }

    /// Stores or loads bytes as they are; a load that falls short throws.
    void put_bytes(const void* bytes, std::size_t count);
    void get_bytes(void* bytes, std::size_t count);
    /// The bytes still to be loaded. A stored count is compared with it before anything is
    /// allocated.
    ULONGLONG bytes_left() const;
    /// Throws a CArchiveException* that names this archive's file.
    [[noreturn]] void raise(int cause) const;

private:
    template <class Number>
    CArchive& put(Number value) {
        if (IsLoading()) raise(CArchiveException::readOnly);
        if (size_ - filled_ >= sizeof value) {
            std::memcpy(buffer_ + filled_, &value, sizeof value);
            filled_ += sizeof value;
        } else {
            put_bytes(&value, sizeof value);
        }
        return *this;
    }
    template <class Number>
    CArchive& get(Number& value) {
        if (IsStoring()) raise(CArchiveException::writeOnly);
        if (filled_ - next_ >= sizeof value) {
            std::memcpy(&value, buffer_ + next_, sizeof value);
            next_ += sizeof value;
        } else {
            get_bytes(&value, sizeof value);
        }
        return *this;
    }
    void write_buffer();

    CFile* file_;
    UINT mode_;
    std::unique_ptr<char[]> owned_buffer_;
    char* buffer_;
    std::size_t size_;       // of the buffer, 0 when closed
    std::size_t filled_ = 0; // bytes in the buffer
    std::size_t next_ = 0;   // when loading, the next byte to give out
};
