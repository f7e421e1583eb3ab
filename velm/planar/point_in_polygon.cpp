#include "velm/planar/point_in_polygon.h"

#include "velm/frame/vec.h"
#include "velm/planar/detail/ray_walk.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

using velm::detail::RayWalk;

// For up to 64 vertices, one bit each: whether the ordinate is above the vertex, and whether
// below. Neither bit is set for equality and for NaN.
struct Sides {
    std::uint64_t above = 0;
    std::uint64_t below = 0;
};

#if defined(__SSE2__)
// The sign bits of eight doubles in four registers, as a byte.
std::uint64_t eight_bits(__m128d m01, __m128d m23, __m128d m45, __m128d m67) {
    const auto halves = [](__m128d low, __m128d high) {
        return _mm_castps_si128(
            _mm_shuffle_ps(_mm_castpd_ps(low), _mm_castpd_ps(high), _MM_SHUFFLE(2, 0, 2, 0)));
    };
    const __m128i words = _mm_packs_epi32(halves(m01, m23), halves(m45, m67));
    return static_cast<std::uint64_t>(
        _mm_movemask_epi8(_mm_packs_epi16(words, _mm_setzero_si128())));
}

// Adds as many vertices as fill whole groups; returns their number.
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

// The edges that end at the vertices of one block of up to 64; `before` has the bits of the vertex
// before the block, and is set to those of its last vertex.
void walk_block(RayWalk& walk, const ERPoint2D* vertices, int count, Sides& before) {
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
    RayWalk walk{p};
    Sides before = sides_of(p.y(), points, 1);
    for (std::ptrdiff_t i = 1; i < count && !walk.is_over(); i += 64)
        walk_block(walk, points + i, static_cast<int>(std::min<std::ptrdiff_t>(64, count - i)),
                   before);
    const ERPoint2D& last = points[count - 1];
    if (!walk.is_over() && RayWalk::meets(p.y(), last, points[0]) && !(last == points[0]))
        walk.cross(last, points[0]);
    return walk.result();
}

relpos Inside(const ERPoint2D& p, const ERVec<ERPoint2D>& polygon) {
    return Inside(p, polygon.data(), polygon.size(), -1);
}
