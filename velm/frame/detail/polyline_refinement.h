// velm::detail::refine_polyline: inserts points between those of a list until their polyline
// follows a curve or a surface.
#pragma once

#include "velm/frame/point.h"
#include "velm/frame/pooled_list.h"
#include "velm/frame/vector.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace velm::detail {

/// The height that rounding alone may give the middle of a straight piece. Each coordinate of the
/// three points is off by up to three roundings of the size of the largest coordinate, which shifts
/// the middle against the chord by up to 2 sqrt(3) * 3 of them, and the foot on the chord takes
/// three more: 16 roundings are 8 epsilon.
inline constexpr double noise_of_height = 8.0 * std::numeric_limits<double>::epsilon();

/// From the foot of m on the chord a-b to m.
template <class Vector, class Point>
Vector height_over_chord(const Point& a, const Point& b, const Point& m) {
    const Vector direction = Vector(a, b).getnormalized();
    return Vector(a + direction * (Vector(a, m) * direction), m);
}

/// Depth first from the left: a pair that is not short, `is_short(a, b)`, gets `middle(a, b)`
/// between its points if `is_high(height, noise)`, with the vector from the chord to the middle and
/// the length that rounding alone may give it. A middle that repeats an end, as where no double is
/// between their parameters, is not inserted: that would never end.
template <class D, class Listed, class IsShort, class Middle, class IsHigh>
void refine_polyline(PooledList<Listed>& list, IsShort is_short, Middle middle, IsHigh is_high) {
    double size = 0.0; // the largest coordinate
    const auto measure = [&size](const Listed& listed) {
        D::for_axes([&](int axis) { size = std::max(size, std::fabs(listed.point[axis])); });
    };
    const auto equal = [](const Listed& a, const Listed& b) {
        if constexpr (requires { a.parameters; })
            return a.parameters == b.parameters && a.point == b.point;
        else
            return a.parameter == b.parameter && a.point == b.point;
    };
    for (const Listed& listed : list)
        measure(listed);
    auto* a = list.first();
    while (a != nullptr && a->next != nullptr) {
        const Listed &start = a->value, &end = a->next->value;
        if (!is_short(start, end)) {
            const Listed between = middle(start, end);
            measure(between);
            const auto height =
                height_over_chord<typename D::Vector>(start.point, end.point, between.point);
            if (is_high(height, noise_of_height * size) && !equal(between, start) &&
                !equal(between, end)) {
                list.insert_after(a, between);
                continue;
            }
        }
        a = a->next;
    }
}

} // namespace velm::detail
