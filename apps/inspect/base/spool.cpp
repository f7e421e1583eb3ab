#include "inspect/base/spool.h"

#include "inspect/base/failure.h"

#include <cerrno>
#include <vector>

namespace velm::inspect {
namespace {

constexpr std::size_t spool_block = std::size_t{1} << 16;

[[noreturn]] void fail(const char* what) { fail_file("a temporary file", what, errno); }

} // namespace

Spool::Spool() : file_(std::tmpfile()) {
    if (!file_) fail("can't be created");
}

void Spool::write(std::string_view bytes) {
    pending_ += bytes;
    size_ += bytes.size();
    if (pending_.size() >= spool_block) flush();
}

void Spool::flush() {
    if (std::fwrite(pending_.data(), 1, pending_.size(), file_.get()) != pending_.size())
        fail("can't be written");
    pending_.clear();
}

void Spool::read(const std::function<void(std::string_view)>& take) {
    flush();
    if (std::fflush(file_.get()) != 0) fail("can't be written");
    std::rewind(file_.get());
    std::vector<char> bytes(spool_block);
    for (;;) {
        const std::size_t got = std::fread(bytes.data(), 1, bytes.size(), file_.get());
        if (got == 0) break;
        take({bytes.data(), got});
    }
    if (std::ferror(file_.get()) != 0) fail("can't be read");
}

} // namespace velm::inspect
