// Polynomials in one and two variables: text and stored forms, arithmetic against values, and the
// rules that a host may trip over.
#include "velm/numerics/polynomial.h"
#include "velm/numerics/polynomial_2var.h"
#include "velm/numerics/polynomial_derivatives.h"
#include "velm/numerics/quadratic.h"

#include "support/records.h"
#include "velm/platform/debug_output.h"

#include <initializer_list>

namespace {

using velm_test::text_of;

ERPolynome poly(std::initializer_list<double> c) {
    return ERPolynome(std::data(c), static_cast<int>(c.size()));
}

ERPolynome random_polynomial(velm_test::Random& random, int degree) {
    ERPolynome p(polyConstruct, degree);
    for (int i = 0; i <= degree; ++i)
        p[i] = random.uniform(-1.0, 1.0);
    return p;
}

TEST(Polynomial, Text) {
    EXPECT_EQ(text_of(poly({1, -2, 0, 1})), "1-2*x+x**3\n");
    EXPECT_EQ(text_of(poly({})), "polynome NULL\n");
    EXPECT_EQ(text_of(poly({0, 0})), "\n");
    EXPECT_EQ(text_of(poly({0, 1, 1})), "x+x**2\n");
    EXPECT_EQ(text_of(poly({-1, -1, 0.5})), "-1-1*x+0.5*x**2\n");
    EXPECT_EQ(text_of(poly({1, 0, 3})), "1+3*x**2\n");
}

TEST(Polynomial, ArithmeticAgreesWithValues) {
    velm_test::Random random(11);
    for (int round = 0; round < 200; ++round) {
        const ERPolynome p = random_polynomial(random, random.below(6));
        const ERPolynome q = random_polynomial(random, random.below(5) + 1);
        const double x = random.uniform(-1.5, 1.5);
        const double px = p.evaluate(x), qx = q.evaluate(x);
        EXPECT_NEAR((p + q).evaluate(x), px + qx, 1e-12);
        EXPECT_NEAR((p - q).evaluate(x), px - qx, 1e-12);
        EXPECT_NEAR((p * q).evaluate(x), px * qx, 1e-12);
        EXPECT_NEAR((2.0 * p / 4.0).evaluate(x), px / 2.0, 1e-12);
        EXPECT_NEAR(p(q).evaluate(x), p.evaluate(qx), 1e-9);
        // (p q)' = p' q + p q'
        const ERPolynome product = p.getDerived(1) * q + p * q.getDerived(1);
        EXPECT_NEAR((p * q).getDerived(1).evaluate(x), product.evaluate(x), 1e-12);
    }
}

TEST(Polynomial, LengthsAndZeros) {
    ERPolynome p = poly({1, 2, 0, 0});
    EXPECT_EQ(p.size(), 4);
    EXPECT_EQ(p.degree(), 1);
    EXPECT_EQ(p.size(), 2); // asking for the degree strips
    p(3) = 5.0;
    EXPECT_EQ(p.degree(), 3);
    EXPECT_EQ(std::as_const(p)(9), 0.0);
    EXPECT_EQ(p.size(), 4);
    EXPECT_EQ(poly({}).evaluate(2.0), 0.0);
    EXPECT_EQ((poly({}) * p).size(), 1);
    EXPECT_EQ((poly({1, 1}) - poly({0, 1, 0})).size(), 2); // the degrees count, not the result's
    EXPECT_TRUE(poly({1, 2}) == poly({1, 2, 0, 0}));
    EXPECT_FALSE(poly({1, 2}) == poly({1, 2, 0, 1}));
    // A value is the first coefficient at 0, regardless of the others.
    EXPECT_EQ(poly({3, std::numeric_limits<double>::infinity()}).evaluate(0.0), 3.0);

    ERPolynome small = poly({1e-3, 1e-3, 1, 1e-9});
    small.reduce(0.01); // against 1e-2, 1e-4, 1e-6, 1e-8
    EXPECT_TRUE(small == poly({0, 1e-3, 1}));
    EXPECT_EQ(small.size(), 3);

    // The composition with a constant is no evaluation.
    EXPECT_TRUE(poly({7})(poly({1, 2})) == poly({7}));
    EXPECT_TRUE(poly({1, 1})(poly({5})) == poly({1}));
}

TEST(Polynomial, Derivatives) {
    const ERPolynome p = poly({1, 1, 1, 1});
    EXPECT_TRUE(p.getDerived(2) == poly({2, 6}));
    EXPECT_EQ(p.getDerived(4).size(), 1);
    const ERTValVector<ERPolynome> all = getAllDerivate(p);
    ASSERT_EQ(all.length(), 4);
    for (int k = 0; k < 4; ++k)
        EXPECT_TRUE(all[k] == p.getDerived(k)) << k;
    EXPECT_EQ(getAllDerivate(poly({})).length(), 1);
}

TEST(Polynomial, StoredFormIsTheArray) {
    const ERPolynome p = poly({1.0, 2.0});
    const std::string record = velm_test::record_of(p);
    EXPECT_EQ(record.substr(0, 4), std::string("\x10\0\0\0", 4));
    ERPolynome back = poly({9.0});
    EXPECT_TRUE(velm_test::restore(back, record) == p);
    EXPECT_TRUE(velm_test::restore(back, record.substr(0, 15)) == p);
}

TEST(Quadratic, SolvesForSquares) {
    double x1 = 7.0, x2 = 7.0;
    EXPECT_EQ(EquationBiCarre(1.0, -3.0, 2.0, x1, x2), 1);
    EXPECT_EQ(x1, 2.0);
    EXPECT_EQ(x2, 1.0);
    EXPECT_EQ(EquationBiCarre(1.0, 0.0, 1.0, x1, x2), 0);
    EXPECT_EQ(x1, 2.0); // unchanged
    EXPECT_EQ(EquationBiCarre(0.0, 2.0, 4.0, x1, x2), 1);
    EXPECT_EQ(x1, -0.5); // -(b / c), the inverse of the root
    EXPECT_EQ(x2, -0.5);
    EXPECT_EQ(EquationBiCarre(0.0, 2.0, 0.0, x1, x2), 1);
    EXPECT_EQ(x1, 0.0);
}

TEST(PolynomialOfTwo, ValuesAndGrowth) {
    velm_test::Random random(12);
    ERPolynome2Var p(2, 3); // degree 2 in v, 3 in u
    for (int v = 0; v <= 2; ++v)
        for (int u = 0; u <= 3; ++u)
            p.at(v, u) = random.uniform(-1.0, 1.0);
    for (int round = 0; round < 20; ++round) {
        const double u = random.uniform(-2.0, 2.0), v = random.uniform(-2.0, 2.0);
        double sum = 0.0;
        for (int r = 0; r <= 2; ++r)
            for (int c = 0; c <= 3; ++c)
                sum += p.at(r, c) * std::pow(v, r) * std::pow(u, c);
        EXPECT_NEAR(p.eval(u, v), sum, 1e-12);
    }
    const double before = p.eval(0.5, 2.0);
    p.coefficient(4, 6) = 0.0;
    EXPECT_EQ(p.matrix().rows(), 5);
    EXPECT_EQ(p.matrix().columns(), 7);
    EXPECT_EQ(p.eval(0.5, 2.0), before);
    EXPECT_EQ(p.degreeU(), 3);
    EXPECT_EQ(p.degreeV(), 2);
    EXPECT_EQ(std::as_const(p).coefficient(5, 0), 0.0);
    EXPECT_EQ(ERPolynome2Var(3, 4).degreeU(), 0);
    EXPECT_EQ(ERPolynome2Var(ERMatrix<double>()).eval(1.0, 1.0), 0.0);
}

TEST(PolynomialOfTwo, TextAndStoredForm) {
    const double values[] = {1, 2, 3, 4, 0, 0};
    const ERPolynome2Var p(values, 3, 2);
    const std::string matrix = text_of(ERMatrix<double>(2, 2, values));
    EXPECT_EQ(text_of(p), "Polynome 2Var dU=1, dv=1)" + matrix + "\n");
    ERPolynome2Var back(0, 0);
    velm_test::restore(back, velm_test::record_of(p));
    EXPECT_TRUE(back.matrix() == p.matrix());
}

// A matrix that was resized as an array does not hold rows times columns elements.
TEST(PolynomialOfTwo, SaysErrorOfADamagedMatrix) {
    ERMatrix<double> damaged(2, 3);
    damaged(0, 2) = 4.0;
    damaged.resize(4);
    ERPolynome2Var p(damaged);
    std::string said;
    velm::set_debug_sink([](const char* more, void* to) { *static_cast<std::string*>(to) += more; },
                         &said);
    said.clear();
    EXPECT_EQ(p.degreeU(), 2);
    velm::set_debug_sink(nullptr);
    EXPECT_EQ(said, "Error\n");
    EXPECT_EQ(p.eval(2.0, 1.0), 16.0);
}

} // namespace
