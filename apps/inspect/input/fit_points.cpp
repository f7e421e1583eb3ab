#include "inspect/input/fit_points.h"

#include "inspect/base/number_text.h"
#include "inspect/base/repeated_ids.h"
#include "inspect/input/measured_reader.h"
#include "inspect/input/outline_lines.h"

#include <cmath>
#include <optional>

namespace velm::inspect {
namespace {

FitPoints read_bare(TextSource& source, const std::optional<double>& millimetres) {
    FitPoints result;
    OutlineLines lines(source);
    OutlineLine line;
    std::size_t expected = 0;
    std::optional<double> announced; // a number of points before them
    while (lines.next(line)) {
        if (line.count == 1 && expected == 0 && !announced) {
            const ParsedNumber number = parse_number(line.field[0]);
            if (number && number.value >= 1.0 && number.value == std::floor(number.value)) {
                announced = number.value;
                continue;
            }
        }
        if (line.count != 2 && line.count != 3)
            source.refuse("expected two or three numbers, found " + line.shown());
        if (expected == 0) expected = line.count;
        if (line.count != expected)
            source.refuse("expected " + std::to_string(expected) +
                          " numbers as in the lines before, found " + line.shown());
        ERPoint3D place;
        for (std::size_t k = 0; k < line.count; ++k) {
            const ParsedNumber number = parse_number(line.field[k]);
            if (!number) source.refuse(number_complaint(line.field[k], number.fault));
            place[static_cast<int>(k)] = number.value * millimetres.value_or(1.0);
        }
        result.places.push_back(place);
        result.ids.push_back(std::to_string(result.places.size()));
    }
    if (announced && *announced != static_cast<double>(result.places.size()))
        source.refuse_whole("the first line announces " + shortest(*announced) +
                            " points, and there are " + std::to_string(result.places.size()));
    result.in_space = expected == 3;
    if (millimetres) result.head.unit = "mm";
    return result;
}

// What a fit of all points together leaves out.
std::string unused_columns(const CsvRecords& records, const std::string& name) {
    std::string columns;
    for (const Column column : {Column::lower, Column::upper, Column::lower_size, Column::part})
        if (records.has(column))
            columns += (columns.empty() ? "" : ", ") + std::string(column_name(column));
    if (columns.empty()) return {};
    return name + ": all points are fitted together; not used: " + columns;
}

FitPoints read_table(TextSource& source, const TableOptions& options) {
    FitPoints result;
    MeasuredReader reader(source, options);
    MeasuredPoint point;
    RepeatedIds repeated;
    while (reader.next(point)) {
        if (result.places.empty()) result.in_space = point.z.has_value();
        if (point.z.has_value() != result.in_space)
            source.refuse_at(point.line, result.in_space
                                             ? "the z is missing that the rows before have"
                                             : "a z, which the rows before don't have");
        if (point.diameter) {
            if (!result.diameter) result.diameter = point.diameter;
            if (*point.diameter != *result.diameter)
                source.refuse_at(point.line, "the diameter " + shortest(*point.diameter) +
                                                 " is not that of the rows before, " +
                                                 shortest(*result.diameter));
        }
        repeated.add(point.part, point.id, point.line);
        result.ids.push_back(point.id);
        result.places.emplace_back(point.x, point.y, point.z.value_or(0.0));
    }
    result.notes = table_notes(reader.records(), source.name());
    if (std::string sentence = unused_columns(reader.records(), source.name()); !sentence.empty())
        result.notes.push_back(std::move(sentence));
    if (std::string sentence = repeated.sentence(source.name()); !sentence.empty())
        result.notes.push_back(std::move(sentence));
    describe_columns(reader.records(), result.head);
    return result;
}

// Whether the first line that is not empty starts with a number.
bool is_bare(const std::string& name, std::string_view text) {
    TextSource source(name, text);
    OutlineLines lines(source);
    OutlineLine line;
    return lines.next(line) && parse_number(line.field[0]).fault != NumberFault::not_a_number;
}

} // namespace

FitPoints read_fit_points(TextSource& source, const TableOptions& options) {
    std::string text;
    for (std::string_view line; source.next_line(line);)
        text.append(line).push_back('\n');
    TextSource again(source.name(), text);
    FitPoints result = options.columns.empty() && is_bare(source.name(), text)
                           ? read_bare(again, options.millimetres)
                           : read_table(again, options);
    if (result.places.empty()) source.refuse_whole("no points; expected at least two");
    return result;
}

} // namespace velm::inspect
