// ProjectionNormale and ReajustProjection of the pole surfaces.
#include "velm/frame/point_functions.h"
#include "velm/planar/convex_hull.h"
#include "velm/planar/point_in_polygon.h"
#include "velm/surfaces/bezier_surface.h"
#include "velm/surfaces/detail/direct_solve.h"
#include "velm/surfaces/detail/projection_cache.h"
#include "velm/surfaces/nurbs_surface.h"
#include "velm/surfaces/plane.h"
#include "velm/surfaces/surface_projection.h"

#include <cmath>

using velm::detail::Axis;
using velm::detail::PoleShape;
using velm::detail::ProjectionCache;
using velm::detail::SeedGrid;
using velm::detail::SurfaceHalves;

ProjectionCache& velm::detail::projection_cache(const ERSpoleRep& surface) {
    auto& kept = surface.kept_.projection;
    const ERLimites u = surface.getBoundU(), v = surface.getBoundV();
    if (!kept || !(kept->limits_u == u) || !(kept->limits_v == v)) {
        ProjectionCache& made = kept.emplace();
        made.limits_u = u;
        made.limits_v = v;
    }
    return *kept;
}

namespace {

// Whether a point, `reach` wide, misses a box that is made wider.
bool is_beyond(ERMinimax3D box, double wider, const ERPoint3D& p, double reach) {
    box.Inflate(wider);
    ERMinimax3D around(p, p);
    around.Inflate(reach);
    return RelativePosition(box, around) == BOXES_DISJOINT;
}

} // namespace

int SeedProjection(const ERSpoleRep& surface, const ERPoint3D& p, double distance,
                   ERPoint2D& parameter) {
    constexpr double wider = 0.2;
    if (!surface.isValid() || is_beyond(surface.getBox(), wider, p, distance)) return 0;
    auto& seeds = velm::detail::projection_cache(surface).seeds;
    if (!seeds)
        seeds.emplace(surface, velm::detail::seed_count(surface.degreeU(), surface.nbPolesU()),
                      velm::detail::seed_count(surface.degreeV(), surface.nbPolesV()));
    const auto node = seeds->nearest(p);
    if (!node) return 0;
    parameter = seeds->start(surface, *node);
    return 1;
}

int ERSpoleRep::ReajustProjection(ERPoint3D& p, ERPoint2D& parameter, int inBound) const {
    return isValid() ? ReajustAtSeam(*this, p, parameter, inBound) : 0;
}

// ---- Bezier surfaces ----

namespace velm::detail {

template <class Self>
int BezierSurface<Self>::ProjectionNormale(const ERPoint3D& p, double distance,
                                           ERPoint2D& parameter, int inBound) const {
    if (!isValid()) return 0;
    t_SmartPtr<ERSpoleRep>& unit = projection_cache(*this).unit;
    if (!unit) {
        Self part(static_cast<const Self&>(*this));
        part.adjust();
        unit = new Self(part.poles());
    }
    ERPoint2D local;
    ERPoint3D foot = p;
    const int found =
        SeedProjection(*unit, p, distance, local) && ReajustAtSeam(*unit, foot, local, inBound);
    parameter = ERPoint2D(working_u(local.x()), working_v(local.y()));
    return found;
}

template int BezierSurface<ERSpoleBezier3D>::ProjectionNormale(const ERPoint3D&, double, ERPoint2D&,
                                                               int) const;
template int BezierSurface<ERSpoleBezier3DR>::ProjectionNormale(const ERPoint3D&, double,
                                                                ERPoint2D&, int) const;

} // namespace velm::detail

// ---- NURBS surfaces ----

namespace {

constexpr double plane_within = 0.001;

PoleShape shape_of(const ERSpoleNURBS3D& surface) {
    const auto poles = surface.poles().view();
    ERVec<ERPoint3D> points(static_cast<int>(poles.size()));
    std::transform(poles.begin(), poles.end(), points.begin(),
                   [](const ERPole3DH& pole) { return pole.castToPoint(); });
    ERPlane plane = velm::detail::plane_of_poles(points);
    double a, b, c, d;
    plane.getCoefficients(a, b, c, d);
    PoleShape shape{std::numeric_limits<double>::quiet_NaN(), {}, {}};
    if (!std::isfinite(a + b + c + d)) return shape;
    shape.flatness = 0.0;
    for (const ERPoint3D& p : points.view())
        shape.flatness = std::max(shape.flatness, plane.distancePt(p));
    if (!(shape.flatness <= plane_within)) return shape;
    shape.frame = plane.getTransfo();
    ERVec<ERPoint2D> flat(points.size());
    std::transform(points.view().begin(), points.view().end(), flat.begin(), [&](ERPoint3D p) {
        shape.frame.TransTo(p);
        return ERPoint2D(p.x(), p.y());
    });
    shape.hull = CalculateConvexeHull(flat);
    return shape;
}

bool is_outside_hull(const PoleShape& shape, ERPoint3D p) {
    if (!(shape.flatness <= plane_within)) return false;
    shape.frame.TransTo(p);
    return Inside(ERPoint2D(p.x(), p.y()), shape.hull) == relpos_outside;
}

// A long surface is halved across, one that is far from plane across its longer side.
std::optional<Axis> halving_axis(const ERSpoleNURBS3D& surface, double flatness) {
    constexpr double least_width = 0.0001, too_uneven = 2.0;
    const double u = surface.upperEstimateInU(), v = surface.upperEstimateInV();
    const bool uneven = flatness > too_uneven;
    if ((2.0 * v < u && v > least_width) || (uneven && v <= u)) return Axis::u;
    if ((2.0 * u < v && u > least_width) || (uneven && u < v)) return Axis::v;
    return {};
}

// The search for a foot on a surface and the tree of its halves.
class HalvingSearch {
public:
    HalvingSearch(const ERSpoleNURBS3D& root, const ERPoint3D& p, double distance, int inBound)
        : p_(p), distance_(distance), in_bound_(inBound),
          tree_bytes_(velm::detail::projection_cache(root).tree_bytes),
          left_(std::isfinite(root.upperEstimateInU() + root.upperEstimateInV())
                    ? most_solved
                    : most_solved_of_infinite) {}

    int search(const ERSpoleNURBS3D& surface, ERPoint2D& parameter) {
        constexpr double wider = 0.001, allowance = 1.1;
        if (!surface.isValid() || is_beyond(surface.getBox(), wider, p_, distance_ * allowance))
            return 0;
        ProjectionCache& kept = velm::detail::projection_cache(surface);
        if (!kept.shape) kept.shape = shape_of(surface);
        if (is_outside_hull(*kept.shape, p_)) return 0;
        const std::optional<Axis> axis = halving_axis(surface, kept.shape->flatness);
        if (axis && depth(*axis) < deepest) {
            if (kept.halves) return search_halves(*kept.halves, parameter);
            if (std::optional<SurfaceHalves> halves = halves_of(surface, *axis)) {
                if (!keeps(*halves)) return search_halves(*halves, parameter);
                kept.halves = std::move(halves);
                return search_halves(*kept.halves, parameter);
            }
        }
        using namespace velm::detail;
        return --left_ >= 0 &&
               solve_directly<direct_solve_in_use>(surface, p_, distance_, parameter, in_bound_);
    }

private:
    // No more than doubles can resolve: a tear stays uneven in every half.
    static constexpr int deepest = 48;
    // Halves of huge surfaces, all of them within the distance, would otherwise be without end;
    // those of a surface with poles at infinity are.
    static constexpr long most_solved = 1L << 20, most_solved_of_infinite = 1L << 10;
    static constexpr std::size_t most_bytes = std::size_t(64) << 20;

    int& depth(Axis axis) { return axis == Axis::u ? depth_u_ : depth_v_; }

    static std::optional<SurfaceHalves> halves_of(const ERSpoleNURBS3D& surface, Axis axis) {
        SurfaceHalves halves{axis, 0.0, {}, {}};
        if (!(axis == Axis::u ? surface.SplitInU(halves.first, halves.second)
                              : surface.SplitInV(halves.first, halves.second)))
            return {};
        halves.split = axis == Axis::u ? halves.second->udeb() : halves.second->vdeb();
        return halves;
    }

    // Counts what halves with their grids take, if that is within the budget.
    bool keeps(const SurfaceHalves& halves) {
        constexpr std::size_t per_pole = 64, per_seed = 48;
        std::size_t bytes = 0;
        for (const ERSpoleNURBS3D* half : {halves.first.get(), halves.second.get()}) {
            const int seeds_u = velm::detail::seed_count(half->degreeU(), half->nbPolesU());
            const int seeds_v = velm::detail::seed_count(half->degreeV(), half->nbPolesV());
            bytes += per_pole * half->poles().view().size() +
                     per_seed * static_cast<std::size_t>(seeds_u * seeds_v);
        }
        if (tree_bytes_ + bytes > most_bytes) return false;
        tree_bytes_ += bytes;
        return true;
    }

    // A foot of the first half lies before the split or on it, one of the second on it or after it:
    // the second half matters only if the first has none, or one on the split.
    int search_halves(const SurfaceHalves& halves, ERPoint2D& parameter) {
        constexpr double beyond = 0.0001;
        const auto along = [&](const ERPoint2D& p) {
            return halves.axis == Axis::u ? p.x() : p.y();
        };
        ERPoint2D first, second;
        ++depth(halves.axis);
        const bool in_first = search(*halves.first, first) != 0;
        const bool settled = in_first && along(first) < halves.split;
        const bool in_second = !settled && search(*halves.second, second) != 0;
        --depth(halves.axis);
        const bool first_counts = in_first && (!in_second || along(first) <= halves.split + beyond);
        const bool second_counts =
            in_second && (!in_first || along(second) >= halves.split - beyond);
        if (second_counts && (!first_counts || !(along(first) < along(second)))) {
            parameter = second;
        } else if (first_counts) {
            parameter = first;
        }
        return in_first || in_second;
    }

    ERPoint3D p_;
    double distance_;
    int in_bound_;
    std::size_t& tree_bytes_;
    int depth_u_ = 0, depth_v_ = 0;
    long left_; // halves that may still be solved
};

} // namespace

int ERSpoleNURBS3D::ProjectionNormale(const ERPoint3D& p, double distance, ERPoint2D& parameter,
                                      int inBound) const {
    return HalvingSearch(*this, p, distance, inBound).search(*this, parameter);
}
