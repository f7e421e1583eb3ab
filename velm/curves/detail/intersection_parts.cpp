#include "velm/curves/detail/intersection_parts.h"

#include <algorithm>
#include <cmath>

namespace velm::detail {
namespace {

// Bounds the rounding of a parameter that a clip computes.
constexpr double clip_slack = 8.0 * half_ulp;

} // namespace

void keep_below(const double* g, int degree, PartInterval& kept) {
    int positive = 0;
    for (int i = 0; i <= degree; ++i)
        positive += g[i] > 0.0 ? 1 : 0;
    if (positive == 0) return;
    if (positive > degree) {
        kept = {1.0, 0.0};
        return;
    }
    // The hull enters at the first of the lines from a coefficient above to one below.
    const auto entry = [&](int i, int j) { return (i + g[i] / (g[i] - g[j]) * (j - i)) / degree; };
    if (g[0] > 0.0) {
        double low = 1.0;
        for (int i = 0; i < degree; ++i)
            for (int j = i + 1; g[i] > 0.0 && j <= degree; ++j)
                if (g[j] <= 0.0) low = std::min(low, entry(i, j));
        kept.low = std::max(kept.low, low - clip_slack);
    }
    if (g[degree] > 0.0) {
        double high = 0.0;
        for (int i = degree; i > 0; --i)
            for (int j = i - 1; g[i] > 0.0 && j >= 0; --j)
                if (g[j] <= 0.0) high = std::max(high, entry(i, j));
        kept.high = std::min(kept.high, high + clip_slack);
    }
}

namespace {

// One of the coordinates of the parts, with the polynomials that bound it.
void keep_strip(const double* distance, const CurvePart& of, double least, double most,
                PartInterval& kept) {
    double g[max_poles];
    g[0] = 0.0; // for the compiler, which can't know that there are poles
    for (int i = 0; i <= of.degree; ++i)
        g[i] = distance[i] - most * of.w[i];
    keep_below(g, of.degree, kept);
    for (int i = 0; i <= of.degree; ++i)
        g[i] = least * of.w[i] - distance[i];
    keep_below(g, of.degree, kept);
}

// Cuts [low, high] out of one component, by de Casteljau's scheme at high and then at low / high.
void cut_component(const double* c, int degree, double low, double high, double* out) {
    std::copy_n(c, degree + 1, out);
    if (high < 1.0) {
        for (int k = 1; k <= degree; ++k)
            for (int i = degree; i >= k; --i)
                out[i] = (1.0 - high) * out[i - 1] + high * out[i];
    }
    if (low > 0.0) {
        const double t = low / high;
        for (int k = 1; k <= degree; ++k)
            for (int i = 0; i <= degree - k; ++i)
                out[i] = (1.0 - t) * out[i] + t * out[i + 1];
    }
}

} // namespace

void CurvePart::take(const PreparedPieces<2>& tables, const Piece<2>& piece, PlaneVector shift) {
    from = 0.0;
    to = 1.0;
    degree = piece.degree;
    rational = piece.rational;
    const double* pole = tables.poles(piece);
    for (int i = 0; i <= degree; ++i, pole += 3) {
        w[i] = pole[2];
        x[i] = pole[0] + shift.x * pole[2];
        y[i] = pole[1] + shift.y * pole[2];
    }
    set_poles();
}

void CurvePart::cut(double low, double high, CurvePart& part) const {
    part.from = low;
    part.to = high;
    part.degree = degree;
    part.rational = rational;
    cut_component(x, degree, low, high, part.x);
    cut_component(y, degree, low, high, part.y);
    if (rational)
        cut_component(w, degree, low, high, part.w);
    else
        std::fill_n(part.w, degree + 1, 1.0);
    part.set_poles();
}

void CurvePart::set_poles() {
    for (int i = 0; i <= degree; ++i) {
        const double inverse = rational ? 1.0 / w[i] : 1.0;
        px[i] = x[i] * inverse;
        py[i] = y[i] * inverse;
    }
}

double CurvePart::extent() const {
    const auto [left, right] = std::minmax_element(px, px + degree + 1);
    const auto [low, high] = std::minmax_element(py, py + degree + 1);
    return std::hypot(*right - *left, *high - *low);
}

PointAndSlope CurvePart::at(double u) const {
    double b[3][max_poles];
    const double v = 1.0 - u;
    const int components = rational ? 3 : 2;
    const double* const rows[3] = {x, y, w};
    double value[3] = {0.0, 0.0, 1.0}, slope[3] = {};
    for (int c = 0; c < components; ++c) {
        double* row = b[c];
        std::copy_n(rows[c], degree + 1, row);
        for (int left = degree; left > 1; --left)
            for (int i = 0; i < left; ++i)
                row[i] = v * row[i] + u * row[i + 1];
        value[c] = v * row[0] + u * row[1];
        slope[c] = degree * (row[1] - row[0]);
    }
    const double inverse = rational ? 1.0 / value[2] : 1.0;
    const PlaneVector p{value[0] * inverse, value[1] * inverse};
    return {p, {(slope[0] - p.x * slope[2]) * inverse, (slope[1] - p.y * slope[2]) * inverse}};
}

PartInterval clip(const CurvePart& by, const CurvePart& of, double apart) {
    PlaneVector along = by.chord();
    const double length = norm(along);
    along = length > apart ? along * (1.0 / length) : PlaneVector{1.0, 0.0};
    const PlaneVector start = by.pole(0);
    double low = 0.0, high = 0.0, back = 0.0, front = 0.0;
    for (int i = 1; i <= by.degree; ++i) {
        const PlaneVector p = by.pole(i) - start;
        const double across = cross(along, p), ahead = dot(along, p);
        low = std::min(low, across);
        high = std::max(high, across);
        back = std::min(back, ahead);
        front = std::max(front, ahead);
    }
    double across[max_poles], ahead[max_poles];
    for (int i = 0; i <= of.degree; ++i) {
        const PlaneVector p{of.x[i] - start.x * of.w[i], of.y[i] - start.y * of.w[i]};
        across[i] = cross(along, p);
        ahead[i] = dot(along, p);
    }
    PartInterval kept;
    keep_strip(across, of, low - apart, high + apart, kept);
    if (!kept.empty()) keep_strip(ahead, of, back - apart, front + apart, kept);
    return kept;
}

Transversality transversality(const CurvePart& a, const CurvePart& b, double pole_error) {
    PlaneVector steps_b[max_poles];
    double lengths_b[max_poles];
    const auto bound_slope = [](const CurvePart& part, double least_step) {
        const auto [least, most] = std::minmax_element(part.w, part.w + part.degree + 1);
        return part.degree * std::max(least_step, 0.0) * (*least / *most) * (*least / *most);
    };
    const auto unit_chord = [](const CurvePart& part) {
        const PlaneVector chord = part.chord();
        const double length = norm(chord);
        return length > 0.0 ? chord * (1.0 / length) : chord;
    };
    const PlaneVector along_a = unit_chord(a), along_b = unit_chord(b);
    double least_a = HUGE_VAL, least_b = HUGE_VAL;
    for (int j = 0; j < b.degree; ++j) {
        steps_b[j] = b.pole(j + 1) - b.pole(j);
        lengths_b[j] = norm(steps_b[j]);
        least_b = std::min(least_b, dot(steps_b[j], along_b) - 2.0 * pole_error);
    }
    Transversality result;
    double sine = 1.0;
    int sense = 0;
    for (int i = 0; i < a.degree; ++i) {
        const PlaneVector step = a.pole(i + 1) - a.pole(i);
        const double length = norm(step);
        least_a = std::min(least_a, dot(step, along_a) - 2.0 * pole_error);
        if (length <= pole_error) continue; // a pole that repeats
        for (int j = 0; j < b.degree; ++j) {
            if (lengths_b[j] <= pole_error) continue;
            const double product = cross(step, steps_b[j]);
            const double certain = std::fabs(product) - 2.0 * pole_error * (length + lengths_b[j]);
            const int sign = product > 0.0 ? 1 : -1;
            if (!(certain > 0.0) || (sense != 0 && sign != sense)) return result;
            sense = sign;
            sine = std::min(sine, certain / (length * lengths_b[j]));
        }
    }
    if (sense == 0) return result;
    result.sine = sine;
    result.slope_a = bound_slope(a, least_a);
    result.slope_b = bound_slope(b, least_b);
    result.left = sense > 0;
    return result;
}

} // namespace velm::detail
