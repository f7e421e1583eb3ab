#include "velm/surfaces/detail/trim_lift.h"

#include "velm/curves/detail/bernstein_rows.h"
#include "velm/numerics/detail/triples.h"
#include "velm/surfaces/detail/taylor_series.h"

#include <algorithm>
#include <cmath>

namespace velm::detail {
namespace {

// The remainder of a piece, of the size: an eighth of the certificate's accuracy.
constexpr double most_remainder = 0x1p-46;
// The terms from the third order on are this part of the first at most.
constexpr double most_bent = 0.25;
// Pieces this small, of the size, are not halved for being bent.
constexpr double small_piece = 0x1p-20;
// Above this degree power coefficients are computed in pairs of doubles: they cancel.
constexpr int plain_degree = 7;
// An angle whose tangent's series is of use.
constexpr double most_angle = 1.2;

double binomial(int n, int k) {
    double result = 1.0;
    for (int i = 1; i <= k; ++i)
        result = result * (n - k + i) / i;
    return std::round(result);
}

double plain(double x) { return x; }
double plain(DoubleDouble x) { return x.value(); }

// The coefficients of (x - at)^k: those of order k are the binomial times the k-th difference of
// level n - k of de Casteljau's scheme. `work` is the row's size.
template <class T>
void taylor_row(const double* poles, int count, int width, std::ptrdiff_t stride, double at,
                std::vector<T>& work, double* out, std::ptrdiff_t out_stride) {
    const auto size = static_cast<std::size_t>(count), wide = static_cast<std::size_t>(width);
    work.resize(size * wide);
    for (std::size_t i = 0; i < size; ++i)
        for (std::size_t c = 0; c < wide; ++c)
            work[i * wide + c] = poles[stride * std::ptrdiff_t(i) + std::ptrdiff_t(c)];
    const T t = at, rest = T(1.0) - t;
    for (int k = count - 1; k >= 0; --k) {
        for (std::size_t c = 0; c < wide; ++c) {
            T difference = 0.0;
            for (int i = 0; i <= k; ++i) {
                const T term = work[std::size_t(i) * wide + c] * T(binomial(k, i));
                difference = (k - i) % 2 == 0 ? difference + term : difference - term;
            }
            out[out_stride * k + std::ptrdiff_t(c)] = plain(difference * T(binomial(count - 1, k)));
        }
        for (std::size_t i = 0; i < std::size_t(k) * wide; ++i)
            work[i] = work[i] * rest + work[i + wide] * t;
    }
}

// The coefficients of a coordinate less `middle` times the weight, from order `first` on.
Series series(const std::vector<double>& power, std::size_t axis, double middle, int first) {
    Series result;
    const int count = static_cast<int>(power.size() / 3);
    for (int k = first; k < std::min(count, Series::order + 1); ++k) {
        result.c[k] = power[std::size_t(3 * k) + axis] - middle * power[std::size_t(3 * k + 2)];
        if (result.c[k] != 0.0) result.last = k;
    }
    return result;
}
SeriesBound bounds(const std::vector<double>& power, std::size_t axis, double middle, int first) {
    SeriesBound result;
    const int count = static_cast<int>(power.size() / 3);
    for (int j = first; j < count; ++j) {
        const double size =
            std::fabs(power[std::size_t(3 * j) + axis] - middle * power[std::size_t(3 * j + 2)]);
        if (size == 0.0) continue;
        result.last = std::max(result.last, std::min(j, SeriesBound::order));
        for (int k = 0; k <= std::min(j, SeriesBound::order); ++k)
            result.c[k] += binomial(j, k) * size;
    }
    return result;
}

} // namespace

CurveLift::CurveLift(const PreparedSurface& surface, const SurfaceLeaves& leaves, double size)
    : patches_(surface.base().value_or(surface)), tables_(SurfaceTables::of(patches_)),
      leaves_(leaves), size_(size) {}

void CurveLift::rectangle(double* u, double* v) const {
    u[0] = middle_[0] - reach_[0], u[1] = middle_[0] + reach_[0];
    v[0] = middle_[1] - reach_[1], v[1] = middle_[1] + reach_[1];
}

// What a parameter of a patch, in [0, 1], is along the piece: a middle and the rest.
struct CurveLift::Along {
    double middle;
    int patch;
    Series rest;
    SeriesBound bound;
};

// Sets the curve about its middle; returns false if the piece must be halved for it.
bool CurveLift::along(const FlatCurve& curve, double low, double high, LiftedPiece& piece,
                      Along* out) {
    const int count = curve.degree() + 1;
    flat_ = curve.poles;
    restrict_row({flat_.data(), count, 3}, low, high);
    std::vector<double> power(flat_.size());
    if (count - 1 <= plain_degree)
        taylor_row(flat_.data(), count, 3, 3, 0.5, plain_, power.data(), 3);
    else
        taylor_row(flat_.data(), count, 3, 3, 0.5, pairs_, power.data(), 3);
    double half = 1.0, others = 0.0; // by tau
    for (int k = 0; k < count; ++k, half *= 0.5)
        for (std::size_t c = 0; c < 3; ++c)
            power[std::size_t(3 * k) + c] *= half;
    for (int k = 1; k < count; ++k)
        others += std::fabs(power[std::size_t(3 * k + 2)]);
    const double weight = power[2], least = weight - others;
    if (!(least > 0.5 * weight)) return false;
    const Series w = series(power, 2, 0.0, 0);
    const SeriesBound bounds_w = bounds(power, 2, 0.0, 0);
    for (std::size_t axis = 0; axis < 2; ++axis) {
        const double middle = power[axis] / weight;
        Along& to = out[axis];
        to.rest = series(power, axis, middle, 1).divided_by(w, weight);
        to.bound = bounds(power, axis, middle, 1).divided_by(bounds_w, least);
        middle_[axis] = curve.origin[axis] + middle;
        piece.speed[axis] = to.bound.c[1];
        reach_[axis] = to.bound.c[0];
        to.patch = curve.patch[axis];
        if (!to_patch(axis == 0, curve.origin[axis] + middle, to)) return false;
    }
    return true;
}

// From the surface's parameter to that of the patch it is in; beyond the limits their ends.
bool CurveLift::to_patch(bool u, double middle, Along& to) const {
    const std::vector<double>& ends = u ? tables_.ends_u : tables_.ends_v;
    if (!(middle >= ends.front() && middle <= ends.back())) {
        const bool above = middle > ends.back();
        to.patch = above ? static_cast<int>(ends.size()) - 2 : 0;
        to.middle = above ? 1.0 : 0.0;
        to.rest = Series();
        to.bound = SeriesBound();
        return true;
    }
    if (to.patch < 0) to.patch = interval_of(ends, middle);
    const double low = ends[std::size_t(to.patch)], high = ends[std::size_t(to.patch) + 1];
    if (!(u ? tables_.angular_u : tables_.angular_v)) {
        to.middle = (middle - low) / (high - low);
        to.rest = to.rest * (1.0 / (high - low));
        to.bound = to.bound * (1.0 / (high - low));
        return true;
    }
    const double start = 0.5 * (middle - 0.5 * (low + high));
    const double factor = 0.5 / std::tan(0.25 * (high - low));
    const double most = std::fabs(start) + 0.5 * to.bound.c[0];
    if (!(most < most_angle)) return false;
    const double tangent = std::tan(start), greatest = std::tan(most);
    const double reach = 0.5 * to.bound.c[0] * (1.0 + greatest * greatest);
    to.middle = 0.5 + factor * tangent;
    Series angle = to.rest * 0.5;
    to.rest = angle.tangent(tangent) * factor;
    to.rest.c[0] = 0.0;
    to.bound = (to.bound * 0.5).tangent(greatest);
    to.bound.c[0] = reach;
    to.bound = to.bound * factor;
    return true;
}

// The Taylor coefficients of the patch at the middle, local, into `grid_`.
void CurveLift::expand_patch(const Along* at) {
    const int p = degree_u_ = tables_.degree_u, q = degree_v_ = tables_.degree_v, row = 4 * (p + 1);
    const auto count = static_cast<std::size_t>(row * (q + 1));
    const double* const poles = tables_.patch(at[0].patch, at[1].patch);
    local_.resize(count);
    grid_.resize(count);
    for (std::size_t k = 0; k < count; k += 4) {
        for (std::size_t c = 0; c < 3; ++c)
            local_[k + c] =
                (poles[k + c] - poles[k + 3] * leaves_.frame.origin[c]) * leaves_.frame.scale;
        local_[k + 3] = poles[k + 3];
    }
    const auto taylor = [&](auto& work) {
        taylor_row(local_.data(), q + 1, row, row, at[1].middle, work, grid_.data(), row);
        for (int j = 0; j <= q; ++j)
            taylor_row(grid_.data() + j * row, p + 1, 4, 4, at[0].middle, work,
                       local_.data() + j * row, 4);
    };
    if (std::max(p, q) <= plain_degree)
        taylor(plain_);
    else
        taylor(pairs_);
    grid_.swap(local_);
}

// From the own parameters of the patch to s and t of the leaf.
void CurveLift::to_leaf(const SurfaceLeaf& leaf, Along* at) const {
    for (int axis = 0; axis < 2; ++axis) {
        const double* const ends = axis == 0 ? leaf.u : leaf.v;
        Along& to = at[axis];
        const double scale = 2.0 / (ends[1] - ends[0]);
        to.middle = 0.5 * scale * ((to.middle - ends[0]) - (ends[1] - to.middle));
        to.rest = to.rest * scale;
        to.bound = to.bound * scale;
    }
}

// The same of the leaf's polynomial at s and t, by Horner's scheme; its weights are 1.
void CurveLift::expand_leaf(const SurfaceLeaf& leaf, const Along* at) {
    const int p = degree_u_ = leaves_.degree_u, q = degree_v_ = leaves_.degree_v, row = 4 * (p + 1);
    const double* const coefs = leaves_.poles(leaf);
    grid_.assign(coefs, coefs + row * (q + 1));
    const auto move = [this](int first, int degree, int step, double by) {
        for (int k = 0; k < degree; ++k)
            for (int i = degree - 1; i >= k; --i)
                for (int c = 0; c < 3; ++c)
                    grid_[std::size_t(first + i * step + c)] +=
                        by * grid_[std::size_t(first + (i + 1) * step + c)];
    };
    for (int j = 0; j <= q; ++j)
        move(j * row, p, 4, at[0].middle);
    for (int i = 0; i <= p; ++i)
        move(4 * i, q, row, at[1].middle);
    for (std::size_t c = 0; c < 3; ++c)
        grid_[c] += leaf.centre[c];
    for (std::size_t k = 3; k < grid_.size(); k += 4)
        grid_[k] = k == 3 ? 1.0 : 0.0;
}

// The sum of grid(i, j) a^i b^j.
template <class T, class At>
T CurveLift::composed(const T& a, const T& b, At at) const {
    T sum;
    for (int j = degree_v_; j >= 0; --j) {
        T row;
        for (int i = degree_u_; i >= 0; --i) {
            row = row * a;
            row += T(at(i, j));
        }
        sum = sum * b;
        sum += row;
    }
    return sum;
}

bool CurveLift::lift(const FlatCurve& curve, double low, double high, bool last, LiftedPiece& piece,
                     OrientedBox& box) {
    Along at[2];
    const bool known = along(curve, low, high, piece, at);
    if (!known && !last) return false;
    const SurfaceLeaf* const leaf = curve.leaf >= 0 ? &leaves_[curve.leaf] : nullptr;
    if (leaf != nullptr) {
        to_leaf(*leaf, at);
        expand_leaf(*leaf, at);
    } else {
        expand_patch(at);
    }
    const int width = degree_u_ + 1;
    const double weight = grid_[3];
    for (std::size_t c = 0; c < 3; ++c)
        piece.centre[c] = grid_[c] / weight;
    for (std::size_t k = 0; k < grid_.size(); k += 4)
        for (std::size_t c = 0; c < 3; ++c)
            grid_[k + c] = k == 0 ? 0.0 : grid_[k + c] - grid_[k + 3] * piece.centre[c];
    const auto entry = [&](int i, int j) { return &grid_[std::size_t(4 * (j * width + i))]; };
    Series w(weight);
    double least = weight;
    SeriesBound w_bounds(weight);
    if (tables_.rational && leaf == nullptr) {
        w = composed(at[0].rest, at[1].rest, [&](int i, int j) { return entry(i, j)[3]; });
        w_bounds = composed(at[0].bound, at[1].bound,
                            [&](int i, int j) { return i + j == 0 ? 0.0 : entry(i, j)[3]; });
        least -= w_bounds.c[0];
    }
    const SeriesBound bound = composed(at[0].bound, at[1].bound, [&](int i, int j) {
        return std::sqrt(dot3(entry(i, j), entry(i, j)));
    });
    if (!last && !(least > 0.5 * weight)) return false;
    least = std::max(least, 0x1p-20 * weight);
    piece.remainder = known ? bound.divided_by(w_bounds, least).c[SeriesBound::order] : size_;
    for (int c = 0; c < 3; ++c) {
        const Series x = composed(at[0].rest, at[1].rest, [&](int i, int j) {
                             return entry(i, j)[c];
                         }).divided_by(w, weight);
        for (int k = 1; k <= series_degree; ++k)
            piece.coefs[k][c] = x.c[k];
    }
    double normal[3];
    cross3(entry(1, 0), entry(0, 1), normal);
    return finish(piece, box, normal, leaf != nullptr ? leaf->error : 0.0) || last;
}

// Sets what follows from the coefficients, the surface being within `error` of them; returns
// whether the piece is good enough.
bool CurveLift::finish(LiftedPiece& piece, OrientedBox& box, const double* normal,
                       double error) const {
    double extent = 0.0, bent = 0.0, first = 0.0;
    for (int k = 1; k <= series_degree; ++k) {
        const double size = std::sqrt(dot3(piece.coefs[k], piece.coefs[k]));
        extent += size;
        if (k == 1) first = size;
        if (k >= 3) bent += size;
        if (size > 0.0) piece.degree = k;
    }
    for (int i = 1; i <= piece.degree; ++i)
        for (int j = 1; j <= piece.degree; ++j)
            piece.square[i + j] += dot3(piece.coefs[i], piece.coefs[j]);
    const double remainder = piece.remainder;
    piece.remainder += error;
    enclose(piece, normal, box);
    return remainder <= most_remainder * size_ &&
           (bent <= most_bent * first || extent <= small_piece * size_);
}

// Along the tangent, across it on the surface, and along the surface's normal.
void CurveLift::enclose(const LiftedPiece& piece, const double* normal, OrientedBox& box) const {
    double(*const axis)[3] = box.axis;
    const auto unit = [](double* x) {
        const double length = std::sqrt(dot3(x, x));
        if (!(length > 0.0)) return false;
        for (int c = 0; c < 3; ++c)
            x[c] /= length;
        return true;
    };
    std::copy_n(piece.coefs[1], 3, axis[0]);
    if (!unit(axis[0])) axis[0][0] = 1.0, axis[0][1] = axis[0][2] = 0.0;
    cross3(normal, axis[0], axis[1]);
    if (!unit(axis[1])) {
        int least = 0;
        for (int c = 1; c < 3; ++c)
            if (std::fabs(axis[0][c]) < std::fabs(axis[0][least])) least = c;
        double other[3] = {};
        other[least] = 1.0;
        cross3(other, axis[0], axis[1]);
        unit(axis[1]);
    }
    cross3(axis[0], axis[1], axis[2]);
    const double slack = piece.remainder + 0x1p-50 * size_;
    for (int k = 0; k < 3; ++k) {
        const double middle = dot3(axis[k], piece.centre);
        box.low[k] = middle - slack, box.high[k] = middle + slack;
        for (int i = 1; i <= piece.degree; ++i) {
            const double reach = dot3(axis[k], piece.coefs[i]); // an even power is in [0, 1]
            box.low[k] += i % 2 == 0 ? std::min(reach, 0.0) : -std::fabs(reach);
            box.high[k] += i % 2 == 0 ? std::max(reach, 0.0) : std::fabs(reach);
        }
    }
}

} // namespace velm::detail
