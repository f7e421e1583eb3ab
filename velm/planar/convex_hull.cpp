#include "velm/planar/convex_hull.h"

#include "velm/frame/vec.h"
#include "velm/frame/vector.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <vector>

namespace {

using Chain = std::vector<ERPoint2D>;

bool before(const ERPoint2D& a, const ERPoint2D& b) {
    return a.x() < b.x() || (a.x() == b.x() && a.y() < b.y());
}
/// The same order where NaNs occur, which go to the end.
bool before_with_nan(const ERPoint2D& a, const ERPoint2D& b) {
    const auto less = [](double s, double t) { return s < t || (t != t && s == s); };
    return less(a.x(), b.x()) || (!less(b.x(), a.x()) && less(a.y(), b.y()));
}

/// Lengths against 1e-7, by their squares. The square root rounds monotonically, so the bounds
/// decide exactly as the roots would: they are the greatest double with a root up to 1e-7 and the
/// least with a root from 1e-7 on.
constexpr double greatest_square_within = 0x1.6849b86a12b9bp-47;
constexpr double least_square_reaching = 0x1.6849b86a12b9ap-47;
bool exceeds_tolerance(double squared) { return squared > greatest_square_within; }
bool below_tolerance(double squared) { return squared < least_square_reaching; }

/// Which way a walk over the sorted points goes.
enum class Walk { descending, ascending };

/// Whether the chain keeps its last point in front of the next edge: a left turn of less than 90
/// degrees, or any left turn where the last edge runs up (descending) or down (ascending).
bool keeps_last_by_rule(const ERVector2D& last_edge, const ERVector2D& next_edge, Walk walk) {
    const ERVector2D e1 = last_edge.getnormalized();
    const ERVector2D e2 = next_edge.getnormalized();
    if (!(e1.i() * e2.j() - e1.j() * e2.i() > 0.0)) return false;
    return e1 * e2 > 0.0 || (walk == Walk::descending ? e1.j() >= 0.0 : e1.j() <= 0.0);
}

/// The same answer without roots and divisions where the signs can't depend on the rounding: the
/// normalised components carry a relative error of some 1e-16, and within the bounds on the
/// products nothing over- or underflows.
bool keeps_last(const ERVector2D& last_edge, const ERVector2D& next_edge, Walk walk) {
    constexpr double sure = 1e-14;
    constexpr double least = 1e-100;
    constexpr double greatest = 1e100;
    const double left = last_edge.i() * next_edge.j();
    const double right = last_edge.j() * next_edge.i();
    const double along_x = last_edge.i() * next_edge.i();
    const double along_y = last_edge.j() * next_edge.j();
    const double cross = left - right;
    const double dot = along_x + along_y;
    const double cross_size = std::abs(left) + std::abs(right);
    const double dot_size = std::abs(along_x) + std::abs(along_y);
    const double size = last_edge.norme2() + next_edge.norme2();
    const double rise = last_edge.j();
    const bool decided = std::abs(cross) > sure * cross_size && std::abs(dot) > sure * dot_size &&
                         cross_size > least && dot_size > least && size < greatest &&
                         (rise == 0.0 || std::abs(rise) > least);
    if (!decided) return keeps_last_by_rule(last_edge, next_edge, walk);
    if (cross < 0.0) return false;
    return dot > 0.0 || (walk == Walk::descending ? rise >= 0.0 : rise <= 0.0);
}

/// One pass over the points, at least one, in the order of the iterators.
template <class Iterator>
Chain chain_over(Iterator point, Iterator end, Walk walk) {
    Chain chain{*point};
    const ERPoint2D start = *point;
    do {
        if (++point == end) return chain;
    } while (!exceeds_tolerance(ERVector2D(start, *point).norme2()));
    chain.push_back(*point);
    for (++point; point != end; ++point) {
        const ERPoint2D& q = *point;
        while (chain.size() >= 2) {
            const ERVector2D next_edge(chain.back(), q);
            if (below_tolerance(next_edge.norme2())) break;
            if (keeps_last(ERVector2D(*(chain.end() - 2), chain.back()), next_edge, walk)) break;
            chain.pop_back();
        }
        if (exceeds_tolerance(ERVector2D(chain.back(), q).norme2())) chain.push_back(q);
    }
    return chain;
}

Chain sorted(std::span<const ERPoint2D> points) {
    Chain all(points.begin(), points.end());
    const bool comparable = std::none_of(all.begin(), all.end(), [](const ERPoint2D& p) {
        return std::isnan(p.x()) || std::isnan(p.y());
    });
    std::sort(all.begin(), all.end(), comparable ? before : before_with_nan);
    return all;
}

} // namespace

ERVec<ERPoint2D> CalculateConvexeHull(ERVec<ERPoint2D> points) {
    if (points.size() < 2) return points;
    const Chain ascending = sorted(points.view());
    const Chain first = chain_over(ascending.rbegin(), ascending.rend(), Walk::descending);
    const Chain second = chain_over(ascending.begin(), ascending.end(), Walk::ascending);

    // Intended: the ends of the second chain repeat those of the first and are left out, but a
    // second chain of one point still counts as one entry, which keeps its value of before.
    const std::size_t size = first.size() + second.size() - (second.size() < 2 ? 0 : 2);
    if (size > points.view().size()) points.resize(static_cast<int>(size));
    const std::span<ERPoint2D> hull = points.writable();
    const auto behind_first = std::copy(first.begin(), first.end(), hull.begin());
    if (second.size() > 2) std::copy(second.begin() + 1, second.end() - 1, behind_first);
    points.resize(static_cast<int>(size));
    return points;
}
