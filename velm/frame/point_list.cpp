#include "velm/frame/point_list.h"

#include "velm/frame/detail/polyline_refinement.h"
#include "velm/frame/finite_entity.h"

#include <algorithm>
#include <cmath>

namespace velm::detail {

namespace {

// Pieces of at most this parameter length are never split.
constexpr double shortest_piece = 1e-7;

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
    using Listed = typename D::ListedPoint;
    // Evaluation is declared without const but changes nothing.
    auto& evaluated = const_cast<typename D::FiniteEntity&>(curve);
    refine_polyline<D, Listed>(
        *this,
        [](const Listed& a, const Listed& b) {
            return std::fabs(a.parameter - b.parameter) <= shortest_piece;
        },
        [&evaluated](const Listed& a, const Listed& b) {
            const double middle = (a.parameter + b.parameter) * 0.5;
            return Listed{evaluated(middle), middle};
        },
        [tol](const typename D::Vector& height, double noise) {
            return height.norme() > std::max(tol, noise);
        });
}

template class CurvePointList<Plane>;
template class CurvePointList<Space>;

} // namespace velm::detail
