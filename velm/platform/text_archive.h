// The stream operators of texts in a CArchive.
#pragma once

#include "velm/export.h"
#include "velm/platform/archive.h"
#include "velm/platform/utility_string.h"

/// A DWORD, the number of bytes, or 0xFFFFFFFF for a null pointer; then the bytes, without a NUL.
VELM_API CArchive& operator<<(CArchive& archive, const char* text);
inline CArchive& operator<<(CArchive& archive, char* text) {
    return archive << static_cast<const char*>(text);
}
/// Sets the pointer to a new block with the bytes and a NUL, which the caller deletes as an array,
/// or to null. The old pointer is not read, and is unchanged if the archive throws. A length beyond
/// the archive's end is a damaged archive.
VELM_API CArchive& operator>>(CArchive& archive, char*& text);

/// The same form. The text read ends at the first NUL.
inline CArchive& operator<<(CArchive& archive, const utString& text) {
    return archive << text.c_str();
}
VELM_API CArchive& operator>>(CArchive& archive, utString& text);
