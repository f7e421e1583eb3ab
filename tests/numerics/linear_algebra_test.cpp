// Linear problems against answers of many digits (data/linear_algebra.txt), elimination and its
// packed forms by identities, and the rules of ties, tolerances and order that a host sees.
#include "support/test.h"
#include "velm/numerics/gauss_pivot.h"
#include "velm/numerics/lu_decomposition.h"
#include "velm/numerics/matrix.h"
#include "velm/numerics/polynomial_2var.h"
#include "velm/numerics/quaternion.h"
#include "velm/numerics/symmetric_eigen.h"

#include <numeric>

namespace {

constexpr double unit_rounding = std::numeric_limits<double>::epsilon() / 2;

// ---- the problems of the data file, made again ----

struct Problem {
    std::string kind;
    int n = 0;
    double condition = 0.0; // or the norm, of an eigenproblem
    double determinant = 0.0;
    std::vector<double> answer;
    ERMatrix<double> a;
    ERVec<double> b;
};

ERMatrix<double> make(const std::string& kind, int n, velm_test::Random& random) {
    ERMatrix<double> m(n, n);
    if (kind == "hilbert") return Hilbert(n);
    if (kind == "gram") {
        ERMatrix<double> a(n, n);
        for (double& x : a.writable())
            x = random.below(19) - 9;
        return a * transposed(a) + IdentityMatrix(n);
    }
    if (kind == "sum") {
        for (int i = 0; i + 1 < n; ++i)
            for (int j = 0; j < n; ++j)
                m(n - 1, j) += m(i, j) = random.below(19) - 9;
        return m;
    }
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j)
            m(i, j) = kind == "ones"
                          ? (i == j ? 3.0 : 1.0)
                          : random.uniform(-1.0, 1.0) / (kind == "graded" ? std::pow(8.0, i) : 1.0);
    return m;
}

void mirror(const std::string& kind, ERMatrix<double>& m) {
    for (int i = 0; i < m.rows(); ++i)
        for (int j = 0; j <= i; ++j)
            m(i, j) /= kind == "graded" ? std::pow(8.0, j) : 1.0;
    CopyTriInfToTriSup(m);
}

std::vector<Problem> problems(const std::string& wanted) {
    std::ifstream file(VELM_TEST_FOLDER "/numerics/data/linear_algebra.txt");
    std::vector<Problem> result;
    for (std::string line; std::getline(file, line);) {
        std::istringstream in(line);
        std::string what;
        Problem p;
        std::uint64_t seed = 0;
        if (!(in >> what >> p.kind >> p.n >> seed >> p.condition) || what != wanted) continue;
        if (wanted == "solve") in >> p.determinant;
        for (double x; in >> x;)
            p.answer.push_back(x);
        velm_test::Random random = velm_test::Random::fixed(seed);
        p.a = make(p.kind, p.n, random);
        if (wanted == "eigen") mirror(p.kind, p.a);
        p.b = ERVec<double>(p.n);
        for (double& x : p.b.writable())
            x = random.uniform(-1.0, 1.0);
        result.push_back(p);
    }
    EXPECT_FALSE(result.empty());
    return result;
}

double largest_difference(std::span<const double> a, const double* b) {
    double worst = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i)
        worst = std::max(worst, std::fabs(a[i] - b[i]));
    return worst;
}

double largest(const double* values, int n) {
    double result = 0.0;
    for (int i = 0; i < n; ++i)
        result = std::max(result, std::fabs(values[i]));
    return result;
}

// The bound n * condition * unit roundoff holds for elimination whose pivots don't grow, which
// partial pivoting makes the rule (Higham, Accuracy and Stability of Numerical Algorithms, 9.4).
TEST(LinearAlgebra, SolvesInvertsAndTakesDeterminantsToTheProblemsCondition) {
    for (const Problem& p : problems("solve")) {
        SCOPED_TRACE(p.kind + " " + std::to_string(p.n));
        const ERLUDecomp lu(p.a);
        ASSERT_FALSE(lu.isSingular());
        const double bound = p.n * p.condition * unit_rounding;
        const double* const x = p.answer.data();
        const double* const inverse_row = x + p.n;
        EXPECT_LE(largest_difference(solve(lu, p.b).view(), x), bound * largest(x, p.n));
        EXPECT_LE(largest_difference(inverse(lu).row(0), inverse_row),
                  bound * largest(inverse_row, p.n));
        EXPECT_LE(std::fabs(determinant(lu) / p.determinant - 1.0), bound);

        // The same elimination as a solver: the right-hand side rides along in an extra column.
        ERMatrix<double> augmented(p.n, p.n + 1);
        for (int i = 0; i < p.n; ++i) {
            for (int j = 0; j < p.n; ++j)
                augmented(i, j) = p.a(i, j);
            augmented(i, p.n) = std::as_const(p.b)[i];
        }
        std::vector<int> permutation(std::size_t(p.n), -1);
        int* perm = permutation.data();
        int swaps = -1;
        ASSERT_EQ(MatriceGaussPivot(augmented, perm, swaps, 1e-60), 1);
        for (int i = 0; i < p.n; ++i)
            EXPECT_NEAR(augmented(i, p.n), x[i], bound * largest(x, p.n));
    }
}

TEST(LinearAlgebra, SmallSystemsInOneCallGiveTheSameBits) {
    velm_test::Random random(13);
    for (int round = 0; round < 600; ++round) {
        const int n = 1 + round % velm::largest_small_system;
        const ERMatrix<double> a = make(round % 3 == 0 ? "graded" : "random", n, random);
        ERVec<double> b(n);
        for (double& x : b.writable())
            x = random.uniform(-1.0, 1.0);
        const ERVec<double> expected = solve(ERLUDecomp(a), b);
        ASSERT_TRUE(velm::solve(a.view(), b.view(), b.writable())) << round;
        ASSERT_TRUE(std::ranges::equal(b.view(), expected.view())) << round << '\n' << a;
    }
    const double four[] = {1.0, 2.0, 2.0, 4.0};
    double x[] = {7.0, 7.0};
    EXPECT_FALSE(velm::solve(four, std::span(four, 2), x)) << "singular";
    EXPECT_FALSE(velm::solve(four, std::span(four, 1), x)) << "sizes";
    EXPECT_EQ(x[0], 7.0);
}

// Elimination pivot by pivot over whole rows: each element meets the pivots in their order.
int plain_elimination(ERMatrix<double>& m, std::vector<int>& perm, int& swaps, double tolerance) {
    const int n = m.rows();
    swaps = 0;
    for (int k = 0; k < n; ++k) {
        if (k == m.columns()) return 0;
        int best = k;
        for (int i = k + 1; i < n; ++i)
            if (std::fabs(m(i, k)) > std::fabs(m(best, k))) best = i;
        for (int j = 0; j < m.columns() && best != k; ++j)
            std::swap(m(k, j), m(best, j));
        std::swap(perm[std::size_t(k)], perm[std::size_t(best)]);
        swaps += best != k;
        if (std::fabs(m(k, k)) < tolerance) return 0;
        for (int i = k + 1; i < n; ++i) {
            m(i, k) /= m(k, k);
            for (int j = k + 1; j < m.columns(); ++j)
                m(i, j) -= m(i, k) * m(k, j);
        }
    }
    return 1;
}

TEST(LinearAlgebra, LargeEliminationsGiveTheBitsOfThePlainOneWhereTheyStopEarlyToo) {
    velm_test::Random random(29);
    int stopped = 0;
    for (int round = 0; round < 300; ++round) {
        const int n = 22 + random.below(16);
        ERMatrix<double> a(n, round % 4 == 0 ? n - random.below(6) : n);
        for (double& x : a.writable())
            x = round % 2 == 0 ? random.below(3) - 1 : random.uniform(-1.0, 1.0);
        for (int j = 0; j < a.columns() && round % 5 == 0; ++j)
            a(n - 2, j) = a(3, j);
        ERMatrix<double> expected(a);
        std::vector<int> rows(std::size_t(n), 0), permutation;
        std::iota(rows.begin(), rows.end(), 0);
        permutation = rows;
        int* perm = permutation.data();
        int swaps = -1, expected_swaps = -1;
        const double tolerance = round % 3 == 0 ? 0.2 : 1e-12;
        const int code = plain_elimination(expected, rows, expected_swaps, tolerance);
        ASSERT_EQ(MatriceGaussPivot(a, perm, swaps, tolerance), code) << round;
        stopped += code == 0;
        EXPECT_EQ(swaps, expected_swaps) << round;
        EXPECT_EQ(permutation, rows) << round;
        ASSERT_TRUE(std::ranges::equal(a.view(), expected.view())) << round << '\n' << n;
    }
    EXPECT_GT(stopped, 50);
    EXPECT_LT(stopped, 250);
}

TEST(LinearAlgebra, FactorsMultiplyBackToTheInput) {
    velm_test::Random random(11);
    for (int n = 1; n <= 12; ++n) {
        const ERMatrix<double> a = make("random", n, random);
        const ERLUDecomp lu(a);
        const ERMatrix<double> difference = lu.P() * a - lu.L() * lu.U();
        EXPECT_LE(largest(difference.view().data(), n * n), n * unit_rounding * 4) << n;
        EXPECT_EQ(lu.input(), a);
    }
}

TEST(LinearAlgebra, CholeskyFactorsToTheProblemsCondition) {
    for (const Problem& p : problems("cholesky")) {
        SCOPED_TRACE(p.kind + " " + std::to_string(p.n));
        ERMatrix<double> lower_only(p.a);
        for (int i = 0; i < p.n; ++i)
            for (int j = i + 1; j < p.n; ++j)
                lower_only(i, j) = std::nan("");
        const ERMatrix<double> l = MatrixCholesky(lower_only);
        const double* const last_row = p.answer.data();
        EXPECT_LE(largest_difference(l.row(p.n - 1), last_row),
                  (p.n + 1) * p.condition * unit_rounding * largest(last_row, p.n));
        EXPECT_EQ(MatSymetrisInf(lower_only), p.a);
        EXPECT_EQ(MatSymetrisSup(transposed(lower_only)), p.a);
    }
    const double not_definite[] = {1.0, 2.0, 2.0, 1.0};
    EXPECT_TRUE(std::isnan(MatrixCholesky(ERMatrix<double>(2, 2, not_definite))(1, 1)));
}

// Weyl: the computed eigenvalues are within the backward error of the true ones.
TEST(LinearAlgebra, EigenvaluesLieWithinRoundingOfTheNorm) {
    for (const Problem& p : problems("eigen")) {
        SCOPED_TRACE(p.kind + " " + std::to_string(p.n));
        Mgc::Eigen eigen(p.n);
        for (int i = 0; i < p.n; ++i)
            for (int j = 0; j < p.n; ++j)
                eigen.Matrix(i, j) = p.a(i, j);
        eigen.IncrSortEigenStuff();
        const double bound = 8 * p.n * unit_rounding * p.condition;
        for (int k = 0; k < p.n; ++k) {
            EXPECT_NEAR(eigen.GetEigenvalue(k), p.answer[std::size_t(k)], bound);
            for (int i = 0; i < p.n; ++i) {
                double image = 0.0;
                double product = 0.0;
                for (int j = 0; j < p.n; ++j) {
                    image += p.a(i, j) * eigen.GetEigenvector(j, k);
                    product += eigen.GetEigenvector(j, i) * eigen.GetEigenvector(j, k);
                }
                EXPECT_NEAR(image, eigen.GetEigenvalue(k) * eigen.GetEigenvector(i, k), 2 * bound);
                EXPECT_NEAR(product, i == k ? 1.0 : 0.0, 16 * p.n * unit_rounding);
            }
        }
    }
}

TEST(LinearAlgebra, ClosedTridiagonalFormsAgreeWithTheGeneralOne) {
    velm_test::Random random(12);
    using Solve = void (Mgc::Eigen::*)();
    const std::pair<int, Solve> closed[] = {{2, &Mgc::Eigen::DecrSortEigenStuff2},
                                            {3, &Mgc::Eigen::DecrSortEigenStuff3},
                                            {4, &Mgc::Eigen::DecrSortEigenStuff4}};
    for (int round = 0; round < 300; ++round) {
        for (const auto& [n, solve_closed] : closed) {
            // Whole numbers with many zeros reach the branches where a row is reduced already or
            // the direction is an eigenvector.
            Mgc::Eigen small(n);
            Mgc::Eigen general(n);
            for (int i = 0; i < n; ++i)
                for (int j = i; j < n; ++j)
                    small.Matrix(i, j) = small.Matrix(j, i) = general.Matrix(i, j) =
                        general.Matrix(j, i) = random.below(3) == 0 ? random.below(7) - 3 : 0;
            (small.*solve_closed)();
            general.DecrSortEigenStuffN();
            for (int k = 0; k < n; ++k)
                ASSERT_NEAR(small.GetEigenvalue(k), general.GetEigenvalue(k), 1e-13) << round;
        }
    }
}

TEST(LinearAlgebra, EigenObjectsShareTheirArraysAfterAssignment) {
    Mgc::Eigen kept(2);
    {
        Mgc::Eigen first(2);
        first.Matrix(0, 0) = 1.0;
        first.Matrix(1, 1) = 5.0;
        kept = first;
        first.Matrix(0, 1) = first.Matrix(1, 0) = 2.0;
    }
    EXPECT_EQ(kept.Matrix(0, 1), 2.0);
    kept.DecrSortEigenStuff();
    EXPECT_NEAR(kept.GetEigenvalue(0), 3.0 + std::sqrt(8.0), 1e-14);
}

// In every build: nothing is read or written beyond an array.
TEST(LinearAlgebra, SizesThatDoNotFitGiveEmptyResults) {
    const ERMatrix<double> square = Hilbert(6), wide(2, 3), tall(3, 2);
    ERMatrix<double> cut = Hilbert(6); // its array is shorter than its rows and columns say
    cut.resize(5);
    const ERLUDecomp lu(square), of_tall(tall), of_cut(cut);
    const ERVec<double> one{6}, six(6);
    const ERVec<double> vectors[] = {solve(lu, one),     solve(of_tall, ERVec<double>(3)),
                                     solve(of_cut, six), wide * six,
                                     cut * six,          ResolveHyperPlan(cut)};
    for (const ERVec<double>& x : vectors)
        EXPECT_EQ(x.size(), 0) << &x - vectors;
    const ERMatrix<double> matrices[] = {solve(lu, wide), solve(lu, cut),       inverse(of_tall),
                                         wide + tall,     square - cut,         wide * wide,
                                         cut * square,    MatrixCholesky(tall), MatrixCholesky(cut),
                                         transposed(cut)};
    for (const ERMatrix<double>& m : matrices)
        EXPECT_EQ(m.rows() + m.columns() + m.size(), 0) << &m - matrices;
    CopyTriInfToTriSup(cut);
    EXPECT_EQ(cut.size(), 5);
    EXPECT_EQ(ERPolynome2Var(one, 2, 3).eval(1.0, 1.0), 0.0);
    EXPECT_EQ(ERQuaternion(wide)[0], ERQuaternion()[0]);
}

TEST(LinearAlgebra, PivotsKeepTheirTieAndToleranceRules) {
    const auto pivot = [](std::initializer_list<double> values, double tolerance, int& swaps) {
        ERMatrix<double> m(2, 2, values.begin());
        int rows[2];
        int* perm = rows;
        return MatriceGaussPivot(m, perm, swaps, tolerance);
    };
    int swaps = -1;
    EXPECT_EQ(pivot({2, 1, -2, 5}, 0.0, swaps), 1);
    EXPECT_EQ(swaps, 0) << "the first of equal candidates stays";
    EXPECT_EQ(pivot({2, 1, -3, 5}, 0.0, swaps), 1);
    EXPECT_EQ(swaps, 1);
    EXPECT_EQ(pivot({1e-20, 0, 0, 1}, 1e-20, swaps), 1);
    EXPECT_EQ(pivot({0.99e-20, 0, 0, 1}, 1e-20, swaps), 0);

    const double exchanged[] = {0.0, 2.0, 3.0, 0.0};
    EXPECT_EQ(determinant(ERLUDecomp(ERMatrix<double>(2, 2, exchanged))), -6.0);
    EXPECT_TRUE(ERLUDecomp(ERMatrix<double>(3, 3)).isSingular());
    EXPECT_TRUE(ERLUDecomp(ERMatrix<double>(0, 0)).isSingular());
    EXPECT_TRUE(ERLUDecomp(ERMatrix<double>(3, 2)).isSingular());

    ERLUDecomp again(Hilbert(3));
    again = IdentityMatrix(2);
    EXPECT_EQ(again.rows(), 2);
    EXPECT_EQ(solve(again, ERVec<double>{4.0, 7.0})[1], 7.0);
}

TEST(LinearAlgebra, NullVectorsOfMatricesThatLackOneRank) {
    const auto null_vector = [](int rows, int columns, std::initializer_list<double> values) {
        return ResolveHyperPlan(ERMatrix<double>(rows, columns, values.begin()));
    };
    EXPECT_EQ(null_vector(1, 2, {4.0, 1.0})[0], -0.25);
    EXPECT_EQ(null_vector(1, 2, {1.0, 4.0})[1], -0.25);
    EXPECT_EQ(null_vector(1, 2, {1.0, 4.0})[0], 1.0);
    EXPECT_FALSE(std::isfinite(null_vector(2, 2, {0.0, 0.0, 0.0, 0.0})[0]));

    for (const Problem& p : problems("null")) {
        SCOPED_TRACE(p.n);
        const ERVec<double> x = ResolveHyperPlan(p.a);
        const auto top = std::find(p.answer.begin(), p.answer.end(), 1.0) - p.answer.begin();
        for (int i = 0; i < p.n; ++i)
            EXPECT_NEAR(x.view()[std::size_t(i)] / x.view()[std::size_t(top)],
                        p.answer[std::size_t(i)], p.n * p.condition * unit_rounding);
    }
}

TEST(LinearAlgebra, OuterProductAndText) {
    const ERVec<double> v{1.0, 2.0};
    EXPECT_EQ((v % v)(1, 0), 2.0);
    std::ostringstream text;
    text << ERMatrix<double>(1, 2, std::vector<double>{1.5, -2.0}.data());
    EXPECT_EQ(text.str(), "( r= +1, c=+2\n[+1.5000000   -2.0000000   ]\n");
}

} // namespace
