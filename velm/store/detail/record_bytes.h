// velm::detail::RecordBytes: the bytes of one record as a file to read from, and nothing after
// them.
#pragma once

#include "velm/frame/binary_file.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Woverloaded-virtual"
#endif

namespace velm::detail {

class RecordBytes : public ERFile {
public:
    explicit RecordBytes(std::string bytes) : bytes_(std::move(bytes)) {}

    using ERFile::Read;
    UINT Read(void* buffer, UINT count) override {
        const std::size_t from = std::min<std::size_t>(position_, bytes_.size());
        const std::size_t came = std::min<std::size_t>(count, bytes_.size() - from);
        if (came > 0) std::memcpy(buffer, bytes_.data() + from, came);
        position_ = from + came;
        return static_cast<UINT>(came);
    }
    ULONGLONG Seek(LONGLONG offset, UINT from) override {
        const LONGLONG start = from == begin     ? 0
                               : from == current ? static_cast<LONGLONG>(position_)
                                                 : static_cast<LONGLONG>(bytes_.size());
        return position_ = static_cast<ULONGLONG>(std::max(start + offset, LONGLONG{0}));
    }
    ULONGLONG GetPosition() const override { return position_; }
    ULONGLONG GetLength() const override { return bytes_.size(); }

private:
    std::string bytes_;
    ULONGLONG position_ = 0;
};

} // namespace velm::detail

#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif
