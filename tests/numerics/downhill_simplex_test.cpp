// The minimiser and the differences of its functor on functions with known minima and derivatives.
#include "velm/numerics/downhill_simplex.h"

#include "support/test.h"

namespace {

// (1 - x)^2 + 100 (y - x^2)^2: least, 0, at (1, 1) in a bent valley.
struct Valley : FunctorBase {
    Valley() : FunctorBase(2) {}
    double operator()(const ERVec<double>& x) override {
        const double a = 1 - x.view()[0], b = x.view()[1] - x.view()[0] * x.view()[0];
        return a * a + 100 * b * b;
    }
};

TEST(DownhillSimplex, DescendsTheValleyAsFarAsTheLevelAllows) {
    Valley valley;
    ERDownhillSimplex simplex(0.1, &valley);
    constexpr int most[] = {100, 600, 2000, 20000};
    for (int level = 0; level < 4; ++level) {
        const double least = simplex.Minimise({-1.2, 1.0}, level);
        EXPECT_EQ(least, valley(simplex.vertex(0)));
        EXPECT_LE(simplex.evaluations(), most[level] + 3) << level; // a pass is not interrupted
        EXPECT_LT(least, level == 0 ? 1 : 1e-12) << level;
    }
    EXPECT_EQ(simplex.Minimise({1.0, 1.0}, 0), 0.0);
}

// A bent ridge without derivatives, on which the whole simplex has to shrink.
struct Ridge : FunctorBase {
    double least = HUGE_VAL;
    Ridge() : FunctorBase(2) {}
    double operator()(const ERVec<double>& x) override {
        const double across = std::fabs(x.view()[1] - std::sin(3 * x.view()[0]));
        const double value = std::fabs(x.view()[0] - 0.3) + 50 * std::sqrt(across);
        least = std::min(least, value);
        return value;
    }
};

TEST(DownhillSimplex, ReturnsTheLeastValueThatItMet) {
    velm_test::Random draw{61};
    for (int round = 0; round < 50; ++round) {
        Ridge ridge;
        ERDownhillSimplex simplex(draw.uniform(0.01, 1), &ridge);
        const ERVec<double> start{draw.uniform(-2, 2), draw.uniform(-2, 2)};
        const double found = simplex.Minimise(start, draw.below(4));
        EXPECT_EQ(found, ridge.least) << round;
        EXPECT_EQ(found, ridge(simplex.vertex(0))) << round;
    }
}

TEST(DownhillSimplex, DifferencesOfTheFunctor) {
    Valley valley;
    const ERVec<double> at{0.5, 0.75};
    const ERVec<double> slope = valley.gradient(at);
    EXPECT_NEAR(slope[0], -101, 1e-5); // -2 (1 - x) - 400 x (y - x^2)
    EXPECT_NEAR(slope[1], 100, 1e-5);  // 200 (y - x^2)
    const ERMatrix<double> bend = valley.hessian(at);
    EXPECT_NEAR(bend(0, 0), 2, 1); // 2 - 400 (y - 3 x^2); rounding over h^2 is 0.4
    EXPECT_NEAR(bend(0, 1), -200, 1);
    EXPECT_EQ(bend(0, 1), bend(1, 0));
    EXPECT_NEAR(bend(1, 1), 200, 1);
}

} // namespace
