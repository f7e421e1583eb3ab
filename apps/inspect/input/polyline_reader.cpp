#include "inspect/input/polyline_reader.h"

#include "inspect/base/number_text.h"
#include "inspect/input/outline_lines.h"

#include <algorithm>
#include <span>

namespace velm::inspect {
namespace {

class Gatherer {
public:
    Gatherer(const TextSource& source, Polylines& to) : source_(source), to_(to) {}

    void begin(std::size_t line) {
        finish();
        line_ = line;
    }
    void take(const ERPoint2D& p) { points_.push_back(p); }
    bool is_empty() const { return points_.empty() && to_.lines.empty(); }
    void finish() {
        if (points_.empty()) return;
        const auto differs = [&](const ERPoint2D& p) { return !(p == points_.front()); };
        if (std::none_of(points_.begin(), points_.end(), differs))
            source_.refuse_at(line_, "the polyline that starts here has one different point; "
                                     "expected at least two");
        to_.lines.emplace_back(std::span<const ERPoint2D>(points_));
        points_.clear();
    }

private:
    const TextSource& source_;
    Polylines& to_;
    std::size_t line_ = 0;
    std::vector<ERPoint2D> points_;
};

[[noreturn]] void refuse_point(const TextSource& source, const OutlineLine& line) {
    if (line.count == 2) {
        for (const std::string_view field : {line.field[0], line.field[1]}) {
            const ParsedNumber number = parse_number(field);
            if (!number) source.refuse(number_complaint(field, number.fault));
        }
    }
    source.refuse("expected two numbers, x and y, found " + line.shown());
}

} // namespace

Polylines read_polylines(TextSource& source) {
    Polylines polylines;
    Gatherer gatherer(source, polylines);
    OutlineLines lines(source);
    OutlineLine line;
    bool has_title = false;
    while (lines.next(line)) {
        const ParsedNumber x = parse_number(line.field[0]);
        const ParsedNumber y = parse_number(line.count > 1 ? line.field[1] : "");
        const bool looks_like_data = line.count == 2 && x.fault != NumberFault::not_a_number &&
                                     y.fault != NumberFault::not_a_number;
        if (!has_title && gatherer.is_empty() && !looks_like_data && !line.is_damaged_vertex()) {
            has_title = true;
            continue;
        }
        if (!looks_like_data || !x || !y) refuse_point(source, line);
        if (line.starts_block) gatherer.begin(line.number);
        gatherer.take({x.value, y.value});
    }
    gatherer.finish();
    if (source.bytes_read() == 0) source.refuse_whole("the file is empty; expected a polyline");
    if (polylines.lines.empty())
        source.refuse_whole("no points; expected lines of two numbers, x and y");
    return polylines;
}

} // namespace velm::inspect
