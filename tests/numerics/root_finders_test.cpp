// The root finders on roots that were there first, their rules and known losses, and projection on
// polynomial curves against dense sampling.
#include "support/test.h"
#include "velm/frame/point.h"
#include "velm/numerics/cascade_roots.h"
#include "velm/numerics/laguerre_roots.h"
#include "velm/numerics/projection_on_polynomial.h"
#include "velm/numerics/real_roots.h"

#include <complex>

namespace {

using Values = std::vector<double>;

ERPolynome poly(const Values& c) { return ERPolynome(c.data(), static_cast<int>(c.size())); }

Values times(const Values& p, const Values& q) {
    Values result(p.size() + q.size() - 1);
    for (std::size_t i = 0; i < p.size(); ++i)
        for (std::size_t j = 0; j < q.size(); ++j)
            result[i + j] += p[i] * q[j];
    return result;
}

// factor times the product of (x - root).
Values product(double factor, const Values& roots) {
    Values c{factor};
    for (const double root : roots)
        c = times(c, {-root, 1.0});
    return c;
}

Values laguerre(const Values& c, double lower, double upper) {
    ERVec<double> found;
    Zeros(poly(c), {lower, upper}, found);
    return {found.view().begin(), found.view().end()};
}

Values cascade(const Values& c, double lower, double upper) {
    const ERVec<double> found = Zeros(poly(c), ERLimites(lower, upper));
    return {found.view().begin(), found.view().end()};
}

Values real_roots(const Values& c, double lower, double upper) {
    Values values;
    for (const velm::RealRoot& r : velm::real_roots(c, {lower, upper}))
        values.push_back(r.value);
    return values;
}

void expect_near(Values found, const Values& expected, double tolerance) {
    std::sort(found.begin(), found.end());
    ASSERT_EQ(found.size(), expected.size())
        << testing::PrintToString(found) << " instead of " << testing::PrintToString(expected);
    for (std::size_t i = 0; i < found.size(); ++i)
        EXPECT_NEAR(found[i], expected[i], tolerance);
}

// Multiplies the roots that Laguerre's method finds, complex ones too, out at one place.
void expect_complex_roots(const Values& c) {
    Values real(c.size()), imag(c.size()), work(c.size());
    LaguerreControl control;
    const int n = static_cast<int>(c.size()) - 1;
    EXPECT_EQ(LaguerreZeros(n, c.data(), control, real.data(), imag.data(), work.data()), 0);
    std::complex<double> value = c.back();
    for (std::size_t i = 1; i < c.size(); ++i)
        value *= std::complex(2.5 - real[i], -imag[i]);
    EXPECT_LE(std::abs(value - poly(c).evaluate(2.5)), 1e-5 * std::abs(value));
}

// Well-separated real roots, on which the given finders do well, and complex pairs near them, with
// which the cascade loses roots.
TEST(RootFinders, RootsMultipliedOutComeBack) {
    velm_test::Random random(41);
    for (int round = 0; round < 1000; ++round) {
        Values roots;
        for (double x = random.uniform(-1.9, 0.0); x < 1.9 && roots.size() < 4;
             x += random.uniform(0.3, 1.5))
            roots.push_back(x);
        Values c = product(random.uniform(0.5, 2.0), roots);
        const bool all_real = random.below(2) == 0;
        if (!all_real) {
            const double a = random.uniform(-1.0, 1.0), b = random.uniform(0.3, 1.0);
            c = times(c, {a * a + b, 2.0 * a, 1.0});
        }
        SCOPED_TRACE(testing::Message() << round << " " << testing::PrintToString(c));
        expect_near(laguerre(c, -2.0, 2.0), roots, 1e-5);
        expect_complex_roots(c);
        if (all_real) expect_near(cascade(c, -2.0, 2.0), roots, 1e-10);
        expect_near(real_roots(c, -2.0, 2.0), roots, 1e-12);
        if (testing::Test::HasFailure()) return;
    }
}

TEST(RootFinders, RulesOfTheGivenOnes) {
    ERVec<double> out{7.0};
    EXPECT_EQ(ZerosMethode1(poly({3.0}), {0.0, 1.0}, out), 0);
    EXPECT_EQ(out.size(), 0);
    EXPECT_EQ(ZerosMethode1(poly({0.0, 0.0}), {0.0, 1.0}, out), -1);
    EXPECT_EQ(ZerosMethode1(poly({}), {0.0, 1.0}, out), -1);
    EXPECT_EQ(laguerre({-1.0, 1.0, 1e-11}, -2e11, 2.0), Values{1.0}); // a small lead is left out
    EXPECT_EQ(laguerre({0.0, 5.0}, -1.0, 1.0), Values{0.0});
    EXPECT_EQ(laguerre({0.0, 0.0, 5.0}, -1.0, 1.0), Values{0.0});
    EXPECT_EQ(laguerre({1.0, -2.0, 1.0}, 0.0, 2.0), (Values{1.0, 1.0})); // a double root twice
    EXPECT_EQ(cascade({3.0}, 0.0, 1.0), Values{});
    expect_near(cascade({1.0, -2.0, 1.0}, 0.0, 2.0), {1.0}, 1e-12);

    const auto status = [](int n, const Values& c, double most) {
        double real[4], imag[4], work[4];
        LaguerreControl control{.maxIterations = most};
        EXPECT_EQ(LaguerreZeros(n, c.data(), control, real, imag, work), n);
        return static_cast<int>(control.status);
    };
    EXPECT_EQ(status(0, {1.0}, 80.0), LaguerreStatus_no_degree);
    EXPECT_EQ(status(1, {1.0, 0.0}, 80.0), LaguerreStatus_leading_zero);
    EXPECT_EQ(status(3, {-6.0, 11.0, -6.0, 1.0}, 1.0), LaguerreStatus_limit);
}

// The worked examples of docs/behaviour.md: the roots that the given finders lose and invent, and
// velm::real_roots doesn't.
TEST(RootFinders, KnownLosses) {
    const Values thirds = product(1.0, {1.0, 2.0, 3.0});
    expect_near(laguerre(thirds, 1.0, 3.0), {1.0, 2.0}, 1e-8); // 3 is on the end
    expect_near(real_roots(thirds, 1.0, 3.0), {1.0, 2.0, 3.0}, 1e-14);
    const Values small = product(1e-9, {0.25, 0.5, 0.75});
    expect_near(cascade(small, 0.0, 1.0), {0.35566243}, 1e-8);
    expect_near(real_roots(small, 0.0, 1.0), {0.25, 0.5, 0.75}, 1e-14);
    const Values positive{1e-6, 0.0, 1e-6};
    EXPECT_EQ(cascade(positive, -1.0, 1.0), (Values{0.0, 0.0}));
    EXPECT_EQ(real_roots(positive, -1.0, 1.0), Values{});
    const Values tiny = product(1e-12, {0.25, 0.5});
    EXPECT_EQ(laguerre(tiny, 0.0, 1.0), Values{});
    EXPECT_EQ(cascade(tiny, 0.0, 1.0), Values{0.0});
    expect_near(real_roots(tiny, 0.0, 1.0), {0.25, 0.5}, 1e-14);
}

TEST(ProjectionOnPolynomial, FindsWhatDenseSamplingFinds) {
    constexpr int samples = 1000;
    velm_test::Random random(44);
    for (int round = 0; round < 300; ++round) {
        const int dim = 2 + random.below(2), degree = 1 + random.below(3);
        SCOPED_TRACE(testing::Message() << round << " degree " << degree << " dim " << dim);
        ERTValVector<ERPolynome> polys(dim + 1, ERPolynome(polyConstruct, degree));
        for (ERPolynome& p : polys)
            for (int i = 0; i <= degree; ++i)
                p[i] = random.uniform(-1.0, 1.0);
        // The weight comes last: 1, or a positive polynomial.
        polys[dim](0) = degree + 0.5;
        if (round % 2 == 0) polys[dim] = ERPolynome(polyValue, 1.0);
        ERPoint3D point;
        for (int k = 0; k < dim; ++k)
            point[k] = random.uniform(-1.0, 1.0);
        // By how much the squared distance rises about t.
        const auto rise = [&](double t) {
            double distance[2] = {};
            for (int k = 0; k < 2 * dim; ++k) {
                const double at = k % 2 == 0 ? t - 1e-5 : t + 1e-5;
                const double x = polys[k / 2].evaluate(at) / polys[dim].evaluate(at) - point[k / 2];
                distance[k % 2] += x * x;
            }
            return distance[1] - distance[0];
        };
        Values expected;
        for (int i = 0; i < samples; ++i) {
            double a = double(i) / samples, b = double(i + 1) / samples;
            const bool minimum = rise(a) < 0.0;
            if ((rise(b) < 0.0) == minimum) continue;
            while (b - a > 1e-10)
                ((rise(0.5 * (a + b)) < 0.0) == minimum ? a : b) = 0.5 * (a + b);
            expected.push_back(a);
        }
        ERVec<double> found;
        const int count = dim == 2 ? ProjectionPointOnCpoly(polys, {0.0, 1.0},
                                                            ERPoint2D(point[0], point[1]), found)
                                   : ProjectionPointOnCpoly(polys, {0.0, 1.0}, point, found);
        EXPECT_EQ(count, found.size());
        expect_near({found.view().begin(), found.view().end()}, expected, 1e-6);
        if (testing::Test::HasFailure()) return;
    }
}

} // namespace
