#include "velm/frame/limited_entity.h"

#include "velm/frame/stored_form.h"

#include <ostream>

VELM_DEFINE_CLASS_NOT_CREATABLE(ERLimitedEntity2DWF, ERFiniteEntity2DWF)
VELM_DEFINE_CLASS_NOT_CREATABLE(ERLimitedEntity3DWF, ERFiniteEntity3DWF)
VELM_DEFINE_CLASS_NOT_CREATABLE(ERTrimmedEntity2DWF, ERLimitedEntity2DWF)
VELM_DEFINE_CLASS_NOT_CREATABLE(ERTrimmedEntity3DWF, ERLimitedEntity3DWF)

namespace velm::detail {

template <class D>
double LimitedEntity<D>::udeb() const {
    return domain.start();
}

template <class D>
double LimitedEntity<D>::ufin() const {
    return domain.end();
}

template <class D>
ERLimites LimitedEntity<D>::getBound() {
    return domain;
}

template <class D>
double LimitedEntity<D>::Ndeb() const {
    return domain.start();
}

template <class D>
double LimitedEntity<D>::Nfin() const {
    return domain.end();
}

template <class D>
void LimitedEntity<D>::reparametrize(const ERLimites& natural) {
    domain = natural;
}

template <class D>
void LimitedEntity<D>::redefineDomain(const ERLimites& natural) {
    domain = natural;
}

template <class D>
void LimitedEntity<D>::printOn(std::ostream& out) const {
    out << "Natural boundary =" << domain << '\n';
}

template <class D>
double TrimmedEntity<D>::udeb() const {
    return bound.start();
}

template <class D>
double TrimmedEntity<D>::ufin() const {
    return bound.end();
}

template <class D>
ERLimites TrimmedEntity<D>::getBound() {
    return bound;
}

template <class D>
int TrimmedEntity<D>::isTrimmed() const {
    return bound != this->domain;
}

template <class D>
void TrimmedEntity<D>::reparametrize(const ERLimites& natural) {
    double start = natural(this->domain.ratio(bound.start()));
    double end = natural(this->domain.ratio(bound.end()));
    bound = ERLimites(start, end);
    this->domain = natural;
}

template <class D>
void TrimmedEntity<D>::redefineDomain(const ERLimites& natural) {
    setBound(natural);
    adjust();
}

template <class D>
ERLimites TrimmedEntity<D>::setBound(const ERLimites& trimmed) {
    ERLimites old = bound;
    bound = trimmed;
    return old;
}

template <class D>
void TrimmedEntity<D>::adjust() {
    this->domain = bound;
}

template <class D>
void TrimmedEntity<D>::reverse() {
    double start = this->domain(1.0 - this->domain.ratio(bound.end()));
    double end = this->domain(1.0 - this->domain.ratio(bound.start()));
    bound = ERLimites(start, end);
}

template <class D>
void TrimmedEntity<D>::printOn(std::ostream& out) const {
    D::LimitedEntity::printOn(out);
    out << "Trimm boundaries   = " << bound << '\n';
}

VELM_DEFINE_STORED_TEMPLATE(LimitedEntity, D::FiniteEntity)
VELM_DEFINE_STORED_TEMPLATE(TrimmedEntity, D::LimitedEntity)

template class LimitedEntity<Plane>;
template class LimitedEntity<Space>;
template class TrimmedEntity<Plane>;
template class TrimmedEntity<Space>;

} // namespace velm::detail
