// stored_inspections.h: the inspections that an object file holds: `StoredInspection`,
// `list_inspections`.
#pragma once

#include <string>
#include <vector>

#include "inspect/keep/record_fields.h"
#include "inspect/keep/store_reader.h"

namespace velm::inspect {

/// One inspection. Its other records follow its head under the next indices.
struct StoredInspection {
    long number = 0; ///< from 1, in the order in which they were saved
    long index = 0;  ///< of the head
    t_SmartPtr<ERDBObject> head;

    RecordFields fields(const StoreReader& reader) const { return {*head, reader.path()}; }
    /// What was inspected, for people.
    std::string title() const;
    /// The record of a kind at a place behind the head, from 0, which names the head under the key
    /// `owner`. Throws `Failure` (input) where it is another one, or lost: "the record of row 5".
    t_SmartPtr<ERDBObject> part(StoreReader& reader, std::uint64_t place, const char* kind,
                                RecordKey owner, const std::string& what) const;
    /// Throws `Failure` (input): "FILE, inspection 2 (probed.csv against wing.dat): why".
    [[noreturn]] void refuse(const StoreReader& reader, const std::string& why) const;
};

/// All of them, finished or not. Throws `Failure` where the file can't be read.
std::vector<StoredInspection> list_inspections(StoreReader& reader);

} // namespace velm::inspect
