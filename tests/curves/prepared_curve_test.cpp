#include "velm/curves/prepared_curve.h"

#include "support/allocation_count.h"
#include "support/geometry.h"
#include "support/random_curves.h"
#include "support/text_fields.h"
#include "support/threads.h"
#include "velm/curves/detail/bernstein_rows.h"
#include "velm/curves/detail/bernstein_signs.h"
#include "velm/curves/nurbs_curve.h"
#include "velm/curves/prepare.h"
#include "velm/numerics/real_roots.h"
#include "velm/wireframe/closest_point.h"

namespace {

using velm::BezierPiece;
using velm::FootKind;
using velm::PreparedCurve;
using velm_test::Random;
using velm_test::repeats;

template <int N>
using Point = typename velm::DimensionOf<N>::Point;
template <int N>
using Vector = typename velm::DimensionOf<N>::Vector;

template <int N>
double distance(const Point<N>& a, const Point<N>& b) {
    double sum = 0.0;
    for (int axis = 0; axis < N; ++axis)
        sum += (a[axis] - b[axis]) * (a[axis] - b[axis]);
    return std::sqrt(sum);
}

using Row = std::vector<double>;

// Random poles in a box of the given size, weighted.
template <int N>
Row random_row(Random& random, int degree, double weight_range, double size = 1.0) {
    Row row;
    for (int i = 0; i <= degree; ++i) {
        const double w = std::pow(weight_range, random.uniform(-1, 1));
        for (int axis = 0; axis < N; ++axis)
            row.push_back(size * w * random.uniform(-1, 1));
        row.push_back(w);
    }
    return row;
}

template <int N>
auto prepared(const std::vector<Row>& rows) {
    return velm_test::prepared_rows<N>(rows);
}

// A chain of pieces of degree 3: each starts where the one before it ends, smoothly or not.
template <int N>
std::vector<Row> random_chain(Random& random, int count, double weight_range, bool smooth) {
    std::vector<Row> rows;
    for (int i = 0; i < count; ++i) {
        Row row = random_row<N>(random, 3, weight_range, 0.5 * std::sqrt(count));
        if (i > 0) {
            const Row& before = rows.back();
            for (int k = 0; k <= N; ++k) {
                const auto j = static_cast<std::size_t>(k);
                row[j] = before[3 * (N + 1) + j];
                if (smooth)
                    row[N + 1 + j] = 2.0 * before[3 * (N + 1) + j] - before[2 * (N + 1) + j];
            }
            if (!(row[2 * N + 1] > 0.05)) row[2 * N + 1] = 0.05; // the weight may not vanish
        }
        rows.push_back(row);
    }
    return rows;
}

// Reads tests/curves/data/feet.txt.
struct ExactFeet {
    std::string line;
    int dimension = 0;
    Row row;
    std::vector<double> point;
    double least = 0.0;
    std::vector<std::pair<double, int>> feet; // parameter and multiplicity
};

std::vector<ExactFeet> exact_feet() {
    std::vector<ExactFeet> cases;
    std::ifstream file(VELM_TEST_FOLDER "/curves/data/feet.txt");
    ExactFeet next;
    while (std::getline(file, next.line)) {
        velm_test::TextFields fields(next.line);
        const std::string word = fields.word();
        const std::vector<double> v = fields.rest();
        if (word == "curve") {
            next.dimension = static_cast<int>(v[0]);
            next.row.assign(v.begin() + 2, v.end());
        } else if (word == "point") {
            auto at = v.begin() + next.dimension;
            next.point.assign(v.begin(), at);
            next.least = *at++;
            next.feet.clear();
            for (; at != v.end(); at += 2)
                next.feet.emplace_back(at[0], static_cast<int>(at[1]));
            cases.push_back(next);
        }
    }
    return cases;
}

template <int N>
void check_exact_feet(const ExactFeet& exact) {
    SCOPED_TRACE(exact.line);
    const auto curve = prepared<N>({exact.row});
    ASSERT_TRUE(curve);
    const Point<N> p =
        Point<N>::each([&](int axis) { return exact.point[static_cast<std::size_t>(axis)]; });
    const auto nearest = curve->nearest(p);
    EXPECT_TRUE(nearest.certified);
    const double accuracy = 1e-12 * curve->size() + 1e-15 * exact.least;
    EXPECT_NEAR(nearest.distance, exact.least, accuracy);
    EXPECT_LE(nearest.lower, exact.least);
    EXPECT_EQ(curve->nearest_from(p, 0.7).certified, true);
    EXPECT_NEAR(curve->nearest_from(p, 0.7).distance, exact.least, accuracy);

    // Each exact foot lies in one interval; the signs tell the parity of what is inside.
    std::vector<velm::CurveFoot<N>> feet;
    curve->perpendicular_feet(p, feet);
    std::size_t next = 0;
    for (const auto& foot : feet) {
        int inside = 0;
        for (; next < exact.feet.size() && exact.feet[next].first <= foot.parameters.end();
             ++next) {
            EXPECT_GE(exact.feet[next].first, foot.parameters.start()) << "a foot is lost";
            inside += exact.feet[next].second;
        }
        EXPECT_NEAR(foot.distance, distance<N>((*curve)(foot.t), p), accuracy);
        const bool at_end = foot.before == 0 || foot.after == 0;
        EXPECT_TRUE(at_end || inside > 0) << "a foot is invented at " << foot.t;
        EXPECT_TRUE(at_end || (inside % 2 == 1) == (foot.before != foot.after)) << foot.t;
    }
    EXPECT_EQ(next, exact.feet.size()) << "feet are lost";
}

TEST(PreparedCurve, FindsExactlyTheFeetOfRationalArithmetic) {
    const std::vector<ExactFeet> cases = exact_feet();
    ASSERT_GT(cases.size(), 250u);
    for (const ExactFeet& exact : cases) {
        exact.dimension == 2 ? check_exact_feet<2>(exact) : check_exact_feet<3>(exact);
    }
}

// The least distance of p from 600 points of the curve, between the neighbours of each near minimum
// from ever closer ones.
template <int N>
class BruteForce {
public:
    explicit BruteForce(const PreparedCurve<N>& curve) : curve_(curve), points_(count + 1) {
        std::vector<double> t(count + 1);
        for (int i = 0; i <= count; ++i)
            t[std::size_t(i)] = at(i);
        curve.evaluate(t, points_);
    }

    double least(const Point<N>& p) const {
        std::vector<double> d;
        double best = HUGE_VAL, longest = 0.0;
        for (std::size_t i = 0; i < points_.size(); ++i) {
            d.push_back(distance<N>(points_[i], p));
            best = std::min(best, d[i]);
            if (i > 0) longest = std::max(longest, distance<N>(points_[i], points_[i - 1]));
        }
        for (int i = 0; i <= count; ++i)
            if (d[std::size_t(i)] <= best + longest) {
                double middle = at(i), reach = curve_.domain().amplitude() / count;
                for (; reach > 1e-12; reach /= 3)
                    for (const double t : {middle - reach, middle + reach})
                        if (distance<N>(curve_(t), p) < distance<N>(curve_(middle), p)) middle = t;
                best = std::min(best, distance<N>(curve_(middle), p));
            }
        return best;
    }

private:
    static constexpr int count = 600;
    double at(int i) const { return curve_.domain()(static_cast<double>(i) / count); }

    const PreparedCurve<N>& curve_;
    std::vector<Point<N>> points_;
};

template <int N>
void compare_with_brute_force(Random& random, int curves, int points) {
    for (int k = 0; k < curves; ++k) {
        const double weights = k % 3 == 0 ? 1.0 : 10.0;
        const auto curve = prepared<N>(random_chain<N>(random, 1 + k % 7, weights, k % 2 == 0));
        ASSERT_TRUE(curve);
        const BruteForce<N> brute(*curve);
        for (int i = 0; i < points; ++i) {
            Point<N> p = random.value<Point<N>>(1.5);
            if (i % 4 == 0) { // near or on the curve
                const double t = random.uniform(curve->domain().start(), curve->domain().end());
                p = (*curve)(t) + p * (i % 8 == 0 ? 0.0 : 1e-3);
            }
            const double hint = random.uniform(0.0, 7.0);
            const auto nearest = i % 2 == 0 ? curve->nearest(p) : curve->nearest_from(p, hint);
            const double least = brute.least(p);
            const double accuracy = 1e-12 * curve->size();
            ASSERT_TRUE(nearest.certified && nearest.distance <= least + accuracy &&
                        nearest.lower <= least + 1e-14 * curve->size() &&
                        distance<N>(nearest.point, p) <= nearest.distance + accuracy &&
                        distance<N>(nearest.point, (*curve)(nearest.t)) <= accuracy)
                << "curve " << k << ", point " << p << ": " << nearest.distance << " for " << least
                << ", lower " << nearest.lower;
        }
    }
}

// Newton's steps start anywhere and run into the bracket's ends: the zero is still one.
TEST(PreparedCurve, PolishedZerosAreZeros) {
    Random random(10);
    for (int k = 0; k < 20000; ++k) {
        std::vector<double> c;
        if (k == 0) // a bisection step of 8e-9 next to the bracket's end
            c = {-0.2662772126446209, -0.15927238423499063, -0.002814647966945083,
                 0.16648533054544062, 0.29339081300720549,  0.35932105167524836};
        for (int i = 0; k > 0 && i < 2 + k % 9; ++i)
            c.push_back(random.uniform(-1, 1) *
                        (k % 2 == 0 ? 1.0 : std::pow(10.0, random.uniform(-6, 0))));
        std::sort(c.begin(), c.end());
        if (!(c.front() < 0.0 && c.back() > 0.0)) continue;
        const double sign = k % 4 < 2 ? 1.0 : -1.0;
        for (double& x : c)
            x *= sign;
        const velm::detail::PolishedZero zero =
            velm::detail::polished_zero(c.data(), static_cast<int>(c.size()));
        const auto roots = velm::real_roots_bernstein(c);
        ASSERT_EQ(roots.size(), 1u);
        const double slack = 1e-14 * std::max(std::fabs(c.front()), std::fabs(c.back()));
        EXPECT_LE(std::fabs(zero.x - roots[0].value), 1e-12 + roots[0].upper - roots[0].lower) << k;
        double value = 0.0;
        velm::detail::row_value({c.data(), static_cast<int>(c.size()), 1}, zero.x, &value);
        EXPECT_LE(std::fabs(value), zero.residual + slack) << k;
    }
}

TEST(PreparedCurve, NearestPointsAreNoFartherThanBruteForce) {
    Random random(16);
    const int curves = std::max(20, repeats(1000));
    compare_with_brute_force<2>(random, curves / 2, repeats(1000000) / curves);
    compare_with_brute_force<3>(random, curves / 2, repeats(1000000) / curves);
}

// A prepared entity has the entity's points, derivatives and nearest points.
template <int N, class Entity>
void check_entity(Entity& entity) {
    const auto curve = velm::prepare(entity);
    ASSERT_TRUE(curve);
    Random random = Random::fixed(3);
    const ERLimites bound = entity.getBound();
    EXPECT_EQ(curve->domain(), bound);
    const double condition = 1.0 + 1.0 / bound.amplitude(); // of the second derivative
    const double size = curve->size() + distance<N>(curve->box().MinPoint(), Point<N>());
    for (int i = 0; i <= 200; ++i) {
        const double t = i < 2 ? bound(i) : random.uniform(bound.start(), bound.end());
        const auto expected = entity.PtCur(t);
        const auto found = curve->point_at(t);
        EXPECT_LE(distance<N>(found.point(), expected.point()), 4e-15 * size) << t;
        EXPECT_LE((found.tangente() - expected.tangente()).norme(), 2e-14 * size) << t;
        EXPECT_LE((found.second_derivative() - expected.second_derivative()).norme(),
                  2e-14 * size * condition)
            << t;

        const Point<N> p = random.value<Point<N>>(8);
        const double least = velm::closest_point(entity, p).distance;
        EXPECT_NEAR(curve->nearest(p).distance, least, 1e-14 * size) << p;
    }
}

TEST(PreparedCurve, EntitiesKeepTheirPointsAndParameters) {
    ERArc2D arc({1, 2}, 3, 0.3, 5.0), clockwise({-1, 2}, 2, 2.0, -1.0),
        sliver({100, 200}, 1000, 1.0, 1.0 + 3e-6);
    ERArcEllipse2D ellipse(3, 1, 0.4, {1, 1}, 0.2, 2.9);
    check_entity<2>(arc);
    check_entity<2>(clockwise);
    check_entity<2>(sliver);
    check_entity<2>(ellipse);
    ERArc3D lifted({1, 2, 3}, {1, 1, 1}, 2, -0.5, 4.0);
    ERArcEllipse3D tilted(ellipse, lifted.getRepere());
    check_entity<3>(lifted);
    check_entity<3>(tilted);

    ERSegment2D segment({1, 2}, {4, 6});
    const auto line = velm::prepare(segment);
    EXPECT_EQ((*line)(0.0), segment.getP1());
    EXPECT_EQ((*line)(1.0), segment.getP2());
    EXPECT_EQ(line->nearest({0, 0}).kind, FootKind::end);
    EXPECT_NEAR(line->nearest({2.5 - 4, 4 + 3}).distance, 5.0, 1e-15);
    EXPECT_FALSE(velm::prepare(ERArc2D({0, 0}, 1.0, 1.0, 1.0)));
    EXPECT_FALSE(velm::prepare(ERCircle2D({0, 0}, HUGE_VAL)));
}

TEST(PreparedCurve, FeetAtCentresJointsAndSeams) {
    std::vector<velm::CurveFoot<2>> feet;
    const auto circle = velm::prepare(ERCircle2D({1, 2}, 3));
    ASSERT_TRUE(circle->closed());
    circle->perpendicular_feet({1, 2}, feet);
    ASSERT_EQ(feet.size(), 1u);
    EXPECT_EQ(feet[0].kind, FootKind::continuum);
    EXPECT_EQ(feet[0].parameters, circle->domain());
    EXPECT_EQ(circle->nearest({1, 2}).kind, FootKind::continuum);
    EXPECT_TRUE(circle->nearest({1, 2}).certified);
    // In all directions, those of the seam and the joints included, two feet.
    for (int i = 0; i < 64; ++i) {
        const double angle = i * std::numbers::pi / 32;
        circle->perpendicular_feet({1 + std::cos(angle), 2 + std::sin(angle)}, feet);
        ASSERT_EQ(feet.size(), 2u) << angle;
        EXPECT_NEAR(feet[0].distance + feet[1].distance, 6.0, 1e-14);
        for (const auto& foot : feet)
            EXPECT_EQ(foot.kind, FootKind::interior);
    }
    // A square: a foot on each side, a maximum at each corner, the seam's included.
    const std::vector<Row> square{
        {0, 0, 1, 2, 0, 1}, {2, 0, 1, 2, 2, 1}, {2, 2, 1, 0, 2, 1}, {0, 2, 1, 0, 0, 1}};
    const auto outline = prepared<2>(square);
    ASSERT_TRUE(outline->closed());
    outline->perpendicular_feet({1, 1}, feet);
    ASSERT_EQ(feet.size(), 8u);
    int kinks = 0;
    for (const auto& foot : feet) {
        kinks += foot.kind == FootKind::kink ? 1 : 0;
        EXPECT_NEAR(foot.distance, foot.kind == FootKind::kink ? std::sqrt(2.0) : 1.0, 1e-15);
        EXPECT_EQ(foot.before, foot.kind == FootKind::kink ? 1 : -1);
    }
    EXPECT_EQ(kinks, 4);
    EXPECT_EQ(outline->nearest({3, -1}).kind, FootKind::kink);
    // Pieces that don't meet have ends there.
    const auto torn = prepared<2>({{0, 0, 1, 1, 0, 1}, {2, 0, 1, 3, 0, 1}});
    torn->perpendicular_feet({1.5, 1}, feet);
    EXPECT_TRUE(feet.empty());
    EXPECT_EQ(torn->nearest({1.25, 0}).kind, FootKind::end);
    torn->perpendicular_feet({1, 1}, feet);
    ASSERT_EQ(feet.size(), 1u);
    EXPECT_EQ(feet[0].kind, FootKind::end);
}

TEST(PreparedCurve, FeetAboveTheStartAreFoundThere) {
    Random random(8);
    std::vector<velm::CurveFoot<2>> feet;
    for (int k = 0; k < 400; ++k) {
        const Row row = random_row<2>(random, 3, 1.0);
        const double side = random.uniform(-1, 1);
        prepared<2>({row})->perpendicular_feet(
            {row[0] - side * (row[4] - row[1]), row[1] + side * (row[3] - row[0])}, feet);
        ASSERT_FALSE(feet.empty()) << k;
        EXPECT_EQ(feet[0].t, 0.0) << k;
        EXPECT_EQ(feet[0].kind, FootKind::end) << k;
    }
}

// A curve that is cut anywhere has the same feet as the whole, one of them on the cut.
TEST(PreparedCurve, CutsNeitherLoseNorDoubleFeet) {
    Random random(7);
    for (int k = 0; k < 300; ++k) {
        const Row row = random_row<2>(random, 3, k % 2 == 0 ? 1.0 : 5.0);
        const double cut = k % 3 == 0 ? 0.5 : random.uniform(0.1, 0.9);
        Row left = row, right = row; // de Casteljau
        for (std::size_t level = 1; level < 4; ++level) {
            for (std::size_t i = 0; i < 3 * (4 - level); ++i)
                right[i] = (1 - cut) * right[i] + cut * right[i + 3];
            std::copy_n(right.begin(), 3, left.begin() + static_cast<std::ptrdiff_t>(3 * level));
        }
        const BezierPiece whole{row, 0, 1};
        const BezierPiece halves[] = {{left, 0, cut}, {right, cut, 1}};
        const auto one = PreparedCurve<2>::from_pieces({&whole, 1});
        const auto two = PreparedCurve<2>::from_pieces(halves);
        const auto at = one->point_at(cut);
        for (const double side : {-1.0, -0.2, 0.0, 0.3, 2.0}) {
            const ERVector2D& tangent = at.tangente();
            const ERPoint2D p = at.point() + ERPoint2D(-tangent.j(), tangent.i()) * side;
            std::vector<velm::CurveFoot<2>> a, b;
            one->perpendicular_feet(p, a);
            two->perpendicular_feet(p, b);
            ASSERT_EQ(a.size(), b.size()) << "curve " << k << " side " << side;
            int on_the_cut = 0;
            for (std::size_t i = 0; i < a.size(); ++i) {
                EXPECT_NEAR(a[i].distance, b[i].distance, 1e-13) << k;
                EXPECT_EQ(a[i].before, b[i].before);
                on_the_cut +=
                    b[i].parameters.start() <= cut && cut <= b[i].parameters.end() ? 1 : 0;
            }
            EXPECT_EQ(on_the_cut, 1) << "curve " << k << " side " << side;
        }
    }
}

TEST(PreparedCurve, CrossingsAreTheRootsOfTheHeight) {
    Random random(9);
    std::vector<velm::CurveCrossing<3>> crossings;
    for (int k = 0; k < 1000; ++k) {
        const int degree = 1 + k % 9;
        const Row row = random_row<3>(random, degree, 10.0);
        const auto curve = prepared<3>({row});
        const ERPoint3D q = random.value<ERPoint3D>(0.5);
        const ERVector3D normal = random.direction<ERVector3D>();
        std::vector<double> heights;
        for (std::size_t i = 0; i < row.size(); i += 4)
            heights.push_back(normal.i() * (row[i] - q.x() * row[i + 3]) +
                              normal.j() * (row[i + 1] - q.y() * row[i + 3]) +
                              normal.k() * (row[i + 2] - q.z() * row[i + 3]));
        const auto roots = velm::real_roots_bernstein(heights);
        curve->crossings(q, normal, crossings);
        ASSERT_EQ(crossings.size(), roots.size()) << k;
        for (std::size_t i = 0; i < roots.size(); ++i) {
            EXPECT_NEAR(crossings[i].t, roots[i].value, 1e-9);
            EXPECT_NEAR(velm::detail::dot_product<3>(crossings[i].point - q, normal), 0.0, 1e-14);
            EXPECT_EQ(crossings[i].after, -crossings[i].before);
        }
    }
    // A tangent touches once, also at the seam; a line along a side is one stretch.
    const auto circle = velm::prepare(ERCircle2D({1, 2}, 3));
    std::vector<velm::CurveCrossing<2>> found;
    circle->crossings({4, 7}, {0, 5}, found);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].t, 0.0);
    EXPECT_EQ(found[0].before, found[0].after);
    const auto outline = prepared<2>({{0, 0, 1, 1, 1, 1}, {1, 1, 1, 2, 1, 1}, {2, 1, 1, 3, 3, 1}});
    outline->crossings({0, 1}, {1, 0}, found);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_TRUE(found[0].along);
    EXPECT_NEAR(found[0].parameters.start(), 1.0, 1e-14);
    EXPECT_NEAR(found[0].parameters.end(), 2.0, 1e-14);
    EXPECT_EQ(found[0].before, -1);
    EXPECT_EQ(found[0].after, 1);
}

// A homogeneous derivative by u of a piece of the plane in long doubles, and its terms' sizes.
struct ExactSum {
    long double value[3]{}, size[3]{};

    ExactSum(const velm::CurvePiece<2>& piece, long double u, int order) {
        constexpr int signs[3][3] = {{1, 0, 0}, {-1, 1, 0}, {1, -2, 1}};
        const int n = piece.degree;
        if (order > n) return;
        long double basis = std::pow(1.0L - u, n - order);
        for (int k = 0; k < order; ++k)
            basis *= n - k;
        for (int j = 0; j <= n - order; ++j) {
            for (int c = 0; c < 3; ++c) {
                for (int i = 0; i <= order; ++i) {
                    const long double term =
                        basis * signs[order][i] * piece.poles[std::size_t(3 * (j + i) + c)];
                    value[c] += term;
                    size[c] += std::fabs(term);
                }
            }
            basis *= u / (1.0L - u) * static_cast<long double>(n - order - j) / (j + 1.0L);
        }
    }
};

// Points and derivatives within the bounds that the header states, against long doubles.
TEST(PreparedCurve, EvaluationKeepsItsErrorBound) {
    Random random(11);
    long double worst[3]{};
    for (int k = 0; k < 12000; ++k) {
        const int degree = 1 + k % 20;
        const Row row = random_row<2>(random, degree, k % 3 == 0 ? 1.0 : 30.0);
        const auto curve = prepared<2>({row});
        ASSERT_TRUE(curve);
        const velm::CurvePlace place = curve->place(random.uniform(0, 1));
        const velm::CurvePiece<2> piece = curve->piece(place.piece);
        const auto found = curve->point_at(place);
        const long double length =
            static_cast<long double>(piece.parameters.end()) - piece.parameters.start();
        const ExactSum a(piece, place.u, 0), b(piece, place.u, 1), c(piece, place.u, 2);
        const long double w = a.value[2], rounding = (2 * degree + 6) * 0x1p-53L;
        for (int axis = 0; axis < 2; ++axis) {
            const long double x = a.value[axis] / w, dx = (b.value[axis] - b.value[2] * x) / w;
            const long double ddx = (c.value[axis] - 2 * b.value[2] * dx - c.value[2] * x) / w;
            const long double size = a.size[axis] / w + std::fabs(x);
            const long double slope =
                (b.size[axis] + b.size[2] * (std::fabs(x) + size)) / w + std::fabs(dx);
            const long double bend = (c.size[axis] + 2 * b.size[2] * (std::fabs(dx) + slope) +
                                      c.size[2] * (std::fabs(x) + size)) /
                                         w +
                                     std::fabs(ddx);
            const long double point = found.point()[axis];
            const long double errors[3] = {
                (std::fabs(point - (piece.origin[axis] + x)) - std::fabs(point) * 0x1p-53L) / size,
                std::fabs(found.tangente()[axis] * length - dx) / slope,
                std::fabs(found.second_derivative()[axis] * length * length - ddx) / bend};
            for (int order = 0; order < 3; ++order)
                worst[order] = std::max(worst[order], errors[order] / rounding);
        }
    }
    for (const long double most : worst)
        EXPECT_LE(most, 1.0L);
}

TEST(PreparedCurve, BatchesAgreeWithSinglePointsInAnyOrder) {
    Random random(12);
    const auto curve = prepared<3>(random_chain<3>(random, 40, 3.0, true));
    std::vector<double> t;
    for (int i = 0; i < 500; ++i)
        t.push_back(random.uniform(-1, 41));
    t.insert(t.end(), {0.0, 40.0, 7.0, 7.0, HUGE_VAL, -HUGE_VAL});
    std::vector<ERPoint3D> points(t.size());
    std::vector<ERVector3D> first(t.size()), second(t.size());
    for (int sorted = 0; sorted < 2; ++sorted) {
        curve->evaluate(t, points, first, second);
        for (std::size_t i = 0; i < t.size(); ++i) {
            const auto expected = curve->point_at(t[i]);
            EXPECT_EQ(points[i], expected.point());
            EXPECT_EQ(first[i], expected.tangente());
            EXPECT_EQ(second[i], expected.second_derivative());
            EXPECT_EQ(points[i], (*curve)(t[i]));
        }
        std::sort(t.begin(), t.end());
    }
}

TEST(PreparedCurve, RefusesWhatIsNotFinite) {
    const Row line{0, 0, 1, 1, 0, 1};
    const auto refused = [](const Row& row, double start = 0.0, double end = 1.0) {
        const BezierPiece piece{row, start, end};
        return !PreparedCurve<2>::from_pieces({&piece, 1});
    };
    EXPECT_FALSE(refused(line));
    EXPECT_TRUE(refused(line, 1.0, 1.0));
    EXPECT_TRUE(refused(line, 0.0, HUGE_VAL));
    EXPECT_TRUE(refused({0, 0, 1}));
    EXPECT_TRUE(refused({0, 0, 1, 1, 0}));
    EXPECT_TRUE(refused({0, 0, 1, std::nan(""), 0, 1}));
    EXPECT_TRUE(refused({0, 0, 1, 1, 0, 0}));
    EXPECT_TRUE(refused({0, 0, 1, 1, 0, -2}));             // infinite in between
    EXPECT_TRUE(refused({0, 0, 1, 1, 0, -1, 2, 0, 1}));    // the weight has a double zero
    EXPECT_FALSE(refused({0, 0, 1, 1, 0, -0.9, 2, 0, 1})); // it stays positive
    EXPECT_FALSE(refused({0, 0, -1, 1, 0, -3, 2, 0, -1})); // all negative
    EXPECT_TRUE(refused(Row(3 * 34, 1.0)));                // too high a degree
    EXPECT_FALSE(PreparedCurve<2>::from_pieces({}));

    const auto curve = prepared<2>({line});
    EXPECT_FALSE(curve->nearest({std::nan(""), 0}).certified);
    EXPECT_TRUE(std::isnan(curve->nearest({0, HUGE_VAL}).distance));
    std::vector<velm::CurveCrossing<2>> found(3);
    curve->crossings({0, 0}, {0, 0}, found);
    EXPECT_TRUE(found.empty());
}

TEST(PreparedCurve, ABudgetThatEndsIsReportedWithABound) {
    Random random(13);
    const auto curve = prepared<2>(random_chain<2>(random, 30, 3.0, true));
    int spent = 0;
    for (int i = 0; i < 200; ++i) {
        const ERPoint2D p = random.value<ERPoint2D>(5);
        const auto full = curve->nearest(p);
        for (const int budget : {1, 2, 5}) {
            const auto part = curve->nearest(p, budget);
            EXPECT_LE(part.lower, full.distance);
            EXPECT_GE(part.distance, full.lower);
            EXPECT_TRUE(!part.certified || part.distance <= full.distance * (1 + 1e-12));
            spent += part.certified ? 0 : 1;
        }
    }
    EXPECT_GT(spent, 0);
}

TEST(PreparedCurve, QuestionsDoNotAllocate) {
    Random random = Random::fixed(15);
    const auto curve = prepared<3>(random_chain<3>(random, 30, 10.0, true));
    const std::vector<double> t{0.5, 3.0, 7.25, 29.0};
    std::vector<ERPoint3D> points(t.size());
    std::vector<ERVector3D> first(t.size()), second(t.size());
    std::vector<velm::CurveFoot<3>> feet(200);
    std::vector<velm::CurveCrossing<3>> crossings(200);
    const auto ask = [&] {
        double sum = 0.0;
        for (int i = 0; i < 50; ++i) {
            const ERPoint3D p = random.value<ERPoint3D>(3);
            curve->evaluate(t, points, first, second);
            curve->perpendicular_feet(p, feet);
            curve->crossings(p, {1, 2, 3}, crossings);
            sum += (*curve)(0.3 * i).x() + curve->point_at(0.3 * i).tangente().i() +
                   curve->nearest(p).distance + curve->nearest_from(p, 7.0).distance;
        }
        return sum;
    };
    ask(); // takes the thread's work areas
    const long before = velm_test::allocations();
    EXPECT_TRUE(std::isfinite(ask()));
    EXPECT_EQ(velm_test::allocations(), before);
    const PreparedCurve<3> copy(*curve);
    EXPECT_GT(velm_test::allocations(), before) << "the counter counts";
}

TEST(PreparedCurve, ThreadsShareOneCurve) {
    Random random = Random::fixed(14);
    const auto curve = prepared<3>(random_chain<3>(random, 30, 3.0, false));
    std::vector<ERPoint3D> queries;
    for (int i = 0; i < 300; ++i)
        queries.push_back(random.value<ERPoint3D>(3));
    const auto answers = [&] {
        std::vector<double> all;
        std::vector<velm::CurveFoot<3>> feet;
        std::vector<velm::CurveCrossing<3>> crossings;
        for (const ERPoint3D& p : queries) {
            const auto nearest = curve->nearest(p);
            curve->perpendicular_feet(p, feet);
            curve->crossings(p, {1, 2, 3}, crossings);
            all.insert(all.end(),
                       {nearest.t, nearest.lower, double(feet.size()), double(crossings.size())});
        }
        return all;
    };
    const std::vector<double> expected = answers();
    std::vector<std::vector<double>> found(4);
    velm_test::in_threads(4, [&](int i) { found[static_cast<std::size_t>(i)] = answers(); });
    for (const std::vector<double>& one : found)
        EXPECT_EQ(one, expected);
}

} // namespace
