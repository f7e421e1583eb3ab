#include "velm/frame/finite_entity.h"

#include "velm/frame/point_functions.h"
#include "velm/frame/point_list.h"
#include "velm/frame/random_draw.h"

#include <cmath>

VELM_DEFINE_CLASS_NOT_CREATABLE(ERFiniteEntity2DWF, EREntity2DWF)
VELM_DEFINE_CLASS_NOT_CREATABLE(ERFiniteEntity3DWF, EREntity3DWF)

namespace velm::detail {

namespace {

// The point of a curve at t, for operations that are const while evaluation is declared without.
template <class Curve>
auto point_at(const Curve& curve, double t) {
    return const_cast<Curve&>(curve)(t);
}

template <class List, class Curve>
void list_ends(List& list, const Curve& curve, const ERLimites& interval) {
    list.append(point_at(curve, interval.start()), interval.start());
    list.append(point_at(curve, interval.end()), interval.end());
}

} // namespace

template <class D>
double FiniteEntity<D>::udeb() const {
    return 0.0;
}

template <class D>
double FiniteEntity<D>::ufin() const {
    return 1.0;
}

template <class D>
int FiniteEntity<D>::isTrimmed() const {
    return 0;
}

template <class D>
ERLimites FiniteEntity<D>::getBound() {
    return ERLimites(udeb(), ufin());
}

template <class D>
int FiniteEntity<D>::isClosed(double tol) const {
    return isEqual(point_at(*this, udeb()), point_at(*this, ufin()), tol);
}

template <class D>
typename D::Point FiniteEntity<D>::firstPt() {
    return (*this)(udeb());
}

template <class D>
typename D::Point FiniteEntity<D>::lastPt() {
    return (*this)(ufin());
}

template <class D>
typename D::Point FiniteEntity<D>::operator()(double t) {
    return PtCur(t).point();
}

template <class D>
typename D::InfoPoint FiniteEntity<D>::randomPoint() {
    return PtCur(udeb() + rand15() * (ufin() - udeb()) / 32767.0);
}

template <class D>
ERVec<typename D::Point> FiniteEntity<D>::approxime(const ERLimites& interval, double tol) {
    typename D::PointList list;
    static_cast<const Curve&>(*this).prepareApprox(list, interval, tol);
    return list.toVec();
}

template <class D>
ERVec<typename D::Point> FiniteEntity<D>::approxime(int n) {
    ERVec<Point> points(n > 0 ? n : 0);
    ERLimites bound = getBound();
    double steps = n - 1.0;
    int i = 0;
    for (Point& point : points) {
        point = (*this)(bound(i / steps));
        ++i;
    }
    return points;
}

template <class D>
double FiniteEntity<D>::upperEstimate() const {
    return this->arcLength(1e-7);
}

template class FiniteEntity<Plane>;
template class FiniteEntity<Space>;

} // namespace velm::detail

int ERFiniteEntity2DWF::intersectWithAxeY(double, ERVec<double>&) const { return 0; }

int ERFiniteEntity3DWF::intersectWithPlanZ(double, ERVec<double>&) const { return 0; }

int ERFiniteEntity2DWF::ProjectPoint(const ERPoint2D&, ERVec<double>&, double) const { return 0; }

int ERFiniteEntity3DWF::ProjectPoint(const ERPoint3D&, ERVec<double>&, double) const { return 0; }

ERVector2D ERFiniteEntity2DWF::normal(double t) { return PtCur(t).normale(); }

EREntity::DISTMINRES ERFiniteEntity2DWF::SignedMinimalDistance(const ERPoint2D& p, double& dist) {
    double t;
    return SignedMinimalDistance(p, dist, t);
}

EREntity::DISTMINRES ERFiniteEntity2DWF::SignedMinimalDistance(const ERPoint2D& p, double& dist,
                                                               double&) {
    ERVec<double> params;
    int found = ProjectPoint(p, params, 0.0);
    if (found == 0) return DISTMIN_NONE;
    // The running best starts at 0, which no distance undercuts: part of the contract.
    dist = 0.0;
    return found == -1 ? DISTMIN_EVERYWHERE : DISTMIN_FOUND;
}

int ERFiniteEntity2DWF::IsContinuous(int) const { return 1; }

int ERFiniteEntity3DWF::IsContinuous(int) const { return 1; }

int ERFiniteEntity2DWF::GetDiscontinuities(int, ERVec<double>& params) const {
    params.clear();
    return 1;
}

int ERFiniteEntity3DWF::GetDiscontinuities(int, ERVec<double>& params) const {
    params.clear();
    return 1;
}

void ERFiniteEntity2DWF::prepareApprox(ERPoint12List& list, const ERLimites& interval,
                                       double) const {
    velm::detail::list_ends(list, *this, interval);
}

void ERFiniteEntity3DWF::prepareApprox(ERPoint13List& list, const ERLimites& interval,
                                       double) const {
    velm::detail::list_ends(list, *this, interval);
}
