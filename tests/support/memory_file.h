// A binary file in memory, for readers that are fed many small inputs.
#pragma once

#include "velm/frame/binary_file.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

namespace velm_test {

class MemoryFile : public ERFile {
public:
    explicit MemoryFile(std::string content = {}) : bytes(std::move(content)) {}

    using ERFile::Read;
    using ERFile::Write;
    UINT Read(void* buffer, UINT count) override {
        const std::size_t start = std::min<std::size_t>(position_, bytes.size());
        const std::size_t came = std::min<std::size_t>(count, bytes.size() - start);
        if (came > 0) std::memcpy(buffer, bytes.data() + start, came);
        position_ += came;
        return static_cast<UINT>(came);
    }
    void Write(const void* buffer, UINT count) override {
        bytes.resize(std::max<std::size_t>(bytes.size(), position_ + count));
        if (count > 0) std::memcpy(bytes.data() + position_, buffer, count);
        position_ += count;
    }
    ULONGLONG Seek(LONGLONG offset, UINT from) override {
        const ULONGLONG start = from == begin ? 0 : from == current ? position_ : bytes.size();
        return position_ = start + static_cast<ULONGLONG>(offset);
    }
    ULONGLONG GetPosition() const override { return position_; }
    ULONGLONG GetLength() const override { return bytes.size(); }

    std::string bytes;

private:
    ULONGLONG position_ = 0;
};

} // namespace velm_test
