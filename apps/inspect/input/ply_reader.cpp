#include "inspect/input/ply_reader.h"

#include "inspect/base/failure.h"
#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <utility>

namespace velm::inspect {
namespace {

constexpr std::size_t block = std::size_t{1} << 18;
constexpr std::size_t longest_line = std::size_t{1} << 20;
constexpr std::size_t scalar_bytes[] = {1, 1, 2, 2, 4, 4, 4, 8};
constexpr std::string_view blanks = " \t";

// The first word of a text, which loses it.
std::string_view take_word(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    const std::string_view word = text.substr(0, text.find_first_of(blanks));
    text.remove_prefix(word.size());
    return word;
}

std::vector<std::string_view> words_of(std::string_view line) {
    std::vector<std::string_view> words;
    for (std::string_view word = take_word(line); !word.empty(); word = take_word(line))
        words.push_back(word);
    return words;
}

// The bytes of a number, in the order of this machine or in the other one.
template <class Number>
double number_of(const char* bytes, bool swap) {
    std::array<char, sizeof(Number)> own;
    std::copy_n(bytes, sizeof(Number), own.begin());
    if (swap) std::reverse(own.begin(), own.end());
    Number value;
    std::memcpy(&value, own.data(), sizeof value);
    return static_cast<double>(value);
}

} // namespace

PlyReader::PlyReader(OpenedInput input) : input_(std::move(input)) { read_header(); }

void PlyReader::refuse(const std::string& why) const {
    const bool is_binary = in_body_ && format_ != Format::ascii;
    throw Failure(FailureKind::input, input_.name +
                                          (is_binary ? ", vertex " + std::to_string(read_)
                                                     : ", line " + std::to_string(line_)) +
                                          ": " + why);
}

// Whether so many bytes follow; they are then in the buffer.
bool PlyReader::fill(std::size_t wanted) {
    if (end_ - begin_ >= wanted) return true;
    std::copy(buffer_.begin() + static_cast<std::ptrdiff_t>(begin_),
              buffer_.begin() + static_cast<std::ptrdiff_t>(end_), buffer_.begin());
    end_ -= begin_;
    begin_ = 0;
    if (buffer_.size() < end_ + block) buffer_.resize(end_ + block);
    while (end_ < wanted) {
        const std::size_t got = input_.read(buffer_.data() + end_, buffer_.size() - end_);
        if (got == 0) return false;
        end_ += got;
        bytes_read_ += got;
    }
    return true;
}

// A line without its end, LF or CR LF; false after the last one.
bool PlyReader::next_line(std::string_view& line) {
    std::size_t length = 0;
    while (fill(length + 1)) {
        const char* const from = buffer_.data() + begin_;
        const void* const found = std::memchr(from + length, '\n', end_ - begin_ - length);
        if (found != nullptr) {
            length = static_cast<std::size_t>(static_cast<const char*>(found) - from);
            break;
        }
        length = end_ - begin_;
        if (length > longest_line) refuse("the line is longer than a mebibyte");
    }
    if (begin_ == end_) return false;
    line = {buffer_.data() + begin_, length};
    begin_ = std::min(begin_ + length + 1, end_);
    if (line.ends_with('\r')) line.remove_suffix(1);
    ++line_;
    return true;
}

void PlyReader::read_header() {
    std::string_view line;
    if (!next_line(line) || line != "ply")
        throw Failure(FailureKind::input,
                      input_.name + ": is no PLY file: expected 'ply' as its first line");
    for (;;) {
        if (!next_line(line)) refuse("the header ends without 'end_header'");
        if (line == "end_header") break;
        const std::vector<std::string_view> words = words_of(line);
        if (words.empty() || words[0] == "comment" || words[0] == "obj_info") continue;
        if (words[0] == "format")
            read_format(words);
        else if (words[0] == "element")
            read_element(words);
        else if (words[0] == "property")
            read_property(words);
        else
            refuse("expected a line of a PLY header, found '" + clipped(line, 60) + "'");
    }
    if (!has_format_) refuse("the header names no format");
    check_vertices();
    in_body_ = true;
    skip_elements_before();
}

void PlyReader::read_format(const std::vector<std::string_view>& words) {
    constexpr std::string_view names[] = {"ascii", "binary_little_endian", "binary_big_endian"};
    const std::string_view name = words.size() > 1 ? words[1] : "";
    const auto* const found = std::find(std::begin(names), std::end(names), name);
    if (found == std::end(names)) refuse("the format '" + clipped(name, 40) + "' isn't known");
    format_ = static_cast<Format>(found - std::begin(names));
    has_format_ = true;
}

void PlyReader::read_element(const std::vector<std::string_view>& words) {
    Element element;
    bool is_good = words.size() == 3;
    if (is_good) {
        const char* const end = words[2].data() + words[2].size();
        const auto [to, error] = std::from_chars(words[2].data(), end, element.count);
        is_good = error == std::errc() && to == end;
    }
    if (!is_good) refuse("expected 'element NAME COUNT'");
    if (words[1] == "vertex") {
        if (vertices_) refuse("there are two elements 'vertex'");
        open_ = &vertices_.emplace(std::move(element));
    } else if (!vertices_) {
        open_ = &elements_before_.emplace_back(std::move(element));
    } else {
        open_ = &after_;
    }
}

PlyReader::Scalar PlyReader::scalar(std::string_view word) const {
    constexpr std::string_view names[][2] = {
        {"char", "int8"}, {"uchar", "uint8"}, {"short", "int16"},   {"ushort", "uint16"},
        {"int", "int32"}, {"uint", "uint32"}, {"float", "float32"}, {"double", "float64"}};
    for (std::size_t i = 0; i < std::size(names); ++i)
        if (word == names[i][0] || word == names[i][1]) return static_cast<Scalar>(i);
    refuse("the type '" + clipped(word, 40) + "' isn't known");
}

void PlyReader::read_property(const std::vector<std::string_view>& words) {
    constexpr std::string_view uses[] = {"x", "y", "z", "nx", "ny", "nz"};
    if (open_ == nullptr) refuse("a property comes before the first element");
    Property property;
    if (words.size() == 5 && words[1] == "list") {
        property.length = scalar(words[2]);
        property.value = scalar(words[3]);
    } else if (words.size() == 3) {
        property.value = scalar(words[1]);
        const auto* const use = std::find(std::begin(uses), std::end(uses), words[2]);
        if (use != std::end(uses)) property.use = static_cast<int>(use - std::begin(uses));
    } else {
        refuse("expected 'property TYPE NAME' or 'property list TYPE TYPE NAME'");
    }
    open_->properties.push_back(property);
}

void PlyReader::check_vertices() {
    if (!vertices_) refuse("there is no element 'vertex'");
    std::array<int, 6> found{};
    for (const Property& property : vertices_->properties)
        if (property.use >= 0) ++found[static_cast<std::size_t>(property.use)];
    if (*std::max_element(found.begin(), found.end()) > 1)
        refuse("a coordinate of the vertices comes twice");
    if (found[0] == 0 || found[1] == 0 || found[2] == 0) refuse("the vertices have no x, y and z");
    has_normals_ = found[3] + found[4] + found[5] == 3;
}

void PlyReader::skip_elements_before() {
    double unused[6];
    for (const Element& element : elements_before_)
        for (std::uint64_t i = 0; i < element.count && !element.properties.empty(); ++i)
            read_entry(element, unused);
}

// The next line of an ASCII body that isn't blank.
void PlyReader::begin_entry() {
    if (format_ != Format::ascii) return;
    do {
        if (!next_line(rest_)) refuse("the file ends before all that its header says");
    } while (rest_.find_first_not_of(blanks) == std::string_view::npos);
}

void PlyReader::end_entry() const {
    if (format_ == Format::ascii && rest_.find_first_not_of(blanks) != std::string_view::npos)
        refuse("more numbers than the header says");
}

double PlyReader::ascii_value() {
    const std::string_view word = take_word(rest_);
    if (word.empty()) refuse("fewer numbers than the header says");
    const ParsedNumber number = parse_number(word);
    if (!number) refuse(number_complaint(word, number.fault));
    return number.value;
}

double PlyReader::binary_value(Scalar kind) {
    const std::size_t bytes = scalar_bytes[static_cast<std::size_t>(kind)];
    if (!fill(bytes)) refuse("the file ends before all that its header says");
    const char* const at = buffer_.data() + begin_;
    begin_ += bytes;
    const bool swap = (format_ == Format::big) != (std::endian::native == std::endian::big);
    switch (kind) {
    case Scalar::int8:
        return number_of<std::int8_t>(at, swap);
    case Scalar::uint8:
        return number_of<std::uint8_t>(at, swap);
    case Scalar::int16:
        return number_of<std::int16_t>(at, swap);
    case Scalar::uint16:
        return number_of<std::uint16_t>(at, swap);
    case Scalar::int32:
        return number_of<std::int32_t>(at, swap);
    case Scalar::uint32:
        return number_of<std::uint32_t>(at, swap);
    case Scalar::float32:
        return number_of<float>(at, swap);
    case Scalar::float64:
        break;
    }
    return number_of<double>(at, swap);
}

double PlyReader::value(Scalar kind) {
    return format_ == Format::ascii ? ascii_value() : binary_value(kind);
}

// One entry of an element; `used` gets x to nz.
void PlyReader::read_entry(const Element& element, double* used) {
    begin_entry();
    for (const Property& property : element.properties) {
        if (property.length) {
            const double length = value(*property.length);
            if (!(length >= 0.0)) refuse("a list has a length below 0");
            for (double i = 0.0; i < length; ++i)
                value(property.value);
        } else {
            const double number = value(property.value);
            if (property.use >= 0) used[property.use] = number;
        }
    }
    end_entry();
}

bool PlyReader::next(ScanPoint& point) {
    if (read_ == vertices_->count) return false;
    ++read_;
    double used[6] = {};
    read_entry(*vertices_, used);
    for (std::size_t i = 0; i < (has_normals_ ? 6U : 3U); ++i)
        if (!std::isfinite(used[i])) refuse("a coordinate isn't finite");
    point.place = {used[0], used[1], used[2]};
    point.normal.reset();
    if (has_normals_) point.normal = ERVector3D(used[3], used[4], used[5]);
    return true;
}

} // namespace velm::inspect
