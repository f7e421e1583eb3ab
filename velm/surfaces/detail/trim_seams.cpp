#include "velm/surfaces/detail/trim_seams.h"

#include "velm/frame/point_functions.h"

#include <algorithm>
#include <cmath>

namespace velm::detail {
namespace {

// Loops no further beyond the limits than this part of them keep to them, as files have it.
constexpr double near_limits = 1e-4;
// Places on the border of the limits nearer than this part of it are in no order.
constexpr double same_place = 1e-9;

using Chain = std::vector<TrimPiece>;

// The border of the limits, gone round with the inside on the left; its length is 4.
class LimitsBorder {
public:
    explicit LimitsBorder(const SurfaceSeams& seams) : seams_(seams) {}

    // Of a place on a seam, by the nearest one.
    double at(const ERPoint2D& p) const {
        double part[2], place = 0.0, nearest = HUGE_VAL;
        for (int axis = 0; axis < 2; ++axis)
            part[axis] = std::clamp((p[axis] - seams_.low[axis]) / seams_.period(axis), 0.0, 1.0);
        const double from[4] = {part[1], 1.0 - part[0], 1.0 - part[1], part[0]};
        const double along[4] = {part[0], part[1], 1.0 - part[0], 1.0 - part[1]};
        for (int side = 0; side < 4; ++side)
            if (seams_.closed[side % 2 == 0 ? 1 : 0] && from[side] < nearest) {
                nearest = from[side];
                place = side + along[side];
            }
        return place;
    }
    static double way(double from, double to) {
        const double there = to - from;
        return there < -same_place ? there + 4.0 : std::max(there, 0.0);
    }
    // The lines from the end of a chain to a start, by the corners on the way.
    void connect(const ERPoint2D& from, const ERPoint2D& to, Chain& pieces) const {
        const double start = at(from), end = start + way(start, at(to));
        ERPoint2D before = from;
        const auto add = [&](const ERPoint2D& next) {
            if (!(next == before)) pieces.push_back(TrimPiece::line(before, next));
            before = next;
        };
        for (double corner = std::floor(start) + 1.0; corner < end; corner += 1.0) {
            const int number = static_cast<int>(corner) % 4;
            add({number == 1 || number == 2 ? seams_.high[0] : seams_.low[0],
                 number == 2 || number == 3 ? seams_.high[1] : seams_.low[1]});
        }
        add(to);
    }

private:
    const SurfaceSeams& seams_;
};

// The loops of chains that have what they bound on their left.
std::vector<SeamLoop> closed_along_border(const std::vector<Chain>& chains,
                                          const SurfaceSeams& seams, bool hole) {
    const LimitsBorder border(seams);
    std::vector<SeamLoop> loops;
    std::vector<bool> used(chains.size(), false);
    for (std::size_t first = 0; first < chains.size(); ++first) {
        if (used[first]) continue;
        SeamLoop& loop = loops.emplace_back(SeamLoop{{}, hole});
        for (std::size_t at = first;;) {
            used[at] = true;
            loop.pieces.insert(loop.pieces.end(), chains[at].begin(), chains[at].end());
            const ERPoint2D end = chains[at].back().end;
            std::size_t next = first;
            double shortest = HUGE_VAL;
            for (std::size_t k = 0; k < chains.size(); ++k) {
                const double way =
                    LimitsBorder::way(border.at(end), border.at(chains[k].front().start));
                if ((k == first || !used[k]) && way < shortest) shortest = way, next = k;
            }
            border.connect(end, chains[next].front().start, loop.pieces);
            if (next == first) break;
            at = next;
        }
    }
    return loops;
}

void reverse_chain(Chain& chain) {
    std::ranges::reverse(chain);
    for (TrimPiece& piece : chain)
        piece.reverse();
}

// What the chains bound, on their left, as a face or as a hole of it.
std::vector<SeamLoop> bounded_by(std::vector<Chain> chains, const SurfaceSeams& seams, bool hole) {
    std::vector<SeamLoop> loops = closed_along_border(chains, seams, hole);
    if (hole || loops.size() == 1) return loops;
    for (Chain& chain : chains)
        reverse_chain(chain);
    return closed_along_border(chains, seams, true);
}

// Cuts a closed run of pieces at the seams: one run without a crossing, else those between two.
std::vector<Chain> chains_of(Chain pieces, const SurfaceSeams& seams) {
    for (int axis = 0; axis < 2; ++axis)
        if (seams.closed[axis]) pieces = cut_at_seam(pieces, axis, seams);
    const auto breaks = [&](const TrimPiece& before, const TrimPiece& after) {
        for (int axis = 0; axis < 2; ++axis)
            if (seams.closed[axis] &&
                std::fabs(after.start[axis] - before.end[axis]) > 0.5 * seams.period(axis))
                return true;
        return false;
    };
    std::size_t first = 0;
    while (first < pieces.size() &&
           !breaks(pieces[(first + pieces.size() - 1) % pieces.size()], pieces[first]))
        ++first;
    if (first == pieces.size()) return {std::move(pieces)};
    std::rotate(pieces.begin(), pieces.begin() + std::ptrdiff_t(first), pieces.end());
    std::vector<Chain> chains;
    for (const TrimPiece& piece : pieces) {
        if (chains.empty() || breaks(chains.back().back(), piece)) chains.emplace_back();
        chains.back().push_back(piece);
    }
    return chains;
}

// Twice the area to the left.
double area_of(const Chain& pieces) {
    double sum = 0.0;
    const ERPoint2D origin = pieces.front().start;
    const auto add = [&](const ERPoint2D& a, const ERPoint2D& b) {
        sum += (a.x() - origin.x()) * (b.y() - origin.y()) -
               (b.x() - origin.x()) * (a.y() - origin.y());
    };
    for (const TrimPiece& piece : pieces) {
        ERPoint2D before = piece.start;
        for (const double part : {0.125, 0.25, 0.375, 0.5, 0.625, 0.75, 0.875}) {
            const ERPoint2D at = piece.at(part);
            add(before, at);
            before = at;
        }
        add(before, piece.end);
    }
    return sum;
}

bool keeps_to_limits(const Chain& pieces, const SurfaceSeams& seams) {
    for (const TrimPiece& piece : pieces)
        for (int axis = 0; axis < 2; ++axis)
            for (const double part : {0.0, 0.125, 0.25, 0.375, 0.5, 0.625, 0.75, 0.875}) {
                const double slack = near_limits * seams.period(axis), at = piece.at(part)[axis];
                if (seams.closed[axis] &&
                    !(at >= seams.low[axis] - slack && at <= seams.high[axis] + slack))
                    return false;
            }
    return true;
}

} // namespace

std::optional<std::vector<SeamLoop>> loops_across_seams(std::vector<TrimPiece> pieces, bool hole,
                                                        const SurfaceSeams& seams) {
    if (pieces.empty() || !(seams.closed[0] || seams.closed[1])) return std::nullopt;
    unwrap(pieces, seams);
    for (int axis = 0; axis < 2; ++axis) {
        const double left_over = pieces.back().end[axis] - pieces.front().start[axis];
        if (seams.closed[axis] && std::fabs(left_over) > near_limits * seams.period(axis))
            return std::nullopt;
    }
    if (keeps_to_limits(pieces, seams)) return std::nullopt;
    if (area_of(pieces) < 0.0) reverse_chain(pieces);
    std::vector<Chain> chains = chains_of(std::move(pieces), seams);
    const bool is_whole = chains.size() == 1 && keeps_to_limits(chains[0], seams) &&
                          distance(chains[0].front().start, chains[0].back().end) <=
                              near_limits * (seams.period(0) + seams.period(1));
    if (is_whole) return std::vector<SeamLoop>{{std::move(chains[0]), hole}};
    return bounded_by(std::move(chains), seams, hole);
}

std::vector<SeamLoop> loops_of_rings(std::vector<TrimRing> rings, const SurfaceSeams& seams) {
    if (rings.empty() || rings.size() > 2) return {};
    const int axis = rings[0].axis;
    const bool is_torus = seams.closed[1 - axis];
    if (rings.size() == 1 ? is_torus : rings[1].axis != axis) return {};
    if (rings.size() == 2) {
        // What is above a ring is to its left if it rises along u, or falls along v.
        const bool first_is_below =
            is_torus ? (axis == 0) == rings[0].rises : rings[0].across() < rings[1].across();
        for (std::size_t k = 0; k < 2; ++k) {
            const bool is_below = (k == 0) == first_is_below;
            if (rings[k].rises != (is_below == (axis == 0))) rings[k].reverse();
        }
    }
    std::vector<Chain> chains;
    for (TrimRing& ring : rings)
        for (Chain& chain : chains_of(std::move(ring.pieces), seams))
            chains.push_back(std::move(chain));
    return bounded_by(std::move(chains), seams, false);
}

} // namespace velm::detail
