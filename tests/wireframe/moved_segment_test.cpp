// Segments under transformations, their sections with lines and planes, and lifted points.
#include "support/random.h"
#include "velm/frame/point_functions.h"
#include "velm/transforms/transformation_factories.h"
#include "velm/transforms/transformed_values.h"
#include "velm/wireframe/segment.h"

#include <gtest/gtest.h>

namespace {

class MovedSegment : public testing::Test {
public:
    ERPoint3D point() {
        return ERPoint3D::each([this](int) { return random.uniform(-10, 10); });
    }
    ERVector3D vector() { return point().asVector3D(); }
    ERPmIsometrie3D frame() { return ERChgRepere3D(vector(), vector(), point()); }

    velm_test::Random random{81};
};

template <class Point>
void expect_near(const Point& a, const Point& b) {
    EXPECT_TRUE(isEqual(a, b, 1e-11)) << a << " " << b;
}

TEST_F(MovedSegment, InSpace) {
    for (int i = 0; i < 200; ++i) {
        const ERSegment3D s(point(), point());
        const ERPmIsometrie3D iso = frame();
        const ERPmSimilitude3D sim = ERScaling3D(random.uniform(0.5, 2)) * iso;
        ERSegment3D moved = s;
        moved.transformFrom(iso);
        EXPECT_EQ(moved.getP1(), iso >> s.getP1());
        moved.transformTo(iso);
        expect_near(moved.getP2(), s.getP2());
        moved.transformFrom(sim);
        EXPECT_EQ(moved.getP2(), sim >> (iso << (iso >> s.getP2())));

        // Copies: of a concrete class, of an interface, of a pointer.
        const ERSegment3D copy = sim << s;
        EXPECT_EQ(copy.getP1(), sim << s.getP1());
        const t_SmartPtr<EREntity3DWF> held(new ERSegment3D(s));
        const t_SmartPtr<EREntity3DWF> other = iso >> *held, pointed = iso >> held;
        EXPECT_EQ(ERSegment3D::castdown(other.get())->getP1(), iso >> s.getP1());
        EXPECT_EQ(ERSegment3D::castdown(pointed.get())->getP2(), iso >> s.getP2());
        EXPECT_EQ(held->references() + other->references() + pointed->references(), 3);

        // Down into a frame's plane, and up again.
        const t_SmartPtr<EREntity2DWF> flat = held->get2DEntProjectedOn(iso);
        const ERPoint3D local = iso << s.getP1();
        EXPECT_EQ(ERSegment2D::castdown(flat.get())->getP1(), ERPoint2D(local.x(), local.y()));
        const t_SmartPtr<EREntity3DWF> lifted = flat->get3DEquiv(iso);
        const ERPoint3D foot = s.getP1() - iso.getVector(Coord3D_Z) * local.z();
        expect_near(ERSegment3D::castdown(lifted.get())->getP1(), foot);
        EXPECT_EQ(lifted->references() + flat->references(), 2);
    }
}

TEST_F(MovedSegment, InThePlane) {
    const ERSegment2D s({1, 2}, {3, 5});
    const ERTransfo2D t(ERVector2D(3, 4), ERPoint2D(5, 6));
    const ERSegment2D there = t >> s, back = t << there;
    EXPECT_EQ(there.getP2(), t >> s.getP2());
    expect_near(back.getP1(), s.getP1());
    const t_SmartPtr<EREntity2D> held(new ERSegment2D(s)), moved = t << held;
    EXPECT_EQ(ERSegment2D::castdown(moved.get())->getP1(), t << s.getP1());
}

// A section is what the curve, brought into the frame of the line or plane, finds at level 0.
struct Crossing : ERSegment2D {
    using ERSegment2D::ERSegment2D;
    ERObject* getCopy() const override { return new Crossing(*this); }
    int intersectWithAxeY(double y, ERVec<double>& params) const override {
        params.append((y - getP1().y()) / (getP2().y() - getP1().y()));
        return params.size();
    }
};

TEST_F(MovedSegment, SectionsLeaveTheCurveAlone) {
    for (int i = 0; i < 200; ++i) {
        const ERPoint3D p = point(), q = point();
        const ERVector3D d = vector();
        Crossing curve({p.x(), p.y()}, {q.x(), q.y()});
        ERVec<double> params;
        ASSERT_EQ(curve.intersectWith({p.z(), q.z()}, {d.i(), d.j()}, params), 1);
        const ERVector2D to_hit({p.z(), q.z()}, curve(params[0]));
        EXPECT_NEAR(velm::cross(to_hit, ERVector2D(d.i(), d.j())) / (1 + to_hit.norme()), 0, 1e-10);
        EXPECT_EQ(curve.getP1(), ERPoint2D(p.x(), p.y()));

        ERSegment3D unit(p, p + vector().normalize());
        const double t = random.uniform(0.01, 0.99);
        ASSERT_EQ(unit.intersectWith(unit(t), d, params), 2);
        EXPECT_NEAR(params[1], t, 1e-9);
        EXPECT_EQ(unit.getP1(), p);
    }
    ERVec<double> params{1.0};
    EXPECT_EQ(ERSegment2D({0, -1}, {0, 1}).intersectWith({0, 0}, {1, 0}, params), 0);
    EXPECT_EQ(params.size(), 1);
}

TEST_F(MovedSegment, LiftedPoints) {
    const ERInfoPoint2D flat(0.25, -1, {1, 2}, {3, 4}, {5, 6});
    const ERPmSimilitude3D t = ERScaling3D(2.0) * frame();
    const ERInfoPoint3DWF lifted(flat, t, Coord3D_Y, 7.0);
    EXPECT_EQ(lifted.Parametre, 0.25);
    EXPECT_EQ(lifted.Sens, -1);
    EXPECT_EQ(lifted.point(), t >> ERPoint3D(1, 7, 2));
    EXPECT_EQ(lifted.tangente(), t >> ERVector3D(3, 7, 4)) << "the value is in the derivatives too";
    EXPECT_EQ(lifted.second_derivative(), t >> ERVector3D(5, 7, 6));
}

} // namespace
