#include "velm/surfaces/detail/pair_zeros.h"

#include "velm/surfaces/detail/leaf_polynomial.h"

#include <algorithm>
#include <cmath>

namespace velm::detail {
namespace {

// Parts this small are reported as they are: a double zero is uncertain by the root of a rounding.
constexpr double smallest_part = 0x1p-22;
// Parts that one search looks at; a line in the surface leaves thousands.
constexpr int most_parts = 6000;
// A part that loses less than this part of an extent is halved as well.
constexpr double worthwhile = 0.7;
// Where the derivatives of the rest are less than this, each step comes nearer by as much; Newton's
// own steps are taken this near to the zero.
constexpr double contraction = 0.5, near = 0.01;
// A zero this far beyond the square is taken to be on its side.
constexpr double beyond_side = 1e-11;

// Value and derivatives of both polynomials.
struct Values {
    double f[2], by_s[2], by_t[2];

    Values(const double* coefs, int p, int q, const double* x) {
        LeafJet jet;
        power_jet_at(coefs, p, q, x[0], x[1], jet);
        for (int k = 0; k < 2; ++k)
            f[k] = jet.x[0][k], by_s[k] = jet.x[1][k], by_t[k] = jet.x[2][k];
    }
    // To the nearest zero of the steeper polynomial, by its derivatives.
    bool step_to_line(double* dx) const {
        const auto square = [this](int k) { return by_s[k] * by_s[k] + by_t[k] * by_t[k]; };
        const int k = square(0) >= square(1) ? 0 : 1;
        dx[0] = -f[k] * by_s[k] / square(k);
        dx[1] = -f[k] * by_t[k] / square(k);
        return std::isfinite(dx[0]) && std::isfinite(dx[1]);
    }
    // Newton's step; false where the derivatives are parallel.
    bool step(double* dx) const {
        const double det = by_s[0] * by_t[1] - by_t[0] * by_s[1];
        dx[0] = (by_t[0] * f[1] - by_t[1] * f[0]) / det;
        dx[1] = (by_s[1] * f[0] - by_s[0] * f[1]) / det;
        return std::isfinite(dx[0]) && std::isfinite(dx[1]);
    }
};

// Whether the polynomials are multiples of each other over a part, but for rounding: along the
// steepest term nothing else is left.
bool are_dependent(const double* coefs, int p, int q, double error) {
    const double *const at_s = coefs + 4, *const at_t = coefs + 4 * (p + 1);
    const double s = std::hypot(at_s[0], at_s[1]), t = std::hypot(at_t[0], at_t[1]);
    const double* const along = s >= t ? at_s : at_t;
    const double length = std::max(s, t);
    if (!(length > 0.0)) return false;
    double across = 0.0;
    for (int n = 0; n < (p + 1) * (q + 1); ++n)
        across += std::fabs(along[0] * coefs[4 * n + 1] - along[1] * coefs[4 * n]);
    return across <= 4.0 * error * length;
}

// Makes a place hold another one.
void widen(PairZero& zero, const PairZero& other) {
    for (int k = 0; k < 2; ++k) {
        const double low = std::min(other.x[k] - other.reach[k], zero.x[k] - zero.reach[k]);
        const double high = std::max(other.x[k] + other.reach[k], zero.x[k] + zero.reach[k]);
        zero.x[k] = 0.5 * (low + high), zero.reach[k] = 0.5 * (high - low);
    }
    zero.line = zero.line || other.line;
}

} // namespace

// Whether a part's polynomials have no zero, one, or only zeros between `low` and `high`.
PairZeros::Verdict PairZeros::judge(const double* coefs, int p, int q, double error, double* zero,
                                    double* low, double* high) const {
    const double *const at_s = coefs + 4, *const at_t = coefs + 4 * (p + 1);
    double others[2] = {};
    for (int k = 0; k < 2; ++k) {
        for (int n = 1; n < (p + 1) * (q + 1); ++n)
            others[k] += std::fabs(coefs[4 * n + k]);
        if (std::fabs(coefs[k]) > others[k] + error) return Verdict::none;
    }
    const double det = at_s[0] * at_t[1] - at_t[0] * at_s[1];
    const double inverse[2][2] = {{at_t[1] / det, -at_t[0] / det}, {-at_s[1] / det, at_s[0] / det}};
    if (!std::isfinite(inverse[0][0] + inverse[0][1] + inverse[1][0] + inverse[1][1]))
        return Verdict::open;
    double rest[2] = {}, turn[2] = {};
    for (int j = 0; j <= q; ++j)
        for (int i = std::max(0, 2 - j); i <= p; ++i) {
            const double* const c = coefs + 4 * (j * (p + 1) + i);
            for (int k = 0; k < 2; ++k) {
                const double size = std::fabs(inverse[k][0] * c[0] + inverse[k][1] * c[1]);
                rest[k] += size;
                turn[k] += (i + j) * size;
            }
        }
    bool is_smaller = false;
    for (int k = 0; k < 2; ++k) {
        const double rounding = error * (std::fabs(inverse[k][0]) + std::fabs(inverse[k][1]));
        turn[k] += 2.0 * rounding; // linear terms that are rounding alone invert to anything
        const double value = inverse[k][0] * coefs[0] + inverse[k][1] * coefs[1];
        const double within = rest[k] + rounding + beyond_side;
        low[k] = std::max(-1.0, -value - within);
        high[k] = std::min(1.0, -value + within);
        if (!(low[k] <= high[k])) return Verdict::none;
        zero[k] = std::clamp(-value, -1.0, 1.0);
        is_smaller = is_smaller || high[k] - low[k] < 2.0 * worthwhile;
    }
    if (turn[0] < contraction && turn[1] < contraction) {
        constexpr int most_steps = 60;
        for (int step = 0; step < most_steps; ++step) {
            double dx[2];
            const Values values(coefs, p, q, zero);
            dx[0] = -inverse[0][0] * values.f[0] - inverse[0][1] * values.f[1];
            dx[1] = -inverse[1][0] * values.f[0] - inverse[1][1] * values.f[1];
            const double length = std::max(std::fabs(dx[0]), std::fabs(dx[1]));
            double newton[2];
            if (length < near && values.step(newton)) std::copy_n(newton, 2, dx);
            zero[0] += dx[0], zero[1] += dx[1];
            const double out = std::max(std::fabs(zero[0]), std::fabs(zero[1]));
            if (out > 3.0) return Verdict::none;
            if (length < 1e-13) break;
        }
        const double slack =
            beyond_side + error * std::max(std::fabs(inverse[0][0]) + std::fabs(inverse[0][1]),
                                           std::fabs(inverse[1][0]) + std::fabs(inverse[1][1]));
        return std::max(std::fabs(zero[0]), std::fabs(zero[1])) <= 1.0 + slack ? Verdict::one
                                                                               : Verdict::none;
    }
    return is_smaller ? Verdict::smaller : Verdict::open;
}

void PairZeros::simple(const Part& part, const double* zero) {
    PairZero found = {};
    for (int k = 0; k < 2; ++k)
        found.x[k] = std::clamp(part.middle[k] + part.half[k] * zero[k], -1.0, 1.0);
    found.simple = true;
    // A zero on the side between two parts is found in both.
    for (int i = 0; i < count_; ++i) {
        const PairZero& other = zeros_[static_cast<std::size_t>(i)];
        if (other.simple && std::fabs(other.x[0] - found.x[0]) <= 100.0 * beyond_side &&
            std::fabs(other.x[1] - found.x[1]) <= 100.0 * beyond_side)
            return;
    }
    if (count_ == most) return join(part, false);
    zeros_[static_cast<std::size_t>(count_++)] = found;
}

void PairZeros::join(const Part& part, bool line) {
    PairZero found = {{part.middle[0], part.middle[1]}, {part.half[0], part.half[1]}, false, line};
    for (int i = 0; i < count_;) {
        PairZero& other = zeros_[static_cast<std::size_t>(i)];
        bool meet = true;
        for (int k = 0; k < 2; ++k) // with a gap of two parts, which rounding may leave
            meet = meet && std::fabs(other.x[k] - found.x[k]) <=
                               other.reach[k] + found.reach[k] + 4.0 * smallest_part;
        if (!meet) {
            ++i;
            continue;
        }
        widen(found, other);
        other = zeros_[static_cast<std::size_t>(--count_)];
        i = 0;
    }
    if (count_ == most) { // none is left out
        widen(found, zeros_[most - 1]);
        --count_;
    }
    zeros_[static_cast<std::size_t>(count_++)] = found;
}

void PairZeros::find(const double* coefs, int p, int q, double error, double* part) {
    count_ = 0;
    Part waiting[64];
    int depth = 0, parts = 0;
    waiting[depth++] = {{0.0, 0.0}, {1.0, 1.0}};
    while (depth > 0) {
        Part now = waiting[--depth];
        power_part(coefs, p, q, now.middle, now.half, part);
        double zero[2], low[2], high[2];
        const Verdict verdict = judge(part, p, q, error, zero, low, high);
        if (verdict == Verdict::none) continue;
        if (verdict == Verdict::one) {
            simple(now, zero);
            continue;
        }
        double size = 0.0;
        for (int n = 0; n < (p + 1) * (q + 1); ++n)
            size = std::max({size, std::fabs(part[4 * n]), std::fabs(part[4 * n + 1])});
        if (std::max(now.half[0], now.half[1]) <= smallest_part || size <= error ||
            ++parts > most_parts) {
            join(now, false);
            continue;
        }
        if (verdict == Verdict::smaller) {
            // An extent that is the least already can't be what gets smaller.
            Part less = now;
            bool is_less = false;
            for (int k = 0; k < 2; ++k) {
                const double least = std::min(now.half[k], 0.5 * smallest_part);
                const double middle = 0.5 * (low[k] + high[k]);
                less.middle[k] += now.half[k] * middle;
                less.half[k] = std::max(now.half[k] * 0.5 * (high[k] - low[k]), least);
                is_less = is_less || less.half[k] < worthwhile * now.half[k];
            }
            if (is_less) {
                waiting[depth++] = less;
                continue;
            }
        }
        if (are_dependent(part, p, q, error)) {
            join(now, true);
            continue;
        }
        const int k = now.half[0] >= now.half[1] ? 0 : 1;
        Part first = now, second = now;
        first.half[k] = second.half[k] = 0.5 * now.half[k];
        first.middle[k] -= first.half[k];
        second.middle[k] += second.half[k];
        waiting[depth++] = second;
        waiting[depth++] = first;
    }
    // A double zero: Newton's method comes nearer by half in each step.
    for (int i = 0; i < count_; ++i) {
        PairZero& zero = zeros_[static_cast<std::size_t>(i)];
        if (zero.simple) continue;
        double x[2] = {zero.x[0], zero.x[1]}, dx[2];
        for (int step = 0; step < 12; ++step) {
            const Values values(coefs, p, q, x);
            if (!(zero.line ? values.step_to_line(dx) : values.step(dx))) break;
            for (int k = 0; k < 2; ++k)
                x[k] =
                    std::clamp(x[k] + dx[k], zero.x[k] - zero.reach[k], zero.x[k] + zero.reach[k]);
        }
        for (int k = 0; k < 2; ++k)
            zero.x[k] = std::clamp(x[k], -1.0, 1.0);
    }
}

} // namespace velm::detail
