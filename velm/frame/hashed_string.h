// gmHashedString: a name with its hash. gm_cad_string_hash, gm_replace_name_slashes.
#pragma once

#include "velm/export.h"
#include "velm/fwd.h"
#include "velm/platform/integer_types.h"
#include "velm/platform/utility_string.h"

/// FNV-1a of the text, in 32 bits; a null string has no bytes, a length below 0 counts as 0.
VELM_API DWORD gm_cad_string_hash(const utString& text);
VELM_API DWORD gm_cad_string_hash(const char* text, int length);

/// Turns every slash into a backslash, so that the name can be a level of a path. A null string
/// stays null.
VELM_API void gm_replace_name_slashes(utString& name);

/// A name for frequent comparisons: unequal hashes settle most of them. Made from a null string it
/// is invalid, and its hash 0.
class VELM_API gmHashedString {
public:
    gmHashedString() = default;
    gmHashedString(const utString& text);

    bool invalid() const { return text_.null(); }
    void set_invalid() { *this = gmHashedString(); }
    const utString& text() const { return text_; }
    operator const utString&() const { return text_; }
    DWORD hash() const { return hash_; }

    /// Byte equality. Two invalid names are equal, an invalid and a valid one never.
    bool operator==(const gmHashedString& other) const;
    /// -1, 0 or 1 in the order of hxuLogicalStringCompare; an invalid name comes after all others.
    int compare(const gmHashedString& other) const;

    /// The text, null for an invalid name; the hash is never stored. A name that can't be read is
    /// unchanged.
    void serialize(CArchive& archive);

private:
    utString text_;
    DWORD hash_ = 0;
};
