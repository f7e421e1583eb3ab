#include "velm/curves/detail/graph_intersection.h"

#include "velm/curves/detail/bernstein_rows.h"
#include "velm/numerics/binomials.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace velm::detail {
namespace {

// A part is nearly straight if its steps turn less than this from the chord, by the tangent.
constexpr double nearly_straight = 0.35;

// Terms enough that a part which turns by a few degrees is met to its roundings.
constexpr int usual_terms = 7;

// Products of polynomials in the scaled Bernstein basis, whose coefficients carry the binomials.
void multiply(const double* a, int degree_a, const double* b, int degree_b, double* product) {
    std::fill_n(product, degree_a + degree_b + 1, 0.0);
    for (int i = 0; i <= degree_a; ++i)
        for (int j = 0; j <= degree_b; ++j)
            product[i + j] += a[i] * b[j];
}

// The derivative's coefficients except for the factor of the degree.
void differentiate(double* c, int& count) {
    for (int i = 0; i + 1 < count; ++i)
        c[i] = c[i + 1] - c[i];
    --count;
}

int certain_sign(const double* c, int count, double error) {
    const auto [least, most] = std::minmax_element(c, c + count);
    return *least > error ? 1 : *most < -error ? -1 : 0;
}

} // namespace

bool GraphIntersection::suits(const CurvePart& part) {
    const PlaneVector chord = part.chord();
    if (part.degree == 1) return dot(chord, chord) > 0.0;
    for (int i = 0; i < part.degree; ++i) {
        const PlaneVector step = part.pole(i + 1) - part.pole(i);
        const double along = dot(step, chord);
        if (!(along > 0.0) || std::fabs(cross(step, chord)) > nearly_straight * along) return false;
    }
    return true;
}

GraphIntersection::GraphIntersection(const CurvePart& graph, const CurvePart& other,
                                     const MeetingLimits& limits)
    : graph_(graph), other_(other) {
    const PlaneVector chord = graph.chord();
    const double half = 0.5 * norm(chord);
    middle_ = (graph.pole(0) + graph.pole(graph.degree)) * 0.5;
    along_ = chord * (0.5 / half);
    scale_ = 1.0 / half;
    reach_ = limits.together * scale_;
    if (graph.degree > 1) {
        const int most = (max_foot_count - 1) / std::max(graph.degree, other.degree);
        terms_ = std::min(usual_terms, most);
        interpolate(limits.tiny * scale_);
    }
    const auto largest_abscissa = [this](const CurvePart& part) {
        double largest = 1.0;
        for (int i = 0; i <= part.degree; ++i)
            largest = std::max(largest, std::fabs(abscissa(part.pole(i))));
        return largest;
    };
    double weights[max_foot_count];
    const double x = std::max(largest_abscissa(graph), largest_abscissa(other));
    double size = 0.0, slope = 0.0, power = 1.0;
    for (int k = 0; k <= terms_; ++k) {
        size += std::fabs(p_[k]) * power;
        if (k > 0) slope += k * std::fabs(p_[k]) * power / x;
        power *= x;
    }
    double gap = 0.0;
    double tallest = 0.0;
    const PlaneVector up{-along_.y, along_.x};
    for (const CurvePart* part : {&graph, &other})
        for (int i = 0; i <= part->degree; ++i)
            tallest = std::max(tallest, std::fabs(dot(up, part->pole(i) - middle_)) * scale_);
    const int n = std::max(graph.degree, other.degree);
    const double rounding = (terms_ * (n + 4.0) + 8.0) * half_ulp * (size + tallest);
    if (graph.degree > 1) {
        compose(graph, c_, weights);
        for (int i = 0; i <= graph.degree * terms_; ++i)
            gap = std::max(gap, (std::fabs(c_[i]) + rounding) / weights[i]);
    }
    fine_ = gap + rounding <= limits.tiny * scale_;
    compose(other, c_, weights);
    count_ = other.degree * terms_ + 1;
    error_ = limits.apart * (1.0 + slope) * scale_ + gap + rounding;
}

// p through the part at Chebyshev's places, by divided differences.
void GraphIntersection::interpolate(double negligible) {
    double x[most_terms], y[most_terms];
    const PlaneVector up{-along_.y, along_.x};
    for (int k = 0; k <= terms_; ++k) {
        const double angle = std::numbers::pi * (k + 0.5) / (terms_ + 1);
        static_assert(most_terms == usual_terms + 1);
        const PlaneVector p = graph_.at(0.5 - 0.5 * std::cos(angle)).point - middle_;
        x[k] = dot(along_, p) * scale_;
        y[k] = dot(up, p) * scale_;
    }
    for (int level = 1; level <= terms_; ++level)
        for (int k = terms_; k >= level; --k)
            y[k] = (y[k] - y[k - 1]) / (x[k] - x[k - level]);
    // Horner's scheme on the Newton form gives the powers.
    std::fill_n(p_, most_terms, 0.0);
    for (int k = terms_; k >= 0; --k) {
        for (int i = terms_ - k; i > 0; --i)
            p_[i] = p_[i - 1] - x[k] * p_[i];
        p_[0] = y[k] - x[k] * p_[0];
    }
    // Terms that don't matter only raise the degree of what follows.
    constexpr double share = 0.125; // of what the whole gap may be
    while (terms_ > 1 && std::fabs(p_[terms_]) <= share * negligible)
        p_[terms_--] = 0.0;
}

// (y - p(x)) w^terms of a part in this frame, weights scaled to at most 1, and w^terms.
void GraphIntersection::compose(const CurvePart& part, double* sum, double* weights) const {
    const int n = part.degree;
    const PlaneVector up{-along_.y, along_.x};
    double x[max_poles], y[max_poles], w[max_poles];
    const double largest = *std::max_element(part.w, part.w + n + 1);
    TableauDePascal& binomials = theCnpTableau;
    const double* row = binomials.Cnp(n);
    for (int i = 0; i <= n; ++i) {
        const PlaneVector p = PlaneVector{part.x[i], part.y[i]} - middle_ * part.w[i];
        const double factor = row[i] / largest;
        x[i] = dot(along_, p) * scale_ * factor;
        y[i] = dot(up, p) * scale_ * factor;
        w[i] = part.w[i] * factor;
    }
    double power[max_foot_count] = {1.0}, product[max_foot_count];
    sum[0] = p_[terms_];
    for (int k = terms_ - 1, degree = 0; k >= 0; --k, degree += n) {
        if (k == 0) { // power is w^(terms - 1)
            multiply(y, n, power, degree, weights);
            multiply(sum, degree, x, n, product);
            for (int i = 0; i <= degree + n; ++i)
                sum[i] = weights[i] - product[i];
            multiply(power, degree, w, n, weights);
            for (int i = 0; i <= degree + n; ++i)
                sum[i] -= p_[0] * weights[i];
        } else {
            multiply(sum, degree, x, n, product);
            std::copy_n(product, degree + n + 1, sum);
            multiply(power, degree, w, n, product);
            std::copy_n(product, degree + n + 1, power);
            for (int i = 0; i <= degree + n; ++i)
                sum[i] += p_[k] * power[i];
        }
    }
    const double* scale = binomials.Cnp(n * terms_);
    for (int i = 0; i <= n * terms_; ++i) {
        sum[i] /= scale[i];
        weights[i] /= scale[i];
    }
}

void GraphIntersection::zones(std::vector<GraphZone>& zones) const {
    zones.clear();
    const PartInterval beside = beside_graph();
    double c[max_foot_count];
    std::copy_n(c_, count_, c);
    SignSweep sweep(false, [&](const SignZone& zone) {
        GraphZone found{zone.from.u, zone.to.u, zone.at.u, zone.before, zone.after};
        if (zone.parts > 1) found.at = 0.5 * (found.low + found.high);
        found.low = std::max(found.low, beside.low);
        found.high = std::min(found.high, beside.high);
        if (found.low > found.high) return;
        found.at = std::clamp(found.at, found.low, found.high);
        if (found.low == beside.low && found.low > 0.0) found.before = 0;
        if (found.high == beside.high && found.high < 1.0) found.after = 0;
        zones.push_back(found);
    });
    sweep.piece(0, c, count_, error_);
    sweep.finish();
}

// Where the other part is beside the graph, not before or after it: all of it unless its abscissa
// only rises or only falls.
PartInterval GraphIntersection::beside_graph() const {
    const int n = other_.degree;
    const PlaneVector chord = other_.chord();
    const double sense = dot(chord, along_) < 0.0 ? -1.0 : 1.0;
    const double rounding = 0.25 * reach_;
    for (int i = 0; i < n; ++i)
        if (sense * dot(other_.pole(i + 1) - other_.pole(i), along_) * scale_ < -rounding)
            return {};
    PartInterval beside;
    double g[max_poles];
    for (const double end : {-1.0, 1.0}) {
        const double x = end * (1.0 + reach_);
        for (int i = 0; i <= n; ++i)
            g[i] = dot(along_, PlaneVector{other_.x[i], other_.y[i]} - middle_ * other_.w[i]) *
                       scale_ -
                   x * other_.w[i];
        if (end < 0.0 ? std::min(g[0], g[n]) >= 0.0 : std::max(g[0], g[n]) <= 0.0) continue;
        if (end < 0.0 ? std::max(g[0], g[n]) < 0.0 : std::min(g[0], g[n]) > 0.0) return {1.0, 0.0};
        const double at = polished_zero(g, n + 1).x;
        if ((end < 0.0) == (sense > 0.0))
            beside.low = at;
        else
            beside.high = at;
    }
    return beside;
}

bool GraphIntersection::settle(GraphZone& zone, double least, double most) const {
    constexpr int most_order = 7;
    const double width = std::max(zone.high - zone.low, 0x1p-40);
    double c[max_foot_count], lower[max_foot_count];
    int count = 0, lower_count = 0;
    double from = 0.0, to = 1.0;
    // Whether a derivative has one sign on a window around the zone, as many times as wide.
    const auto derivative_is_certain = [&](double times, int order) {
        from = std::max(least, zone.low - times * width);
        to = std::min(most, zone.high + times * width);
        count = count_;
        std::copy_n(c_, count, c);
        if (from > 0.0 || to < 1.0) restrict_row({c, count, 1}, from, to);
        double error = error_;
        for (int k = 0; k < order; ++k) {
            lower_count = count;
            std::copy_n(c, count, lower);
            differentiate(c, count);
            error *= 2.0;
        }
        return certain_sign(c, count, error) != 0;
    };
    // That of the least order which is certain on some window bounds the multiplicity. On windows
    // that are too narrow roundings hide it, on wide ones something else may turn.
    constexpr double narrow = 8.0, wider = 4.0, widest = 0x1p15;
    const bool parity_known = zone.before != 0 && zone.after != 0;
    const int parity = zone.before == zone.after ? 0 : 1;
    const auto is_certain_somewhere = [&](int order) {
        if (parity_known && order % 2 != parity) return false;
        for (double times = narrow; times <= widest; times *= wider) {
            if (derivative_is_certain(times, order)) return true;
            if (from <= least && to >= most) return false;
        }
        return false;
    };
    int order = 1;
    while (order <= most_order && order < count_ && !is_certain_somewhere(order))
        ++order;
    if (order > most_order || order >= count_) {
        zone.order = order_by_growth(zone, least, most);
        return false;
    }
    zone.order = order - 1;
    if (order > 3) { // which roundings may have raised
        const int guess = order_by_growth(zone, least, most);
        if (guess >= 2) zone.order = std::min(zone.order, guess);
    }
    // The zero of the derivative before that one, from as wide a part as it is known in.
    for (const double times : {0x1p60, widest, 0x1p11, 512.0, 128.0, 32.0, narrow}) {
        if (!derivative_is_certain(times, order)) continue;
        const double first = lower[0], last = lower[lower_count - 1];
        double at = 0.0;
        if ((first < 0.0) != (last < 0.0))
            at = from + polished_zero(lower, lower_count).x * (to - from);
        else
            at = std::fabs(first) < std::fabs(last) ? from : to;
        zone.at = std::clamp(at, zone.low, zone.high);
        return zone.order == order - 1;
    }
    return false;
}

// For zones that are wide against the part: x^m grows by 2^m from a place to one twice as far.
int GraphIntersection::order_by_growth(const GraphZone& zone, double least, double most) const {
    const double middle = zone.low <= 0.0    ? 0.0
                          : zone.high >= 1.0 ? 1.0
                                             : 0.5 * (zone.low + zone.high);
    double growth = 0.0;
    int sides = 0;
    const double before = middle - least, after = most - middle;
    double reach = std::max(before, after);
    if (zone.low > 0.0 && zone.high < 1.0) reach = std::min(before, after);
    constexpr double wide = 32.0;
    reach = std::min(reach, wide * (zone.high - zone.low));
    for (const double way : {-reach, reach}) {
        if (middle + way < 0.0 || middle + way > 1.0) continue;
        double far = 0.0, near = 0.0;
        row_value({c_, count_, 1}, middle + way, &far);
        row_value({c_, count_, 1}, middle + 0.5 * way, &near);
        if (!(std::fabs(near) > error_)) return -1;
        growth += std::log2(std::fabs(far / near));
        ++sides;
    }
    if (sides == 0) return -1;
    const double order = growth / sides - 1.0;
    if (zone.before == 0 || zone.after == 0)
        return std::max(0, static_cast<int>(std::lround(order)));
    const int odd = zone.before == zone.after ? 1 : 0; // even sides: an odd order
    return std::max(odd, 2 * static_cast<int>(std::lround(0.5 * (order - odd))) + odd);
}

bool GraphIntersection::is_beside(const CurvePart& other_part) const {
    for (int i = 0; i <= other_part.degree; ++i)
        if (std::fabs(abscissa(other_part.pole(i))) > 1.0 + 2.0 * reach_) return false;
    return true;
}

PartInterval GraphIntersection::below(const CurvePart& other_part) const {
    double least = HUGE_VAL, most = -HUGE_VAL;
    for (int i = 0; i <= other_part.degree; ++i) {
        const double x = abscissa(other_part.pole(i));
        least = std::min(least, x);
        most = std::max(most, x);
    }
    least -= reach_;
    most += reach_;
    if (most < -1.0 || least > 1.0) return {1.0, 0.0};
    return {parameter_at(least), parameter_at(most)};
}

double GraphIntersection::parameter_below(PlaneVector p) const { return parameter_at(abscissa(p)); }

bool GraphIntersection::ends_at(double v) const {
    constexpr double end = 1.0 - 1e-9;
    return v <= 0.0 || v >= 1.0 || std::fabs(abscissa(other_.at(v).point)) >= end;
}

double GraphIntersection::parameter_at(double x) const {
    if (x <= -1.0) return 0.0;
    if (x >= 1.0) return 1.0;
    if (graph_.degree == 1 && !graph_.rational) return 0.5 * (x + 1.0);
    double g[max_poles];
    for (int i = 0; i <= graph_.degree; ++i)
        g[i] = dot(along_, PlaneVector{graph_.x[i], graph_.y[i]} - middle_ * graph_.w[i]) * scale_ -
               x * graph_.w[i];
    if (g[0] >= 0.0) return 0.0;
    if (g[graph_.degree] <= 0.0) return 1.0;
    return polished_zero(g, graph_.degree + 1).x;
}

} // namespace velm::detail
