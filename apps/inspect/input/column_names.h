// column_names.h: what the columns of measured tables are called: `Column`, `columns_called`,
// `ColumnChoice`.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velm::inspect {

/// What a column may mean. `column_name` gives the plain name of each.
enum class Column : unsigned char {
    id,
    x,
    y,
    z,
    i,
    j,
    k,
    diameter,
    radius,
    lower,
    upper,
    lower_size, ///< a lower limit given by its size, as in a column "-TOL"
    feature,
    part,
    nom_x,
    nom_y,
    nom_z,
    nom_i,
    nom_j,
    nom_k,
    act_x,
    act_y,
    act_z,
    axis,    ///< of a table with one axis per row
    nominal, ///< likewise
    measured ///< likewise
};
inline constexpr std::size_t column_meanings = static_cast<std::size_t>(Column::measured) + 1;

/// "id", "nom_x", ...
std::string_view column_name(Column column);

/// The column of a plain name, for --columns.
std::optional<Column> column_of_name(std::string_view name);

/// A header's field: its meaning, and the unit in brackets, in millimetres.
struct ColumnTitle {
    std::optional<Column> meaning;
    std::optional<double> millimetres;
    bool is_plain = false; ///< it is the plain name itself
};

/// The one table of synonyms: names in English, German and French as measuring programs write them,
/// in any case, with blanks, underscores, hyphens and points or without, a unit in brackets or
/// parentheses after them. `has_surface`: x, y, z beside a nominal are the points of the surface,
/// already corrected for the ball, if their name says that they are actual ones.
ColumnTitle read_title(std::string_view title);

/// A unit of length in millimetres: "mm", "[inch]".
std::optional<double> unit_called(std::string_view text);

/// A column that the user has named: the first one is 1.
struct ColumnChoice {
    Column meaning;
    std::size_t number;
};

} // namespace velm::inspect
