// hxu_fnv1a_hash, hxuLogicalStringEquals, hxuLogicalStringCompare: hash, equality and order of
// names.
#pragma once

#include "velm/export.h"
#include "velm/platform/integer_types.h"

#include <string_view>

/// FNV-1a of 32 bits (Fowler, Noll, Vo; RFC 9923). A text may be hashed in pieces, each starting
/// from the hash of the pieces before it.
constexpr DWORD hxu_fnv1a_hash(std::string_view bytes, DWORD hash = 0x811C9DC5) {
    for (const char byte : bytes)
        hash = (hash ^ static_cast<BYTE>(byte)) * 0x01000193u;
    return hash;
}

/// Names are equal when their bytes are.
struct VELM_API hxuLogicalStringEquals {
    constexpr bool operator()(std::string_view a, std::string_view b) const { return a == b; }
};

/// Orders names as people do: a run of the digits 0 to 9 counts by its value, regardless of its
/// length and leading zeros, everything else by its code. Names are UTF-8; a byte that is not part
/// of a well-formed sequence counts as the code of its own value. Names that are equal by these
/// rules are ordered by their bytes, so that only equal names compare equal.
struct VELM_API hxuLogicalStringCompare {
    /// -1, 0 or 1.
    int operator()(std::string_view a, std::string_view b) const;
};
