// The Bezier classes: points against sums in long double, operations before against after, feet and
// crossings against their conditions, stored records.
#include "support/geometry.h"
#include "velm/curves/bezier_curve.h"
#include "velm/curves/degree_reduction.h"
#include "velm/curves/knot_vector.h"
#include "velm/curves/nurbs_curve.h"

#include "curves/pole_curve_checks.h"

namespace {

template <class Curve>
class Bezier : public testing::Test {
public:
    using Pole = typename Curve::StoredPole;
    using Point = typename Curve::Point;
    using Parameters = ERVec<double>;
    static constexpr int size = Point::components;
    static constexpr bool rational = Pole::components > size;

    static ERVec<Pole> random_poles(velm_test::Random& random, int n) {
        ERVec<Pole> poles(n);
        for (Pole& pole : poles) {
            pole = random.value<Pole>(10.0);
            if (!rational) continue;
            const double weight = std::exp(random.uniform(-2.0, 2.0));
            pole = pole * weight;
            pole[size] = weight;
        }
        return poles;
    }
    // The pole at x, with y as the last coordinate.
    static Pole pole(double x, double y, double weight = 1.0) {
        Pole result;
        result[0] = x;
        result[size - 1] = y;
        if (!rational) return result;
        result = result * weight;
        result[size] = weight;
        return result;
    }
    static Point far() {
        return Point::each([](int) { return 1e4; });
    }
    template <class A, class B>
    static void expect_same(A& a, B& b, double tolerance, double from = 0.0, double to = 1.0) {
        for (const double s : {0.0, 0.1, 0.37, 0.5, 0.81, 1.0}) {
            const Point p = a(a.getBound()(from + s * (to - from)));
            const Point q = b(b.getBound()(s));
            EXPECT_TRUE(isEqual(p, q, tolerance)) << s << ": " << p << q;
        }
    }
    static void on_random_curves(const std::function<void(velm_test::Random&, Curve&)>& check) {
        velm_test::Random random(53);
        for (const int degree : {1, 2, 3, 4, 7, 12})
            for (int round = 0; round < 4; ++round) {
                Curve curve(random_poles(random, degree + 1), ERLimites(2.0, 5.0));
                SCOPED_TRACE(testing::Message() << "degree " << degree << ", round " << round);
                if (round % 2 == 1) curve.setBound(ERLimites(2.5, 4.0));
                check(random, curve);
            }
    }
};
using Classes =
    testing::Types<ERCpoleBezier2D, ERCpoleBezier2DR, ERCpoleBezier3D, ERCpoleBezier3DR>;
TYPED_TEST_SUITE(Bezier, Classes);

void turn(ERCpoleRep2D& curve, bool back) {
    const ERTransfo2D t = ERTransfo2D::rotation(0.7) * ERTransfo2D(ERVector2D(3, -2));
    back ? curve.transformTo(t) : curve.transformFrom(t);
}
void turn(ERCpoleRep3D& curve, bool back) {
    const ERPmIsometrie3D t = ERChgRepere3D(ERVector3D(1, 2, 3), ERPoint3D(3, -2, 1));
    back ? curve.transformTo(t) : curve.transformFrom(t);
}
// The NURBS form, whose evaluation has an exact reference, takes a way of its own.
TYPED_TEST(Bezier, PointsAndDerivativesAreThoseOfTheNurbsForm) {
    velm_test::Random random(52);
    for (int degree = 0; degree <= 20; ++degree) {
        TypeParam curve(this->random_poles(random, degree + 1), ERLimites(2.0, 5.0));
        auto nurbs = curve.ConvertToNurbs();
        for (const double t : {2.0, 5.0, random.uniform(2.0, 5.0), random.uniform(2.0, 5.0)}) {
            SCOPED_TRACE(testing::Message() << "degree " << degree << " at " << t);
            const auto info = curve.PtCur(t), exact = nurbs.PtCur(t);
            EXPECT_TRUE(info.Parametre == t && info.Sens == 1);
            const double tolerance = 1e-13 * (degree + 1);
            EXPECT_TRUE(isEqual(curve(t), exact.point(), tolerance));
            EXPECT_TRUE(isEqual(info.point(), exact.point(), tolerance));
            const double steep = 100 * tolerance * (degree + 1);
            EXPECT_TRUE(isEqual(info.tangente(), exact.tangente(), steep));
            EXPECT_TRUE(isEqual(info.second_derivative(), exact.second_derivative(), 100 * steep));
        }
    }
}

TYPED_TEST(Bezier, OperationsKeepTheCurve) {
    this->on_random_curves([this](velm_test::Random& random, TypeParam& curve) {
        TypeParam other(curve);
        other.incrDegree(3);
        EXPECT_EQ(other.degree(), curve.degree() + 3);
        this->expect_same(curve, other, 1e-12);

        other = curve;
        other.adjust();
        EXPECT_EQ(other.isTrimmed(), 0);
        this->expect_same(curve, other, 1e-12);
        EXPECT_EQ(other(other.udeb()), other[0]);

        other = curve;
        other.reparametrize(ERLimites(-1.0, 1.0));
        this->expect_same(curve, other, 1e-12);
        EXPECT_EQ(other.isTrimmed(), curve.isTrimmed());
        other.reverse();
        this->expect_same(curve, other, 1e-12, 1.0, 0.0);

        other = curve;
        turn(other, false);
        EXPECT_FALSE(isEqual(other(3.0), curve(3.0), 0.1));
        turn(other, true);
        other.scale(4.0);
        other.translate(curve[0]);
        other.translate(curve[0] * -1.0);
        other.scale(0.25);
        this->expect_same(curve, other, 1e-12);

        EXPECT_EQ(curve.ConvertToNurbs().isTrimmed(), curve.isTrimmed());
        EXPECT_EQ(curve.knotVector().length(), 2 * curve.degree() + 2);

        const double t = random.uniform(2.6, 3.9);
        TypeParam first, second;
        ASSERT_EQ(curve.splitAt(first, second, t), 1);
        EXPECT_EQ(first.ufin(), t);
        EXPECT_EQ(second.udeb(), t);
        const double ratio = curve.getBound().ratio(t);
        this->expect_same(curve, first, 1e-12, 0.0, ratio);
        this->expect_same(curve, second, 1e-12, ratio, 1.0);
        t_SmartPtr<typename TypeParam::Curve> whole(TypeParam::Curve::castdown(curve.getCopy()));
        t_SmartPtr<typename TypeParam::Curve> rest;
        ASSERT_EQ(whole->splitAt(whole, rest, t), 1);
        EXPECT_EQ((*whole)(t), first(t));
        EXPECT_EQ(rest->className(), std::string(curve.className()));
        TypeParam itself(curve);
        ASSERT_EQ(itself.split(itself, second), 1);
        EXPECT_EQ(itself.ufin(), (curve.udeb() + curve.ufin()) * 0.5);
        for (const double end : {curve.udeb(), curve.ufin(), std::nan("")})
            EXPECT_EQ(curve.splitAt(first, second, end), 0);
        EXPECT_EQ(first.ufin(), t);
    });
}

TYPED_TEST(Bezier, LoweringTellsWhetherTheCurveWasRaised) {
    velm_test::Random random(54);
    for (int degree = 1; degree <= 8; ++degree) {
        const auto poles = this->random_poles(random, degree + 1);
        TypeParam curve(poles);
        curve.incrDegree(1);
        EXPECT_EQ(curve.decrDegree(), 1) << degree;
        ASSERT_EQ(curve.nbPoles(), degree + 1);
        for (int i = 0; i <= degree; ++i)
            EXPECT_TRUE(isEqual(curve.getPoles()[i], poles[i], 1e-11)) << degree << " " << i;
        EXPECT_EQ(curve.decrDegree(), 0) << degree; // and lowers all the same
        EXPECT_EQ(curve.degree(), std::max(degree - 1, 1));
    }
}

TYPED_TEST(Bezier, ReducedCurvesStayWithinTheirDeviation) {
    velm_test::Random random(55);
    for (int round = 0; round < 60; ++round) {
        const int degree = 1 + round % 5;
        TypeParam curve(this->random_poles(random, degree + 1), ERLimites(2, 5), ERLimites(3, 4));
        EXPECT_EQ(velm::reduce_degree(curve, -1.0).curve.degree(), degree);
        curve.incrDegree(3);
        auto exact = velm::reduce_degree(curve, 1e-9);
        EXPECT_EQ(exact.curve.degree(), degree);
        EXPECT_LT(exact.deviation, 1e-11);
        EXPECT_EQ(exact.curve.getBound(), curve.getBound());

        const double tolerance = std::exp(random.uniform(-5.0, 3.0));
        auto reduced = velm::reduce_degree(curve, tolerance);
        EXPECT_LE(reduced.deviation, tolerance);
        double worst = 0.0;
        for (int i = 0; i <= 50; ++i)
            worst = std::max(worst, distance(reduced.curve(2 + 0.06 * i), curve(2 + 0.06 * i)));
        EXPECT_LE(worst, reduced.deviation + 1e-15);
        EXPECT_TRUE(isEqual(reduced.curve(5.0), curve(5.0), 1e-12));
    }
    EXPECT_EQ(velm::reduce_degree(TypeParam(), 1.0).curve.nbPoles(), 0);
}

TYPED_TEST(Bezier, FeetAndCrossingsFulfilTheirConditions) {
    this->on_random_curves([this](velm_test::Random& random, TypeParam& curve) {
        if (curve.degree() > 4) return; // the power form
        const auto p = random.value<typename TypeParam::Point>(10.0);
        ERVec<double> feet = {-7.0};
        const int count = curve.ProjectPoint(p, feet, 100.0);
        EXPECT_EQ(count, feet.size());
        EXPECT_EQ(feet[0], -7.0); // results are appended
        EXPECT_TRUE(curve.degree() == 1 || curve.ProjectPoint(p + this->far(), feet, 1.0) == 0);

        const double t = random.uniform(2.6, 3.9);
        ERVec<double> params;
        const double level = curve(t)[this->size - 1];
        EXPECT_GT(velm_test::level_crossings(curve, level, params), 0);
        for (const double found : params.view()) {
            EXPECT_TRUE(curve.getBound().inBound(found));
            EXPECT_NEAR(curve(found)[this->size - 1], level, 1e-6);
        }
        const int known = params.size();
        EXPECT_EQ(velm_test::level_crossings(curve, level, params),
                  known); // none is appended twice
        EXPECT_EQ(velm_test::level_crossings(curve, 1e6, params), 0);
    });
    // In the plane of the level, about the centre of what is at one distance everywhere.
    TypeParam flat({this->pole(0, 1), this->pole(4, 1), this->pole(9, 1)});
    ERVec<double> params;
    EXPECT_EQ(velm_test::level_crossings(flat, 1.0, params), -1);
    EXPECT_EQ(velm_test::level_crossings(flat, 1.0 + 1e-10, params), 0);
    TypeParam point({this->pole(3, 1), this->pole(3, 1)}, ERLimites(2.0, 6.0));
    EXPECT_EQ(point.ProjectPoint(point[0], params, 0.0), -1);
    EXPECT_EQ(params.back(), 4.0);
}

TYPED_TEST(Bezier, LengthsBoxesAndSamplesFollowTheTrim) {
    const double h = std::sqrt(0.5);
    TypeParam arc({this->pole(1, 0), this->pole(1, 1, h), this->pole(0, 1)});
    TypeParam fine(arc);
    const double length = this->rational ? std::numbers::pi / 2.0 : 1.6232252401402307;
    EXPECT_NEAR(arc.arcLength(1e-4), length, 1e-4);
    EXPECT_NEAR(arc.arcLength(ERLimites(0.0, 0.5), 1e-4), length / 2.0, 1e-4);
    EXPECT_DOUBLE_EQ(arc.arcLength(1e-9), (2.0 + std::sqrt(2.0)) / 2.0); // too small a tolerance
    EXPECT_DOUBLE_EQ(arc.upperEstimate(), 2.0);
    EXPECT_DOUBLE_EQ(arc.cordalHeight(), h);

    const auto whole = arc.getBox();
    EXPECT_EQ(arc.setBound(ERLimites(0.0, 0.5)).end(), 1.0);
    EXPECT_LT(arc.getBox().upper(this->size - 1), whole.upper(this->size - 1)); // not the kept one
    EXPECT_EQ(arc(0.9), fine(0.9)); // evaluation knows no trim
    EXPECT_EQ(arc.lastPt(), fine(0.5));
    EXPECT_NEAR(arc.arcLength(1e-4), length / 2.0, 1e-4);

    const auto chords = fine.approxime(ERLimites(0.0, 1.0), 1e-4);
    EXPECT_GT(chords.size(), 8);
    EXPECT_EQ(chords[0], fine(0.0));
    TypeParam straight({this->pole(1, 0), this->pole(3, 0)});
    EXPECT_EQ(straight.approxime(7).size(), 2);
    EXPECT_EQ(fine.approxime(7).size(), 7);
    EXPECT_TRUE(std::isnan(fine.approxime(1)[0][0]));
    EXPECT_EQ(fine.approxime(0).size() + fine.approxime(-3).size(), 0);
    EXPECT_EQ(straight.isClosed(2.0), 1); // by the greatest distance along an axis, inclusive
    EXPECT_EQ(straight.isClosed(std::nextafter(2.0, 0.0)), 0);
    fine.setBound(ERLimites(0.25, 0.5));
    fine.reparametrize(ERLimites(-10.0, 30.0));
    EXPECT_EQ(fine.getBound(), ERLimites(0.0, 10.0));
    fine.redefineDomain(ERLimites(-1.0, 1.0));
    EXPECT_EQ(fine.getBound(), ERLimites(-1.0, 1.0));
    if constexpr (TypeParam::Point::components == 2) { // where a foot is found the distance is 0
        double dist = 7.0, t = 9.0;
        EXPECT_EQ(arc.SignedMinimalDistance({-100, -100}, dist, t), EREntity::DISTMIN_NONE);
        EXPECT_TRUE(dist == 7.0 && t == 9.0);
        EXPECT_EQ(arc.SignedMinimalDistance(arc(0.2), dist, t), EREntity::DISTMIN_FOUND);
        EXPECT_EQ(dist, 0.0);
    }
    EXPECT_EQ(straight.cordalHeight(), 0.0);
}

TYPED_TEST(Bezier, PowerFormGivesThePoint) {
    this->on_random_curves([this](velm_test::Random& random, TypeParam& curve) {
        if (curve.degree() > 7) return;
        const auto form = curve.getSpanPower(5); // the index is not read
        ASSERT_EQ(form.length(), TypeParam::StoredPole::components);
        const double s = random.uniform(0.0, 1.0);
        const auto point = curve(ERLimites(curve.Ndeb(), curve.Nfin())(s));
        for (int c = 0; c < this->size; ++c)
            EXPECT_NEAR(form[c].evaluate(s) / (this->rational ? form[this->size].evaluate(s) : 1.0),
                        point[c], 1e-9);
        for (const bool scales : {false, true}) {
            const double before = curve.getSpanPower(0)[0].evaluate(s);
            scales ? curve.scale(3.0) : curve.translate(curve[0]);
            EXPECT_NE(curve.getSpanPower(0)[0].evaluate(s), before) << "forgotten";
        }
    });
}

TYPED_TEST(Bezier, IsStoredPrintedAndCreatedByName) {
    using velm_test::bytes_of;
    const TypeParam curve({this->pole(1, 2), this->pole(3, 4, 0.5)}, ERLimites(0, 2),
                          ERLimites(0, 1));
    const std::string body = velm_test::poles_bytes(curve);
    const std::string domains = bytes_of(0.0, 2.0, 0.0, 1.0);
    const auto made = velm_test::expect_stored(curve, domains + bytes_of(int(body.size())) + body,
                                               velm_test::poles_text(curve));
    TypeParam& restored = TypeParam::castdown(*made);
    EXPECT_EQ(restored.isTrimmed(), 1);

    std::string infinite = body;
    const double inf = std::numeric_limits<double>::infinity();
    infinite.replace(8, 8, bytes_of(inf));
    for (const std::string& damaged :
         {std::string(), domains, domains + bytes_of(-8), domains + bytes_of(1 << 30) + body,
          domains + bytes_of(int(body.size()) - 1) + body,
          domains + bytes_of(int(body.size())) + infinite}) {
        velm_test::restore(restored, damaged);
        EXPECT_EQ(restored.nbPoles(), 0);
        EXPECT_EQ(restored.getBox().invalid(), true);
    }
}

TYPED_TEST(Bezier, WithoutPolesGivesNothingAndStaysWhole) {
    TypeParam none;
    velm_test::expect_no_curve(none);
    EXPECT_EQ(none.degree() + none.nbPoles() + none.getSpanPower(0).length(), 0);
    EXPECT_EQ(none.upperEstimate() + none.arcLength(1e-3) + none.cordalHeight(), 0.0);
    EXPECT_EQ(none.ConvertToNurbs().nbPoles(), 0);
    EXPECT_EQ(none.approxime(ERLimites(0, 1), 0.1).size(), 0);
}

TEST(Bezier, DimensionsMapIntoEachOther) {
    const ERPmIsometrie3D frame = ERChgRepere3D(ERVector3D(1, 2, 3), ERPoint3D(3, -2, 1));
    ERCpoleBezier2DR flat({{1, 2, 1}, {3, 4, 2}, {9, 5, 1}}, ERLimites(0, 4), ERLimites(1, 2));
    const auto lifted = flat.get3DEquiv(frame);
    ERCpoleBezier3DR& curve = ERCpoleBezier3DR::castdown(*lifted);
    const auto back = curve.get2DEntProjectedOn(frame);
    ERCpoleBezier2DR& again = ERCpoleBezier2DR::castdown(*back);
    for (const double t : {0.0, 1.5, 4.0}) {
        EXPECT_TRUE(isEqual(frame.Project(curve(t)), flat(t), 1e-14));
        EXPECT_TRUE(isEqual(again(t), flat(t), 1e-14));
    }
    EXPECT_EQ(again.udeb(), 1.0);
}

TEST(Bezier, HalvingEndsWhereRoundingBegins) {
    const double huge = 1e150;
    const ERCpoleBezier2D curve({{0, 0}, {huge, huge / 2}, {-huge, huge}, {huge, -huge}});
    EXPECT_TRUE(std::isfinite(curve.arcLength(1.0)));
    const ERCpoleBezier2D far({{1e12, 0}, {1e12 + 1, 1}, {1e12 + 2, 0}});
    EXPECT_NEAR(far.arcLength(1e-7), 2.2955871493926378, 1e-3);
    EXPECT_TRUE(std::isnan(curve.arcLength(ERLimites(0.0, std::nan("")), 1e-3)));
}

} // namespace
