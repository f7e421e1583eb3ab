// record_fields.h: the properties of an inspection's record, asked for by their keys:
// `RecordFields`.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "velm/inspection/record_keys.h"
#include "velm/inspection/summary.h"
#include "velm/store/db_object.h"

namespace velm::inspect {

/// Throws `Failure` (input), naming the file, the object and the key, where a property is missing
/// or of another type. Numbers are finite.
class RecordFields {
public:
    /// The record must outlive the fields. `file` is the name of its file.
    RecordFields(const ERDBObject& record, const std::string& file)
        : record_(record), file_(file) {}

    bool has(RecordKey key) const;
    double number(RecordKey key) const;
    std::optional<double> optional_number(RecordKey key) const;
    /// A whole number, not negative.
    std::uint64_t count(RecordKey key) const;
    std::string text(RecordKey key) const;
    /// Empty where there is none.
    std::string optional_text(RecordKey key) const;
    /// "" for a record that has none.
    std::string kind() const;
    std::optional<Tolerance> tolerance() const;

    const ERDBObject& record() const { return record_; }
    [[noreturn]] void refuse(const std::string& why) const;

private:
    ERDBObjProperty property(RecordKey key) const {
        return record_.property(static_cast<long>(key));
    }
    [[noreturn]] void refuse_key(RecordKey key, const char* expected) const;

    const ERDBObject& record_;
    const std::string& file_;
};

} // namespace velm::inspect
