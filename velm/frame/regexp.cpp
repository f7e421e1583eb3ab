#include "velm/frame/regexp.h"

#include "velm/frame/string.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

using namespace velm::pattern;

namespace {

constexpr int kSetWords = 16;

// ---- compiling ----

int digit(char c, int base) {
    int value = -1;
    if (c >= '0' && c <= '9') value = c - '0';
    if (c >= 'a' && c <= 'f') value = c - 'a' + 10;
    if (c >= 'A' && c <= 'F') value = c - 'A' + 10;
    return value < base ? value : -1;
}

unsigned char number(const char*& at, int base, int most_digits) {
    int value = 0;
    for (int i = 0; i < most_digits && digit(*at, base) >= 0; ++i)
        value = value * base + digit(*at++, base);
    return static_cast<unsigned char>(value);
}

char upper(char c) { return static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c); }

// The character at `at`, plain or escaped; moves `at` past it.
unsigned char read_character(const char*& at) {
    if (*at != '\\') return static_cast<unsigned char>(*at++);
    ++at;
    if (*at == '\0') return '\\';
    if (digit(*at, 8) >= 0) return number(at, 8, 3);
    const char c = *at++;
    switch (upper(c)) {
    case 'B':
        return 8;
    case 'E':
        return 27;
    case 'F':
        return 12;
    case 'N':
        return 10;
    case 'R':
        return 13;
    case 'S':
        return 32;
    case 'T':
        return 9;
    case 'X':
        return number(at, 16, 2);
    case '^':
        return static_cast<unsigned char>(*at == '\0' ? '^' : upper(*at++) - 64);
    default:
        return static_cast<unsigned char>(c);
    }
}

void enter(unsigned int* words, unsigned int first, unsigned int last) {
    for (unsigned int c = std::min(first, last); c <= std::max(first, last); ++c)
        words[c >> 4] |= 1u << (c & 15);
}

// The set that begins after "["; moves `at` past the "]". False if there is none.
bool read_set(const char*& at, unsigned int* words) {
    std::fill_n(words, kSetWords, 0u);
    const bool complement = *at == '^';
    if (complement) ++at;
    unsigned int last = 0;
    for (bool is_first = true; *at != ']'; is_first = false) {
        if (*at == '\0') return false;
        const bool range = *at == '-' && !is_first && at[1] != ']';
        if (range && *++at == '\0') return false;
        const unsigned int c = read_character(at);
        enter(words, range ? last : c, c);
        last = c;
    }
    ++at;
    if (complement) {
        std::transform(words, words + kSetWords, words,
                       [](unsigned int word) { return ~word & 0xFFFFu; });
    }
    return true;
}

bool takes_closure(unsigned int code) {
    return code != end_of_text && code != zero_or_more && code != one_or_more &&
           code != zero_or_one && code != start_of_text;
}

unsigned int closure(char c) {
    return c == '*' ? zero_or_more : c == '+' ? one_or_more : zero_or_one;
}

// ---- matching ----

int closures_in(const unsigned int* codes) {
    int n = 0;
    for (; *codes != end_of_pattern; codes += *codes == set ? 1 + kSetWords : 1)
        n += *codes == zero_or_more || *codes == one_or_more || *codes == zero_or_one;
    return n;
}

// Searches one text. For each closure the places from which the rest doesn't match are kept, so
// that nothing is tried twice.
class Matcher {
public:
    Matcher(std::string_view text, const unsigned int* codes)
        : text_(text), codes_(codes),
          failed_(static_cast<std::size_t>(closures_in(codes)) * (text.size() + 1)) {}

    // The end of a match that begins at `from`, or npos.
    std::size_t match(std::size_t from) { return match(codes_, from, 0); }

private:
    static constexpr std::size_t npos = std::string_view::npos;

    static const unsigned int* behind(const unsigned int* element) {
        return element + (*element == set ? 1 + kSetWords : 1);
    }
    bool matches_one(const unsigned int* element, std::size_t at) const {
        if (at == text_.size()) return false;
        const unsigned int c = static_cast<unsigned char>(text_[at]);
        if (*element == any_character) return true;
        if (*element == set) return (element[1 + (c >> 4)] >> (c & 15) & 1u) != 0;
        return *element == c;
    }

    std::size_t match(const unsigned int* codes, std::size_t at, std::size_t closure_number) {
        for (; *codes != end_of_pattern; codes = behind(codes)) {
            if (*codes == start_of_text) {
                if (at != 0) return npos;
            } else if (*codes == end_of_text) {
                if (at != text_.size()) return npos;
            } else if (*codes == zero_or_more || *codes == one_or_more || *codes == zero_or_one) {
                return match_closure(*codes, codes + 1, at, closure_number);
            } else if (!matches_one(codes, at++)) {
                return npos;
            }
        }
        return at;
    }

    std::size_t match_closure(unsigned int kind, const unsigned int* element, std::size_t at,
                              std::size_t number) {
        const std::size_t least = at + (kind == one_or_more);
        const std::size_t most = kind == zero_or_one ? std::min(at + 1, text_.size()) : npos;
        while (at < most && matches_one(element, at))
            ++at;
        for (; at >= least; --at) {
            const std::size_t place = number * (text_.size() + 1) + at;
            if (!failed_[place]) {
                const std::size_t end = match(behind(element), at, number + 1);
                if (end != npos) return end;
                failed_[place] = true;
            }
            if (at == 0) break;
        }
        return npos;
    }

    std::string_view text_;
    const unsigned int* codes_;
    std::vector<bool> failed_;
};

} // namespace

int ermakepat(const char* text, unsigned int* codes, int maxCodes) {
    if (*text == '\0' || *text == '*' || *text == '+' || *text == '?') return 1;
    if (codes == nullptr) return 2;
    int at = 0;
    int previous = 0;
    while (*text != '\0') {
        if (at >= maxCodes - 1) return 3;
        if (*text == '*' || *text == '+' || *text == '?') {
            if (!takes_closure(codes[previous])) return 3;
            std::copy_backward(codes + previous, codes + at, codes + at + 1);
            codes[previous] = closure(*text++);
            ++at;
            continue;
        }
        previous = at;
        if (*text == '[') {
            if (at + 1 + kSetWords > maxCodes - 1) return 3;
            codes[at] = set;
            if (!read_set(++text, codes + at + 1)) return 3;
            at += 1 + kSetWords;
        } else if (*text == '.') {
            codes[at++] = any_character;
            ++text;
        } else if (*text == '$' && text[1] == '\0') {
            codes[at++] = end_of_text;
            ++text;
        } else if (*text == '^' && at == 0) {
            codes[at++] = start_of_text;
            ++text;
        } else {
            codes[at++] = read_character(text);
        }
    }
    codes[at] = end_of_pattern;
    return 0;
}

const char* ermatchs(const char* s, int length, const unsigned int* codes, const char** start) {
    const std::string_view text(s, static_cast<std::size_t>(std::max(length, 0)));
    Matcher matcher(text, codes);
    for (std::size_t from = 0; from <= text.size(); ++from) {
        const std::size_t end = matcher.match(from);
        if (end == std::string_view::npos) continue;
        if (start != nullptr) *start = s + from;
        return s + end;
    }
    return nullptr;
}

ERCRegexp::ERCRegexp(const char* text)
    : pattern(std::make_unique<Codes>()),
      stat(static_cast<statVal>(
          ermakepat(text != nullptr ? text : "", pattern->data(), max_codes))) {}

ERCRegexp::ERCRegexp(const ERCString& text) : ERCRegexp(text.data()) {}

ERCRegexp::ERCRegexp(const ERCRegexp& other)
    : pattern(std::make_unique<Codes>(*other.pattern)), stat(other.stat) {}

ERCRegexp::~ERCRegexp() = default;

ERCRegexp& ERCRegexp::operator=(const ERCRegexp& other) {
    *pattern = *other.pattern;
    stat = other.stat;
    return *this;
}

ERCRegexp& ERCRegexp::operator=(const char* text) { return *this = ERCRegexp(text); }
ERCRegexp& ERCRegexp::operator=(const ERCString& text) { return *this = ERCRegexp(text); }

int ERCRegexp::index(const ERCString& string, int* matchLength, int start) const {
    if (start > string.length()) return -1;
    const int from = std::max(start, 0);
    const char* first = nullptr;
    const char* const last =
        stat == OK ? ermatchs(string.data() + from, string.length() - from, pattern->data(), &first)
                   : nullptr;
    if (matchLength != nullptr) *matchLength = last != nullptr ? static_cast<int>(last - first) : 0;
    return last != nullptr ? static_cast<int>(first - string.data()) : -1;
}
