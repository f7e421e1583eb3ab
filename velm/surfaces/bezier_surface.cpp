#include "velm/surfaces/bezier_surface.h"

#include "velm/curves/detail/basis_functions.h"
#include "velm/numerics/bernstein.h"
#include "velm/surfaces/detail/pole_grid.h"
#include "velm/surfaces/detail/quotient_rule.h"
#include "velm/surfaces/detail/stored_poles.h"

#include <algorithm>
#include <limits>
#include <ostream>

VELM_DEFINE_CLASS(ERSpoleBezier3D, ERSpoleRep)
VELM_DEFINE_CLASS(ERSpoleBezier3DR, ERSpoleRep)

namespace velm::detail {

namespace {

constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

} // namespace

template <class Self>
template <class Surface, class Form>
void BezierSurface<Self>::stored_fields(Surface& self, Form& form) {
    form(stored_pole_matrix(self.poles_, highest_stored_bezier_degree + 1));
}

VELM_DEFINE_STORED_FORM_AFTER(template <class Self>, BezierSurface<Self>,
                              ERSpoleRep::saveGuts(file), ERSpoleRep::restoreGuts(file),
                              ERSpoleRep::binaryStoreSize())

template <class Self>
ERSpoleRep::PoleMatrix BezierSurface<Self>::pole_matrix() {
    if constexpr (is_weighted<StoredPole>) {
        return {nullptr, &poles_};
    } else {
        return {&poles_, nullptr};
    }
}

template <class Self>
int BezierSurface<Self>::isValid() const {
    return !poles_.empty();
}

template <class Self>
ERPoint3D BezierSurface<Self>::operator()(double u, double v) const {
    if (poles_.empty()) return {not_a_number, not_a_number, not_a_number};
    double value[StoredPole::components];
    Horner(grid_of(poles_).poles, poles_.rows(), poles_.columns(), natural_u.ratio(u),
           natural_v.ratio(v), value, StoredPole::components);
    return point_of<ERPoint3D>(value, StoredPole::components);
}

template <class Self>
ERInfoPoint3DSurf BezierSurface<Self>::PtCur(double u, double v) const {
    constexpr int width = StoredPole::components;
    double jet[6][StoredPole::components];
    if (poles_.empty()) {
        std::fill_n(&jet[0][0], 6 * width, not_a_number);
        return surface_point<width>({u, v}, jet);
    }
    // Along V at once for all columns: value, first, second derivative of each. Then along U.
    const ConstPoleRow columns = grid_of(poles_).line(Axis::v, 0);
    WorkArray<double, 3 * 16 * 4> work(std::size_t(3) * std::size_t(columns.width));
    row_derivatives(columns, natural_v.ratio(v), 2, work.data());
    const double x = natural_u.ratio(u);
    for (int k = 0; k <= 2; ++k) {
        double along_u[3][StoredPole::components];
        row_derivatives({work.data() + std::ptrdiff_t(k) * columns.width, poles_.columns(), width},
                        x, 2 - k, along_u[0]);
        constexpr int place[3][3] = {{0, 1, 3}, {2, 4, 0}, {5, 0, 0}};
        for (int i = 0; i <= 2 - k; ++i)
            std::copy_n(along_u[i], width, jet[place[k][i]]);
    }
    scale_jet<width>(jet, natural_u.amplitude(), natural_v.amplitude());
    return surface_point<width>({u, v}, jet);
}

template <class Self>
int BezierSurface<Self>::degreeU() const {
    return std::max(poles_.columns() - 1, 0);
}

template <class Self>
int BezierSurface<Self>::degreeV() const {
    return std::max(poles_.rows() - 1, 0);
}

template <class Self>
int BezierSurface<Self>::nbPolesU() const {
    return poles_.columns();
}

template <class Self>
int BezierSurface<Self>::nbPolesV() const {
    return poles_.rows();
}

template <class Self>
int BezierSurface<Self>::isRational() const {
    return is_weighted<StoredPole>;
}

template <class Self>
void BezierSurface<Self>::incrDegree(int alongU, int alongV) {
    ResetCacheInfo();
    forget_estimates();
    if (poles_.empty()) return;
    if (alongU > 0) elevate_bezier(poles_, Axis::u, alongU);
    if (alongV > 0) elevate_bezier(poles_, Axis::v, alongV);
}

template <class Self>
void BezierSurface<Self>::decrDegree(int alongU, int alongV) {
    ResetCacheInfo();
    forget_estimates();
    for (; alongU > 0 && degreeU() > 1; --alongU)
        lower_bezier(poles_, Axis::u);
    for (; alongV > 0 && degreeV() > 1; --alongV)
        lower_bezier(poles_, Axis::v);
}

template <class Self>
void BezierSurface<Self>::adjust() {
    const auto restrict = [this](Axis axis, const ERLimites& natural, const ERLimites& working) {
        if (natural == working) return;
        forget_estimates();
        ResetCacheInfo();
        const ERLimites part = natural.ratio(working);
        if (!poles_.empty()) restrict_grid(grid_of(poles_), axis, part.start(), part.end());
    };
    restrict(Axis::u, natural_u, working_u);
    restrict(Axis::v, natural_v, working_v);
    ERSpoleRep::adjust();
}

template <class Self>
typename BezierSurface<Self>::IsoCurve BezierSurface<Self>::getIsoU(double u) const {
    if (poles_.empty()) return {};
    ERVec<StoredPole> iso(poles_.rows());
    const ConstPoleGrid grid = grid_of(poles_);
    const PoleRow out = row_of(iso);
    for (int j = 0; j < iso.size(); ++j)
        row_value(grid.line(Axis::u, j), natural_u.ratio(u), out[j]);
    return IsoCurve(iso, natural_v, working_v);
}

template <class Self>
typename BezierSurface<Self>::IsoCurve BezierSurface<Self>::getIsoV(double v) const {
    if (poles_.empty()) return {};
    ERVec<StoredPole> iso(poles_.columns());
    row_value(grid_of(poles_).line(Axis::v, 0), natural_v.ratio(v), row_of(iso).poles);
    return IsoCurve(iso, natural_u, working_u);
}

template <class Self>
t_SmartPtr<ERFiniteEntity3DWF> BezierSurface<Self>::getEntityIsoU(double u) const {
    return new IsoCurve(getIsoU(u));
}

template <class Self>
t_SmartPtr<ERFiniteEntity3DWF> BezierSurface<Self>::getEntityIsoV(double v) const {
    return new IsoCurve(getIsoV(v));
}

template <class Self>
template <class Surface>
int BezierSurface<Self>::split(Axis axis, t_SmartPtr<Surface>& a, t_SmartPtr<Surface>& b,
                               double x) const {
    const ERLimites& limits = axis == Axis::u ? working_u : working_v;
    if (!limits.strictlyInBound(x) || poles_.empty()) return 0;
    Self whole(static_cast<const Self&>(*this));
    if (!is_within_natural()) whole.adjust();
    const auto natural = [axis](Self& surface) -> ERLimites& {
        return axis == Axis::u ? surface.natural_u : surface.natural_v;
    };
    const auto working = [axis](Self& surface) -> ERLimites& {
        return axis == Axis::u ? surface.working_u : surface.working_v;
    };
    t_SmartPtr<Self> before(new Self(whole)), after(new Self(whole));
    const Halves own = halves(natural(whole), x), trim = halves(working(whole), x);
    const double t = natural(whole).ratio(x);
    const ConstPoleGrid from = grid_of(std::as_const(whole.poles_));
    const PoleGrid low = grid_of(before->poles_), high = grid_of(after->poles_);
    for (int i = 0; i < from.lines(axis); ++i)
        split_row(from.line(axis, i), t, low.line(axis, i), high.line(axis, i));
    natural(*before) = own.before, natural(*after) = own.after;
    working(*before) = trim.before, working(*after) = trim.after;
    for (Self* part : {before.get(), after.get()}) {
        part->forget_estimates();
        part->drop_grid();
    }
    a = before.get(); // may let go of this surface
    b = after.get();
    return 1;
}

template <class Self>
int BezierSurface<Self>::SplitInU(t_SmartPtr<Self>& a, t_SmartPtr<Self>& b) const {
    return split(Axis::u, a, b, working_u(0.5));
}

template <class Self>
int BezierSurface<Self>::SplitInU(t_SmartPtr<Self>& a, t_SmartPtr<Self>& b, double u) const {
    return split(Axis::u, a, b, u);
}

template <class Self>
int BezierSurface<Self>::SplitInV(t_SmartPtr<Self>& a, t_SmartPtr<Self>& b) const {
    return split(Axis::v, a, b, working_v(0.5));
}

template <class Self>
int BezierSurface<Self>::SplitInV(t_SmartPtr<Self>& a, t_SmartPtr<Self>& b, double v) const {
    return split(Axis::v, a, b, v);
}

template <class Self>
int BezierSurface<Self>::SplitInU(t_SmartPtr<ERAnyBoundedSurface>& a,
                                  t_SmartPtr<ERAnyBoundedSurface>& b, double u) const {
    return split(Axis::u, a, b, u);
}

template <class Self>
int BezierSurface<Self>::SplitInV(t_SmartPtr<ERAnyBoundedSurface>& a,
                                  t_SmartPtr<ERAnyBoundedSurface>& b, double v) const {
    return split(Axis::v, a, b, v);
}

template <class Self>
void BezierSurface<Self>::printOn(std::ostream& out) const {
    ERSpoleRep::printOn(out);
    out << "Les Poles :" << poles_;
}

template <class Self>
ERObject* BezierSurface<Self>::getCopy() const {
    return new Self(static_cast<const Self&>(*this));
}

template class BezierSurface<ERSpoleBezier3D>;
template class BezierSurface<ERSpoleBezier3DR>;

} // namespace velm::detail
