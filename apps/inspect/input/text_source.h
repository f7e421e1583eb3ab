// text_source.h: `TextSource`, an input file read line by line in one pass.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace velm::inspect {

/// An input file opened for one pass.
struct OpenedInput {
    std::string name;       ///< "standard input" for "-"
    std::uint64_t size = 0; ///< in bytes, 0 if it is unknown (a pipe)
    /// Fills the room as far as it can; 0 at the end. Throws `Failure` (file).
    std::function<std::size_t(char* to, std::size_t room)> read;
};
/// Throws `Failure` (file) for a file that can't be opened.
OpenedInput open_input(const std::string& path);
/// The first bytes of an input, at most `most`; reading gives them again.
std::string first_bytes(OpenedInput& input, std::size_t most);

/// Gives the lines of a text, ended by LF, CR LF or CR; a UTF-8 byte-order mark at the start is
/// dropped. Keeps one block at a time, regardless of the size of the file. Binary content (a zero
/// byte, UTF-16) and lines above `longest_line` are refused as input that can't be understood.
class TextSource {
public:
    static constexpr std::size_t longest_line = std::size_t{1} << 20;

    /// Opens a file, or stdin for "-". Throws `Failure` (file) if it can't be opened.
    explicit TextSource(const std::string& path) : TextSource(open_input(path)) {}
    explicit TextSource(OpenedInput input);
    /// Reads from memory, which must outlive the source.
    TextSource(std::string name, std::string_view text);

    /// The next line without its end; false after the last one. The view is valid until the next
    /// call. Throws `Failure` (file) if reading fails, (input) on binary content.
    bool next_line(std::string_view& line);

    /// The text that follows, at least 512 bytes unless it ends before, without consuming it. The
    /// view is valid until the next call. Throws as next_line does.
    std::string_view ahead();

    const std::string& name() const { return name_; }
    /// The number of the last line given, from 1; 0 before the first.
    std::size_t line_number() const { return line_number_; }
    std::uint64_t bytes_read() const { return bytes_read_; }
    /// The size of the file in bytes, 0 if it is unknown (a pipe).
    std::uint64_t size() const { return size_; }

    /// Throws `Failure` (input): "name, line n: why".
    [[noreturn]] void refuse(const std::string& why) const { refuse_at(line_number_, why); }
    [[noreturn]] void refuse_at(std::size_t line, const std::string& why) const;
    /// Throws `Failure` (input) about the whole file: "name: why".
    [[noreturn]] void refuse_whole(const std::string& why) const;

private:
    bool fill();
    void check_block(std::size_t from);

    std::string name_;
    std::function<std::size_t(char*, std::size_t)> read_;
    std::vector<char> buffer_;
    std::size_t begin_ = 0, end_ = 0; // the part of the buffer not given out yet
    bool at_end_ = false;
    bool skip_line_feed_ = false; // the last line ended in CR at the end of a block
    std::size_t line_number_ = 0;
    std::uint64_t bytes_read_ = 0;
    std::uint64_t size_ = 0;
};

} // namespace velm::inspect
