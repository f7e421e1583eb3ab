#include "inspect/report/field_columns.h"

#include "inspect/base/number_text.h"
#include "inspect/base/table.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <variant>

namespace velm::inspect {
namespace {

// "foot x", "z", "on plane"
std::string heading_of(const Field& field, int component) {
    std::string heading = field.heading != nullptr ? field.heading : std::string(field.name);
    heading += component_suffix(field.type, component);
    std::replace(heading.begin(), heading.end(), '_', ' ');
    return heading.starts_with(' ') ? heading.substr(1) : heading;
}

struct CellWriter {
    std::vector<std::string>& cells;
    const Field& field;
    int decimals;

    void operator()(std::monostate) {
        cells.resize(cells.size() + static_cast<std::size_t>(field.components()));
    }
    void operator()(bool value) { cells.push_back(value ? "in" : "OUT"); }
    void operator()(std::uint64_t value) { cells.push_back(grouped(value, ",")); }
    void operator()(double value) { cells.push_back(fixed(value, decimals)); }
    void operator()(std::string_view text) { cells.emplace_back(text); }
    void operator()(const NamedValue& choice) { cells.emplace_back(choice.name); }
    void operator()(const Coordinates& coordinates) {
        for (const double value : coordinates.view())
            cells.push_back(fixed(value, decimals));
    }
    // Groups and lists have no cell.
    template <class Other>
    void operator()(const Other&) {}
};

template <class Visit>
void each_shown(const Described& row, Visit visit) {
    row.each([&](const Field& field, const FieldValue& value) {
        if (field.shown == Shown::in_tables) visit(field, value);
    });
}

} // namespace

std::vector<FieldColumn> columns_of(const Described& row) {
    std::vector<FieldColumn> columns;
    each_shown(row, [&](const Field& field, const FieldValue&) {
        for (int component = 0; component < field.components(); ++component)
            columns.push_back({field.name, heading_of(field, component), field.type});
    });
    return columns;
}

std::vector<std::string> cells_of(const Described& row, int decimals) {
    std::vector<std::string> cells;
    each_shown(row, [&](const Field& field, const FieldValue& value) {
        std::visit(CellWriter{cells, field, decimals}, value);
    });
    return cells;
}

PageColumns::PageColumns(const Described& row, std::string_view judged,
                         std::span<const std::string_view> left_out)
    : columns_(columns_of(row)) {
    for (const bool is_judged : {true, false})
        for (std::size_t c = 0; c < columns_.size(); ++c) {
            const FieldColumn& column = columns_[c];
            const bool is_left_out =
                column.field == "id" || column.type == FieldType::truth ||
                std::find(left_out.begin(), left_out.end(), column.field) != left_out.end();
            if (!is_left_out && (column.field == judged) == is_judged) order_.push_back(c);
        }
}

std::vector<std::string> PageColumns::headings() const {
    std::vector<std::string> headings;
    for (const std::size_t c : order_)
        headings.push_back(columns_[c].heading);
    return headings;
}

std::vector<std::string> PageColumns::cells(const Described& row, int decimals) const {
    std::vector<std::string> all = cells_of(row, decimals), cells;
    for (const std::size_t c : order_)
        cells.push_back(std::move(all[c]));
    return cells;
}

std::string rows_text(std::span<const Described> rows, int decimals) {
    if (rows.empty()) return {};
    const std::vector<FieldColumn> columns = columns_of(rows.front());
    std::vector<std::vector<std::string>> lines;
    for (const Described& row : rows)
        lines.push_back(cells_of(row, decimals));
    // There is no column for what no row has.
    std::vector<std::size_t> shown;
    for (std::size_t c = 0; c < columns.size(); ++c)
        if (columns[c].field == "id" ||
            std::any_of(lines.begin(), lines.end(), [&](const auto& l) { return !l[c].empty(); }))
            shown.push_back(c);

    std::vector<Table::Column> heads;
    for (const std::size_t c : shown)
        heads.push_back({columns[c].heading, columns[c].is_number()});
    Table table(std::move(heads));
    for (std::vector<std::string>& line : lines) {
        std::vector<std::string> cells;
        for (const std::size_t c : shown)
            cells.push_back(std::move(line[c]));
        table.add(std::move(cells));
    }
    return table.text();
}

} // namespace velm::inspect
