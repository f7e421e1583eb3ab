#include "velm/frame/point_list.h"

#include "velm/frame/finite_entity.h"
#include "velm/frame/point_functions.h"

#include <cmath>

namespace velm::detail {

namespace {

/// Pieces of this parameter length and less are never split.
constexpr double shortest_piece = 1e-7;

/// The distance of m from its foot on the chord a-b.
template <class Vector, class Point>
double height_over_chord(const Point& a, const Point& b, const Point& m) {
    Vector direction = Vector(a, b).getnormalized();
    Point foot = a + direction * (Vector(a, m) * direction);
    return distance(m, foot);
}

/// Whether the midpoint is one of the ends over again, as happens where no double lies between
/// their parameters: inserting it would go on for ever.
template <class Listed>
bool repeats_an_end(const Listed& middle, const Listed& a, const Listed& b) {
    return (middle.parameter == a.parameter && middle.point == a.point) ||
           (middle.parameter == b.parameter && middle.point == b.point);
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
    auto* a = this->first();
    while (a != nullptr && a->next != nullptr) {
        const auto& start = a->value;
        const auto& end = a->next->value;
        if (!(std::fabs(start.parameter - end.parameter) <= shortest_piece)) {
            double tm = (start.parameter + end.parameter) * 0.5;
            typename D::ListedPoint middle{evaluated(tm), tm};
            if (height_over_chord<typename D::Vector>(start.point, end.point, middle.point) > tol &&
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
