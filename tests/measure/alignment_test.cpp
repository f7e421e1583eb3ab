// Alignment: known motions come back from points without noise; with noise no motion nearby is
// better; freedoms that the points don't determine are named and held.
#include "velm/measure/alignment.h"

#include "support/geometry.h"
#include "velm/measure/target_point.h"

namespace {

using velm_test::Random;

constexpr double size = 100;

ERVector3D direction(Random& random) { return random.direction<ERVector3D>(); }

ERPmIsometrie3D motion(Random& random, double angle, double way) {
    return ERTranslation3D(direction(random) * way) *
           ERRotation3D(direction(random), ERRadian(angle));
}

// A target whose ball touches it with an error along the normal and a slip across it, before the
// part was moved. Without a normal it is a direct one.
gmTargetPoint target(const ERPoint3D& p, const ERVector3D& n, double diameter, double error,
                     const ERVector3D& slip, const ERPmIsometrie3D& away) {
    const ERPoint3D centre = p + (diameter / 2 + error) * n + (slip - (slip * n) * n);
    const ERCMMPointWithDiameter measured(away << centre, ERVector3D(n), diameter, 1);
    return n.norme2() > 0 ? gmTargetPoint(p, measured, n) : gmTargetPoint(p, measured);
}

std::vector<gmTargetPoint> part(Random& random, bool direct, double noise, double slip,
                                const ERPmIsometrie3D& away) {
    std::vector<gmTargetPoint> targets;
    for (int n = 0; n < 60; ++n) {
        const ERVector3D normal = direct && n % 2 == 0 ? ERVector3D() : direction(random);
        const ERPoint3D p = ERPoint3D(300, 0, -50) + direction(random) * random.uniform(0, size);
        targets.push_back(
            target(p, normal, 4, random.uniform(-noise, noise), direction(random) * slip, away));
    }
    return targets;
}

// No motion near the one found has a lower sum, and the sum is the reported one.
template <class Found, class Sum, class Near>
void expect_best(const Found& found, Sum sum, Near near) {
    const double least = sum(found.motion);
    EXPECT_TRUE(found.converged && found.held.empty()) << found.last_step;
    EXPECT_NEAR(found.squares_after, least, 1e-9 * least + 1e-20);
    for (double amount = 1e-1; amount > 1e-5; amount /= 4)
        EXPECT_GT(sum(near(amount) * found.motion), least) << amount;
}

TEST(Alignment, FindsTheMotionOfTargets) {
    Random random(51);
    for (int round = 0; round < 60; ++round) {
        // Far turns only without slips, because slips mislead the start.
        const double slip = round % 3 == 0 ? 1 : 0;
        const ERPmIsometrie3D away = motion(random, slip != 0 ? 0.1 : 0.05 * round, size);
        const auto targets = part(random, slip == 0 && round % 2 == 0, 0, slip, away);
        const velm::Alignment found = velm::align(targets);
        EXPECT_TRUE(found.converged && found.held.empty()) << round << ' ' << found.last_step;
        for (const gmTargetPoint& each : targets) {
            const ERPoint3D centre = each.measured_point().point;
            EXPECT_LT(distance(found.motion >> centre, away >> centre), 1e-9 * size) << round;
        }
        const auto noisy = part(random, round % 2 == 0, 0.05, slip, away);
        const auto squares = [&](const ERPmIsometrie3D& t) {
            double sum = 0;
            for (const gmTargetPoint& each : noisy) {
                const gmTargetPoint there = t >> each;
                const ERPoint3D centre = there.measured_point().point;
                ERVector3D n;
                const bool plane = each.get_surface_normal(n);
                sum += std::pow(plane ? n * ERVector3D(each.target_point(), centre) - 2
                                      : distance(each.target_point(), centre),
                                2);
            }
            return sum;
        };
        const auto near = [&](double amount) {
            const ERPoint3D about(300, 0, -50);
            return ERTranslation3D(about) * motion(random, amount / size, amount) *
                   ERTranslation3D(-about);
        };
        expect_best(velm::align(noisy), squares, near);
    }
}

// Small parts far from the origin, whose sums of squares have lost the digits of the last steps.
TEST(Alignment, EndsWhereForcesAndMomentsOfTheDeviationsCancel) {
    Random random(54);
    for (int round = 0; round < 200; ++round) {
        const ERVector3D far(5000, -4000, 3000);
        std::vector<gmTargetPoint> targets;
        for (int n = 0; n < 12; ++n) {
            const ERVector3D normal = n % 2 == 0 ? ERVector3D() : direction(random);
            const ERVector3D off = random.uniform(0, round % 2 == 0 ? 0.01 : 2) * direction(random);
            targets.push_back(target(ERPoint3D() + far + direction(random) * random.uniform(2, 10),
                                     normal, 1, off * normal, off, ERPmIsometrie3D()));
        }
        const velm::Alignment found = velm::align(targets);
        EXPECT_TRUE(found.converged) << round << ' ' << found.last_step;
        ERVector3D force, moment;
        for (const gmTargetPoint& each : targets) {
            const ERPoint3D centre = found.apply(each.measured_point().point);
            ERVector3D n, away(each.target_point(), centre);
            if (each.get_surface_normal(n)) away = (away * n - 0.5) * n;
            force += away;
            moment += (centre.asVector3D() - far) ^ away;
        }
        EXPECT_LT(force.norme() + moment.norme() / 10, 12 * 1e-9) << round;
    }
}

TEST(Alignment, NamesAndHoldsWhatThePointsLeaveOpen) {
    using Names = std::vector<std::string>;
    const auto names = [](const velm::AlignmentReport& report) {
        Names result;
        for (const velm::HeldFreedom& freedom : report.held)
            result.push_back(freedom.name());
        return result;
    };
    // A circle of radius 10 about (3, 4), measured 0.5 off: it slides there and does not turn.
    std::vector<ERPoint2D> points;
    for (int n = 0; n < 16; ++n)
        points.push_back(ERPoint2D(3.3, 4.4) + 10 * ERVector2D(std::cos(n), std::sin(n)));
    const velm::Alignment2D circle = velm::align(points, [](std::size_t, const ERPoint2D& p) {
        const ERVector2D n = ERVector2D({3, 4}, p).normalize();
        return velm::NominalPlace2D{ERPoint2D(3, 4) + 10 * n, n};
    });
    EXPECT_TRUE(circle.converged);
    EXPECT_EQ(names(circle), Names{"turning about the axis through [3,4,0] along <0,0,1>"});
    EXPECT_LT(distance(circle.apply({3.3, 4.4}), {3, 4}), 1e-9);
    EXPECT_LT(std::fabs(circle.motion.angle()), 1e-9);
    // A line along x: it turns and falls onto it, and does not slide.
    const velm::Alignment2D line =
        velm::align(std::vector<ERPoint2D>{{0, 1}, {10, 2}}, [](auto, auto& p) {
            return velm::NominalPlace2D{{p.x(), 0}, {0, 1}};
        });
    EXPECT_EQ(names(line), Names{"sliding along <1,0,0>"});
    EXPECT_LT(line.squares_after, 1e-18);

    // Targets on a cylinder, in one place, and on a thread of pitch 2 pi about z.
    Random random(53);
    const auto u = [&] { return random.uniform(-9, 9); };
    const auto held = [&](auto place) {
        std::vector<gmTargetPoint> targets;
        for (int n = 0; n < 40; ++n) {
            const auto [p, normal] = place(ERVector3D(u(), u(), 0).normalize());
            targets.push_back(target(p, normal, 2, 0.1, {}, ERPmIsometrie3D()));
        }
        const velm::Alignment found = velm::align(targets);
        EXPECT_TRUE(found.converged);
        return names(found);
    };
    const ERVector3D z(0, 0, 1), none;
    EXPECT_EQ(
        held([&](auto n) { return std::pair(ERPoint3D(1, 2, u()) + 5 * n, n); }),
        (Names{"turning about the axis through [1,2,0] along <0,0,1>", "sliding along <0,0,1>"}));
    EXPECT_EQ(held([&](auto) { return std::pair(ERPoint3D(1, 2, 3), none); }).size(), 3u);
    const auto on_thread = [&](auto radial) {
        const double a = std::atan2(radial.j(), radial.i());
        const ERVector3D flank = ((z ^ radial) - 8 * z).normalize();
        return std::pair(ERPoint3D(8 * radial + a * z), random.below(2) != 0 ? radial : flank);
    };
    EXPECT_EQ(held(on_thread),
              Names{"screwing about the axis through [0,0,0] along <0,0,1> by 1 per radian"});
    EXPECT_EQ(velm::align(std::span<const gmTargetPoint>()).held.size(), 6u);
    velm::AlignmentOptions hasty;
    hasty.most_iterations = 1;
    EXPECT_FALSE(velm::align(part(random, false, 0, 1, motion(random, 0.1, 9)), hasty).converged);
}

} // namespace
