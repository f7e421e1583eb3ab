// velm::detail::CurvePart: a part of a piece of a plane curve while its intersections are looked
// for; how one part clips another, and when two of them meet in one point at most.
#pragma once

#include "velm/curves/detail/prepared_pieces.h"

#include <vector>

namespace velm::detail {

inline constexpr int max_poles = PreparedCurve<2>::max_degree + 1;

struct PlaneVector {
    double x, y;
};
inline PlaneVector operator-(PlaneVector a, PlaneVector b) { return {a.x - b.x, a.y - b.y}; }
inline PlaneVector operator+(PlaneVector a, PlaneVector b) { return {a.x + b.x, a.y + b.y}; }
inline PlaneVector operator*(PlaneVector a, double f) { return {a.x * f, a.y * f}; }
inline double cross(PlaneVector a, PlaneVector b) { return a.x * b.y - a.y * b.x; }
inline double dot(PlaneVector a, PlaneVector b) { return a.x * b.x + a.y * b.y; }
inline double norm(PlaneVector a) { return std::sqrt(dot(a, a)); }

/// A point of a curve and its derivative by the parameter of the part.
struct PointAndSlope {
    PlaneVector point, slope;
};

/// The part [from, to] of a piece's [0, 1], in coordinates that two pieces share.
struct CurvePart {
    double from = 0.0, to = 1.0;
    int degree = 0;
    bool rational = false;
    double x[max_poles], y[max_poles], w[max_poles]; ///< weighted, w = 1 unless rational
    double px[max_poles], py[max_poles];             ///< the poles themselves

    /// A whole piece, its origin moved by `shift`.
    void take(const PreparedPieces<2>& tables, const Piece<2>& piece, PlaneVector shift);
    /// A part of this one, which is a whole piece; each is cut out of the whole, so that errors
    /// don't add up.
    void cut(double low, double high, CurvePart& part) const;

    PlaneVector pole(int i) const { return {px[i], py[i]}; }
    PlaneVector chord() const { return pole(degree) - pole(0); }
    /// The diagonal of the poles' box.
    double extent() const;
    PointAndSlope at(double u) const;

private:
    void set_poles();
};

/// What rounding and the tolerance make of "the curves meet", in model units.
struct MeetingLimits {
    double pole_error; ///< bounds the error of a coordinate of a pole, and of the input's rounding
    double apart;      ///< parts farther apart than this don't meet
    double together;   ///< places nearer than this meet; > apart
    double tiny;       ///< a part no longer than this is a point

    MeetingLimits(double error, double tolerance)
        : pole_error(error), apart(tolerance + 2.0 * error),
          together(2.0 * tolerance + 8.0 * error), tiny(std::max(2.0 * error, 0.5 * tolerance)) {}
};

/// A clip that leaves more than this is followed by halving.
inline constexpr double worth_repeating = 0.7;
/// Below this a parameter interval of [0, 1] is a point: four units in the last place
/// of 1.
inline constexpr double shortest_interval = 0x1p-50;

/// Halves the longer part of a pair, or the one that is no point yet, and adds both pairs to
/// `tasks`, the first to be taken first. A Task has a_low, a_high, b_low and b_high.
template <class Task>
void halve(const Task& task, bool a_is_longer, std::vector<Task>& tasks) {
    const bool of_a = task.b_high - task.b_low <= shortest_interval ||
                      (a_is_longer && task.a_high - task.a_low > shortest_interval);
    Task before = task, after = task;
    if (of_a)
        before.a_high = after.a_low = 0.5 * (task.a_low + task.a_high);
    else
        before.b_high = after.b_low = 0.5 * (task.b_low + task.b_high);
    tasks.push_back(after);
    tasks.push_back(before);
}

/// An interval of a part's own [0, 1].
struct PartInterval {
    double low = 0.0, high = 1.0;
    bool empty() const { return !(low <= high); }
    double length() const { return high - low; }
};

/// Keeps of `kept` what may hold zeros or negative values of a polynomial in the Bernstein basis:
/// where the convex hull of its coefficients reaches below 0.
void keep_below(const double* g, int degree, PartInterval& kept);

/// Where `of` may come as near as `apart` to `by`: by the strips along and across the chord of `by`
/// that hold its poles (Sederberg and Nishita, CAD 22, 1990), intersected with the convex hull of
/// the distances' coefficients.
PartInterval clip(const CurvePart& by, const CurvePart& of, double apart);

/// What is known when no tangent of one part is parallel to one of the other.
struct Transversality {
    double sine = 0.0; ///< of the least angle between any two tangents; 0: not known
    double slope_a = 0.0, slope_b = 0.0; ///< bounds of the derivatives by the parts' parameters
    bool left = false;                   ///< b leads to the left of a
};

/// By the directions between neighbouring poles, whose cone holds all tangents: also those of a
/// rational curve with positive weights, whose hodograph is a positive combination of them. Two
/// parts whose cones are disjoint meet at most once (Sederberg and Meyers, CAGD 5, 1988).
Transversality transversality(const CurvePart& a, const CurvePart& b, double pole_error);

} // namespace velm::detail
