#include "velm/frame/point_list.h"

#include "velm/frame/finite_entity.h"
#include "velm/frame/point_functions.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace velm::detail {

namespace {

// Pieces of at most this parameter length are never split.
constexpr double shortest_piece = 1e-7;

// The distance of m from its foot on the chord a-b.
template <class Vector, class Point>
double height_over_chord(const Point& a, const Point& b, const Point& m) {
    Vector direction = Vector(a, b).getnormalized();
    Point foot = a + direction * (Vector(a, m) * direction);
    return distance(m, foot);
}

// Whether the midpoint is a repetition of one of the ends, as happens where no double lies between
// their parameters: inserting it would never end.
template <class Listed>
bool repeats_an_end(const Listed& middle, const Listed& a, const Listed& b) {
    return (middle.parameter == a.parameter && middle.point == a.point) ||
           (middle.parameter == b.parameter && middle.point == b.point);
}

// The height that rounding alone may give the middle of a straight piece. Each coordinate of the
// three points is off by up to three roundings of the size of the largest coordinate, which shifts
// the middle against the chord by up to 2 sqrt(3) * 3 of them, and the foot on the chord takes
// three more: 16 roundings are 8 epsilon.
constexpr double noise_of_height = 8.0 * std::numeric_limits<double>::epsilon();

template <class D>
double largest_coordinate(const typename D::Point& p, double before) {
    D::for_axes([&](int axis) { before = std::max(before, std::fabs(p[axis])); });
    return before;
}

} // namespace

template <class D>
void CurvePointList<D>::append(const Point& point, double parameter) {
    PooledList<typename D::ListedPoint>::append({point, parameter});
}

template <class D>
ERVec<typename D::Point> CurvePointList<D>::toVec() const {
    return this->gathered(&D::ListedPoint::point);
}

template <class D>
void CurvePointList<D>::Smash(const typename D::FiniteEntity& curve, double tol) {
    // Evaluation is declared without const but changes nothing.
    auto& evaluated = const_cast<typename D::FiniteEntity&>(curve);
    double size = 0.0;
    for (const auto* node = this->first(); node != nullptr; node = node->next)
        size = largest_coordinate<D>(node->value.point, size);
    auto* a = this->first();
    while (a != nullptr && a->next != nullptr) {
        const auto& start = a->value;
        const auto& end = a->next->value;
        if (!(std::fabs(start.parameter - end.parameter) <= shortest_piece)) {
            double tm = (start.parameter + end.parameter) * 0.5;
            typename D::ListedPoint middle{evaluated(tm), tm};
            size = largest_coordinate<D>(middle.point, size);
            const double height =
                height_over_chord<typename D::Vector>(start.point, end.point, middle.point);
            if (height > std::max(tol, noise_of_height * size) &&
                !repeats_an_end(middle, start, end)) {
                this->insert_after(a, middle);
                continue;
            }
        }
        a = a->next;
    }
}

template class CurvePointList<Plane>;
template class CurvePointList<Space>;

} // namespace velm::detail
