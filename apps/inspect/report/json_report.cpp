#include "inspect/report/json_report.h"

#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"
#include "velm/version.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <variant>

namespace velm::inspect {
namespace {

constexpr std::string_view summary_start = " \"summary\":{";

class ValueWriter {
public:
    ValueWriter(std::string& out, bool ascii) : out_(out), ascii_(ascii) {}

    void operator()(std::monostate) { out_ += "null"; }
    void operator()(bool value) { out_ += value ? "true" : "false"; }
    void operator()(std::uint64_t value) { out_ += std::to_string(value); }
    void operator()(double value) { append_number(out_, value); }
    void operator()(std::string_view text) { append_json_string(out_, text, ascii_); }
    void operator()(const NamedValue& choice) { append_json_string(out_, choice.name, ascii_); }
    void operator()(std::span<const double> numbers) { append_list(numbers); }
    void operator()(const Coordinates& coordinates) { append_list(coordinates.view()); }
    void operator()(const Matrix& matrix) {
        const auto size = static_cast<std::size_t>(matrix.size);
        append_list(std::span(matrix.rows).first(size),
                    [&](const auto& row) { append_list(std::span(row).first(size)); });
    }
    void operator()(std::span<const ERPoint2D> path) {
        append_list(path, [&](const ERPoint2D& p) {
            const double pair[] = {p.x(), p.y()};
            append_list(pair);
        });
    }
    void operator()(std::span<const std::string> texts) {
        append_list(texts, [&](const std::string& text) { (*this)(std::string_view(text)); });
    }
    void operator()(std::span<const NamedText> texts) {
        out_ += '{';
        for (const NamedText& text : texts) {
            if (&text != texts.data()) out_ += ',';
            append_json_string(out_, text.name, ascii_);
            out_ += ':';
            append_json_string(out_, text.text, ascii_);
        }
        out_ += '}';
    }
    void operator()(const Described& group) {
        out_ += '{';
        append_fields(group, 0);
        out_ += '}';
    }

    // The fields of a group; one that begins a new line is indented.
    void append_fields(const Described& group, std::size_t indent) {
        group.each([&](const Field& field, const FieldValue& value) {
            append_field(field, value, indent);
        });
    }
    void append_field(const Field& field, const FieldValue& value, std::size_t indent) {
        if (field.shown == Shown::nowhere) return;
        if (out_.back() != '{') out_ += ',';
        if (field.new_line) out_.append("\n").append(indent, ' ');
        out_.append("\"").append(field.name).append("\":");
        std::visit(*this, value);
    }

private:
    template <class Values, class Append>
    void append_list(const Values& values, Append append) {
        out_ += '[';
        bool is_first = true;
        for (const auto& value : values) {
            if (!is_first) out_ += ',';
            is_first = false;
            append(value);
        }
        out_ += ']';
    }
    void append_list(std::span<const double> numbers) {
        append_list(numbers, [&](double number) { append_number(out_, number); });
    }

    std::string& out_;
    bool ascii_;
};

} // namespace

JsonReport::JsonReport(Output& output, std::string_view command, const Described& head,
                       std::string_view list)
    : output_(output), head_(head), ascii_(output.is_terminal()) {
    text_ = "{\"velm\":\"" VELM_VERSION_STRING "\",\"command\":\"" + std::string(command) + "\"";
    ValueWriter writer(text_, ascii_);
    head.each([&](const Field& field, const FieldValue& value) {
        if (!field.late) writer.append_field(field, value, 1);
    });
    text_.append(",\n \"").append(list).append("\":[");
    output_.write(text_);
}

void JsonReport::add(const Described& row) {
    text_ = is_first_ ? "\n  {" : ",\n  {";
    is_first_ = false;
    ValueWriter(text_, ascii_).append_fields(row, 0);
    text_ += '}';
    output_.write(text_);
}

void JsonReport::begin_list(std::string& lists, std::string_view name) {
    lists.append(",\n \"").append(name).append("\":[");
}

void JsonReport::add_to_list(std::string& lists, const Described& subject) const {
    lists += lists.back() == '[' ? "\n  {" : ",\n  {";
    ValueWriter(lists, ascii_).append_fields(subject, 0);
    lists += '}';
}

void JsonReport::finish(const Described& figures) {
    text_ = "]" + lists_before_ + ",\n";
    text_ += summary_start;
    ValueWriter writer(text_, ascii_);
    writer.append_fields(figures, summary_start.size());
    text_ += '}';
    head_.each([&](const Field& field, const FieldValue& value) {
        if (field.late) writer.append_field(field, value, 1);
    });
    text_ += lists_after_ + "}\n";
    output_.write(text_);
}

} // namespace velm::inspect
