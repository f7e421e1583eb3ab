#include "inspect/input/measured_reader.h"

#include "inspect/base/text_escape.h"

#include <cmath>

namespace velm::inspect {
namespace {

constexpr Column understood[] = {
    Column::id,         Column::x,     Column::y,     Column::z,
    Column::i,          Column::j,     Column::k,     Column::diameter,
    Column::radius,     Column::lower, Column::upper, Column::feature,
    Column::lower_size, Column::part,  Column::axis,  Column::measured};

std::string missing(const CsvRecords& records) {
    std::string names;
    for (const Column column : {Column::x, Column::y})
        if (!records.has(column))
            names += (names.empty() ? "" : ", ") + std::string(column_name(column));
    return names;
}

TableNeeds needs(bool reads_bare) {
    return {understood, true, reads_bare, "expected a header with the columns id, x and y",
            missing};
}

// The last three of six bare numbers may be colours as well.
void check_bare(const std::array<std::optional<double>, 3>& approach) {
    constexpr double rounding = 0.02; // of directions with two decimals
    const auto& [i, j, k] = approach;
    const double length = std::hypot(i.value_or(0.0), j.value_or(0.0), k.value_or(0.0));
    if (length > 0.0 && !(std::fabs(length - 1.0) <= rounding))
        throw RowFault("the last three of six numbers are no direction of length 1; a header or "
                       "the numbers of the columns decide what they are");
}

} // namespace

std::optional<Tolerance> row_limits(const std::optional<double>& lower,
                                    const std::optional<double>& upper,
                                    const std::optional<Tolerance>& of_all) {
    if (!lower && !upper) return std::nullopt;
    Tolerance limits;
    limits.lower = lower ? *lower : of_all ? of_all->lower : -std::fabs(*upper);
    limits.upper = upper ? *upper : of_all ? of_all->upper : std::fabs(*lower);
    if (limits.lower > limits.upper) throw RowFault("the lower limit is above the upper one");
    return limits;
}

void read_limits(const CsvRecords& records, std::optional<double>& lower,
                 std::optional<double>& upper) {
    lower = records.has(Column::lower) ? records.optional_length(Column::lower) : std::nullopt;
    upper = records.has(Column::upper) ? records.optional_length(Column::upper) : std::nullopt;
    if (!lower && records.has(Column::lower_size))
        if (const auto size = records.optional_length(Column::lower_size))
            lower = -std::fabs(*size);
}

void describe_columns(const CsvRecords& records, InspectionHead& head) {
    head.ignored_columns = records.ignored();
    head.read_as = records.read_as();
    head.has_row_limits =
        records.has(Column::lower) || records.has(Column::upper) || records.has(Column::lower_size);
    head.has_features = records.has(Column::feature);
    head.has_parts = records.has(Column::part);
    if (records.millimetres()) head.unit = "mm";
}

std::vector<std::string> table_notes(const CsvRecords& records, const std::string& name) {
    std::string columns;
    for (const std::string& column : records.ignored())
        columns += (columns.empty() ? "'" : ", '") + clipped(column, 40) + "'";
    if (columns.empty()) return {};
    return {name + ": not understood and not used: column" +
            (records.ignored().size() == 1 ? " " : "s ") + columns};
}

MeasuredReader::MeasuredReader(TextSource& source, const TableOptions& options, bool reads_bare)
    : source_(source), records_(source, needs(reads_bare), options) {}

bool MeasuredReader::next(MeasuredPoint& point) {
    if (!records_.next()) return false;
    try {
        read(point);
    } catch (const RowFault& fault) {
        source_.refuse_at(records_.line(), fault.what());
    }
    return true;
}

void MeasuredReader::read(MeasuredPoint& point) const {
    records_.check_width();
    point.line = records_.line();
    point.id = records_.has(Column::id) ? std::string(records_.field(Column::id))
                                        : std::to_string(records_.number_of_row());
    point.x = records_.length(Column::x);
    point.y = records_.length(Column::y);
    point.z = records_.optional_length(Column::z);
    for (std::size_t axis = 0; axis < point.approach.size(); ++axis)
        point.approach[axis] = records_.optional_number(
            static_cast<Column>(static_cast<std::size_t>(Column::i) + axis));
    if (records_.has_bare_directions()) check_bare(point.approach);
    point.diameter = records_.optional_size(Column::diameter);
    if (!point.diameter)
        if (const auto radius = records_.optional_size(Column::radius))
            point.diameter = 2.0 * *radius;
    read_limits(records_, point.lower, point.upper);
    point.feature = records_.field(Column::feature);
    point.part = records_.field(Column::part);
}

} // namespace velm::inspect
