// `archived`: the bytes of an archive.
#pragma once

#include "support/memory_file.h"
#include "velm/platform/archive.h"

namespace velm_test {

/// What the operation stores in an archive.
template <class Operation>
std::string archived(Operation store) {
    MemoryFile file;
    CArchive archive(&file, CArchive::store);
    store(archive);
    archive.Close();
    return file.bytes;
}

} // namespace velm_test
