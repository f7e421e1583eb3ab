// store_file.h: object files as the program meets them: `require_store`, `store_failure`.
#pragma once

#include "inspect/base/failure.h"
#include "velm/platform/file_exception.h"

#include <cstdint>
#include <string>

namespace velm::inspect {

/// Why an object file can't be used as it is.
enum class StoreFault {
    damaged_tree,        ///< what is saved would go to an empty tree in the place of one
    stale_counters,      ///< they are behind the trees, as a killed process leaves them
    faulty_trees,        ///< which can't be copied
    outdated_inspection, ///< kept by an earlier program, without what a report needs
};
struct StoreRefusal {
    StoreFault fault;
    std::string file;
    std::string why; ///< of an inspection: a clause that names it
};

/// The sentence for a file exception, which is given up: what can't be understood is `input`, all
/// else `file`.
Failure store_failure(CFileException* exception, const std::string& path);

/// Makes an exception about a working copy one about the file that it is to become.
void call_by_name(CFileException& exception, const std::string& working_copy,
                  const std::string& name);

/// Runs `work`, turning file exceptions about `path` or its working copy into failures.
template <class Work>
auto with_store(const std::string& path, Work work, const std::string& working_copy = {}) {
    try {
        return work();
    } catch (CFileException* exception) {
        if (!working_copy.empty()) call_by_name(*exception, working_copy, path);
        throw store_failure(exception, path);
    }
}

/// Whether a regular file begins as an object file. False for one that can't be read.
bool is_store_file(const std::string& path);

/// The bytes that an object file can still take: 2 GiB for one that isn't there yet.
std::uint64_t room_in_store(const std::string& path);

/// Refuses (input) what is no object file of a version that is understood. The sentence calls the
/// file `name`.
void require_store(const std::string& path, const std::string& name);

/// Refuses a file with a tree whose head isn't known, by `StoreRefusal`.
void require_known_trees(const std::string& path, const std::string& name);

/// Refuses a file that must not be written because its counters are stale, likewise.
void require_true_counters(const std::string& path, const std::string& name);

} // namespace velm::inspect
