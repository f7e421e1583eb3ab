// velm::real_roots against answers known in advance: roots of many digits (data/polynomials.txt and
// real data), roots multiplied out, and the guarantee for rounded coefficients.
#include "velm/numerics/real_roots.h"

#include "velm/numerics/detail/double_double.h"

#include "support/test.h"

namespace {

using Real = long double;

constexpr double infinity = std::numeric_limits<double>::infinity();

struct Problem {
    std::string name;
    bool bernstein = false, apart = false;
    ERLimites limits{-infinity, infinity};
    std::vector<double> c;
    std::vector<std::vector<Real>> groups; // of roots that rounding can't distinguish
};

std::vector<velm::RealRoot> solve(const Problem& p, double uncertainty = velm::rounded_once) {
    return p.bernstein ? velm::real_roots_bernstein(p.c, p.limits, uncertainty)
                       : velm::real_roots(p.c, p.limits, uncertainty);
}

struct Value {
    Real p = 0.0, slope = 0.0, size = 0.0;
};

// p, p' and the sum of the sizes of p's terms.
Value evaluate(const Problem& p, Real x) {
    const int n = static_cast<int>(p.c.size()) - 1;
    const Real y = 1 - x;
    Real c = 1.0; // binomial
    Value v;
    for (int i = 0; i <= n; c = p.bernstein ? c * (n - i) / (i + 1) : c, ++i) {
        const int j = p.bernstein ? n - i : 0;
        const Real term = c * p.c[std::size_t(i)] * std::pow(x, i) * std::pow(y, j);
        v.p += term;
        v.size += std::fabs(term);
        if (term != 0.0) v.slope += (i > 0 ? i * term / x : 0) - j * term / y;
    }
    return v;
}

// Compares the entries found with all roots in the limits, ascending, multiple ones repeated: none
// is lost, none invented, and simple ones are as accurate as their condition promises.
void judge(const Problem& p, const std::vector<Real>& roots,
           const std::vector<velm::RealRoot>& found) {
    const Real degree = Real(p.c.size()) - 1;
    std::size_t next = 0; // of roots
    double before = -infinity;
    for (const velm::RealRoot& r : found) {
        EXPECT_TRUE(before <= r.lower && r.lower <= r.value && r.value <= r.upper) << r.value;
        before = r.upper;
        int inside = 0;
        Real root = r.value;
        for (; next < roots.size() && roots[next] <= r.upper; ++next, ++inside)
            EXPECT_GE(root = roots[next], r.lower) << "lost";
        EXPECT_LE(inside, r.multiplicity) << r.value;
        const Value v = evaluate(p, inside == 0 ? r.value : root);
        EXPECT_TRUE(inside > 0 || (!r.crosses && std::fabs(v.p) <= 1.001L * 0x1p-53L * v.size))
            << "invented " << r.value;
        if (inside != 1 || r.multiplicity != 1 || r.value == root) continue;
        const Real tolerance =
            0x1p-51L * std::fabs(root) + degree * 0x1p-102L * v.size / std::fabs(v.slope);
        EXPECT_LE(std::fabs(r.value - root), tolerance) << r.value;
    }
    EXPECT_EQ(next, roots.size()) << "lost";
}

// Reads the form that scripts/references/polynomials.py writes, or that of the real data.
std::vector<Problem> read(const std::string& path) {
    std::ifstream file(path);
    std::vector<Problem> problems;
    for (std::string line; std::getline(file, line);) {
        std::istringstream in(line);
        std::string what, word;
        in >> what;
        if (what == "poly") {
            Problem& p = problems.emplace_back();
            std::string basis, lower, upper, label;
            in >> p.name >> basis >> lower >> upper >> label;
            p.bernstein = basis == "bernstein";
            p.apart = label == "apart";
            if (basis != "degree")
                p.limits = {std::strtod(lower.c_str(), nullptr),
                            std::strtod(upper.c_str(), nullptr)};
        }
        while (what == "coef" && in >> word && word != "exact")
            problems.back().c.push_back(std::strtod(word.c_str(), nullptr));
        if (what == "group" || what == "root") problems.back().groups.emplace_back();
        while ((what == "group" || what == "root") && in >> word)
            problems.back().groups.back().push_back(std::strtold(word.c_str(), nullptr));
    }
    return problems;
}

std::vector<Real> all_roots(const Problem& p) {
    std::vector<Real> roots;
    for (const std::vector<Real>& group : p.groups)
        roots.insert(roots.end(), group.begin(), group.end());
    std::sort(roots.begin(), roots.end());
    return roots;
}

TEST(RealRoots, PublishedHardCases) {
    const std::vector<Problem> problems = read(VELM_TEST_FOLDER "/numerics/data/polynomials.txt");
    ASSERT_GE(problems.size(), 35u);
    for (const Problem& p : problems) {
        SCOPED_TRACE(p.name);
        const std::vector<velm::RealRoot> found = solve(p);
        judge(p, all_roots(p), found);
        ASSERT_EQ(found.size(), p.groups.size());
        for (std::size_t i = 0; i < found.size(); ++i) {
            const int size = static_cast<int>(p.groups[i].size());
            EXPECT_GE(found[i].multiplicity, size);
            EXPECT_EQ(found[i].multiplicity % 2, size % 2) << i;
            EXPECT_EQ(found[i].crosses, size > 0);
            EXPECT_TRUE(found[i].multiplicity == 1 || !p.apart);
        }
    }
}

TEST(RealRoots, PolynomialsOfAnotherRootFindersTests) {
    const std::vector<Problem> problems = read(VELM_REAL_DATA "/polynomials/mpsolve_real.txt");
    if (problems.empty()) GTEST_SKIP() << "no reference data here";
    for (const Problem& p : problems) {
        SCOPED_TRACE(p.name);
        judge(p, all_roots(p), solve(p));
    }
}

// Multiplies roots j / 256 out, exactly. In the Bernstein basis each is a factor
// (256 - j) t - j (1 - t), and up to degree 5 the binomials divide 60.
Problem from_roots(velm_test::Random& random, bool bernstein, std::vector<int>& roots) {
    const int degree = 1 + random.below(bernstein ? 5 : 6);
    Problem p;
    p.bernstein = bernstein;
    p.c = {bernstein ? 60.0 : 1.0};
    while (static_cast<int>(roots.size()) < degree) {
        const bool apart = roots.empty() || random.below(2) == 0;
        roots.push_back(apart ? random.below(400) - 100 : roots.back() + random.below(3) - 1);
        p.c.push_back(0.0);
        const double lead = bernstein ? 256.0 - roots.back() : 256.0;
        for (std::size_t i = p.c.size(); i-- > 0;)
            p.c[i] = (i > 0 ? p.c[i - 1] * lead : 0.0) - roots.back() * p.c[i];
    }
    std::sort(roots.begin(), roots.end());
    double binomial = 1.0;
    for (int i = 0; bernstein && i <= degree; binomial = binomial * (degree - i) / (i + 1), ++i)
        p.c[std::size_t(i)] /= binomial;
    return p;
}

// Includes roots on the ends and multiple ones, at any scale of p and x.
TEST(RealRoots, RootsMultipliedOutComeBack) {
    velm_test::Random random(31);
    for (int round = 0; round < 6000; ++round) {
        std::vector<int> whole;
        const bool bernstein = round % 2 == 0;
        Problem p = from_roots(random, bernstein, whole);
        SCOPED_TRACE(testing::Message() << round << " " << testing::PrintToString(whole));
        const int shift = bernstein ? 0 : random.below(200) - 100; // of x
        const int scale = random.below(600) - 300;
        for (std::size_t i = 0; i < p.c.size(); ++i)
            p.c[i] = std::ldexp(p.c[i], scale - static_cast<int>(i) * shift);
        int lower = bernstein ? 0 : -256, upper = 256;
        if (random.below(2) == 0) { // both ends on roots
            lower = std::max(lower, whole[std::size_t(random.below(int(whole.size())))]);
            upper = std::clamp(whole.back(), lower, upper);
        }
        const auto at = [shift](int j) { return std::ldexp(double(j), shift - 8); };
        p.limits = {at(lower), at(upper)};
        std::vector<Real> roots;
        for (const int j : whole)
            if (j >= lower && j <= upper) roots.push_back(at(j));
        judge(p, roots, solve(p));
        if (testing::Test::HasFailure()) return;
    }
}

// The coefficients may be off by the uncertainty: the roots of polynomials that near are in the
// enclosures, no more of them in each than its multiplicity.
TEST(RealRoots, EnclosuresHoldTheRootsOfAllNearPolynomials) {
    velm_test::Random random(32);
    for (int round = 0; round < 3000; ++round) {
        Problem p;
        p.bernstein = round % 2 == 0;
        p.limits = {p.bernstein ? 0.0 : -1.5, p.bernstein ? 1.0 : 1.5};
        p.c.resize(std::size_t(2 + random.below(12)));
        for (double& c : p.c)
            c = random.uniform(-1.0, 1.0) * std::pow(10.0, random.below(4));
        std::vector<velm::RealRoot> enclosures = solve(p, 0x1p-30);
        for (double& c : p.c)
            c *= 1.0 + random.uniform(-1.0, 1.0) * 0x1p-30;
        for (const velm::RealRoot& r : solve(p)) {
            auto e = enclosures.begin();
            while (e != enclosures.end() && e->upper < r.value)
                ++e;
            ASSERT_TRUE(e != enclosures.end() && e->lower <= r.value) << round << " " << r.value;
            EXPECT_GE(e->multiplicity -= r.crosses, 0) << round; // so many may still follow
        }
    }
}

// The sign of p's derivative of an order at x, in pairs, and the error of x that it allows.
struct Derivative {
    int sign;
    double reach;
};

Derivative derivative_at(const std::vector<double>& c, int order, double x) {
    using velm::detail::DoubleDouble;
    DoubleDouble value, slope;
    double size = 0.0;
    for (int i = int(c.size()) - 1; i >= order; --i) {
        DoubleDouble factor = c[std::size_t(i)];
        for (int k = i; k > i - order; --k)
            factor = factor * double(k);
        slope = slope * x + value;
        value = value * x + factor;
        size = size * std::fabs(x) + std::fabs(factor.hi);
    }
    const double noise = double(c.size() * c.size()) * 0x1p-104 * size;
    return {(value.hi > 0.0) - (value.hi < 0.0),
            0x1p-51 * std::fabs(x) + noise / std::fabs(slope.hi)};
}

// The value of an entry is a zero of p's derivative of order multiplicity - 1, if that changes its
// sign in the enclosure: also for a cluster that has fewer roots, because of the roots next to it,
// than its own derivatives suggest.
TEST(RealRoots, ValuesAreZerosOfTheDerivativeOfTheirMultiplicity) {
    struct Case {
        std::vector<double> c;
        ERLimites limits;
        std::vector<double> values;
    };
    const Case cases[] = {
        {{0.23006699531932523, -1.328772871410003, 2.877918154233815, -2.7702795273010423, 1.0},
         {-1.0, 2.0256743461347013},
         {0.69227673256626448, 0.69249575289488908, 0.69263691985928732, 0.69287012198060145}},
        // The second derivative has two zeros in the last enclosure.
        {{-0.17993068978319673, 0.8784518454304756, -1.1736599080679788, -0.8319611238636364,
          3.55494798169143, -3.2469941503116297, 1.0},
         {-1.5, 1.5},
         {-0.63842136964671005, 0.70664289582490234, 0.79430788557956767, 0.79481300215100170}}};
    for (const Case& one : cases) {
        const std::vector<velm::RealRoot> found = velm::real_roots(one.c, one.limits);
        ASSERT_EQ(found.size(), one.values.size());
        for (std::size_t i = 0; i < found.size(); ++i)
            EXPECT_NEAR(found[i].value, one.values[i], 0x1p-52) << i;
    }

    velm_test::Random random(33);
    for (int round = 0; round < 20000; ++round) {
        std::vector<double> c{1.0};
        const int degree = 2 + random.below(8);
        double root = 0.0;
        for (int i = 0; i < degree; ++i) {
            const bool apart = i == 0 || random.below(3) == 0;
            root = apart ? random.uniform(-1.5, 1.5)
                         : root + random.uniform(-1.0, 1.0) * std::pow(10.0, -random.below(12));
            c.push_back(1.0);
            for (std::size_t k = c.size() - 1; k-- > 0;)
                c[k] = (k > 0 ? c[k - 1] : 0.0) - root * c[k];
        }
        const double uncertainty = random.below(2) == 0 ? velm::rounded_once : 0.0;
        for (const velm::RealRoot& r : velm::real_roots(c, {-1.5, 1.5}, uncertainty)) {
            const int order = r.multiplicity - 1;
            if (derivative_at(c, order, r.lower).sign == derivative_at(c, order, r.upper).sign)
                continue;
            const double reach = derivative_at(c, order, r.value).reach;
            EXPECT_LE(derivative_at(c, order, std::max(r.lower, r.value - reach)).sign *
                          derivative_at(c, order, std::min(r.upper, r.value + reach)).sign,
                      0)
                << r.value << " of multiplicity " << r.multiplicity << ", coefficients "
                << testing::PrintToString(c);
        }
    }
}

TEST(RealRoots, EveryXAndNoX) {
    const std::vector<double> zero(4), line{-1.0, 0.0, 4.0, 0.0};
    ASSERT_EQ(velm::real_roots(zero, {1.0, 2.0}).size(), 1u);
    EXPECT_EQ(velm::real_roots(zero, {1.0, 2.0})[0].multiplicity, 0);
    EXPECT_EQ(velm::real_roots_bernstein(zero)[0].upper, 1.0);
    velm::RealRoot one[1];
    EXPECT_EQ(velm::real_roots(line, {-9.0, 9.0}, one), 2); // room for one of two
    EXPECT_EQ(one[0].value, -0.5);
    EXPECT_EQ(velm::real_roots(std::vector{5.0}, {-9.0, 9.0}, one), 0);
    EXPECT_EQ(velm::real_roots(std::vector{1.0, infinity}, {-9.0, 9.0}, one), 0);
    EXPECT_EQ(velm::real_roots(line, {1.0, 0.0}, one), 0);
    EXPECT_EQ(velm::real_roots(line, {std::nan(""), 1.0}, one), 0);
    EXPECT_EQ(velm::real_roots_bernstein(line, {2.0, 3.0}, one), 0);
}

} // namespace
