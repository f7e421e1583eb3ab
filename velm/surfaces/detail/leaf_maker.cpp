#include "velm/surfaces/detail/leaf_maker.h"

#include "velm/numerics/detail/triples.h"

#include <algorithm>
#include <cmath>

namespace velm::detail {
namespace {

// A leaf is convex for points nearer than this many of its diagonals; else it is cut.
constexpr double convex_reach = 0.5;
// The thickness of a leaf along its mean normal is at most this part of its diagonal.
constexpr double most_thickness = 0x1p-4;
// Leaves no larger than this part of the surface are not cut.
constexpr double small_leaf = 0x1p-12;

// The coefficients of s^k in Bernstein's polynomials i of (1 + s) / 2: element k (n + 1) + i.
std::vector<DoubleDouble> power_matrix(int n) {
    const auto size = static_cast<std::size_t>(n) + 1;
    std::vector<DoubleDouble> basis(size * size); // row i, powers along it
    basis[0] = 1.0;
    const DoubleDouble half = 0.5;
    for (std::size_t degree = 1; degree < size; ++degree)
        for (std::size_t i = degree + 1; i-- > 0;)
            for (std::size_t k = degree + 1; k-- > 0;) {
                const auto at = [&](std::size_t row, std::size_t power, bool exists) {
                    return exists ? basis[row * size + power] : DoubleDouble();
                };
                const DoubleDouble own = at(i, k, i < degree && k < degree);
                const DoubleDouble own_less = at(i, k - 1, i < degree && k > 0);
                const DoubleDouble before = at(i - 1, k, i > 0 && k < degree);
                const DoubleDouble before_less = at(i - 1, k - 1, i > 0 && k > 0);
                basis[i * size + k] = half * ((own - own_less) + (before + before_less));
            }
    std::vector<DoubleDouble> matrix(size * size);
    for (std::size_t i = 0; i < size; ++i)
        for (std::size_t k = 0; k < size; ++k)
            matrix[k * size + i] = basis[i * size + k];
    return matrix;
}

// Replaces `count` groups of `width` doubles, `step` from one to the next, by their power form.
void to_power(double* row, int count, std::ptrdiff_t step, int width,
              const std::vector<DoubleDouble>& matrix, int plain) {
    double sums[65];
    for (int c = 0; c < width; ++c) {
        for (int k = 0; k < count; ++k) {
            const DoubleDouble* const factor = &matrix[static_cast<std::size_t>(k * count)];
            if (count - 1 <= plain) {
                double sum = 0.0;
                for (int i = 0; i < count; ++i)
                    sum += factor[i].hi * row[i * step + c];
                sums[k] = sum;
            } else {
                DoubleDouble sum;
                for (int i = 0; i < count; ++i)
                    sum = accurate_sum(sum, factor[i] * DoubleDouble(row[i * step + c]));
                sums[k] = sum.value();
            }
        }
        for (int k = 0; k < count; ++k)
            row[k * step + c] = sums[k];
    }
}

double norm(const double* x) { return std::sqrt(dot3(x, x)); }

double normalise(double* a) {
    const double length = std::sqrt(dot3(a, a));
    if (length > 0.0)
        for (int c = 0; c < 3; ++c)
            a[c] /= length;
    return length;
}

} // namespace

LeafMaker::LeafMaker(int p, int q, bool rational, double size, int plain)
    : p_(p), q_(q), rational_(rational), size_(size), plain_(plain), power_u_(power_matrix(p)),
      power_v_(power_matrix(q)), count_(static_cast<std::size_t>(4 * (p + 1) * (q + 1))),
      poles_(count_), coefs_(count_), product_(static_cast<std::size_t>((2 * p + 1) * (2 * q + 1))),
      unit_(count_) {}

const double* LeafMaker::corner(int i, int j) const {
    return &poles_[static_cast<std::size_t>(4 * (j * q_ * (p_ + 1) + i * p_))];
}

void LeafMaker::make(const std::vector<double>& poles, const double* origin, double error,
                     SurfaceLeaf& leaf, OrientedBox& box) {
    leaf.error = error;
    poles_ = poles;
    double middle[3] = {};
    for (int c = 0; c < 3; ++c) {
        for (int k = 0; k < 4; ++k)
            middle[c] += 0.25 * corner(k & 1, k >> 1)[c] / corner(k & 1, k >> 1)[3];
        leaf.centre[c] = origin[c] + middle[c];
        middle[c] = leaf.centre[c] - origin[c]; // what is a rounding away stays in the poles
    }
    leaf.least_weight = HUGE_VAL;
    points_.clear();
    for (std::size_t k = 0; k < count_; k += 4) {
        leaf.least_weight = std::min(leaf.least_weight, poles_[k + 3]);
        for (std::size_t c = 0; c < 3; ++c)
            points_.push_back(poles_[k + c] / poles_[k + 3] + origin[c]);
        for (std::size_t c = 0; c < 3; ++c)
            poles_[k + c] -= poles_[k + 3] * middle[c];
    }
    leaf.least_weight *= 1.0 - 0x1p-40; // rounding of the power form
    coefs_ = poles_;
    to_power(coefs_.data(), q_ + 1, 4 * (p_ + 1), 4 * (p_ + 1), power_v_, plain_);
    for (int j = 0; j <= q_; ++j)
        to_power(&coefs_[static_cast<std::size_t>(4 * j * (p_ + 1))], p_ + 1, 4, 4, power_u_,
                 plain_);
    enclose(error, box);
    judge(leaf, box);
}

// The box of the poles: along the mean normal, the direction of U and across both.
void LeafMaker::enclose(double error, OrientedBox& box) {
    double along_v[3];
    for (int c = 0; c < 3; ++c) {
        const auto mean = [&](int k) {
            return corner(k & 1, k >> 1)[c] / corner(k & 1, k >> 1)[3];
        };
        box.axis[0][c] = mean(1) - mean(0) + mean(3) - mean(2);
        along_v[c] = mean(2) - mean(0) + mean(3) - mean(1);
    }
    const double length_v = std::sqrt(dot3(along_v, along_v));
    if (!(normalise(box.axis[0]) > 0.0)) {
        std::copy_n(along_v, 3, box.axis[0]);
        if (!(normalise(box.axis[0]) > 0.0)) box.axis[0][0] = 1.0;
    }
    cross3(box.axis[0], along_v, box.axis[2]);
    if (!(normalise(box.axis[2]) > 1e-6 * length_v)) {
        // Any direction at right angles to the first.
        double other[3] = {};
        int least = 0;
        for (int c = 1; c < 3; ++c)
            if (std::fabs(box.axis[0][c]) < std::fabs(box.axis[0][least])) least = c;
        other[least] = 1.0;
        cross3(box.axis[0], other, box.axis[2]);
        normalise(box.axis[2]);
    }
    cross3(box.axis[2], box.axis[0], box.axis[1]);
    box.enclose(points_);
    for (int k = 0; k < 3; ++k)
        box.low[k] -= error, box.high[k] += error;
}

// Fills what bounds the second derivatives, and judges whether the leaf is small enough.
void LeafMaker::judge(SurfaceLeaf& leaf, const OrientedBox& box) {
    LeafJet jet;
    power_jet_at(coefs_.data(), p_, q_, 0.0, 0.0, jet);
    const double *const x = jet.x[0], *const xs = jet.x[1], *const xt = jet.x[2];
    double ps[3], pt[3];
    for (int c = 0; c < 3; ++c) {
        ps[c] = (xs[c] - xs[3] * x[c] / x[3]) / x[3];
        pt[c] = (xt[c] - xt[3] * x[c] / x[3]) / x[3];
    }
    const double e = dot3(ps, ps), f = dot3(ps, pt), g = dot3(pt, pt);
    const double ratio = leaf.ratio = e > 0.0 && g > 0.0 ? std::sqrt(e / g) : 1.0;
    const auto add = [ratio](const QuadraticPart& part, double factor, double* turn) {
        turn[0] += factor * (part.turn[0] + ratio * part.turn[1]);
        turn[1] += factor * (part.turn[2] + part.turn[1] / ratio);
    };
    const auto product = [&](const double* a, const double* b, const double* sign) {
        power_product(a, b, p_, q_, sign, product_.data());
        return QuadraticPart(product_.data(), 2 * p_, 2 * q_);
    };
    constexpr double points[4] = {1, 1, 1, 0}, weights[4] = {0, 0, 0, 1};
    const double* const r = coefs_.data();
    leaf.square = product(r, r, points);
    add(leaf.square, 0.5, leaf.turn[0]);
    for (std::size_t c = 0; c < 3; ++c) { // w times a component
        double bends[2] = {};
        add(weighted(c), 1.0, bends);
        leaf.turn[1][0] = std::sqrt(leaf.turn[1][0] * leaf.turn[1][0] + bends[0] * bends[0]);
        leaf.turn[1][1] = std::sqrt(leaf.turn[1][1] * leaf.turn[1][1] + bends[1] * bends[1]);
    }
    if (rational_) add(product(r, r, weights), 0.5, leaf.turn[2]);

    const double extent[3] = {box.high[0] - box.low[0], box.high[1] - box.low[1],
                              box.high[2] - box.low[2]};
    const double diagonal = std::sqrt(dot3(extent, extent));
    const double w2 = x[3] * x[3], reach = convex_reach * diagonal;
    const double loss_u = leaf.turn[0][0] + reach * (leaf.turn[1][0] + norm(jet.x[3])) +
                          reach * reach * leaf.turn[2][0];
    const double loss_v = leaf.turn[0][1] + reach * (leaf.turn[1][1] + norm(jet.x[5])) +
                          reach * reach * leaf.turn[2][1];
    const double ee = w2 * e - loss_u, gg = w2 * g - loss_v;
    const double mixed = w2 * std::fabs(f) + reach * norm(jet.x[4]);
    const bool convex = ee > 0.0 && gg > 0.0 && ee * gg > mixed * mixed;
    good_ = (convex && extent[2] <= most_thickness * diagonal &&
             w2 < 2.0 * leaf.least_weight * leaf.least_weight) ||
            diagonal < small_leaf * size_;
    cut_u_ = loss_u * g > loss_v * e || (loss_u * g == loss_v * e && e > g);
}
// Of the weight times a component.
QuadraticPart LeafMaker::weighted(std::size_t component) {
    for (std::size_t k = 0; k < count_; k += 4)
        if (rational_) {
            unit_[k + component] = coefs_[k + 3];
        } else {
            product_[k / 4] = coefs_[k + component];
        }
    if (!rational_) return {product_.data(), p_, q_};
    double sign[4] = {};
    sign[component] = 1.0;
    power_product(coefs_.data(), unit_.data(), p_, q_, sign, product_.data());
    for (std::size_t k = 0; k < count_; k += 4)
        unit_[k + component] = 0.0;
    return {product_.data(), 2 * p_, 2 * q_};
}

} // namespace velm::detail
