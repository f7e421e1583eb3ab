#include "inspect/input/target_reader.h"

#include "inspect/base/text_escape.h"
#include "inspect/input/measured_reader.h"

#include <algorithm>
#include <cmath>

namespace velm::inspect {
namespace {

constexpr Column understood[] = {
    Column::id,      Column::x,        Column::y,         Column::z,     Column::diameter,
    Column::radius,  Column::nom_x,    Column::nom_y,     Column::nom_z, Column::nom_i,
    Column::nom_j,   Column::nom_k,    Column::act_x,     Column::act_y, Column::act_z,
    Column::lower,   Column::upper,    Column::feature,   Column::part,  Column::axis,
    Column::nominal, Column::measured, Column::lower_size};

std::string missing(const CsvRecords& records) {
    std::string missing;
    const auto need = [&](bool is_there, std::string_view columns) {
        if (!is_there) missing += (missing.empty() ? "" : "; ") + std::string(columns);
    };
    const auto has = [&](Column first, std::size_t count = 3) {
        bool all = true;
        for (std::size_t n = 0; n < count; ++n)
            all = all && records.has(static_cast<Column>(static_cast<std::size_t>(first) + n));
        return all;
    };
    need(has(Column::nom_x), "nom_x, nom_y, nom_z");
    const bool any_normal =
        records.has(Column::nom_i) || records.has(Column::nom_j) || records.has(Column::nom_k);
    need(!any_normal || has(Column::nom_i), "all of nom_i, nom_j, nom_k");
    const bool has_ball = records.has(Column::diameter) || records.has(Column::radius);
    need((has(Column::x) && has_ball) || has(Column::act_x),
         "x, y, z, diameter or act_x, act_y, act_z");
    return missing;
}

constexpr TableNeeds needs{understood, false, false,
                           "expected a header with the columns of nominal and measured points",
                           missing};

} // namespace

TargetReader::TargetReader(TextSource& source, const TableOptions& options)
    : records_(source, needs, options) {}

std::string TargetReader::id() const {
    return records_.has(Column::id) ? std::string(records_.field(Column::id))
                                    : std::to_string(records_.number_of_row());
}

bool TargetReader::is_filled(Column first) const {
    for (std::size_t n = 0; n < 3; ++n)
        if (!records_.field(static_cast<Column>(static_cast<std::size_t>(first) + n)).empty())
            return true;
    return false;
}

ERPoint3D TargetReader::point(Column first) const {
    double at[3];
    for (std::size_t n = 0; n < 3; ++n)
        at[n] = records_.length(static_cast<Column>(static_cast<std::size_t>(first) + n));
    return {at[0], at[1], at[2]};
}

// Zero if there is none. The largest component is scaled to about 1, so that no square leaves its
// range; a power of two changes no digit.
ERVector3D TargetReader::normal() const {
    if (!is_filled(Column::nom_i)) return {};
    const ERPoint3D v(records_.number(Column::nom_i), records_.number(Column::nom_j),
                      records_.number(Column::nom_k));
    const double largest = std::max({std::fabs(v.x()), std::fabs(v.y()), std::fabs(v.z())});
    if (largest == 0.0) throw RowFault("columns nom_i, nom_j, nom_k: the normal has no length");
    const int power = -std::ilogb(largest);
    return {std::ldexp(v.x(), power), std::ldexp(v.y(), power), std::ldexp(v.z(), power)};
}

TargetRow TargetReader::row(int number, const std::optional<Tolerance>& of_all) const {
    records_.check_width();
    const ERPoint3D nominal = point(Column::nom_x);
    const ERVector3D direction = normal();
    const bool is_surface = is_filled(Column::act_x);
    const bool has_both = records_.has(Column::x) && records_.has(Column::act_x);
    if (has_both && !records_.is_by_axis() && is_surface && is_filled(Column::x))
        throw RowFault("both x, y, z and act_x, act_y, act_z are filled in; expected one of them");
    const ERPoint3D touched =
        point(is_surface || !records_.has(Column::x) ? Column::act_x : Column::x);
    double ball = 0.0;
    if (!is_surface) {
        const bool is_radius =
            records_.field(Column::diameter).empty() && !records_.field(Column::radius).empty();
        const Column size = is_radius ? Column::radius : Column::diameter;
        records_.number(size);
        ball = *records_.optional_size(size) * (is_radius ? 2.0 : 1.0);
    }
    TargetRow row;
    row.id = id();
    std::optional<double> lower, upper;
    read_limits(records_, lower, upper);
    row.limits = row_limits(lower, upper, of_all);
    row.feature = records_.field(Column::feature);
    row.part = records_.field(Column::part);
    const ERCMMPointWithDiameter measured(touched, direction, ball, number);
    row.target = is_filled(Column::nom_i) ? gmTargetPoint(nominal, measured, direction)
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
