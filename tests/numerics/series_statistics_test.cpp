// The running statistics of a series against certified values, and its rules for limits.
#include "velm/numerics/series_statistics.h"

#include "support/test.h"

namespace {

constexpr double not_projected = ERSerieStatistic::not_projected;

ERSerieStatistic series(const std::vector<double>& values, double lower, double upper) {
    ERSerieStatistic s;
    for (const double value : values)
        s.append(value, 1.0, lower, upper);
    return s;
}

// The variance comes from the difference of two mean squares: the loss of accuracy is the ratio of
// the mean square to the variance.
TEST(SeriesStatistics, AgreesWithCertifiedValuesToWhatTheFormulaKeeps) {
    std::ifstream certified(VELM_REAL_DATA "/statistics/certified.csv");
    if (!certified) GTEST_SKIP() << "no reference data here";
    int sets = 0;
    std::string line;
    std::getline(certified, line); // the heads
    while (std::getline(certified, line)) {
        std::replace(line.begin(), line.end(), ',', ' ');
        std::istringstream in(line);
        std::string name;
        double mean = 0.0;
        double deviation = 0.0;
        int count = 0;
        in >> name >> count;
        std::ifstream data(VELM_REAL_DATA "/statistics/" + name + ".dat");
        std::vector<double> values;
        for (double x; data >> x;)
            values.push_back(x);
        ASSERT_FALSE(values.empty()) << name;
        ASSERT_TRUE(in >> mean >> deviation) << line;
        const ERSerieStatistic s =
            series(values, ERSerieStatistic::no_lower, ERSerieStatistic::no_upper);
        const double unit = 2.3e-16 * std::sqrt(double(values.size()));
        const double loss = (mean * mean + deviation * deviation) / (deviation * deviation);
        EXPECT_NEAR(s.mean(), mean, std::fabs(mean) * unit + deviation * unit) << name;
        EXPECT_NEAR(s.standard_deviation() / deviation, 1.0, 4 * unit * loss) << name;
        EXPECT_EQ(s.num_projected(), int(values.size()));
        ++sets;
    }
    EXPECT_GE(sets, 6);
}

TEST(SeriesStatistics, CountsWhatLiesWithinLimitsAndWhatWasProjected) {
    const ERSerieStatistic s = series({0.5, 1.00005, -0.00005, 1.2, not_projected, -3.0}, 0.0, 1.0);
    EXPECT_EQ(s.length(), 6);
    EXPECT_EQ(s.num_projected(), 5);
    EXPECT_EQ(s.inLimits(), 3) << "closer than 0.0001 to a limit counts as within";
    EXPECT_EQ(s.counted(), 3);
    EXPECT_EQ(s.minimum(), -3.0);
    EXPECT_EQ(s.maximum(), 1.2);
    EXPECT_EQ(s.lowestMargin(), -3.0);

    ERSerieStatistic unlimited;
    unlimited.append(not_projected, 1.0, ERSerieStatistic::no_lower, ERSerieStatistic::no_upper);
    EXPECT_EQ(unlimited.counted(), 1);
    EXPECT_EQ(unlimited.num_projected(), 0);

    ERSerieStatistic one = series({4.0}, 0.0, 9.0);
    EXPECT_EQ(one.variance(), 0.0);
    one.set_type(gmStatType_minimum);
    one.reset();
    EXPECT_EQ(one.length(), 0);
    EXPECT_EQ(one.type(), gmStatType_fit);
}

TEST(SeriesStatistics, TellsTheWorseOfTwoCandidates) {
    ERSerieStatistic small = series({1.0, 2.0}, 0.0, 9.0);
    ERSerieStatistic large = series({3.0, 4.0}, 2.5, 9.0);
    EXPECT_TRUE(small < large) << "the same counts: the smaller mean square is the lesser here";
    EXPECT_FALSE(large < small);
    small.set_type(gmStatType_minimum);
    large.set_type(gmStatType_minimum);
    EXPECT_TRUE(large < small);
    small.set_type(gmStatType_lowest_margin);
    EXPECT_TRUE(small < large) << "margins 1.0 and 0.5";
    const ERSerieStatistic three = series({1.0, 1.0, not_projected}, 0.0, 9.0);
    const ERSerieStatistic none = series({not_projected}, 0.0, 9.0);
    EXPECT_TRUE(three < none) << "counted 2 against 0, projected 2 against 0: not above";
}

} // namespace
