// The factories against closed forms; Euler angles, locks and flips; frames and texts.
#include "support/records.h"
#include "transforms/kinds.h"

#include "velm/frame/point_functions.h"
#include "velm/numerics/lu_decomposition.h"
#include "velm/transforms/coordinate_conversions.h"
#include "velm/transforms/rotation_tools.h"
#include "velm/transforms/transformed_values.h"

namespace {

using namespace velm_test;

constexpr double pi = std::numbers::pi;
constexpr double rounding = 1e-13;

template <class Value>
void expect_near(const Value& a, const Value& b, double tolerance = rounding) {
    EXPECT_TRUE(isEqual(a, b, tolerance)) << a << " " << b;
}

// v turned about a unit axis (Rodrigues).
ERVector3D turned(const ERVector3D& v, const ERVector3D& axis, double angle) {
    return v * std::cos(angle) + (axis ^ v) * std::sin(angle) +
           axis * ((axis * v) * (1 - std::cos(angle)));
}

TEST(Factories, RotationsTurnAboutTheirAxis) {
    RandomTransformations make(41);
    for (int i = 0; i < 300; ++i) {
        const ERVector3D axis = make.direction(), v = make.direction();
        const ERPoint3D c = make.point(), p = make.point();
        const double angle = make.random.uniform(-10, 10);
        expect_near(ERRotation3D(axis * 7.0, angle) >> v, turned(v, axis, angle));
        expect_near(ERRotation3D(axis, c, angle) >> p, c + turned(ERVector3D(c, p), axis, angle),
                    1e-12);
        expect_near(ERRotation3D(ERQuaternion(axis, angle)) >> v, turned(v, axis, angle));
        for (const Coord3D n : {Coord3D_X, Coord3D_Y, Coord3D_Z})
            expect_near(ERRotation3D(n, angle) >> v, turned(v, ERVector3D(n), angle));
        // A reflection reverses vectors along n and keeps vectors perpendicular to it.
        expect_near(ERSymetrie3D(axis * 3.0) >> v, v - axis * (2 * (axis * v)));
        expect_near(ERSymetrie3D(Coord3D_Y) >> v, ERVector3D(v.i(), -v.j(), v.k()));
        expect_near(ERScaling3D(3.0) >> p, p * 3.0);
        const ERMatrix<double> m = make.rotation();
        expect_near(ERSimilitude3D(m, c, -2.0) >> p, m * (p * -2.0) + c);
        expect_near(mulInverseIsoMat(m, m * v), v);
    }
    EXPECT_EQ(ERRotation3D(static_cast<Coord3D>(3), 1.0).getMatrix(), ERMatrix<double>(3, 3));
}

TEST(Factories, FramesHaveTheGivenAxes) {
    RandomTransformations make(42);
    for (int i = 0; i < 300; ++i) {
        const ERVector3D x = make.direction() * 5.0, y = make.direction() * 0.1;
        const ERPoint3D o = make.point();
        const ERPmIsometrie3D frame = ERChgRepere3D(x, y, o), up = ERChgRepere3D(x, o);
        expect_near(frame.getVector(Coord3D_X), x.getnormalized());
        expect_near(frame.getVector(Coord3D_Z), (x ^ y).getnormalized(), 1e-11);
        EXPECT_GT(frame.getVector(Coord3D_Y) * y, 0.0);
        expect_near(up.getVector(Coord3D_Z), x.getnormalized());
        for (const ERPmIsometrie3D& f : {frame, up}) {
            EXPECT_EQ(f.origine(), o);
            expect_near(f.getVector(Coord3D_X) ^ f.getVector(Coord3D_Y), f.getVector(Coord3D_Z));
        }
        const ERPoint3D p = make.point();
        expect_near(frame.get_translation_matrix() * frame.get_rotation_matrix() >> p, frame >> p);
        ERPmIsometrie3D moved = frame;
        gm_scale_origin(moved, -2.5);
        EXPECT_EQ(moved.origine(), o * -2.5);
        expect_near(moved.getVector(Coord3D_Y), frame.getVector(Coord3D_Y));
        EXPECT_EQ(frame.origine(), o);

        double neutral[4][4];
        ConvertToNeutral(frame, neutral);
        EXPECT_EQ(neutral[3][3] + neutral[3][0] + neutral[3][1] + neutral[3][2], 1.0);
        const ERPoint3D local(1, 2, 3);
        expect_near(frame >> local, ERPoint3D::each([&](int r) {
                        return neutral[r][0] + 2 * neutral[r][1] + 3 * neutral[r][2] +
                               neutral[r][3];
                    }));
        for (int row = 0; row < 3; ++row) // left-handed, with a third axis that is not read
            neutral[row][2] *= -3.0;
        ERPmIsometrie3D again;
        ConvertFromNeutral(neutral, again);
        expect_near(again >> local, frame >> local);
    }
}

TEST(Locks, TurnOneDirectionIntoAnother) {
    RandomTransformations make(43);
    constexpr double reduced = 2e-11; // the least rotations count as none
    for (int i = 0; i < 1000; ++i) {
        const ERVector3D from = make.direction();
        ERVector3D to = make.direction();
        // Nearly parallel and nearly opposite ones, down to exactly so.
        if (i % 4) to = (i % 2 ? from : -from) + to * (i % 4 == 3 ? std::pow(0.1, i % 20) : 0.0);
        const ERPmIsometrie3D lock = ERRotation3D(from * 3.0, to * 5.0);
        expect_near(lock >> from, to.getnormalized(), reduced);
        const ERPoint3D c = make.point();
        const ERPmIsometrie3D fixed = ERRotationAtFixPoint(from, to, c);
        expect_near(fixed >> c, c, 1e-11);
        expect_near(fixed >> from, to.getnormalized(), reduced);
        if (i % 4 == 0 && (from ^ to).norme() > 0.001) { // the least rotation
            expect_near(lock >> (from ^ to), from ^ to, 1e-12);
        }

        ERMatrix<double> m;
        find_lock_matrix(from, to, m);
        expect_near(m * from, to.getnormalized(), 1e-12);
        find_flip_matrix(from * 2.0, m);
        expect_near(m * from, -from);
        expect_near(m * (m * to), to);
        EXPECT_NEAR(determinant(ERLUDecomp(m)), 1.0, rounding);
    }
}

TEST(EulerAngles, MakeTheMatrixAgain) {
    RandomTransformations make(44);
    const auto rebuilt = [](double a, double b, double c) {
        return ERRotation3D(Coord3D_Z, c) * ERRotation3D(Coord3D_Y, b) * ERRotation3D(Coord3D_X, a);
    };
    double a, b, c;
    for (int i = 0; i < 500; ++i) {
        // The middle angle reaches both ends, where the other two are not unique.
        const double middle = i % 3 == 0 ? pi / 2 : i % 3 == 1 ? -pi / 2 : 1.5 * std::sin(i);
        const ERPmIsometrie3D t =
            rebuilt(make.random.uniform(-pi, pi), middle, make.random.uniform(-pi, pi));
        ASSERT_EQ(computeEulerAngles(t, a, b, c), 1);
        const ERVector3D v = make.direction();
        expect_near(rebuilt(a, b, c) >> v, t >> v, i % 3 == 2 ? rounding : 1e-7);
        EXPECT_LE(std::fabs(b), pi / 2);
    }
    // Which of the two outer angles is 0 at the ends.
    for (const double end : {1.0, -1.0}) {
        ERMatrix<double> m = ERRotation3D(end > 0 ? Coord3D_Z : Coord3D_X, 0.25).getMatrix();
        m(2, 0) = end;
        computeEulerAngles(m, a, b, c);
        EXPECT_EQ(b, -end * pi / 2);
        EXPECT_EQ(end > 0 ? a : c, 0.0);
        EXPECT_NEAR(end > 0 ? c : a, 0.25, rounding);
    }
}

TEST(Texts, OfTransformations) {
    const ERPmIsometrie3D quarter =
        ERTranslation3D(ERPoint3D(-1234.5678, 0, 123456)) * ERRotation3D(Coord3D_Z, pi / 2);
    EXPECT_EQ(dump(quarter), " 0.000   -1.000    0.000   -1234.568 \n"
                             " 1.000    0.000    0.000    0.000   \n"
                             " 0.000    0.000    1.000    123456.000 \n");
    EXPECT_EQ(text_of(ERSimilitude3D(_ERSymetrie3D(Coord3D_Z).matrix(), {1, 2, 3}, 2.0)),
              "Matrice de Rotation    : ( r= +3, c=+3\n"
              "[+1.0000000   +0.0000000   +0.0000000   ]\n"
              "[+0.0000000   +1.0000000   +0.0000000   ]\n"
              "[+0.0000000   +0.0000000   -1.0000000   ]\n"
              "Composante Translation : [+1.0000000,+2.0000000,+3.0000000]\n"
              "facteur d'homothetie   : +2.0000000\n");
    EXPECT_EQ(text_of(ERTranslation3D(ERPoint3D(1, 2, 3))), "Composante Translation : [1,2,3]\n");
    EXPECT_EQ(text_of(_ERWorkplane()).find("facteur"), std::string::npos);
}

TEST(Operators, MapCopies) {
    RandomTransformations make(45);
    for (const char kind : std::string(kinds)) {
        const ERPmSimilitude3D t = make.handle(kind);
        const ERMinimax3D box(-1, 2, 3, 5, -7, -6);
        const ERMinimax3D there = t >> box, back = t << box;
        for (int i = 0; i < 50; ++i) {
            const ERPoint3D p(make.random.uniform(-1, 2), make.random.uniform(3, 5),
                              make.random.uniform(-7, -6));
            EXPECT_TRUE(there.contains(t >> p) && back.contains(t << p));
            expect_near(t << (t >> p), p, 1e-11);
        }
        EXPECT_TRUE((t >> ERMinimax3D()).invalid() && (t << ERMinimax3D()).invalid());
        const ERVec<ERPoint3D> points{make.point(), make.point()};
        const ERVec<ERPoint3D> mapped = t >> points;
        EXPECT_EQ(mapped[1], t >> points[1]);
        expect_near((t << mapped)[0], points[0], 1e-11);
        const ERVec<ERPole3DH> poles{ERPole3DH(points[0] * 2.0, 2.0)};
        EXPECT_EQ((t >> poles)[0], ERPole3DH(mapped[0] * 2.0, 2.0));
    }
}

} // namespace
