#include "inspect/report/csv_report.h"

#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <variant>

namespace velm::inspect {
namespace {

std::string column_name(const Field& field, int component) {
    std::string name = field.column != nullptr ? field.column : std::string(field.name);
    name += component_suffix(field.type, component);
    return name.starts_with('_') ? name.substr(1) : name;
}

// Appends a value, its coordinates with commas between them.
class CellWriter {
public:
    CellWriter(std::string& out, const Field& field, bool on_terminal)
        : out_(out), field_(field), on_terminal_(on_terminal) {}

    void operator()(std::monostate) {
        out_.append(static_cast<std::size_t>(field_.components()) - 1, ',');
    }
    void operator()(bool value) { out_ += value ? "true" : "false"; }
    void operator()(std::uint64_t value) { out_ += std::to_string(value); }
    void operator()(double value) { append_number(out_, value); }
    void operator()(std::string_view text) {
        append_csv_field(out_, on_terminal_ ? terminal_text(text) : std::string(text));
    }
    void operator()(const NamedValue& choice) { append_csv_field(out_, choice.name); }
    void operator()(const Coordinates& coordinates) {
        for (const double& value : coordinates.view()) {
            if (&value != coordinates.values.data()) out_ += ',';
            append_number(out_, value);
        }
    }
    // Groups and lists have no cell.
    template <class Other>
    void operator()(const Other&) {}

private:
    std::string& out_;
    const Field& field_;
    bool on_terminal_;
};

} // namespace

CsvReport::CsvReport(Output& output, const Described& row, const std::vector<NamedText>& info)
    : output_(output), on_terminal_(output.is_terminal()) {
    for (const NamedText& said : info)
        output_.write(terminal_text("# " + said.name + "=" + said.text) + '\n');
    row.each_late_last([&](const Field& field, const FieldValue&) {
        if (field.shown == Shown::nowhere) return;
        for (int component = 0; component < field.components(); ++component)
            text_ += (text_.empty() ? "" : ",") + column_name(field, component);
    });
    output_.write(text_ + '\n');
}

void CsvReport::add(const Described& row) {
    text_.clear();
    bool is_first = true;
    row.each_late_last([&](const Field& field, const FieldValue& value) {
        if (field.shown == Shown::nowhere) return;
        if (!is_first) text_ += ',';
        is_first = false;
        std::visit(CellWriter(text_, field, on_terminal_), value);
    });
    output_.write(text_ += '\n');
}

} // namespace velm::inspect
