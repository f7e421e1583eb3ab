#include "inspect/base/table.h"

#include "inspect/base/text_escape.h"

#include <algorithm>
#include <utility>

namespace velm::inspect {

constexpr std::size_t widest_cell = 40;

void Table::add(std::vector<std::string> cells) {
    for (std::string& cell : cells)
        cell = clipped(terminal_text(cell), widest_cell);
    cells.resize(columns_.size());
    rows_.push_back(std::move(cells));
}

std::string Table::text() const {
    std::vector<std::size_t> widths;
    for (std::size_t c = 0; c < columns_.size(); ++c) {
        widths.push_back(display_width(columns_[c].head));
        for (const auto& row : rows_)
            widths[c] = std::max(widths[c], display_width(row[c]));
    }
    std::string out;
    const auto put = [&](std::size_t c, const std::string& cell) {
        const std::size_t pad = widths[c] - display_width(cell);
        out.append(c == 0 ? 0 : 2, ' ').append(columns_[c].right ? pad : 0, ' ').append(cell);
        out.append(columns_[c].right ? 0 : pad, ' ');
    };
    const auto end_line = [&] { out.replace(out.find_last_not_of(' ') + 1, out.npos, "\n"); };
    const auto has_head = [](const Column& column) { return !column.head.empty(); };
    if (std::any_of(columns_.begin(), columns_.end(), has_head)) {
        for (std::size_t c = 0; c < columns_.size(); ++c)
            put(c, columns_[c].head);
        end_line();
    }
    for (const auto& row : rows_) {
        for (std::size_t c = 0; c < row.size(); ++c)
            put(c, row[c]);
        end_line();
    }
    return out;
}

} // namespace velm::inspect
