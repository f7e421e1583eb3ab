#include "velm/surfaces/detail/leaf_polynomial.h"

namespace velm::detail {
namespace {

// Replaces a row of `count` groups of `width` doubles, `step` doubles from one to the next, by
// that over the part middle +- half: Taylor's shift by Horner's scheme, then powers of half.
void shift_row(double* row, int count, std::ptrdiff_t step, int width, double middle, double half) {
    if (middle != 0.0)
        for (int k = 0; k < count - 1; ++k)
            for (int i = count - 2; i >= k; --i)
                for (int c = 0; c < width; ++c)
                    row[i * step + c] += middle * row[(i + 1) * step + c];
    double power = 1.0;
    for (int i = 1; i < count; ++i) {
        power *= half;
        for (int c = 0; c < width; ++c)
            row[i * step + c] *= power;
    }
}

// The least of g x + h x^2 / 2 between two limits.
double least_on_side(double g, double h, double low, double high, double& x) {
    const auto value = [=](double at) { return at * (g + 0.5 * h * at); };
    x = value(low) <= value(high) ? low : high;
    if (h > 0.0) x = std::clamp(-g / h, low, high);
    return value(x);
}

} // namespace

void power_jet_at(const double* coefs, int p, int q, double s, double t, LeafJet& jet) {
    with_leaf_degrees(p, q, [&](auto pu, auto qv) { power_jet(coefs, pu, qv, s, t, jet); });
}

void power_part(const double* coefs, int p, int q, const double* middle, const double* half,
                double* out) {
    std::copy_n(coefs, 4 * (p + 1) * (q + 1), out);
    shift_row(out, q + 1, 4 * (p + 1), 4 * (p + 1), middle[1], half[1]);
    for (int j = 0; j <= q; ++j)
        shift_row(out + 4 * j * (p + 1), p + 1, 4, 4, middle[0], half[0]);
}

void power_product(const double* a, const double* b, int p, int q, const double* sign,
                   double* out) {
    const int width = 2 * p + 1;
    std::fill_n(out, width * (2 * q + 1), 0.0);
    for (int ja = 0; ja <= q; ++ja)
        for (int ia = 0; ia <= p; ++ia) {
            const double* const x = a + 4 * (ja * (p + 1) + ia);
            const double sx[4] = {sign[0] * x[0], sign[1] * x[1], sign[2] * x[2], sign[3] * x[3]};
            for (int jb = 0; jb <= q; ++jb) {
                const double* y = b + 4 * jb * (p + 1);
                double* const to = out + (ja + jb) * width + ia;
                for (int ib = 0; ib <= p; ++ib, y += 4)
                    to[ib] += (sx[0] * y[0] + sx[1] * y[1]) + (sx[2] * y[2] + sx[3] * y[3]);
            }
        }
}

QuadraticPart::QuadraticPart(const double* coefs, int p, int q) {
    const auto at = [=](int i, int j) { return i <= p && j <= q ? coefs[j * (p + 1) + i] : 0.0; };
    c = at(0, 0);
    g[0] = at(1, 0), g[1] = at(0, 1);
    h[0] = 2.0 * at(2, 0), h[1] = at(1, 1), h[2] = 2.0 * at(0, 2);
    rest = turn[0] = turn[1] = turn[2] = fold[0] = fold[1] = 0.0;
    const bool bent_along_t = h[2] > h[0];
    for (int j = 0; j <= q; ++j)
        for (int i = std::max(0, 3 - j); i <= p; ++i) {
            const double size = std::fabs(coefs[j * (p + 1) + i]);
            rest += size;
            fold[j >= 2 && (bent_along_t || i < 2) ? 1 : 0] += size;
            // An even power is in [0, 1], an odd one in [-1, 1].
            const double ends = (i | j) & 1 ? 2.0 * size : size;
            turn[0] += i * (i - 1) * ends;
            turn[1] += i * j * ((i & j & 1) ? size : 2.0 * size);
            turn[2] += j * (j - 1) * ends;
        }
}

double least_of_convex(const double* g, const double* h, const double* low, const double* high,
                       double* x) {
    const double inverse = 1.0 / (h[0] * h[2] - h[1] * h[1]);
    double a = (h[1] * g[1] - h[2] * g[0]) * inverse, b = (h[1] * g[0] - h[0] * g[1]) * inverse;
    const bool out_a = !(a >= low[0] && a <= high[0]), out_b = !(b >= low[1] && b <= high[1]);
    if (!out_a && !out_b) {
        x[0] = a, x[1] = b;
        return 0.5 * (g[0] * a + g[1] * b);
    }
    // A side that separates the least value of the plane from the box holds that of the box.
    double least = HUGE_VAL;
    const auto side = [&](int fixed, double at) {
        const int free = 1 - fixed;
        const double hf = h[2 * free], slope = g[free] + h[1] * at;
        const double along = std::clamp(-slope / hf, low[free], high[free]);
        const double value =
            at * (g[fixed] + 0.5 * h[2 * fixed] * at) + along * (slope + 0.5 * hf * along);
        if (value < least) least = value, x[fixed] = at, x[free] = along;
    };
    if (out_a) side(0, a < low[0] ? low[0] : high[0]);
    if (out_b) side(1, b < low[1] ? low[1] : high[1]);
    return least;
}

double least_of_quadratic(const double* g, const double* h, const double* low, const double* high,
                          double* x) {
    if (h[0] > 0.0 && h[0] * h[2] > h[1] * h[1]) return least_of_convex(g, h, low, high, x);
    double least = HUGE_VAL;
    for (int fixed = 0; fixed < 2; ++fixed)
        for (const double at : {low[fixed], high[fixed]}) {
            const int free = 1 - fixed;
            double along = 0.0;
            const double value =
                at * (g[fixed] + 0.5 * h[2 * fixed] * at) +
                least_on_side(g[free] + h[1] * at, h[2 * free], low[free], high[free], along);
            if (value < least) least = value, x[fixed] = at, x[free] = along;
        }
    return least;
}

double lower_bound_of(const QuadraticPart& part, const double* low, const double* high, double* x) {
    const double apart = least_of_quadratic(part.g, part.h, low, high, x) - part.rest;
    const double bent[3] = {part.h[0] - 2.0 * part.fold[0], part.h[1],
                            part.h[2] - 2.0 * part.fold[1]};
    double unused[2];
    return part.c + std::max(apart, least_of_quadratic(part.g, bent, low, high, unused));
}

} // namespace velm::detail
