// utString: the text of the host's utility library, which may be null.
#pragma once

#include "velm/export.h"

#include <memory>
#include <string>
#include <string_view>

/// A text of bytes, or null: no text at all. Texts are never changed in place, so that copies share
/// one, across threads too. Comparing goes by the bytes; a null string has none.
class VELM_API utString {
public:
    utString() = default;
    /// A null pointer gives the null string.
    utString(const char* text) {
        if (text != nullptr) *this = utString(std::string_view(text));
    }
    utString(std::string text) : text_(std::make_shared<const std::string>(std::move(text))) {}
    explicit utString(std::string_view text) : utString(std::string(text)) {}

    bool null() const { return text_ == nullptr; }
    /// Whether there is no character; true for a null string too.
    bool empty() const { return view().empty(); }
    int length() const { return static_cast<int>(view().size()); }
    char operator[](int n) const { return (*text_)[static_cast<std::size_t>(n)]; }
    /// Null for a null string. Valid as long as this string or a copy of it holds the text.
    const char* c_str() const { return text_ != nullptr ? text_->c_str() : nullptr; }
    operator const char*() const { return c_str(); }
    std::string_view view() const {
        return text_ != nullptr ? std::string_view(*text_) : std::string_view();
    }

    friend bool operator==(const utString& a, const utString& b) {
        return a.text_ == b.text_ || a.view() == b.view();
    }
    friend bool operator==(const utString& a, const char* b) {
        return a.view() == (b != nullptr ? std::string_view(b) : std::string_view());
    }

private:
    std::shared_ptr<const std::string> text_;
};
