// store_file.h: object files as the program meets them: `require_store`, `store_failure`.
#pragma once

#include <string>

#include "inspect/failure.h"
#include "velm/platform/file_exception.h"

namespace velm::inspect {

/// The sentence for a file exception, which is given up: what can't be understood is `input`, all
/// else `file`.
Failure store_failure(CFileException* exception, const std::string& path);

/// Runs `work`, turning file exceptions about `path` into failures.
template <class Work>
auto with_store(const std::string& path, Work work) {
    try {
        return work();
    } catch (CFileException* exception) {
        throw store_failure(exception, path);
    }
}

/// Refuses (input) what is no object file of a version that is understood. The sentence calls the
/// file `name`.
void require_store(const std::string& path, const std::string& name);

/// Refuses (input) a file that must not be written because its counters are behind its trees, as a
/// killed process leaves them; names --salvage.
void require_true_counters(const std::string& path, const std::string& name);

} // namespace velm::inspect
