#include "inspect/input/text_source.h"

#include "inspect/base/failure.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velm::inspect {
namespace {

constexpr std::size_t block = std::size_t{1} << 18;

struct Descriptor {
    explicit Descriptor(int number) : value(number) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (value > STDIN_FILENO) ::close(value);
    }
    int value;
};

} // namespace

OpenedInput open_input(const std::string& path) {
    OpenedInput input;
    input.name = path == "-" ? "standard input" : path;
    auto file = std::make_shared<Descriptor>(
        path == "-" ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    if (file->value < 0) fail_file(input.name, "can't be opened for reading", errno);
    struct stat status {};
    if (::fstat(file->value, &status) == 0 && S_ISREG(status.st_mode))
        input.size = static_cast<std::uint64_t>(status.st_size);
    input.read = [file, name = input.name](char* to, std::size_t room) -> std::size_t {
        for (;;) {
            const ssize_t got = ::read(file->value, to, room);
            if (got >= 0) return static_cast<std::size_t>(got);
            if (errno != EINTR) fail_file(name, "can't be read", errno);
        }
    };
    return input;
}

std::string first_bytes(OpenedInput& input, std::size_t most) {
    std::string first(most, '\0');
    std::size_t count = 0;
    while (count < most) {
        const std::size_t got = input.read(first.data() + count, most - count);
        if (got == 0) break;
        count += got;
    }
    first.resize(count);
    input.read = [again = first, rest = std::move(input.read)](char* to, std::size_t room) mutable {
        if (again.empty()) return rest(to, room);
        const std::size_t given = again.copy(to, room);
        again.erase(0, given);
        return given;
    };
    return first;
}

TextSource::TextSource(OpenedInput input)
    : name_(std::move(input.name)), read_(std::move(input.read)), size_(input.size) {}

TextSource::TextSource(std::string name, std::string_view text)
    : name_(std::move(name)), size_(text.size()) {
    read_ = [text](char* to, std::size_t room) mutable {
        const std::size_t count = std::min(room, text.size());
        std::copy_n(text.data(), count, to);
        text.remove_prefix(count);
        return count;
    };
}

void TextSource::refuse_at(std::size_t line, const std::string& why) const {
    throw Failure(FailureKind::input, name_ + ", line " + std::to_string(line) + ": " + why);
}

void TextSource::refuse_whole(const std::string& why) const {
    throw Failure(FailureKind::input, name_ + ": " + why);
}

// Moves the rest to the front and reads one more block after it; false at the end.
bool TextSource::fill() {
    if (at_end_) return false;
    std::copy(buffer_.begin() + static_cast<std::ptrdiff_t>(begin_),
              buffer_.begin() + static_cast<std::ptrdiff_t>(end_), buffer_.begin());
    end_ -= begin_;
    begin_ = 0;
    buffer_.resize(end_ + block);
    const bool first = bytes_read_ == 0;
    const std::string_view mark = "\xEF\xBB\xBF";
    std::size_t got = 0;
    do { // a pipe may give the byte-order mark in pieces
        const std::size_t more = read_(buffer_.data() + end_ + got, block - got);
        at_end_ = more == 0;
        got += more;
    } while (!at_end_ && first && got < mark.size());
    bytes_read_ += got;
    end_ += got;
    check_block(end_ - got);
    if (first && std::string_view(buffer_.data(), end_).substr(0, 3) == mark) begin_ = mark.size();
    return begin_ < end_;
}

std::string_view TextSource::ahead() {
    constexpr std::size_t enough = 512;
    while (end_ - begin_ < enough && fill()) {
    }
    return {buffer_.data() + begin_, end_ - begin_};
}

void TextSource::check_block(std::size_t from) {
    const std::string_view all(buffer_.data(), end_);
    if (bytes_read_ == end_ && (all.substr(0, 2) == "\xFF\xFE" || all.substr(0, 2) == "\xFE\xFF"))
        refuse_whole("the text is in UTF-16; expected UTF-8 or plain ASCII");
    const std::size_t zero = all.find('\0', from);
    if (zero == std::string_view::npos) return;
    const auto lines = std::count(all.begin() + static_cast<std::ptrdiff_t>(begin_),
                                  all.begin() + static_cast<std::ptrdiff_t>(zero), '\n');
    refuse_at(line_number_ + 1 + static_cast<std::size_t>(lines),
              "a zero byte; this is a binary file, expected text");
}

bool TextSource::next_line(std::string_view& line) {
    std::size_t searched = 0; // bytes after begin_ without a line end
    for (;;) {
        if (skip_line_feed_ && begin_ < end_) {
            skip_line_feed_ = false;
            if (buffer_[begin_] == '\n') ++begin_;
        }
        const std::string_view rest(buffer_.data() + begin_, end_ - begin_);
        std::size_t length = rest.find('\n', searched);
        // CR is looked for only up to the LF, so that each byte is seen twice at most.
        const std::size_t carriage = rest.substr(0, length).find('\r', searched);
        if (carriage != std::string_view::npos) length = carriage;
        if (length == std::string_view::npos) {
            if (rest.size() > longest_line) {
                ++line_number_;
                refuse("the line is longer than a mebibyte");
            }
            searched = rest.size();
            if (fill()) continue;
            if (begin_ == end_) return false;
            length = end_ - begin_;
        }
        line = std::string_view(buffer_.data() + begin_, length);
        if (carriage != std::string_view::npos) skip_line_feed_ = true;
        begin_ = std::min(begin_ + length + 1, end_);
        ++line_number_;
        return true;
    }
}

} // namespace velm::inspect
