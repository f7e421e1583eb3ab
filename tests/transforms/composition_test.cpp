// The table of compositions over all pairs of kinds, reduction, inverses, and who owns the bodies.
#include "transforms/kinds.h"

#include "velm/frame/point_functions.h"
#include "velm/numerics/lu_decomposition.h"
#include "velm/transforms/detail/matrix3.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace {

using velm_test::class_of;
using velm_test::kinds;
using velm_test::PlainMap;
using velm_test::RandomTransformations;

constexpr int rounds = 50;
/// Rounding at coordinates of some hundreds.
constexpr double rounding = 1e-11;

void expect_near(const ERPoint3D& a, const ERPoint3D& b) {
    EXPECT_TRUE(isEqual(a, b, rounding)) << a << " " << b;
}

/// The kind of A * B before reduction; rows A, columns B, both in the order of `kinds`.
constexpr const char* composed[] = {"ITRWSYM", "TTWWMMM", "RWRWMMM", "WWWWMMM",
                                    "SMMMSMM", "YMMMMMM", "MMMMMMM"};

template <class Check>
void for_all_pairs(Check check) {
    for (int a = 0; a < 7; ++a) {
        for (int b = 0; b < 7; ++b) {
            SCOPED_TRACE(std::string(1, kinds[a]) + " * " + kinds[b]);
            for (int i = 0; i < rounds; ++i)
                check(a, b);
        }
    }
}

TEST(Composition, EveryPairOfKinds) {
    RandomTransformations make(31);
    for_all_pairs([&](int a, int b) {
        const ERPmSimilitude3D left = make.handle(kinds[a]), right = make.handle(kinds[b]);
        ASSERT_STREQ(left.body()->className(), class_of(kinds[a]));
        const PlainMap expected = PlainMap::of(left) * PlainMap::of(right);

        const ERPmSimilitude3D both = left * right;
        const ERPoint3D p = make.point();
        ERPoint3D mapped = p, steps = p;
        both.TransFrom(mapped);
        expect_near(mapped, expected(p));
        left.TransFrom(right.TransFrom(steps));
        expect_near(mapped, steps);
        EXPECT_STREQ(both.body()->className(), class_of(expected.kind()));
        EXPECT_EQ(both.isDirect(), expected.determinant() > 0);
        EXPECT_EQ(both.isValid(), 1);

        const ERTr3DRevRep* const unreduced = *left.body() * right.body();
        EXPECT_STREQ(unreduced->className(), class_of(composed[a][b]));
        if (unreduced->references() == 0) delete unreduced;
    });
}

TEST(Composition, GivesReferencesBack) {
    RandomTransformations make(32);
    const long before = ERTr3DRevRep::GetIdentity()->references();
    for_all_pairs([&](int a, int b) {
        const ERPmSimilitude3D left = make.handle(kinds[a]), right = make.handle(kinds[b]);
        const long references = left.body()->references() + right.body()->references();
        {
            ERPmSimilitude3D both = left * right;
            const ERPmSimilitude3D again = both, inverse = ~both;
            EXPECT_STREQ((inverse * again).body()->className(), "_ERIdentity3D");
            EXPECT_STREQ((again * inverse).body()->className(), "_ERIdentity3D");
            both = left;
            both = both; // NOLINT: to itself
            EXPECT_EQ(both.body(), left.body());
        }
        EXPECT_EQ(left.body()->references() + right.body()->references(), references);
    });
    EXPECT_EQ(ERTr3DRevRep::GetIdentity()->references(), before);
}

TEST(Composition, AnIdentityOperandGivesTheOtherOneItself) {
    RandomTransformations make(33);
    const ERPmSimilitude3D identity;
    const _ERIdentity3D on_the_stack;
    for (const char kind : std::string(kinds)) {
        const ERPmSimilitude3D t = make.handle(kind);
        for (const ERTr3DRevRep* one :
             {identity.body(), static_cast<const ERTr3DRevRep*>(&on_the_stack)}) {
            EXPECT_EQ(*one * t.body(), t.body());
            if (kind != 'I') {
                EXPECT_EQ(*t.body() * one, t.body());
            }
        }
    }
    const _ERTranslation3D shift(ERPoint3D(1, 2, 3));
    for (const ERTr3DRevRep* copy : {on_the_stack * &shift, shift * &on_the_stack}) {
        EXPECT_NE(copy, &shift);
        EXPECT_EQ(copy->isOnTheHeap(), 1);
        EXPECT_EQ(copy->isEqual(shift), 1);
        delete copy;
    }
}

TEST(Composition, ExactCancellationsAreTheIdentity) {
    const ERPoint3D p(1e300, 2.5, -3e-300);
    const ERTr3DRevRep* const identity = ERTr3DRevRep::GetIdentity();
    const _ERTranslation3D there(p), back(-p);
    EXPECT_EQ(there * &back, identity);
    const _ERScaling3D twice(2.0), half(0.5);
    EXPECT_EQ(twice * &half, identity);
    EXPECT_EQ((ERSymetrie3D(Coord3D_X) * ERSymetrie3D(Coord3D_X)).body(), identity);
    EXPECT_EQ(ERRotation3D(ERVector3D(1, 2, 3), 8 * std::acos(-1.0)).body(), identity);
    EXPECT_EQ(ERRotation3D(ERVector3D(1, 2, 3), 1e-12).body(), identity);
    EXPECT_EQ(ERIdentity3D().body(), identity);
}

TEST(Inverse, TransToIsTransFromOfTheInverse) {
    RandomTransformations make(34);
    for (const char kind : std::string(kinds)) {
        SCOPED_TRACE(kind);
        for (int i = 0; i < rounds; ++i) {
            const ERPmSimilitude3D t = make.handle(kind), inverse = ~t;
            EXPECT_STREQ(inverse.body()->className(), class_of(kind));
            const ERPoint3D p = make.point();
            ERPoint3D there = p, same = p;
            expect_near(t.TransTo(t.TransFrom(there)), p);
            expect_near(t.TransTo(same), PlainMap::of(inverse)(p));
            ERVector3D v = make.direction(), turned = v;
            t.TransFrom(turned);
            const ERPoint3D from_origin = PlainMap::of(t)(ERPoint3D(v)) - t.getTrans();
            expect_near(ERPoint3D(turned), from_origin);
            EXPECT_TRUE(isEqual(t.TransTo(turned), v, rounding));
            EXPECT_EQ(t.origine(), t.getTrans());
            const ERVector3D y = t.getVector(Coord3D_Y);
            EXPECT_NEAR(y.norme(), std::fabs(t.getFactHomo()), rounding);
        }
    }
}

// What goes through arrays, poles and projections is what goes through single points, to the bit,
// and a shared array keeps its values.
TEST(Arrays, AreMappedAsTheirPoints) {
    RandomTransformations make(35);
    for (const char kind : std::string(kinds)) {
        SCOPED_TRACE(kind);
        const ERPmSimilitude3D t = make.handle(kind);
        ERVec<ERPoint3D> points(100);
        ERVec<ERPole3DH> poles(100);
        for (int i = 0; i < 100; ++i) {
            points[i] = make.point();
            poles[i] = ERPole3DH(points[i] * 0.25, 0.25);
        }
        const ERVec<ERPoint3D> kept = points;
        ERVec<ERPoint3D> back = points;
        ERVec<ERPole3DH> poles_back = poles;
        t.TransFrom(points);
        t.TransFrom(poles);
        t.TransTo(back.data(), 99);
        t.TransTo(poles_back);
        for (int i = 0; i < 100; ++i) {
            ERPoint3D p = kept[i], q = kept[i];
            EXPECT_EQ(t.TransFrom(p), points[i]);
            EXPECT_EQ(poles[i], ERPole3DH(p * 0.25, 0.25));
            t.TransTo(q);
            EXPECT_EQ(i < 99 ? q : kept[i], back[i]);
            EXPECT_EQ(poles_back[i], ERPole3DH(q * 0.25, 0.25));
            EXPECT_EQ(t.Project(kept[i]), q.castToPoint2D(Coord3D_Z));
            EXPECT_EQ(t.Project(ERPole3DH(kept[i] * 0.25, 0.25)),
                      ERPole2DH(q.x() * 0.25, q.y() * 0.25, 0.25));
        }
    }
}

// ---- reduction ----

ERMatrix<double> nearly_identity(double error) {
    ERMatrix<double> m = IdentityMatrix(3);
    m(2, 1) = error;
    return m;
}

TEST(Reduction, ToleratesOneInAHundredThousandMillion) {
    const auto kind = [](ERTr3DRevRep* body) {
        return std::string(ERPmSimilitude3D(body).body()->className());
    };
    for (const bool within : {true, false}) {
        const double e = within ? 0.9e-11 : 1.1e-11;
        const ERMatrix<double> m = nearly_identity(e);
        const ERPoint3D t(0, -e, 0), far(0, 0, 5);
        const auto is = [&](ERTr3DRevRep* body, char if_within, char if_not) {
            EXPECT_EQ(kind(body), class_of(within ? if_within : if_not)) << e;
        };
        is(new _ERTranslation3D(t), 'I', 'T');
        is(new _ERRotation3D(m), 'I', 'R');
        is(new _ERScaling3D(1.0 - e), 'I', 'S');
        is(new _ERWorkplane(IdentityMatrix(3), t), 'I', 'T');
        is(new _ERWorkplane(m, far), 'T', 'W');
        is(new _ERSimilitude3D(m, t, 1.0 + e), 'I', 'M');
        is(new _ERSimilitude3D(m, far, 1.0), 'T', 'W');
        is(new _ERSimilitude3D(m, ERPoint3D(), 2.0), 'S', 'M');
        is(new _ERSimilitude3D(_ERSymetrie3D(Coord3D_Y).matrix(), t, 1.0 - e), 'Y', 'M');
    }
    // Not orthogonal, not direct: stays. A direct reflection is a rotation, and is not looked at
    // any further.
    ERMatrix<double> sheared = _ERSymetrie3D(Coord3D_X).matrix();
    sheared(0, 1) = 0.5;
    EXPECT_EQ(kind(new _ERSimilitude3D(sheared)), class_of('M'));
    EXPECT_EQ(kind(new _ERSymetrie3D(IdentityMatrix(3))), class_of('R'));
    // Parallel axes give a singular frame, which is kept as it is.
    const ERPmIsometrie3D flat = ERChgRepere3D({1, 2, 3}, ERVector3D(2, 4, 6), ERPoint3D(1, 0, 0));
    EXPECT_EQ(kind(static_cast<ERTr3DRevRep*>(flat.body()->getCopy())), class_of('W'));
    EXPECT_EQ(flat.getVector(Coord3D_Z).norme(), 0.0);
}

TEST(Reduction, TheDeterminantIsTheOneOfTheFactors) {
    velm_test::Random random(36);
    for (int i = 0; i < 3000; ++i) {
        ERMatrix<double> m(3, 3);
        for (double& x : m.writable()) // with ties, zeros and singular matrices among them
            x = random.below(2) ? random.uniform(-2, 2) : random.below(5) - 2;
        if (i % 3 == 0) std::copy_n(m.view().data(), 3, m.data() + 6);
        const double expected = determinant(ERLUDecomp(m));
        EXPECT_EQ(determinant(velm::detail::Matrix3(m)), expected) << m;
    }
}

TEST(Equality, IsOfOneKindAndWithinATolerance) {
    RandomTransformations make(37);
    for (const char kind : std::string(kinds)) {
        const ERPmSimilitude3D t = make.handle(kind);
        const std::unique_ptr<ERTr3DRevRep> copy(ERTr3DRevRep::castdown(t.body()->getCopy()));
        EXPECT_EQ(t.isEqual(t) && t == *copy && *copy == t && *t.body() == *copy, true);
        for (const char other : std::string(kinds))
            EXPECT_EQ(t == make.handle(other), kind == 'I' && other == 'I');
    }
    const ERPoint3D p(1, 2, 3);
    EXPECT_TRUE(ERTranslation3D(p) == ERTranslation3D(p + ERPoint3D(0, 0, 0.9e-9)));
    EXPECT_FALSE(ERTranslation3D(p) == ERTranslation3D(p + ERPoint3D(0, 0, 1.1e-9)));
    EXPECT_TRUE(ERScaling3D(2) == ERScaling3D(2 + 0.9e-9));
    const ERMatrix<double> m = make.rotation();
    const _ERRotation3D turn(m);
    const _ERWorkplane frame(m, ERPoint3D());
    EXPECT_FALSE(turn == frame);
    EXPECT_TRUE(ERPmIsometrie3D(turn) == ERPmIsometrie3D(frame));
}

// ---- ownership and validity ----

TEST(Handle, ABodyOnTheStackIsCopied) {
    ERPmIsometrie3D kept;
    {
        const _ERWorkplane frame(ERVector3D(1, 1, 1), ERPoint3D(4, 5, 6));
        const ERPmIsometrie3D t = &frame;
        EXPECT_NE(t.body(), &frame);
        EXPECT_EQ(t.body()->isOnTheHeap(), 1);
        EXPECT_EQ(frame.references(), 0);
        kept = &frame;
        EXPECT_EQ(kept.body()->references(), 1);
    }
    EXPECT_EQ(kept.origine(), ERPoint3D(4, 5, 6));
    kept = static_cast<const ERTr3DRevRep*>(nullptr);
    EXPECT_EQ(kept.body(), ERTr3DRevRep::GetIdentity());
}

TEST(Handle, IsValidAsItsBodyIs) {
    const ERMatrix<double> good = ERQuaternion(ERVector3D(1, 2, 3), 1.0).GetMatrix();
    EXPECT_EQ(ERSimilitude3D(good, {1, 2, 3}, 2.0).isValid(), 1);
    EXPECT_EQ(ERSimilitude3D(good, {1, 2, 3}, 0.0).isValid(), 0);
    EXPECT_EQ(ERSimilitude3D(good * 1.001, {1, 2, 3}, 2.0).isValid(), 0);
    EXPECT_EQ(ERSimilitude3D(ERMatrix<double>(3, 3), {}, 2.0).isValid(), 0);
    // Without nine numbers there is no map: NaN, and nothing is read that is not there.
    for (const ERPmSimilitude3D& broken :
         {ERSimilitude3D(ERMatrix<double>()), ERSimilitude3D(ERMatrix<double>(2, 2)),
          ERSimilitude3D(ERMatrix<double>(9, 1)) * ERScaling3D(2.0)}) {
        EXPECT_EQ(broken.isValid(), 0);
        ERPoint3D p(1, 2, 3), q = p;
        EXPECT_TRUE(broken.TransFrom(p).invalid() && broken.TransTo(q).invalid());
        EXPECT_FALSE(broken == broken);
    }
}

} // namespace
