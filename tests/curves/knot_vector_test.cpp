#include "velm/curves/knot_vector.h"

#include "support/random_curves.h"
#include "support/records.h"
#include "velm/curves/knot.h"

namespace {

using Knots = std::vector<double>;

Knots values(const ERKnotVector& knots) {
    const auto view = knots.getVec().view();
    return {view.begin(), view.end()};
}

ERKnotVector vector_of(int degree, const Knots& knots) {
    return {degree, knots.data(), static_cast<int>(knots.size())};
}

ERKnotVector random_vector(velm_test::Random& random, int p, int n, bool clamped) {
    return vector_of(p, velm_test::random_knots(random, p, n, clamped));
}

TEST(KnotVector, ConstructorsGiveKnotsDegreeAndFlag) {
    const struct {
        ERKnotVector vector;
        Knots knots;
        int degree, unclamped;
    } cases[] = {
        {{}, {}, 0, 0},
        {ERKnotVector(ERVec<double>{0, 0, 0, 1, 2}), {0, 0, 0, 1, 2}, 2, 0},
        {vector_of(2, {0, 0, 0, 1, 2}), {0, 0, 0, 1, 2}, 2, 1},
        {vector_of(1, {0, 0, 1, 2, 2}), {0, 0, 1, 2, 2}, 1, 0},
        {BezierKnotVector(2, {3, 5}), {3, 3, 3, 5, 5, 5}, 2, 0},
        {UniformeKnotVector(2, 5, {0, 6}), {0, 0, 0, 2, 4, 6, 6, 6}, 2, 0},
        {Diff(vector_of(1, {0, 0, 1, 1}), vector_of(1, {0, 0, 1, 1})), {}, 1, 1},
    };
    for (const auto& expected : cases) {
        EXPECT_EQ(values(expected.vector), expected.knots);
        EXPECT_EQ(expected.vector.degree(), expected.degree);
        EXPECT_EQ(expected.vector.isUnclamped(), expected.unclamped);
    }
    EXPECT_EQ(velm_test::text_of(cases[3].vector), "KnotVector degree 1  ( Regular )\n"
                                                   "(5)[0,0,1,2,2]\n");
    EXPECT_EQ(velm_test::text_of(cases[2].vector), "KnotVector degree 2  (**UNCLAMPLED**)\n"
                                                   "(5)[0,0,0,1,2]\n");
    // The upper limit is one knot beyond the last span of an unclamped vector.
    EXPECT_EQ(vector_of(2, {0, 1, 2, 3, 4, 5, 6}).limites(), ERLimites(2, 5));
    EXPECT_EQ(vector_of(0, {0, 1, 2}).limites(), ERLimites(0, 2));
}

TEST(KnotVector, IsStoredAndDamagedRecordsGiveAnEmptyOne) {
    const auto record = [](int degree, int flag, auto... knots) {
        return velm_test::bytes_of(int(sizeof...(knots) * 8), double(knots)..., degree, flag);
    };
    ERKnotVector read;
    const ERKnotVector vector = vector_of(1, {0, 0, 0.5, 1, 1});
    EXPECT_EQ(velm_test::record_of(vector), record(1, 0, 0, 0, 0.5, 1, 1));
    EXPECT_EQ(values(velm_test::restore(read, velm_test::record_of(vector))), values(vector));
    const double nan = std::nan(""), infinite = std::numeric_limits<double>::infinity();
    for (const std::string& bad :
         {record(1, 0, 0, 2, 1), record(1, 0, 0, nan), record(1, 0, 0, infinite),
          record(-1, 0, 0, 1), record(0x7fffffff, 0, 0, 1)}) {
        velm_test::restore(read, bad);
        EXPECT_EQ(read.length() + read.degree() + read.isUnclamped(), 0);
    }
}

TEST(KnotVector, SpansAndBasisFunctionsHoldAtEveryParameter) {
    velm_test::Random random(51);
    for (int round = 0; round < 500; ++round) {
        const int p = round % 8, n = p + 1 + random.below(9);
        const ERKnotVector k = random_vector(random, p, n, round % 3 != 0);
        Knots parameters = values(k);
        for (int i = 0; i < 20; ++i)
            parameters.push_back(random.uniform(-0.5, 1.5));
        for (const double u : parameters) {
            int expected = -1;
            for (int s = p; s < n; ++s)
                if (k(s) < k(s + 1) && (k(s) <= u || expected < 0)) expected = s;
            if (u <= k(p)) expected = k.FindSpan(k(p)); // the first span that is not empty
            ASSERT_EQ(k.FindSpan(u), expected) << u << k;
            ASSERT_LT(k(expected), k(expected + 1));
            const ERMatrix<double> rows = k.DersBasisFuns(expected, u, p + 2);
            const ERVec<double> basis = k.BasisFuns(expected, u);
            for (int row = 0; row <= p + 2; ++row) {
                double sum = 0.0, size = 0.0;
                for (int i = 0; i <= p; ++i) {
                    sum += rows(row, i);
                    size += std::fabs(rows(row, i));
                    const double own = row == 0 ? basis.view()[std::size_t(i)] : 0.0;
                    EXPECT_TRUE((row > 0 && row <= p) || rows(row, i) == own);
                }
                EXPECT_NEAR(sum, row == 0 ? 1.0 : 0.0, 1e-12 * size);
            }
        }
    }
    const ERKnotVector clamped = vector_of(3, {0, 0, 0, 0, 0.5, 1, 1, 1, 1});
    EXPECT_EQ(clamped.FindSpan(0), 3);
    EXPECT_EQ(clamped.FindSpan(1), 4);
    EXPECT_EQ(clamped.FindSpan(std::nan("")), 4);
    EXPECT_EQ(clamped.IsContinuous(0), 0); // the ends count
    EXPECT_TRUE(std::isnan(clamped.BasisFuns(8, 0.5).front()));
}

TEST(KnotVector, SetOperationsAgreeWithMultisets) {
    velm_test::Random random(52);
    const auto letters = [&random] {
        Knots knots;
        for (int i = random.below(12); i > 0; --i)
            knots.push_back(random.below(5));
        std::sort(knots.begin(), knots.end());
        return knots;
    };
    for (int round = 0; round < 300; ++round) {
        const Knots a = letters(), b = letters();
        Knots both, rest;
        std::set_union(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(both));
        std::set_difference(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(rest));
        EXPECT_EQ(values(Union(vector_of(2, a), vector_of(3, b))), both);
        EXPECT_EQ(values(Diff(vector_of(2, a), vector_of(3, b))), rest);
    }
}

TEST(KnotVector, EditsAreThoseOfTheArray) {
    ERKnotVector k = vector_of(1, {0, 0, 1, 3, 3});
    k.insertAt(2, k[3], 2);
    EXPECT_EQ(values(k), (Knots{0, 0, 3, 3, 1, 3, 3}));
    k = vector_of(1, {0, 0, 1, 3, 3});
    k.concat(k);
    EXPECT_EQ(values(k), (Knots{0, 0, 1, 0, 0, 1, 3, 3}));
    k = vector_of(1, {0, 0, 1, 3, 3});
    EXPECT_EQ(values(k.GetPrautzsch(1)), (Knots{0, 0, 0, 1, 3, 3, 3}));
    k.incDegree(1);
    EXPECT_EQ(values(k), (Knots{0, 0, 0, 1, 1, 3, 3, 3}));
    EXPECT_EQ(k.degree(), 2);
    k.reverse();
    EXPECT_EQ(values(k), (Knots{0, 0, 0, 2, 2, 3, 3, 3}));
    EXPECT_EQ(k.subVector(1, 5).isUnclamped(), 1);
    // The ends are exact regardless of the rounding of scale and shift.
    velm_test::Random random(53);
    for (int round = 0; round < 500; ++round) {
        ERKnotVector r = random_vector(random, 3, 9, true);
        const double low = random.uniform(-9, 9);
        const ERLimites to(low, low + random.uniform(1e-9, 9));
        r.reparametrize(to);
        EXPECT_EQ(r.limites(), to);
        EXPECT_TRUE(r.isUsable());
    }
    ERVec<double> repaired{0, 1, 1 - 1e-12, 2};
    EXPECT_EQ(CheckAndRepairKnotVector(repaired, 0.0, 1e-11), 1);
    EXPECT_EQ(repaired[2], 1.0);
    ERVec<double> broken{0, 1, 0.5, 2}, single{1};
    EXPECT_EQ(CheckAndRepairKnotVector(broken, 0.0, 1e-3), 0);
    EXPECT_EQ(CheckAndRepairKnotVector(single, 0.0, 1e-3), 0);
}

TEST(Knot, WalksDistinctKnotsAndFlagsTheEnds) {
    const ERKnotVector vector = vector_of(1, {0, 0, 1, 2, 2, 2, 4});
    const struct {
        double x;
        int known, index, multiplicity, error;
    } reached[] = {{-1, 1, 0, 2, 0}, {0, 1, 0, 2, 0}, {0.5, 0, 0, 2, 1}, {2, 1, 3, 3, 0},
                   {3, 0, 3, 3, 1},  {4, 1, 6, 1, 0}, {9, 0, 6, 1, 1}};
    for (const auto& expected : reached) {
        ERKnot knot(vector, expected.x);
        EXPECT_EQ(knot.index(), expected.index) << expected.x;
        EXPECT_EQ(knot.multiplicity(), expected.multiplicity) << expected.x;
        EXPECT_EQ(knot.error(), expected.error) << expected.x;
        EXPECT_EQ(knot.reach(expected.x), expected.known) << expected.x;
    }
    ERKnot knot(vector);
    EXPECT_EQ(--knot + knot.underflow() + knot.isFirst(), 2);
    Knots walked{knot};
    while (++knot)
        walked.push_back(knot);
    EXPECT_EQ(walked, (Knots{0, 1, 2, 4}));
    EXPECT_EQ(++knot + knot.overflow() + knot.isLast(), 2);
    EXPECT_EQ(--knot + knot.overflow(), 1);
    EXPECT_EQ(velm_test::text_of(knot), " Valeur = 2 Mult   = 3 index  = 3\n");
    knot.reset();
    EXPECT_EQ(knot.index() + knot.underflow() + knot.overflow(), 0);
}

TEST(Knot, InsertionKnowsItsSurroundings) {
    const ERKnotVector vector = vector_of(2, {0, 0, 0, 1, 1, 2, 2, 2});
    const struct {
        double t, a;
        int low, low_count;
        double b;
        int high, high_count, last;
    } cases[] = {{0, 0, 0, 3, 1, 3, 2, 2},
                 {0.5, 0, 0, 0, 1, 3, 2, 2},
                 {1, 1, 3, 2, 2, 5, 3, 4},
                 {2, 1, 3, 2, 2, 5, 3, 4}}; // from the end a step back
    for (const auto& expected : cases) {
        double a, b;
        int low, low_count, high, high_count, last, r;
        PrepareBoehm(vector, expected.t, 7, a, low, low_count, b, high, high_count, last, r);
        EXPECT_EQ(std::tie(a, low, low_count, b, high, high_count, last),
                  std::tie(expected.a, expected.low, expected.low_count, expected.b, expected.high,
                           expected.high_count, expected.last))
            << expected.t;
        EXPECT_EQ(r, 7);
    }
}

} // namespace
