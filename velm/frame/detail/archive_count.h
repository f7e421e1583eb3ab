// How many elements follow in an archive.
#pragma once

#include "velm/platform/archive.h"

#include <climits>
#include <cstddef>

namespace velm::detail {

/// A stored count of elements that take at least that many bytes each: never more than the archive
/// still has room for, else a CArchiveException*. Elements of no bytes are not limited.
inline DWORD get_count(CArchive& archive, std::size_t least_bytes) {
    DWORD count;
    archive >> count;
    if (least_bytes > 0 && count > archive.bytes_left() / least_bytes)
        archive.raise(CArchiveException::endOfFile);
    if (count > INT_MAX) archive.raise(CArchiveException::badIndex);
    return count;
}

} // namespace velm::detail
