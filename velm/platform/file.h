// CFile, CFileStatus: an unbuffered binary file with a position, sharing and a limit of 2 GiB.
#pragma once

#include "velm/export.h"
#include "velm/platform/integer_types.h"
#include "velm/platform/root_class.h"

#include <ctime>
#include <memory>
#include <string>

/// The properties of a file that are known without reading it.
struct CFileStatus {
    std::time_t m_ctime; ///< of the last change of the file's status
    std::time_t m_mtime; ///< of the last modification
    std::time_t m_atime; ///< of the last access
    ULONGLONG m_size;
    BYTE m_attribute; ///< CFile::Attribute, or-ed
    std::string m_szFullName;
};

// ERFile hides Open, Read and Write on purpose; g++ says so here, at what is hidden.
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Woverloaded-virtual"
#endif

/// A regular file. Pipes, devices and directories are refused, never waited for.
///
/// Nothing is buffered: bytes written by Write are visible through any other descriptor at once.
/// The position belongs to the object and costs no call to the system. Failures are thrown as
/// CFileException*, except where an operation's comment differs. One object belongs to one thread
/// at a time.
///
/// Sharing binds all programs that open the file through this class; it is held in advisory locks
/// that never wait and vanish with the descriptor. An open that sharing forbids is a
/// sharingViolation, a file system without locks a lockViolation (shareDenyNone needs none). A file
/// is emptied only after its locks are held.
class VELM_API CFile : public CObject {
public:
    /// The access, one sharing mode and any of the others are or-ed. The values are fixed.
    enum OpenFlags {
        modeRead = 0x0000,
        modeWrite = 0x0001,
        modeReadWrite = 0x0002,
        shareCompat = 0x0000, ///< no mode: the same as shareExclusive
        shareExclusive = 0x0010,
        shareDenyWrite = 0x0020,
        shareDenyRead = 0x0030,
        shareDenyNone = 0x0040,
        modeNoInherit =
            0x0080,          ///< no file is passed on to other programs, with the flag or without
        modeCreate = 0x1000, ///< creates the file, or empties an existing one
        modeNoTruncate = 0x2000, ///< with modeCreate: keeps the content
        typeText = 0x4000,       ///< has no effect: bytes are never converted
        typeBinary = 0x8000
    };

    enum SeekPosition { begin = 0, current = 1, end = 2 };

    enum Attribute { normal = 0x00, readOnly = 0x01, directory = 0x10 };

    /// No file grows beyond this length: a write that would exceed it is a diskFull, thrown before
    /// anything is written.
    static constexpr ULONGLONG longest = 0x7FFFFFFF;

    CFile() = default;
    /// Opens the file or throws.
    CFile(const char* name, UINT open_flags);
    CFile(const CFile&) = delete;
    CFile& operator=(const CFile&) = delete;
    /// Closes an open file without reporting failures; Close() reports them.
    ~CFile() override;

    /// Returns 1, or 0 with the cause in *error, unless that is null. An open file is closed first.
    virtual BOOL Open(const char* name, UINT open_flags, CFileException* error = nullptr);
    /// Closes the file. The object is closed afterwards even if this throws; closing a closed file
    /// does nothing.
    virtual void Close();
    /// Closes the file and reports nothing.
    virtual void Abort();
    /// A second object on the same open file with a position of its own. The sharing lasts until
    /// both are closed.
    virtual std::unique_ptr<CFile> Duplicate() const;

    /// Reads up to count bytes from the position on and moves it. Returns the number of bytes read:
    /// less than count only at the end of the file.
    virtual UINT Read(void* buffer, UINT count);
    /// Writes all bytes at the position and moves it, or throws.
    virtual void Write(const void* buffer, UINT count);
    /// Makes the system write its buffers to the disk.
    virtual void Flush();

    /// Moves the position, which may be past the end, and returns it. A position before the first
    /// byte is a badSeek.
    virtual ULONGLONG Seek(LONGLONG offset, UINT from);
    void SeekToBegin() { Seek(0, begin); }
    ULONGLONG SeekToEnd() { return Seek(0, end); }
    virtual ULONGLONG GetPosition() const { return m_position; }
    virtual ULONGLONG GetLength() const;
    /// Cuts the file or extends it with zeros. The position is unchanged.
    virtual void SetLength(ULONGLONG length);

    /// The first offset, the given one or later, that is not in a hole of the file; the length if
    /// only a hole follows; the given offset if the system doesn't know.
    ULONGLONG next_data(ULONGLONG offset) const;

    /// Fills in the status of the open file. Returns 0 if no file is open or the system reports a
    /// failure.
    BOOL GetStatus(CFileStatus& status) const;
    /// The same for a name, of a directory too. Returns 0 if nothing has that name.
    static BOOL GetStatus(const char* name, CFileStatus& status);

    /// Renames a file; a new name that exists already is an accessDenied.
    static void Rename(const char* old_name, const char* new_name);
    static void Remove(const char* name);

    /// The last part of the path.
    std::string GetFileName() const;
    /// The absolute path that the file was opened under; empty if none was opened.
    const std::string& GetFilePath() const { return m_strFileName; }

    bool is_open() const { return m_hFile >= 0; }

protected:
    /// Moves the position to a place in the file that the caller has come from or has read up to.
    void return_to(ULONGLONG position) { m_position = position; }

private:
    [[noreturn]] void raise(int os_error) const;
    [[noreturn]] void raise_cause(int cause) const;

    int m_hFile = -1;
    UINT m_flags = 0;
    ULONGLONG m_position = 0;
    std::string m_strFileName;
};

#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif
