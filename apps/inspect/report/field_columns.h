// field_columns.h: rows as columns and cells for people: `FieldColumn`, `columns_of`, `cells_of`,
// `PageColumns`, `rows_text`.
#pragma once

#include "velm/inspection/field.h"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace velm::inspect {

/// One column of a table or a page. Coordinates have one each.
struct FieldColumn {
    std::string_view field; ///< the name
    std::string heading;
    FieldType type;
    bool is_number() const {
        return type != FieldType::text && type != FieldType::choice && type != FieldType::truth;
    }
};

/// The columns of the fields that tables show; any row gives the columns of all rows with the same
/// head.
std::vector<FieldColumn> columns_of(const Described& row);

/// A text for each column; numbers with `decimals` digits, empty if there is no value.
std::vector<std::string> cells_of(const Described& row, int decimals);

/// The columns of a page: the judged values come first; the id and the judgement are shown in a way
/// of their own, and the fields of `left_out` not at all.
class PageColumns {
public:
    PageColumns(const Described& row, std::string_view judged,
                std::span<const std::string_view> left_out);
    std::vector<std::string> headings() const;
    std::vector<std::string> cells(const Described& row, int decimals) const;

private:
    std::vector<FieldColumn> columns_;
    std::vector<std::size_t> order_; // indices of the columns shown
};

/// The rows as a table for a terminal. Judgements have a column if there are any.
std::string rows_text(std::span<const Described> rows, int decimals);

} // namespace velm::inspect
