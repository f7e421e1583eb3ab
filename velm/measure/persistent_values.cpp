#include "velm/measure/persistent_values.h"

#include "velm/frame/stored_form.h"
#include "velm/transforms/plane_transformation.h"
#include "velm/transforms/transformation_handle.h"

#include <ostream>

VELM_DEFINE_CLASS(ERPersistentPoint2D, EREntity2D)
VELM_DEFINE_CLASS(ERPersistentPoint3D, EREntity3D)
VELM_DEFINE_CLASS(ERPersistentVector3D, ERObject)
VELM_DEFINE_CLASS(gmPersistentPoint3DPair, EREntity3D)

namespace velm::detail {

template <class D>
void PersistentPoint<D>::scale(double s) {
    *this *= s;
}

template <class D>
void PersistentPoint<D>::translate(const Point& v) {
    *this += v;
}

template <class D>
void PersistentPoint<D>::printOn(std::ostream& out) const {
    out << "(P) " << value();
}

VELM_DEFINE_STORED_TEMPLATE(PersistentPoint, D::Entity)

template class PersistentPoint<Plane>;
template class PersistentPoint<Space>;

} // namespace velm::detail

void ERPersistentPoint2D::transformFrom(const ERTransfo2D& t) { *this = t.TransFrom(value()); }

void ERPersistentPoint2D::transformTo(const ERTransfo2D& t) { *this = t.TransTo(value()); }

void ERPersistentPoint3D::transformFrom(const ERPmSimilitude3D& t) { t.TransFrom(value()); }

void ERPersistentPoint3D::transformFrom(const ERPmIsometrie3D& t) { t.TransFrom(value()); }

void ERPersistentPoint3D::transformTo(const ERPmSimilitude3D& t) { t.TransTo(value()); }

void ERPersistentPoint3D::transformTo(const ERPmIsometrie3D& t) { t.TransTo(value()); }

ERObject* ERPersistentPoint2D::getCopy() const { return new ERPersistentPoint2D(*this); }

ERObject* ERPersistentPoint3D::getCopy() const { return new ERPersistentPoint3D(*this); }

ERObject* ERPersistentVector3D::getCopy() const { return new ERPersistentVector3D(*this); }

void ERPersistentVector3D::printOn(std::ostream& out) const {
    out << "(P) " << static_cast<const ERVector3D&>(*this);
}

std::ostream& operator<<(std::ostream& out, const ERPersistentPoint2D& point) {
    point.printOn(out);
    return out;
}

std::ostream& operator<<(std::ostream& out, const ERPersistentPoint3D& point) {
    point.printOn(out);
    return out;
}

std::ostream& operator<<(std::ostream& out, const ERPersistentVector3D& vector) {
    vector.printOn(out);
    return out;
}

#define VELM_ON_BOTH_POINTS(operation, Argument)                                                   \
    void gmPersistentPoint3DPair::operation(Argument argument) {                                   \
        first.operation(argument);                                                                 \
        second.operation(argument);                                                                \
    }
VELM_ON_BOTH_POINTS(scale, double)
VELM_ON_BOTH_POINTS(transformFrom, const ERPmSimilitude3D&)
VELM_ON_BOTH_POINTS(transformFrom, const ERPmIsometrie3D&)
VELM_ON_BOTH_POINTS(transformTo, const ERPmSimilitude3D&)
VELM_ON_BOTH_POINTS(transformTo, const ERPmIsometrie3D&)
#undef VELM_ON_BOTH_POINTS

void gmPersistentPoint3DPair::translate(const ERPoint3D& v) {
    const ERPoint3D by = v; // v may be a point of this pair
    first.translate(by);
    second.translate(by);
}

void gmPersistentPoint3DPair::printOn(std::ostream& out) const {
    first.printOn(out);
    second.printOn(out);
}

ERObject* gmPersistentPoint3DPair::getCopy() const { return new gmPersistentPoint3DPair(*this); }

VELM_DEFINE_STORED_FORM(gmPersistentPoint3DPair, EREntity3D)
