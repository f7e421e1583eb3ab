#include "support/allocation_count.h"
#include "support/records.h"
#include "wireframe/curve_checks.h"

namespace {

using namespace velm_test;
Random draw{47};

ERPoint3D point() { return draw.value<ERPoint3D>(9); }
ERVector3D direction() { return draw.direction<ERVector3D>(); }
ERPmIsometrie3D frame() { return ERChgRepere3D(direction(), direction(), point()); }

ERArc3D random_arc() {
    const double start = draw.uniform(-7, 7), sweep = draw.uniform(-2 * pi, 2 * pi);
    const ERPoint2D center(draw.uniform(-3, 3), draw.uniform(-3, 3));
    return ERArc3D(ERArc2D(center, draw.uniform(0.5, 9), start, start + sweep), frame());
}

ERArcEllipse3D random_elliptical_arc() {
    const double big = draw.uniform(1, 9);
    const ERPoint2D center(draw.uniform(-3, 3), draw.uniform(-3, 3));
    const ERArcEllipse2D arc(big, big * draw.uniform(0.05, 1), draw.uniform(0, 6), center,
                             draw.uniform(-6, 0), draw.uniform(0, 6));
    return ERArcEllipse3D(arc, frame());
}

template <class Curve>
void expect_consistent(Curve curve) {
    const double t = curve.getBound()(draw.uniform(0, 1));
    expect_tight_box(curve);
    expect_closest(curve, point());
    expect_derivatives_and_parts(curve, t);

    // Isometries and similarities, mirrors among them, keep the parameter of every point.
    const ERPmIsometrie3D moved = frame();
    ERPmSimilitude3D similar = moved * ERScaling3D(draw.uniform(0.5, 2));
    if (draw.below(2)) similar = similar * ERSymetrie3D(direction());
    Curve by_isometry(curve), by_similarity(curve);
    by_isometry.transformFrom(moved);
    by_similarity.transformFrom(similar);
    EXPECT_TRUE(isEqual(by_isometry(t), moved >> curve(t), 1e-11));
    EXPECT_TRUE(isEqual(by_similarity(t), similar >> curve(t), 1e-11));
    by_isometry.transformTo(moved);
    by_similarity.transformTo(similar);
    EXPECT_TRUE(isEqual(by_isometry(t), curve(t), 1e-11));
    EXPECT_TRUE(isEqual(by_similarity(t), curve(t), 1e-11));
}

TEST(Conics, HangTogether) {
    for (int round = 0; round < 200; ++round) {
        expect_consistent(random_arc());
        expect_consistent(random_elliptical_arc());
    }
}

// Whole circles and ellipses, which an arc of a full turn goes round: lifted into a frame, placed
// by hand and scaled; their boxes.
TEST(Conics, WholeOnesKeepTheirPoints) {
    for (int round = 0; round < 100; ++round) {
        const ERPmIsometrie3D there = frame();
        const double t = draw.uniform(0, 2 * pi), size = draw.uniform(0.5, 2);
        ERCircle2D flat_circle(ERPoint2D(draw.uniform(-3, 3), 1), draw.uniform(0.5, 9));
        EREllipse2D flat_ellipse(5, draw.uniform(0.5, 4.5), draw.uniform(0, 6), ERPoint2D(1, 2));
        ERCircle3D circle = *ERCircle3D::castdown(flat_circle.get3DEquiv(there).get());
        EREllipse3D ellipse = *EREllipse3D::castdown(flat_ellipse.get3DEquiv(there).get());
        ERArc2D flat_turn(flat_circle, 0, 2 * pi);
        ERArc3D turn(circle, 0, 2 * pi);
        ERArcEllipse2D flat_round(flat_ellipse, 0, 2 * pi);
        ERArcEllipse3D round_arc(ellipse, 0, 2 * pi);
        const auto lifted = [&](const ERPoint2D& p) {
            return there >> p.castToPoint3D(Coord3D_Z, 0.0);
        };
        const ERPoint3D on_circle = turn(t), on_ellipse = round_arc(t);
        EXPECT_TRUE(isEqual(on_circle, lifted(flat_turn(t)), 1e-12));
        EXPECT_TRUE(isEqual(on_ellipse, lifted(flat_round(t)), 1e-12));
        EXPECT_TRUE(isEqual(flat_circle.getBox().MaxPoint(), flat_turn.getBox().MaxPoint(), 1e-12));
        EXPECT_TRUE(
            isEqual(flat_ellipse.getBox().MinPoint(), flat_round.getBox().MinPoint(), 1e-12));
        EXPECT_TRUE(
            isEqual(flat_ellipse.getBox().MaxPoint(), flat_round.getBox().MaxPoint(), 1e-12));
        EXPECT_TRUE(isEqual(circle.getBox().MinPoint(), turn.getBox().MinPoint(), 1e-12));
        EXPECT_TRUE(isEqual(ellipse.getBox().MinPoint(), round_arc.getBox().MinPoint(), 1e-12));

        circle.scale(size);
        ellipse.scale(size);
        EXPECT_TRUE(isEqual(ERArc3D(circle, 0, 2 * pi)(t), on_circle * size, 1e-11));
        EXPECT_TRUE(isEqual(ERArcEllipse3D(ellipse, 0, 2 * pi)(t), on_ellipse * size, 1e-11));
        const ERPoint3D center = point();
        const ERVector3D normal = direction();
        const double radius = circle.radius();
        circle.setCenter(center);
        circle.setNormale(normal);
        EXPECT_TRUE(isEqual(circle.center(), center, 1e-11));
        EXPECT_NEAR(distance(circle(t), center), radius, 1e-11);
        EXPECT_NEAR(ERVector3D(center, circle(t)) * normal, 0.0, 1e-11);
    }
    for (const Coord3D axis : {Coord3D_X, Coord3D_Y, Coord3D_Z}) {
        const ERCircle3D level(ERCircle2D(ERPoint2D(1, 2), 3), axis, 4);
        EXPECT_EQ(level.center(), ERPoint2D(1, 2).castToPoint3D(axis, 4));
        EXPECT_NEAR(level(1)[axis], 4, 1e-15);
    }
}

TEST(CircleInSpace, DistanceIsTheTrueOne) {
    for (int round = 0; round < 300; ++round) {
        ERCircle3D circle(point(), direction(), draw.uniform(0.5, 5));
        const ERPoint3D p = point();
        double dist = 0;
        EXPECT_EQ(circle.SignedMinimalDistance(p, dist), EREntity::DISTMIN_FOUND);
        ERArc3D whole(circle, 0.0, 2 * pi);
        const velm::ClosestPoint<ERPoint3D> closest = expect_closest(whole, p);
        EXPECT_NEAR(velm::closest_point(circle, p).distance, closest.distance, 1e-12);
        EXPECT_NEAR(std::fabs(dist), closest.distance, 1e-12);
        EXPECT_EQ(circle.SignedMinimalDistance(closest.point, dist), EREntity::DISTMIN_IN_SPACE);
    }
}

TEST(SegmentInSpace, MovesAndIsProjected) {
    for (int i = 0; i < 200; ++i) {
        const ERSegment3D s(point(), point());
        const ERPmIsometrie3D iso = frame();
        const ERPmSimilitude3D sim = ERScaling3D(draw.uniform(0.5, 2)) * iso;
        ERSegment3D moved = s;
        moved.transformFrom(iso);
        EXPECT_EQ(moved.getP1(), iso >> s.getP1());
        moved.transformTo(iso);
        EXPECT_TRUE(isEqual(moved.getP2(), s.getP2(), 1e-11));
        moved.transformFrom(sim);
        EXPECT_EQ(moved.getP2(), sim >> (iso << (iso >> s.getP2())));

        // Copies: of a concrete class, of an interface, of a pointer.
        EXPECT_EQ((sim << s).getP1(), sim << s.getP1());
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
        EXPECT_TRUE(isEqual(ERSegment3D::castdown(lifted.get())->getP1(), foot, 1e-11));
        EXPECT_EQ(lifted->references() + flat->references(), 2);

        ERVec<double> params;
        ERSegment3D unit(s.getP1(), s.getP1() + direction());
        const double t = draw.uniform(0.01, 0.99);
        ASSERT_EQ(unit.intersectWith(unit(t), direction(), params), 1);
        EXPECT_NEAR(params[0], t, 1e-9);
        EXPECT_EQ(unit.getP1(), s.getP1());
    }
}

// How far the projected point is from the 2D entity.
double off_image(EREntity2DWF& image, const ERPoint2D& p) {
    if (auto* arc = dynamic_cast<ERArcEllipse2D*>(&image))
        return velm::closest_point(*arc, p).distance;
    if (auto* ellipse = dynamic_cast<EREllipse2D*>(&image))
        return velm::closest_point(*ellipse, p).distance;
    double dist = HUGE_VAL;
    image.SignedMinimalDistance(p, dist);
    return std::fabs(dist);
}

template <class Base, class Whole, class Part, class Arc>
void expect_projection(Arc arc, const ERPmIsometrie3D& view) {
    t_SmartPtr<EREntity2DWF> image = Base(arc).get2DEntProjectedOn(view);
    t_SmartPtr<EREntity2DWF> part = arc.get2DEntProjectedOn(view);
    ASSERT_EQ(image->isA(), Whole::desc());
    ASSERT_EQ(part->isA(), Part::desc());
    const ERLimites bound = arc.getBound();
    for (int n = 0; n <= 60; ++n) {
        EXPECT_NEAR(off_image(*image, view.Project(arc(n * 0.105))), 0, 1e-9);
        EXPECT_NEAR(off_image(*part, view.Project(arc(bound(n / 60.0)))), 0, 1e-9);
    }
    // The image of the arc reaches no farther than the arc.
    ERMinimax2D box, sampled;
    box = ERFiniteEntity2DWF::castdown(part.get())->getBox();
    for (int n = 0; n <= 2000; ++n)
        sampled.Update(view.Project(arc(bound(n / 2000.0))));
    EXPECT_TRUE(isEqual(box.MinPoint(), sampled.MinPoint(), 1e-4));
    EXPECT_TRUE(isEqual(box.MaxPoint(), sampled.MaxPoint(), 1e-4));
}

// Oblique, from both sides and edge on; `Flat` and `FlatPart` are the curve's classes in its own
// plane.
template <class Base, class Flat, class FlatPart, class Arc>
void expect_projections(const Arc& arc) {
    const ERVector3D n = arc.normale(), along = arc.getRepere().getVector(Coord3D_X) * 0.6 +
                                                arc.getRepere().getVector(Coord3D_Y) * 0.8;
    expect_projection<Base, EREllipse2D, ERArcEllipse2D>(arc, frame());
    expect_projection<Base, Flat, FlatPart>(arc, ERChgRepere3D(along, n ^ along, point()));
    expect_projection<Base, Flat, FlatPart>(arc, ERChgRepere3D(along, along ^ n, point()));
    expect_projection<Base, ERSegment2D, ERSegment2D>(arc, ERChgRepere3D(along, n, point()));
}

TEST(ConicsInSpace, ProjectToCircleSegmentOrEllipse) {
    for (int round = 0; round < 200; ++round) {
        expect_projections<ERCircle3D, ERCircle2D, ERArc2D>(random_arc());
        expect_projections<EREllipse3D, EREllipse2D, ERArcEllipse2D>(random_elliptical_arc());
    }
}

TEST(ArcInSpace, ThroughPoints) {
    for (int round = 0; round < 300; ++round) {
        const ERPoint3D a = point(), b = point(), c = point();
        ERArc3D arc;
        ASSERT_EQ(Arc3Points(arc, a, b, c), 1);
        const double slack = 1e-11 * arc.radius() * arc.radius();
        EXPECT_TRUE(isEqual(arc.firstPt(), a, slack) && isEqual(arc.lastPt(), c, slack));
        EXPECT_NEAR(velm::closest_point(arc, b).distance, 0, slack);
        EXPECT_GT((ERVector3D(a, b) ^ ERVector3D(b, c)) * arc.normale(), 0);

        ERArc3D first, second;
        const ERVector3D side = round % 2 ? -arc.normale() : ERVector3D();
        const ERPoint3D on_circle = arc(1.0), other = arc(1.0 + draw.uniform(0.1, 6));
        ASSERT_EQ(ArcCenterStartEnd(first, second, on_circle, arc.center(), other, side), 1);
        EXPECT_TRUE(isEqual(first.firstPt(), on_circle, slack));
        EXPECT_TRUE(isEqual(first.lastPt(), other, slack));
        EXPECT_TRUE(isEqual(second.firstPt(), other, slack));
        EXPECT_TRUE(isEqual(second.lastPt(), on_circle, slack));
        EXPECT_NEAR(first.arcLength(0) + second.arcLength(0), 2 * pi * first.radius(), slack);
        if (round % 2) {
            EXPECT_NEAR(first.normale() * arc.normale(), -1, 1e-9);
        } else {
            EXPECT_LE(first.arcLength(0), second.arcLength(0));
        }
    }
    ERArc3D first({1, 1, 1}, {0, 0, 1}, 5, 0.0, 1.0), second;
    EXPECT_EQ(Arc3Points(first, {0, 0, 0}, {1, 1, 1}, {2, 2, 2}), 0);
    EXPECT_EQ(ArcCenterStartEnd(first, second, {1, 0, 0}, {0, 0, 0}, {-1, 0, 0}), 0);
    EXPECT_EQ(ArcCenterStartEnd(first, second, {1, 0, 0}, {0, 0, 0}, {0, 1.1, 0}), 0);
    EXPECT_EQ(first.radius(), 5);
    EXPECT_EQ(ArcCenterStartEnd(first, second, {1, 0, 0}, {0, 0, 0}, {-1, 0, 0}, {0, 0, 1}), 1);
    EXPECT_TRUE(isEqual(first(pi / 2), ERPoint3D(0, 1, 0), 1e-15));
}

TEST(EllipseInSpace, ConstructionsAgree) {
    for (int round = 0; round < 300; ++round) {
        const double a = draw.uniform(2, 9), b = draw.uniform(0.5, 1.9), t = draw.uniform(0.2, 3);
        ERArcEllipse3D by_axes(EREllipse3D(frame(), a, b), 0.0, 2 * pi);
        const EREllipse3D by_points(by_axes.getCenter(), by_axes(0.0), by_axes(t));
        const ERVec<ERPoint3D> foci = by_axes.getFocus();
        const EREllipse3D by_foci(foci[0], foci[1], 2 * a, by_axes.normale());
        for (const EREllipse3D* e : {&by_points, &by_foci}) {
            EXPECT_TRUE(isEqual(e->getCenter(), by_axes.getCenter(), 1e-12));
            EXPECT_TRUE(isEqual(e->getBigAxisDirection(), by_axes.getBigAxisDirection(), 1e-10));
            EXPECT_TRUE(isEqual(e->getSmallAxisDirection(), by_axes.getSmallAxisDirection(), 1e-9));
            EXPECT_NEAR(e->getBigAxe(), 2 * a, 1e-11);
            EXPECT_NEAR(e->getSmallAxe(), 2 * b, 1e-9);
        }
    }
}

// Size and round trip of the stored form, and a new object by its class's name.
template <class Entity>
void expect_size(const Entity& entity, unsigned int bytes) {
    EXPECT_EQ(entity.binaryStoreSize(), bytes) << entity.className();
    expect_stored(entity, record_of(entity), text_of(entity));
}

TEST(Conics, AreStoredCopiedAndMadeByName) {
    const ERPmIsometrie3D at = frame();
    const unsigned int transformation = at.binaryStoreSize();
    const EREllipse2D ellipse(3, 1, 0.5, {1, 2});
    const ERSegment2D flat({1, 2}, {4, 5});
    const ERSegment3D segment({1, 2, 3}, {4, 5, 7});
    expect_stored(flat, bytes_of(1.0, 2.0, 4.0, 5.0), text_of(flat));
    expect_stored(segment, bytes_of(1.0, 2.0, 3.0, 4.0, 5.0, 7.0), text_of(segment));
    expect_size(ERInfLine2D(ERPoint2D(1, 2), {4, 5}), 32);
    expect_size(ERInfLine3D(ERPoint3D(1, 2, 3), {4, 5, 7}), 48);
    expect_size(ERCircle2D({1, 2}, 3), 24);
    expect_size(ellipse, 40);
    expect_size(ERArc2D({1, 2}, 3, 0.5, 1.5), 40);
    expect_size(ERArcEllipse2D(ellipse, 0.5, 1.5), 56);
    expect_size(ERCircle3D(at, ERCircle2D({1, 2}, 3)), transformation + 24);
    expect_size(EREllipse3D(ellipse, at), transformation + 40);
    expect_size(ERArc3D(at, 3, 0.5, 1.5), transformation + 40);
    expect_size(ERArcEllipse3D(ERArcEllipse2D(ellipse, 0.5, 1.5), at), transformation + 56);
}

template <class Curve, class Point>
double evaluated(Curve& curve, const Point& p) {
    double dist = 0;
    curve.SignedMinimalDistance(p, dist);
    return dist + curve(0.5).x() + curve.PtCur(0.5).normale().norme() + curve.getBox().xlength();
}

TEST(Evaluation, AllocatesNothing) {
    ERSegment2D flat_segment({1, 2}, {4, 4});
    ERSegment3D segment({1, 2, 3}, {4, 4, 4});
    ERArc2D flat_arc({1, 2}, 3, 0.5, 2.0);
    ERArc3D arc = random_arc();
    ERArcEllipse2D flat_elliptical(3, 1, 0.3, {1, 2}, -1.0, 2.0);
    ERArcEllipse3D elliptical = random_elliptical_arc();
    const auto evaluate = [&] {
        return evaluated(flat_segment, ERPoint2D(4, 4)) + evaluated(flat_arc, ERPoint2D(4, 4)) +
               evaluated(segment, ERPoint3D(4, 5, 4)) + evaluated(arc, ERPoint3D(4, 5, 4)) +
               evaluated(flat_elliptical, ERPoint2D(1, 1)) + flat_elliptical.arcLength(0.0) +
               flat_elliptical.get_closest({1, 1}).x() +
               velm::closest_point(flat_elliptical, {1, 1.5}).distance + elliptical(1.0).x() +
               velm::closest_point(arc, {1, 2, 3}).distance +
               velm::closest_point(elliptical, {1, 2, 3}).distance;
    };
    evaluate();
    const long before = allocations();
    EXPECT_TRUE(std::isfinite(evaluate()));
    EXPECT_EQ(allocations(), before);
    const t_SmartPtr<ERObject> copy(arc.getCopy());
    EXPECT_GT(allocations(), before) << "the counter counts";
}

} // namespace
