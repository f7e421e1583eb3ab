#include "velm/surfaces/detail/trim_rings.h"

#include "velm/curves/prepare.h"
#include "velm/frame/point_functions.h"

#include <algorithm>
#include <cmath>

namespace velm::detail {

namespace {

constexpr double near_round = 1e-4; // of a period: what a file's ends may miss a whole round by
constexpr double on_seam = 1e-9;    // of a period
constexpr double coincident = 1e-9; // of the surface's size

ERVector2D along(int axis, double length) {
    return axis == 0 ? ERVector2D(length, 0.0) : ERVector2D(0.0, length);
}

// Where a piece crosses a line of constant coordinate, as parts of the way.
std::vector<double> crossings_of(const TrimPiece& piece, int axis, double line) {
    const double least = on_seam;
    std::vector<double> parts;
    const auto add = [&](double part) {
        if (part > least && part < 1.0 - least) parts.push_back(part);
    };
    if (!piece.curve) {
        const double a = piece.start[axis] - line, b = piece.end[axis] - line;
        if (a * b < 0.0) add(a / (a - b));
        return parts;
    }
    const auto prepared = prepare(*piece.curve);
    if (!prepared) return parts;
    std::vector<CurveCrossing<2>> found;
    prepared->crossings(ERPoint2D() + along(axis, line), along(1 - axis, 1.0), found);
    for (const CurveCrossing<2>& crossing : found)
        if (crossing.before != crossing.after)
            add((crossing.t - prepared->domain().start()) / prepared->domain().amplitude());
    return parts;
}

TrimPiece part_of(const TrimPiece& piece, double from, double to) {
    if (!piece.curve) {
        const ERVector2D way(piece.start, piece.end);
        return TrimPiece::line(piece.start + way * from, piece.start + way * to);
    }
    ERCpoleNURBS2D curve(*piece.curve);
    const ERLimites domain = curve.getBound();
    curve.setBound(ERLimites(domain(from), domain(to)));
    curve.adjust();
    return TrimPiece::of(curve);
}

} // namespace

TrimPiece TrimPiece::of(ERCpoleNURBS2D curve) {
    const ERLimites domain = curve.getBound();
    return {curve(domain.start()), curve(domain.end()), curve};
}

ERPoint2D TrimPiece::at(double part) const {
    if (!curve) return start + (end - start) * part;
    ERCpoleNURBS2D own(*curve);
    return own(own.getBound()(part));
}

void TrimPiece::shift(const ERVector2D& way) {
    start = start + way;
    end = end + way;
    if (curve) curve->translate(ERPoint2D(way.i(), way.j()));
}

void TrimPiece::reverse() {
    std::swap(start, end);
    if (curve) curve->reverse();
}

SurfaceSeams::SurfaceSeams(const PreparedSurface& of, double scale)
    : surface(&of), v_scale(scale), low{of.domain_u().start(), of.domain_v().start() * scale},
      high{of.domain_u().end(), of.domain_v().end() * scale}, closed{false, false} {
    constexpr int samples = 8;
    const double equal = coincident * of.box().diagonal();
    bool meets[2] = {true, true};
    for (int axis = 0; axis < 2; ++axis)
        for (int k = 0; k <= samples; ++k) {
            const int across = 1 - axis;
            const double t = low[across] + (high[across] - low[across]) * k / samples;
            const ERPoint2D a = ERPoint2D() + along(across, t) + along(axis, low[axis]);
            const ERPoint2D b = ERPoint2D() + along(across, t) + along(axis, high[axis]);
            meets[axis] = meets[axis] && distance(at(a), at(b)) <= equal;
        }
    std::ranges::copy(meets, closed);
}

ERPoint3D SurfaceSeams::at(ERPoint2D p) const {
    for (int axis = 0; axis < 2; ++axis)
        if (closed[axis])
            p = p + along(axis, -std::floor((p[axis] - low[axis]) / period(axis)) * period(axis));
    return (*surface)(p.x(), p.y() / v_scale);
}

bool SurfaceSeams::is_point(const ERPoint2D& p, int axis) const {
    const ERPoint2D opposite = p + along(axis, 0.5 * period(axis));
    return distance(at(p), at(opposite)) <= coincident * surface->box().diagonal();
}

void unwrap(std::vector<TrimPiece>& pieces, const SurfaceSeams& seams) {
    for (std::size_t i = 1; i < pieces.size(); ++i)
        for (int axis = 0; axis < 2; ++axis) {
            if (!seams.closed[axis]) continue;
            const double period = seams.period(axis);
            const double jump = pieces[i].start[axis] - pieces[i - 1].end[axis];
            const double rounds = std::round(jump / period);
            if (rounds == 0.0 || std::fabs(jump - rounds * period) > near_round * period) continue;
            if (seams.is_point(pieces[i].start, axis)) continue;
            pieces[i].shift(along(axis, -rounds * period));
        }
}

std::vector<TrimPiece> cut_at_seam(const std::vector<TrimPiece>& pieces, int axis,
                                   const SurfaceSeams& seams) {
    const double period = seams.period(axis), low = seams.low[axis];
    std::vector<TrimPiece> inside;
    for (const TrimPiece& piece : pieces) {
        std::vector<double> parts = {0.0, 1.0};
        constexpr int most_rounds = 4;
        for (int round = -most_rounds; round <= most_rounds; ++round)
            for (const double part : crossings_of(piece, axis, low + round * period))
                parts.push_back(part);
        std::ranges::sort(parts);
        for (std::size_t k = 0; k + 1 < parts.size(); ++k) {
            inside.push_back(parts.size() == 2 ? piece : part_of(piece, parts[k], parts[k + 1]));
            const double middle = inside.back().at(0.5)[axis];
            if (middle >= low && middle <= low + period) continue; // also on the seam
            const double rounds = std::floor((middle - low) / period);
            if (rounds != 0.0) inside.back().shift(along(axis, -rounds * period));
        }
    }
    return inside;
}

double TrimRing::across() const {
    double sum = 0.0;
    for (const TrimPiece& piece : pieces)
        sum += piece.at(0.0)[1 - axis] + piece.at(0.5)[1 - axis];
    return sum / static_cast<double>(pieces.size());
}

void TrimRing::reverse() {
    std::ranges::reverse(pieces);
    for (TrimPiece& piece : pieces)
        piece.reverse();
    rises = !rises;
}

std::optional<TrimRing> ring_of(std::vector<TrimPiece> pieces, const SurfaceSeams& seams) {
    if (pieces.empty() || !(seams.closed[0] || seams.closed[1])) return std::nullopt;
    unwrap(pieces, seams);
    const ERVector2D whole(pieces.front().start, pieces.back().end);
    for (int axis = 0; axis < 2; ++axis) {
        const double period = seams.period(axis), across = seams.period(1 - axis);
        if (!seams.closed[axis] || seams.is_point(pieces.front().start, axis)) continue;
        if (std::fabs(std::fabs(whole[axis]) - period) > near_round * period) continue;
        if (std::fabs(whole[1 - axis]) > near_round * across) continue;
        return TrimRing{axis, whole[axis] > 0.0, std::move(pieces)};
    }
    return std::nullopt;
}

} // namespace velm::detail
