#include "velm/inspection/detail/archive_fields.h"

#include "velm/platform/text_archive.h"

#include <algorithm>
#include <cmath>

namespace velm::detail {
namespace {

// A value by its type. Where a subject lacks what its head calls for, its numbers are 0 and its
// texts empty.
struct ValueStore {
    CArchive& archive;
    const Field& field;

    void operator()(std::monostate) const {
        if (field.type == FieldType::total)
            archive << ULONGLONG{0};
        else if (field.type == FieldType::text)
            store_text(archive, {});
        else
            store_numbers(archive, Coordinates{{}, field.components()}.view());
    }
    void operator()(bool truth) const { store_truth(archive, truth); }
    void operator()(std::uint64_t count) const {
        if (field.type == FieldType::total)
            archive << static_cast<ULONGLONG>(count);
        else
            store_count(archive, count);
    }
    void operator()(double number) const { store_number(archive, number); }
    void operator()(std::string_view text) const { store_text(archive, text); }
    void operator()(const NamedValue& value) const {
        store_count(archive, static_cast<std::size_t>(value.number));
    }
    void operator()(const Coordinates& at) const { store_numbers(archive, at.view()); }
    void operator()(const Matrix& matrix) const {
        for (const auto& row : matrix.rows)
            store_numbers(archive, row);
    }
    void operator()(std::span<const double> numbers) const { store_numbers(archive, numbers); }
    void operator()(std::span<const ERPoint2D>) const { require(archive, false); } // not kept
    void operator()(std::span<const std::string> texts) const {
        store_count(archive, texts.size());
        for (const std::string& text : texts)
            store_text(archive, text);
    }
    void operator()(std::span<const NamedText> texts) const {
        store_count(archive, texts.size());
        for (const NamedText& text : texts) {
            store_text(archive, text.name);
            store_text(archive, text.text);
        }
    }
    void operator()(const Described& group) const {
        ArchiveForm(group.fields()).store(archive, group);
    }
};

Coordinates load_coordinates(CArchive& archive, int size) {
    Coordinates at{{}, size};
    for (int i = 0; i < size; ++i)
        at.values[static_cast<std::size_t>(i)] = load_number(archive);
    return at;
}

Matrix load_matrix(CArchive& archive) {
    Matrix matrix{{}, 3};
    for (auto& row : matrix.rows)
        for (double& number : row)
            number = load_number(archive);
    return matrix;
}

// The next value, assigned to the subject.
void load_value(CArchive& archive, void* subject, const void* head, const Field& field,
                int version) {
    const auto assign = [&](const FieldValue& value) {
        require(archive, field.assign(subject, value));
    };
    switch (field.type) {
    case FieldType::truth:
        return assign(load_truth(archive));
    case FieldType::count:
        return assign(static_cast<std::uint64_t>(load_count(archive)));
    case FieldType::total: {
        ULONGLONG total = 0;
        archive >> total;
        return assign(std::uint64_t{total});
    }
    case FieldType::number:
        return assign(load_number(archive));
    case FieldType::text: {
        const std::string text = load_text(archive);
        return assign(std::string_view(text));
    }
    case FieldType::choice:
        return assign(NamedValue{load_count(archive), {}});
    case FieldType::point2:
    case FieldType::point3:
    case FieldType::vector2:
    case FieldType::vector3:
        return assign(load_coordinates(archive, field.components()));
    case FieldType::matrix:
        return assign(load_matrix(archive));
    case FieldType::numbers: {
        const FieldValue present = field.value(subject, head); // which has as many
        std::vector<double> numbers(std::get<std::span<const double>>(present).size());
        for (double& number : numbers)
            number = load_number(archive);
        return assign(std::span<const double>(numbers));
    }
    case FieldType::texts: {
        const auto count = static_cast<std::size_t>(load_count(archive));
        require(archive, count <= archive.bytes_left() / sizeof(DWORD));
        std::vector<std::string> texts(count);
        for (std::string& text : texts)
            text = load_text(archive);
        return assign(std::span<const std::string>(texts));
    }
    case FieldType::named_texts: {
        const auto count = static_cast<std::size_t>(load_count(archive));
        require(archive, count <= archive.bytes_left() / (2 * sizeof(DWORD)));
        std::vector<NamedText> texts(count);
        for (NamedText& text : texts) {
            text.name = load_text(archive);
            text.text = load_text(archive);
        }
        return assign(std::span<const NamedText>(texts));
    }
    case FieldType::group: {
        void* const part = field.part(subject);
        return ArchiveForm(field.part_fields(), version).load(archive, part, part);
    }
    case FieldType::path:
        break;
    }
    require(archive, false);
}

} // namespace

void require(CArchive& archive, bool is_right) {
    if (!is_right) archive.raise(CArchiveException::badIndex);
}

bool load_truth(CArchive& archive) {
    BYTE byte = 0;
    archive >> byte;
    require(archive, byte <= 1);
    return byte == 1;
}

int load_count(CArchive& archive) {
    DWORD count = 0;
    archive >> count;
    require(archive, count <= static_cast<DWORD>(std::numeric_limits<int>::max()));
    return static_cast<int>(count);
}

double load_number(CArchive& archive) {
    double number = 0.0;
    archive >> number;
    require(archive, std::isfinite(number));
    return number;
}

std::vector<double> load_counted_numbers(CArchive& archive) {
    const auto count = static_cast<std::size_t>(load_count(archive));
    require(archive, count <= archive.bytes_left() / sizeof(double));
    std::vector<double> numbers(count);
    for (double& number : numbers)
        number = load_number(archive);
    return numbers;
}

std::string load_text(CArchive& archive) {
    utString text;
    archive >> text;
    return std::string(text.view());
}

void store_truth(CArchive& archive, bool truth) { archive << static_cast<BYTE>(truth ? 1 : 0); }

void store_count(CArchive& archive, std::size_t count) {
    require(archive, count <= static_cast<std::size_t>(std::numeric_limits<int>::max()));
    archive << static_cast<DWORD>(count);
}

void store_number(CArchive& archive, double number) {
    require(archive, std::isfinite(number));
    archive << number;
}

void store_numbers(CArchive& archive, std::span<const double> numbers) {
    for (const double number : numbers)
        store_number(archive, number);
}

void store_text(CArchive& archive, std::string_view text) {
    const std::string_view whole = text.substr(0, text.find('\0'));
    archive << static_cast<DWORD>(whole.size());
    archive.put_bytes(whole.data(), whole.size());
}

ArchiveForm::ArchiveForm(std::span<const Field> fields, int version, int first, int last)
    : version_(version) {
    for (const Field& field : fields)
        if (field.archive != 0 && field.since <= version && first <= field.archive &&
            field.archive <= last)
            fields_.push_back(&field);
    std::stable_sort(fields_.begin(), fields_.end(),
                     [](const Field* a, const Field* b) { return a->archive < b->archive; });
}

void ArchiveForm::store(CArchive& archive, const Described& described) const {
    for (const Field* const field : fields_) {
        if (!field->applies(described.head())) continue;
        const FieldValue value = field->value(described.subject(), described.head());
        const bool is_there = !std::holds_alternative<std::monostate>(value);
        if (field->may_be_absent()) store_truth(archive, is_there);
        if (is_there || !field->may_be_absent()) std::visit(ValueStore{archive, *field}, value);
    }
}

void ArchiveForm::load(CArchive& archive, void* subject, const void* head) const {
    for (const Field* const field : fields_)
        if (field->applies(head) && (!field->may_be_absent() || load_truth(archive)))
            load_value(archive, subject, head, *field, version_);
}

} // namespace velm::detail
