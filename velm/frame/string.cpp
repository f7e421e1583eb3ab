#include "velm/frame/string.h"

#include "velm/frame/binary_file.h"
#include "velm/frame/regexp.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cstring>
#include <istream>
#include <iterator>
#include <memory>
#include <new>
#include <ostream>
#include <stdexcept>
#include <string>
#include <utility>

namespace {

unsigned char lower(char c) {
    return static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
}
unsigned char upper(char c) {
    return static_cast<unsigned char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
}

int length_of(const char* text) {
    const std::size_t n = text != nullptr ? std::strlen(text) : 0;
    if (n > static_cast<std::size_t>(INT_MAX)) throw std::length_error("ERCString");
    return static_cast<int>(n);
}

std::size_t count_of(int n) { return static_cast<std::size_t>(std::max(n, 0)); }

int sum(int a, int b) {
    if (a > INT_MAX - b) throw std::length_error("ERCString");
    return a + b;
}

std::string_view view_of(const char* text, int n) {
    return text != nullptr ? std::string_view(text, count_of(n)) : std::string_view();
}

ERCString string_of(std::string_view text) {
    if (text.size() > static_cast<std::size_t>(INT_MAX)) throw std::length_error("ERCString");
    return ERCString(text.data(), static_cast<int>(text.size()));
}

// 1, 0 or -1.
int compare(std::string_view a, std::string_view b, ERCString::caseCompare how) {
    const std::size_t shorter = std::min(a.size(), b.size());
    int difference = 0;
    if (how == ERCString::exact) {
        if (shorter > 0) difference = std::memcmp(a.data(), b.data(), shorter);
    } else {
        for (std::size_t i = 0; i < shorter && difference == 0; ++i)
            difference = int{lower(a[i])} - int{lower(b[i])};
    }
    if (difference == 0) return (a.size() > b.size()) - (a.size() < b.size());
    return difference > 0 ? 1 : -1;
}

} // namespace

// ---- the body ----

ERCStringRef* ERCStringRef::getRep(int capacity, int length) {
    const std::size_t bytes = sizeof(ERCStringRef) + count_of(capacity) + 1;
    ERCStringRef* const made =
        ::new (::operator new(bytes)) ERCStringRef(std::max(capacity, 0), length);
    made->set_length(length);
    return made;
}

ERCStringRef* ERCStringRef::empty() {
    static ERCStringRef* const shared = getRep(0, 0);
    return shared;
}

void ERCStringRef::release(ERCStringRef* body) {
    if (body->removeReference() != 0) return;
    std::destroy_at(body);
    ::operator delete(body);
}

// ---- creation ----

ERCString::ERCString(const char* text) : ERCString(text, length_of(text)) {}

ERCString::ERCString(const char* text, int n) : ERCString(text, n, nullptr, 0) {}

ERCString::ERCString(char c, int count) : ERCString() {
    if (count > 0) append(c, count);
}

ERCString::ERCString(ERSize_T size) : body(ERCStringRef::getRep(size, 0)) {}

ERCString::ERCString(const ERCSubString& part)
    : ERCString(part.view().data(), static_cast<int>(part.view().size())) {}

ERCString::ERCString(const char* a, int a_length, const char* b, int b_length) {
    const std::string_view first_part = view_of(a, a_length);
    const std::string_view second_part = view_of(b, b_length);
    const int n = sum(static_cast<int>(first_part.size()), static_cast<int>(second_part.size()));
    if (n == 0) {
        body = ERCStringRef::empty();
        body->addReference();
        return;
    }
    body = ERCStringRef::getRep(adjustCapacity(n), n);
    std::copy(second_part.begin(), second_part.end(),
              std::copy(first_part.begin(), first_part.end(), body->data()));
}

ERCString& ERCString::operator=(const ERCString& other) noexcept {
    other.body->addReference();
    ERCStringRef::release(body);
    body = other.body;
    return *this;
}

int ERCString::adjustCapacity(int n) {
    if (n < 16) return 15;
    return n > INT_MAX - 14 ? n : (n + 14) / 15 * 15;
}

void ERCString::clone(int n) {
    ERCStringRef* const made = ERCStringRef::getRep(n, length());
    std::memcpy(made->data(), body->data(), count_of(length()));
    ERCStringRef::release(body);
    body = made;
}

void ERCString::cow(int n) {
    if (n > capacity())
        clone(adjustCapacity(n));
    else if (!body->isUnshared())
        clone(capacity());
}

// ---- reading ----

int ERCString::isAscii() const {
    return std::none_of(begin(), end(), [](char c) { return (c & 0x80) != 0; });
}

int ERCString::first(char c) const {
    const std::size_t at = view().find(c);
    return at == std::string_view::npos ? -1 : static_cast<int>(at);
}

int ERCString::first(const char* any_of) const {
    const std::size_t at = view().find_first_of(any_of != nullptr ? any_of : "");
    return at == std::string_view::npos ? -1 : static_cast<int>(at);
}

int ERCString::last(char c) const {
    const std::size_t at = view().rfind(c);
    return at == std::string_view::npos ? -1 : static_cast<int>(at);
}

int ERCString::contains(const char* text, caseCompare how) const {
    return index(text, 0, how) >= 0;
}

int ERCString::index(const char* text, int start, caseCompare how) const {
    if (start > length()) return -1;
    const std::string_view wanted = view_of(text, length_of(text));
    const std::string_view here = view().substr(count_of(start));
    const auto found = how == exact
                           ? std::search(here.begin(), here.end(), wanted.begin(), wanted.end())
                           : std::search(here.begin(), here.end(), wanted.begin(), wanted.end(),
                                         [](char a, char b) { return lower(a) == lower(b); });
    if (found == here.end() && !wanted.empty()) return -1;
    return static_cast<int>(found - here.begin()) + std::max(start, 0);
}

int ERCString::index(const ERCRegexp& pattern, int start) const {
    int matched = 0;
    return pattern.index(*this, &matched, start);
}

int ERCString::index(const ERCRegexp& pattern, int* matchLength, int start) const {
    return pattern.index(*this, matchLength, start);
}

int ERCString::compareTo(const ERCString& other, caseCompare how) const {
    return compare(view(), other.view(), how);
}

int ERCString::compareTo(const char* other, caseCompare how) const {
    return compare(view(), view_of(other, length_of(other)), how);
}

unsigned int ERCString::hash(caseCompare how) const {
    unsigned int h = static_cast<unsigned int>(length());
    if (how == ignoreCase) {
        for (const char c : *this)
            h = upper(c) ^ std::rotl(h, 5);
        return h;
    }
    const char* at = begin();
    for (; end() - at >= 4; at += 4) {
        unsigned int word;
        std::memcpy(&word, at, 4);
        h = std::rotl(h, 5) ^ word;
    }
    if (at == end()) return h;
    unsigned int rest = 0;
    for (; at != end(); ++at) // signed bytes: part of the contract
        rest = rest << 8 | static_cast<unsigned int>(static_cast<signed char>(*at));
    return std::rotl(h, 5) ^ rest;
}

// ---- parts ----

const ERCSubString ERCString::subString(const char* text, int start, caseCompare how) const {
    return ERCSubString(*this, index(text, start, how), length_of(text));
}

const ERCSubString ERCString::operator()(int start, int extent) const {
    return ERCSubString(*this, start, extent);
}

const ERCSubString ERCString::operator()(const ERCRegexp& pattern, int start) const {
    int matched = 0;
    const int at = index(pattern, &matched, start);
    return ERCSubString(*this, at, matched);
}

const ERCSubString ERCString::strip(stripType type, char c) const {
    const std::string_view text = view();
    std::size_t from = 0;
    std::size_t to = text.size();
    if (type & leading) from = std::min(text.find_first_not_of(c), to);
    if (type & trailing) to = std::max(text.find_last_not_of(c) + 1, from);
    return ERCSubString(*this, from == to ? -1 : static_cast<int>(from),
                        static_cast<int>(to - from));
}

ERCSubString ERCString::subString(const char* text, int start, caseCompare how) {
    return std::as_const(*this).subString(text, start, how);
}
ERCSubString ERCString::operator()(int start, int extent) {
    return std::as_const(*this)(start, extent);
}
ERCSubString ERCString::operator()(const ERCRegexp& pattern, int start) {
    return std::as_const(*this)(pattern, start);
}
ERCSubString ERCString::strip(stripType type, char c) {
    return std::as_const(*this).strip(type, c);
}

ERCSubString::ERCSubString(const ERCString& text, int begin_, int extent_)
    : string(const_cast<ERCString*>(&text)), begin(begin_), extent(0) {
    if (begin < 0 || begin > text.length())
        begin = -1;
    else
        extent = std::clamp(extent_, 0, text.length() - begin);
}

std::string_view ERCSubString::view() const {
    if (begin < 0 || begin > string->length()) return {};
    return string->view().substr(count_of(begin), count_of(extent));
}

ERCSubString& ERCSubString::operator=(const ERCString& replacement) {
    if (begin < 0) return *this;
    const ERCString kept = replacement;
    string->replace(begin, extent, kept);
    extent = kept.length();
    return *this;
}

ERCSubString& ERCSubString::operator=(const char* replacement) {
    return *this = ERCString(replacement);
}

void ERCSubString::toLower() { *this = ::toLower(ERCString(*this)); }
void ERCSubString::toUpper() { *this = ::toUpper(ERCString(*this)); }

// ---- writing ----

ERCString& ERCString::replace(int at, int n, const char* text, int text_length) {
    const std::string_view piece = view_of(text, text_length);
    const int from = std::clamp(at, 0, length());
    const int to = from + std::clamp(n, 0, length() - from);
    const int tail = length() - to;
    const int put = static_cast<int>(piece.size());
    const int result = sum(from + tail, put);
    const bool inside = !piece.empty() && piece.data() >= data() && piece.data() <= end();
    if (inside || result > capacity() || !body->isUnshared()) {
        const int room = result > capacity() ? adjustCapacity(result) : capacity();
        ERCStringRef* const made = ERCStringRef::getRep(room, result);
        char* out = std::copy_n(data(), from, made->data());
        out = std::copy(piece.begin(), piece.end(), out);
        std::copy_n(data() + to, tail, out);
        ERCStringRef::release(body);
        body = made;
        return *this;
    }
    char* const target = body->data() + from;
    std::memmove(target + put, data() + to, count_of(tail));
    std::copy(piece.begin(), piece.end(), target);
    body->set_length(result);
    return *this;
}

ERCString& ERCString::replace(int at, int n, const char* text) {
    return replace(at, n, text, length_of(text));
}

ERCString& ERCString::replace(const ERCRegexp& pattern, const ERCString& text, scopeType scope) {
    const ERCString piece = text;
    int matched = 0;
    int at = index(pattern, &matched, 0);
    while (at >= 0) {
        replace(at, matched, piece);
        if (scope == one) break;
        const int next = at + piece.length() + (matched == 0); // past an empty match
        at = next > length() ? -1 : index(pattern, &matched, next);
    }
    return *this;
}

ERCString& ERCString::append(const char* text) { return append(text, length_of(text)); }
ERCString& ERCString::append(const char* text, int n) { return replace(length(), 0, text, n); }
ERCString& ERCString::append(char c, int count) {
    return append(std::string(count_of(count), c).data(), count);
}
ERCString& ERCString::prepend(const char* text) { return prepend(text, length_of(text)); }
ERCString& ERCString::prepend(const char* text, int n) { return replace(0, 0, text, n); }
ERCString& ERCString::prepend(char c, int count) {
    return prepend(std::string(count_of(count), c).data(), count);
}
ERCString& ERCString::insert(int at, const char* text) { return insert(at, text, length_of(text)); }

void ERCString::toLower() {
    char* const text = own();
    std::transform(text, text + length(), text, [](char c) { return static_cast<char>(lower(c)); });
}

void ERCString::toUpper() {
    char* const text = own();
    std::transform(text, text + length(), text, [](char c) { return static_cast<char>(upper(c)); });
}

void ERCString::resize(int n) {
    if (n < length())
        remove(std::max(n, 0));
    else
        append(' ', n - length());
}

int ERCString::capacity(int n) {
    if (n >= length() && n != capacity()) clone(n);
    return capacity();
}

// ---- text input ----

std::istream& ERCString::readFile(std::istream& in) {
    *this = string_of(std::string(std::istreambuf_iterator<char>(in), {}));
    in.setstate(std::ios::eofbit);
    return in;
}

std::istream& ERCString::readLine(std::istream& in, int skipWhite) {
    if (skipWhite) in >> std::ws;
    return readToDelim(in, '\n');
}

std::istream& ERCString::readString(std::istream& in) { return readToDelim(in, '\0'); }

std::istream& ERCString::readToDelim(std::istream& in, char delim) {
    std::string text;
    std::getline(in, text, delim);
    *this = string_of(text);
    return in;
}

std::istream& ERCString::readToken(std::istream& in) {
    std::string text;
    in >> text;
    *this = string_of(text);
    return in;
}

// ---- files ----

void ERCString::saveOn(ERFile& file) const {
    std::string record(reinterpret_cast<const char*>(&body->length), 4);
    record.append(view());
    velm::write_bytes(file, record.data(), record.size());
}

int ERCString::restoreFrom(ERFile& file) {
    int stored = 0;
    if (!file.Read(stored)) return 0;
    if (stored < 0 || static_cast<ULONGLONG>(stored) > velm::bytes_left(file)) {
        file.SeekToEnd();
        return 0;
    }
    std::string bytes(count_of(stored), '\0');
    if (velm::read_bytes(file, bytes.data(), bytes.size()) != bytes.size()) return 0;
    replace(0, length(), bytes.data(), stored);
    return 1;
}

// ---- free functions ----

ERCString operator+(const ERCString& a, const ERCString& b) {
    return ERCString(a.data(), a.length(), b.data(), b.length());
}
ERCString operator+(const ERCString& a, const char* b) {
    return ERCString(a.data(), a.length(), b, length_of(b));
}
ERCString operator+(const char* a, const ERCString& b) {
    return ERCString(a, length_of(a), b.data(), b.length());
}

ERCString toLower(const ERCString& text) {
    ERCString result = text;
    result.toLower();
    return result;
}

ERCString toUpper(const ERCString& text) {
    ERCString result = text;
    result.toUpper();
    return result;
}

unsigned int erhash(const ERCString& text) { return text.hash(); }

std::ostream& operator<<(std::ostream& out, const ERCString& text) { return out << text.view(); }
std::istream& operator>>(std::istream& in, ERCString& text) { return text.readToken(in); }

ERFile& operator<<(ERFile& file, const ERCString& text) {
    text.saveOn(file);
    return file;
}

ERFile& operator>>(ERFile& file, ERCString& text) {
    text.restoreFrom(file);
    return file;
}
