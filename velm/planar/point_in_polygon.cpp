#include "velm/planar/point_in_polygon.h"

#include "velm/frame/vec.h"
#include "velm/frame/vector.h"
#include "velm/planar/orientation.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

constexpr double edge_tolerance = 1e-10; // of ccw, on products
constexpr double ray_end = 1e12;         // the ray runs from the point to this abscissa

enum class Edge { missed, crossed, has_vertex, has_point };

/// One edge that p's ordinate meets and that is not all to the left of p.
Edge test_by_rules(const ERPoint2D& p, const ERPoint2D& a, const ERPoint2D& b) {
    if (p == b) return Edge::has_vertex;
    if (ccw(a, b, p, edge_tolerance) == 0) return Edge::has_point;
    if (a.y() == b.y() || !(p.y() > std::min(a.y(), b.y()))) return Edge::missed;
    return Intersect(a, b, p, ERPoint2D(ray_end, p.y())) ? Edge::crossed : Edge::missed;
}

/// The same with the edges to the left of p admitted, which are missed. Where the two cross
/// products of the rules are clear of zero and nothing over- or underflows, their signs tell
/// everything; no branch depends on the data then. Otherwise, NaN included, the rules are gone
/// through.
Edge test(const ERPoint2D& p, const ERPoint2D& a, const ERPoint2D& b) {
    const ERVector2D edge(a, b);
    const ERVector2D to_p(a, p);
    const double side_of_p = to_p.j() * edge.i() - to_p.i() * edge.j();
    const double side_of_ray_end = to_p.j() * edge.i() - (ray_end - a.x()) * edge.j();
    const bool right_of_a = p.x() > a.x();
    const bool right_of_b = p.x() > b.x();
    const bool all_left = right_of_a & right_of_b;
    const double reach = std::abs(to_p.i()) + std::abs(b.x() - p.x());
    const int clear = int{std::abs(side_of_p) > edge_tolerance} &
                      (std::abs(side_of_ray_end) > 0.0) &
                      (reach < std::numeric_limits<double>::max()) & (ray_end - p.x() >= 1.0);
    if (!(clear | all_left)) return test_by_rules(p, a, b);

    // The upper end lies on the ray's line, behind p.
    const int upper_end_behind =
        (int{a.y() == p.y()} & right_of_a) | (int{b.y() == p.y()} & right_of_b);
    const int above_lower_end = int{p.y() > a.y()} | (p.y() > b.y());
    const int ends_on_both_sides = (side_of_p > 0.0) != (side_of_ray_end > 0.0);
    return static_cast<Edge>(int{!all_left} & above_lower_end & int{!upper_end_behind} &
                             ends_on_both_sides);
}

/// For up to 64 vertices, a bit each: whether the ordinate lies above the vertex, and below.
/// Neither for equality and for NaN.
struct Sides {
    std::uint64_t above = 0;
    std::uint64_t below = 0;
};

#if defined(__SSE2__)
/// The sign bits of eight doubles in four registers, as a byte.
std::uint64_t eight_bits(__m128d m01, __m128d m23, __m128d m45, __m128d m67) {
    const auto halves = [](__m128d low, __m128d high) {
        return _mm_castps_si128(
            _mm_shuffle_ps(_mm_castpd_ps(low), _mm_castpd_ps(high), _MM_SHUFFLE(2, 0, 2, 0)));
    };
    const __m128i words = _mm_packs_epi32(halves(m01, m23), halves(m45, m67));
    return static_cast<std::uint64_t>(
        _mm_movemask_epi8(_mm_packs_epi16(words, _mm_setzero_si128())));
}

/// Adds as many vertices as fill groups of two; returns how many.
int add_groups(Sides& sides, double ordinate, const ERPoint2D* vertices, int count) {
    const __m128d y = _mm_set1_pd(ordinate);
    const auto two_ordinates = [vertices](int k) {
        return _mm_unpackhi_pd(_mm_loadu_pd(&vertices[k].x_), _mm_loadu_pd(&vertices[k + 1].x_));
    };
    int k = 0;
    for (; k + 8 <= count; k += 8) {
        const __m128d v01 = two_ordinates(k);
        const __m128d v23 = two_ordinates(k + 2);
        const __m128d v45 = two_ordinates(k + 4);
        const __m128d v67 = two_ordinates(k + 6);
        sides.above |= eight_bits(_mm_cmpgt_pd(y, v01), _mm_cmpgt_pd(y, v23), _mm_cmpgt_pd(y, v45),
                                  _mm_cmpgt_pd(y, v67))
                       << k;
        sides.below |= eight_bits(_mm_cmplt_pd(y, v01), _mm_cmplt_pd(y, v23), _mm_cmplt_pd(y, v45),
                                  _mm_cmplt_pd(y, v67))
                       << k;
    }
    for (; k + 2 <= count; k += 2) {
        const __m128d v = two_ordinates(k);
        sides.above |= static_cast<std::uint64_t>(_mm_movemask_pd(_mm_cmpgt_pd(y, v))) << k;
        sides.below |= static_cast<std::uint64_t>(_mm_movemask_pd(_mm_cmplt_pd(y, v))) << k;
    }
    return k;
}
#else
int add_groups(Sides&, double, const ERPoint2D*, int) { return 0; }
#endif

Sides sides_of(double ordinate, const ERPoint2D* vertices, int count) {
    Sides sides;
    for (int k = add_groups(sides, ordinate, vertices, count); k < count; ++k) {
        sides.above |= static_cast<std::uint64_t>(ordinate > vertices[k].y()) << k;
        sides.below |= static_cast<std::uint64_t>(ordinate < vertices[k].y()) << k;
    }
    return sides;
}

/// A walk over the edges of a polygon, in order.
struct Walk {
    ERPoint2D p;
    bool odd = false;              // crossings so far
    relpos found = relpos_outside; // anything else: on a vertex or an edge, the walk is over

    void cross(const ERPoint2D& a, const ERPoint2D& b) {
        const Edge edge = test(p, a, b);
        odd ^= edge == Edge::crossed;
        if (edge > Edge::crossed) [[unlikely]]
            found = edge == Edge::has_vertex ? relpos_on_vertex : relpos_on_edge;
    }
    bool is_over() const { return found != relpos_outside; }
};

/// Whether p's ordinate is neither above both ends nor below both; NaN counts as neither.
bool meets(double ordinate, const ERPoint2D& a, const ERPoint2D& b) {
    const bool above = (ordinate > a.y()) & (ordinate > b.y());
    const bool below = (ordinate < a.y()) & (ordinate < b.y());
    return !(above | below);
}

/// The edges that end at the vertices of one block of up to 64; `before` has the bits of the vertex
/// in front of the block, and gets those of its last.
void walk_block(Walk& walk, const ERPoint2D* vertices, int count, Sides& before) {
    const Sides sides = sides_of(walk.p.y(), vertices, count);
    const std::uint64_t missed = (sides.above & (sides.above << 1 | before.above)) |
                                 (sides.below & (sides.below << 1 | before.below));
    before = {sides.above >> 63, sides.below >> 63};
    const std::uint64_t all = ~std::uint64_t{0} >> (64 - count);
    for (std::uint64_t met = ~missed & all; met != 0 && !walk.is_over(); met &= met - 1) {
        const ERPoint2D* const end = vertices + std::countr_zero(met);
        walk.cross(end[-1], end[0]);
    }
}

} // namespace

relpos Inside(const ERPoint2D& p, const ERPoint2D* points, int count, int) {
    if (count < 1) return relpos_outside;
    if (p == points[0]) return relpos_on_vertex;
    Walk walk{p};
    Sides before = sides_of(p.y(), points, 1);
    for (std::ptrdiff_t i = 1; i < count && !walk.is_over(); i += 64)
        walk_block(walk, points + i, static_cast<int>(std::min<std::ptrdiff_t>(64, count - i)),
                   before);
    const ERPoint2D& last = points[count - 1];
    if (!walk.is_over() && meets(p.y(), last, points[0]) && !(last == points[0]))
        walk.cross(last, points[0]);
    return walk.is_over() ? walk.found : walk.odd ? relpos_inside : relpos_outside;
}

relpos Inside(const ERPoint2D& p, const ERVec<ERPoint2D>& polygon) {
    return Inside(p, polygon.data(), polygon.size(), -1);
}
