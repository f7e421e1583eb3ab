#include "velm/surfaces/detail/leaf_feet.h"

#include "velm/curves/detail/basis_functions.h"
#include "velm/numerics/detail/triples.h"
#include "velm/surfaces/detail/quotient_rule.h"

#include <algorithm>
#include <cmath>

namespace velm::detail {
namespace {

// Rounding of a product of the offset and a tangent, of the product of their sizes.
constexpr double product_rounding = 0x1p-47;

// Whether a derivative keeps its sign on the leaf.
bool far_from_stationary(const SurfaceLeaves& leaves, const SurfaceLeaf& leaf, const double* q) {
    if (leaves.rational) return false;
    const double* const r = leaves.poles(leaf);
    double e[3], reach = 0.0;
    for (int c = 0; c < 3; ++c) {
        e[c] = q[c] - leaf.centre[c];
        reach += e[c] * e[c];
    }
    reach = std::sqrt(reach);
    const auto along = [&](int i, int j) {
        if (i > leaves.degree_u || j > leaves.degree_v) return 0.0;
        const double* const x = r + 4 * (j * (leaves.degree_u + 1) + i);
        return e[0] * x[0] + e[1] * x[1] + e[2] * x[2];
    };
    const QuadraticPart& square = leaf.square;
    const double g[2] = {0.5 * square.g[0] - along(1, 0), 0.5 * square.g[1] - along(0, 1)};
    const double h[3] = {0.5 * square.h[0] - 2.0 * along(2, 0), 0.5 * square.h[1] - along(1, 1),
                         0.5 * square.h[2] - 2.0 * along(0, 2)};
    const double turn[2] = {leaf.turn[0][0] + reach * leaf.turn[1][0],
                            leaf.turn[0][1] + reach * leaf.turn[1][1]};
    // Forms E with |x . E x| <= x . D x have |E x|_k <= sqrt(D_k (D_0 + D_1)) on the square.
    constexpr double margin = 1.0 + 1e-9;
    for (int k = 0; k < 2; ++k)
        if (std::fabs(g[k]) > margin * (std::fabs(h[2 * k]) + std::fabs(h[1]) +
                                        std::sqrt(turn[k] * (turn[0] + turn[1]))))
            return true;
    return false;
}

// The numerators of the derivatives of |Y / w|^2 / 2: w (Y . Ys) - ws (Y . Y), of degree 3 p, which
// for w = 1 are Y . Ys.
void gradient(const SurfaceLeaves& leaves, const SurfaceLeaf& leaf, const double* query,
              double* grid, double* work) {
    const int p = leaves.degree_u, q = leaves.degree_v, p2 = 2 * p, q2 = 2 * q;
    const int p3 = leaves.rational ? 3 * p : p2, q3 = leaves.rational ? 3 * q : q2;
    const double* const r = leaves.poles(leaf);
    double e[3];
    for (int c = 0; c < 3; ++c)
        e[c] = query[c] - leaf.centre[c];
    for (int k = 0; k < 4 * (p + 1) * (q + 1); k += 4) {
        for (int c = 0; c < 3; ++c)
            work[k + c] = r[k + c] - r[k + 3] * e[c];
        work[k + 3] = r[k + 3];
    }
    constexpr double points[4] = {1, 1, 1, 0};
    double* const square = work + 4 * (p + 1) * (q + 1);
    power_product(work, work, p, q, points, square);
    std::fill_n(grid, 4 * (p3 + 1) * (q3 + 1), 0.0);
    for (int j = 0; j <= q2; ++j)
        for (int i = 0; i <= p2; ++i) {
            const double c = square[j * (p2 + 1) + i];
            if (!leaves.rational) {
                if (i > 0) grid[4 * (j * (p3 + 1) + i - 1)] += 0.5 * i * c;
                if (j > 0) grid[4 * ((j - 1) * (p3 + 1) + i) + 1] += 0.5 * j * c;
                continue;
            }
            for (int m = 0; m <= q; ++m)
                for (int n = 0; n <= p; ++n) {
                    const double product = c * work[4 * (m * (p + 1) + n) + 3];
                    double* const to = grid + 4 * ((j + m) * (p3 + 1) + i + n);
                    if (i + n > 0) to[-4] += (0.5 * i - n) * product;
                    if (j + m > 0) to[1 - 4 * (p3 + 1)] += (0.5 * j - m) * product;
                }
        }
}

// The point less the query and its derivatives, by s and t.
void jet_from_query(const SurfaceLeaves& leaves, const SurfaceLeaf& leaf, const double* x,
                    const double* q, double* out) {
    LeafJet jet;
    power_jet_at(leaves.poles(leaf), leaves.degree_u, leaves.degree_v, x[0], x[1], jet);
    divide_by_weight(jet.x, 2, out);
    for (int c = 0; c < 3; ++c)
        out[c] += leaf.centre[c] - q[c];
}

} // namespace

void LeafFeet::find(const SurfaceLeaves& leaves, int number, const double* q) {
    leaves_ = &leaves;
    number_ = number;
    std::copy_n(q, 3, q_);
    const SurfaceLeaf& leaf = leaves[number];
    if (far_from_stationary(leaves, leaf, q)) return zeros_.clear();
    const int times = leaves.rational ? 3 : 2;
    const int p = times * leaves.degree_u, n = times * leaves.degree_v;
    const auto size = static_cast<std::size_t>(4 * (p + 1) * (n + 1));
    constexpr std::size_t usual = 4 * 19 * 19; // of an offset surface
    WorkArray<double, 4 * usual> room(4 * size);
    double *const grid = room.data(), *const part = grid + size, *const work = part + size;
    gradient(leaves, leaf, q, grid, work);
    double most = 0.0, offset = 0.0;
    for (int k = 4; k < 4 * leaves.coefs_of_leaf(); k += 4)
        for (int c = 0; c < 3; ++c)
            most = std::max(most, std::fabs(leaves.poles(leaf)[k + c]));
    for (int c = 0; c < 3; ++c)
        offset += std::fabs(q[c] - leaf.centre[c]);
    zeros_.find(grid, p, n, product_rounding * most * (offset + most), part);
}

LeafPlace LeafFeet::place(int i) const {
    LeafPlace place;
    place.leaf = number_;
    place.s = zeros_[i].x[0], place.t = zeros_[i].x[1];
    double jet[18];
    jet_from_query(*leaves_, (*leaves_)[number_], zeros_[i].x, q_, jet);
    std::copy_n(jet, 3, place.from_query);
    place.squared = dot3(jet, jet);
    return place;
}

bool LeafFeet::is_minimum(int i) const {
    double jet[18];
    jet_from_query(*leaves_, (*leaves_)[number_], zeros_[i].x, q_, jet);
    const double *const ps = jet + 3, *const pt = jet + 6;
    const double a = dot3(ps, ps) + dot3(jet, jet + 9), b = dot3(ps, pt) + dot3(jet, jet + 12),
                 c = dot3(pt, pt) + dot3(jet, jet + 15);
    return a > 0.0 && a * c > b * b;
}

} // namespace velm::detail
