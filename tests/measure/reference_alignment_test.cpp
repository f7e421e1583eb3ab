// Reference alignment: known motions come back from what the points hold, in 3-2-1 and in general;
// what is held too little or in contradiction is refused by name.
#include "velm/measure/reference_alignment.h"

#include "support/geometry.h"

namespace {

using velm_test::Random;

constexpr double size = 100;

ERPmIsometrie3D motion(Random& random) {
    return ERTranslation3D(random.direction<ERVector3D>() * random.uniform(0, size)) *
           ERRotation3D(random.direction<ERVector3D>(), ERRadian(random.uniform(0, 0.6)));
}

// A measured point that is off its nominal only across what it holds.
velm::ReferencePoint reference(Random& random, const std::vector<ERVector3D>& held,
                               const ERPmIsometrie3D& away) {
    velm::ReferencePoint point;
    point.nominal = random.value<ERPoint3D>(size);
    point.radius = 2;
    point.normal = held.front();
    point.held = held;
    ERVector3D off = random.value<ERVector3D>(0.1);
    for (const ERVector3D& direction : held) // at right angles
        off -= (off * direction) * direction;
    point.measured = away << (point.nominal + 2.0 * point.normal + off);
    return point;
}

TEST(ReferenceAlignment, BringsBackWhatSixFreedomsHold) {
    Random random(321);
    const ERVector3D x(1, 0, 0), y(0, 1, 0), z(0, 0, 1);
    for (int round = 0; round < 200; ++round) {
        const ERPmIsometrie3D away = motion(random);
        const std::vector<std::vector<ERVector3D>> schemes[] = {
            {{z}, {z}, {z}, {y}, {y}, {x}},                         // 3-2-1
            {{x, y, z}, {y, z}, {z}},                               // by points
            {{z, x}, {z, y}, {z}, {random.direction<ERVector3D>()}} // mixed
        };
        for (const auto& scheme : schemes) {
            std::vector<velm::ReferencePoint> points;
            for (const auto& held : scheme)
                points.push_back(reference(random, held, away));
            const velm::ReferenceAlignment found = velm::align_references(points);
            if (found.fault == velm::ReferenceFault::undetermined) continue; // nearly in a line
            ASSERT_EQ(found.fault, velm::ReferenceFault::none) << round << ' ' << found.last_step;
            for (const velm::ReferencePoint& point : points) {
                const ERPoint3D there = found.apply(point.measured);
                for (const ERVector3D& direction : point.held)
                    EXPECT_NEAR(direction * ERVector3D(point.nominal + 2.0 * point.normal, there),
                                0.0, 1e-12 * 4 * size)
                        << round;
            }
        }
    }
}

// The frame that three points of a plane, two of a line in it and one more give by hand.
TEST(ReferenceAlignment, IsTheFrameOfPlaneLineAndPoint) {
    Random random(322);
    const ERVector3D x(1, 0, 0), y(0, 1, 0), z(0, 0, 1);
    for (int round = 0; round < 100; ++round) {
        const ERPmIsometrie3D away = motion(random);
        std::vector<velm::ReferencePoint> points(6);
        const ERPoint3D nominal[] = {{0, 0, 0}, {90, 0, 0}, {0, 80, 0},
                                     {0, 0, 0}, {90, 0, 0}, {0, 40, 0}};
        for (std::size_t n = 0; n < 6; ++n) {
            points[n].nominal = nominal[n];
            const ERVector3D noise = random.value<ERVector3D>(0.5);
            points[n].measured = away << (nominal[n] + noise);
            points[n].held = {n < 3 ? z : n < 5 ? y : x};
        }
        const velm::ReferenceAlignment found = velm::align_references(points);
        ASSERT_EQ(found.fault, velm::ReferenceFault::none);
        // The measured points lie in the nominal plane, line and at the nominal abscissa, so their
        // frame is the nominal one: its axes, taken there, are those of the motion.
        const ERPoint3D a = points[0].measured, b = points[1].measured, c = points[2].measured;
        const ERPmIsometrie3D& to = found.motion;
        for (const ERPoint3D& p : {a, b, c})
            EXPECT_NEAR((to >> p).z(), 0.0, 1e-11);
        ERVector3D normal = (ERVector3D(a, b) ^ ERVector3D(a, c)).getnormalized();
        EXPECT_NEAR(((to >> normal) - z).norme(), 0.0, 1e-11);
        ERVector3D along(points[3].measured, points[4].measured);
        along -= (along * normal) * normal;
        EXPECT_NEAR(((to >> along.getnormalized()) - x).norme(), 0.0, 1e-11);
        EXPECT_NEAR((to >> points[5].measured).x(), 0.0, 1e-11);
    }
}

TEST(ReferenceAlignment, NamesWhatIsOpenAndWhatContradicts) {
    Random random(323);
    const ERVector3D x(1, 0, 0), y(0, 1, 0), z(0, 0, 1);
    const ERPmIsometrie3D away = motion(random);
    std::vector<velm::ReferencePoint> points;
    for (const ERVector3D& held : {z, z, z, y, y})
        points.push_back(reference(random, {held}, away));
    velm::ReferenceAlignment found = velm::align_references(points);
    EXPECT_EQ(found.fault, velm::ReferenceFault::undetermined);
    ASSERT_EQ(found.held.size(), 1);
    EXPECT_EQ(found.held[0].name(), "sliding along <1,0,0>");

    for (const ERVector3D& held : {x, x, z, y})
        points.push_back(reference(random, {held}, away));
    found = velm::align_references(points);
    EXPECT_EQ(found.fault, velm::ReferenceFault::none) << "more than six that agree";
    points.back().nominal += 0.5 * y;
    found = velm::align_references(points);
    EXPECT_EQ(found.fault, velm::ReferenceFault::contradictory);
    EXPECT_GT(found.largest_off, 0.01);
}

TEST(Alignment, HoldsFreedomsByName) {
    Random random(324);
    for (int held = 0; held < 6; ++held) {
        std::vector<ERPoint3D> points, places;
        const ERPmIsometrie3D away = motion(random);
        for (int n = 0; n < 40; ++n) {
            places.push_back(random.value<ERPoint3D>(size));
            points.push_back(away << places.back());
        }
        ERPoint3D centroid;
        for (const ERPoint3D& p : points)
            centroid += p * (1.0 / 40);
        velm::AlignmentOptions options;
        options.held[std::size_t(held)] = true;
        const velm::NominalsOf nominals = [&](std::size_t first, std::span<const ERPoint3D> some,
                                              std::span<velm::NominalPlace> found) {
            for (std::size_t n = 0; n < some.size(); ++n)
                found[n] = {places[first + n], ERVector3D()};
        };
        const velm::Alignment found = velm::align(points, nominals, options);
        EXPECT_TRUE(found.converged);
        ASSERT_EQ(found.held.size(), 1);
        EXPECT_EQ(found.held[0].direction[held % 3], 1);
        const ERVector3D shift(centroid, found.apply(centroid));
        if (held < 3)
            EXPECT_NEAR(shift[held], 0.0, 1e-9);
        else
            EXPECT_EQ(found.held[0].kind, velm::HeldFreedom::turning);
        // Nothing that is free makes it better.
        const auto squares = [&](const ERPmIsometrie3D& there) {
            double sum = 0.0;
            for (std::size_t n = 0; n < points.size(); ++n)
                sum += ERVector3D(places[n], there >> points[n]).norme2();
            return sum;
        };
        const ERPoint3D pivot = found.apply(centroid);
        for (int axis = 0; axis < 6; ++axis) {
            if (axis == held) continue;
            const ERVector3D unit(static_cast<Coord3D>(axis % 3));
            for (const double amount : {1e-3, -1e-3}) {
                const ERPmIsometrie3D more =
                    axis < 3 ? ERTranslation3D(unit * amount)
                             : ERRotation3D(unit, pivot, ERRadian(amount / size));
                EXPECT_GT(squares(more * found.motion), squares(found.motion)) << held << axis;
            }
        }
    }
}

} // namespace
