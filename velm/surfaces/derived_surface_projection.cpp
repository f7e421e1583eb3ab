// Feet on and lines through surfaces of revolution and offset surfaces.
#include "velm/frame/point_functions.h"
#include "velm/surfaces/detail/seed_grid.h"
#include "velm/surfaces/nurbs_surface.h"
#include "velm/surfaces/offset_surface.h"
#include "velm/surfaces/ray_surface_result.h"
#include "velm/surfaces/revolution_surface.h"
#include "velm/surfaces/revolve.h"
#include "velm/surfaces/surface_projection.h"
#include "velm/surfaces/vertical_crossing.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

namespace {

bool is_same(const ERSpoleNURBS3D& a, const ERSpoleNURBS3D& b) {
    const auto same_knots = [](const ERKnotVector& k, const ERKnotVector& l) {
        return k.degree() == l.degree() &&
               std::equal(k.data(), k.data() + k.length(), l.data(), l.data() + l.length());
    };
    return a.poles().columns() == b.poles().columns() &&
           std::ranges::equal(a.poles().view(), b.poles().view()) &&
           same_knots(a.knotVectorU(), b.knotVectorU()) &&
           same_knots(a.knotVectorV(), b.knotVectorV()) && a.getBoundU() == b.getBoundU() &&
           a.getBoundV() == b.getBoundV();
}

} // namespace

// ---- surfaces of revolution ----

// The curve belongs to others too, so nothing says whether it has changed but the form itself; the
// grid of starts goes with it.
const ERSpoleNURBS3D& ERSurOfRevolution::current_form() const {
    ERSpoleNURBS3D made = ConvertToNurbs();
    if (!form_ || !is_same(made, **form_)) {
        form_.emplace(new ERSpoleNURBS3D(made));
        seeds_.reset();
    }
    return **form_;
}

int SeedProjection(const ERSurOfRevolution& surface, const ERPoint3D& p, double distance,
                   ERPoint2D& parameter) {
    constexpr double wider = 0.2;
    const ERSpoleNURBS3D& form = surface.current_form();
    ERMinimax3D box = surface.getBox(), around(p, p);
    box.Inflate(wider);
    around.Inflate(distance);
    if (!form.isValid() || RelativePosition(box, around) == BOXES_DISJOINT) return 0;
    if (!surface.seeds_)
        surface.seeds_.emplace(surface, velm::detail::seed_count(form.degreeU(), form.nbPolesU()),
                               velm::detail::seed_count(form.degreeV(), form.nbPolesV()));
    const auto node = surface.seeds_->nearest(p);
    if (!node) return 0;
    parameter = surface.seeds_->start(surface, *node);
    return 1;
}

int ERSurOfRevolution::ProjectionNormale(const ERPoint3D& p, double distance, ERPoint2D& parameter,
                                         int inBound) const {
    const ERSpoleNURBS3D& form = current_form();
    ERPoint3D on_form = p, on_this = p;
    if (!SeedProjection(form, p, distance, parameter) ||
        !ReajustAtSeam(form, on_form, parameter, inBound))
        return 0;
    ReajustAtSeam(*this, on_this, parameter, inBound);
    return 1;
}

int ERSurOfRevolution::ReajustProjection(ERPoint3D& p, ERPoint2D& parameter, int inBound) const {
    return generatrice_ ? ReajustAtSeam(*this, p, parameter, inBound) : 0;
}

// The angle at which the point of the curve at u is turned to p, the one nearest to `guess`.
double ERSurOfRevolution::angle_near(double guess, double u, const ERPoint3D& p) const {
    const ERPoint3D start = const_cast<ERFiniteEntity3DWF&>(*generatrice_)(u);
    const ERVector3D from(axis_.projectPt(start), start), to(axis_.projectPt(p), p);
    const double angle = std::atan2(axis_.dirVector() * (from ^ to), from * to);
    constexpr double turn = 2.0 * std::numbers::pi;
    return angle + turn * std::round((guess - angle) / turn);
}

void ERSurOfRevolution::ProjectPoint(const ERPoint3D& p, ERRaySurfaceResult& result,
                                     int inBound) const {
    if (!generatrice_) return;
    const auto form =
        velm::revolve(curve_copy()->ConvertToNurbs(), axis_, angles_.start(), angles_.end());
    if (!form) return;
    ERRaySurfaceResult crossings;
    form->ProjectPoint(p, crossings, inBound);
    for (const ERInfoPoint3DSurf& crossing : crossings) {
        ERPoint2D parameter(crossing.u(), angle_near(crossing.v(), crossing.u(), crossing.point()));
        ERPoint3D on = p;
        VerticalNewton(*this, on, parameter, 1);
        ERInfoPoint3DSurf solution = PtCur(parameter.x(), parameter.y());
        result.AddPointSolution(solution);
    }
}

// ---- offset surfaces ----

int EROffsetSurface::ReajustProjection(ERPoint3D& p, ERPoint2D& parameter, int inBound) const {
    ERPoint3D on_base = p;
    if (!base_ || !base_->ReajustProjection(on_base, parameter, inBound)) return 0;
    p = (*this)(parameter);
    return 1;
}

namespace {

// A cell of a grid, widened by a quarter of itself, holds p seen along z.
bool is_near(const ERMatrix<ERPoint3D>& grid, int i, int j, const ERPoint3D& p) {
    ERMinimax2D box;
    for (const int dj : {0, 1})
        for (const int di : {0, 1}) {
            const ERPoint3D& corner = grid.row(j + dj)[static_cast<std::size_t>(i + di)];
            box.Update(ERPoint2D(corner.x(), corner.y()));
        }
    box.Inflate(0.25 * std::max(box.xlength(), box.ylength()));
    return box.contains(ERPoint2D(p.x(), p.y()));
}

} // namespace

void EROffsetSurface::ProjectPoint(const ERPoint3D& p, ERRaySurfaceResult& result, int) const {
    if (!base_) return;
    constexpr int cells_per_span = 8, most_cells = 256;
    constexpr double same = 1e-6; // of the limits
    int spans_u = 0, spans_v = 0;
    base_->GetNumberOfSpans(spans_u, spans_v);
    const auto cells = [](int spans) {
        return cells_per_span * std::clamp(spans, 1, most_cells / cells_per_span);
    };
    const int nu = cells(spans_u), nv = cells(spans_v);
    const ERMatrix<ERPoint3D> grid = velm::detail::points_at_even_steps(*this, nu + 1, nv + 1);
    const ERLimites in_u = getBoundU(), in_v = getBoundV();
    std::vector<ERPoint2D> known; // in parts of the limits
    for (int j = 0; j < nv; ++j)
        for (int i = 0; i < nu; ++i) {
            if (!is_near(grid, i, j, p)) continue;
            ERPoint2D parameter(in_u((i + 0.5) / nu), in_v((j + 0.5) / nv));
            ERPoint3D on = p;
            if (!VerticalNewton(*this, on, parameter, 1)) continue;
            const ERPoint2D ratio(in_u.ratio(parameter.x()), in_v.ratio(parameter.y()));
            if (std::ranges::any_of(known,
                                    [&](const ERPoint2D& q) { return isEqual(q, ratio, same); }))
                continue;
            known.push_back(ratio);
            ERInfoPoint3DSurf solution = PtCur(parameter.x(), parameter.y());
            result.AddPointSolution(solution);
        }
}
