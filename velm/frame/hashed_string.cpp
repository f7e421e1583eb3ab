#include "velm/frame/hashed_string.h"

#include "velm/platform/name_comparison.h"
#include "velm/platform/text_archive.h"

#include <algorithm>
#include <string>

DWORD gm_cad_string_hash(const utString& text) { return hxu_fnv1a_hash(text.view()); }

DWORD gm_cad_string_hash(const char* text, int length) {
    if (text == nullptr || length <= 0) return hxu_fnv1a_hash({});
    return hxu_fnv1a_hash({text, static_cast<std::size_t>(length)});
}

void gm_replace_name_slashes(utString& name) {
    if (name.null()) return;
    std::string text(name.view());
    std::replace(text.begin(), text.end(), '/', '\\');
    name = utString(std::move(text));
}

gmHashedString::gmHashedString(const utString& text)
    : text_(text), hash_(text.null() ? 0 : gm_cad_string_hash(text)) {}

bool gmHashedString::operator==(const gmHashedString& other) const {
    if (invalid() || other.invalid()) return invalid() == other.invalid();
    return hash_ == other.hash_ && hxuLogicalStringEquals()(text_.view(), other.text_.view());
}

int gmHashedString::compare(const gmHashedString& other) const {
    if (invalid() || other.invalid()) return int{invalid()} - int{other.invalid()};
    return hxuLogicalStringCompare()(text_.view(), other.text_.view());
}

void gmHashedString::serialize(CArchive& archive) {
    if (archive.IsStoring()) {
        archive << text_;
        return;
    }
    utString text;
    archive >> text;
    *this = gmHashedString(text);
}
