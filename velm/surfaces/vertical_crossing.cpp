// VerticalNewton, VerticalSolution, and ProjectPoint of the pole surfaces.
#include "velm/surfaces/vertical_crossing.h"

#include "velm/curves/detail/pole_arrays.h"
#include "velm/frame/point_functions.h"
#include "velm/planar/point_in_polygon.h"
#include "velm/surfaces/bezier_surface.h"
#include "velm/surfaces/detail/projection_cache.h"
#include "velm/surfaces/nurbs_decomposer.h"
#include "velm/surfaces/ray_surface_result.h"
#include "velm/transforms/transformation_factories.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

namespace {

ERVector2D flat_difference(const ERPoint3D& from, const ERPoint3D& to) {
    return {to.x() - from.x(), to.y() - from.y()};
}

// The points at sixths of the limits; a pole surface keeps them.
ERMatrix<ERPoint3D> crossing_grid(const ERAnyBoundedSurface& surface) {
    constexpr int side = 7;
    const auto* const poles = dynamic_cast<const ERSpoleRep*>(&surface);
    if (poles == nullptr) return velm::detail::points_at_even_steps(surface, side, side);
    auto& kept = velm::detail::projection_cache(*poles).crossing_grid;
    if (!kept) kept = velm::detail::points_at_even_steps(surface, side, side);
    return *kept;
}

// The parameter of the inner grid point nearest to p seen along z; false if none is at a number.
bool nearest_inner(const ERAnyBoundedSurface& surface, const ERPoint3D& p, ERPoint2D& parameter) {
    const ERMatrix<ERPoint3D> grid = crossing_grid(surface);
    double least = std::numeric_limits<double>::max();
    bool found = false;
    for (int j = 1; j < grid.rows() - 1; ++j)
        for (int i = 1; i < grid.columns() - 1; ++i) {
            const double squared =
                flat_difference(p, grid.row(j)[static_cast<std::size_t>(i)]).norme2();
            if (!(squared < least)) continue;
            least = squared;
            found = true;
            parameter = ERPoint2D(surface.getBoundU()(double(i) / (grid.columns() - 1)),
                                  surface.getBoundV()(double(j) / (grid.rows() - 1)));
        }
    return found;
}

double clamped(const ERLimites& limits, double t) {
    return std::min(limits.end(), std::max(limits.start(), t));
}

// One step from (u, v), where the surface has the point `here`; false for a singular Jacobian.
bool newton_step(const ERAnyBoundedSurface& surface, const ERVector2D& missing,
                 const ERPoint3D& here, double h, double& u, double& v) {
    constexpr double least_determinant = 1e-9;
    const ERVector2D by_u = flat_difference(here, surface(u + h, v));
    const ERVector2D by_v = flat_difference(here, surface(u, v + h));
    const double xu = by_u.i() / h, yu = by_u.j() / h, xv = by_v.i() / h, yv = by_v.j() / h;
    const double determinant = xu * yv - xv * yu;
    if (!(std::fabs(determinant) > least_determinant)) return false;
    const double du = (missing.i() * yv - missing.j() * xv) / determinant;
    const double dv = (missing.j() * xu - missing.i() * yu) / determinant;
    u = clamped(surface.getBoundU(), u + du);
    v = clamped(surface.getBoundV(), v + dv);
    return true;
}

} // namespace

int VerticalNewton(const ERAnyBoundedSurface& surface, ERPoint3D& p, ERPoint2D& parameter,
                   int fromStart) {
    constexpr double steps_per_width = 1000000.0, far = 100000000.0;
    constexpr double same = 1e-10, on_line = 5e-08;
    constexpr int rises_allowed = 10, most_steps = 1000;
    const ERLimites in_u = surface.getBoundU(), in_v = surface.getBoundV();
    const double h = ((in_v.end() - in_v.start()) + (in_u.end() - in_u.start())) / steps_per_width;
    ERPoint2D at = parameter;
    if (!fromStart && !nearest_inner(surface, p, at)) return 0;
    double previous = far;
    int rises = 0;
    for (int step = 0; step < most_steps; ++step) {
        const ERPoint3D here = surface(at.x(), at.y());
        const ERVector2D missing = flat_difference(here, p);
        const double error = missing.norme();
        if (!(std::fabs(error - previous) > same)) return 0;
        if (error - previous > same) {
            if (++rises > rises_allowed) return 0;
        } else if (error < on_line) {
            parameter = at;
            p.z() = here.z();
            return 1;
        }
        previous = error;
        if (!newton_step(surface, missing, here, h, at.x(), at.y())) return 0;
    }
    return 0;
}

void VerticalSolution(const ERAnyBoundedSurface& surface, const ERPoint3D& p,
                      ERRaySurfaceResult& result) {
    ERPoint3D on = p;
    ERPoint2D parameter;
    if (!VerticalNewton(surface, on, parameter, 0)) return;
    if (!surface.getBoundU().inBound(parameter.x()) || !surface.getBoundV().inBound(parameter.y()))
        return;
    // A library built without derivatives gives parameter and point alone.
    constexpr bool with_derivatives = true;
    ERInfoPoint3DSurf solution = with_derivatives
                                     ? surface.PtCur(parameter.x(), parameter.y())
                                     : ERInfoPoint3DSurf(parameter, surface(parameter));
    result.AddPointSolution(solution);
}

// ---- the recursive crossing of a Bezier patch ----

namespace {

bool is_below_or_above(const ERMinimax3D& box, const ERPoint3D& p) {
    return p.x() >= box.xmin && p.x() <= box.xmax && p.y() >= box.ymin && p.y() <= box.ymax;
}
bool is_strictly_below_or_above(const ERMinimax3D& box, const ERPoint3D& p) {
    return p.x() > box.xmin && p.x() < box.xmax && p.y() > box.ymin && p.y() < box.ymax;
}

// The z of dP/du ^ dP/dv at the corners, up to positive factors.
struct CornerTurns {
    double a, b, c, d; // at (start, start), (start, end), (end, end), (end, start) of (U, V)

    bool change_along_v() const { return d * a > 0.0 && b * c > 0.0 && b * a < 0.0; }
    bool change_along_u() const { return b * a > 0.0 && d * c > 0.0 && d * a < 0.0; }
    bool fold() const { return a * b * c * d < 0.0; }
};

template <class Poles>
CornerTurns corner_turns(const Poles& poles) {
    const int last_u = poles.columns() - 1, last_v = poles.rows() - 1;
    const auto point = [&](int i, int j) {
        return velm::detail::pole_point(
            poles.row(std::clamp(j, 0, last_v))[std::size_t(std::clamp(i, 0, last_u))]);
    };
    const auto turn = [&](int i, int j) {
        const int along_u = i == 0 ? 0 : i - 1, along_v = j == 0 ? 0 : j - 1;
        return velm::cross(flat_difference(point(along_u, j), point(along_u + 1, j)),
                           flat_difference(point(i, along_v), point(i, along_v + 1)));
    };
    return {turn(0, 0), turn(0, last_v), turn(last_u, last_v), turn(last_u, 0)};
}

// The line through p along z, and the parts of a patch that it may meet.
template <class Patch>
class PatchCrossing {
public:
    PatchCrossing(const ERPoint3D& p, ERRaySurfaceResult& result) : p_(p), result_(result) {}

    void cross(const Patch& patch, int depth = 0) {
        using velm::detail::Axis;
        constexpr double small_extent = 0.1, least_length = 1e-11, too_long = 3.0;
        const ERMinimax3D box = patch.getBox();
        if (depth > deepest || --parts_left_ < 0 || !is_below_or_above(box, p_)) return;
        if (!std::isfinite(box.xlength() + box.ylength())) return; // no halving makes it smaller
        if (std::min(box.xlength(), box.ylength()) < small_extent)
            return VerticalSolution(patch, p_, result_);
        const ERVec<ERPoint2D>& hull = patch.getConvexHull();
        if (hull.size() <= 2 || Inside(ERPoint2D(p_.x(), p_.y()), hull) == relpos_outside) return;

        const CornerTurns turns = corner_turns(patch.poles());
        const double u = patch.upperEstimateInU(), v = patch.upperEstimateInV();
        if (turns.change_along_v()) {
            if (v > least_length) cross_halves(patch, Axis::v, Halves::all, depth);
        } else if (turns.change_along_u()) {
            if (u > least_length) cross_halves(patch, Axis::u, Halves::all, depth);
        } else {
            const bool along_v = u <= v;
            const double ratio = along_v ? v / u : u / v;
            const Halves which = ratio > too_long || turns.fold() ? Halves::all : Halves::by_box;
            cross_halves(patch, along_v ? Axis::v : Axis::u, which, depth);
        }
    }

private:
    // What happens to the two halves of a patch.
    enum class Halves { all, by_box };

    // Halves of halves, and parts in all. A line along a wall meets a part per few heights of a
    // small part; only coordinates of very different sizes come near these numbers.
    static constexpr int deepest = 64;
    static constexpr int most_parts = 1 << 16;

    void cross_halves(const Patch& patch, velm::detail::Axis axis, Halves which, int depth) {
        t_SmartPtr<Patch> first, second;
        if (!(axis == velm::detail::Axis::u ? patch.SplitInU(first, second)
                                            : patch.SplitInV(first, second)))
            return;
        bool in_first = true, in_second = true;
        if (which == Halves::by_box) {
            in_first = is_strictly_below_or_above(first->getBox(), p_);
            in_second = is_below_or_above(second->getBox(), p_);
        }
        if (in_first && in_second) {
            cross(*first, depth + 1);
            cross(*second, depth + 1);
        } else if (in_first || in_second) {
            VerticalSolution(in_first ? *first : *second, p_, result_);
        }
    }

    const ERPoint3D p_;
    ERRaySurfaceResult& result_;
    int parts_left_ = most_parts;
};

} // namespace

namespace velm::detail {

template <class Self>
void BezierSurface<Self>::ProjectPoint(const ERPoint3D& p, ERRaySurfaceResult& result, int) const {
    if (isValid()) PatchCrossing<Self>(p, result).cross(static_cast<const Self&>(*this));
}

template void BezierSurface<ERSpoleBezier3D>::ProjectPoint(const ERPoint3D&, ERRaySurfaceResult&,
                                                           int) const;
template void BezierSurface<ERSpoleBezier3DR>::ProjectPoint(const ERPoint3D&, ERRaySurfaceResult&,
                                                            int) const;

} // namespace velm::detail

// ---- NURBS surfaces, patch by patch ----

namespace {

// Calls f with each patch, U inside V.
template <class F>
void for_patches(const ERSpoleNURBS3D& surface, F f) {
    surface.UpdateCache();
    const Nurbs3DToBezier3DRDecomposer& patches = *surface.decomposer();
    for (int i = 0; i < patches.nv(); ++i)
        for (int j = 0; j < patches.nu(); ++j)
            f(*patches.Bezier(i, j));
}

} // namespace

void ERSpoleNURBS3D::ProjectPoint(const ERPoint3D& p, ERRaySurfaceResult& result,
                                  int inBound) const {
    if (!isValid() || !is_below_or_above(getBox(), p)) return;
    for_patches(*this,
                [&](const ERSpoleBezier3DR& patch) { patch.ProjectPoint(p, result, inBound); });
}

void ERSpoleNURBS3D::ProjectPoint(const ERPoint3D& p, const ERVector3D& direction,
                                  ERRaySurfaceResult& result, int inBound) const {
    if (direction == ERVector3D(0.0, 0.0, 1.0)) return ProjectPoint(p, result, inBound);
    if (!isValid()) return;
    const ERPmIsometrie3D frame = ERChgRepere3D(direction, p);
    for_patches(*this, [&](const ERSpoleBezier3DR& patch) {
        if (!patch.getBox().intersect(p, direction)) return;
        // A copy: there and back would move the patch by rounding at each call.
        ERSpoleBezier3DR placed(patch);
        placed.transformTo(frame);
        const int before = result.size();
        placed.ProjectPoint(ERPoint3D(), result, inBound);
        for (auto added = std::next(result.begin(), before); added != result.end(); ++added)
            added->transformFrom(frame);
    });
}
