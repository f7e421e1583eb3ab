#include "velm/curves/intersections.h"

#include "support/allocation_count.h"
#include "support/geometry.h"
#include "support/random_curves.h"
#include "support/text_fields.h"
#include "velm/curves/composite_curve.h"
#include "velm/curves/detail/bernstein_rows.h"
#include "velm/curves/nurbs_curve.h"
#include "velm/curves/prepare.h"
#include "velm/numerics/real_roots.h"

#include <numeric>

namespace {

using velm::CurveIntersection;
using velm::IntersectionKind;
using Curve = velm::PreparedCurve<2>;
using velm_test::Random;
using velm_test::repeats;

using Row = std::vector<double>; // x w, y w, w of each pole

int degree(const Row& row) { return static_cast<int>(row.size()) / 3 - 1; }

Curve prepared(const std::vector<Row>& rows) { return velm_test::prepared_rows<2>(rows).value(); }
Curve prepared(const Row& row) { return prepared(std::vector<Row>{row}); }

// The graph of a polynomial, y = p(x) for x in [0, 1], p by its powers.
Row graph(const std::vector<double>& powers, int at_least_degree = 1) {
    const int n = std::max(at_least_degree, static_cast<int>(powers.size()) - 1);
    Row row(std::size_t(3 * (n + 1)), 0.0);
    const double abscissa[] = {0.0, 1.0}, one[] = {1.0};
    velm::detail::PoleRow poles{row.data(), n + 1, 3};
    velm::detail::set_from_power(abscissa, 0, poles);
    velm::detail::set_from_power(powers, 1, poles);
    velm::detail::set_from_power(one, 2, poles);
    return row;
}

std::vector<double> product(const std::vector<double>& a, const std::vector<double>& b) {
    std::vector<double> result(a.size() + b.size() - 1, 0.0);
    for (std::size_t i = 0; i < a.size(); ++i)
        for (std::size_t k = 0; k < b.size(); ++k)
            result[i + k] += a[i] * b[k];
    return result;
}

// Another parameter: weights times c^i take u to u / (u + c (1 - u)).
struct Reparameter {
    double c = 1.0;
    void apply(Row& row) const {
        double factor = 1.0;
        for (std::size_t i = 0; i < row.size(); ++i) {
            row[i] *= factor;
            if (i % 3 == 2) factor *= c;
        }
    }
    double parameter_of(double x) const { return x / (x + c * (1.0 - x)); }
};

struct Similarity {
    double cosine = 1.0, sine = 0.0, dx = 0.0, dy = 0.0;
    void apply(Row& row) const {
        for (std::size_t i = 0; i < row.size(); i += 3) {
            const double x = row[i], y = row[i + 1];
            row[i] = cosine * x - sine * y + dx * row[i + 2];
            row[i + 1] = sine * x + cosine * y + dy * row[i + 2];
        }
    }
    static Similarity random(Random& random, double size) {
        const double angle = random.uniform(-4, 4);
        return {size * std::cos(angle), size * std::sin(angle), size * random.uniform(-1, 1),
                size * random.uniform(-1, 1)};
    }
};

void elevate(Row& row, int times) {
    row.resize(row.size() + std::size_t(3 * times));
    velm::detail::elevate_row({row.data(), degree(row) + 1 - times, 3}, times);
}

std::string text(const std::vector<CurveIntersection>& found) {
    std::ostringstream out;
    out.precision(17);
    for (const CurveIntersection& i : found)
        out << "kind " << static_cast<int>(i.kind) << " order " << i.order << " sides " << i.before
            << ' ' << i.after << " t " << i.a.t << " in " << i.a_parameters.start() << ' '
            << i.a_parameters.end() << " s " << i.b.t << " in " << i.b_parameters.start() << ' '
            << i.b_parameters.end() << '\n';
    return out.str();
}
std::string text(const Row& row) {
    std::ostringstream out;
    out << std::hexfloat;
    for (const double x : row)
        out << x << ' ';
    return out.str() + "\n";
}

// What is true for every answer: places lie in their intervals, points in their boxes and on both
// curves.
void expect_consistent(const Curve& a, const Curve& b, const std::vector<CurveIntersection>& found,
                       double tolerance = 0.0) {
    const double error = 2.0 * tolerance + 1e-13 * (a.size() + b.size() + std::fabs(a.box().xmax) +
                                                    std::fabs(a.box().ymax));
    for (const CurveIntersection& i : found) {
        const ERPoint2D p = a(i.a.t), q = b(i.b.t);
        ASSERT_LE(std::hypot(p.x() - q.x(), p.y() - q.y()), error) << text(found);
        ASSERT_LE(std::hypot(p.x() - i.point.x(), p.y() - i.point.y()), error) << text(found);
        if (i.kind == IntersectionKind::overlap) continue;
        ASSERT_TRUE(i.a_parameters.start() > i.a_parameters.end() || i.a_parameters.inBound(i.a.t))
            << text(found);
        ASSERT_TRUE(i.b_parameters.start() > i.b_parameters.end() || i.b_parameters.inBound(i.b.t))
            << text(found);
    }
}

struct Expected {
    double t, s;
    int order;
    double accuracy;
};

// Compares with the places that are known; ends of the curves may be among them.
void expect_places(const Curve& a, const Curve& b, std::vector<Expected> places,
                   const std::string& input) {
    const std::vector<CurveIntersection> found = intersections(a, b);
    expect_consistent(a, b, found);
    std::sort(places.begin(), places.end(),
              [](const Expected& x, const Expected& y) { return x.t < y.t; });
    ASSERT_EQ(found.size(), places.size()) << text(found) << input;
    for (std::size_t i = 0; i < places.size(); ++i) {
        const CurveIntersection& at = found[i];
        const Expected& place = places[i];
        ASSERT_NEAR(at.a.t, place.t, place.accuracy) << text(found) << input;
        ASSERT_NEAR(at.b.t, place.s, place.accuracy) << text(found) << input;
        ASSERT_NE(at.kind, IntersectionKind::unresolved) << text(found) << input;
        ASSERT_EQ(at.order, place.order) << text(found) << input;
        if (at.kind == IntersectionKind::end) continue;
        const auto kind =
            place.order % 2 == 0 ? IntersectionKind::crossing : IntersectionKind::touching;
        ASSERT_EQ(at.kind, kind) << text(found) << input;
        ASSERT_NE(at.before * at.after, 0) << text(found) << input;
    }
}

TEST(Intersections, ARepeatedSearchAllocatesNothing) {
    Random random(16);
    std::vector<Row> rows;
    for (int i = 0; i < 4; ++i)
        for (int k = 0; k < 4; ++k) {
            if (k == 0) rows.emplace_back();
            const bool joined = k == 0 && i > 0;
            const Row last =
                joined ? Row(rows[std::size_t(i - 1)].end() - 3, rows[std::size_t(i - 1)].end())
                       : Row{random.uniform(-1, 1), random.uniform(-1, 1), 1.0};
            rows.back().insert(rows.back().end(), last.begin(), last.end());
        }
    std::vector<Row> turned = rows;
    for (Row& row : turned)
        for (std::size_t i = 0; i < row.size(); i += 3)
            std::swap(row[i], row[i + 1]);
    const Curve a = prepared(rows), b = prepared(turned), part = prepared(rows[1]);
    std::vector<CurveIntersection> found;
    for (const Curve* other : {&b, &part, &a}) { // crossings, a stretch, the curve itself
        const auto search = [&] {
            other == &a ? self_intersections(a, found) : intersections(a, *other, found);
        };
        search();
        EXPECT_FALSE(found.empty());
        const long before = velm_test::allocations();
        search();
        EXPECT_EQ(velm_test::allocations(), before);
    }
}

TEST(Intersections, PublishedPairs) {
    std::ifstream file(VELM_REAL_DATA "/bezier/curve_intersections.txt");
    std::string line, head;
    std::optional<Curve> a, b;
    std::vector<std::array<double, 4>> places;
    int pairs = 0;
    const auto check = [&] {
        if (!a) return;
        SCOPED_TRACE(head);
        ++pairs;
        const std::vector<CurveIntersection> found = intersections(*a, *b);
        expect_consistent(*a, *b, found);
        // One pair coincides from the first to the second of its places.
        if (found.size() == 1 && found[0].kind == IntersectionKind::overlap) {
            ASSERT_EQ(places.size(), 2u);
            EXPECT_NEAR(found[0].a_parameters.start(), places[0][0], 1e-12);
            EXPECT_NEAR(found[0].a_parameters.end(), places[1][0], 1e-12);
            EXPECT_NEAR(found[0].b_parameters.start(), places[0][1], 1e-12);
            EXPECT_NEAR(found[0].b_parameters.end(), places[1][1], 1e-12);
            EXPECT_NE(head.find("coincident"), std::string::npos);
            return;
        }
        ASSERT_EQ(found.size(), places.size()) << text(found);
        bool tangent = false;
        for (std::size_t i = 0; i < found.size(); ++i) {
            EXPECT_NEAR(found[i].a.t, places[i][0], 1e-12);
            EXPECT_NEAR(found[i].b.t, places[i][1], 1e-12);
            EXPECT_NEAR(found[i].point.x(), places[i][2], 1e-12);
            EXPECT_NEAR(found[i].point.y(), places[i][3], 1e-12);
            tangent = tangent || found[i].order > 0;
        }
        EXPECT_EQ(tangent, head.find("tangent") != std::string::npos ||
                               head.find("coincident") != std::string::npos)
            << text(found);
    };
    while (std::getline(file, line)) {
        velm_test::TextFields fields(line);
        const std::string word = fields.word();
        const Row numbers = fields.rest();
        if (word == "pair") {
            check();
            head = line;
            a.reset();
            places.clear();
        } else if (word == "c1" || word == "c2") {
            Row row;
            for (std::size_t i = 0; i + 1 < numbers.size(); i += 2)
                row.insert(row.end(), {numbers[i], numbers[i + 1], 1.0});
            (word == "c1" ? a : b) = prepared(row);
        } else if (word == "sol") {
            places.push_back({numbers[0], numbers[1], numbers[2], numbers[3]});
        }
    }
    check();
    EXPECT_EQ(pairs, 36);
}

// Two graphs whose difference has chosen zeros, one of them of order 1 to 5, in any position, size
// and parameter, of raised degree or not.
TEST(Intersections, ChosenPlacesAndOrdersOfContact) {
    Random random(11);
    for (int round = 0; round < repeats(40000); ++round) {
        const int multiplicity = round % 6;
        std::vector<double> difference{random.uniform(0.5, 2.0) * (random.below(2) != 0 ? 1 : -1)};
        std::vector<std::pair<double, int>> zeros;
        const int most = multiplicity > 2 ? 2 : 5;
        double x = random.uniform(0.05, 0.3);
        for (int i = 0; i < most && x < 0.95; ++i) {
            const int m = i == 0 ? multiplicity : 1;
            for (int k = 0; k < m; ++k)
                difference = product(difference, {-x, 1.0});
            if (m > 0) zeros.push_back({x, m});
            x += random.uniform(multiplicity > 2 ? 0.4 : 0.1, 0.5);
        }
        const double size = std::pow(10.0, random.uniform(-6, 6));
        std::vector<double> base(std::size_t(1 + random.below(4)));
        for (double& c : base)
            c = random.uniform(-1, 1);
        std::vector<double> other = base;
        other.resize(std::max(base.size(), difference.size()), 0.0);
        for (std::size_t i = 0; i < difference.size(); ++i)
            other[i] += difference[i];
        Row row_a = graph(base), row_b = graph(other);
        if (random.below(3) == 0) elevate(row_a, 1 + random.below(3));
        const bool rational = random.below(2) == 0;
        const Reparameter of_a{rational ? random.uniform(0.5, 2) : 1.0},
            of_b{rational ? random.uniform(0.5, 2) : 1.0};
        const Similarity place = Similarity::random(random, size);
        for (Row* row : {&row_a, &row_b})
            place.apply(*row);
        of_a.apply(row_a);
        of_b.apply(row_b);
        std::vector<Expected> expected;
        for (const auto& [zero, m] : zeros)
            expected.push_back({of_a.parameter_of(zero), of_b.parameter_of(zero), m - 1,
                                m == 1   ? 1e-11
                                : m == 2 ? 1e-9
                                         : 1e-2});
        expect_places(prepared(row_a), prepared(row_b), expected, text(row_a) + text(row_b));
        if (HasFatalFailure()) return;
    }
}

// Circles and ellipses against rational cubics, by the roots of one polynomial.
TEST(Intersections, ConicsAgainstPolynomialRoots) {
    Random random(12);
    const auto binomial = [](int n, int k) {
        double result = 1.0;
        for (int i = 0; i < k; ++i)
            result = result * (n - i) / (i + 1);
        return result;
    };
    for (int round = 0; round < repeats(40000); ++round) {
        const int n = 1 + random.below(4);
        Row row;
        for (int i = 0; i <= n; ++i) {
            const double w = n == 1 || round % 2 != 0 ? 1.0 : random.uniform(0.4, 2.5);
            row.insert(row.end(), {random.uniform(-2, 2) * w, random.uniform(-2, 2) * w, w});
        }
        const double radius = random.uniform(0.3, 1.8);
        // x^2 + y^2 - r^2 w^2 in the Bernstein basis.
        std::vector<double> g(std::size_t(2 * n + 1), 0.0);
        for (int i = 0; i <= n; ++i)
            for (int k = 0; k <= n; ++k) {
                const double* p = row.data() + 3 * i;
                const double* q = row.data() + 3 * k;
                g[std::size_t(i + k)] +=
                    binomial(n, i) * binomial(n, k) / binomial(2 * n, i + k) *
                    (p[0] * q[0] + p[1] * q[1] - radius * radius * p[2] * q[2]);
            }
        const auto roots = velm::real_roots_bernstein(g, {0.0, 1.0}, 1e-14);
        const bool hard = std::any_of(roots.begin(), roots.end(), [](const velm::RealRoot& root) {
            return root.multiplicity != 1 || root.value < 1e-9 || root.value > 1.0 - 1e-9;
        });
        if (hard) continue;
        std::vector<Expected> expected;
        for (const velm::RealRoot& root : roots) {
            const ERPoint2D p = prepared(row)(root.value);
            double angle = std::atan2(p.y(), p.x());
            if (angle < 0.0) angle += 2.0 * std::numbers::pi;
            // What both take as roundings of their data differs by some 10.
            const double accuracy = 1e-12 + 16.0 * (root.upper - root.lower);
            expected.push_back({root.value, angle, 0, accuracy});
        }
        const Curve circle = *velm::prepare(ERCircle2D({0.0, 0.0}, radius));
        expect_places(prepared(row), circle, expected, text(row));
        if (HasFatalFailure()) return;
    }
}

// A curve and its mirror image meet at the places on the mirror, and in pairs.
TEST(Intersections, MirroredCopies) {
    Random random(13);
    for (int round = 0; round < repeats(20000); ++round) {
        std::vector<Row> rows, mirrored;
        const int spans = 1 + random.below(4);
        const double c = random.uniform(-0.5, 0.5);
        for (int i = 0; i < spans; ++i) {
            Row row;
            for (int k = 0; k <= 3; ++k) {
                const double w = round % 2 == 0 ? 1.0 : random.uniform(0.5, 2.0);
                row.insert(row.end(), {random.uniform(-1, 1) * w, random.uniform(-1, 1) * w, w});
            }
            if (i > 0) std::copy_n(rows.back().end() - 3, 3, row.begin());
            rows.push_back(row);
            for (std::size_t k = 1; k < row.size(); k += 3)
                row[k] = 2.0 * c * row[k + 1] - row[k];
            mirrored.push_back(row);
        }
        const Curve a = prepared(rows), b = prepared(mirrored);
        std::vector<velm::CurveCrossing<2>> on_mirror;
        a.crossings({0.0, c}, {1.0, 0.0}, on_mirror);
        const std::vector<CurveIntersection> found = intersections(a, b);
        expect_consistent(a, b, found);
        std::vector<double> fixed;
        std::size_t paired = 0;
        for (const CurveIntersection& i : found) {
            if (std::fabs(i.a.t - i.b.t) < 1e-9) {
                fixed.push_back(i.a.t);
                continue;
            }
            paired += std::any_of(found.begin(), found.end(), [&](const CurveIntersection& k) {
                return std::fabs(i.a.t - k.b.t) < 1e-8 && std::fabs(i.b.t - k.a.t) < 1e-8;
            });
        }
        ASSERT_EQ(fixed.size() + paired, found.size()) << text(found) << round;
        ASSERT_EQ(fixed.size(), on_mirror.size()) << text(found) << round;
        for (std::size_t i = 0; i < fixed.size(); ++i)
            ASSERT_NEAR(fixed[i], on_mirror[i].t, 1e-8) << text(found) << round;
    }
}

// A stretch in common is one interval, however the two curves describe it.
TEST(Intersections, OverlapsAreIntervals) {
    Random random(14);
    for (int round = 0; round < repeats(10000); ++round) {
        const int n = 2 + random.below(3);
        Row row;
        double angle = random.uniform(-3, 3), x = 0.0, y = 0.0; // no loop: it turns by little
        for (int i = 0; i <= n; ++i) {
            const double w = round % 3 == 0 ? 1.0 : random.uniform(0.5, 2.0);
            row.insert(row.end(), {x * w, y * w, w});
            x += std::cos(angle);
            y += std::sin(angle);
            angle += random.uniform(-0.8, 0.8);
        }
        // b is a part of a, or goes on beyond it, the other way round or not, of raised degree, in
        // two pieces, in another parameter.
        double from = random.uniform(-0.3, 0.6), to = from + random.uniform(0.3, 0.9);
        if (round % 4 == 0) from = 0.0;
        if (round % 5 == 0) to = 1.0;
        const auto part = [&](double low, double high) {
            Row cut = row;
            velm::detail::restrict_row({cut.data(), n + 1, 3}, low, high);
            return cut;
        };
        const double middle = 0.5 * (from + to);
        std::vector<Row> rows{part(from, middle), part(middle, to)};
        for (Row& piece : rows)
            elevate(piece, random.below(3));
        const bool reverse = random.below(2) == 0;
        if (reverse) {
            std::swap(rows[0], rows[1]);
            for (Row& piece : rows)
                for (int i = 0; 2 * i < degree(piece); ++i)
                    std::swap_ranges(piece.begin() + 3 * i, piece.begin() + 3 * i + 3,
                                     piece.end() - 3 * (i + 1));
        }
        if (std::any_of(rows.begin(), rows.end(), [](const Row& piece) {
                for (std::size_t i = 2; i < piece.size(); i += 3)
                    if (!(piece[i] > 0.1)) return true;
                return false;
            }))
            continue; // beyond its ends the curve may go through infinity
        const Curve a = prepared(row), b = prepared(rows);
        const std::vector<CurveIntersection> found = intersections(a, b);
        const double low = std::max(from, 0.0), high = std::min(to, 1.0);
        const auto on_b = [&](double t) {
            const double s = 2.0 * (t - from) / (to - from);
            return reverse ? 2.0 - s : s;
        };
        const auto overlap = std::find_if(found.begin(), found.end(), [](const auto& i) {
            return i.kind == IntersectionKind::overlap;
        });
        ASSERT_NE(overlap, found.end()) << text(found) << text(row) << from << ' ' << to;
        EXPECT_NEAR(overlap->a_parameters.start(), low, 1e-12);
        EXPECT_NEAR(overlap->a_parameters.end(), high, 1e-12);
        EXPECT_NEAR(overlap->b_parameters.start(), on_b(low), 1e-12);
        EXPECT_NEAR(overlap->b_parameters.end(), on_b(high), 1e-12);
        EXPECT_EQ(overlap->same_direction, !reverse);
        for (const CurveIntersection& i : found) // b may come back where it goes on beyond a
            ASSERT_TRUE(&i == &*overlap || std::fabs(on_b(i.a.t) - i.b.t) > 1e-3) << text(found);
    }
}

TEST(Intersections, NastyPairs) {
    const auto line = [](double x0, double y0, double x1, double y1) {
        return prepared({x0, y0, 1, x1, y1, 1});
    };
    const auto only = [](const Curve& a, const Curve& b, IntersectionKind kind, int order) {
        const std::vector<CurveIntersection> found = intersections(a, b);
        expect_consistent(a, b, found);
        ASSERT_EQ(found.size(), 1u) << text(found);
        EXPECT_EQ(found[0].kind, kind) << text(found);
        EXPECT_TRUE(order < 0 || found[0].order == order) << text(found);
    };
    // A cusp at the origin, ((t - 1/3)^2, (t - 1/3)^3).
    std::vector<double> square{1.0 / 9, -2.0 / 3, 1.0}, cube{-1.0 / 27, 1.0 / 3, -1.0, 1.0};
    Row cusp(12, 0.0);
    const double one[] = {1.0};
    velm::detail::set_from_power(square, 0, {cusp.data(), 4, 3});
    velm::detail::set_from_power(cube, 1, {cusp.data(), 4, 3});
    velm::detail::set_from_power(one, 2, {cusp.data(), 4, 3});
    const Curve tip = prepared(cusp);
    only(tip, line(0.0, -1.0, 0.0, 1.0), IntersectionKind::touching, -1);
    only(tip, line(-1.0, -1.3, 1.0, 1.3), IntersectionKind::touching, -1);
    only(tip, line(-1.0, 0.0, 1.0, 0.0), IntersectionKind::crossing, -1);
    only(tip, line(-1.0, 0.0, 0.0, 0.0), IntersectionKind::end, -1);
    Row mirrored = cusp;
    for (std::size_t i = 0; i < mirrored.size(); i += 3)
        mirrored[i] = -mirrored[i];
    only(tip, prepared(mirrored), IntersectionKind::touching, -1);
    EXPECT_TRUE(intersections(tip, line(-1.0, -1.3, 1.0, 1.3 - 1e-9), {}).size() >= 1u);

    // Poles that repeat, corners, and what meets there.
    const Curve stopped = prepared({0, 0, 1, 0, 0, 1, 1, 0, 1, 1, 1, 1, 1, 1, 1});
    only(stopped, line(-1.0, -1.0, 0.0, 0.0), IntersectionKind::end, -1);
    only(stopped, line(1.0, 2.0, 1.0, 1.0), IntersectionKind::end, -1);
    const Curve corner = prepared(std::vector<Row>{{0, 0, 1, 1, 0, 1}, {1, 0, 1, 1, 1, 1}});
    only(corner, line(0.5, -0.5, 1.5, 0.5), IntersectionKind::touching, 0);
    only(corner, line(0.5, 0.5, 1.5, -0.5), IntersectionKind::crossing, 0);
    only(line(0.5, 0.5, 1.5, -0.5), corner, IntersectionKind::crossing, 0);
    only(corner, corner, IntersectionKind::overlap, -1);

    // A whole circle: its seam, a chord through the seam, itself, a touching one.
    const Curve circle = *velm::prepare(ERCircle2D({0.0, 0.0}, 1.0));
    EXPECT_EQ(intersections(circle, line(0.5, -1.0, 1.5, 1.0)).size(), 2u);
    only(circle, line(1.0, -1.0, 1.0, 1.0), IntersectionKind::touching, 1);
    only(circle, *velm::prepare(ERCircle2D({2.5, 0.0}, 1.5)), IntersectionKind::touching, 1);
    only(circle, *velm::prepare(ERCircle2D({0.5, 0.0}, 0.5)), IntersectionKind::touching, 1);
    only(circle, circle, IntersectionKind::overlap, -1);
    only(circle, *velm::prepare(ERArc2D({0.0, 0.0}, 1.0, 5.0, 7.0)), IntersectionKind::overlap, -1);

    // Almost parallel, almost touching.
    only(line(0, 0, 1, 0), line(0, -1e-9, 1, 2e-9), IntersectionKind::crossing, 0);
    EXPECT_EQ(intersections(circle, *velm::prepare(ERCircle2D({2.0 - 1e-10, 0.0}, 1.0))).size(),
              2u);
    EXPECT_EQ(intersections(circle, *velm::prepare(ERCircle2D({2.0 + 1e-10, 0.0}, 1.0))).size(),
              0u);
    EXPECT_EQ(intersections(circle, *velm::prepare(ERCircle2D({0.0, 0.0}, 1.0 + 1e-12))).size(),
              0u);

    // A budget that ends says so, and what it leaves out holds the crossing.
    std::vector<CurveIntersection> found;
    velm::IntersectionOptions scarce;
    scarce.budget = 1;
    EXPECT_FALSE(intersections(circle, line(0.3, -2.0, 0.5, 2.0), found, scarce));
    EXPECT_TRUE(std::any_of(found.begin(), found.end(), [](const CurveIntersection& i) {
        return i.kind == IntersectionKind::unresolved;
    }));
    // A tolerance makes of two crossings and a gap one contact.
    velm::IntersectionOptions wide;
    wide.tolerance = 1e-6;
    for (const double gap : {-1e-7, 1e-7}) {
        found = intersections(circle, *velm::prepare(ERCircle2D({2.0 + gap, 0.0}, 1.0)), wide);
        ASSERT_EQ(found.size(), 1u) << text(found);
        EXPECT_EQ(found[0].kind, IntersectionKind::touching) << text(found);
    }
}

TEST(Intersections, LongCurvesApartEndEarly) {
    // Cubics along y = sin x and above it, on both sides of each other's boxes.
    const auto wave = [](double height) {
        std::vector<Row> rows;
        const double step = 0.5, h = step / 3.0;
        for (int i = 0; i < 200; ++i) {
            const double x = i * step, next = x + step;
            const double y = std::sin(x) + height, last = std::sin(next) + height;
            rows.push_back({x, y, 1, x + h, y + h * std::cos(x), 1, next - h,
                            last - h * std::cos(next), 1, next, last, 1});
        }
        return prepared(rows);
    };
    std::vector<CurveIntersection> found;
    velm::IntersectionOptions few;
    few.budget = 1000; // five parts for each span
    EXPECT_TRUE(intersections(wave(0.0), wave(0.02), found, few)) << text(found);
    EXPECT_TRUE(found.empty()) << text(found);
}

TEST(Intersections, CompositeCurves) {
    // A stadium, its second arc appended against its direction.
    ERCompCurve2D stadium;
    const double quarter = 0.5 * std::numbers::pi;
    ASSERT_TRUE(stadium.append(ERSegment2D({0, 0}, {4, 0}), 1e-9));
    ASSERT_TRUE(stadium.append(ERArc2D({4, 1}, 1.0, -quarter, quarter), 1e-9));
    ASSERT_TRUE(stadium.append(ERSegment2D({4, 2}, {0, 2}), 1e-9));
    ASSERT_TRUE(stadium.append(ERArc2D({0, 1}, 1.0, 3.0 * quarter, quarter), 1e-9));
    const Curve curve = velm::prepare(stadium).value();
    struct {
        ERPoint2D from, to;
        std::vector<ERPoint2D> places; // along the line
        IntersectionKind kind;
    } const lines[] = {
        {{4.6, -1}, {4.6, 3}, {{4.6, 0.2}, {4.6, 1.8}}, IntersectionKind::crossing},
        {{-2, 1}, {6, 1}, {{-1, 1}, {5, 1}}, IntersectionKind::crossing},
        {{4, -1}, {4, 3}, {{4, 0}, {4, 2}}, IntersectionKind::crossing}, // at joints
        {{0, -1}, {0, 3}, {{0, 0}, {0, 2}}, IntersectionKind::crossing}, // at the seam
        {{5, -1}, {5, 3}, {{5, 1}}, IntersectionKind::touching},
        {{-1, 2}, {5, 2}, {{0, 2}}, IntersectionKind::overlap},
        {{-1, 2.1}, {5, 2.1}, {}, IntersectionKind::crossing},
    };
    for (const auto& line : lines) {
        const Curve other = velm::prepare(ERSegment2D(line.from, line.to)).value();
        const std::vector<CurveIntersection> found = intersections(other, curve);
        expect_consistent(other, curve, found);
        ASSERT_EQ(found.size(), line.places.size()) << text(found);
        for (std::size_t i = 0; i < found.size(); ++i) {
            EXPECT_EQ(found[i].kind, line.kind) << text(found);
            EXPECT_LE(distance(found[i].point, line.places[i]), 1e-14) << text(found);
        }
    }
    EXPECT_TRUE(self_intersections(curve).empty());
}

// The loop of a polynomial cubic, by the closed form of its parameters' sum and product.
bool has_loop(const Row& row) {
    double c[2][4];
    velm::detail::power_coefficients({row.data(), 4, 3}, 0, c[0]);
    velm::detail::power_coefficients({row.data(), 4, 3}, 1, c[1]);
    const auto minor = [&](std::size_t i, std::size_t k) {
        return c[0][i] * c[1][k] - c[0][k] * c[1][i];
    };
    // c1 + c2 q + c3 (q^2 - p) = 0 for q = s + t, p = s t.
    const double q = -minor(1, 3) / minor(2, 3);
    const double p = q * q + minor(1, 2) / minor(3, 2);
    const double discriminant = 0.25 * q * q - p;
    if (!(discriminant > 0.0)) return false;
    const double s = 0.5 * q - std::sqrt(discriminant), t = 0.5 * q + std::sqrt(discriminant);
    return s > 0.0 && t < 1.0;
}

TEST(Intersections, OfACurveWithItself) {
    Random random(15);
    for (int round = 0; round < repeats(20000); ++round) {
        std::vector<Row> rows;
        const int count = 1 + random.below(5);
        for (int i = 0; i < count; ++i) {
            Row row;
            for (int k = 0; k <= 3; ++k)
                row.insert(row.end(), {random.uniform(-1, 1), random.uniform(-1, 1), 1.0});
            if (i > 0) std::copy_n(rows.back().end() - 3, 3, row.begin());
            rows.push_back(row);
        }
        const bool closed = count > 2 && random.below(2) == 0;
        if (closed) std::copy_n(rows.front().begin(), 3, rows.back().end() - 3);
        std::size_t expected = 0;
        for (int i = 0; i < count; ++i) {
            if (has_loop(rows[std::size_t(i)])) ++expected;
            for (int k = i + 1; k < count; ++k) {
                const auto found =
                    intersections(prepared(rows[std::size_t(i)]), prepared(rows[std::size_t(k)]));
                expected += found.size();
                if (k == i + 1) --expected; // the joint
                if (closed && i == 0 && k == count - 1) --expected;
            }
        }
        const Curve curve = prepared(rows);
        const std::vector<CurveIntersection> found = self_intersections(curve);
        expect_consistent(curve, curve, found);
        ASSERT_EQ(found.size(), expected) << round << '\n' << text(found);
        for (const CurveIntersection& i : found)
            ASSERT_EQ(i.kind, IntersectionKind::crossing) << round << '\n' << text(found);
    }
    // A figure eight whose seam is at its crossing, a line that comes back, an ellipse.
    std::vector<Row> eight;
    const int parts = 24;
    const auto point = [](double a) { return ERPoint2D(3.0 + std::sin(a), 0.5 * std::sin(2 * a)); };
    for (int i = 0; i < parts; ++i) {
        const double step = 2.0 * std::numbers::pi / parts, a = i * step,
                     b = (i + 1) % parts * step;
        const ERPoint2D p = point(a), q = point(b);
        const double h = step / 3.0;
        eight.push_back({p.x(), p.y(), 1, p.x() + h * std::cos(a), p.y() + h * std::cos(2 * a), 1,
                         q.x() - h * std::cos(b), q.y() - h * std::cos(2 * b), 1, q.x(), q.y(), 1});
    }
    std::vector<CurveIntersection> found = self_intersections(prepared(eight));
    ASSERT_EQ(found.size(), 1u) << text(found);
    EXPECT_EQ(found[0].kind, IntersectionKind::crossing);
    EXPECT_EQ(found[0].a.t, 0.0);
    EXPECT_EQ(found[0].b.t, 12.0);
    found = self_intersections(prepared({0, 0, 1, 1, 0, 1, 0, 0, 1}));
    ASSERT_EQ(found.size(), 1u) << text(found);
    EXPECT_EQ(found[0].kind, IntersectionKind::overlap);
    EXPECT_TRUE(self_intersections(*velm::prepare(ERCircle2D({1.0, 2.0}, 3.0))).empty());
}

} // namespace
