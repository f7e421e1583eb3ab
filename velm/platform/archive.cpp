#include "velm/platform/archive.h"

#include "velm/platform/file.h"

#include <algorithm>
#include <limits>

namespace {

constexpr int smallest_buffer = 128;
constexpr WORD long_count = 0xFFFF;

template <class Narrow, class Wide>
Narrow saturated(Wide value) {
    using Limits = std::numeric_limits<Narrow>;
    return static_cast<Narrow>(std::clamp<Wide>(value, Limits::min(), Limits::max()));
}

} // namespace

CArchive::CArchive(CFile* file, UINT mode, int buffer_size, void* buffer)
    : file_(file), mode_(mode), buffer_(static_cast<char*>(buffer)),
      size_(static_cast<std::size_t>(std::max(buffer_size, smallest_buffer))) {
    if (buffer_ == nullptr || buffer_size < smallest_buffer) {
        owned_buffer_ = std::make_unique_for_overwrite<char[]>(size_);
        buffer_ = owned_buffer_.get();
    }
}

CArchive::~CArchive() {
    if ((mode_ & bNoFlushOnDelete) != 0) return;
    try {
        Close();
    } catch (CException* failure) {
        failure->Delete();
    }
}

void CArchive::Flush() {
    if (file_ == nullptr) return;
    if (IsStoring()) {
        write_buffer();
    } else if (next_ < filled_) {
        const auto unread = static_cast<LONGLONG>(filled_ - next_);
        filled_ = next_ = 0;
        file_->Seek(-unread, CFile::current);
    }
}

void CArchive::Close() {
    Flush();
    Abort();
}

void CArchive::Abort() {
    file_ = nullptr;
    size_ = filled_ = next_ = 0;
}

UINT CArchive::Read(void* buffer, UINT count) {
    if (IsStoring()) raise(CArchiveException::writeOnly);
    if (count == 0) return 0;
    char* const bytes = static_cast<char*>(buffer);
    const std::size_t held = std::min<std::size_t>(count, filled_ - next_);
    std::memcpy(bytes, buffer_ + next_, held);
    next_ += held;
    UINT done = static_cast<UINT>(held);
    if (done == count || file_ == nullptr) return done;
    if (count - done >= size_) return done + file_->Read(bytes + done, count - done);
    next_ = filled_ = 0;
    filled_ = file_->Read(buffer_, static_cast<UINT>(size_));
    next_ = std::min<std::size_t>(count - done, filled_);
    std::memcpy(bytes + done, buffer_, next_);
    return done + static_cast<UINT>(next_);
}

void CArchive::Write(const void* buffer, UINT count) { put_bytes(buffer, count); }

void CArchive::put_bytes(const void* bytes, std::size_t count) {
    if (IsLoading() || file_ == nullptr) raise(CArchiveException::readOnly);
    if (count == 0) return;
    const char* source = static_cast<const char*>(bytes);
    if (count > size_ - filled_) write_buffer();
    while (count >= size_) {
        const auto now =
            static_cast<UINT>(std::min<std::size_t>(count, std::numeric_limits<UINT>::max() / 2));
        file_->Write(source, now);
        source += now;
        count -= now;
    }
    std::memcpy(buffer_ + filled_, source, count);
    filled_ += count;
}

void CArchive::get_bytes(void* bytes, std::size_t count) {
    char* target = static_cast<char*>(bytes);
    while (count > 0) {
        const auto now =
            static_cast<UINT>(std::min<std::size_t>(count, std::numeric_limits<UINT>::max() / 2));
        if (Read(target, now) != now) raise(CArchiveException::endOfFile);
        target += now;
        count -= now;
    }
}

void CArchive::write_buffer() {
    const auto count = static_cast<UINT>(filled_);
    filled_ = 0;
    if (count > 0) file_->Write(buffer_, count);
}

ULONGLONG CArchive::bytes_left() const {
    if (IsStoring() || file_ == nullptr) return 0;
    const ULONGLONG position = file_->GetPosition();
    const ULONGLONG length = file_->GetLength();
    return (length > position ? length - position : 0) + (filled_ - next_);
}

void CArchive::raise(int cause) const {
    AfxThrowArchiveException(cause, file_ != nullptr ? file_->GetFilePath().c_str() : nullptr);
}

void CArchive::WriteCount(DWORD count) {
    if (count < long_count) {
        *this << static_cast<WORD>(count);
    } else {
        *this << long_count << count;
    }
}

DWORD CArchive::ReadCount() {
    WORD count;
    *this >> count;
    if (count != long_count) return count;
    DWORD large;
    *this >> large;
    return large;
}

CArchive& CArchive::operator<<(long value) { return *this << saturated<LONG>(value); }

CArchive& CArchive::operator<<(unsigned long value) { return *this << saturated<DWORD>(value); }

CArchive& CArchive::operator>>(bool& value) {
    BYTE byte;
    *this >> byte;
    value = byte != 0;
    return *this;
}

CArchive& CArchive::operator>>(long& value) {
    LONG stored;
    *this >> stored;
    value = stored;
    return *this;
}

CArchive& CArchive::operator>>(unsigned long& value) {
    DWORD stored;
    *this >> stored;
    value = stored;
    return *this;
}
