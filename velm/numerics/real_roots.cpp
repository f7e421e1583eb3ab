#include "velm/numerics/real_roots.h"

#include "velm/numerics/detail/root_isolation.h"
#include "velm/numerics/detail/root_polish.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

namespace velm {

namespace {

using detail::DoubleDouble;
using detail::LocalPolynomial;
using detail::RootInterval;
using detail::RootIsolation;
using detail::Workspace;

// Terms whose sizes are within 2^range_exponents of each other are processed at once: scaled to at
// most 1, their products keep above the 2^-900 that pairs of doubles need.
constexpr int range_exponents = 400;
// Coefficients between 2^-plain_exponents and 2^plain_exponents need no scaling.
constexpr int plain_exponents = 150;

// How an argument y >= 0 of a scaled polynomial maps to an x.
struct Chart {
    enum Kind {
        positive,   // x = y
        negative,   // x = -y
        from_start, // y = x / (1 - x), for a Bernstein form
        from_end    // y = (1 - x) / x, the same from the other end
    } kind;

    // Maps the root from y, in units of 2^exponent, to x.
    void map(RealRoot& root, int exponent) const {
        if (exponent != 0)
            for (double* y : {&root.value, &root.lower, &root.upper})
                *y = std::ldexp(*y, exponent);
        if (kind == positive) return;
        if (kind != from_start) std::swap(root.lower, root.upper);
        for (double* y : {&root.value, &root.lower, &root.upper})
            *y = kind == negative ? -*y : (kind == from_start ? *y : 1.0) / (1.0 + *y);
        if (kind == negative) return;
        constexpr double rounding = 2 * DBL_EPSILON;
        root.lower = std::min(root.lower * (1.0 - rounding), root.value);
        root.upper = std::max(root.upper * (1.0 + rounding), root.value);
    }
};

// Finds the roots of one polynomial, one chart after the other. If the roots of the charts leave a
// cluster fewer than it was given, all is done once more with their number known.
class Solver {
public:
    Solver(int degree, double uncertainty, double first, double last, std::span<RealRoot> out)
        : workspace_(room(degree)), source_(LocalPolynomial::in(workspace_, degree)),
          scaled_(LocalPolynomial::in(workspace_, degree)),
          derivative_(LocalPolynomial::in(workspace_, degree)),
          cluster_room_(workspace_.take(5 * (degree + 1))),
          isolation_room_(workspace_.take(RootIsolation::room(degree))), uncertainty_(uncertainty),
          first_(first), last_(last), degree_(degree), out_(out) {}

    // The polynomial to be solved next; its lowest and highest coefficients are not 0.
    LocalPolynomial& source() { return source_; }
    // Its roots y in [lower, upper], 0 <= lower <= upper, which may be infinite.
    void solve(Chart chart, double lower, double upper);
    void add(double x, int multiplicity) {
        next() = {x, x, x, multiplicity, true};
        keep(next());
    }
    // Makes as many passes as needed, each of which adds and solves everything; sorts the roots
    // and returns their number.
    template <class Pass>
    int run(Pass pass);

private:
    static std::size_t room(int degree) {
        return std::size_t(3 * LocalPolynomial::arrays + 5) * std::size_t(degree + 1) +
               std::size_t(RootIsolation::room(degree));
    }
    RealRoot& next();
    void keep(RealRoot& root);
    bool has_one_sign() const;
    bool is_plain(double upper) const;
    void solve_by_bands(Chart chart, double lower, double upper);
    void solve_scaled(LocalPolynomial& p, Chart chart, double lower, double upper, int exponent);

    Workspace workspace_;
    LocalPolynomial source_;
    LocalPolynomial scaled_;
    LocalPolynomial derivative_;
    double* cluster_room_;
    double* isolation_room_;
    double uncertainty_;
    double first_; // the interval asked for
    double last_;
    int degree_;
    std::span<RealRoot> out_;
    RealRoot beyond_; // for roots beyond the room, which can't occur
    int count_ = 0;
    int sure_ = 0; // roots that every polynomial within the uncertainty has, found in this pass
    int elsewhere_ = 0; // sure roots of the previous pass
    int largest_ = 0;   // multiplicity of a cluster, less a sure root of its own
};

// Whether no coefficient differs in sign from the last, so that there are no roots y > 0.
bool Solver::has_one_sign() const {
    const double* const c = source_.hi;
    const bool positive = c[source_.degree] > 0.0;
    return std::all_of(c, c + source_.degree,
                       [positive](double x) { return positive ? x >= 0.0 : x <= 0.0; });
}

// Whether p needs no scaling up to `upper`.
bool Solver::is_plain(double upper) const {
    if (!(upper <= 1.0 && upper >= std::ldexp(1.0, -range_exponents / source_.degree)))
        return false;
    const double smallest = std::ldexp(1.0, -plain_exponents);
    const double largest = std::ldexp(1.0, plain_exponents);
    return std::all_of(source_.size, source_.size + source_.degree + 1,
                       [=](double x) { return (x >= smallest && x <= largest) || x == 0.0; });
}

void Solver::solve(Chart chart, double lower, double upper) {
    if (source_.degree == 0 || !(lower <= upper) || !(upper > 0.0) || has_one_sign()) return;
    if (is_plain(upper))
        solve_scaled(source_, chart, lower, upper, 0);
    else
        solve_by_bands(chart, lower, upper);
}

// The sizes of a polynomial's coefficients as powers of two.
class Exponents {
public:
    Exponents(const LocalPolynomial& p) : p_(p) {}

    bool present(int i) const { return p_.hi[i] != 0.0; }
    // The exponent of coefficient i, with y measured in units of 2^unit.
    int of(int i, int unit = 0) const { return std::ilogb(p_.hi[i]) + i * unit; }

    int largest(int unit) const {
        int result = of(p_.degree, unit);
        for (int i = 0; i < p_.degree; ++i)
            if (present(i)) result = std::max(result, of(i, unit));
        return result;
    }
    // No root is as large as 2 to this power (Fujiwara, Tohoku Mathematical Journal 10, 1916).
    int above_roots() const {
        const int n = p_.degree;
        int result = -2000;
        for (int i = 0; i < n; ++i)
            if (present(i)) result = std::max(result, -floor_of(of(n) - of(i) - 1, n - i));
        return result + 2;
    }
    // No root is as small as 2 to this power.
    int below_roots() const {
        int result = 2000;
        for (int i = 1; i <= p_.degree; ++i)
            if (present(i)) result = std::min(result, floor_of(of(0) - of(i) - 1, i));
        return result - 2;
    }
    // The largest k such that the largest term at 2^-k is still 2^level, in units of 2^unit.
    int down_to(int level, int unit) const {
        int k = 1;
        for (int i = 1; i <= p_.degree; ++i)
            if (present(i)) k = std::max(k, floor_of(of(i, unit) - level, i));
        return k;
    }

private:
    static int floor_of(int a, int b) { return a >= 0 ? a / b : -((b - 1 - a) / b); }

    const LocalPolynomial& p_;
};

// Scales y by powers of two, a band of sizes at a time, so that nothing over- or underflows.
void Solver::solve_by_bands(Chart chart, double lower, double upper) {
    const Exponents exponents(source_);
    const int above = exponents.above_roots();
    const int below = exponents.below_roots();
    upper = std::min(upper, above < DBL_MAX_EXP ? std::ldexp(1.0, above) : DBL_MAX);
    if (upper < lower || upper < std::ldexp(1.0, below)) return;
    while (true) {
        int unit;
        std::frexp(upper, &unit);
        const int largest = exponents.largest(unit);
        scaled_.degree = source_.degree;
        for (int i = 0; i <= source_.degree; ++i) {
            const int shift = i * unit - largest;
            scaled_.set(i, {std::ldexp(source_.hi[i], shift), std::ldexp(source_.lo[i], shift)});
        }
        double floor = lower;
        if (exponents.of(0) < largest - range_exponents) {
            // A cut where p can't be distinguished from zero would cut a root in two.
            int k = exponents.down_to(largest - range_exponents, unit);
            while (k > 1 && !clear_of_zero(scaled_, std::ldexp(1.0, -k), uncertainty_))
                --k;
            floor = std::max(lower, std::ldexp(1.0, unit - k));
        }
        solve_scaled(scaled_, chart, std::ldexp(floor, -unit), std::ldexp(upper, -unit), unit);
        if (floor == lower || floor < std::max(DBL_MIN, std::ldexp(1.0, below))) return;
        upper = floor;
    }
}

void Solver::solve_scaled(LocalPolynomial& p, Chart chart, double lower, double upper,
                          int exponent) {
    RootIsolation isolation(p, uncertainty_, isolation_room_);
    isolation.start(lower, upper);
    while (const RootInterval* const interval = isolation.next()) {
        RealRoot& root = next();
        if (interval->lone) {
            polish_lone_root(p, *interval, uncertainty_, root);
            ++sure_;
        } else {
            const detail::Cluster held = resolve_cluster(
                p, *interval, uncertainty_, degree_ - elsewhere_, derivative_, cluster_room_, root);
            if (held == detail::Cluster::empty) continue;
            const int own = held == detail::Cluster::surely_one ? 1 : 0;
            sure_ += own;
            largest_ = std::max(largest_, root.multiplicity - own);
        }
        chart.map(root, exponent);
        keep(root);
    }
}

// Where the next root is written.
RealRoot& Solver::next() {
    return std::size_t(count_) < out_.size() ? out_[std::size_t(count_)] : beyond_;
}

// Keeps the next root if it belongs to the interval asked for.
void Solver::keep(RealRoot& root) {
    if (root.upper < first_ || root.lower > last_ || &root == &beyond_) return;
    for (double* x : {&root.value, &root.lower, &root.upper})
        *x = std::clamp(*x, first_, last_);
    ++count_;
}

template <class Pass>
int Solver::run(Pass pass) {
    pass();
    if (largest_ > degree_ - sure_) {
        elsewhere_ = sure_;
        count_ = 0;
        pass();
    }
    const auto found = out_.first(std::size_t(count_));
    std::sort(found.begin(), found.end(),
              [](const RealRoot& a, const RealRoot& b) { return a.value < b.value; });
    return count_;
}

} // namespace

namespace {

bool valid(std::span<const double> values, const ERLimites& limits) {
    return limits.start() <= limits.end() &&
           std::all_of(values.begin(), values.end(), [](double x) { return std::isfinite(x); });
}

// The one entry for a polynomial that is zero.
int everywhere(const ERLimites& limits, std::span<RealRoot> out) {
    const double middle = std::clamp(0.0, limits.start(), limits.end());
    if (!out.empty()) out[0] = {middle, limits.start(), limits.end(), 0, true};
    return 1;
}

// The places of the first and last coefficient that isn't 0; the first is the size if all are.
struct Extent {
    std::size_t first = 0;
    std::size_t last;

    explicit Extent(std::span<const double> c) : last(c.size()) {
        while (first < c.size() && c[first] == 0.0)
            ++first;
        while (last > first && c[last - 1] == 0.0)
            --last;
        --last;
    }
};

// Solves in the power basis; `out` has room for the degree.
int solve_power(std::span<const double> c, const ERLimites& limits, double uncertainty,
                std::span<RealRoot> out) {
    const Extent extent(c);
    if (extent.first == c.size()) return everywhere(limits, out);
    const int n = static_cast<int>(extent.last - extent.first);
    Solver solver(n, uncertainty, limits.start(), limits.end(), out);
    const auto solve_side = [&](Chart::Kind side, double lower, double upper) {
        LocalPolynomial& p = solver.source();
        p.degree = n;
        for (int i = 0; i <= n; ++i) {
            const double value = c[extent.first + std::size_t(i)];
            p.set(i, side == Chart::negative && i % 2 != 0 ? -value : value);
        }
        solver.solve({side}, lower, upper);
    };
    return solver.run([&] {
        if (extent.first > 0) solver.add(0.0, static_cast<int>(extent.first));
        if (limits.start() < 0.0)
            solve_side(Chart::negative, std::max(-limits.end(), 0.0), -limits.start());
        if (limits.end() > 0.0)
            solve_side(Chart::positive, std::max(limits.start(), 0.0), limits.end());
    });
}

// Sets p's coefficient i to binomial(n, i) poles[i], as pairs, from either end, without those at
// the ends that are 0.
void set_from_poles(LocalPolynomial& p, std::span<const double> poles, const Extent& extent,
                    bool from_end) {
    const std::size_t n = poles.size() - 1;
    double largest = 0.0;
    for (const double x : poles)
        largest = std::max(largest, std::fabs(x));
    const int exponent = std::ilogb(largest);
    DoubleDouble binomial = 1.0;
    p.degree = static_cast<int>(extent.last - extent.first);
    for (std::size_t i = 0; i <= n; ++i) {
        const std::size_t place = from_end ? n - i : i;
        if (place >= extent.first && place <= extent.last) {
            const std::size_t at = from_end ? extent.last - place : place - extent.first;
            p.set(static_cast<int>(at),
                  binomial * DoubleDouble(std::ldexp(poles[place], -exponent)));
        }
        binomial = binomial * DoubleDouble(double(n - i)) / DoubleDouble(double(i + 1));
    }
}

// Solves in the Bernstein basis; `out` has room for the degree.
//
// With y = t / (1 - t), p(t) is (1 - t)^n times the polynomial in y whose coefficients are the
// poles times binomials: its signs and its noise are those of p. It is solved up to t = 1/2, and
// from the other end beyond.
int solve_bernstein(std::span<const double> poles, const ERLimites& limits, double uncertainty,
                    std::span<RealRoot> out) {
    const Extent extent(poles);
    const double start = std::max(limits.start(), 0.0);
    const double end = std::min(limits.end(), 1.0);
    if (!(start <= end)) return 0;
    if (extent.first == poles.size()) return everywhere({start, end}, out);
    const int n = static_cast<int>(poles.size()) - 1;
    const int degree = static_cast<int>(extent.last - extent.first);
    constexpr double wider = 1.0 + 4 * DBL_EPSILON;
    Solver solver(degree, uncertainty, start, end, out);
    LocalPolynomial& p = solver.source();
    return solver.run([&] {
        if (extent.first > 0) solver.add(0.0, static_cast<int>(extent.first));
        if (extent.last < std::size_t(n)) solver.add(1.0, n - static_cast<int>(extent.last));
        set_from_poles(p, poles, extent, false);
        double meeting = 1.0; // in y; must not be where p is unclear, in the middle of a root
        for (const double y : {1.0, 2.0, 0.5})
            if (clear_of_zero(p, y, uncertainty)) {
                meeting = y;
                break;
            }
        solver.solve({Chart::from_start}, start / (1.0 - start) / wider,
                     std::min(meeting, end / (1.0 - end) * wider));
        set_from_poles(p, poles, extent, true);
        solver.solve({Chart::from_end}, (1.0 - end) / end / wider,
                     std::min(1.0 / meeting, (1.0 - start) / start * wider));
    });
}

using Solve = int (*)(std::span<const double>, const ERLimites&, double, std::span<RealRoot>);

std::vector<RealRoot> into_vector(Solve solve, std::span<const double> values,
                                  const ERLimites& limits, double uncertainty) {
    if (!valid(values, limits)) return {};
    std::vector<RealRoot> roots(std::max<std::size_t>(values.size(), 1));
    roots.resize(std::size_t(solve(values, limits, uncertainty, roots)));
    return roots;
}

int into_span(Solve solve, std::span<const double> values, const ERLimites& limits,
              double uncertainty, std::span<RealRoot> roots) {
    if (!valid(values, limits)) return 0;
    if (roots.size() >= std::max<std::size_t>(values.size(), 2) - 1)
        return solve(values, limits, uncertainty, roots);
    const std::vector<RealRoot> all = into_vector(solve, values, limits, uncertainty);
    std::copy_n(all.begin(), std::min(all.size(), roots.size()), roots.begin());
    return static_cast<int>(all.size());
}

} // namespace

std::vector<RealRoot> real_roots(std::span<const double> coefficients, const ERLimites& limits,
                                 double uncertainty) {
    return into_vector(solve_power, coefficients, limits, uncertainty);
}

std::vector<RealRoot> real_roots(const ERPolynome& p, const ERLimites& limits, double uncertainty) {
    return real_roots(p.view(), limits, uncertainty);
}

int real_roots(std::span<const double> coefficients, const ERLimites& limits,
               std::span<RealRoot> roots, double uncertainty) {
    return into_span(solve_power, coefficients, limits, uncertainty, roots);
}

std::vector<RealRoot> real_roots_bernstein(std::span<const double> poles, const ERLimites& limits,
                                           double uncertainty) {
    return into_vector(solve_bernstein, poles, limits, uncertainty);
}

int real_roots_bernstein(std::span<const double> poles, const ERLimites& limits,
                         std::span<RealRoot> roots, double uncertainty) {
    return into_span(solve_bernstein, poles, limits, uncertainty, roots);
}

} // namespace velm
