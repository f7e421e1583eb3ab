// The orthogonal fits against multi-precision, certified, published and a machine's own results.
#include "velm/measure/orthogonal_fit.h"

#include "support/test.h"
#include "velm/frame/point_functions.h"

namespace {

using velm::FitOutcome;

const std::string data = VELM_REAL_DATA;

std::vector<double> numbers_of(std::string line) {
    for (std::size_t at = 0; (at = line.find(',', at)) != std::string::npos;)
        line.replace(at, 1, line[at + 1] == ',' ? " 0 " : " "); // an empty field is 0
    std::vector<double> result;
    std::istringstream in(line);
    for (std::string word; in >> word;)
        result.push_back(std::strtod(word.c_str(), nullptr));
    return result;
}

// The rows of numbers, one row per line, after `skip` lines.
std::vector<std::vector<double>> rows(const std::string& name, int skip) {
    std::vector<std::vector<double>> result;
    std::ifstream in(name);
    for (std::string line; std::getline(in, line);)
        if (--skip < 0 && line.find_first_not_of(" \t\r") != std::string::npos)
            result.push_back(numbers_of(line));
    return result;
}

template <class Point>
Point place(const std::vector<double>& v, std::size_t at = 0) {
    return Point::each([&](int k) { return v[at + static_cast<std::size_t>(k)]; });
}
template <class Point>
std::vector<Point> places(const std::vector<std::vector<double>>& table) {
    std::vector<Point> result;
    for (const auto& row : table)
        result.push_back(place<Point>(row));
    return result;
}

// The effect of the coordinates' own rounding: `weight` units of the largest coordinate.
template <class Point>
double slack(const std::vector<Point>& points, double weight) {
    double largest = 0.0;
    for (const Point& p : points)
        for (int k = 0; k < Point::components; ++k)
            largest = std::max(largest, std::fabs(p[k]));
    return weight * largest * std::numeric_limits<double>::epsilon();
}

TEST(OrthogonalFit, AgainstMultiplePrecision) {
    std::ifstream in(VELM_TEST_FOLDER "/measure/data/fits.txt");
    std::string line, kind, name;
    int problems = 0;
    while (std::getline(in, line)) {
        if (line.starts_with("#")) continue;
        std::size_t count = 0;
        std::istringstream(line) >> kind >> name >> count;
        SCOPED_TRACE(line);
        std::vector<std::vector<double>> table;
        for (std::size_t n = 0; n < count && std::getline(in, line); ++n)
            table.push_back(numbers_of(line));
        std::getline(in, line);
        const auto answer = numbers_of(line.substr(7));
        const auto two = places<ERPoint2D>(table);
        ++problems;
        const auto expect_axis = [&](const auto& fit, const auto& points, const auto& centroid,
                                     const auto& axis, const auto& found, double spread) {
            const double rounding = slack(points, 4);
            EXPECT_EQ(fit.outcome, FitOutcome::fitted);
            EXPECT_LE(distance(fit.centroid, centroid), rounding);
            EXPECT_LE((axis * found < 0 ? axis + found : axis - found).norme(),
                      4e-15 + rounding / spread);
            EXPECT_NEAR(fit.rms, answer.back(), rounding);
        };
        const double spread = name == "far" ? 50 : name == "narrow" ? 0.25 : INFINITY;
        if (kind == "plane") {
            const auto points = places<ERPoint3D>(table);
            const velm::PlaneFit fit = velm::fit_plane(points, {0, 0, -1});
            expect_axis(fit, points, place<ERPoint3D>(answer), place<ERVector3D>(answer, 3),
                        fit.normal, spread);
            EXPECT_LT(fit.normal.k(), 0.0);
        } else if (kind == "line3d") {
            const auto points = places<ERPoint3D>(table);
            const velm::LineFit3D fit = velm::fit_line(points);
            expect_axis(fit, points, place<ERPoint3D>(answer), place<ERVector3D>(answer, 3),
                        fit.direction, 50);
        } else if (kind == "line2d") {
            const velm::LineFit2D fit = velm::fit_line(two);
            expect_axis(fit, two, place<ERPoint2D>(answer), place<ERVector2D>(answer, 2),
                        fit.direction, 50);
        } else {
            const velm::CircleFit2D fit = velm::fit_circle(two);
            EXPECT_EQ(fit.outcome, FitOutcome::fitted);
            // Only the sagitta of a short arc determines its radius.
            const double chord = distance(two.front(), two.back());
            const double weight = std::max(1.0, 8.0 * answer[2] * answer[2] / (chord * chord));
            const double rounding = slack(two, 8 * weight);
            EXPECT_LE(distance(fit.centre, place<ERPoint2D>(answer)), rounding);
            EXPECT_NEAR(fit.radius, answer[2], rounding);
            EXPECT_NEAR(fit.rms, answer[3], slack(two, 8));
            EXPECT_LE(fit.iteration.last_step, answer[2] * 1e-10);
        }
    }
    EXPECT_EQ(problems, 24);
}

TEST(OrthogonalFit, CertifiedCircles) {
    if (!std::ifstream(data + "/fit/SOURCE.md")) GTEST_SKIP() << "no data in " << data << "/fit";
    int sets = 0;
    double worst = 0.0;
    for (int set = 1; set <= 30; ++set) {
        const std::string name = data + "/fit/nist_circle2d/cir2d" + std::to_string(set);
        const auto points = places<ERPoint3D>(rows(name + ".ds", 1));
        if (points.empty()) continue;
        SCOPED_TRACE(name);
        ++sets;
        std::vector<double> certified;
        for (const auto& row : rows(name + ".fit", 0))
            certified.push_back(row[0]);
        const double diameter = certified[6];
        const auto axis = place<ERVector3D>(certified, 3);
        const velm::CircleFit3D fit = velm::fit_circle(points, axis);
        ASSERT_EQ(fit.outcome, FitOutcome::fitted);
        worst = std::max({worst, distance(fit.centre, place<ERPoint3D>(certified)) / diameter,
                          std::fabs(2 * fit.radius - diameter) / diameter});
        EXPECT_EQ(fit.normal, axis); // the points are in a plane of a constant coordinate
        EXPECT_EQ(fit.plane_rms, 0.0);
    }
    EXPECT_EQ(sets, 20);
    EXPECT_LE(worst, 1e-9);
}

TEST(OrthogonalFit, PublishedFits) {
    const auto plane = places<ERPoint3D>(rows(data + "/fit/fitting_kern/niemeier_1135.plane", 0));
    const auto bopp = places<ERPoint2D>(rows(data + "/fit/fitting_kern/bopp.circle", 0));
    if (plane.empty()) GTEST_SKIP() << "no data in " << data << "/fit";
    const velm::PlaneFit fit = velm::fit_plane(plane);
    EXPECT_TRUE(isEqual(fit.centroid, {1.5, 1.5, 0.24945625}, 1e-15));
    EXPECT_TRUE(
        isEqual(fit.normal, {-0.2864267724913074, -0.4287329924642912, 0.856824209025881}, 1e-15));
    EXPECT_NEAR(fit.rms, 0.002239977194820367, 1e-16);
    const velm::CircleFit2D circle = velm::fit_circle(bopp);
    EXPECT_TRUE(isEqual(circle.centre, {124.97106051, 85.74919574}, 1e-8));
    EXPECT_NEAR(circle.radius, 41.50283075, 1e-8);

    const std::vector<ERPoint2D> gander = {{1, 7}, {2, 6}, {5, 8}, {7, 7}, {9, 5}, {3, 7}};
    const velm::CircleFit2D far_start = velm::fit_circle(gander);
    EXPECT_TRUE(isEqual(far_start.centre, {4.7397824109061, 2.9835326992925}, 1e-12));
    EXPECT_NEAR(far_start.radius, 4.7142260377921, 1e-12); // published: 4.7142
    const std::vector<ERPoint2D> pearson = {{0.0, 5.9}, {0.9, 5.4}, {1.8, 4.4}, {2.6, 4.6},
                                            {3.3, 3.5}, {4.4, 3.7}, {5.2, 2.8}, {6.1, 2.8},
                                            {6.5, 2.4}, {7.4, 1.5}};
    const velm::LineFit2D line = velm::fit_line(pearson);
    EXPECT_NEAR(line.direction.j() / line.direction.i(), -0.5455611975209648, 1e-14);
    EXPECT_TRUE(isEqual(line.centroid, {3.82, 3.70}, 1e-14));
}

// Ball centres of a real run; the machine's own circles, and the plane on which it built its frame.
TEST(OrthogonalFit, ACoordinateMeasuringMachinesResults) {
    const auto table = rows(data + "/cmm/QIF_PTS_SAMPLE_points.csv", 1);
    if (table.empty()) GTEST_SKIP() << "no data in " << data << "/cmm";
    const double ball = table.front()[3];
    std::vector<ERPoint2D> circles[3];
    std::vector<ERPoint3D> plane;
    const std::vector<double> circle_sets = {29, 262, 510};
    for (const auto& row : table) {
        if (row[0] == 12) plane.push_back(place<ERPoint3D>(row, 4));
        for (std::size_t k = 0; k < 3; ++k)
            if (row[0] == circle_sets[k]) circles[k].push_back(place<ERPoint2D>(row, 4));
    }
    const double reported[3][3] = {{0.00080940233, 0.00031692348, 12.091599179226},
                                   {-33.202287934878, -4.336695992982, 12.095569950907},
                                   {-33.150578904473, 43.279377062175, 12.068425921098999}};
    for (std::size_t k = 0; k < 3; ++k) {
        ASSERT_EQ(circles[k].size(), 219u);
        const velm::CircleFit2D fit = velm::fit_circle(circles[k]);
        EXPECT_EQ(fit.outcome, FitOutcome::fitted);
        EXPECT_TRUE(isEqual(fit.centre, {reported[k][0], reported[k][1]}, 5e-9));
        EXPECT_NEAR(2 * (fit.radius + ball), reported[k][2], 5e-9); // bores
    }
    ASSERT_EQ(plane.size(), 8u);
    const velm::PlaneFit fit = velm::fit_plane(plane);
    EXPECT_TRUE(isEqual(fit.normal, {0, 0, 1}, 1e-13));
    EXPECT_NEAR(fit.centroid.z(), ball, 5e-12);
    double least = 0, greatest = 0;
    for (const ERPoint3D& p : plane) {
        least = std::min(least, fit.residual(p));
        greatest = std::max(greatest, fit.residual(p));
    }
    EXPECT_NEAR(greatest - least, 0.007450, 5e-7);
}

// No neighbouring entity has a smaller sum of squares; the place, the scale and the order of the
// points do not matter; arcs of every length are fitted, in space too.
TEST(OrthogonalFit, IsTheLeastOneForArcsOfEveryLength) {
    velm_test::Random draw(91);
    for (int round = 0; round < 400; ++round) {
        const double span = std::pow(10.0, draw.uniform(-2.0, 0.79));
        const double noise = round % 4 == 0 ? 0.0 : span * span * draw.uniform(0.0, 0.02);
        const ERVector3D normal = draw.direction<ERVector3D>();
        ERVector3D u, v;
        GetOrthogonalDirections(normal, u, v);
        const ERPoint3D center = draw.value<ERPoint3D>(9);
        std::vector<ERPoint2D> points;
        std::vector<ERPoint3D> raised;
        const int count = 3 + draw.below(60);
        for (int n = 0; n < count; ++n) {
            const double t = span * (n + draw.uniform(0, 0.5)) / count;
            const double r = 7.0 + draw.uniform(-noise, noise);
            points.emplace_back(r * std::cos(t), r * std::sin(t));
            raised.push_back(center + u * points.back().x() + v * points.back().y());
        }
        const velm::CircleFit2D fit = velm::fit_circle(points);
        ASSERT_EQ(fit.outcome, FitOutcome::fitted) << span << ' ' << noise << ' ' << count;
        const auto squares = [&](const velm::CircleFit2D& tried) {
            double sum = 0;
            for (const ERPoint2D& p : points)
                sum += tried.residual(p) * tried.residual(p);
            return sum;
        };
        const double least = squares(fit), step = 1e-5;
        EXPECT_NEAR(std::sqrt(least / count), fit.rms, 1e-14 * (1 + fit.radius));
        for (int direction = 0; direction < 6; ++direction) {
            velm::CircleFit2D other = fit;
            const double by = direction % 2 ? step : -step;
            (direction < 2   ? other.centre.x()
             : direction < 4 ? other.centre.y()
                             : other.radius) += by;
            EXPECT_GT(squares(other), least);
        }
        const double slackness = 1e-13 * fit.radius * fit.radius / (span * span);
        EXPECT_NEAR(fit.radius, 7.0, noise == 0.0 ? slackness : 7.0);
        const velm::CircleFit3D space = velm::fit_circle(raised, normal);
        ASSERT_EQ(space.outcome, FitOutcome::fitted);
        EXPECT_NEAR(space.radius, fit.radius, slackness * 4);
        EXPECT_GT(space.normal * normal, 1 - 1e-9);
        EXPECT_NEAR(space.residual(raised[1]), fit.residual(points[1]), 1e-12);
    }
}

TEST(OrthogonalFit, Refusals) {
    const double far = 12345.678;
    std::vector<ERPoint3D> same(5, {far, 0.1, -3}), row, cube;
    for (int n = 0; n < 8; ++n) {
        row.push_back(ERPoint3D(far, far, 0.1) + ERPoint3D(0.1, 0.7, -0.3) * double(n));
        cube.emplace_back(far + (n & 1), 1.0 * (n & 2), 1.0 * (n & 4));
    }
    std::vector<ERPoint3D> broken = row;
    broken[3].y() = NAN;
    for (ERPoint3D& p : cube)
        p.y() *= 0.5, p.z() *= 0.25;
    const std::vector<ERPoint3D> two(row.begin(), row.begin() + 2), none;
    using enum FitOutcome;
    const struct {
        const std::vector<ERPoint3D>& points;
        FitOutcome line, plane, circle;
    } cases[] = {{none, too_few_points, too_few_points, too_few_points},
                 {two, fitted, too_few_points, too_few_points},
                 {same, coincident, coincident, coincident},
                 {row, fitted, collinear, collinear},
                 {broken, not_finite, not_finite, not_finite},
                 {cube, no_direction, no_direction, fitted}};
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        std::vector<ERPoint2D> flat_ones;
        for (const ERPoint3D& p : c.points)
            flat_ones.emplace_back(p.x(), p.y());
        EXPECT_EQ(velm::fit_line(c.points).outcome, c.line);
        EXPECT_EQ(velm::fit_line(flat_ones).outcome, c.line);
        EXPECT_EQ(velm::fit_plane(c.points).outcome, c.plane);
        EXPECT_EQ(velm::fit_circle(flat_ones).outcome, c.circle);
    }
    EXPECT_STREQ(velm::outcome_text(FitOutcome::collinear), "the points lie on one line");
}

} // namespace
