// spool.h: `Spool`, bytes that wait on the disk for what comes before them.
#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace velm::inspect {

/// A temporary file without a name, written to its end and then read once. Throws `Failure` (file).
class Spool {
public:
    Spool();
    void write(std::string_view bytes);
    /// The bytes of a number as memory has it.
    template <class Number>
    void put(Number value) {
        write({reinterpret_cast<const char*>(&value), sizeof value});
    }
    std::uint64_t size() const { return size_; }
    /// Passes all bytes on, in blocks.
    void read(const std::function<void(std::string_view)>& take);

private:
    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    void flush();

    std::unique_ptr<std::FILE, Close> file_;
    std::string pending_;
    std::uint64_t size_ = 0;
};

} // namespace velm::inspect
