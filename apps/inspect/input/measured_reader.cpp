#include "inspect/input/measured_reader.h"

namespace velm::inspect {
namespace {

enum Column : std::size_t { id, x, y, z, i, j, k, diameter, column_count };
constexpr std::array<std::string_view, column_count> names{"id", "x", "y", "z",
                                                           "i",  "j", "k", "diameter"};

} // namespace

MeasuredReader::MeasuredReader(TextSource& source) : source_(source), records_(source, names) {
    std::string missing;
    for (const Column column : {id, x, y})
        if (!records_.has(column))
            missing += (missing.empty() ? "" : ", ") + std::string(names[column]);
    if (!missing.empty())
        source_.refuse("expected a header with the columns id, x and y; missing: " + missing +
                       "; found: " + records_.header());
}

bool MeasuredReader::has_z() const { return records_.has(z); }

bool MeasuredReader::next(MeasuredPoint& point) {
    if (!records_.next()) return false;
    try {
        records_.check_width();
        point.line = records_.line();
        point.id = records_.field(id);
        point.x = records_.number(x);
        point.y = records_.number(y);
        point.z = records_.optional_number(z);
        for (std::size_t axis = 0; axis < point.approach.size(); ++axis)
            point.approach[axis] = records_.optional_number(i + axis);
        point.diameter = records_.optional_length(diameter);
    } catch (const RowFault& fault) {
        source_.refuse_at(records_.line(), fault.what());
    }
    return true;
}

} // namespace velm::inspect
