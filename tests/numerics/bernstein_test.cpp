// Arrays of Bernstein coefficients against each other and against sums of Bernstein polynomials.
#include "velm/numerics/bernstein.h"

#include "support/test.h"
#include "velm/numerics/binomials.h"

namespace {

using Values = std::vector<double>;

Values random_values(velm_test::Random& random, int n) {
    Values values(static_cast<std::size_t>(n));
    for (double& v : values)
        v = random.uniform(-10.0, 10.0);
    return values;
}

void expect_near(const Values& a, const Values& b, double tolerance = 1e-12) {
    ASSERT_EQ(a.size(), b.size());
    for (std::size_t i = 0; i < a.size(); ++i)
        EXPECT_NEAR(a[i], b[i], tolerance) << i;
}

// By the definition: the sum of the poles times Bernstein polynomials.
Values by_sum(const double* poles, int count, double t, int dim) {
    Values point(static_cast<std::size_t>(dim));
    for (int i = 0; i < count; ++i)
        for (int c = 0; c < dim; ++c)
            point[std::size_t(c)] += Cnp(count - 1, i) * std::pow(t, i) *
                                     std::pow(1.0 - t, count - 1 - i) * poles[i * dim + c];
    return point;
}

Values horner(const Values& poles, double t, int dim) {
    Values point(static_cast<std::size_t>(dim));
    Horner(poles.data(), static_cast<int>(poles.size()) / dim, t, dim, point.data());
    return point;
}

void on_random_curves(
    std::uint64_t seed,
    const std::function<void(velm_test::Random&, const Values&, int, int)>& check) {
    velm_test::Random random(seed);
    for (const int dim : {1, 2, 3, 4, 5})
        for (const int count : {1, 2, 3, 4, 6, 10, 21})
            check(random, random_values(random, dim * count), count, dim);
}

TEST(BernsteinArrays, EvaluationsAgree) {
    on_random_curves(21, [](velm_test::Random& random, const Values& poles, int count, int dim) {
        for (const double t : {0.0, 0.25, 0.5, 1.0, random.uniform(0.0, 1.0), 1.25, -0.25}) {
            const Values sum = by_sum(poles.data(), count, t, dim);
            const double tolerance = 1e-13 * std::pow(std::fabs(t) + std::fabs(1 - t), count) * 20;
            expect_near(horner(poles, t, dim), sum, tolerance);
            Values point(static_cast<std::size_t>(dim));
            Casteljau(poles.data(), count, t, dim, point.data());
            expect_near(point, sum, tolerance);
        }
    });
}

TEST(BernsteinArrays, SinglePolynomialsArePartsOfOne) {
    velm_test::Random random(22);
    for (const int n : {0, 1, 2, 5, 20, 99}) {
        const double t = random.uniform(0.0, 1.0);
        double sum = 0.0;
        for (int i = 0; i <= n; ++i) {
            sum += Bernstein(i, n, t);
            EXPECT_NEAR(Bernstein(i, n, t), Cnp(n, i) * std::pow(t, i) * std::pow(1.0 - t, n - i),
                        1e-13);
        }
        EXPECT_NEAR(sum, 1.0, 1e-13);
        const ERVec<double> all = AllBernsteins(n, t);
        EXPECT_EQ(all.size(), n + 1);
        EXPECT_NEAR(all.view().back(), std::pow(t, n),
                    1e-13); // the others are products, not values
        EXPECT_TRUE(n <= 1 || all.view().front() == 0.0) << n;
    }
}

// The edges of the triangle are the poles of the two halves, which RedefineDomain gives too.
TEST(BernsteinArrays, SubdivisionAgreesWithTheTriangle) {
    on_random_curves(23, [](velm_test::Random& random, const Values& poles, int count, int dim) {
        const double t = random.uniform(0.1, 0.9);
        Values triangle(static_cast<std::size_t>(dim * count * (count + 1) / 2), 1e300);
        CasteljauAll(poles.data(), triangle.data(), count, t, dim);
        Values left = poles, right = poles;
        RedefineDomain(left.data(), count, 0.0, t, dim);
        RedefineDomain(right.data(), count, t, 1.0, dim);
        const double* level = triangle.data();
        for (int k = 0; k < count; level += dim * (count - k), ++k)
            for (int c = 0; c < dim; ++c) {
                EXPECT_NEAR(level[c], left[std::size_t(k * dim + c)], 1e-11);
                EXPECT_NEAR(level[(count - k - 1) * dim + c],
                            right[std::size_t((count - k - 1) * dim + c)], 1e-11);
            }
        const double a = random.uniform(0.0, 0.5), b = random.uniform(0.5, 1.0);
        Values part = poles;
        RedefineDomain(part.data(), count, a, b, dim);
        for (const double s : {0.0, 0.3, 1.0})
            expect_near(horner(part, s, dim), horner(poles, a + s * (b - a), dim), 1e-11);
    });
}

TEST(BernsteinArrays, RaisedDegreeIsTheSameCurveAndHodographTimesDegreeItsDerivative) {
    on_random_curves(24, [](velm_test::Random& random, const Values& poles, int count, int dim) {
        const int times = random.below(4);
        Values raised = poles;
        // The contents of the room beyond the poles don't matter.
        raised.resize(static_cast<std::size_t>(dim * (count + times)),
                      std::numeric_limits<double>::quiet_NaN());
        BezierIncreaseDegree(raised.data(), count, times, dim);
        const double t = random.uniform(0.1, 0.9), h = 1e-6;
        expect_near(horner(raised, t, dim), horner(poles, t, dim), 1e-12);
        if (count < 2) return;
        Values slope(poles.size() - static_cast<std::size_t>(dim));
        Hodographe(poles.data(), slope.data(), count, dim);
        slope = horner(slope, t, dim);
        const Values after = horner(poles, t + h, dim), before = horner(poles, t - h, dim);
        for (std::size_t c = 0; c < slope.size(); ++c)
            EXPECT_NEAR((count - 1) * slope[c], (after[c] - before[c]) / (2 * h), 1e-5);
    });
}

// A grid along either direction is its rows, or its columns, one by one.
TEST(BernsteinArrays, GridsAreRowsAndColumns) {
    velm_test::Random random(26);
    for (const int dim : {1, 3, 4}) {
        const int rows = 4, count = 6;
        const Values grid = random_values(random, rows * count * dim);
        const double u = random.uniform(0.0, 1.0), v = random.uniform(0.0, 1.0);
        Values along_u(static_cast<std::size_t>(rows * dim));
        HornerIsoU(grid.data(), rows, count, along_u.data(), u, dim, dim);
        Values along_v(static_cast<std::size_t>(count * dim));
        HornerIsoV(grid.data(), rows, count, along_v.data(), v, dim, dim);
        Values point(static_cast<std::size_t>(dim));
        Horner(grid.data(), rows, count, u, v, point.data(), dim);
        expect_near(point, horner(along_u, v, dim));
        expect_near(point, horner(along_v, u, dim));

        Values part_u = grid, part_v = grid;
        RedefineDomainU(part_u.data(), rows, count, dim, 0.2, 0.7);
        RedefineDomainV(part_v.data(), rows, count, dim, 0.2, 0.7);
        const auto at_uv = [&](const Values& poles, double s, double t) {
            Horner(poles.data(), rows, count, s, t, point.data(), dim);
            return point;
        };
        expect_near(at_uv(part_u, u, v), at_uv(grid, 0.2 + 0.5 * u, v), 1e-11);
        expect_near(at_uv(part_v, u, v), at_uv(grid, u, 0.2 + 0.5 * v), 1e-11);

        Values du(static_cast<std::size_t>(rows * (count - 1) * dim));
        HodographeU(grid.data(), du.data(), rows, count, dim);
        Values dv(static_cast<std::size_t>((rows - 1) * count * dim));
        HodographeV(grid.data(), dv.data(), rows, count, dim);
        const auto at = [&](int r, int c, int k) {
            return grid[std::size_t((r * count + c) * dim + k)];
        };
        for (int k = 0; k < dim; ++k) {
            EXPECT_EQ(du[std::size_t((2 * (count - 1) + 3) * dim + k)], at(2, 4, k) - at(2, 3, k));
            EXPECT_EQ(dv[std::size_t((2 * count + 3) * dim + k)], at(3, 3, k) - at(2, 3, k));
        }
    }
}

} // namespace
