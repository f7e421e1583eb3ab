#include "velm/surfaces/detail/offset_fit.h"

#include "velm/curves/detail/band_matrix.h"
#include "velm/numerics/detail/triples.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <numbers>

namespace velm::detail {
namespace {

constexpr int n = OffsetFit::degree, nodes = n + 1;
// Points of a row of poles nearer to each other than this part of the patch are one.
constexpr double one_point = 0x1p-40;

// Chebyshev's node k of `count` in [0, 1].
double node(int k, int count) { return 0.5 - 0.5 * std::cos((k + 0.5) * std::numbers::pi / count); }

// Bernstein's functions of a degree at x.
std::vector<double> functions_at(int degree, double x) {
    std::vector<double> b(1, 1.0);
    for (int k = 0; k < degree; ++k) {
        b.push_back(0.0);
        for (std::size_t i = b.size(); i-- > 0;)
            b[i] = (i > 0 ? x * b[i - 1] : 0.0) + (1.0 - x) * b[i];
    }
    return b;
}

// A row of poles along u, at v = 0 or 1, or one along v; places are numbers of doubles.
struct Side {
    bool along_u, at_end;

    int first(int p, int q) const { return at_end ? 4 * (along_u ? q * (p + 1) : p) : 0; }
    template <class F>
    void for_poles(int p, int q, F f) const {
        for (int k = 0; k <= (along_u ? p : q); ++k)
            f(first(p, q) + 4 * k * (along_u ? 1 : p + 1));
    }
};
constexpr Side sides[] = {{true, false}, {true, true}, {false, false}, {false, true}};

// How far the poles of a side are from its first one along an axis.
double extent_of(const double* poles, int p, int q, const Side& side) {
    const double* const one = poles + side.first(p, q);
    double most = 0.0;
    for (int c = 0; c < 3; ++c)
        side.for_poles(p, q, [&](int k) {
            most = std::max(most, std::fabs(poles[k + c] / poles[k + 3] - one[c] / one[3]));
        });
    return most;
}

// Whether the poles of a side are one point.
bool is_point(const double* poles, int p, int q, const Side& side) {
    double most = 0.0;
    for (const Side& other : sides)
        most = std::max(most, extent_of(poles, p, q, other));
    return extent_of(poles, p, q, side) <= one_point * most;
}

// A net that is 0 along one of its sides, divided by the parameter's distance from that side.
BernsteinNet divided(const BernsteinNet& a, bool along_u, bool at_end) {
    const int p = a.p - (along_u ? 1 : 0), q = a.q - (along_u ? 0 : 1);
    BernsteinNet part(p, q, a.width);
    for (int j = 0; j <= q; ++j)
        for (int i = 0; i <= p; ++i) {
            const int step = at_end ? 0 : 1;
            const double* const from = along_u ? a.at(i + step, j) : a.at(i, j + step);
            const int top = along_u ? a.p : a.q, at = along_u ? i : j;
            const double factor = double(top) / (at_end ? top - at : at + 1);
            for (int k = 0; k < a.width; ++k)
                part.at(i, j)[k] = from[k] * factor;
        }
    return part;
}

} // namespace

// So many that a polynomial of the highest degree below is at most 3 times what it is at them.
int OffsetFit::samples_for(int p, bool rational) {
    const int square = 2 * (rational ? p + n : std::max(p, n));
    const int product = rational ? (p + n) + 2 * p : std::max(p, n) + p;
    return (7 * std::max(square, product) + 4) / 5;
}

OffsetFit::Basis::Basis(int p) {
    for (int k = 0; k < nodes; ++k) {
        const std::vector<double> b = functions_at(p, node(k, nodes)),
                                  less = functions_at(p - 1, node(k, nodes));
        value.insert(value.end(), b.begin(), b.end());
        for (int i = 0; i <= p; ++i) {
            const auto at = static_cast<std::size_t>(i);
            slope.push_back(p * ((i > 0 ? less[at - 1] : 0.0) - (i < p ? less[at] : 0.0)));
        }
    }
}

int OffsetFit::origin_pole(const double* poles, int p, int q) {
    const Side& shortest =
        *std::min_element(std::begin(sides), std::end(sides), [&](const Side& a, const Side& b) {
            return extent_of(poles, p, q, a) < extent_of(poles, p, q, b);
        });
    return shortest.first(p, q);
}

OffsetFit::OffsetFit(int p, int q, bool rational, double offset)
    : p_(p), q_(q), rational_(rational), offset_(offset),
      samples_(samples_for(std::max(p, q), rational)), in_u_(p), in_v_(q),
      to_bernstein_(nodes * nodes), fitted_(4 * nodes * nodes) {
    const Basis own(n);
    for (int k = 0; k < nodes; ++k) {
        BandMatrix matrix(nodes, n, n);
        for (int a = 0; a < nodes; ++a)
            for (int b = 0; b < nodes; ++b)
                matrix.at(a, b) = own.value[static_cast<std::size_t>(a * nodes + b)];
        std::vector<double> column(nodes, 0.0);
        column[static_cast<std::size_t>(k)] = 1.0;
        matrix.solve(column);
        for (int i = 0; i < nodes; ++i)
            to_bernstein_[static_cast<std::size_t>(i * nodes + k)] =
                column[static_cast<std::size_t>(i)];
    }
}

void OffsetFit::fit(const double* poles, double wanted) {
    // About a pole: what follows is relative to the size of the patch.
    const auto count = static_cast<std::size_t>(4 * (p_ + 1) * (q_ + 1));
    std::vector<double> local(poles, poles + count);
    const double* const origin = poles + origin_pole(poles, p_, q_);
    double centre[3];
    for (int c = 0; c < 3; ++c)
        centre[c] = origin[c] / origin[3];
    for (std::size_t k = 0; k < count; k += 4)
        for (std::size_t c = 0; c < 3; ++c)
            local[k + c] = std::fma(-centre[c], local[k + 3], local[k + c]);
    for (const Side& side : sides)
        if (is_point(local.data(), p_, q_, side) && origin == poles + side.first(p_, q_))
            side.for_poles(p_, q_, [&](int k) { std::fill_n(&local[std::size_t(k)], 3, 0.0); });
    interpolate(local.data());
    // A coefficient of Chebyshev's polynomial of degree 8 is such a difference over 2^15; those of
    // 10 and above, which are left out, are less by far.
    constexpr double to_chebyshev = 0x1p-15, falls_off = 0x1p-8;
    const double left_out = falls_off * to_chebyshev * std::max(roughness_[0], roughness_[1]);
    error_ =
        left_out <= wanted ? proved_error(local.data()) : std::numeric_limits<double>::infinity();
    if (!(error_ < HUGE_VAL)) { // no further than the offset from the patch
        double most = 0.0;
        for (std::size_t k = 0; k < count; k += 4)
            for (std::size_t i = 0; i < fitted_.size(); i += 4) {
                double square = 0.0;
                for (std::size_t c = 0; c < 3; ++c) {
                    const double d = local[k + c] / local[k + 3] - fitted_[i + c];
                    square += d * d;
                }
                most = std::max(most, square);
            }
        error_ = std::fabs(offset_) + std::sqrt(most);
        rounding_ = 0.0;
    }
    for (std::size_t i = 0; i < fitted_.size(); i += 4)
        for (std::size_t c = 0; c < 3; ++c)
            fitted_[i + c] += centre[c];
}

void OffsetFit::interpolate(const double* poles) {
    const auto row = static_cast<std::size_t>(4 * (p_ + 1));
    std::vector<double> at_v(row), by_v(row), values(fitted_.size());
    for (int l = 0; l < nodes; ++l) {
        std::fill(at_v.begin(), at_v.end(), 0.0);
        std::fill(by_v.begin(), by_v.end(), 0.0);
        for (int j = 0; j <= q_; ++j) {
            const auto at = static_cast<std::size_t>(l * (q_ + 1) + j);
            const double* const from = poles + row * static_cast<std::size_t>(j);
            for (std::size_t k = 0; k < row; ++k) {
                at_v[k] += in_v_.value[at] * from[k];
                by_v[k] += in_v_.slope[at] * from[k];
            }
        }
        for (int m = 0; m < nodes; ++m) {
            double x[3][4] = {}; // X, Xu, Xv, weighted
            for (int i = 0; i <= p_; ++i) {
                const auto at = static_cast<std::size_t>(m * (p_ + 1) + i);
                for (std::size_t c = 0; c < 4; ++c) {
                    const std::size_t k = 4 * static_cast<std::size_t>(i) + c;
                    x[0][c] += in_u_.value[at] * at_v[k];
                    x[1][c] += in_u_.slope[at] * at_v[k];
                    x[2][c] += in_u_.value[at] * by_v[k];
                }
            }
            double t[2][3], normal[3];
            for (int k = 0; k < 2; ++k)
                for (int c = 0; c < 3; ++c)
                    t[k][c] = x[k + 1][c] * x[0][3] - x[k + 1][3] * x[0][c];
            for (int c = 0; c < 3; ++c)
                normal[c] =
                    t[0][(c + 1) % 3] * t[1][(c + 2) % 3] - t[0][(c + 2) % 3] * t[1][(c + 1) % 3];
            const double length = std::sqrt(dot3(normal, normal));
            double* const to = &values[static_cast<std::size_t>(4 * (l * nodes + m))];
            for (int c = 0; c < 3; ++c)
                to[c] = x[0][c] / x[0][3] + (length > 0.0 ? offset_ * normal[c] / length : 0.0);
        }
    }
    std::vector<double> along_u(values.size(), 0.0);
    std::fill(fitted_.begin(), fitted_.end(), 0.0);
    const auto element = [&](int a, int b) {
        return to_bernstein_[static_cast<std::size_t>(a * nodes + b)];
    };
    const auto place = [](int l, int m) { return static_cast<std::size_t>(4 * (l * nodes + m)); };
    for (int l = 0; l < nodes; ++l)
        for (int i = 0; i < nodes; ++i)
            for (int m = 0; m < nodes; ++m)
                for (std::size_t c = 0; c < 3; ++c)
                    along_u[place(l, i) + c] += element(i, m) * values[place(l, m) + c];
    for (int j = 0; j < nodes; ++j)
        for (int l = 0; l < nodes; ++l)
            for (std::size_t k = 0; k < 4 * nodes; ++k)
                fitted_[place(j, 0) + k] += element(j, l) * along_u[place(l, 0) + k];
    for (std::size_t k = 3; k < fitted_.size(); k += 4)
        fitted_[k] = 1.0;
    // Last differences, and those before them, of which symmetry may leave only one.
    constexpr double binomial[n] = {1, -8, 28, -56, 70, -56, 28, -8, 1};
    for (int direction = 0; direction < 2; ++direction) {
        roughness_[direction] = 0.0;
        for (int line = 0; line < nodes; ++line)
            for (int first = 0; first < 2; ++first)
                for (std::size_t c = 0; c < 3; ++c) {
                    double difference = 0.0;
                    for (int k = 0; k < n; ++k)
                        difference +=
                            binomial[k] * fitted_[(direction == 0 ? place(line, first + k)
                                                                  : place(first + k, line)) +
                                                  c];
                    roughness_[direction] = std::max(roughness_[direction], std::fabs(difference));
                }
    }
}

// A positive multiple of Xu or Xv.
BernsteinNet OffsetFit::tangent(const BernsteinNet& points, const BernsteinNet& weights,
                                const double* poles, bool along_u) const {
    const auto derivative = [along_u](const BernsteinNet& a) {
        return along_u ? derivative_u(a) : derivative_v(a);
    };
    BernsteinNet t = derivative(points);
    if (rational_) {
        t = product(weights, t);
        add(t, product(derivative(weights), points), -1.0);
    }
    for (const Side& side : sides)
        if (side.along_u == along_u && (along_u ? t.q : t.p) > 0 && is_point(poles, p_, q_, side))
            t = divided(t, !along_u, side.at_end);
    return t;
}

// Bernstein's functions of a degree at all samples.
const double* OffsetFit::functions(int p) {
    const auto at = static_cast<std::size_t>(p);
    if (functions_.size() <= at) functions_.resize(at + 1);
    std::vector<double>& list = functions_[at];
    for (int k = 0; list.size() < static_cast<std::size_t>(samples_ * (p + 1)); ++k) {
        const std::vector<double> b = functions_at(p, node(k, samples_));
        list.insert(list.end(), b.begin(), b.end());
    }
    return list.data();
}

// The values of a net of so many components at all samples, those along u first.
template <int width>
std::vector<double> OffsetFit::sampled(const BernsteinNet& net) {
    functions(std::max(net.p, net.q));
    const double *const in_u = functions(net.p), *const in_v = functions(net.q);
    const int row = width * (net.p + 1);
    std::vector<double> line(static_cast<std::size_t>(row)),
        values(static_cast<std::size_t>(width * samples_ * samples_));
    double* to = values.data();
    for (int l = 0; l < samples_; ++l) {
        std::fill(line.begin(), line.end(), 0.0);
        for (int j = 0; j <= net.q; ++j) {
            const double f = in_v[l * (net.q + 1) + j];
            const double* const from = net.at(0, j);
            for (int k = 0; k < row; ++k)
                line[static_cast<std::size_t>(k)] += f * from[k];
        }
        for (int m = 0; m < samples_; ++m, to += width) {
            double sum[std::size_t(width)] = {};
            for (int i = 0; i <= net.p; ++i)
                for (int c = 0; c < width; ++c)
                    sum[c] +=
                        in_u[m * (net.p + 1) + i] * line[static_cast<std::size_t>(width * i + c)];
            std::copy_n(sum, width, to);
        }
    }
    return values;
}

namespace {

// The directions of a vector polynomial: no further than an angle from an axis, and its least
// length along it.
struct Cone {
    double axis[3] = {};
    double angle = std::numbers::pi;
    double least = 0.0;

    explicit Cone(const BernsteinNet& net) {
        for (std::size_t k = 0; k < net.c.size(); ++k)
            axis[k % 3] += net.c[k];
        const double length = std::sqrt(dot3(axis, axis));
        if (!(length > 0.0)) return;
        for (double& c : axis)
            c /= length;
        least = HUGE_VAL;
        double cosine = 1.0;
        for (std::size_t k = 0; k < net.c.size(); k += 3) {
            const double along = dot3(axis, &net.c[k]);
            least = std::min(least, along);
            const double size = std::sqrt(dot3(&net.c[k], &net.c[k]));
            if (size > 0.0) cosine = std::min(cosine, along / size);
        }
        angle = std::acos(std::max(cosine, -1.0));
    }
};

} // namespace

double OffsetFit::proved_error(const double* poles) {
    constexpr double unproved = std::numeric_limits<double>::infinity();
    BernsteinNet points(p_, q_, 3), weights(p_, q_, 1), fitted(n, n, 3);
    for (std::size_t k = 0; k < points.count(); ++k) {
        std::copy_n(poles + 4 * k, 3, &points.c[3 * k]);
        weights.c[k] = poles[4 * k + 3];
    }
    for (std::size_t k = 0; k < fitted.count(); ++k)
        std::copy_n(&fitted_[4 * k], 3, &fitted.c[3 * k]);
    const BernsteinNet tangents[2] = {tangent(points, weights, poles, true),
                                      tangent(points, weights, poles, false)};
    const Cone cones[2] = {Cone(tangents[0]), Cone(tangents[1])};
    const double across = std::acos(std::min(1.0, std::fabs(dot3(cones[0].axis, cones[1].axis))));
    const double least_angle = across - cones[0].angle - cones[1].angle;
    if (!(cones[0].least > 0.0 && cones[1].least > 0.0 && least_angle > 0.0)) return unproved;

    // The largest values at the samples.
    const std::vector<double> x = sampled<3>(points), f = sampled<3>(fitted),
                              t[2] = {sampled<3>(tangents[0]), sampled<3>(tangents[1])};
    const std::vector<double> w = rational_ ? sampled<1>(weights) : std::vector(x.size() / 3, 1.0);
    const double d2 = offset_ * offset_;
    double along[2] = {}, difference = 0.0, most = 0.0;
    for (std::size_t k = 0; k < w.size(); ++k) {
        double apart[3]; // w D
        for (std::size_t c = 0; c < 3; ++c)
            apart[c] = w[k] * f[3 * k + c] - x[3 * k + c];
        for (int a = 0; a < 2; ++a)
            along[a] = std::max(along[a], std::fabs(dot3(apart, &t[a][3 * k])));
        const double square = dot3(apart, apart);
        difference = std::max(difference, std::fabs(square - d2 * w[k] * w[k]));
        most = std::max(most, square);
    }
    // A polynomial of degree m is, between `samples` of Chebyshev's nodes, at most 1 / cos(pi m /
    // (2 samples)) times what it is at them (Ehlich and Zeller, Mathematische Zeitschrift 86,
    // 1964).
    const auto between = [this](int degree_u, int degree_v) {
        const double half = 0.5 * std::numbers::pi / samples_;
        return 1.0 / (std::cos(degree_u * half) * std::cos(degree_v * half));
    };
    const int p = rational_ ? p_ + n : std::max(p_, n), q = rational_ ? q_ + n : std::max(q_, n);
    const double least_weight = range_of(weights, 0).start();
    const double extent = std::max(largest_length(points) / least_weight, largest_length(fitted));
    // Sums of p + 1 and q + 1 products, and of those of P.
    const double rounding = (2 * n + p_ + q_ + 8) * 0x1p-53 * extent;
    double tangential = 0.0, rounded = 0.0;
    for (int a = 0; a < 2; ++a) {
        const double by_rounding = rounding * largest_length(tangents[a]);
        const double product = between(p + tangents[a].p, q + tangents[a].q) * along[a];
        const double unit = least_weight * cones[a].least;
        tangential += std::pow((product + by_rounding) / unit, 2);
        rounded += std::pow(by_rounding / unit, 2);
    }
    tangential /= 1.0 - std::cos(least_angle);
    const double d = std::fabs(offset_);
    const double gamma = (between(2 * p, 2 * q) * difference + 2.0 * rounding * (d + rounding)) /
                         (least_weight * least_weight);
    if (!(gamma + tangential < 0.5 * d2)) { // next to no offset: |D - d n| <= |D| + d
        rounding_ = rounding / least_weight;
        return std::sqrt(between(2 * p, 2 * q) * most) / least_weight + rounding_ + d;
    }
    rounding_ = std::sqrt(rounded / (1.0 - std::cos(least_angle)));
    return std::sqrt(tangential + std::pow((gamma + tangential) / d, 2));
}

} // namespace velm::detail
