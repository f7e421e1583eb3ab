// Polynomial patches against the Bezier curves they come from, and their stored records.
#include "velm/curves/polynomial_patch.h"

#include "support/geometry.h"
#include "support/records.h"
#include "velm/curves/bezier_curve.h"
#include "velm/curves/conversions.h"
#include "velm/curves/knot_vector.h"
#include "velm/curves/nurbs_curve.h"

namespace {

template <class CurveAndPatch>
class Patch : public testing::Test {
public:
    using Curve = typename CurveAndPatch::first_type;
    using Made = typename CurveAndPatch::second_type;
    using Pole = typename Curve::StoredPole;
    using Point = typename Curve::Point;
    static constexpr int size = Point::components;

    // At x, y, with 1 for what follows.
    static Pole pole(double x, double y) {
        return Pole::each([=](int c) { return c == 0 ? x : c == 1 ? y : 1.0; });
    }
    static Curve random_curve(velm_test::Random& random, int degree, const ERLimites& domain) {
        ERVec<Pole> poles(degree + 1);
        for (Pole& pole : poles) {
            pole = random.value<Pole>(5.0);
            for (int c = size; c < Pole::components; ++c)
                pole[c] = random.uniform(0.5, 2.0);
        }
        return Curve(poles, domain);
    }
    template <class A, class B>
    static void expect_same(A& a, B& b, const ERLimites& limits, double tolerance) {
        for (const double s : {0.0, 0.2, 0.5, 0.9, 1.0}) {
            const double t = limits(s);
            EXPECT_TRUE(isEqual(a(t), b(t), tolerance)) << t << ": " << a(t) << b(t);
        }
    }
};
using Pairs = testing::Types<
    std::pair<ERCpoleBezier2D, ERPatchCPoly2D>, std::pair<ERCpoleBezier2DR, ERPatchCPoly2D>,
    std::pair<ERCpoleBezier3D, ERPatchCPoly3D>, std::pair<ERCpoleBezier3DR, ERPatchCPoly3D>>;
TYPED_TEST_SUITE(Patch, Pairs);

TYPED_TEST(Patch, IsItsCurveOverEveryDomain) {
    velm_test::Random random(54);
    for (int degree = 1; degree <= 6; ++degree)
        for (const ERLimites domain : {ERLimites(0, 1), ERLimites(2, 5)}) {
            auto curve = this->random_curve(random, degree, domain);
            curve.setBound(ERLimites(domain(0.25), domain(0.75)));
            typename TestFixture::Made patch(curve);
            EXPECT_EQ(patch.isRational(), curve.isRational() != 0);
            EXPECT_EQ(patch.getBound(), curve.getBound());
            this->expect_same(patch, curve, domain, 1e-9);
            const auto info = patch.PtCur(domain(0.3));
            const auto exact = curve.PtCur(domain(0.3));
            for (int c = 0; c < this->size; ++c) {
                EXPECT_NEAR(info.tangente()[c], exact.tangente()[c], 1e-8);
                EXPECT_NEAR(info.second_derivative()[c], exact.second_derivative()[c], 1e-7);
            }
            // Over the bound alone.
            auto nurbs = patch.ConvertToNurbs();
            EXPECT_EQ(nurbs.nbPoles(), degree + 1);
            EXPECT_EQ(nurbs.getBound(), patch.getBound());
            this->expect_same(nurbs, curve, patch.getBound(), 1e-9);
            EXPECT_EQ(patch.castToCpole()->nbPoles(), degree + 1);
            EXPECT_NEAR(patch.arcLength(1e-3), curve.arcLength(1e-3), 1e-3);
            for (int c = 0; c < this->size; ++c)
                EXPECT_NEAR(patch.getBox().MaxPoint()[c], curve.getBox().MaxPoint()[c], 1e-8);

            auto other = patch;
            other.reparametrize(ERLimites(-1, 1));
            other.reverse();
            other.scale(2.0);
            other.translate(patch(patch.udeb()) * -2.0);
            const auto expected = (patch(patch.getBound()(0.25)) - patch.firstPt()) * 2.0;
            EXPECT_TRUE(isEqual(other(0.5), expected, 1e-8)) << degree;

            t_SmartPtr<typename TestFixture::Made::Curve> first, second;
            ASSERT_EQ(patch.splitAt(first, second, domain(0.5)), 1);
            EXPECT_TRUE(isEqual(first->lastPt(), second->firstPt(), 0.0));
            EXPECT_EQ(patch.splitAt(first, second, patch.ufin()), 0);

            if (degree < 2 || degree > 3) continue;
            ERVec<double> feet = {1.0, 2.0, 3.0, 4.0};
            const auto p = random.value<typename TestFixture::Point>(5.0);
            const int count = patch.ProjectPoint(p, feet, 0.0);
            EXPECT_EQ(count, feet.size()); // those before are gone
            for (const double t : feet.view()) {
                const auto foot = patch.PtCur(t);
                const typename TestFixture::Made::Curve::Vector off(p, foot.point());
                EXPECT_NEAR(off * foot.tangente() / foot.tangente().norme(), 0.0, 1e-5);
            }
        }
}

TYPED_TEST(Patch, IsStoredPrintedAndRefusesDamage) {
    const typename TestFixture::Curve curve({this->pole(1, 2), this->pole(3, 5)}, ERLimites(0, 1));
    const typename TestFixture::Made patch(curve);
    std::string record = velm_test::bytes_of(0.0, 1.0, patch.getPolys().length());
    for (const ERPolynome& p : patch.getPolys())
        record += velm_test::record_of(p);
    const auto made = velm_test::expect_stored(patch, record, velm_test::text_of(patch));
    EXPECT_EQ(velm_test::text_of(patch).substr(0, 29), "Patch Polynomial\n1+2*x\n2+3*x\n");
    auto& restored = TestFixture::Made::castdown(*made);

    for (const std::string& damaged :
         {std::string(), record.substr(0, 16) + velm_test::bytes_of(1 << 30),
          record.substr(0, 16) + velm_test::bytes_of(-1),
          record.substr(0, 24) + velm_test::bytes_of(std::numeric_limits<double>::quiet_NaN()) +
              record.substr(32)}) {
        velm_test::restore(restored, damaged);
        EXPECT_TRUE(std::isnan(restored(0.5)[0]));
        EXPECT_TRUE(restored.getBox().invalid());
        EXPECT_EQ(restored.ConvertToNurbs().nbPoles(), 0);
    }
}

TEST(Patches, GoThroughTransformationsAsTheirPointsDo) {
    const ERPmIsometrie3D frame = ERChgRepere3D(ERVector3D(1, 2, 3), ERPoint3D(3, -2, 1));
    const ERPmSimilitude3D map = ERPmSimilitude3D(frame) * ERPmSimilitude3D(ERScaling3D(3));
    ERPatchCPoly3D patch(ERVec<ERPole3DH>{{1, 2, 3, 1}, {4, 4, 1, 2}, {0, 7, 2, 0.5}});
    ERPatchCPoly3D moved = patch;
    moved.transformFrom(map);
    ERPoint3D image = patch(0.3);
    map.TransFrom(image);
    EXPECT_TRUE(isEqual(moved(0.3), image, 1e-13));
    moved.transformTo(map);
    EXPECT_TRUE(isEqual(moved(0.3), patch(0.3), 1e-13));
    ERPatchCPoly2D flat = ERPatchCPoly2D::castdown(*patch.get2DEntProjectedOn(frame));
    EXPECT_TRUE(isEqual(flat(0.3), frame.Project(patch(0.3)), 1e-13));
    ERPatchCPoly3D lifted = ERPatchCPoly3D::castdown(*flat.get3DEquiv(frame));
    EXPECT_TRUE(isEqual(frame.Project(lifted(0.3)), flat(0.3), 1e-13));
    EXPECT_EQ(Convert(ERVec<ERPole3DH>{{1, 2, 3, 4}}, Coord3D_Y)[0], ERPole2DH(1, 3, 4));

    ERVec<double> value, first, second;
    patch.calculate(0.5, value, first, second);
    EXPECT_EQ(value.size() + first.size() + second.size(), 12);
    const double doubled[] = {0.0, 2.0};
    ERPatchCPoly plain(patch.getPolys());
    plain.apply(ERPolynome(doubled, 2));
    EXPECT_NEAR(plain.calculate(0.25)[1], value[1], 1e-14);
}

} // namespace
