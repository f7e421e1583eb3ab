// Field, FieldValue, Described: what an inspection holds, described once, and how a sink walks it.
//
// Each head, row and summary of an inspection is described once, as a list of fields. A sink never
// names a field; it walks the list and looks at the types of the values:
//
//     std::string line = "{";
//     velm::describe(row, head).each([&](const velm::Field& field, const velm::FieldValue& value) {
//         if (field.shown == velm::Shown::nowhere) return; // kept in files, not reported
//         line += (line.size() > 1 ? ",\"" : "\"") + std::string(field.name) + "\":";
//         append_json(line, value); // your std::visit over the alternatives of FieldValue
//     });
//
//   - `each` leaves out the fields whose condition doesn't hold, such as the height of a point
//     whose section has no frame. A condition depends on the head alone: all rows of an inspection
//     have the same fields, and `describe(Row(), head)` gives the columns of a table.
//   - A field that is there may have no value (std::monostate): null in JSON, an empty cell.
//     Fields that are left out then, such as the alignment of a head, have `absent` omitted, and
//     `each` leaves them out.
//   - `each` goes in the order of the description. `each_late_last` moves the fields marked `late`
//     after all others, for columns of CSV: what came later never moves what was there before.
//     In a head, late fields come after the points.
//   - A value may be a group of fields, a Described of its own: walk it in the same way.
//   - Coordinates are one field in JSON and several columns elsewhere; `component_suffix` names
//     them.
//   - describe(row, head), describe(head) and describe(summary.figures()) are all that there is.
//
// Guarantees: a Described refers to its subject and its head, which must outlive it and the texts
// in its values. Nothing is copied or allocated. Several threads may walk at the same time.
//
// Failure: none while walking. `assign` returns false for a value of another type or out of range
// and leaves the subject unchanged.
#pragma once

#include "velm/export.h"
#include "velm/frame/point.h"
#include "velm/frame/vector.h"
#include "velm/inspection/record_keys.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace velm {

struct Field;

/// What the numbers of a field measure. Lengths are in the unit of the model, angles in radians; a
/// part is a part of a whole or of an extent.
enum class FieldUnit : unsigned char { none, length, angle, part };

/// The type of a field's value, if it has one.
enum class FieldType : unsigned char {
    truth,
    count, ///< below 2^31
    total, ///< below 2^64
    number,
    text,
    choice,  ///< one of an enumeration
    point2,  ///< of the plane
    point3,  ///< of space; of the plane where there is no third coordinate
    vector2, ///< likewise
    vector3,
    matrix,
    numbers,
    path, ///< points of the plane
    texts,
    named_texts,
    group, ///< has fields of its own
};

/// Where a field is shown. A later value includes the earlier ones.
enum class Shown : unsigned char {
    nowhere,   ///< in object files and archives at most
    in_data,   ///< in JSON and CSV
    in_tables, ///< in tables and pages for people, too
};

/// What a sink does with a field that has no value.
enum class Absent : unsigned char { null, omitted };

/// Two or three coordinates.
struct Coordinates {
    std::array<double, 3> values{};
    int size = 0;
    std::span<const double> view() const { return {values.data(), static_cast<std::size_t>(size)}; }
};

/// A square matrix of two or three rows.
struct Matrix {
    std::array<std::array<double, 3>, 3> rows{};
    int size = 0;
};

/// A value of an enumeration: the number that files keep, and the name that reports show.
struct NamedValue {
    int number = 0;
    std::string_view name;
};

/// A head, a row, a summary or a part of one, with its description.
class VELM_API Described {
public:
    Described(const void* subject, const void* head, std::span<const Field> fields)
        : subject_(subject), head_(head), fields_(fields.data()), count_(fields.size()) {}

    /// Calls visit(const Field&, const FieldValue&) for each field that is there, in order.
    template <class Visit>
    void each(Visit visit) const;
    /// The same, with the late fields after all others.
    template <class Visit>
    void each_late_last(Visit visit) const;

    std::span<const Field> fields() const;
    const void* subject() const { return subject_; }
    const void* head() const { return head_; }

private:
    template <class Visit>
    void visit_if_there(const Field& field, Visit& visit) const;

    const void* subject_;
    const void* head_;
    const Field* fields_;
    std::size_t count_;
};

/// A text with its name, as the user gave them.
struct NamedText {
    std::string name, text;
};

/// Counts and totals are std::uint64_t. std::monostate: no value.
using FieldValue =
    std::variant<std::monostate, bool, std::uint64_t, double, std::string_view, NamedValue,
                 Coordinates, Matrix, std::span<const double>, std::span<const ERPoint2D>,
                 std::span<const std::string>, std::span<const NamedText>, Described>;

/// In an archive each row that is kept has its gmTargetPoint at this place.
inline constexpr int place_of_target = 2;

/// How a field is kept and shown.
struct FieldTraits {
    FieldUnit unit = FieldUnit::none;
    Shown shown = Shown::nowhere;
    Absent absent = Absent::null;
    /// Among the late ones, see above.
    bool late = false;
    /// Begins a new line where a form for people's eyes has room, as JSON here.
    bool new_line = false;
    /// Its presence differs from row to row, or from file to file: a condition that holds doesn't
    /// say that there is a value.
    bool sometimes = false;
    /// The key in an object file, of the first coordinate; those of the others follow. `none`: not
    /// kept there.
    RecordKey key = RecordKey::none;
    /// The key of the third coordinate, unless it follows that of the second.
    RecordKey third_key = RecordKey::none;
    /// Put into its record before (-1) or after (1) the other fields: the order of properties is
    /// part of the bytes of an object file.
    int record_order = 0;
    /// The place in the archive form, from 1; 0: not kept there. Fields whose conditions exclude
    /// each other may share one.
    int archive = 0;
    /// The version of the archive that brought it. Object files have no version: there a field that
    /// came later may be absent.
    int since = 1;
    /// What people read above the column, unless it is the name with blanks. An empty one leaves
    /// x, y and z alone above coordinates.
    const char* heading = nullptr;
    /// The name of the column in CSV, unless it is `name`; likewise.
    const char* column = nullptr;
};

/// A field of a subject, which is passed without its type: the description and `describe` agree on
/// it. The head of a row is that of its inspection; any other subject is its own head.
struct Field : FieldTraits {
    std::string_view name; ///< in JSON and CSV, of whose forms it is a part
    FieldType type = FieldType::truth;
    bool optional = false; ///< may have no value although its condition holds
    FieldValue (*value)(const void* subject, const void* head) = nullptr;
    /// Null for what follows from other fields, and for groups.
    bool (*assign)(void* subject, const FieldValue& value) = nullptr;
    /// Of a group that is kept in files: its part of the subject, made if it is absent.
    void* (*part)(void* subject) = nullptr;
    /// Of a group: its description.
    std::span<const Field> (*part_fields)() = nullptr;
    /// Whether reports show no value although files keep one: what was found says nothing.
    bool (*is_void)(const void* subject) = nullptr;
    /// Null for a field that is always there.
    bool (*condition)(const void* head) = nullptr;

    bool applies(const void* head) const { return condition == nullptr || condition(head); }
    /// The number of a value's coordinates, 1 for any other type.
    int components() const;
    /// Whether a file may lack it without being damaged.
    bool may_be_absent() const { return sometimes || (optional && condition == nullptr); }
    long key_of(int component) const {
        return component == 2 && third_key != RecordKey::none ? static_cast<long>(third_key)
                                                              : static_cast<long>(key) + component;
    }
};

/// "_x", "_y", "_z" of a point, "_i", "_j", "_k" of a vector, otherwise empty.
VELM_API std::string_view component_suffix(FieldType type, int component);

/// The description of a type: each is specialised beside the type.
template <class Subject>
std::span<const Field> fields_of();

/// A head, summary or part with its description.
template <class Subject>
Described describe(const Subject& subject) {
    return {&subject, &subject, fields_of<Subject>()};
}
/// A row of an inspection with its description.
template <class Row>
Described describe(const Row& row, const typename Row::Head& head) {
    return {&row, &head, fields_of<Row>()};
}

inline int Field::components() const {
    if (type == FieldType::point2 || type == FieldType::vector2) return 2;
    return type == FieldType::point3 || type == FieldType::vector3 ? 3 : 1;
}

inline std::span<const Field> Described::fields() const { return {fields_, count_}; }

template <class Visit>
void Described::visit_if_there(const Field& field, Visit& visit) const {
    if (!field.applies(head_)) return;
    const bool is_void = field.is_void != nullptr && field.is_void(subject_);
    const FieldValue value = is_void ? FieldValue() : field.value(subject_, head_);
    const bool is_absent = std::holds_alternative<std::monostate>(value);
    if (!is_absent || field.absent == Absent::null) visit(field, value);
}

template <class Visit>
void Described::each(Visit visit) const {
    for (const Field& field : fields())
        visit_if_there(field, visit);
}

template <class Visit>
void Described::each_late_last(Visit visit) const {
    for (const bool late : {false, true})
        for (const Field& field : fields())
            if (field.late == late) visit_if_there(field, visit);
}

} // namespace velm
