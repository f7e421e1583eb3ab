#include "velm/surfaces/nurbs_surface.h"

#include "velm/curves/detail/knot_search.h"
#include "velm/surfaces/detail/kernel_loading.h"
#include "velm/surfaces/detail/quotient_rule.h"
#include "velm/surfaces/detail/stored_poles.h"
#include "velm/surfaces/nurbs_decomposer.h"
#include "velm/surfaces/pole_matrix.h"

#include <ostream>
#include <utility>

VELM_DEFINE_CLASS(ERSpoleNURBS3D, ERSpoleRep)
VELM_DEFINE_STORED_FORM(ERSpoleNURBS3D, ERSpoleRep)

using velm::detail::Axis;
using velm::detail::KnotView;

struct ERSpoleNURBS3D::Caches {
    std::unique_ptr<tqkNurbSurf> kernel;
    std::unique_ptr<Nurbs3DToBezier3DRDecomposer> decomposer;
    ERSimpleVec2<ERMinimax3D> span_boxes;
    bool span_boxes_valid = false;
};

namespace {

// The domain, [0, 1] without one.
ERLimites domain_of(const ERKnotVector& knots) {
    const KnotView k = velm::detail::view_of(knots);
    return k.has_span() ? ERLimites(k.low(), k.high()) : ERLimites(0.0, 1.0);
}

bool fits(const ERKnotVector& knots, int poles) {
    const KnotView k = velm::detail::view_of(knots);
    return knots.isUsable() && k.poles() == poles && k.low() < k.high();
}

// Calls f(index of the span among those that are not empty, index of the knot at its start).
template <class F>
int for_spans(const ERKnotVector& knots, F f) {
    const KnotView k = velm::detail::view_of(knots);
    int count = 0;
    for (int s = k.degree; k.has_span() && s < k.poles(); ++s)
        if (k[s] < k[s + 1]) f(count++, s);
    return count;
}

} // namespace

ERSpoleNURBS3D::ERSpoleNURBS3D() = default;
ERSpoleNURBS3D::~ERSpoleNURBS3D() = default;

ERSpoleNURBS3D::ERSpoleNURBS3D(const ERMatrix<ERPole3DH>& control, const ERKnotVector& u,
                               const ERKnotVector& v)
    : ERSpoleRep(domain_of(u), domain_of(v)),
      poles_(control.is_whole() ? control : ERMatrix<ERPole3DH>()), knots_u_(u), knots_v_(v) {}

ERSpoleNURBS3D::ERSpoleNURBS3D(const ERMatrix<ERPole3DH>& control, const ERKnotVector& u,
                               const ERKnotVector& v, const ERLimites& trim_u,
                               const ERLimites& trim_v)
    : ERSpoleNURBS3D(control, u, v) {
    working_u = trim_u;
    working_v = trim_v;
}

ERSpoleNURBS3D::ERSpoleNURBS3D(const ERSpoleNURBS3D& other)
    : ERSpoleRep(other), poles_(other.poles_), knots_u_(other.knots_u_), knots_v_(other.knots_v_) {}

ERSpoleNURBS3D& ERSpoleNURBS3D::operator=(const ERSpoleNURBS3D& other) {
    ERSpoleRep::operator=(other);
    poles_ = other.poles_;
    knots_u_ = other.knots_u_;
    knots_v_ = other.knots_v_;
    caches_.reset();
    return *this;
}

int ERSpoleNURBS3D::isValid() const { return has_extent(Axis::u) && has_extent(Axis::v); }

bool ERSpoleNURBS3D::has_extent(Axis axis) const {
    return axis == Axis::u ? fits(knots_u_, poles_.columns()) : fits(knots_v_, poles_.rows());
}

ERPoint3D ERSpoleNURBS3D::operator()(double u, double v) const {
    return CalOnNurbs_H(poles_, knots_u_, knots_v_, u, v).castToPoint();
}

const tqkNurbSurf& ERSpoleNURBS3D::kernel() const {
    if (!caches_) caches_ = std::make_unique<Caches>();
    if (!caches_->kernel) {
        auto built = std::make_unique<tqkNurbSurf>();
        velm::detail::load(*built, poles_, knots_u_, knots_v_);
        caches_->kernel = std::move(built);
    }
    return *caches_->kernel;
}

ERInfoPoint3DSurf ERSpoleNURBS3D::PtCur(double u, double v) const {
    double jet[18];
    kernel().evaluate(
        {u, v, u < ufin() ? tqk_above : tqk_below, v < vfin() ? tqk_above : tqk_below}, 2, jet);
    return velm::detail::surface_point({u, v}, jet);
}

int ERSpoleNURBS3D::degreeU() const { return knots_u_.degree(); }

int ERSpoleNURBS3D::degreeV() const { return knots_v_.degree(); }

int ERSpoleNURBS3D::nbPolesU() const { return poles_.columns(); }

int ERSpoleNURBS3D::nbPolesV() const { return poles_.rows(); }

int ERSpoleNURBS3D::isBezier() const {
    return isValid() && poles_.columns() == degreeU() + 1 && poles_.rows() == degreeV() + 1 &&
           !knots_u_.isUnclamped() && !knots_v_.isUnclamped();
}

void ERSpoleNURBS3D::ResetCacheInfo() const {
    ERSpoleRep::ResetCacheInfo();
    caches_.reset();
}

void ERSpoleNURBS3D::incrDegree(int alongU, int alongV) {
    ResetCacheInfo();
    forget_estimates();
    if (has_extent(Axis::u)) elevate_grid(poles_, knots_u_, Axis::u, alongU);
    if (has_extent(Axis::v)) elevate_grid(poles_, knots_v_, Axis::v, alongV);
}

void ERSpoleNURBS3D::decrDegree(int, int) {}

void ERSpoleNURBS3D::insert_knot(Axis axis, double t, int k) {
    ResetCacheInfo();
    if (axis == Axis::u) {
        BoehmInU(poles_, knots_u_, t, k);
    } else {
        BoehmInV(poles_, knots_v_, t, k);
    }
    forget_estimates();
}

void ERSpoleNURBS3D::insertKnotU(double u, int k) { insert_knot(Axis::u, u, k); }

void ERSpoleNURBS3D::insertKnotV(double v, int k) { insert_knot(Axis::v, v, k); }

void ERSpoleNURBS3D::adjust() {
    const auto along = [this](Axis axis, ERKnotVector& knots, ERLimites& natural,
                              const ERLimites& working) {
        if (working == natural || !has_extent(axis) || !(working.start() < working.end())) return;
        ResetCacheInfo();
        forget_estimates();
        move_ends(poles_, knots, axis, natural, working);
        natural = working;
    };
    along(Axis::u, knots_u_, natural_u, working_u);
    along(Axis::v, knots_v_, natural_v, working_v);
    if (caches_) caches_->kernel.reset();
}

ERCpoleNURBS3D ERSpoleNURBS3D::getIsoU(double u) const {
    if (isValid() == 0) return {};
    ERVec<ERPole3DH> iso(poles_.rows());
    const KnotView k = velm::detail::view_of(knots_u_);
    const int span = find_span(k, u);
    const ERVec<double> basis = knots_u_.BasisFuns(span, u);
    for (int j = 0; j < iso.size(); ++j) {
        ERPole3DH sum;
        for (int i = 0; i <= k.degree; ++i)
            sum =
                sum + std::as_const(poles_)(j, span - k.degree + i) * basis.view()[std::size_t(i)];
        iso[j] = sum;
    }
    return ERCpoleNURBS3D(iso, knots_v_, working_v);
}

ERCpoleNURBS3D ERSpoleNURBS3D::getIsoV(double v) const {
    if (isValid() == 0) return {};
    ERVec<ERPole3DH> iso(poles_.columns());
    const KnotView k = velm::detail::view_of(knots_v_);
    const int span = find_span(k, v);
    const ERVec<double> basis = knots_v_.BasisFuns(span, v);
    for (int i = 0; i < iso.size(); ++i) {
        ERPole3DH sum;
        for (int j = 0; j <= k.degree; ++j)
            sum =
                sum + std::as_const(poles_)(span - k.degree + j, i) * basis.view()[std::size_t(j)];
        iso[i] = sum;
    }
    return ERCpoleNURBS3D(iso, knots_u_, working_u);
}

t_SmartPtr<ERFiniteEntity3DWF> ERSpoleNURBS3D::getEntityIsoU(double u) const {
    return new ERCpoleNURBS3D(getIsoU(u));
}

t_SmartPtr<ERFiniteEntity3DWF> ERSpoleNURBS3D::getEntityIsoV(double v) const {
    return new ERCpoleNURBS3D(getIsoV(v));
}

template <class Surface>
int ERSpoleNURBS3D::split(Axis axis, t_SmartPtr<Surface>& a, t_SmartPtr<Surface>& b,
                          double x) const {
    const auto working = [axis](auto& surface) -> auto& {
        return axis == Axis::u ? surface.working_u : surface.working_v;
    };
    if (!working(*this).strictlyInBound(x) || isValid() == 0) return 0;
    if (!is_within_natural()) {
        ERSpoleNURBS3D whole(*this);
        whole.adjust();
        return whole.is_within_natural() ? whole.split(axis, a, b, x) : 0;
    }
    const ERKnotVector& knots = axis == Axis::u ? knots_u_ : knots_v_;
    if (!domain_of(knots).strictlyInBound(x)) return 0;
    velm::detail::SplineGrid low, high;
    split_grid(poles_, knots, axis, x, low, high);
    const auto part = [&](const velm::detail::SplineGrid& grid) {
        return axis == Axis::u ? new ERSpoleNURBS3D(grid.poles, grid.knots, knots_v_)
                               : new ERSpoleNURBS3D(grid.poles, knots_u_, grid.knots);
    };
    t_SmartPtr<ERSpoleNURBS3D> before(part(low)), after(part(high));
    const Halves trim = halves(working(*this), x);
    before->working_u = after->working_u = working_u;
    before->working_v = after->working_v = working_v;
    working(*before) = trim.before;
    working(*after) = trim.after;
    a = before.get(); // may let go of this surface
    b = after.get();
    return 1;
}

int ERSpoleNURBS3D::SplitInU(t_SmartPtr<ERSpoleNURBS3D>& a, t_SmartPtr<ERSpoleNURBS3D>& b) const {
    return split(Axis::u, a, b, working_u(0.5));
}

int ERSpoleNURBS3D::SplitInU(t_SmartPtr<ERSpoleNURBS3D>& a, t_SmartPtr<ERSpoleNURBS3D>& b,
                             double u) const {
    return split(Axis::u, a, b, u);
}

int ERSpoleNURBS3D::SplitInV(t_SmartPtr<ERSpoleNURBS3D>& a, t_SmartPtr<ERSpoleNURBS3D>& b) const {
    return split(Axis::v, a, b, working_v(0.5));
}

int ERSpoleNURBS3D::SplitInV(t_SmartPtr<ERSpoleNURBS3D>& a, t_SmartPtr<ERSpoleNURBS3D>& b,
                             double v) const {
    return split(Axis::v, a, b, v);
}

int ERSpoleNURBS3D::SplitInU(t_SmartPtr<ERAnyBoundedSurface>& a, t_SmartPtr<ERAnyBoundedSurface>& b,
                             double u) const {
    return split(Axis::u, a, b, u);
}

int ERSpoleNURBS3D::SplitInV(t_SmartPtr<ERAnyBoundedSurface>& a, t_SmartPtr<ERAnyBoundedSurface>& b,
                             double v) const {
    return split(Axis::v, a, b, v);
}

int ERSpoleNURBS3D::IsContinuous(int order) const {
    return knots_u_.IsContinuous(order) && knots_v_.IsContinuous(order);
}

int ERSpoleNURBS3D::GetDiscontinuitiesU(int order, ERVec<double>& params) const {
    return knots_u_.GetDiscontinuities(order, params);
}

int ERSpoleNURBS3D::GetDiscontinuitiesV(int order, ERVec<double>& params) const {
    return knots_v_.GetDiscontinuities(order, params);
}

void ERSpoleNURBS3D::GetNumberOfSpans(int& nu, int& nv) const {
    const auto nothing = [](int, int) {};
    nu = for_spans(knots_u_, nothing);
    nv = for_spans(knots_v_, nothing);
}

void ERSpoleNURBS3D::GetSpanBoxes(ERSimpleVec2<ERMinimax3D>& boxes) const {
    if (!caches_) caches_ = std::make_unique<Caches>();
    if (!caches_->span_boxes_valid) {
        int nu = 0, nv = 0;
        if (isValid() != 0) GetNumberOfSpans(nu, nv);
        ERSimpleVec2<ERMinimax3D> made(nu, nv, ERMinimax3D());
        const auto box_of = [&](int s, int t) {
            ERMinimax3D box;
            for (int j = t - degreeV(); j <= t; ++j)
                for (int i = s - degreeU(); i <= s; ++i)
                    box.Update(poles_(j, i).castToPoint());
            return box;
        };
        if (!made.empty())
            for_spans(knots_u_, [&](int i, int s) {
                for_spans(knots_v_, [&](int j, int t) { made(i, j) = box_of(s, t); });
            });
        caches_->span_boxes = made;
        caches_->span_boxes_valid = true;
    }
    boxes = caches_->span_boxes;
}

void ERSpoleNURBS3D::UpdateCache() const {
    if (!caches_) caches_ = std::make_unique<Caches>();
    if (!caches_->decomposer)
        caches_->decomposer = std::make_unique<Nurbs3DToBezier3DRDecomposer>(*this);
}

Nurbs3DToBezier3DRDecomposer* ERSpoleNURBS3D::decomposer() const {
    return caches_ ? caches_->decomposer.get() : nullptr;
}

template <class Change, class Along>
void ERSpoleNURBS3D::with_decomposer(Change change, Along along) {
    std::unique_ptr<Nurbs3DToBezier3DRDecomposer> carried;
    if (caches_) carried = std::move(caches_->decomposer);
    change();
    if (!carried) return;
    along(*carried);
    caches_ = std::make_unique<Caches>();
    caches_->decomposer = std::move(carried);
}

void ERSpoleNURBS3D::scale(double s) {
    with_decomposer([&] { ERSpoleRep::scale(s); }, [&](auto& patches) { patches.scale(s); });
}

void ERSpoleNURBS3D::translate(const ERPoint3D& v) {
    with_decomposer([&] { ERSpoleRep::translate(v); },
                    [&](auto& patches) { patches.translate(v); });
}

void ERSpoleNURBS3D::transformFrom(const ERPmSimilitude3D& t) {
    with_decomposer([&] { ERSpoleRep::transformFrom(t); },
                    [&](auto& patches) { patches.transformFrom(t); });
}

void ERSpoleNURBS3D::transformFrom(const ERPmIsometrie3D& t) {
    with_decomposer([&] { ERSpoleRep::transformFrom(t); },
                    [&](auto& patches) { patches.transformFrom(t); });
}

void ERSpoleNURBS3D::transformTo(const ERPmSimilitude3D& t) {
    with_decomposer([&] { ERSpoleRep::transformTo(t); },
                    [&](auto& patches) { patches.transformTo(t); });
}

void ERSpoleNURBS3D::transformTo(const ERPmIsometrie3D& t) {
    with_decomposer([&] { ERSpoleRep::transformTo(t); },
                    [&](auto& patches) { patches.transformTo(t); });
}

void ERSpoleNURBS3D::reverse() {
    with_decomposer([&] { ERSpoleRep::reverse(); }, [](auto& patches) { patches.reverse(); });
    std::swap(knots_u_, knots_v_);
}

ERSpoleRep::PoleMatrix ERSpoleNURBS3D::pole_matrix() { return {nullptr, &poles_}; }

void ERSpoleNURBS3D::printOn(std::ostream& out) const {
    ERSpoleRep::printOn(out);
    out << "Control Points :" << poles_ << "Knot u         :" << knots_u_
        << "Knot v         :" << knots_v_;
}

ERObject* ERSpoleNURBS3D::getCopy() const { return new ERSpoleNURBS3D(*this); }

template <class Surface, class Form>
void ERSpoleNURBS3D::stored_fields(Surface& self, Form& form) {
    form(velm::detail::stored_pole_matrix(self.poles_), self.knots_u_, self.knots_v_);
    if constexpr (!std::is_const_v<Surface>) self.refuse_damaged();
}

void ERSpoleNURBS3D::refuse_damaged() {
    const auto agree = [](const ERKnotVector& knots, int poles) {
        const KnotView k = velm::detail::view_of(knots);
        return poles == 0 ? k.count == 0 : k.has_span() && k.poles() == poles;
    };
    if (agree(knots_u_, poles_.columns()) && agree(knots_v_, poles_.rows())) return;
    poles_ = ERMatrix<ERPole3DH>();
    knots_u_ = knots_v_ = ERKnotVector();
}
