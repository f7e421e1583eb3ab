#include "inspect/input/outline_pieces.h"

#include "inspect/base/number_text.h"
#include "velm/frame/point_functions.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <string>
#include <utility>

namespace velm::inspect {

bool is_piece(const OutlineLine& line) {
    if (line.count != 4) return false;
    return std::all_of(line.field.begin(), line.field.begin() + 4, [](std::string_view field) {
        return parse_number(field).fault != NumberFault::not_a_number;
    });
}

void PieceReader::take(const OutlineLine& line) {
    if (line.count != 4)
        source_.refuse("expected four numbers, x1 y1 x2 y2, found " + line.shown());
    double value[4];
    for (std::size_t i = 0; i < 4; ++i) {
        const ParsedNumber number = parse_number(line.field[i]);
        if (!number) source_.refuse(number_complaint(line.field[i], number.fault));
        value[i] = number.value;
    }
    const ERPoint2D a(value[0], value[1]), b(value[2], value[3]);
    links_.add(a, b, line.number);
    if (!(distance(a, b) >= tolerance_))
        source_.refuse("the piece is shorter than the chain tolerance " + shortest(tolerance_));
}

std::vector<LocatedContour> PieceReader::finish() {
    std::vector<LocatedContour> contours;
    for (const PieceLinks::Ring& ring : links_.rings()) {
        std::vector<ERPoint2D> vertices;
        for (const PieceLinks::Link& link : ring)
            vertices.push_back(link.from);
        contours.push_back(
            {Contour(Polygon(std::span<const ERPoint2D>(vertices))), links_.first_line(ring)});
        require_area(source_, contours.back().line, contours.back().contour);
    }
    put_largest_first(contours);
    return contours;
}

void put_largest_first(std::vector<LocatedContour>& contours) {
    const auto largest = std::max_element(
        contours.begin(), contours.end(), [](const LocatedContour& a, const LocatedContour& b) {
            return std::fabs(a.contour.signed_area()) < std::fabs(b.contour.signed_area());
        });
    if (!contours.empty()) std::rotate(contours.begin(), largest, largest + 1);
}

} // namespace velm::inspect
