#include "inspect/input/target_reader.h"

#include "inspect/base/text_escape.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace velm::inspect {
namespace {

enum Column : std::size_t {
    id_column,
    name_column,
    nom_x,
    nom_y,
    nom_z,
    nom_i,
    nom_j,
    nom_k,
    x,
    y,
    z,
    diameter,
    act_x,
    act_y,
    act_z,
    column_count
};
constexpr std::array<std::string_view, column_count> names{
    "id", "name", "nom_x", "nom_y",    "nom_z", "nom_i", "nom_j", "nom_k",
    "x",  "y",    "z",     "diameter", "act_x", "act_y", "act_z"};

} // namespace

TargetReader::TargetReader(TextSource& source) : source_(source), records_(source, names) {
    std::string missing;
    const auto need = [&](bool is_there, std::string_view columns) {
        if (!is_there) missing += (missing.empty() ? "" : "; ") + std::string(columns);
    };
    const auto has = [&](std::size_t first, std::size_t last) {
        bool all = true;
        for (std::size_t column = first; column <= last; ++column)
            all = all && records_.has(column);
        return all;
    };
    need(records_.has(id_column) || records_.has(name_column), "id or name");
    need(has(nom_x, nom_z), "nom_x, nom_y, nom_z");
    const bool any_normal = records_.has(nom_i) || records_.has(nom_j) || records_.has(nom_k);
    need(!any_normal || has(nom_i, nom_k), "all of nom_i, nom_j, nom_k");
    need(has(x, diameter) || has(act_x, act_z), "x, y, z, diameter or act_x, act_y, act_z");
    if (!missing.empty())
        source_.refuse("expected a header with the columns of nominal and measured points; "
                       "missing: " +
                       missing + "; found: " + records_.header());
}

std::string TargetReader::id() const {
    return std::string(records_.field(records_.has(id_column) ? id_column : name_column));
}

bool TargetReader::is_filled(std::size_t first) const {
    return !records_.field(first).empty() || !records_.field(first + 1).empty() ||
           !records_.field(first + 2).empty();
}

ERPoint3D TargetReader::point(std::size_t first) const {
    return {records_.number(first), records_.number(first + 1), records_.number(first + 2)};
}

// Zero if there is none. The largest component is scaled to about 1, so that no square leaves its
// range; a power of two changes no digit.
ERVector3D TargetReader::normal() const {
    if (!is_filled(nom_i)) return {};
    const ERPoint3D v = point(nom_i);
    const double largest = std::max({std::fabs(v.x()), std::fabs(v.y()), std::fabs(v.z())});
    if (largest == 0.0) throw RowFault("columns nom_i, nom_j, nom_k: the normal has no length");
    const int power = -std::ilogb(largest);
    return {std::ldexp(v.x(), power), std::ldexp(v.y(), power), std::ldexp(v.z(), power)};
}

TargetRow TargetReader::row(int number) const {
    records_.check_width();
    const ERPoint3D nominal = point(nom_x);
    const ERVector3D direction = normal();
    const bool is_surface = is_filled(act_x);
    if (is_surface && is_filled(x))
        throw RowFault("both x, y, z and act_x, act_y, act_z are filled in; expected one of them");
    const ERPoint3D touched = point(is_surface || !records_.has(x) ? act_x : x);
    double ball = 0.0;
    if (!is_surface) {
        records_.number(diameter);
        ball = *records_.optional_length(diameter);
    }
    TargetRow row;
    row.id = id();
    const ERCMMPointWithDiameter measured(touched, direction, ball, number);
    row.target = is_filled(nom_i) ? gmTargetPoint(nominal, measured, direction)
                                  : gmTargetPoint(nominal, measured);
    if (!is_comparable(row.target))
        throw RowFault("the point is too far from its nominal to be compared");
    return row;
}

void BadRows::add(const TargetReader& reader, const RowFault& fault) {
    if (count_++ >= most_named) return;
    names_ += (names_.empty() ? "line " : "; line ") + std::to_string(reader.line()) + ", id '" +
              clipped(reader.id(), 40) + "': " + fault.what();
}

std::string BadRows::sentence(const std::string& table) const {
    if (count_ == 1) return table + ", " + names_;
    return table + ": " + std::to_string(count_) + " rows can't be used: " + names_ +
           (count_ > most_named ? " and " + std::to_string(count_ - most_named) + " more" : "");
}

} // namespace velm::inspect
