// The table of compositions over all pairs of kinds, reduction, inverses, and who owns the bodies.
#include "transforms/kinds.h"

#include "velm/frame/point_functions.h"

namespace {

using namespace velm_test;

constexpr int rounds = 50;
// Rounding at coordinates of some hundreds.
constexpr double rounding = 1e-11;

void expect_near(const ERPoint3D& a, const ERPoint3D& b) {
    EXPECT_TRUE(isEqual(a, b, rounding)) << a << " " << b;
}

// The kind of A * B before reduction; rows A, columns B, both in the order of `kinds`.
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
        const ERPmSimilitude3D both = left * right;
        const PlainMap stated = PlainMap::of(both);
        const ERPoint3D p = make.point();
        ERPoint3D mapped = p, steps = p;
        both.TransFrom(mapped);
        expect_near(mapped, stated(p));
        left.TransFrom(right.TransFrom(steps));
        expect_near(mapped, steps);
        EXPECT_STREQ(both.body()->className(), class_of(stated.kind()));
        EXPECT_EQ(both.isDirect(), stated.determinant() > 0);
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
            both = *&both; // to itself
            EXPECT_EQ(both.body(), left.body());
        }
        EXPECT_EQ(left.body()->references() + right.body()->references(), references);
    });
    EXPECT_EQ(ERTr3DRevRep::GetIdentity()->references(), before);
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
        }
    }
}

// Arrays are mapped like their single points, to the bit, and a shared array keeps its values.
TEST(Arrays, AreMappedAsTheirPoints) {
    RandomTransformations make(35);
    for (const char kind : std::string(kinds)) {
        SCOPED_TRACE(kind);
        const ERPmSimilitude3D t = make.handle(kind);
        ERVec<ERPoint3D> points(100);
        for (int i = 0; i < 100; ++i)
            points[i] = make.point();
        const ERVec<ERPoint3D> kept = points;
        ERVec<ERPoint3D> back = points;
        t.TransFrom(points);
        t.TransTo(back.data(), 99);
        for (int i = 0; i < 100; ++i) {
            ERPoint3D p = kept[i], q = kept[i];
            EXPECT_EQ(t.TransFrom(p), points[i]);
            t.TransTo(q);
            EXPECT_EQ(i < 99 ? q : kept[i], back[i]);
        }
    }
}

// ---- reduction ----

TEST(Reduction, ToleratesOneInAHundredThousandMillion) {
    for (const bool within : {true, false}) {
        const double e = within ? 0.9e-11 : 1.1e-11;
        ERMatrix<double> m = IdentityMatrix(3);
        m(2, 1) = e;
        const ERPoint3D t(0, -e, 0), far(0, 0, 5);
        const auto is = [&](ERTr3DRevRep* body, char if_within, char if_not) {
            EXPECT_STREQ(ERPmSimilitude3D(body).body()->className(),
                         class_of(within ? if_within : if_not))
                << e;
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
