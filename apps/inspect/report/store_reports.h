// store_reports.h: what the subcommand `store` found, as a text for people and as JSON.
#pragma once

#include "velm/inspection/inspection_records.h"
#include "velm/inspection/record_check.h"
#include "velm/store/store_check.h"
#include "velm/store/store_digest.h"
#include "velm/store/store_salvage.h"

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace velm::inspect {

/// The same twice: a text for a terminal, which ends with a line end, and the members of a JSON
/// object.
struct StoreAnswer {
    std::string text;
    nlohmann::ordered_json json;
};

/// The classes, the figures and the inspections, if any. `properties` is the number of those of all
/// objects.
StoreAnswer contents_answer(const StoreReport& report, long properties,
                            const std::vector<StoredInspection>& inspections);
/// Each fault, or what was looked at.
StoreAnswer check_answer(const StoreReport& report, const RecordCheck& records);
/// What a new file holds. `from_damaged` says that parts of the old one may have been lost.
StoreAnswer rebuilt_answer(const SalvageReport& report, const std::string& new_file,
                           bool from_damaged);
/// Objects written as texts into a folder.
StoreAnswer texts_answer(std::size_t objects, const std::string& folder);
/// Digests written into a file.
StoreAnswer digests_answer(std::size_t objects, const std::string& file);
/// Objects compared with `kept` digests of a file.
StoreAnswer differences_answer(const std::vector<DigestDifference>& differences, std::size_t kept,
                               const std::string& file);

} // namespace velm::inspect
