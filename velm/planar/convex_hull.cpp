#include "velm/planar/convex_hull.h"

#include "velm/frame/point_functions.h"
#include "velm/frame/vector.h"
#include "velm/planar/detail/exact_turn.h"
#include "velm/planar/detail/point_order.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <span>
#include <vector>

namespace {

// Lengths against 1e-7, by their squares. The square root rounds monotonically, so the bounds
// decide exactly as the roots would: they are the greatest double with a root up to 1e-7 and the
// least with a root from 1e-7 on.
constexpr double greatest_square_within = 0x1.6849b86a12b9bp-47;
constexpr double least_square_reaching = 0x1.6849b86a12b9ap-47;
bool exceeds_tolerance(double squared) { return squared > greatest_square_within; }
bool below_tolerance(double squared) { return squared < least_square_reaching; }

// The direction of a pass over the sorted points.
enum class Walk { descending, ascending };

// Whether an edge with this rise runs up (descending pass) or down (ascending pass), or is level.
bool runs_outwards(double rise, Walk walk) {
    return walk == Walk::descending ? rise >= 0.0 : rise <= 0.0;
}

// Whether the chain keeps its last point in front of the next edge: a left turn of less than 90
// degrees, or any left turn where the last edge runs outwards.
bool keeps_last_by_rule(const ERVector2D& last_edge, const ERVector2D& next_edge, Walk walk) {
    const ERVector2D e1 = last_edge.getnormalized();
    const ERVector2D e2 = next_edge.getnormalized();
    if (!(e1.i() * e2.j() - e1.j() * e2.i() > 0.0)) return false;
    return e1 * e2 > 0.0 || runs_outwards(e1.j(), walk);
}

// Decides as the rule does, without roots and divisions where the signs of the two products can't
// depend on the rounding. Normalised components have a relative error of about 1e-16, and so have
// the products of the edges; `margin` is a hundred times that. If edges are shorter than
// `longest_edge`, products above `least_product` don't underflow when normalised.
class TurnTest {
public:
    static constexpr double longest_edge = 1e60;

    // For points of this extent; with a huge or infinite extent the rule decides every turn.
    TurnTest(const velm::detail::Extent& extent, Walk w) : walk(w) {
        const double width = extent.xmax - extent.xmin;
        const double height = extent.ymax - extent.ymin;
        if (!extent.finite || !(width < longest_edge && height < longest_edge)) return;
        sure_cross = std::max(least_product, margin * 2.0 * width * height);
        sure_dot = std::max(least_product, margin * (width * width + height * height));
    }

    bool keeps_last(const ERVector2D& last_edge, const ERVector2D& next_edge) const {
        const double left = last_edge.i() * next_edge.j();
        const double right = last_edge.j() * next_edge.i();
        const double cross = left - right;
        if (cross < -sure_cross) return false;
        if (cross > sure_cross &&
            (last_edge * next_edge > sure_dot || runs_outwards(last_edge.j(), walk)))
            return true;
        if (are_parallel_to_an_axis(last_edge, next_edge)) return false;
        const double size = std::abs(left) + std::abs(right);
        if (cross < -margin * size && size > least_product && is_moderate()) return false;
        return keeps_last_by_rule(last_edge, next_edge, walk);
    }

private:
    // If so, the normalised cross product is exactly 0.
    static bool are_parallel_to_an_axis(const ERVector2D& a, const ERVector2D& b) {
        return (a.i() == 0.0 && b.i() == 0.0) || (a.j() == 0.0 && b.j() == 0.0);
    }

    bool is_moderate() const { return sure_cross < std::numeric_limits<double>::infinity(); }

    static constexpr double margin = 1e-14;
    static constexpr double least_product = 1e-100;

    Walk walk;
    double sure_cross = std::numeric_limits<double>::infinity();
    double sure_dot = std::numeric_limits<double>::infinity();
};

// One pass over the sorted points, at least one. Writes the chain to `chain`, which may be the
// place where the points are read from, and returns its end.
template <class Iterator>
ERPoint2D* chain_over(Iterator point, Iterator end, const TurnTest& test, ERPoint2D* const chain) {
    ERPoint2D* last = chain;
    *last = *point;
    do {
        if (++point == end) return last + 1;
    } while (!exceeds_tolerance(distance2(*last, *point)));
    *++last = *point;
    for (++point; point != end; ++point) {
        const ERPoint2D q = *point;
        ERVector2D next_edge(*last, q);
        while (last != chain && !below_tolerance(next_edge.norme2()) &&
               !test.keeps_last(ERVector2D(last[-1], *last), next_edge)) {
            --last;
            next_edge = ERVector2D(*last, q);
        }
        if (exceeds_tolerance(next_edge.norme2())) *++last = q;
    }
    return last + 1;
}

} // namespace

ERVec<ERPoint2D> CalculateConvexeHull(ERVec<ERPoint2D> points) {
    if (points.size() < 2) return points;
    // A thread keeps room for the hulls of a few points, of which algorithms ask many.
    constexpr int few = 64;
    thread_local std::vector<ERPoint2D> kept[2];
    std::vector<ERPoint2D> own[2];
    std::vector<ERPoint2D>& sorted = points.size() <= few ? kept[0] : own[0];
    std::vector<ERPoint2D>& scratch = points.size() <= few ? kept[1] : own[1];
    sorted.assign(points.view().begin(), points.view().end());
    scratch.resize(sorted.size());
    const velm::detail::Extent extent(sorted);
    velm::detail::sort_by_x_then_y(sorted, scratch, extent);
    const TurnTest descending(extent, Walk::descending);
    const TurnTest ascending(extent, Walk::ascending);
    const std::span<const ERPoint2D> first{
        scratch.data(), chain_over(sorted.rbegin(), sorted.rend(), descending, scratch.data())};
    const std::span<const ERPoint2D> second{
        sorted.data(), chain_over(sorted.begin(), sorted.end(), ascending, sorted.data())};

    // The ends of the second chain repeat those of the first and are omitted, but a second chain of
    // one point still counts as one entry, which keeps its previous value.
    const std::size_t size = first.size() + second.size() - (second.size() < 2 ? 0 : 2);
    // A new array, because the argument's would keep memory for all points allocated.
    ERVec<ERPoint2D> result(static_cast<int>(size));
    const std::span<ERPoint2D> hull = result.writable();
    const auto after_first = std::copy(first.begin(), first.end(), hull.begin());
    if (second.size() > 2)
        std::copy(second.begin() + 1, second.end() - 1, after_first);
    else if (second.size() < 2 && first.size() < points.view().size())
        *after_first = points.view()[first.size()];
    return result;
}

namespace velm {

namespace {

// Goes over sorted points and writes the chain that has only left turns; returns its end. The
// chain may be written over the points.
template <class Iterator>
ERPoint2D* left_turning_chain(Iterator point, Iterator end, ERPoint2D* const chain) {
    ERPoint2D* next = chain;
    for (; point != end; ++point) {
        const ERPoint2D q = *point;
        if (next != chain && next[-1] == q) continue;
        while (next - chain >= 2 && detail::exact_turn(next[-2], next[-1], q) <= 0)
            --next;
        *next++ = q;
    }
    return next;
}

} // namespace

std::vector<ERPoint2D> convex_hull(std::span<const ERPoint2D> points) {
    std::vector<ERPoint2D> sorted;
    sorted.reserve(points.size());
    std::copy_if(points.begin(), points.end(), std::back_inserter(sorted),
                 [](const ERPoint2D& p) { return std::isfinite(p.x()) && std::isfinite(p.y()); });
    if (sorted.empty()) return sorted;
    std::vector<ERPoint2D> scratch(sorted.size());
    detail::sort_by_x_then_y(sorted, scratch, detail::Extent(sorted));
    // From the greatest point over the upper side to the least, and back over the lower side.
    ERPoint2D* const chain = scratch.data();
    ERPoint2D* const upper = left_turning_chain(sorted.rbegin(), sorted.rend(), chain);
    ERPoint2D* const first = sorted.data();
    ERPoint2D* const lower = left_turning_chain(sorted.begin(), sorted.end(), first);
    std::vector<ERPoint2D> hull(chain, upper);
    if (lower - first > 2) hull.insert(hull.end(), first + 1, lower - 1);
    return hull;
}

} // namespace velm
