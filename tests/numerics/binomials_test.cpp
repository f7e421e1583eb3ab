// Binomials and factorials, and the tables of each thread.
#include "support/test.h"
#include "support/threads.h"
#include "velm/frame/thread_data.h"
#include "velm/numerics/bernstein.h"
#include "velm/numerics/binomials.h"
#include "velm/numerics/matrix.h"

namespace {

void expect_true_row(TableauDePascal& table, int n) {
    const double* const row = table.Cnp(n);
    double sum = 0.0;
    for (int p = 0; p <= n; ++p) {
        EXPECT_EQ(row[p], row[n - p]) << n << " over " << p;
        sum += row[p];
    }
    EXPECT_EQ(row[0], 1.0);
    EXPECT_TRUE(n == 0 || row[1] == n) << n;
    EXPECT_NEAR(sum / std::ldexp(1.0, n), 1.0, 1e-14) << n;
}

TEST(Binomials, RowsAreTrueAtEveryStepOfGrowth) {
    for (const int first : {0, 1, 19, 20, 21, 39, 45}) {
        TableauDePascal table;
        const double* const early = table.Cnp(first);
        const double one = early[0];
        expect_true_row(table, first);
        for (const int n : {20, 19, 40, 41, 60})
            expect_true_row(table, n);
        EXPECT_EQ(early[0], one); // an old row is still readable
        EXPECT_EQ(table.Cnp(52, 26), 495918532948104.0);
    }
    EXPECT_EQ(Cnp(5, 2), 10.0);
    for (const int n : {46340, 65536, std::numeric_limits<int>::max()}) {
        TableauDePascal table;
        EXPECT_THROW(table.Cnp(n), std::bad_array_new_length);
        EXPECT_THROW(table.ComputeTo(n), std::bad_array_new_length);
    }
}

TEST(Binomials, FactorialsOnBothSidesOfTheConstantTable) {
    ERFactorialFactory factory;
    double expected = 1.0;
    for (int n = 1; n <= 170; ++n) {
        expected = n * expected;
        EXPECT_EQ(factory.Fact(n), expected) << n;
    }
    EXPECT_EQ(factory.Fact(0), 1.0);
    EXPECT_EQ(factory.Fact(171), HUGE_VAL);
    EXPECT_EQ(ERFactorialFactory().Fact(32), factory.Fact(32)); // a multiple of 16 at first
}

// Two threads that meet an empty table at once, and each other's growth.
TEST(BinomialsThreads, GrowTogether) {
    for (int round = 0; round < 30; ++round) {
        TableauDePascal table;
        ERFactorialFactory factory;
        velm_test::in_threads(2, [&table, &factory](int thread) {
            for (int n = 1 + 2 * thread; n < 90; n += 7) {
                expect_true_row(table, n);
                EXPECT_EQ(factory.Fact(n), factory.Fact(n - 1) * n);
            }
        });
    }
    const std::vector<double> poles(21, 1.0); // a curve of degree 20 that is 1 everywhere
    velm_test::in_threads(2, [&poles](int thread) {
        for (int i = 1 + 2 * thread; i <= 100; ++i) {
            double value = 0.0;
            Horner(poles.data(), 21, i / 100.0, 1, &value);
            EXPECT_NEAR(value, 1.0, 1e-14);
        }
    });
}

TEST(IdentityMatrixThreads, EachThreadHasItsOwn) {
    const ERMatrix<double>& mine = GetThreadIdentityMatrix();
    EXPECT_TRUE(mine == IdentityMatrix(3));
    EXPECT_EQ(&mine, &GetThreadIdentityMatrix());
    std::thread([&mine] {
        EXPECT_NE(&GetThreadIdentityMatrix(), &mine);
        EXPECT_TRUE(GetThreadIdentityMatrix() == IdentityMatrix(3));
    }).join();
}

} // namespace
