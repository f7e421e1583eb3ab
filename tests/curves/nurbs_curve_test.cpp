#include "velm/curves/nurbs_curve.h"

#include "curves/pole_curve_checks.h"
#include "support/allocation_count.h"
#include "support/random_curves.h"
#include "support/text_fields.h"
#include "velm/curves/degree_reduction.h"
#include "velm/curves/prepare.h"
#include "velm/frame/point_functions.h"

#include <sys/mman.h>
#include <unistd.h>

namespace {

template <class D>
class Nurbs : public testing::Test {
public:
    using Curve = typename D::NurbsCurve;
    using Pole = typename D::Pole;

    static inline velm_test::Random random{2026};

    // Poles near the unit box, weights 0.3 to 3, knots between 0 and 1 of every multiplicity.
    Curve curve(int p, int n, bool clamped = true) {
        ERVec<Pole> poles(n);
        for (Pole& pole : poles.writable()) {
            pole = random.template value<Pole>(1);
            pole.weigth() = 1.0;
            pole *= random.uniform(0.3, 3);
        }
        const auto knots = velm_test::random_knots(random, p, n, clamped);
        return {poles, ERKnotVector(p, knots.data(), static_cast<int>(knots.size()))};
    }
    // Calls f with curves of degree 1 to `highest`, every third unclamped.
    template <class F>
    void for_curves(int rounds, F f, int highest = 7) {
        for (int i = 0; i < rounds; ++i) {
            const int p = 1 + i % highest;
            f(curve(p, p + 1 + random.below(12), i % 3 != 0));
        }
    }
};

using Dimensions = testing::Types<velm::Plane, velm::Space>;
TYPED_TEST_SUITE(Nurbs, Dimensions);

template <class Curve>
auto list(const Curve& c) {
    const auto poles = c.getPoles().view();
    return std::vector<typename Curve::Pole>(poles.begin(), poles.end());
}

// Both curves at hundreds of parameters, the second at map(t).
template <class Curve, class Map>
void expect_same(Curve a, Curve b, double low, double high, double tol, Map map) {
    EXPECT_EQ(b.isValid(), 1);
    EXPECT_TRUE(b.knotVector().isUsable()) << b.knotVector();
    for (int i = 0; i <= 200; ++i) {
        const double t = ERLimites(low, high)(i / 200.0);
        ASSERT_TRUE(isEqual(a(t), b(map(t)), tol)) << t << "\n" << a.knotVector() << b.knotVector();
    }
}
template <class Curve>
void expect_same(const Curve& a, const Curve& b, double low = 0, double high = 1,
                 double tol = 1e-13) {
    expect_same(a, b, low, high, tol, [](double t) { return t; });
}

TEST(NurbsReference, PointsAndDerivativesAgreeWithExactArithmetic) {
    constexpr double limit = 8; // in roundings of the sizes that the data states for each row
    std::ifstream file(VELM_TEST_FOLDER "/curves/data/nurbs.txt");
    ERVec<double> knots;
    ERVec<ERPole3DH> poles;
    int p = 0, row = 0, rows = 0;
    double t = 0.0;
    for (std::string line; std::getline(file, line);) {
        velm_test::TextFields fields(line);
        const std::string word = fields.word();
        const std::vector<double> v = fields.rest();
        if (word == "curve") {
            p = static_cast<int>(v[0]);
            poles.clear();
        } else if (word == "knots") {
            knots = ERVec<double>(std::span<const double>(v));
        } else if (word == "pole") {
            poles.append(ERPole3DH(v[0], v[1], v[2], v[3]));
        } else if (word == "at") {
            t = v[0];
            row = 0;
        } else if (word == "row") {
            const ERPoint3D exact(v[0], v[1], v[2]);
            const double unit = v[3] * std::numeric_limits<double>::epsilon() / 2;
            ERCpoleNURBS3D curve(poles, ERKnotVector(p, knots));
            const ERInfoPoint3DWF found = curve.PtCur(t);
            const ERVector3D &first = found.tangente(), &second = found.second_derivative();
            for (int c = 0; c < 3; ++c) {
                const double value = row == 0 ? found.point()[c] : row == 1 ? first[c] : second[c];
                EXPECT_LE(std::fabs(value - exact[c]), limit * unit)
                    << "degree " << p << " at " << t << " row " << row;
            }
            const ERPoint3D at = row == 0 ? curve(t) : exact;
            EXPECT_LE(distance(at, exact), 2 * limit * unit);
            ++row;
            ++rows;
        }
    }
    EXPECT_EQ(rows, 240);
}

// Makes the pages of a body with its counts read-only.
void forbid_writing(const void* data, std::size_t bytes) {
    constexpr std::uintptr_t header = 64;
    const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    const auto address = reinterpret_cast<std::uintptr_t>(data);
    const std::uintptr_t from = (address - header) / page * page;
    if (mprotect(reinterpret_cast<void*>(from), address + bytes - from, PROT_READ) != 0)
        std::_Exit(3);
}

// In a process of its own, which a write to a count would end.
TYPED_TEST(Nurbs, EvaluationAllocatesNothingAndTouchesNoCounts) {
    for (const int p : {1, 3, 9, 40}) {
        auto curve = this->curve(p, p + 8);
        const auto other = curve; // both bodies are shared
        const auto evaluate = [&] {
            double sum = 0.0;
            for (int i = 0; i <= 20; ++i)
                sum += curve(0.05 * i).x() + curve.CalOnNurbs(0.05 * i).x() +
                       curve.PtCur(0.05 * i).tangente().i();
            return sum;
        };
        const long before = velm_test::allocations();
        EXPECT_TRUE(std::isfinite(evaluate()));
        EXPECT_EQ(velm_test::allocations(), before) << "degree " << p;
        const auto evaluate_read_only = [&] {
            forbid_writing(curve.getPoles().view().data(), curve.getPoles().view().size_bytes());
            forbid_writing(curve.getKnots().data(), curve.getKnots().getVec().view().size_bytes());
            std::_Exit(std::isfinite(evaluate()) ? 0 : 1);
        };
        EXPECT_EXIT(evaluate_read_only(), testing::ExitedWithCode(0), "") << "degree " << p;
        const auto count_another = [&] {
            forbid_writing(curve.getPoles().view().data(), sizeof(double));
            const auto third = curve.getPoles();
            std::_Exit(third.size() > 0 ? 0 : 1);
        };
        EXPECT_DEATH(count_another(), "") << "a count is seen";
    }
}

TYPED_TEST(Nurbs, EditsKeepTheCurve) {
    this->for_curves(420, [&](const auto& c) {
        auto& draw = this->random;
        const int p = c.degree(), n = c.nbPoles();
        const ERKnotVector knots = c.knotVector();
        auto edited = c;
        // At knots and between them, as often as can be and once more.
        const bool at_knot = draw.below(2) == 0;
        const double t = at_knot ? knots(p + draw.below(n - p + 1)) : draw.uniform(0, 1);
        const int r = 1 + draw.below(p + 1);
        edited.insertKnot(t, r);
        EXPECT_EQ(edited.nbPoles(), n + r);
        expect_same(c, edited);
        if (t > 0 && t < 1) {
            edited.reduceKnotMultiplicity(t, r);
            EXPECT_EQ(edited.nbPoles(), n);
            expect_same(c, edited, 0, 1, 1e-6);
        }
        edited = c;
        edited.incrDegree(2);
        expect_same(c, edited);
        ERKnotVector raised = knots; // with whose knots there is one such curve
        raised.incDegree(2);
        if (knots.isUnclamped() == 0) {
            EXPECT_EQ(velm_test::text_of(edited.knotVector()), velm_test::text_of(raised));
        }
        edited = c;
        edited.reverse();
        const double sum = knots.first() + knots.last();
        expect_same(c, edited, 0, 1, 1e-11, [sum](double u) { return sum - u; });
        edited = c;
        edited.reparametrize({5, 12});
        const double scale = 7 / (knots.last() - knots.first());
        expect_same(c, edited, 0, 1, 1e-11,
                    [&](double u) { return 5 + (u - knots.first()) * scale; });

        const double a = draw.uniform(0, 0.5), b = draw.uniform(0.5, 1);
        auto first = c, second = c;
        first.setBound({a, 1});
        EXPECT_EQ(first.splitAt(first, second, b), 1); // into itself
        EXPECT_EQ(first.getBound(), ERLimites(a, b));
        expect_same(c, first, a, b);
        expect_same(c, second, b, 1);
        EXPECT_EQ(c.splitAt(first, second, 0.0) + c.splitAt(first, second, std::nan("")), 0);
        EXPECT_EQ(first.getBound(), ERLimites(a, b));
        EXPECT_EQ(first.append(second, 1e-9, 0), 1);
        expect_same(c, first, a, 1);
    });
}

TYPED_TEST(Nurbs, PreparedOnesKeepTheirPointsWithinTheirLimits) {
    this->for_curves(
        200,
        [](auto c) {
            c.setBound({0.2, 0.7});
            const auto prepared = velm::prepare(c);
            ASSERT_TRUE(prepared) << c.knotVector();
            EXPECT_EQ(prepared->domain(), c.getBound());
            for (int i = 0; i <= 50; ++i)
                EXPECT_LE(distance((*prepared)(0.2 + 0.01 * i), c(0.2 + 0.01 * i)), 1e-13)
                    << i << c.knotVector();
        },
        9);
}

TYPED_TEST(Nurbs, AdjustContinuesTheEndSpans) {
    this->for_curves(200, [](auto c) {
        const ERKnotVector knots = c.knotVector();
        const double start = knots.getSpanLimites(0).amplitude();
        const double end = knots.getSpanLimites(knots.nbSpans() - 1).amplitude();
        for (const ERLimites& to :
             {ERLimites(-0.2 * start, 0.7), ERLimites(0.3, 1 + 0.2 * end),
              ERLimites(-0.3 * start, -0.1 * start), ERLimites(1 + 0.1 * end, 1 + 0.3 * end)}) {
            auto moved = c;
            moved.setBound(to);
            moved.adjust();
            EXPECT_EQ(moved.getBound(), to);
            EXPECT_EQ(moved.isTrimmed(), 0);
            EXPECT_TRUE(moved.knotVector().isUsable());
            for (int i = 0; i <= 200; ++i) { // the weight may come near 0 there
                const double t = to(i / 200.0);
                ASSERT_TRUE(isEqual(c.CalOnNurbs_H(t), moved.CalOnNurbs_H(t), 1e-9)) << t << knots;
            }
        }
        for (const ERLimites& nothing : {ERLimites(0.5, 0.5), ERLimites(0.7, 0.2)}) {
            auto kept = c;
            kept.setBound(nothing);
            kept.adjust();
            EXPECT_EQ(list(kept), list(c));
        }
    });
    // An end that is off by a rounding does not lose the curve its poles.
    auto c = this->curve(3, 9);
    auto off = c;
    off.setBound({-1e-17, std::nextafter(1.0, 2.0)});
    off.adjust();
    EXPECT_EQ(list(off), list(c));
    EXPECT_EQ(off.isTrimmed(), 0);
    EXPECT_TRUE(off.knotVector().isUsable());
}

TYPED_TEST(Nurbs, SpansAreThoseOfTheCutCurveToTheBit) {
    this->for_curves(100, [](const auto& c) {
        const ERKnotVector knots = c.knotVector();
        for (int i = 0; i < c.nbSpans(); ++i) {
            const ERLimites span = knots.getSpanLimites(i);
            if (!(span.amplitude() > 0)) continue;
            auto whole = c;
            const auto power = whole.getSpanPower(i);
            auto piece = c;
            piece.setBound(span);
            piece.adjust();
            if (piece.isBezier() == 0) continue; // the uncut end of an unclamped curve
            const auto expected = piece.getSpanPower(0);
            for (int k = 0; k < power.length(); ++k)
                EXPECT_TRUE(power[k] == expected[k]) << power[k] << expected[k];
            EXPECT_NE(whole.getCachedSpan(i), nullptr);
            whole.insertKnot(span(0.5), 1);
            EXPECT_EQ(whole.getCachedSpan(i), nullptr);
        }
        EXPECT_EQ(c.getSpanPower(-1).length() + c.getSpanPower(c.nbSpans()).length(), 0);
    });
}

TYPED_TEST(Nurbs, AppendTakesOutAKnotForEachOrderThatAgrees) {
    // A polynomial cubic cut into spans of length 1 meets itself with all its derivatives.
    auto poles = this->curve(3, 4).getPoles();
    for (auto& pole : poles.writable())
        pole.weigth() = 1.0;
    const typename TestFixture::Curve whole(poles, BezierKnotVector(3, {0, 2}));
    typename TestFixture::Curve first, second;
    ASSERT_EQ(whole.splitAt(first, second, 1.0), 1);
    const struct {
        double tol;
        int continuity, removed;
    } cases[] = {{1e-9, 0, 0}, {-1, 1, 0}, {1e-9, 1, 3}};
    for (const auto& expected : cases) {
        auto joined = first;
        auto other = second;
        ASSERT_EQ(joined.append(other, expected.tol, expected.continuity), 1);
        EXPECT_EQ(joined.nbPoles(), 8 - expected.removed);
        EXPECT_EQ(joined.isValid(), 1);
        expect_same(whole, joined, 0, 2);
        // Reversed, it is turned round and stays itself as it is.
        auto turned = first;
        other.reverse();
        const auto before = list(other);
        ASSERT_EQ(turned.append(other, 1e-9, expected.continuity), 1);
        EXPECT_EQ(list(other), before);
        expect_same(joined, turned, 0, 2);
    }
    auto joined = second;
    EXPECT_EQ(joined.append(first, 1e-9, 0), 0);
    EXPECT_EQ(list(joined), list(second));
    EXPECT_EQ(joined.merge(first, 1e-9, 0), 1); // prepends it
    expect_same(whole, joined, 0, 2);
    typename TestFixture::Curve empty;
    EXPECT_EQ(joined.append(empty, -1, 0), 0);
    EXPECT_EQ(empty.append(first, 1e-9, 1), 1);
    EXPECT_EQ(list(empty), list(first));
    // Other degrees, a gap, this curve itself.
    auto line = this->curve(1, 2);
    joined = first;
    EXPECT_EQ(joined.append(line, -1, 1), 1);
    EXPECT_EQ(joined.degree(), 3);
    EXPECT_EQ(joined.nbPoles(), 8);
    EXPECT_EQ(joined.append(joined, -1, 1), 1);
    EXPECT_EQ(joined.nbPoles(), 16);
    EXPECT_TRUE(joined.knotVector().isUsable());
}

TYPED_TEST(Nurbs, FeetAreStationaryAndNoneIsFarther) {
    this->for_curves(
        150,
        [&](auto c) {
            const auto p = this->random.template value<typename TypeParam::Point>(1.2);
            ERVec<double> feet{99};
            const int found = c.ProjectPoint(p, feet, 10.0);
            EXPECT_EQ(found, feet.size());
            double best = std::min(distance(c(0), p), distance(c(1), p));
            for (const double t : feet.view()) {
                const auto at = c.PtCur(t);
                const typename TypeParam::Vector to(p, at.point());
                EXPECT_NEAR(to * at.tangente() / (at.tangente().norme() + 1), 0.0, 1e-3);
                best = std::min(best, to.norme());
            }
            const ERVec<double> corners = c.knotVector().getVec(); // kinks have no perpendicular
            for (const double t : corners.view())
                if (t >= 0 && t <= 1) best = std::min(best, distance(c(t), p));
            for (int i = 0; i <= 100; ++i)
                EXPECT_GE(distance(c(i / 100.0), p), best - 1e-6);
            const auto far = TypeParam::Point::each([](int) { return 50.0; });
            EXPECT_EQ(c.ProjectPoint(far, feet, 1.0) + feet.size(), 0);
        },
        3); // beyond, power forms lose and invent some
}

TYPED_TEST(Nurbs, CrossingsAreAtTheLevelAndNoneIsLost) {
    constexpr int axis = TypeParam::size - 1;
    this->for_curves(
        150,
        [&](auto c) {
            const double level = this->random.uniform(-1, 1);
            const auto crossings = [&](double at, ERVec<double>& params) {
                return velm_test::level_crossings(c, at, params);
            };
            ERVec<double> params;
            const int found = crossings(level, params);
            EXPECT_EQ(found, params.size());
            for (const double t : params.view())
                EXPECT_NEAR(c(t)[axis], level, 1e-6);
            int changes = 0;
            for (int i = 0; i < 400; ++i)
                changes += (c(i / 400.0)[axis] > level) != (c((i + 1) / 400.0)[axis] > level);
            EXPECT_LE(changes, params.size());
            EXPECT_EQ(crossings(level, params), found); // none is repeated
            EXPECT_EQ(crossings(5.0, params), 0);
            auto flat = c.getPoles();
            for (auto& pole : flat.writable())
                pole[axis] = 2.0 * pole.weigth();
            c = typename TestFixture::Curve(flat, c.knotVector());
            EXPECT_EQ(crossings(2.0, params), -1);
        },
        3); // beyond, power forms lose and invent some
}

TYPED_TEST(Nurbs, IsStoredAndDamagedRecordsGiveAnEmptyCurve) {
    auto c = this->curve(2, 4);
    c.setBound({0.25, 0.75});
    const std::string poles = velm_test::poles_bytes(c);
    const auto record = [&](int bytes, int degree, double knot) {
        const double inner = c.knotVector()(3);
        return velm_test::bytes_of(0.0, 1.0, 0.25, 0.75, bytes, poles, 56, 0.0, 0.0, 0.0, inner,
                                   1.0, 1.0, knot, degree, 0);
    };
    const int bytes = static_cast<int>(poles.size());
    const auto made = velm_test::expect_stored(
        c, record(bytes, 2, 1.0), velm_test::poles_text(c) + velm_test::text_of(c.knotVector()));
    auto& read = TestFixture::Curve::castdown(*made);
    EXPECT_EQ(read.getBound(), c.getBound());

    for (const std::string& bad :
         {record(bytes, 3, 1.0), record(bytes, -2, 1.0), record(bytes, 2, 0.5),
          record(bytes - 8, 2, 1.0), record(0x7fffffff, 2, 1.0), record(-1, 2, 1.0),
          record(bytes, 2, 1.0).substr(0, 60)}) {
        velm_test::restore(read, bad);
        EXPECT_EQ(read.nbPoles() + read.knotVector().length() + read.degree(), 0);
        EXPECT_EQ(read.isValid(), 1);
    }
    // What has no poles has an answer to everything.
    velm_test::expect_no_curve(read);
    read.insertKnot(0.5, 2);
    EXPECT_EQ(read.reduceKnotMultiplicity(0.5, 1), 1);
    EXPECT_EQ(read.nbPoles(), 0);
}

TYPED_TEST(Nurbs, KnotsThatCanNotBeInsertedOrRemovedChangeNothing) {
    auto c = this->curve(3, 8, false);
    const auto poles = list(c);
    const double nan = std::nan("");
    for (const double t : {-0.5, 1.5, nan}) {
        c.insertKnot(t, 2);
        c.reduceKnotMultiplicity(t, 2);
    }
    for (const double end : {c.knotVector().first(), c.knotVector().last()})
        c.reduceKnotMultiplicity(end, 1);
    EXPECT_EQ(list(c), poles);
    // A trim is forgotten by an insertion, kept by what changes nothing.
    c.setBound({0.2, 0.8});
    c.insertKnot(nan, 1);
    EXPECT_EQ(c.isTrimmed(), 1);
    c.insertKnot(0.5, 1);
    EXPECT_EQ(c.getBound(), c.knotVector().limites());
}

TYPED_TEST(Nurbs, ReducedCurvesStayWithinTheirDeviation) {
    this->for_curves(90, [this](auto curve) {
        SCOPED_TRACE(velm_test::text_of(curve));
        const auto original = curve;
        const int p = curve.degree(), raise = 1 + this->random.below(3);
        const ERKnotVector given = curve.getKnots();
        const double low = given[p], high = given[given.length() - 1 - p];
        const ERLimites limits(0.75 * low + 0.25 * high, 0.5 * (low + high));
        curve.incrDegree(raise);
        curve.setBound(limits);
        auto exact = velm::reduce_degree(curve, 1e-8);
        EXPECT_LE(exact.curve.degree(), p);
        EXPECT_LE(exact.deviation, 1e-8);
        EXPECT_EQ(exact.curve.getBound(), limits);
        // Inside, the knots are those given, each with as many copies less, one at least.
        const auto expect_knots = [&](const auto& lower) {
            const auto copies = [](const ERKnotVector& knots, double t) {
                const auto all = knots.getVec().view();
                return static_cast<int>(std::count(all.begin(), all.end(), t));
            };
            const int by = p - lower.degree();
            for (const double t : given.getVec().view()) {
                if (t <= low || t >= high) continue;
                EXPECT_EQ(copies(lower.getKnots(), t), std::max(copies(given, t) - by, 1)) << t;
            }
        };
        expect_knots(exact.curve);

        const double tolerance = std::exp(this->random.uniform(-5.0, 2.0));
        auto reduced = velm::reduce_degree(original, tolerance);
        EXPECT_LE(reduced.deviation, tolerance);
        double worst = 0.0;
        for (int i = 0; i <= 200; ++i) {
            const double t = low + (high - low) * i / 200.0;
            worst = std::max(worst, distance(reduced.curve(t), original.CalOnNurbs(t)));
        }
        EXPECT_LE(worst, reduced.deviation + 1e-14);
        EXPECT_LE(distance(reduced.curve(low), original.CalOnNurbs(low)), 1e-13);
        EXPECT_LE(distance(reduced.curve(high), original.CalOnNurbs(high)), 1e-13);
        expect_knots(reduced.curve);
        EXPECT_EQ(velm::reduce_degree(original, -1.0).curve.degree(), p);
    });
    EXPECT_EQ(velm::reduce_degree(typename TestFixture::Curve(), 1.0).curve.nbPoles(), 0);
}

} // namespace
