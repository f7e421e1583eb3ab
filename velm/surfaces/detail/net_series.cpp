#include "velm/surfaces/detail/net_series.h"

#include "velm/curves/detail/basis_functions.h"
#include "velm/surfaces/detail/pole_grid.h"

#include <algorithm>
#include <vector>

namespace velm::detail {

namespace {

// Of the thread, so that nothing is allocated after its first questions.
double* kept_room(std::size_t count) {
    static thread_local std::vector<double> room;
    if (room.size() < count) room.resize(count);
    return room.data();
}

// Calls f(i, j, differences) with the forward differences of the net, i times along U and j along
// V, for i + j up to 3: degree_u - i + 1 columns in rows of the net's length.
template <class F>
void for_differences(const SeriesNet& net, F f) {
    constexpr std::size_t bicubic = 2 * 4 * 16;
    double few[bicubic];
    const std::size_t doubles = 2 * net.doubles();
    double* const by_v = doubles <= bicubic ? few : kept_room(doubles);
    double* const by_both = by_v + net.doubles();
    const std::ptrdiff_t row = 4 * std::ptrdiff_t(net.columns());
    std::copy_n(net.poles, net.doubles(), by_v);
    const auto subtract = [](double* from, std::ptrdiff_t count, std::ptrdiff_t step) {
        for (std::ptrdiff_t k = 0; k < count; ++k)
            from[k] = from[k + step] - from[k];
    };
    for (int j = 0; j <= std::min(series_order, net.degree_v); ++j) {
        const int rows = net.rows() - j;
        if (j > 0) subtract(by_v, rows * row, row);
        std::copy_n(by_v, rows * row, by_both);
        for (int i = 0; i <= std::min(series_order - j, net.degree_u); ++i) {
            if (i > 0)
                for (int r = 0; r < rows; ++r)
                    subtract(by_both + r * row, row - 4 * i, 4);
            f(i, j, by_both);
        }
    }
}

// The factor that makes an i-th difference the coefficient of the i-th power.
double power_factor(int degree, int i, double length) {
    double factor = 1.0;
    for (int k = 0; k < i; ++k)
        factor *= (degree - k) / ((k + 1) * length);
    return factor;
}

// Calls reduce(i, j, differences) for the four components of each difference.
template <class T, class Reduce>
void expand_net(const SeriesNet& net, HomogeneousSeries<T>& h, Reduce reduce) {
    for_differences(net, [&](int i, int j, const double* differences) {
        const T factor(power_factor(net.degree_u, i, net.u.amplitude()) *
                       power_factor(net.degree_v, j, net.v.amplitude()));
        T sums[4];
        reduce(i, j, differences, sums);
        for (int k = 0; k < 4; ++k)
            h[k](i, j) = sums[k] * factor;
    });
}

// Bernstein's functions at x of the degrees p to p - 3, one list after the other.
struct BernsteinLists {
    explicit BernsteinLists(int degree) : p(degree), memory(4 * (std::size_t(degree) + 1)) {}
    double* list(int lower) { return memory.data() + std::ptrdiff_t(lower) * (p + 1); }
    void fill(double x) {
        double* const value = list(0);
        value[0] = 1.0;
        for (int n = 0; n <= p; ++n) {
            if (n > 0) {
                double saved = 0.0;
                for (int r = 0; r < n; ++r) {
                    const double before = value[r];
                    value[r] = saved + (1.0 - x) * before;
                    saved = x * before;
                }
                value[n] = saved;
            }
            if (n < p && p - n <= series_order) std::copy_n(value, n + 1, list(p - n));
        }
    }
    int p;
    WorkArray<double, 4 * 6> memory;
};

} // namespace

SeriesNet net_of(const SurfaceTables& tables, int i, int j) {
    const auto a = std::size_t(i), b = std::size_t(j);
    return {tables.patch(i, j),
            tables.degree_u,
            tables.degree_v,
            {tables.ends_u[a], tables.ends_u[a + 1]},
            {tables.ends_v[b], tables.ends_v[b + 1]},
            tables.rational};
}

void expand_at(const SeriesNet& net, double u, double v, HomogeneousSeries<double>& h) {
    BernsteinLists in_u(net.degree_u), in_v(net.degree_v);
    in_u.fill(net.u.ratio(u));
    in_v.fill(net.degree_v > 0 ? net.v.ratio(v) : 0.0);
    expand_net<double>(net, h, [&](int i, int j, const double* differences, double* sums) {
        std::fill_n(sums, 4, 0.0);
        for (int r = 0; r <= net.degree_v - j; ++r)
            for (int a = 0; a <= net.degree_u - i; ++a) {
                const double weight = in_v.list(j)[r] * in_u.list(i)[a];
                const double* const pole = differences + 4 * (r * net.columns() + a);
                for (int k = 0; k < 4; ++k)
                    sums[k] += weight * pole[k];
            }
    });
}

// Bernstein's functions are positive and sum up to 1.
void expand_over(const SeriesNet& net, HomogeneousSeries<Interval>& h) {
    expand_net<Interval>(net, h, [&](int i, int j, const double* differences, Interval* sums) {
        for (int r = 0; r <= net.degree_v - j; ++r)
            for (int a = 0; a <= net.degree_u - i; ++a)
                for (int k = 0; k < 4; ++k) {
                    const double value = differences[4 * (r * net.columns() + a) + k];
                    r + a == 0 ? sums[k] = Interval(value) : (sums[k].include(value), sums[k]);
                }
    });
}

std::vector<double> restricted(const SeriesNet& net, const ERLimites& u, const ERLimites& v) {
    std::vector<double> poles(net.poles, net.poles + net.doubles());
    const PoleGrid grid{poles.data(), net.rows(), net.columns(), 4};
    const auto cut_along = [&](Axis axis, const ERLimites& whole, const ERLimites& part) {
        if (!(part == whole))
            restrict_grid(grid, axis, whole.ratio(part.start()), whole.ratio(part.end()));
    };
    cut_along(Axis::u, net.u, u);
    if (net.degree_v > 0) cut_along(Axis::v, net.v, v);
    return poles;
}

SurfaceSeries<Interval> points_over(const SeriesNet& net, const ERLimites& u, const ERLimites& v) {
    std::vector<double> poles(net.poles, net.poles + net.doubles());
    double origin[3];
    const std::size_t middle = 4 * (net.doubles() / 8);
    for (std::size_t k = 0; k < 3; ++k)
        origin[k] = poles[middle + k] / poles[middle + 3];
    for (std::size_t i = 0; i < poles.size(); i += 4)
        for (std::size_t k = 0; k < 3; ++k)
            poles[i + k] -= origin[k] * poles[i + 3];
    SeriesNet about(net);
    about.poles = poles.data();
    const std::vector<double> part = restricted(about, u, v);
    HomogeneousSeries<Interval> h;
    expand_over({part.data(), net.degree_u, net.degree_v, u, v, net.rational}, h);
    return points_of(h, net.rational, origin);
}

} // namespace velm::detail
