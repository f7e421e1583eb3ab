#include "velm/curves/detail/nearest_search.h"

#include "velm/curves/detail/bernstein_rows.h"

#include <algorithm>
#include <cmath>

namespace velm::detail {
namespace {

// Parts of a piece this short are taken as they are: what is uncertain there is reported.
constexpr int deepest_halving = 44;
// Parts this short are also compared by their poles.
constexpr double short_part = 0x1p-6;
// The levels of boxes that 2^31 pieces can have.
constexpr int most_levels = 11;
// Roundings in a squared distance of boxes or points, in its last place.
constexpr double squared_rounding = 16.0 * half_ulp;

// A group of boxes of the tree or, at level -1, a piece; `bound` is below its squared distance.
struct Node {
    double bound;
    int level, index;
};

// The squared distances of p from the eight boxes of a group.
template <int N>
void box_distances(const double* group, const Local<N>& p, double* squared) {
    for (int i = 0; i < box_fan; ++i)
        squared[i] = 0.0;
    for (int axis = 0; axis < N; ++axis) {
        const double x = p[axis];
        const double* low = group + axis * box_fan;
        const double* high = group + (N + axis) * box_fan;
        for (int i = 0; i < box_fan; ++i) {
            const double below = low[i] - x, above = x - high[i];
            const double outside = below > above ? below : above;
            const double gap = outside > 0.0 ? outside : 0.0;
            squared[i] += gap * gap;
        }
    }
}

} // namespace

template <int N>
NearestPoint<N> NearestSearch<N>::run(const CurvePlace* hint) {
    NearestPoint<N> result;
    bool finite = true;
    for (const double x : p_.c)
        finite = finite && std::isfinite(x);
    if (hint != nullptr && finite) {
        piece(hint->piece);
        done_ = hint->piece;
    }
    if (finite) tree();

    static_cast<CurvePlace&>(result) = tables_.place(best_piece_, best_u_);
    result.point = tables_.point(tables_[best_piece_], best_u_);
    result.distance = std::sqrt(best_);
    result.kind = best_flat_ ? FootKind::continuum : tables_.kind_at(best_piece_, best_u_);
    if (!finite) {
        result.distance = std::numeric_limits<double>::quiet_NaN();
        return result;
    }
    const double lower = std::sqrt(std::max(0.0, lower_ * (1.0 - squared_rounding)));
    result.lower = std::clamp(lower - 2.0 * tables_.point_error, 0.0, result.distance);
    result.certified =
        !spent_ && result.distance - result.lower <= certified_size_part * tables_.size +
                                                         certified_distance_part * result.distance;
    return result;
}

template <int N>
void NearestSearch<N>::tree() {
    Node stack[most_levels * box_fan];
    int depth = 0;
    stack[depth++] = {0.0, tables_.levels() - 1, 0}; // a group of boxes
    while (depth > 0) {
        const Node node = stack[--depth];
        if (node.bound >= best_) {
            lower_ = std::min(lower_, best_);
            continue;
        }
        if (node.level < 0) {
            if (node.index == done_) continue;
            if (--budget_ < 0) {
                spent_ = true;
                lower_ = std::min(lower_, node.bound);
                continue;
            }
            piece(node.index);
            continue;
        }
        double squared[box_fan];
        box_distances<N>(tables_.group(node.level, node.index), p_, squared);
        const int bottom = depth;
        for (int i = 0; i < box_fan; ++i) {
            if (!(squared[i] < best_)) continue;
            const Node child{squared[i], node.level - 1, node.index * box_fan + i};
            int k = depth++;
            for (; k > bottom && stack[k - 1].bound < child.bound; --k)
                stack[k] = stack[k - 1];
            stack[k] = child;
        }
    }
    lower_ = std::min(lower_, best_);
}

template <int N>
double NearestSearch<N>::squared_at(double u) const {
    return squared_norm(difference(tables_.local_point(*piece_, u), from_origin_));
}

template <int N>
void NearestSearch<N>::offer(double squared, double u) {
    if (!(squared < best_)) return;
    best_ = squared;
    best_piece_ = index_;
    best_u_ = u;
    best_flat_ = flat_;
}

template <int N>
bool NearestSearch<N>::accept(double squared, double loss, bool at_limit) {
    const double lower = squared - loss;
    // Nothing is lost where the part is too far anyway, or where the square root of `lower` stays
    // within half the certificate of the distance.
    const double distance = std::sqrt(std::min(squared, best_));
    const double allowed =
        0.5 * (certified_size_part * tables_.size + certified_distance_part * distance);
    const bool certain = lower >= best_ || distance <= allowed || loss <= allowed * distance;
    if (!certain && !at_limit) return false;
    lower_ = std::min(lower_, lower);
    return true;
}

template <int N>
bool NearestSearch<N>::too_far(const Part& part) {
    constexpr int width = N + 1;
    double row[(PreparedCurve<N>::max_degree + 1) * (N + 1)];
    const int count = piece_->degree + 1;
    std::copy_n(tables_.poles(*piece_), count * width, row);
    restrict_row({row, count, width}, part.low, part.high);
    // The poles' least reach along the direction from p to the middle of the chord.
    Local<N> direction, from = from_origin_;
    double reach = 0.0;
    for (int axis = 0; axis < N; ++axis) {
        const double* last = row + piece_->degree * width;
        direction[axis] = 0.5 * (row[axis] / row[N] + last[axis] / last[N]) - from[axis];
        reach = std::max(reach, std::fabs(from[axis]));
    }
    const double length = std::sqrt(squared_norm(direction));
    double least = std::numeric_limits<double>::infinity();
    for (int i = 0; i < count; ++i) {
        double along = 0.0;
        for (int axis = 0; axis < N; ++axis) {
            const double x = row[i * width + axis] / row[i * width + N];
            reach = std::max(reach, std::fabs(x));
            along += (x - from[axis]) * direction[axis];
        }
        least = std::min(least, along);
    }
    // Cutting the row twice rounds twice a degree each time; the quotients and products add the
    // rest.
    const double roundings = 4.0 * piece_->degree + 16.0;
    const double lower = least / length - roundings * half_ulp * reach;
    const double distance = std::sqrt(best_);
    const double allowed =
        0.5 * (certified_size_part * tables_.size + certified_distance_part * distance);
    if (!(lower >= distance - allowed)) return false;
    lower_ = std::min(lower_, lower * lower);
    return true;
}

template <int N>
bool NearestSearch<N>::decide(const Part& part, bool at_limit) {
    const double* g = part.coefficients;
    const CoefficientSigns signs(g, count_, error_);
    const double width = part.high - part.low;
    // The squared distance changes by no more than this between a minimum that the errors hide and
    // the place taken for it: 2 |g| foot_scale over the length where |g| <= size.
    const auto loss = [&](double size) {
        const double slope = signs.least_slope(count_, error_);
        const double length = slope > 0.0 ? std::min(1.0, size / slope) : 1.0;
        return 2.0 * piece_->foot_scale * size * width * length;
    };
    const auto offer_ends = [&] {
        offer(part.at_low, part.low);
        offer(part.at_high, part.high);
    };
    offer_ends();
    if (signs.none_negative()) // it moves away
        return accept(part.at_low, signs.certain == count_ ? 0.0 : loss(2.0 * error_), at_limit);
    if (signs.none_positive())
        return accept(part.at_high, signs.certain == count_ ? 0.0 : loss(2.0 * error_), at_limit);
    if (signs.last_positive < signs.first_negative) // it moves away, then nearer
        return accept(std::min(part.at_low, part.at_high),
                      signs.certain == count_ ? 0.0 : 4.0 * piece_->foot_scale * error_ * width,
                      at_limit);
    if (signs.last_negative < signs.first_positive && g[0] < 0.0 && g[count_ - 1] > 0.0) {
        const PolishedZero zero = polished_zero(g, count_);
        const double u = part.low + zero.x * width;
        const double squared = squared_at(u);
        offer(squared, u);
        return accept(squared, loss(error_ + zero.residual), at_limit);
    }
    double least = 0.0;
    for (int i = 0; i < count_; ++i)
        least = std::min(least, g[i] - error_);
    const double drop = -2.0 * piece_->foot_scale * least * width;
    return (part.at_low - drop >= best_ || at_limit) && accept(part.at_low, drop, true);
}

template <int N>
void NearestSearch<N>::piece(int index) {
    index_ = index;
    piece_ = &tables_[index];
    count_ = piece_->foot_count;
    double g[max_foot_count];
    from_origin_ = difference(p_, piece_->origin);
    error_ = tables_.foot_polynomial(*piece_, from_origin_, g);
    flat_ = true;
    for (int i = 0; i < count_ && flat_; ++i)
        flat_ = std::fabs(g[i]) <= error_;
    const Part whole{0.0, 1.0, squared_norm(difference(piece_->first, p_)),
                     squared_norm(difference(piece_->last, p_)), g};
    if (!decide(whole, false)) halve_piece(g);
}

template <int N>
void NearestSearch<N>::halve_piece(double* g) {
    double room[deepest_halving * max_foot_count];
    Part waiting[deepest_halving + 1];
    int depth = 0;
    waiting[0] = {0.0, 1.0, squared_norm(difference(piece_->first, p_)),
                  squared_norm(difference(piece_->last, p_)), g};
    bool whole = true; // which decide has turned down
    while (depth >= 0) {
        Part& part = waiting[depth];
        const bool at_limit = depth == deepest_halving || budget_ <= 0;
        if (!whole &&
            (decide(part, false) || (part.high - part.low <= short_part && too_far(part)) ||
             (at_limit && decide(part, true)))) {
            --depth;
            continue;
        }
        whole = false;
        --budget_;
        spent_ = spent_ || budget_ <= 0;
        const double middle = 0.5 * (part.low + part.high);
        const double at_middle = squared_at(middle);
        double* left = room + depth * max_foot_count;
        halve_coefficients(part.coefficients, count_, left);
        waiting[depth + 1] = {part.low, middle, part.at_low, at_middle, left};
        part.low = middle;
        part.at_low = at_middle;
        ++depth;
    }
}

template class NearestSearch<2>;
template class NearestSearch<3>;

} // namespace velm::detail
