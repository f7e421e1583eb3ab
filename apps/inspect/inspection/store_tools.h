// store_tools.h: what the subcommand `store` does with an object file: `StoreOptions`, `run_store`.
#pragma once

#include "inspect/base/failure.h"
#include "inspect/base/output_paths.h"

#include <optional>
#include <string>

namespace velm::inspect {

enum class StoreMode { list, check, export_texts, salvage, compact, digest, verify };

struct StoreOptions {
    std::string file;
    StoreMode mode = StoreMode::list;
    std::string target; ///< the new file or folder, or the digests to verify
    bool orphans = false;
    OutputPaths paths;
};

/// Shows what the file holds or whether it is sound, writes its objects as texts, or writes a clean
/// file, or keeps and verifies its digests. The file itself is never written. Returns false for a
/// check that finds faults, a salvage that isn't complete and a difference from digests. Throws
/// `Failure`, `StoreRefusal`.
bool run_store(const StoreOptions& options);

} // namespace velm::inspect
