// Bernstein arithmetic on rows: a column of a grid against the packed row, operations against each
// other and against their inverses.
#include "velm/curves/detail/bernstein_rows.h"

#include "support/test.h"

namespace {

using namespace velm::detail;
using Values = std::vector<double>;
constexpr double gap = 777.25;

// A row with gaps between its poles, and room for one more; whoever writes into a gap is found
// out.
struct Spread {
    Spread(int size, int dim, int step)
        : width(dim), values(std::size_t((size + 1) * step), gap),
          row(values.data(), size, dim, step) {}
    explicit Spread(const Values& poles, int dim, int step)
        : Spread(int(poles.size()) / dim, dim, step) {
        for (int i = 0; i < row.count; ++i)
            std::copy_n(poles.data() + i * dim, dim, row[i]);
    }
    Spread(const Spread&) = delete;

    Values poles(int count) const {
        Values result;
        for (int i = 0; i < count; ++i)
            result.insert(result.end(), row[i], row[i] + width);
        for (std::size_t i = 0; i < values.size(); ++i)
            EXPECT_TRUE(int(i) % int(row.stride) < width || values[i] == gap) << i;
        return result;
    }
    Values poles() const { return poles(row.count); }

    int width;
    Values values;
    PoleRow row;
};

void expect_near(const Values& a, const Values& b, double tolerance) {
    ASSERT_EQ(a.size(), b.size());
    for (std::size_t i = 0; i < a.size(); ++i)
        EXPECT_NEAR(a[i], b[i], tolerance) << i << " of " << a.size();
}

Values value(ConstPoleRow row, double t) {
    Values out(std::size_t(row.width));
    row_value(row, t, out.data());
    return out;
}
Values derivatives(ConstPoleRow row, double t) {
    Values out(std::size_t(3 * row.width));
    row_derivatives(row, t, 2, out.data());
    return out;
}

void on_random_rows(const std::function<void(velm_test::Random&, const Values&, int, int)>& check) {
    velm_test::Random random(52);
    for (const int dim : {1, 2, 3, 4, 7})
        for (const int count : {1, 2, 3, 4, 5, 10, 21}) {
            Values poles(std::size_t(dim * count));
            for (double& v : poles)
                v = random.uniform(-10.0, 10.0);
            SCOPED_TRACE(testing::Message() << count << " poles of " << dim);
            check(random, poles, count, dim);
        }
}

TEST(BernsteinRows, SplitRestrictAndHodographDescribeTheSameCurve) {
    on_random_rows([](velm_test::Random& random, const Values& poles, int count, int dim) {
        Spread row(poles, dim, dim + 1);
        Spread before(count, dim, dim + 2);
        Spread after(count, dim, dim);
        const double at = random.uniform(0.1, 0.9);
        split_row(row.row, at, before.row, after.row);
        EXPECT_EQ(Values(before.row[count - 1], before.row[count - 1] + dim),
                  Values(after.row[0], after.row[0] + dim));
        Spread part(poles, dim, dim + 1);
        restrict_row(part.row, at, 1.25);
        Spread slope(poles, dim, dim + 1);
        hodograph_row(slope.row, slope.row);
        for (const double t : {0.0, 0.3, 1.0}) {
            const Values here = value(row.row, t * at);
            const Values there = value(row.row, at + t * (1.0 - at));
            expect_near(value(before.row, t), here, 1e-12);
            expect_near(value(after.row, t), there, 1e-12);
            expect_near(value(part.row, t), value(row.row, at + t * (1.25 - at)),
                        1e-13 * std::pow(2.0, count));
            const Values all = derivatives(row.row, t);
            expect_near({all.data(), all.data() + dim}, value(row.row, t), 1e-12);
            if (count < 2) continue;
            const PoleRow first(slope.row[0], count - 1, dim, slope.row.stride);
            const Values below = derivatives(first, t);
            expect_near({all.data() + dim, all.data() + 3 * dim},
                        {below.data(), below.data() + 2 * dim}, 1e-11 * count * count);
        }
    });
}

TEST(BernsteinRows, LoweringUndoesRaisingAndOnlyRaising) {
    on_random_rows([](velm_test::Random&, const Values& poles, int count, int dim) {
        if (count < 2 || count > 10) return; // errors of the recursion grow like binomials
        Spread row(poles, dim, dim + 1);
        elevate_row(row.row, 1);
        const PoleRow raised(row.row[0], count + 1, dim, row.row.stride);
        Spread lowered(count, dim, dim + 2);
        EXPECT_TRUE(lower_row(raised, lowered.row));
        expect_near(lowered.poles(), poles, 1e-11);
        raised[count / 2 + count % 2][dim - 1] += 1e-9;
        EXPECT_FALSE(lower_row(raised, lowered.row));
    });
}

TEST(BernsteinRows, PowerFormGivesTheValuesAndGoesBack) {
    on_random_rows([](velm_test::Random& random, const Values& poles, int count, int dim) {
        if (count > 10) return;
        Spread row(poles, dim, dim + 1);
        Spread back(count + 1, dim, dim);
        const double t = random.uniform(0.0, 1.0);
        const Values at_t = value(row.row, t);
        for (int c = 0; c < dim; ++c) {
            Values power(std::size_t(count), 0.0);
            power_coefficients(row.row, c, power);
            double sum = 0.0;
            for (int i = count - 1; i >= 0; --i)
                sum = sum * t + power[std::size_t(i)];
            EXPECT_NEAR(sum, at_t[std::size_t(c)], 1e-13 * std::pow(4.0, count));
            set_from_power(power, c, back.row); // one degree more than the coefficients have
        }
        elevate_row(row.row, 1);
        expect_near(back.poles(), row.poles(count + 1), 1e-13 * std::pow(3.0, count));
    });
}

// Rows of 1, t and t * t, whose ordinates are exact up to one rounding at every degree.
TEST(BernsteinRows, ValuesAndDerivativesHoldAtEveryDegreeThatIsStored) {
    for (const int n : {1000, 1001, 1030, 46341, 65536}) {
        const double slack = n > 1000 ? 1.0 : 1000.0; // of de Casteljau's n levels
        Spread spread(n + 1, 3, 4);
        for (int i = 0; i <= n; ++i) {
            spread.row[i][0] = 1.0;
            spread.row[i][1] = double(i) / n;
            spread.row[i][2] = double(i) / n * (i - 1) / (n - 1);
        }
        for (const double t : {0.0, 1e-9, 0.25, 0.5, 0.6, 1.0 - 1e-9, 1.0}) {
            SCOPED_TRACE(testing::Message() << "degree " << n << " at " << t);
            expect_near(value(spread.row, t), {1.0, t, t * t}, 1e-12);
            const Values all = derivatives(spread.row, t);
            expect_near({all.data(), all.data() + 6}, {1.0, t, t * t, 0.0, 1.0, 2.0 * t},
                        1e-12 + slack * 1e-15 * n);
            expect_near({all.data() + 6, all.data() + 9}, {0.0, 0.0, 2.0}, slack * 1e-15 * n * n);
        }
        if (n < 2000) {
            EXPECT_NEAR(value(spread.row, 1.001)[1], 1.001, 1e-12);
        }
        EXPECT_TRUE(std::isnan(value(spread.row, std::nan(""))[1]));
    }
}

TEST(BernsteinRows, PowerFormsOfHighDegreeKeepTheirZeros) {
    for (const int n : {1000, 1001, 1030, 3000}) {
        Spread spread(n + 1, 1, 2);
        for (int i = 0; i <= n; ++i)
            spread.row[i][0] = 5.0 + i + double(i) * (i - 1);
        Values power(std::size_t(n) + 1), expected(power.size(), 0.0);
        power_coefficients(spread.row, 0, power);
        expected[0] = 5.0;
        expected[1] = n;
        expected[2] = double(n) * (n - 1);
        EXPECT_EQ(power, expected) << n;
        Spread back(n + 1, 1, 1);
        set_from_power(power, 0, back.row);
        expect_near(back.poles(), spread.poles(), 1e-15 * n * n);
    }
    Spread ends(1102, 1, 1); // 1 - (1 - t)^1101 - t^1101, whose binomials overflow
    std::fill_n(ends.row[0], 1102, 1.0);
    *ends.row[0] = *ends.row[1101] = 0.0;
    Values power(1102);
    power_coefficients(ends.row, 0, power);
    EXPECT_EQ(power[1], 1101.0);
    EXPECT_NEAR(power[2], -1101.0 * 550.0, 1e-8);
    EXPECT_EQ(power[550], -HUGE_VAL);
    EXPECT_EQ(power[1101], 0.0);
}

} // namespace
