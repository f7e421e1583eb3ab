// outline_commands.h: outlines given as lines and arcs, a letter and its numbers per line:
// `is_command`, `CommandReader`.
#pragma once

#include "inspect/input/drawn_curves.h"
#include "inspect/input/outline_checks.h"
#include "inspect/input/outline_lines.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace velm::inspect {

/// Whether the line is one of
///
///     M x y                   starts a contour
///     L x y                   goes straight on
///     A x y cx cy ccw         goes on along an arc about (cx, cy), or cw for clockwise; back to
///                             the point where it starts it is a whole turn
///     N degree knots... poles x y w ...
///                             goes on along a NURBS curve from its start, or is a contour of its
///                             own where it comes back to its start: as many knots as poles plus
///                             degree + 1, ascending; a pole is a point and its positive weight.
///                             The words "knots" and "poles" may stand before the numbers or not
///     Z                       closes the contour, by a straight edge unless it is back already
///     C cx cy r               a circle, a contour of its own
///
/// with exactly its fields, and numbers in form where numbers belong.
bool is_command(const OutlineLine& line);

/// Whether the line starts with one of these letters.
bool starts_like_command(const OutlineLine& line);

/// Makes contours of such lines. Each must be closed, by `Z` or by an exact return to its start.
///
/// The two ends of an arc must be equally far from its centre, within a millionth of the largest
/// coordinate involved (the rounding of six digits) and a thousandth of the radius; the radius is
/// the mean of both distances. A curve starts within a millionth of the largest coordinate of the
/// contour's last point. The ends are those of the lines.
class CommandReader {
public:
    explicit CommandReader(const TextSource& source) : source_(source) {}
    /// Throws `Failure` (input) with the line and what was expected.
    void take(const OutlineLine& line);
    /// The contours, if any.
    std::vector<LocatedContour> finish();

private:
    void move(const OutlineLine& line);
    void go_straight(const OutlineLine& line);
    void go_round(const OutlineLine& line);
    void follow_curve(const OutlineLine& line);
    void close(const OutlineLine& line);
    void add_circle(const OutlineLine& line);

    void move_to(const ERPoint2D& start, std::size_t line);
    DrawnSpline spline(const OutlineLine& line) const;
    double number(const OutlineLine& line, std::size_t field) const;
    ERPoint2D point(const OutlineLine& line, std::size_t field) const;
    void require_open(const OutlineLine& line) const;
    void end_contour();

    const TextSource& source_;
    std::vector<LocatedContour> contours_;
    std::optional<Contour> open_;
    ERPoint2D start_, current_;
    std::size_t start_line_ = 0;
};

} // namespace velm::inspect
