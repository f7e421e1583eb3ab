// put_fields, get_fields: the described fields of a subject among the properties of a record, under
// their keys. RecordProperties: the properties of a record that is read.
//
// A truth is 1 or 0, a choice its number, a count a long, a total beyond 32 bits a double; numbers
// and the coordinates, rows and columns of the others are doubles under keys that follow each
// other; numbers are a text with a blank between two, texts a text with a line end after each. What
// has no value has no property, and a text whose absence is omitted has none if it is empty.
//
// Failure: reading throws RecordFault, which names the record and the key, for what is missing, of
// another type, not finite, or not possible; the subject is to be given up then.
#pragma once

#include "velm/frame/smart_pointer.h"
#include "velm/inspection/field.h"
#include "velm/inspection/record_fault.h"
#include "velm/inspection/record_keys.h"
#include "velm/store/db_object.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace velm::detail {

/// A record of the kind, otherwise empty.
t_SmartPtr<ERDBObject> new_record(const char* kind);

/// Numbers are kept in the type they come in.
template <class Number>
requires std::is_arithmetic_v<Number>
void put(ERDBObject& record, RecordKey key, Number value) {
    record.property(static_cast<long>(key), value);
}
void put(ERDBObject& record, RecordKey key, std::string_view text);
void put_total(ERDBObject& record, RecordKey key, std::uint64_t total);

void put_fields(ERDBObject& record, const Described& described);
template <class Subject>
void put_subject(ERDBObject& record, const Subject& subject) {
    put_fields(record, describe(subject));
}

/// What is asked for throws RecordFault where it isn't there in that type.
class RecordProperties {
public:
    /// The record must outlive the properties.
    explicit RecordProperties(const ERDBObject& record) : record_(record) {}

    bool has(long key) const { return property(key).getType() != ERDBObjProperty::undefined; }
    bool has(RecordKey key) const { return has(static_cast<long>(key)); }
    /// Finite.
    double number(long key, std::string_view name) const;
    /// A whole number from 0 to 2^53.
    std::uint64_t count(long key, std::string_view name = {}) const;
    std::uint64_t count(RecordKey key) const { return count(static_cast<long>(key)); }
    std::string text(long key, std::string_view name) const;
    /// Empty if there is none.
    std::string text_or_empty(RecordKey key) const;
    std::string kind() const { return text_or_empty(RecordKey::kind); }

    /// Refuses a record without the property.
    void require(RecordKey key) const {
        if (!has(key)) refuse_key(static_cast<long>(key), {}, "a value");
    }

    const ERDBObject& record() const { return record_; }
    [[noreturn]] void refuse(const std::string& why) const;
    /// "expected a count under the key 117 (contour)"
    [[noreturn]] void refuse_key(long key, std::string_view name, const char* expected) const;

private:
    ERDBObjProperty property(long key) const { return record_.property(key); }

    const ERDBObject& record_;
};

/// The names and texts of lines name=text, in which a backslash stands before what would be
/// mistaken.
std::vector<NamedText> named_texts(const std::string& lines);

/// Reads all fields that are kept and can be assigned. One whose condition doesn't hold must be
/// absent.
void get_fields(const RecordProperties& properties, void* subject, const void* head,
                std::span<const Field> fields);
template <class Subject>
void get_subject(const RecordProperties& properties, Subject& subject) {
    get_fields(properties, &subject, &subject, fields_of<Subject>());
}
/// A row that has its number, which is the expected one.
template <class Row>
void get_point(const RecordProperties& properties, Row& row, const typename Row::Head& head,
               std::uint64_t number) {
    row = Row();
    get_fields(properties, &row, &head, fields_of<Row>());
    if (row.index != number) properties.refuse("the point is not the next one");
}

} // namespace velm::detail
