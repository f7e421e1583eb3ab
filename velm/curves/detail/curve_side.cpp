#include "velm/curves/detail/curve_side.h"

#include <algorithm>
#include <cmath>

namespace velm::detail {
namespace {

double crossed(const Local<2>& a, const Local<2>& b) { return a[0] * b[1] - a[1] * b[0]; }

// A foot of p on a part of one piece.
struct PieceFoot {
    int piece;
    double u;
    double squared;
    Local<2> to_p, tangent;
};

PieceFoot foot_at(const PreparedPieces<2>& curve, int index, double u, const Local<2>& p) {
    const Piece<2>& piece = curve[index];
    const CurveJet<2> jet = curve.jet(piece, u);
    const Local<2> to_p = difference(difference(p, piece.origin), jet.point);
    return {index, u, squared_norm(to_p), to_p, jet.first};
}

// The nearest of some places, and then by Newton's method.
PieceFoot nearest_in(const PreparedPieces<2>& curve, int index, double low, double high,
                     const Local<2>& p) {
    constexpr int samples = 12;
    constexpr int most_steps = 6;
    PieceFoot best = foot_at(curve, index, low, p);
    for (int i = 1; i <= samples; ++i) {
        const double u = i == samples ? high : low + (high - low) * i / samples;
        const PieceFoot next = foot_at(curve, index, u, p);
        if (next.squared < best.squared) best = next;
    }
    for (int step = 0; step < most_steps; ++step) {
        const CurveJet<2> jet = curve.jet(curve[index], best.u);
        const double slope = dot(best.to_p, jet.first);
        const double change = slope / (squared_norm(jet.first) - dot(best.to_p, jet.second));
        if (!(std::fabs(change) <= high - low)) break;
        const double u = std::clamp(best.u + change, low, high);
        if (u == best.u) break;
        const PieceFoot next = foot_at(curve, index, u, p);
        if (next.squared > best.squared * (1.0 + 0x1p-40)) break;
        best = next;
    }
    return best;
}

// The direction in which a piece leaves one of its ends.
Local<2> end_tangent(const PreparedPieces<2>& curve, int index, bool at_end) {
    const Local<2> tangent = curve.jet(curve[index], at_end ? 1.0 : 0.0).first;
    const double speed = curve[index].speed;
    if (squared_norm(tangent) > 0x1p-60 * speed * speed) return tangent;
    constexpr double next_to_end = 0x1p-12;
    const Piece<2>& piece = curve[index];
    return at_end
               ? difference(curve.local_point(piece, 1.0),
                            curve.local_point(piece, 1.0 - next_to_end))
               : difference(curve.local_point(piece, next_to_end), curve.local_point(piece, 0.0));
}

int sign_of(double x) { return x > 0.0 ? 1 : x < 0.0 ? -1 : 0; }

} // namespace

double nearest_along(const PreparedPieces<2>& curve, double along, const ERPoint2D& p) {
    constexpr int most_steps = 8;
    constexpr double longest_step = 0.25;
    const Local<2> query = local<2>(p);
    for (int step = 0; step < most_steps; ++step) {
        const CurvePlace at = place_along(curve, along);
        const Piece<2>& piece = curve[at.piece];
        const CurveJet<2> jet = curve.jet(piece, at.u);
        const Local<2> to_p = difference(difference(query, piece.origin), jet.point);
        const double change =
            dot(to_p, jet.first) / (squared_norm(jet.first) - dot(to_p, jet.second));
        if (!(std::fabs(change) <= longest_step)) break;
        const double next = along + free_step(curve, along, change);
        if (next == along) break;
        along = next;
    }
    return along;
}

double free_step(const PreparedPieces<2>& curve, double along, double step) {
    const int count = curve.count();
    const double to = along + step;
    const auto is_gap = [&](int joint) { // before the piece of this number
        if ((joint <= 0 || joint >= count) && !curve.closed) return true;
        return curve[((joint % count) + count) % count].joint == Joint::gap;
    };
    if (step > 0.0) {
        for (int joint = static_cast<int>(std::ceil(along)); joint < to; ++joint)
            if (is_gap(joint)) return joint - along;
    } else {
        for (int joint = static_cast<int>(std::floor(along)); joint > to; --joint)
            if (is_gap(joint)) return joint - along;
    }
    return step;
}

int side_of_stretch(const PreparedPieces<2>& curve, double low, double high, const ERPoint2D& p) {
    const Local<2> query = local<2>(p);
    const int count = curve.count();
    PieceFoot best{0, 0.0, HUGE_VAL, {}, {}};
    for (double k = std::floor(low); k < high; k += 1.0) {
        const int index = static_cast<int>(k - count * std::floor(k / count));
        const PieceFoot foot =
            nearest_in(curve, index, std::max(low - k, 0.0), std::min(high - k, 1.0), query);
        if (foot.squared < best.squared) best = foot;
    }
    if (best.u > 0.0 && best.u < 1.0) return sign_of(crossed(best.tangent, best.to_p));
    const int joint = best.u == 0.0 ? best.piece : (best.piece + 1) % count;
    const int before = (joint + count - 1) % count;
    const bool at_end = joint == 0 && !curve.closed;
    if (at_end || curve[joint].joint == Joint::gap) {
        // Beyond the end, or beside it.
        const double along = dot(best.tangent, best.to_p),
                     across = crossed(best.tangent, best.to_p);
        return std::fabs(along) <= 0x1p-20 * std::fabs(across) ? sign_of(across) : 0;
    }
    const Local<2> arrives = end_tangent(curve, before, true);
    const Local<2> leaves = end_tangent(curve, joint, false);
    const double turn = crossed(arrives, leaves);
    const double lengths = std::sqrt(squared_norm(arrives) * squared_norm(leaves));
    constexpr double kink = 1e-9;                                // the sine of the angle
    if (std::fabs(turn) > kink * lengths) return -sign_of(turn); // outside of the corner
    return dot(arrives, leaves) > 0.0 ? sign_of(crossed(arrives, best.to_p)) : 0;
}

} // namespace velm::detail
