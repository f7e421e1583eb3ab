// ERCRegexp, ermakepat, ermatchs: small patterns, compiled into codes and searched in texts.
//
//     c       that character          ^   the start of the text, at the pattern's start
//     .       any character           $   the end of the text, at the pattern's end
//     [a-z]   any of a set            *   zero or more of the preceding element
//     [^a-z]  none of a set           +   one or more
//                                     ?   zero or one
//
// A backslash introduces \b \e \f \n \r \s (blank) \t, \xHH, \^C (control characters), \OOO (octal)
// and makes any other character literal.
#pragma once

#include "velm/export.h"

#include <array>
#include <memory>

class ERCString;

namespace velm::pattern {

/// The codes of a compiled pattern beside the characters themselves. The values are fixed.
enum Code : unsigned int {
    end_of_pattern = 32768,
    end_of_text = 32804,   // $
    zero_or_more = 32810,  // *, before its element
    one_or_more = 32811,   // +
    any_character = 32814, // .
    zero_or_one = 32831,   // ?
    set = 32859,           // [, followed by 16 words of 16 bits each
    start_of_text = 32862  // ^
};

} // namespace velm::pattern

/// Compiles a pattern into at most maxCodes codes. Returns 0 for success, 1 for a pattern that is
/// empty or begins with "*", "+" or "?", 2 without a buffer, 3 for one that is too long or
/// malformed.
VELM_API int ermakepat(const char* text, unsigned int* codes, int maxCodes);

/// The end of the leftmost match in the first `length` characters of s, its beginning in *start;
/// null if there is none. Closures take as many elements as they can and give them up one by one.
/// The effort grows with the square of the length at most.
VELM_API const char* ermatchs(const char* s, int length, const unsigned int* codes,
                              const char** start);

class VELM_API ERCRegexp {
public:
    /// The result of ermakepat.
    enum statVal { OK = 0, ILLEGAL = 1, NOMEM = 2, TOOLONG = 3 };

    ERCRegexp(const char* text);
    ERCRegexp(const ERCString& text);
    ERCRegexp(const ERCRegexp& other);
    ~ERCRegexp();
    ERCRegexp& operator=(const ERCRegexp& other);
    ERCRegexp& operator=(const char* text);
    ERCRegexp& operator=(const ERCString& text);

    /// The place of the first match at or after start and its length; -1 and a length of 0 if there
    /// is none. A start beyond the text gives -1 with the length unchanged. A pattern whose status
    /// isn't OK matches nothing.
    int index(const ERCString& string, int* matchLength, int start = 0) const;
    statVal status() const { return stat; }

private:
    static constexpr int max_codes = 128;
    using Codes = std::array<unsigned int, max_codes>;

    std::unique_ptr<Codes> pattern;
    statVal stat;
};
