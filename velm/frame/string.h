// ERCString, ERCSubString, ERCStringRef, ERSize_T: counted, copy-on-write text of bytes.
#pragma once

#include "velm/export.h"
#include "velm/frame/reference.h"
#include "velm/fwd.h"

#include <compare>
#include <concepts>
#include <iosfwd>
#include <string_view>

class ERCRegexp;
class ERCSubString;

/// The body of a text: the counts, then capacity + 1 characters, in one block. The character after
/// the text is always a NUL.
class VELM_API ERCStringRef : public ERReference {
public:
    /// An empty body with one reference.
    static ERCStringRef* getRep(int capacity, int length);
    /// The body that all empty texts share.
    static ERCStringRef* empty();
    /// Releases one reference.
    static void release(ERCStringRef* body);

    char* data() { return reinterpret_cast<char*>(this + 1); }
    const char* data() const { return reinterpret_cast<const char*>(this + 1); }
    void set_length(int n) { data()[length = n] = '\0'; }

    int length;
    int capacity;

private:
    ERCStringRef(int capacity_, int length_)
        : ERReference(1), length(length_), capacity(capacity_) {}
};
static_assert(sizeof(ERCStringRef) == 12);

/// Asks a constructor of ERCString for an empty text with room for that many characters.
class ERSize_T {
public:
    explicit constexpr ERSize_T(int n) : size(n) {}
    constexpr operator int() const { return size; }

private:
    int size;
};

/// A text of bytes, NUL bytes included. Copies share the body until one of them is written. All
/// character operations see unsigned bytes; case means the ASCII letters alone, in every locale.
///
/// Positions beyond the text are taken as its end, lengths below zero as zero. If nothing is found,
/// a position is -1 and a substring is null. A null pointer is the empty text.
class VELM_API ERCString {
public:
    enum caseCompare { exact, ignoreCase };
    enum stripType { leading = 1, trailing = 2, both = 3 };
    enum scopeType { one, all };

    ERCString() noexcept : body(ERCStringRef::empty()) { body->addReference(); }
    ERCString(const char* text);
    ERCString(const char* text, int length);
    explicit ERCString(char c) : ERCString(c, 1) {}
    ERCString(char c, int count);
    explicit ERCString(ERSize_T capacity);
    ERCString(const ERCSubString& part);
    /// Two pieces joined.
    ERCString(const char* a, int a_length, const char* b, int b_length);
    ERCString(const ERCString& other) noexcept : body(other.body) { body->addReference(); }
    ~ERCString() { ERCStringRef::release(body); }
    ERCString& operator=(const ERCString& other) noexcept;
    ERCString& operator=(const char* text) { return *this = ERCString(text); }

    // ---- reading ----

    int length() const { return body->length; }
    int capacity() const { return body->capacity; }
    int isNull() const { return length() == 0; }
    /// 1 when no byte has its high bit set.
    int isAscii() const;
    const char* data() const { return body->data(); }
    operator const char*() const { return data(); }
    std::string_view view() const { return {data(), static_cast<std::size_t>(length())}; }
    const char* begin() const { return data(); }
    const char* end() const { return data() + length(); }

    /// The index is not checked. The first form detaches the text first; the reference is valid
    /// until the text is copied or changed otherwise.
    char& operator[](std::integral auto i) { return own()[i]; }
    char operator[](std::integral auto i) const { return data()[i]; }
    char& operator()(int i) { return own()[i]; }
    char operator()(int i) const { return data()[i]; }

    /// The first place of the character, or of any of the characters of a text; the last place.
    int first(char c) const;
    int first(const char* any_of) const;
    int last(char c) const;
    int contains(const char* text, caseCompare compare = exact) const;
    /// The first place of the text at or after start.
    int index(const char* text, int start = 0, caseCompare compare = exact) const;
    int index(const ERCRegexp& pattern, int start = 0) const;
    /// The same with the length of the match, 0 if there is none.
    int index(const ERCRegexp& pattern, int* matchLength, int start = 0) const;
    /// 1, 0 or -1: the bytes of the shorter text decide, then the lengths.
    int compareTo(const ERCString& other, caseCompare compare = exact) const;
    int compareTo(const char* other, caseCompare compare = exact) const;
    /// The same in every run. The exact form sees the length and words of four bytes; the other is
    /// equal for texts that differ only in case.
    unsigned int hash(caseCompare compare = exact) const;

    /// The place of a text or a pattern, or a range, as a writable part.
    ERCSubString subString(const char* text, int start = 0, caseCompare compare = exact);
    ERCSubString operator()(int start, int extent);
    ERCSubString operator()(const ERCRegexp& pattern, int start = 0);
    /// The text without the character at its start, its end or both; null if nothing remains.
    ERCSubString strip(stripType type = trailing, char c = ' ');
    const ERCSubString subString(const char* text, int start = 0,
                                 caseCompare compare = exact) const;
    const ERCSubString operator()(int start, int extent) const;
    const ERCSubString operator()(const ERCRegexp& pattern, int start = 0) const;
    const ERCSubString strip(stripType type = trailing, char c = ' ') const;

    // ---- writing ----

    ERCString& append(const char* text);
    ERCString& append(const char* text, int n);
    ERCString& append(char c, int count = 1);
    ERCString& append(const ERCString& text) { return append(text.data(), text.length()); }
    ERCString& prepend(const char* text);
    ERCString& prepend(const char* text, int n);
    ERCString& prepend(char c, int count = 1);
    ERCString& prepend(const ERCString& text) { return prepend(text.data(), text.length()); }
    ERCString& insert(int at, const char* text);
    ERCString& insert(int at, const char* text, int n) { return replace(at, 0, text, n); }
    ERCString& insert(int at, const ERCString& text) {
        return insert(at, text.data(), text.length());
    }
    ERCString& remove(int at) { return remove(at, length()); }
    ERCString& remove(int at, int n) { return replace(at, n, "", 0); }
    ERCString& replace(int at, int n, const char* text);
    ERCString& replace(int at, int n, const char* text, int text_length);
    ERCString& replace(int at, int n, const ERCString& text) {
        return replace(at, n, text.data(), text.length());
    }
    /// Replaces the matches of the pattern, the first or all.
    ERCString& replace(const ERCRegexp& pattern, const ERCString& text, scopeType scope = one);
    ERCString& operator+=(const char* text) { return append(text); }
    ERCString& operator+=(char c) { return append(c); }
    ERCString& operator+=(const ERCString& text) { return append(text); }
    void toLower();
    void toUpper();
    /// Cuts the text, or pads it with blanks.
    void resize(int n);
    /// Sets the capacity and returns it. Below the length, nothing changes.
    int capacity(int n);
    /// The same text with a body of its own.
    ERCString copy() const { return ERCString(data(), length()); }

    // ---- text input: replaces the text; the stream's state reports the outcome ----

    std::istream& readFile(std::istream& in);                    ///< to the end
    std::istream& readLine(std::istream& in, int skipWhite = 1); ///< a line, without its end
    std::istream& readString(std::istream& in);                  ///< to a NUL or the end
    std::istream& readToDelim(std::istream& in, char delim = '\n');
    std::istream& readToken(std::istream& in); ///< a word between blanks

    // ---- files: the length as an int, then the bytes, without a NUL ----

    void saveOn(ERFile& file) const;
    /// 1, or 0 for a record that is damaged or cut short; the text is then unchanged.
    int restoreFrom(ERFile& file);
    unsigned int binaryStoreSize() const { return 4u + static_cast<unsigned int>(length()); }

    /// The capacity that a body for n characters gets: 15 below 16, else n rounded up to a multiple
    /// of 15.
    static int adjustCapacity(int n);
    static int getMaxWaste() { return 15; }
    /// Returns its argument and changes nothing: part of the contract.
    static int maxWaste(int n) { return n; }

private:
    friend class ERCSubString;

    /// Detaches the text, with room for n characters.
    void cow(int n);
    void clone(int capacity);
    char* own() {
        cow(length());
        return body->data();
    }

    ERCStringRef* body;
};

/// A range of a text, for reading and writing; valid as long as the text lives and contains the
/// range. A null substring reads as empty and takes no assignment.
class VELM_API ERCSubString {
public:
    int start() const { return begin; }
    int length() const { return extent; }
    int isNull() const { return begin < 0; }
    bool operator!() const { return begin < 0; }
    std::string_view view() const;
    char operator()(int i) const { return view()[static_cast<std::size_t>(i)]; }

    /// Replaces the range in the text; it then covers the replacement.
    ERCSubString& operator=(const char* replacement);
    ERCSubString& operator=(const ERCString& replacement);
    void toLower();
    void toUpper();

    friend bool operator==(const ERCSubString& a, const ERCSubString& b) {
        return a.view() == b.view();
    }
    friend bool operator==(const ERCSubString& a, const ERCString& b) {
        return a.view() == b.view();
    }
    friend bool operator==(const ERCSubString& a, const char* b) { return a.view() == b; }

private:
    friend class ERCString;
    ERCSubString(const ERCString& text, int begin_, int extent_);

    ERCString* string;
    int begin;
    int extent;
};

inline bool operator==(const ERCString& a, const ERCString& b) { return a.view() == b.view(); }
inline bool operator==(const ERCString& a, const char* b) { return a.compareTo(b) == 0; }
inline std::strong_ordering operator<=>(const ERCString& a, const ERCString& b) {
    return a.compareTo(b) <=> 0;
}
inline std::strong_ordering operator<=>(const ERCString& a, const char* b) {
    return a.compareTo(b) <=> 0;
}

VELM_API ERCString operator+(const ERCString& a, const ERCString& b);
VELM_API ERCString operator+(const ERCString& a, const char* b);
VELM_API ERCString operator+(const char* a, const ERCString& b);
VELM_API ERCString toLower(const ERCString& text);
VELM_API ERCString toUpper(const ERCString& text);
/// The exact hash.
VELM_API unsigned int erhash(const ERCString& text);

VELM_API std::ostream& operator<<(std::ostream& out, const ERCString& text);
VELM_API std::istream& operator>>(std::istream& in, ERCString& text); ///< readToken
VELM_API ERFile& operator<<(ERFile& file, const ERCString& text);     ///< saveOn
VELM_API ERFile& operator>>(ERFile& file, ERCString& text);           ///< restoreFrom
