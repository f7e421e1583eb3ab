#include "velm/inspection/detail/record_fields.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <vector>

namespace velm::detail {
namespace {

std::string joined(std::span<const double> numbers) {
    std::string text;
    for (const double number : numbers) {
        char buffer[32]; // the shortest text of a double has 24 characters at most
        const auto end =
            std::to_chars(buffer, buffer + sizeof buffer, number == 0.0 ? 0.0 : number).ptr;
        text += (text.empty() ? "" : " ") + std::string(buffer, end);
    }
    return text;
}

// False for a text that is something else.
bool split_numbers(const std::string& text, std::vector<double>& numbers) {
    const char *at = text.data(), *const end = at + text.size();
    while (at < end) {
        double number = 0.0;
        const auto [after, fault] = std::from_chars(at, end, number);
        if (fault != std::errc() || !std::isfinite(number)) return false;
        if (after != end && *after != ' ') return false;
        numbers.push_back(number);
        at = after == end ? end : after + 1;
    }
    return true;
}

std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

// A line end and a backslash in a text, and an equals sign in a name, follow a backslash, the line
// end as an n.
std::string escaped(std::string_view text, bool is_name) {
    std::string out;
    for (const char c : text) {
        if (c == '\\' || c == '\n' || (is_name && c == '=')) out += '\\';
        out += c == '\n' ? 'n' : c;
    }
    return out;
}

bool may_be_absent(const Field& field) {
    return field.may_be_absent() || field.since > 1 ||
           (field.type == FieldType::text && field.absent == Absent::omitted);
}

struct ValuePut {
    ERDBObject& record;
    const Field& field;

    void operator()(std::monostate) const {}
    void operator()(bool truth) const { put(record, field.key, truth ? 1 : 0); }
    void operator()(std::uint64_t count) const { put_total(record, field.key, count); }
    void operator()(double number) const { put(record, field.key, number); }
    void operator()(std::string_view text) const {
        if (!text.empty() || !may_be_absent(field)) put(record, field.key, text);
    }
    void operator()(const NamedValue& value) const { put(record, field.key, value.number); }
    void operator()(const Coordinates& at) const {
        for (int i = 0; i < at.size; ++i)
            record.property(field.key_of(i), at.values[static_cast<std::size_t>(i)]);
    }
    void operator()(const Matrix& matrix) const {
        long key = field.key_of(0);
        for (const auto& row : matrix.rows)
            for (const double number : row)
                record.property(key++, number);
    }
    void operator()(std::span<const double> numbers) const {
        put(record, field.key, joined(numbers));
    }
    void operator()(std::span<const ERPoint2D>) const {} // no path is kept
    void operator()(std::span<const std::string> texts) const {
        if (texts.empty() && may_be_absent(field)) return;
        std::string lines;
        for (const std::string& text : texts)
            lines += text + "\n";
        put(record, field.key, lines);
    }
    void operator()(std::span<const NamedText> texts) const {
        if (texts.empty()) return;
        std::string lines;
        for (const NamedText& text : texts)
            lines += escaped(text.name, true) + "=" + escaped(text.text, false) + "\n";
        put(record, field.key, lines);
    }
    void operator()(const Described& group) const { put_fields(record, group); }
};

// Calls assign with the value of a field, which is there.
template <class Assign>
void with_value(const RecordProperties& properties, const Field& field, Assign assign) {
    const long key = field.key_of(0);
    switch (field.type) {
    case FieldType::truth:
        return assign(properties.count(key, field.name) != 0);
    case FieldType::count:
    case FieldType::total:
        return assign(properties.count(key, field.name));
    case FieldType::number:
        return assign(properties.number(key, field.name));
    case FieldType::text: {
        const std::string text = properties.text(key, field.name);
        return assign(std::string_view(text));
    }
    case FieldType::choice: {
        constexpr std::uint64_t most = std::numeric_limits<int>::max();
        const auto number = std::min(properties.count(key, field.name), most);
        return assign(NamedValue{static_cast<int>(number), {}});
    }
    case FieldType::point2:
    case FieldType::point3:
    case FieldType::vector2:
    case FieldType::vector3: {
        Coordinates at{{}, field.components()};
        for (int i = 0; i < at.size; ++i)
            at.values[static_cast<std::size_t>(i)] = properties.number(field.key_of(i), field.name);
        return assign(at);
    }
    case FieldType::matrix: {
        Matrix matrix{{}, 3};
        long next = key;
        for (auto& row : matrix.rows)
            for (double& number : row)
                number = properties.number(next++, field.name);
        return assign(matrix);
    }
    case FieldType::numbers: {
        std::vector<double> numbers;
        if (!split_numbers(properties.text(key, field.name), numbers))
            properties.refuse_key(key, field.name, "numbers with a blank between two");
        return assign(std::span<const double>(numbers));
    }
    case FieldType::texts: {
        const std::vector<std::string> texts = lines_of(properties.text(key, field.name));
        return assign(std::span<const std::string>(texts));
    }
    case FieldType::named_texts: {
        const std::vector<NamedText> texts = named_texts(properties.text(key, field.name));
        return assign(std::span<const NamedText>(texts));
    }
    case FieldType::path:
    case FieldType::group:
        break;
    }
}

// A key may be that of another field, which stands in for this one under another condition.
bool is_used(std::span<const Field> fields, const void* head, RecordKey key) {
    return std::any_of(fields.begin(), fields.end(),
                       [&](const Field& field) { return field.key == key && field.applies(head); });
}

} // namespace

std::vector<NamedText> named_texts(const std::string& text) {
    std::vector<NamedText> texts;
    for (const std::string& line : lines_of(text)) {
        NamedText one;
        std::string* part = &one.name;
        for (std::size_t at = 0; at < line.size(); ++at) {
            const bool is_escaped = line[at] == '\\' && at + 1 < line.size();
            if (is_escaped)
                *part += line[++at] == 'n' ? '\n' : line[at];
            else if (line[at] == '=' && part == &one.name)
                part = &one.text;
            else
                *part += line[at];
        }
        texts.push_back(std::move(one));
    }
    return texts;
}

t_SmartPtr<ERDBObject> new_record(const char* kind) {
    const t_SmartPtr<ERDBObject> record(new ERDBObject);
    put(*record, RecordKey::kind, std::string_view(kind));
    return record;
}

void put(ERDBObject& record, RecordKey key, std::string_view text) {
    record.property(static_cast<long>(key), std::string(text).c_str());
}

void put_total(ERDBObject& record, RecordKey key, std::uint64_t total) {
    if (total <= std::numeric_limits<std::int32_t>::max())
        put(record, key, static_cast<long>(total));
    else
        put(record, key, static_cast<double>(total));
}

void put_fields(ERDBObject& record, const Described& described) {
    for (const int order : {-1, 0, 1})
        for (const Field& field : described.fields())
            if (field.key != RecordKey::none && field.record_order == order &&
                field.applies(described.head()))
                std::visit(ValuePut{record, field},
                           field.value(described.subject(), described.head()));
}

double RecordProperties::number(long key, std::string_view name) const {
    const ERDBObjProperty value = property(key);
    if (value.getType() != ERDBObjProperty::double_value || !std::isfinite(double(value)))
        refuse_key(key, name, "a number");
    return double(value);
}

std::uint64_t RecordProperties::count(long key, std::string_view name) const {
    constexpr double most = 0x1p53; // up to which each count is a double
    const ERDBObjProperty value = property(key);
    const bool is_number = value.getType() == ERDBObjProperty::long_value ||
                           value.getType() == ERDBObjProperty::double_value;
    if (!is_number || !(double(value) >= 0.0 && double(value) <= most))
        refuse_key(key, name, "a count");
    return static_cast<std::uint64_t>(double(value));
}

std::string RecordProperties::text(long key, std::string_view name) const {
    const ERDBObjProperty value = property(key);
    if (value.getType() != ERDBObjProperty::string_value) refuse_key(key, name, "a text");
    return static_cast<const char*>(value);
}

std::string RecordProperties::text_or_empty(RecordKey key) const {
    const ERDBObjProperty value = property(static_cast<long>(key));
    return static_cast<const char*>(value);
}

void RecordProperties::refuse(const std::string& why) const {
    throw RecordFault("object " + std::to_string(record_.getObjectID()) + ": " + why);
}

void RecordProperties::refuse_key(long key, std::string_view name, const char* expected) const {
    refuse("expected " + std::string(expected) + " under the key " + std::to_string(key) +
           (name.empty() ? "" : " (" + std::string(name) + ")"));
}

void get_fields(const RecordProperties& properties, void* subject, const void* head,
                std::span<const Field> fields) {
    for (const Field& field : fields) {
        if (field.key == RecordKey::none) continue;
        const long key = field.key_of(0);
        if (!field.applies(head)) {
            if (properties.has(key) && !is_used(fields, head, field.key))
                properties.refuse_key(key, field.name, "nothing in such an inspection");
        } else if (may_be_absent(field) && !properties.has(key)) {
            continue;
        } else if (field.type == FieldType::group) {
            void* const part = field.part(subject);
            get_fields(properties, part, part, field.part_fields());
        } else if (field.assign != nullptr) {
            with_value(properties, field, [&](const FieldValue& value) {
                if (!field.assign(subject, value))
                    properties.refuse_key(key, field.name, "a possible value");
            });
        }
    }
}

} // namespace velm::detail
