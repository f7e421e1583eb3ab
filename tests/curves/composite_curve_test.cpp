// Composite curves against their elements.
#include "velm/curves/composite_curve.h"

#include "support/geometry.h"
#include "support/records.h"
#include "support/temporary_folder.h"
#include "velm/curves/bezier_curve.h"
#include "velm/curves/nurbs_curve.h"
#include "velm/store/database.h"
#include "velm/wireframe/polyline.h"

namespace {

// Elements for each composite: a chain of n, each from where the one before ends.
template <class Composite>
struct Chain {
    using Element = typename Composite::Element;
    using Point = typename Composite::Point;
    using Curve = typename Composite::Curve;

    static t_SmartPtr<Element> piece(int kind, const Point& a, const Point& b) {
        const ERVec<Point> poles{
            a, a * 0.7 + b * 0.3 + Point::each([](int c) { return c == 0 ? 1.0 : 0.5; }), b};
        if constexpr (std::is_same_v<Element, ERPatchCPoly2D> ||
                      std::is_same_v<Element, ERPatchCPoly3D>) {
            return t_SmartPtr<Element>(new Element(poles));
        } else {
            using D = typename Composite::D;
            using Bezier =
                std::conditional_t<Point::components == 2, ERCpoleBezier2D, ERCpoleBezier3D>;
            if (kind % 3 == 0) return t_SmartPtr<Element>(new typename D::Segment(a, b));
            if (kind % 3 == 1) return t_SmartPtr<Element>(new Bezier(poles, ERLimites(2, 5)));
            return t_SmartPtr<Element>(new typename D::Polyline(ERVec<Point>{a, poles[1], b}));
        }
    }
    explicit Chain(std::uint64_t seed, int n = 6) {
        velm_test::Random draw(seed);
        Point at = draw.value<Point>(5);
        for (int i = 0; i < n; ++i) {
            const Point next = draw.value<Point>(5);
            elements.push_back(piece(i, at, next));
            at = next;
        }
    }
    // Appended with every third one turned round before.
    Composite joined() const {
        Composite curve;
        for (std::size_t i = 0; i < elements.size(); ++i) {
            t_SmartPtr<Element> copy(Element::castdown(elements[i]->getCopy()));
            if (i % 3 == 2) copy->reverse();
            EXPECT_EQ(curve.append(copy, 1e-9), 1);
        }
        return curve;
    }
    Point at(double t) const {
        const int n = static_cast<int>(elements.size());
        const int i = t <= 0 ? 0 : t >= n ? n - 1 : static_cast<int>(t);
        Element& e = *elements[std::size_t(i)];
        const double u = t - i;
        return e((1 - u) * e.udeb() + u * e.ufin());
    }
    std::vector<t_SmartPtr<Element>> elements;
};

template <class Composite>
class Composites : public testing::Test {};
using All = testing::Types<ERCompCurve2D, ERCompCurve3D, ERCrvCompPoly2D, ERCrvCompPoly3D>;
TYPED_TEST_SUITE(Composites, All);

TYPED_TEST(Composites, AreTheirElements) {
    const Chain<TypeParam> chain(55);
    TypeParam curve = chain.joined();
    EXPECT_EQ(curve.getBound(), ERLimites(0, 6));
    double length = 0.0;
    for (const auto& e : chain.elements)
        length += e->arcLength(1e-7);
    EXPECT_NEAR(curve.arcLength(123.0), length, 1e-9);
    EXPECT_NEAR(curve.arcLength(ERLimites(0, 6), 0.0), length, 1e-9);
    EXPECT_NEAR(curve.arcLength(ERLimites(3.4, 0.3), 0) + curve.arcLength(ERLimites(0, 0.3), 0) +
                    curve.arcLength(ERLimites(3.4, 6), 0),
                length, 2e-3);
    typename TypeParam::D::Box box;
    for (const auto& e : chain.elements)
        box.Update(e->getBox());
    EXPECT_TRUE(isEqual(curve.getBox().MinPoint(), box.MinPoint(), 1e-12));
    auto nurbs = curve.ConvertToNurbs();
    double start = nurbs.udeb();
    for (const auto& e : chain.elements) {
        auto own = e->ConvertToNurbs();
        const double extent = own.ufin() - own.udeb();
        for (const double u : {0.1, 0.6})
            EXPECT_TRUE(isEqual(nurbs(start + u * extent), own(own.getBound()(u)), 1e-12));
        start += extent;
    }
    EXPECT_NEAR(nurbs.ufin(), start, 1e-12);
    for (double t = -0.5; t < 7.0; t += 0.25) {
        EXPECT_TRUE(isEqual(curve(t), chain.at(t), 1e-11)) << t;
        EXPECT_TRUE(isEqual(curve.PtCur(t).point(), chain.at(t), 1e-11)) << t;
        EXPECT_EQ(curve.PtCur(t).Parametre, t);
    }
    TypeParam back(curve);
    back.reverse();
    for (double t = 0.0; t <= 6.0; t += 0.375)
        EXPECT_TRUE(isEqual(back(t), chain.at(6 - t), 1e-10)) << t;

    // From the middle outwards gives the same; a gap is refused or, below 0, taken.
    TypeParam outwards(*chain.elements[3]);
    EXPECT_EQ(outwards.prepend(*chain.elements[1], 1e-9), 0);
    EXPECT_EQ(outwards.append(t_SmartPtr<typename TypeParam::Element>(), -1.0), 0);
    EXPECT_EQ(outwards.nbElements(), 1);
    for (const int i : {2, 1, 0})
        EXPECT_EQ(outwards.prepend(*chain.elements[std::size_t(i)], 1e-9), 1);
    EXPECT_TRUE(isEqual(outwards(1.3), curve(1.3), 1e-11));
    EXPECT_EQ(outwards.append(*chain.elements[5], -1.0), 1);
    EXPECT_TRUE(isEqual(outwards(4.5), curve(5.5), 1e-11));

    auto polyline = curve.approxime(ERLimites(0.5, 5.5), 1e-3);
    EXPECT_TRUE(isEqual(polyline.front(), curve(0.5), 1e-12));
    EXPECT_TRUE(isEqual(polyline.back(), curve(5.5), 1e-12));
    const typename TypeParam::D::Polyline drawn(polyline);
    EXPECT_NEAR(drawn.arcLength(0), curve.arcLength(ERLimites(0.5, 5.5), 0), 1e-2);
}

TYPED_TEST(Composites, SplitAtAnyParameterWithinTheirLimits) {
    const Chain<TypeParam> chain(551);
    TypeParam curve = chain.joined();
    t_SmartPtr<typename TypeParam::Curve> first, second;
    for (double t = 0.25; t < 6.0; t += 0.25) {
        ASSERT_EQ(curve.splitAt(first, second, t), 1) << t;
        EXPECT_TRUE(isEqual(first->firstPt(), curve(0), 1e-10));
        EXPECT_TRUE(isEqual(first->lastPt(), curve(t), 1e-10)) << t;
        EXPECT_TRUE(isEqual(second->firstPt(), curve(t), 1e-10)) << t;
        EXPECT_TRUE(isEqual(second->lastPt(), curve(6), 1e-10));
        EXPECT_EQ(first->ufin() + second->ufin(), std::floor(t) == t ? 6 : 7);
    }
    curve.setBound(ERLimites(2.25, 2.75)); // both cuts in one element
    ASSERT_EQ(curve.splitAt(first, second, 2.5), 1);
    EXPECT_TRUE(isEqual(first->firstPt(), curve(2.25), 1e-10));
    EXPECT_TRUE(isEqual(first->lastPt(), curve(2.5), 1e-10));
    EXPECT_TRUE(isEqual(second->lastPt(), curve(2.75), 1e-10));
    for (const double t : {2.25, 2.75, -1.0, 9.0, std::nan("")})
        EXPECT_EQ(curve.splitAt(first, second, t), 0);
    if constexpr (std::is_base_of_v<typename TypeParam::Element, TypeParam>) {
        TypeParam inner = chain.joined();
        inner.setBound(ERLimites(0.5, 2.0)); // the parts count from 0 again
        TypeParam outer(static_cast<const typename TypeParam::Element&>(inner));
        outer.setBound(ERLimites(0.1, 0.9));
        ASSERT_EQ(outer.splitAt(first, second, 0.8), 1);
        EXPECT_TRUE(isEqual(first->firstPt(), inner(0.65), 1e-10));
        EXPECT_TRUE(isEqual(first->lastPt(), inner(1.7), 1e-10));
        EXPECT_TRUE(isEqual(second->lastPt(), inner(1.85), 1e-10));
    }
    // What changes the elements loses the trim.
    EXPECT_EQ(curve.append(*chain.elements[0], -1), 1);
    EXPECT_EQ(curve.getBound(), ERLimites(0, 7));
    curve.setBound(ERLimites(3.5, 7));
    curve.reparametrize(ERLimites(0, 1)); // carries the trim over; the parameter stays as it is
    EXPECT_EQ(curve.getBound(), ERLimites(0.5, 1));
    EXPECT_EQ(curve.Nfin(), 1.0);
    EXPECT_TRUE(isEqual(curve(1.5), chain.at(1.5), 1e-11));
    curve.reverse();
    EXPECT_EQ(curve.getBound(), ERLimites(0, 7));
    EXPECT_EQ(TypeParam().splitAt(first, second, 0.0), 0);
}

TYPED_TEST(Composites, HaveOwnCopiesThatMoveTogether) {
    const Chain<TypeParam> chain(552, 4);
    TypeParam curve = chain.joined();
    const auto middle = curve(1.5);
    for (const auto& e : chain.elements)
        e->scale(3.0);
    TypeParam copy(curve), assigned;
    assigned = curve;
    curve.scale(2.0);
    curve.translate(middle * -2.0);
    EXPECT_TRUE(isEqual(curve(1.5), typename TypeParam::Point(), 1e-12));
    EXPECT_TRUE(isEqual(copy(1.5), middle, 0.0));
    EXPECT_TRUE(isEqual(assigned(1.5), middle, 0.0));
    const ERPmIsometrie3D frame = ERChgRepere3D(ERVector3D(1, 2, 3), ERPoint3D(3, -2, 1));
    if constexpr (TypeParam::Point::components == 2) {
        const ERTransfo2D turn = ERTransfo2D::rotation(0.7);
        const auto lifted = copy.get3DEquiv(frame);
        auto& solid = TypeParam::Twin::castdown(static_cast<ERObject&>(*lifted));
        EXPECT_TRUE(isEqual(frame.Project(solid(2.4)), copy(2.4), 1e-12));
        const auto back = solid.get2DEntProjectedOn(frame);
        EXPECT_TRUE(
            isEqual(TypeParam::castdown(static_cast<ERObject&>(*back))(2.4), copy(2.4), 1e-12));
        copy.transformFrom(turn);
        EXPECT_TRUE(isEqual(copy(1.5), turn.TransFrom(middle), 1e-12));
        copy.transformTo(turn);
    } else {
        copy.transformFrom(ERPmSimilitude3D(frame) * ERPmSimilitude3D(ERScaling3D(2)));
        auto image = middle * 2.0;
        EXPECT_TRUE(isEqual(copy(1.5), frame.TransFrom(image), 1e-12));
        copy.transformTo(ERPmSimilitude3D(frame) * ERPmSimilitude3D(ERScaling3D(2)));
    }
    EXPECT_TRUE(isEqual(copy(1.5), middle, 1e-12));
    // A list without elements.
    TypeParam empty;
    EXPECT_EQ(empty(0.5), typename TypeParam::Point());
    EXPECT_EQ(empty.PtCur(0).tangente().norme(), 0.0);
    EXPECT_TRUE(empty.getBox().invalid());
    EXPECT_EQ(empty.arcLength(0) + empty.arcLength(ERLimites(0, 3), 0), 0.0);
    EXPECT_EQ(empty.ConvertToNurbs().nbPoles() + empty.approxime(ERLimites(0, 1), 1).size(), 0);
    EXPECT_TRUE(std::isnan(curve(std::nan(""))[0]));
}

TEST(CompositeCurves, ProjectOnTheirElements) {
    const Chain<ERCompCurve2D> chain(553);
    const ERCompCurve2D curve = chain.joined();
    velm_test::Random draw(554);
    for (int round = 0; round < 100; ++round) {
        const ERPoint2D p = draw.value<ERPoint2D>(5);
        std::vector<double> expected;
        for (int i = 0; i < 6; ++i) {
            ERVec<double> own;
            const auto& e = curve.element(i);
            e.ProjectPoint(p, own, 10.0);
            for (const double t : own.view())
                if (t >= e.udeb() && t <= e.ufin())
                    expected.push_back(i + (t - e.udeb()) / (e.ufin() - e.udeb()));
        }
        ERVec<double> found{-1.0};
        EXPECT_EQ(curve.ProjectPoint(p, found, 10.0), static_cast<int>(expected.size()) + 1);
        EXPECT_EQ(std::vector<double>(found.cbegin() + 1, found.cend()), expected);
    }
    ERVec<double> found;
    EXPECT_EQ(curve.ProjectPoint({100, 100}, found, 1.0), 0);
    ERCompCurve2D rounds(ERArc2D({1, 1}, 2, 0, 2));
    rounds.append(ERArc2D({1, 1}, 2, 2, 3), 1e-9);
    EXPECT_EQ(rounds.ProjectPoint({1, 1}, found, 1.0), -1);
    EXPECT_EQ(found.size(), 2);
}

TEST(CompositeCurves, TurnArcsRoundAndPrintTheirGaps) {
    // A clockwise arc runs from its start to its end here too.
    ERCompCurve2D curve(ERSegment2D({0, 0}, {3, 0}));
    ASSERT_EQ(curve.append(ERArc2D({2, 0}, 1, 0, 1.5), 1e-12), 1);
    ASSERT_EQ(curve.append(ERArc2D({2, 5}, 1, 0.2, 0.7), -1), 1);
    curve.reverse();
    EXPECT_TRUE(isEqual(curve(1.0), ERPoint2D(2 + std::cos(1.5), std::sin(1.5)), 1e-14));
    EXPECT_TRUE(isEqual(curve(2.0 - 1e-12), ERPoint2D(3, 0), 1e-11));
    const auto line = curve.approxime(ERLimites(1.0, 3.0), 1e-3);
    EXPECT_TRUE(isEqual(line.front(), curve(1.0), 1e-14) && isEqual(line.back(), ERPoint2D(), 0));
    EXPECT_NEAR(curve.arcLength(ERLimites(1.5, 3), 0), 0.75 + 3, 1e-12);
    const std::string text = velm_test::text_of(ERCompCurve2D(curve));
    EXPECT_EQ(text.substr(0, 54), std::string(53, '=') + "\n");
    EXPECT_NE(text.find("ERCompCurve2D with 3 elements\nStart Point : "), std::string::npos);
    EXPECT_EQ(text.substr(text.size() - 30), "End Curve : ---------------- \n");
    std::size_t gaps = 0;
    for (std::size_t at = 0; (at = text.find(" Dist = ", at)) != std::string::npos; ++at)
        ++gaps;
    EXPECT_EQ(gaps, 2u);
    // A composite in itself.
    const double length = curve.arcLength(0);
    ASSERT_EQ(curve.append(curve, -1), 1);
    EXPECT_NEAR(curve.arcLength(0), 2 * length, 1e-12);
    EXPECT_TRUE(isEqual(curve(3.5), curve(1.5), 1e-14));
}

TYPED_TEST(Composites, AreStoredWithTheirElements) {
    const velm_test::TemporaryFolder folder;
    const Chain<TypeParam> chain(555, 5);
    TypeParam curve = chain.joined();
    curve.setBound(ERLimites(0.5, 4.5));
    EXPECT_EQ(velm_test::record_of(TypeParam()), velm_test::bytes_of(0.0, 0.0, 0.0, 0.0, 0));
    EXPECT_EQ(curve.binaryStoreSize(), 4u * 8 + 4 + 5 * 8);
    const std::string path = folder.path("composite.velm");
    const t_SmartPtr<TypeParam> kept(new TypeParam(curve));
    gmErrorCode code;
    {
        ERDataBase data;
        ASSERT_EQ(data.Open(path.c_str(), 0), gmSuccess);
        ASSERT_EQ(data.save(kept.get()), gmSuccess);
        // The elements are records before their composite's, which refers to them.
        std::string expected = velm_test::bytes_of(0.0, 5.0, 0.5, 4.5, 5);
        for (int i = 0; i < 5; ++i)
            expected += velm_test::bytes_of(0, static_cast<int>(kept->element(i).getObjectID()));
        EXPECT_EQ(velm_test::record_of(*kept), expected);
        // Moved elements are records of their own.
        const long before = kept->element(0).getObjectID();
        kept->scale(2.0);
        kept->setDirty();
        ASSERT_EQ(data.save(kept.get()), gmSuccess);
        EXPECT_NE(kept->element(0).getObjectID(), before);
        const t_SmartPtr<TypeParam> damaged(new TypeParam(curve));
        ASSERT_EQ(data.save(damaged.get()), gmSuccess);
        EXPECT_EQ(const_cast<typename TypeParam::Element&>(damaged->element(1)).Delete(), 1);
    }
    ERDataBase data;
    ASSERT_EQ(data.Open(path.c_str(), 1), gmSuccess);
    const auto read = data.restore(0, code);
    auto& restored = TypeParam::castdown(*read);
    EXPECT_EQ(restored.getBound(), ERLimites(0.5, 4.5));
    EXPECT_EQ(restored.isTrimmed(), 1);
    for (double t = 0.0; t <= 5.0; t += 0.3)
        EXPECT_TRUE(isEqual(restored(t), curve(t) * 2.0, 1e-13)) << t;
    // Without the element that is gone.
    const auto rest = data.restore(2, code);
    auto& left = TypeParam::castdown(*rest);
    EXPECT_EQ(left.nbElements(), 4);
    EXPECT_EQ(left.getBound(), ERLimites(0, 4));
    EXPECT_TRUE(isEqual(left(1.5), curve(2.5), 1e-13));
    for (const std::string& record :
         {std::string(), velm_test::bytes_of(0.0, 1.0, std::nan(""), 1.0, -1),
          velm_test::bytes_of(0.0, 1.0, 0.0, 1.0, 1 << 30),
          velm_test::bytes_of(0.0, 1.0, 0.0, 1.0, 2, 0, 12345, 1)})
        EXPECT_EQ(velm_test::restore(restored, record).nbElements(), 0);
}

} // namespace
