#include "velm/wireframe/angle_interval.h"

#include "velm/frame/point_list.h"
#include "velm/frame/stored_form.h"
#include "velm/wireframe/detail/angles.h"

#include <algorithm>
#include <ostream>
#include <utility>

VELM_DEFINE_CLASS_NOT_CREATABLE(ERFiniteEntity2DWFBoundedWithAngle, ERFiniteEntity2DWF)
VELM_DEFINE_CLASS_NOT_CREATABLE(ERFiniteEntity3DWFBoundedWithAngle, ERFiniteEntity3DWF)

using velm::detail::turn;

EREntAngle::EREntAngle() : start_(0.0), end_(turn) {}

ERRadian EREntAngle::startAngle(ERRadian angle) { return std::exchange(start_, angle); }

ERRadian EREntAngle::endAngle(ERRadian angle) { return std::exchange(end_, angle); }

void EREntAngle::setLimites(ERRadian start, ERRadian end) {
    start_ = start;
    end_ = end;
}

void EREntAngle::reverse() { std::swap(start_, end_); }

int EREntAngle::isClosed(double) const {
    return start_ == end_ + turn || start_ == end_ - turn ? 1 : 0;
}

void EREntAngle::printOn(std::ostream& out) const {
    out << "Angle de Debut:" << start_ * velm::detail::degrees_per_radian << '\n'
        << "Angle de Fin  :" << end_ * velm::detail::degrees_per_radian << '\n';
}

VELM_DEFINE_STORED_FIELDS(EREntAngle)

namespace velm::detail {

void print_limits(std::ostream& out, const EREntAngle& angles) {
    out << "      StartAg:" << angles.startAngle() * degrees_per_radian << '\n'
        << "      EndAg  :" << angles.endAngle() * degrees_per_radian << '\n';
}

template <class D>
double BoundedWithAngle<D>::udeb() const {
    return startAngle();
}

template <class D>
double BoundedWithAngle<D>::ufin() const {
    return endAngle();
}

template <class D>
ERLimites BoundedWithAngle<D>::getBound() {
    const double start = startAngle(), end = endAngle();
    return ERLimites(std::min(start, end), std::max(start, end));
}

template <class D>
int BoundedWithAngle<D>::isClosed(double unused) const {
    return EREntAngle::isClosed(unused);
}

template <class D>
void BoundedWithAngle<D>::reverse() {
    EREntAngle::reverse();
}

template <class D>
void BoundedWithAngle<D>::printOn(std::ostream& out) const {
    EREntAngle::printOn(out);
}

template <class D>
void BoundedWithAngle<D>::prepareApprox(typename D::PointList& list, const ERLimites& interval,
                                        double tol) const {
    D::FiniteEntity::prepareApprox(list, interval, tol);
    list.Smash(*this, tol);
}

VELM_DEFINE_STORED_TEMPLATE(BoundedWithAngle, D::FiniteEntity)

template class BoundedWithAngle<Plane>;
template class BoundedWithAngle<Space>;

} // namespace velm::detail
