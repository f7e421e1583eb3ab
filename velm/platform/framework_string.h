// CString: the framework's text.
#pragma once

#include "velm/export.h"

#include <compare>
#include <iosfwd>
#include <string>
#include <string_view>
#include <utility>

/// A text of bytes followed by a NUL. A null pointer is the empty text.
class VELM_API CString {
public:
    CString() = default;
    CString(const char* text) : text_(text != nullptr ? text : "") {}
    CString(std::string text) : text_(std::move(text)) {}

    int GetLength() const { return static_cast<int>(text_.size()); }
    bool IsEmpty() const { return text_.empty(); }
    void Empty() { text_.clear(); }
    const char* GetString() const { return text_.c_str(); }
    operator const char*() const { return text_.c_str(); }
    std::string_view view() const { return text_; }
    char operator[](int n) const { return text_[static_cast<std::size_t>(n)]; }
    /// Below, above or equal to 0 by the unsigned bytes.
    int Compare(const char* text) const { return text_.compare(text); }

    CString& operator+=(const CString& other) {
        text_ += other.text_;
        return *this;
    }
    friend CString operator+(CString a, const CString& b) { return a += b; }
    friend bool operator==(const CString& a, const CString& b) = default;
    friend bool operator==(const CString& a, const char* b) { return a.text_ == b; }
    friend std::strong_ordering operator<=>(const CString& a, const CString& b) = default;

private:
    std::string text_;
};

VELM_API std::ostream& operator<<(std::ostream& out, const CString& text);
