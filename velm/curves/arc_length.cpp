#include "velm/curves/arc_length.h"

#include "velm/curves/detail/bernstein_rows.h"
#include "velm/curves/detail/prepared_pieces.h"
#include "velm/numerics/binomials.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace velm {
namespace {

using namespace velm::detail;

// A polynomial by its Bernstein coefficients.
using Coefficients = std::vector<double>;

// The products of Bernstein polynomials b_i b_j = C(n, i) C(m, j) / C(n + m, i + j) b_(i + j).
Coefficients product(const Coefficients& a, const Coefficients& b) {
    const int n = static_cast<int>(a.size()) - 1, m = static_cast<int>(b.size()) - 1;
    const double *left = theCnpTableau.Cnp(n), *right = theCnpTableau.Cnp(m);
    const double* both = theCnpTableau.Cnp(n + m);
    Coefficients result(a.size() + b.size() - 1, 0.0), scaled = b;
    for (int j = 0; j <= m; ++j)
        scaled[static_cast<std::size_t>(j)] *= right[j];
    for (int i = 0; i <= n; ++i) {
        const double x = a[static_cast<std::size_t>(i)] * left[i];
        for (int j = 0; j <= m; ++j)
            result[static_cast<std::size_t>(i + j)] += x * scaled[static_cast<std::size_t>(j)];
    }
    for (int k = 0; k <= n + m; ++k)
        result[static_cast<std::size_t>(k)] /= both[k];
    return result;
}

// The same polynomial of a higher degree: times (x + (1 - x))^k, whose coefficients are 1.
Coefficients raised(const Coefficients& a, std::size_t size) {
    return a.size() < size ? product(a, Coefficients(size - a.size() + 1, 1.0)) : a;
}

// A part's length with its error, and the coefficients of the speed's integral.
template <std::size_t nodes>
struct PartLength {
    double value, error;
    std::array<double, nodes> speed; // Bernstein coefficients
};

// The matrix that takes values at Chebyshev's nodes of [0, 1] to Bernstein coefficients.
template <std::size_t nodes>
class Interpolation {
public:
    Interpolation() {
        constexpr int count = static_cast<int>(nodes);
        double work[nodes][2 * nodes]{};
        for (std::size_t i = 0; i < nodes; ++i) {
            const double angle = (static_cast<double>(i) + 0.5) * std::numbers::pi / count;
            at_[i] = std::pow(std::sin(0.5 * angle), 2);
            for (int j = 0; j < count; ++j)
                work[i][j] =
                    Cnp(count - 1, j) * std::pow(at_[i], j) * std::pow(1.0 - at_[i], count - 1 - j);
            work[i][nodes + i] = 1.0;
        }
        // Gauss and Jordan; the nodes are in order, so the matrix is totally positive and needs no
        // pivots.
        for (std::size_t k = 0; k < nodes; ++k) {
            const double pivot = work[k][k];
            for (double& x : work[k])
                x /= pivot;
            for (std::size_t i = 0; i < nodes; ++i) {
                const double factor = i == k ? 0.0 : work[i][k];
                for (std::size_t j = 0; j < 2 * nodes; ++j)
                    work[i][j] -= factor * work[k][j];
            }
        }
        for (std::size_t i = 0; i < nodes; ++i)
            std::copy_n(work[i] + nodes, nodes, inverse_[i]);
    }

    double node(std::size_t i) const { return at_[i]; }
    std::array<double, nodes> coefficients(const std::array<double, nodes>& values) const {
        std::array<double, nodes> result{};
        for (std::size_t i = 0; i < nodes; ++i) {
            for (std::size_t j = 0; j < nodes; ++j)
                result[i] += inverse_[i][j] * values[j];
        }
        return result;
    }

private:
    double at_[nodes];
    double inverse_[nodes][nodes];
};

} // namespace

template <int N>
struct ArcLengthTable<N>::Builder {
    static constexpr std::size_t size = nodes;
    // A part this short is taken with the bounds of its chord and polygon.
    static constexpr double shortest = 0x1p-48;
    // Below this part of the length, and below some roundings of the curve's size, halving finds
    // no more than the roundings of the bounds.
    static constexpr double rounding = 0x1p-46;
    static constexpr std::size_t most_parts = std::size_t{1} << 20;

    ArcLengthTable& table;
    const PreparedPieces<N>& tables;
    double tolerance;
    Interpolation<size> interpolation{};
    double error = 0.0;
    double polygon = 0.0; // the length of all poles' polygons

    // The poles of a part of a piece.
    std::vector<double> row_of(const Piece<N>& piece, double from, double to) const {
        const int count = piece.degree + 1;
        std::vector<double> row(tables.poles(piece), tables.poles(piece) + count * (N + 1));
        if (from > 0.0 || to < 1.0) restrict_row({row.data(), count, N + 1}, from, to);
        return row;
    }

    // By the polynomial that approximates the speed; the error is infinite if there is none.
    PartLength<size> by_speed(const Piece<N>& piece, double from, double to) const {
        PartLength<size> result{0.0, HUGE_VAL, {}};
        std::array<double, size> values;
        for (std::size_t i = 0; i < size; ++i) {
            const double u = from + (to - from) * interpolation.node(i);
            values[i] = (to - from) * std::sqrt(squared_norm(tables.jet(piece, u).first));
        }
        result.speed = interpolation.coefficients(values);
        for (const double x : result.speed) {
            if (!(x >= 0.0)) return result;
            result.value += x / static_cast<double>(size);
        }
        const std::vector<double> row = row_of(piece, from, to);
        const std::size_t count = static_cast<std::size_t>(piece.degree) + 1;
        Coefficients w(count), squared_speed;
        for (std::size_t i = 0; i < count; ++i)
            w[i] = row[i * (N + 1) + N];
        const auto slope = [&](const Coefficients& a) {
            Coefficients d(count - 1);
            for (std::size_t i = 0; i + 1 < count; ++i)
                d[i] = piece.degree * (a[i + 1] - a[i]);
            return d;
        };
        for (std::size_t axis = 0; axis < N; ++axis) {
            Coefficients x(count);
            for (std::size_t i = 0; i < count; ++i)
                x[i] = row[i * (N + 1) + axis];
            Coefficients h = slope(x);
            if (piece.rational) {
                h = product(h, w);
                const Coefficients other = product(x, slope(w));
                for (std::size_t i = 0; i < h.size(); ++i)
                    h[i] -= other[i];
            }
            const Coefficients square = product(h, h);
            squared_speed.resize(square.size(), 0.0);
            for (std::size_t i = 0; i < square.size(); ++i)
                squared_speed[i] += square[i];
        }
        const double least_squared = *std::min_element(squared_speed.begin(), squared_speed.end());
        if (!(least_squared > 0.0)) return result;

        const Coefficients r(result.speed.begin(), result.speed.end());
        Coefficients square = product(r, r);
        double least_weight = 1.0, greatest_weight = 1.0;
        if (piece.rational) {
            const auto [low, high] = std::minmax_element(w.begin(), w.end());
            least_weight = *low;
            greatest_weight = *high;
            const Coefficients w2 = product(w, w);
            square = product(square, product(w2, w2));
        }
        const std::size_t terms = std::max(square.size(), squared_speed.size());
        square = raised(square, terms);
        squared_speed = raised(squared_speed, terms);
        double largest = 0.0;
        for (std::size_t i = 0; i < terms; ++i)
            largest = std::max(largest, std::fabs(square[i] - squared_speed[i]));
        const double speed = std::sqrt(least_squared) / (greatest_weight * greatest_weight);
        result.error = largest / (std::pow(least_weight, 4) * speed);
        return result;
    }

    // Between the chord and the polygon of the poles.
    PartLength<size> by_polygon(const Piece<N>& piece, double from, double to) const {
        const std::vector<double> row = row_of(piece, from, to);
        const auto point = [&](int i) {
            Local<N> p;
            for (int axis = 0; axis < N; ++axis) {
                const auto k = static_cast<std::size_t>(i * (N + 1));
                p[axis] = row[k + static_cast<std::size_t>(axis)] / row[k + N];
            }
            return p;
        };
        double legs = 0.0;
        for (int i = 1; i <= piece.degree; ++i)
            legs += std::sqrt(squared_norm(difference(point(i), point(i - 1))));
        const double chord = std::sqrt(squared_norm(difference(point(piece.degree), point(0))));
        PartLength<size> result{0.5 * (chord + legs), 0.5 * (legs - chord), {}};
        result.speed.fill(result.value);
        return result;
    }

    void add(int piece, double from, double to, const PartLength<size>& length) {
        Part part{piece, from, to, table.total_.value, {}};
        part.lengths[0] = 0.0;
        for (std::size_t i = 0; i < size; ++i)
            part.lengths[i + 1] = part.lengths[i] + length.speed[i] / static_cast<double>(size);
        table.total_.value += part.lengths[size];
        error += std::max(0.0, length.error);
        table.parts_.push_back(part);
    }

    // A part may have its share of the tolerance, by its parameter.
    void measure(int i, double from, double to) {
        const Piece<N>& piece = tables[i];
        const double share =
            std::max(tolerance, rounding * polygon) * (to - from) / (2.0 * tables.count());
        const PartLength<size> fine = by_speed(piece, from, to);
        if (fine.error <= share) return add(i, from, to, fine);
        const PartLength<size> coarse = by_polygon(piece, from, to);
        if (coarse.error <= share || to - from <= shortest) return add(i, from, to, coarse);
        const double floor = std::max(rounding * coarse.value, 16.0 * half_ulp * tables.size);
        if (std::min(fine.error, coarse.error) <= floor || table.parts_.size() >= most_parts)
            return add(i, from, to, fine.error < coarse.error ? fine : coarse);
        const double middle = 0.5 * (from + to);
        measure(i, from, middle);
        measure(i, middle, to);
    }
};

template <int N>
ArcLengthTable<N>::ArcLengthTable(const PreparedCurve<N>& curve, double tolerance) : curve_(curve) {
    Builder builder{*this, curve_.tables(), tolerance > 0.0 ? tolerance : 0.0};
    for (int i = 0; i < curve_.pieces(); ++i)
        builder.polygon += builder.by_polygon(builder.tables[i], 0.0, 1.0).value;
    for (int i = 0; i < curve_.pieces(); ++i)
        builder.measure(i, 0.0, 1.0);
    // Evaluation, interpolation and the sum; the products' roundings show in the bounds.
    constexpr double roundings = 64.0;
    const double error = builder.error + roundings * half_ulp * total_.value;
    total_.lower = std::max(0.0, total_.value - error);
    total_.upper = total_.value + error;
    total_.reached = 2.0 * error <= tolerance;
}

template <int N>
double ArcLengthTable<N>::length_at(double t) const {
    const CurvePlace place = curve_.place(t);
    const auto after = std::upper_bound(
        parts_.begin(), parts_.end(), place, [](const CurvePlace& at, const Part& part) {
            return at.piece < part.piece || (at.piece == part.piece && at.u < part.from);
        });
    const Part& part = after == parts_.begin() ? *after : *(after - 1);
    const double x = std::clamp((place.u - part.from) / (part.to - part.from), 0.0, 1.0);
    double length = 0.0;
    row_value({part.lengths, nodes + 1, 1}, x, &length);
    return part.start + length;
}

template <int N>
double ArcLengthTable<N>::parameter_at(double length) const {
    const ERLimites domain = curve_.domain();
    if (!(length > 0.0)) return domain.start();
    if (length >= total_.value) return domain.end();
    const auto after =
        std::upper_bound(parts_.begin(), parts_.end(), length,
                         [](double at, const Part& part) { return at < part.start; });
    const Part& part = *(after - 1);
    const double rest = length - part.start;
    double low = 0.0, high = 1.0, x = rest / part.lengths[nodes];
    constexpr int most_steps = 100;
    for (int step = 0; step < most_steps && high - low > 0x1p-52; ++step) {
        double value[2]; // the length and its derivative
        row_derivatives({part.lengths, nodes + 1, 1}, x, 1, value);
        (value[0] < rest ? low : high) = x;
        double next = x - (value[0] - rest) / value[1];
        if (!(next > low && next < high)) next = 0.5 * (low + high);
        if (std::fabs(next - x) <= 0x1p-52) break;
        x = next;
    }
    const PreparedPieces<N>& tables = curve_.tables();
    return tables.t_at(tables[part.piece], part.from + x * (part.to - part.from));
}

template <int N>
std::vector<double> ArcLengthTable<N>::evenly_spaced(int count) const {
    std::vector<double> parameters;
    if (count < 2) return parameters;
    for (int i = 0; i < count; ++i)
        parameters.push_back(parameter_at(total_.value * i / (count - 1)));
    return parameters;
}

template <int N>
CurveLength arc_length(const PreparedCurve<N>& curve, double tolerance) {
    return ArcLengthTable<N>(curve, tolerance).total();
}

template class ArcLengthTable<2>;
template class ArcLengthTable<3>;
template CurveLength arc_length(const PreparedCurve<2>&, double);
template CurveLength arc_length(const PreparedCurve<3>&, double);

} // namespace velm
