#include "velm/surfaces/bounded_surface.h"

#include "velm/frame/stored_form.h"

#include <ostream>
#include <utility>

VELM_DEFINE_CLASS_NOT_CREATABLE(ERBoundedSurface, ERAnyBoundedSurface)
VELM_DEFINE_STORED_FORM(ERBoundedSurface, ERAnyBoundedSurface)

double ERBoundedSurface::udeb() const { return working_u.start(); }

double ERBoundedSurface::ufin() const { return working_u.end(); }

double ERBoundedSurface::vdeb() const { return working_v.start(); }

double ERBoundedSurface::vfin() const { return working_v.end(); }

ERLimites ERBoundedSurface::getBoundU() const { return working_u; }

ERLimites ERBoundedSurface::getBoundV() const { return working_v; }

double ERBoundedSurface::NUdeb() const { return natural_u.start(); }

double ERBoundedSurface::NUfin() const { return natural_u.end(); }

double ERBoundedSurface::NVdeb() const { return natural_v.start(); }

double ERBoundedSurface::NVfin() const { return natural_v.end(); }

void ERBoundedSurface::setBound(const ERLimites& u, const ERLimites& v) {
    working_u = u;
    working_v = v;
    drop_grid();
}

void ERBoundedSurface::adjust() {
    natural_u = working_u;
    natural_v = working_v;
}

void ERBoundedSurface::redefineDomainU(const ERLimites& u) { redefinedDomain(u, working_v); }

void ERBoundedSurface::redefineDomainV(const ERLimites& v) { redefinedDomain(working_u, v); }

void ERBoundedSurface::redefinedDomain(const ERLimites& u, const ERLimites& v) {
    working_u = u;
    working_v = v;
    adjust();
    drop_grid();
}

int ERBoundedSurface::SplitInU(t_SmartPtr<ERAnyBoundedSurface>& a,
                               t_SmartPtr<ERAnyBoundedSurface>& b, double u) const {
    return split_along(0, a, b, u);
}

int ERBoundedSurface::SplitInV(t_SmartPtr<ERAnyBoundedSurface>& a,
                               t_SmartPtr<ERAnyBoundedSurface>& b, double v) const {
    return split_along(1, a, b, v);
}

int ERBoundedSurface::split_along(int axis, t_SmartPtr<ERAnyBoundedSurface>& a,
                                  t_SmartPtr<ERAnyBoundedSurface>& b, double x) const {
    const ERLimites whole[2] = {getBoundU(), getBoundV()};
    if (!whole[axis].inBound(x)) return 0;
    const auto part = [&](double from, double to) {
        ERLimites limits[2] = {whole[0], whole[1]};
        limits[axis] = ERLimites(from, to);
        ERBoundedSurface* const copy = castdown(getCopy());
        copy->setBound(limits[0], limits[1]);
        return t_SmartPtr<ERAnyBoundedSurface>(copy);
    };
    const t_SmartPtr<ERAnyBoundedSurface> first = part(whole[axis].start(), x);
    const t_SmartPtr<ERAnyBoundedSurface> second = part(x, whole[axis].end());
    a = first;
    b = second;
    return 1;
}

void ERBoundedSurface::reverse() {
    transpose_grid();
    std::swap(natural_u, natural_v);
    std::swap(working_u, working_v);
}

void ERBoundedSurface::printOn(std::ostream& out) const {
    out << "Lim  U " << natural_u << '\n'
        << "Lim  V " << natural_v << '\n'
        << "Trim U " << working_u << '\n'
        << "Trim V " << working_v << '\n';
}
