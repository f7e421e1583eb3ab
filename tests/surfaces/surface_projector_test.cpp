#include "velm/surfaces/surface_projector.h"

#include "support/allocation_count.h"
#include "support/surfaces.h"
#include "support/threads.h"
#include "velm/surfaces/detail/pair_zeros.h"
#include "velm/surfaces/prepared_part.h"
#include "velm/surfaces/revolve.h"

namespace {

using velm::PreparedSurface;
using velm::SurfaceFoot;
using velm::SurfaceFootKind;
using velm::SurfaceProjector;
using velm_test::Random;

constexpr double pi = std::numbers::pi;

// How often a random test repeats: all of it in the thorough run, else a tenth.
int repeats(int thorough) {
    return std::getenv("VELM_TEST_THOROUGH") != nullptr ? thorough : thorough / 10;
}

ERPmIsometrie3D random_frame(Random& random) {
    return ERChgRepere3D(random.direction<ERVector3D>(), random.direction<ERVector3D>(),
                         random.value<ERPoint3D>(5));
}

struct Shape {
    double amplitude = 0.1, wave = 0.5, weights = 1.0, spacing = 1.0, jitter = 0.1;
    int degree_u = 3, degree_v = 3, spans_u = 12, spans_v = 12;
};

// A waved panel of about 10 a side.
ERMatrix<ERPole3DH> panel_poles(Random& random, const Shape& shape) {
    const int n = shape.spans_u + shape.degree_u, m = shape.spans_v + shape.degree_v;
    ERMatrix<ERPole3DH> poles(m, n);
    for (int j = 0; j < m; ++j)
        for (int i = 0; i < n; ++i) {
            const double height =
                shape.amplitude * std::sin(shape.wave * i) * std::cos(0.8 * shape.wave * j);
            const ERPoint3D p(shape.spacing * (i + random.uniform(-1, 1) * shape.jitter),
                              j + random.uniform(-1, 1) * shape.jitter, height);
            poles(j, i) = ERPole3DH(p, 1.0) * std::pow(shape.weights, random.uniform(-1, 1));
        }
    return poles;
}

ERSpoleNURBS3D panel(const ERMatrix<ERPole3DH>& poles, int degree_u, int degree_v) {
    return {poles, ERKnotVector(degree_u, poles.columns(), {0, 1}),
            ERKnotVector(degree_v, poles.rows(), {-1, 2})};
}

t_SmartPtr<ERAnyBoundedSurface> analytic(Random& random, int kind) {
    const ERPmIsometrie3D frame = random_frame(random);
    const double r = random.uniform(0.5, 3), from = random.uniform(-3, 3);
    const ERLimites turn(from, from + (kind % 2 ? 2 * pi : random.uniform(0.3, 6)));
    const ERLimites u(random.uniform(-2, 0), random.uniform(0.5, 3));
    switch (kind / 2 % 5) {
    case 0: {
        auto* const plane = new ERBoundedPlane();
        plane->transformFrom(frame);
        return plane;
    }
    case 1:
        return new ERBoundedCylinder(frame, r, u, turn);
    case 2:
        return new ERBoundedCone(frame, 0.4, random.uniform(0.0, 0.5), random.uniform(1.0, 3.0));
    case 3:
        return new ERBoundedSphere(frame, r, turn, ERLimites(random.uniform(-1.5, -0.1), pi / 2));
    default:
        return new ERBoundedTorus(frame, 2.0 + r, random.uniform(0.3, 1.5), turn.start(),
                                  turn.end(), from, from + random.uniform(0.3, 2 * pi));
    }
}

ERSpoleNURBS3D as_nurbs(const ERAnyBoundedSurface& surface) {
    if (const auto* s = ERBoundedCylinder::castdown(&surface)) return *velm::to_nurbs(*s);
    if (const auto* s = ERBoundedCone::castdown(&surface)) return *velm::to_nurbs(*s);
    if (const auto* s = ERBoundedSphere::castdown(&surface)) return *velm::to_nurbs(*s);
    if (const auto* s = ERBoundedTorus::castdown(&surface)) return *velm::to_nurbs(*s);
    return *velm::to_nurbs(*ERBoundedPlane::castdown(&surface));
}

constexpr int kinds = 18;
const char* const kind_names[kinds] = {
    "gentle",          "waved",          "rational",     "other degrees", "collapsed row",
    "closed",          "creased",        "torn",         "near flat",     "long",
    "small",           "large",          "analytic",     "as NURBS",      "offset",
    "offset as NURBS", "offset of turn", "folded offset"};

t_SmartPtr<ERAnyBoundedSurface> random_surface(Random& random, int kind, int round);

// Of panels, of surfaces in NURBS form with lines that are points, and of turned curves; beyond the
// radius of curvature the offset of a waved panel folds.
t_SmartPtr<ERAnyBoundedSurface> random_offset(Random& random, const std::string& name, int round) {
    t_SmartPtr<ERAnyBoundedSurface> base;
    double offset = random.uniform(-0.4, 0.4);
    if (name == "offset of turn") {
        const ERVec<ERPole3DH> poles{{3, 0, 0, 1}, {5, 1, 2, 2}, {2, 0, 3, 0.7}, {4, -1, 5, 1}};
        base = new ERSurOfRevolution(new ERCpoleNURBS3D(poles, 3),
                                     ERInfLine3D(ERVector3D(0, 0, 1), {}),
                                     {0.3, round % 2 ? 2 * pi + 0.3 : 2.0});
    } else {
        const int kinds_of_base[] = {0, 2, 5, 6};
        base = random_surface(random, name == "offset" ? kinds_of_base[round % 4] : 13, round);
    }
    if (name == "folded offset") {
        Shape shape;
        shape.amplitude = 1.0, shape.wave = 0.8, shape.spans_u = shape.spans_v = 5;
        shape.weights = round % 2 ? 1.5 : 1.0;
        base = new ERSpoleNURBS3D(panel(panel_poles(random, shape), 3, 3));
        offset = random.uniform(-3, 3);
    }
    return new EROffsetSurface(*base, offset, random.direction<ERVector3D>());
}

t_SmartPtr<ERAnyBoundedSurface> random_surface(Random& random, int kind, int round) {
    const std::string name = kind_names[kind];
    if (name.find("offset") != std::string::npos) return random_offset(random, name, round);
    if (name == "analytic") return analytic(random, round);
    if (name == "as NURBS") return new ERSpoleNURBS3D(as_nurbs(*analytic(random, round)));
    Shape shape;
    shape.wave = random.uniform(0.3, 0.8);
    if (name == "waved") shape.amplitude = 1.5, shape.wave = 1.2, shape.jitter = 0.3;
    if (name == "rational") shape.weights = 2.0, shape.amplitude = random.uniform(0.1, 1);
    if (name == "near flat") shape.amplitude = 1e-9, shape.jitter = 0.0;
    if (name == "long") shape.spacing = 100.0, shape.amplitude = 0.5;
    if (name == "other degrees")
        shape.degree_u = 1 + random.below(9), shape.degree_v = 1 + random.below(9),
        shape.spans_u = shape.spans_v = 3;
    ERMatrix<ERPole3DH> poles = panel_poles(random, shape);
    const int n = poles.columns(), m = poles.rows();
    const double unit = name == "small" ? 1e-6 : name == "large" ? 1e6 : 1.0;
    for (int j = 0; j < m; ++j)
        for (int i = 0; i < n; ++i) {
            ERPoint3D p = poles(j, i).castToPoint();
            if (name == "collapsed row" && j == 0) p = ERPoint3D(0.5 * n, 0, 0);
            if (name == "torn" && i > n / 2) p = p + ERPoint3D(0.3, 0, 0.4);
            if (name == "creased" && i > n / 2) p = p + ERPoint3D(0, 0, 0.7 * (i - n / 2));
            if (name == "closed") {
                const double angle = 2 * pi * (i % (n - 1)) / (n - 1);
                p = ERPoint3D(3 * std::cos(angle), 2 * std::sin(angle), 0.5 * j);
            }
            poles(j, i) = ERPole3DH(p * unit, 1.0) * poles(j, i).weigth();
        }
    ERSpoleNURBS3D surface = panel(poles, shape.degree_u, shape.degree_v);
    // At a full knot poles on both sides need not meet; at one copy less there is a crease.
    if (name == "torn") surface.insertKnotU(0.5, shape.degree_u);
    if (name == "creased") surface.insertKnotU(0.5, shape.degree_u - 1);
    if (name == "torn" || name == "creased") {
        ERMatrix<ERPole3DH> cut = surface.poles();
        for (int j = 0; j < cut.rows(); ++j)
            for (int i = cut.columns() / 2 + 2; i < cut.columns(); ++i) {
                const double lift = name == "torn" ? 0.4 : 0.3 * (i - cut.columns() / 2 - 2);
                cut(j, i) = ERPole3DH(cut(j, i).castToPoint() + ERPoint3D(0, 0, lift), 1.0);
            }
        surface = ERSpoleNURBS3D(cut, surface.knotVectorU(), surface.knotVectorV());
    }
    if (round % 4 == 3) surface.setBound(ERLimites(0.1, 0.8), ERLimites(-0.7, 1.1));
    return new ERSpoleNURBS3D(surface);
}

// The true distance: the nearest nodes of a grid, refined by Newton's method with steps that are
// only taken where they lead nearer, else halved.
class Truth {
public:
    explicit Truth(const PreparedSurface& surface) : surface_(surface) {
        const auto steps = [](const ERLimites& limits) {
            std::vector<double> list;
            for (int i = 0; i < side; ++i)
                list.push_back(limits(i / (side - 1.0)));
            list.back() = limits.end();
            return list;
        };
        u_ = steps(surface.domain_u()), v_ = steps(surface.domain_v());
        grid_.resize(std::size_t(side) * side);
        velm::SurfaceSamples samples;
        samples.points = grid_;
        surface.grid(u_, v_, samples);
        for (std::size_t k = 1; k < grid_.size(); ++k) {
            if (k % side != 0) cell_ = std::max(cell_, ERVector3D(grid_[k] - grid_[k - 1]).norme());
            if (k >= side) cell_ = std::max(cell_, ERVector3D(grid_[k] - grid_[k - side]).norme());
        }
    }

    // Distances that descents from nodes end at, except from seams, which they don't cross, and
    // from rows in one point.
    std::vector<double> minima(const ERPoint3D& p) {
        std::vector<double> list;
        const auto apart = [&](int a, int b) {
            return ERVector3D(grid_[std::size_t(a)] - grid_[std::size_t(b)]).norme() > 1e-6 * cell_;
        };
        for (const auto& [squared, node] : nodes(p)) {
            const int i = node % side, j = node / side, row = node - i, last = side - 1;
            const bool seam = (i % last == 0 && !apart(row, row + last)) ||
                              (j % last == 0 && !apart(i, last * side + i));
            if (!seam && apart(node, i > 0 ? node - 1 : node + 1)) {
                const Descent descent = refined(p, u_[std::size_t(i)], v_[std::size_t(j)]);
                if (descent.ended) list.push_back(descent.distance);
            }
        }
        return list;
    }

    double distance(const ERPoint3D& p) {
        std::vector<std::pair<double, int>> minima = nodes(p);
        constexpr std::size_t most = 5;
        const std::size_t count = std::min(most, minima.size());
        std::partial_sort(minima.begin(), minima.begin() + std::ptrdiff_t(count), minima.end());
        double least = HUGE_VAL;
        for (std::size_t k = 0; k < count && std::sqrt(minima[k].first) < least + cell_; ++k)
            least = std::min(least, refined(p, u_[std::size_t(minima[k].second % side)],
                                            v_[std::size_t(minima[k].second / side)])
                                        .distance);
        return least;
    }

private:
    static constexpr int side = 81;

    // The nodes that are no further than those beside them.
    std::vector<std::pair<double, int>> nodes(const ERPoint3D& p) {
        squared_.resize(grid_.size());
        for (std::size_t k = 0; k < grid_.size(); ++k) {
            const ERVector3D d(grid_[k] - p);
            squared_[k] = d * d;
        }
        std::vector<std::pair<double, int>> minima;
        for (int j = 0; j < side; ++j)
            for (int i = 0; i < side; ++i) {
                const double here = at(i, j);
                if (here <= at(i - 1, j) && here <= at(i + 1, j) && here <= at(i, j - 1) &&
                    here <= at(i, j + 1))
                    minima.emplace_back(here, j * side + i);
            }
        return minima;
    }

    double at(int i, int j) const {
        if (i < 0 || j < 0 || i >= side || j >= side) return HUGE_VAL;
        return squared_[std::size_t(j) * side + std::size_t(i)];
    }
    double value(const ERPoint3D& p, double u, double v) const {
        return ERVector3D(surface_(u, v) - p).norme();
    }
    struct Descent {
        double distance;
        bool ended; // false: in a bent valley that takes more steps
    };
    Descent refined(const ERPoint3D& p, double u, double v) const {
        const ERLimites in_u = surface_.domain_u(), in_v = surface_.domain_v();
        double best = value(p, u, v);
        const double h_u = in_u.amplitude() / (side - 1), h_v = in_v.amplitude() / (side - 1);
        constexpr double no_reach = 1e-9;
        double reach = 1.0;
        for (int step = 0; step < 300 && reach > no_reach; ++step) {
            const velm::SurfaceJet jet = surface_.jet(u, v);
            const ERVector3D d(jet.point - p), pu = jet.du * h_u, pv = jet.dv * h_v;
            const double gu = d * pu, gv = d * pv;
            const double a = pu * pu + d * jet.duu * h_u * h_u,
                         c = pv * pv + d * jet.dvv * h_v * h_v,
                         b = pu * pv + d * jet.duv * h_u * h_v;
            // Newton's step, on a form that is raised until it is definite: downhill, so that along
            // narrow valleys, too, a step within reach leads nearer.
            const double spread = std::hypot(0.5 * (a - c), b), least = 0.5 * (a + c) - spread;
            const double raise = least > 0.0 ? 0.0 : 0.1 * spread - least;
            const double ra = a + raise, rc = c + raise, det = ra * rc - b * b;
            const double step_u = (b * gv - rc * gu) / det, step_v = (b * gu - ra * gv) / det;
            const double length = std::max(std::fabs(step_u), std::fabs(step_v));
            std::vector<std::pair<double, double>> tries;
            if (length > reach)
                tries.emplace_back(step_u * reach / length, step_v * reach / length);
            tries.emplace_back(step_u, step_v);
            if (a > 0) tries.emplace_back(-gu / a, 0.0);
            if (c > 0) tries.emplace_back(0.0, -gv / c);
            for (const double s : {-reach, 0.0, reach})
                for (const double t : {-reach, 0.0, reach})
                    tries.emplace_back(s, t);
            double next_u = u, next_v = v, next = best;
            for (std::size_t n = 0; n < tries.size() && !(n > 2 && next < best); ++n) {
                const auto [s, t] = tries[n];
                const double x = std::clamp(u + s * h_u, in_u.start(), in_u.end());
                const double y = std::clamp(v + t * h_v, in_v.start(), in_v.end());
                const double now = value(p, x, y);
                if (now < next) next = now, next_u = x, next_v = y;
            }
            if (next < best) {
                best = next, u = next_u, v = next_v;
                reach = std::min(1.0, 2.0 * reach);
            } else {
                reach *= 0.25;
            }
        }
        return {best, reach <= no_reach};
    }

    const PreparedSurface& surface_;
    std::vector<double> u_, v_;
    std::vector<ERPoint3D> grid_;
    std::vector<double> squared_;
    double cell_ = 0.0; // the greatest distance between neighbours
};

// Beside the surface, beyond its limits, above it by less and by more than it is curved, far.
ERPoint3D random_query(Random& random, const PreparedSurface& surface, int k) {
    const ERLimites in_u = surface.domain_u(), in_v = surface.domain_v();
    const double u = in_u(random.uniform(0, 1)), v = in_v(random.uniform(0, 1));
    const ERMinimax3D box = surface.box();
    const double size = box.diagonal();
    const ERPoint3D p = surface(u, v);
    constexpr double reach[] = {1e-9, 1e-3, 0.02, 0.1, 0.5};
    switch (k % 8) {
    case 5:
        return surface(random.below(2) ? in_u.start() : in_u.end(), v) +
               ERPoint3D(random.value<ERVector3D>(0.1 * size));
    case 6:
        return ERPoint3D(box.MinPoint() + (box.MaxPoint() - box.MinPoint()) * 0.5) +
               ERPoint3D(random.value<ERVector3D>(3 * size));
    case 7:
        return p;
    default:
        return p + ERPoint3D(surface.normal(u, v) * (random.uniform(-1, 1) * reach[k % 5] * size));
    }
}

// Beside a line of the base that is a point its tangents, and so the points of an offset at their
// parameters, are less certain.
bool has_certain_normal(const PreparedSurface& surface, const SurfaceFoot& foot) {
    const auto base = surface.base();
    if (!base) return true;
    const velm::SurfaceJet jet = base->jet(foot.u, foot.v);
    const double u = jet.du.norme() * surface.domain_u().amplitude(),
                 v = jet.dv.norme() * surface.domain_v().amplitude();
    return std::min(u, v) > 1e-3 * std::max(u, v);
}

TEST(SurfaceProjector, NoPointIsNearerThanTheFoot) {
    Random random(190);
    const int surfaces = repeats(72 * kinds), points = repeats(1000) / (repeats(10) > 1 ? 1 : 2);
    for (int kind = 0; kind < kinds; ++kind) {
        int wrong = 0, uncertified = 0, asked = 0;
        for (int round = 0; round < std::max(1, surfaces / kinds); ++round) {
            const auto surface = velm::prepare(*random_surface(random, kind, round));
            ASSERT_TRUE(surface) << kind_names[kind];
            const auto projector = SurfaceProjector::on(*surface);
            ASSERT_TRUE(projector);
            Truth truth(*surface);
            const double size = surface->box().diagonal();
            for (int k = 0; k < points; ++k, ++asked) {
                const ERPoint3D p = random_query(random, *surface, k);
                const SurfaceFoot foot = projector->nearest(p);
                const double expected = truth.distance(p);
                const double tol = 1e-12 * size + 1e-14 * expected;
                if (foot.distance > expected + tol) ++wrong;
                if (!foot.certified) ++uncertified;
                ASSERT_LE(foot.lower, expected + tol)
                    << kind_names[kind] << " " << round << " " << k;
                ASSERT_LE(foot.distance - (foot.certified ? foot.lower : foot.distance), tol);
                ASSERT_NEAR(ERVector3D(foot.point - p).norme(), foot.distance, tol);
                if (!has_certain_normal(*surface, foot)) continue;
                ASSERT_NEAR(ERVector3D((*surface)(foot.u, foot.v) - foot.point).norme(), 0.0, tol)
                    << kind_names[kind] << " " << round << " " << k;
            }
        }
        EXPECT_EQ(wrong, 0) << kind_names[kind] << " of " << asked;
        EXPECT_EQ(uncertified, 0) << kind_names[kind] << " of " << asked;
    }
}

// A point of the surface, moved along the normal by less than the radius of curvature and by less
// than half the way to any other part, comes back.
TEST(SurfaceProjector, FindsTheSourceOfAnOffsetPoint) {
    Random random(191);
    for (int round = 0; round < repeats(200); ++round) {
        Shape shape;
        shape.weights = round % 2 ? 2.0 : 1.0;
        shape.degree_u = 2 + round % 4;
        const auto surface =
            velm::prepare(panel(panel_poles(random, shape), shape.degree_u, shape.degree_v));
        const auto projector = SurfaceProjector::on(*surface);
        for (int k = 0; k < 30; ++k) {
            const double u = random.uniform(0.01, 0.99), v = random.uniform(-0.95, 1.95);
            const ERPoint2D place(u, v);
            const auto curvature = velm_test::curvatures_at(*surface, place);
            const double bend = std::max(std::fabs(curvature.min), std::fabs(curvature.max));
            const double t = random.uniform(-1, 1) * std::min(0.2, 0.5 / bend);
            const ERVector3D normal = surface->normal(u, v);
            const ERPoint3D p = (*surface)(u, v) + ERPoint3D(normal * t);
            const ERPoint2D hint(u + random.uniform(-0.2, 0.2), v + random.uniform(-0.2, 0.2));
            for (const SurfaceFoot& foot : {projector->nearest(p), projector->nearest(p, hint)}) {
                EXPECT_NEAR(foot.distance, std::fabs(t), 1e-13);
                EXPECT_NEAR(foot.u, u, 1e-12);
                EXPECT_NEAR(foot.v, v, 1e-12);
                EXPECT_TRUE(foot.certified && foot.kind == SurfaceFootKind::interior);
                EXPECT_NEAR(foot.normal * normal, 1.0, 1e-12);
            }
        }
    }
}

// Whether the list has a foot at a point.
bool has(const std::vector<SurfaceFoot>& feet, const ERPoint3D& point, double tol) {
    return std::any_of(feet.begin(), feet.end(), [&](const SurfaceFoot& foot) {
        return ERVector3D(foot.point - point).norme() <= tol;
    });
}

// Where Newton's method on the derivatives of the distance ends from random starts is in the list
// of feet; what it lists is perpendicular.
TEST(SurfaceProjector, ListsAllPerpendicularFeet) {
    Random random(194);
    std::vector<SurfaceFoot> feet;
    std::size_t most = 0;
    int reached = 0;
    for (const int kind : {0, 1, 1, 2, 5, 13}) {
        const auto surface = velm::prepare(*random_surface(random, kind, 8));
        const auto projector = SurfaceProjector::on(*surface);
        const ERLimites in_u = surface->domain_u(), in_v = surface->domain_v();
        const double size = surface->box().diagonal();
        for (int k = 0; k < 8; ++k) {
            const ERPoint3D p = random_query(random, *surface, k == 7 ? 4 : k);
            projector->feet(p, feet);
            most = std::max(most, feet.size());
            for (const SurfaceFoot& foot : feet) {
                const ERVector3D from(foot.point - p);
                EXPECT_LE((from ^ foot.normal).norme(), 1e-9 * size) << kind_names[kind];
                EXPECT_TRUE(foot.certified);
            }
            for (int start = 0; start < 100; ++start) {
                double u = in_u(random.uniform(0, 1)), v = in_v(random.uniform(0, 1)), step = 1.0;
                for (int n = 0; n < 30 && step > 1e-13; ++n) {
                    const velm::SurfaceJet jet = surface->jet(u, v);
                    const ERVector3D d(jet.point - p);
                    const double gu = d * jet.du, gv = d * jet.dv;
                    const double a = jet.du * jet.du + d * jet.duu,
                                 c = jet.dv * jet.dv + d * jet.dvv,
                                 b = jet.du * jet.dv + d * jet.duv, det = a * c - b * b;
                    const double x = (b * gv - c * gu) / det, y = (b * gu - a * gv) / det;
                    step = std::fabs(x) + std::fabs(y);
                    u += x, v += y;
                }
                const bool inside =
                    u > in_u(0.001) && u < in_u(0.999) && v > in_v(0.001) && v < in_v(0.999);
                if (!(step <= 1e-13) || !inside) continue;
                ++reached;
                EXPECT_TRUE(has(feet, (*surface)(u, v), 1e-8 * size))
                    << kind_names[kind] << " " << u << " " << v;
            }
        }
    }
    EXPECT_GT(most, 8u);
    EXPECT_GT(reached, 500);
}

// What sampling finds to be a minimum is in the list, and no place around a listed one is nearer.
TEST(SurfaceProjector, ListsAllMinima) {
    Random random(196);
    std::vector<SurfaceFoot> minima;
    std::size_t most = 0;
    for (int kind = 0; kind < kinds; ++kind)
        for (int round = 8; round < 8 + std::max(2, repeats(4)); ++round) {
            const auto surface = velm::prepare(*random_surface(random, kind, round));
            const auto projector = SurfaceProjector::on(*surface);
            Truth truth(*surface);
            const ERLimites in_u = surface->domain_u(), in_v = surface->domain_v();
            const double size = surface->box().diagonal();
            for (int k = 0; k < 8; ++k) {
                const ERPoint3D p = random_query(random, *surface, k);
                projector->all_minima(p, 10 * size, minima);
                const SurfaceFoot nearest = projector->nearest(p);
                ASSERT_FALSE(minima.empty()) << kind_names[kind] << " " << round << " " << k;
                EXPECT_NEAR(minima.front().distance, nearest.distance, 1e-11 * size)
                    << kind_names[kind] << " " << round << " " << k;
                most = std::max(most, minima.size());
                for (const SurfaceFoot& foot : minima)
                    for (int n = 0; n < 16; ++n) {
                        const double h = 1e-4, angle = 0.4 * n;
                        const double u = foot.u + h * in_u.amplitude() * std::cos(angle);
                        const double v = foot.v + h * in_v.amplitude() * std::sin(angle);
                        if (in_u.ratio(u) != std::clamp(in_u.ratio(u), 0.0, 1.0) ||
                            in_v.ratio(v) != std::clamp(in_v.ratio(v), 0.0, 1.0))
                            continue;
                        EXPECT_GE(ERVector3D((*surface)(u, v) - p).norme(),
                                  foot.distance - 1e-9 * size)
                            << kind_names[kind] << " " << round << " " << k;
                    }
                // Half the distances: those beyond are left out.
                const double half = 0.5 * (minima.front().distance + minima.back().distance);
                const auto count =
                    std::count_if(minima.begin(), minima.end(),
                                  [&](const SurfaceFoot& foot) { return foot.distance <= half; });
                std::vector<SurfaceFoot> near;
                projector->all_minima(p, half, near);
                EXPECT_EQ(static_cast<long>(near.size()), count) << kind_names[kind];
                for (const double distance : truth.minima(p))
                    EXPECT_TRUE(std::any_of(minima.begin(), minima.end(),
                                            [&](const SurfaceFoot& foot) {
                                                return std::fabs(foot.distance - distance) <
                                                       1e-7 * size;
                                            }))
                        << kind_names[kind] << " " << round << " " << k << " " << distance;
            }
        }
    EXPECT_GT(most, 4u);
}

// The pole of a sphere is a minimum where the distance rises along all meridians, also on the
// offset of its NURBS form and of its turned meridian.
TEST(SurfaceProjector, ListsMinimaAtPolesOfOffsets) {
    std::vector<SurfaceFoot> minima;
    for (const auto& [span, offset, nurbs] :
         {std::tuple(2 * pi, -0.3, true), std::tuple(0.85, 0.3, true),
          std::tuple(2 * pi, 0.3, false), std::tuple(0.85, -0.3, false)}) {
        const ERLimites turn(0.21, 0.21 + span), latitudes(-0.77, 0.5 * pi);
        const ERBoundedSphere ball(ERPmIsometrie3D(), 2.0, turn, latitudes);
        const ERSurOfRevolution turned(
            new ERArc3D(ERChgRepere3D(ERVector3D(1, 0, 0), ERVector3D(0, 0, 1), ERPoint3D()), 2.0,
                        latitudes.start(), latitudes.end()),
            ERInfLine3D(ERVector3D(0, 0, 1), ERPoint3D()), turn);
        const EROffsetSurface moved =
            nurbs ? EROffsetSurface(as_nurbs(ball), offset, ERVector3D(1, 0, 0.2))
                  : EROffsetSurface(turned, offset, ERVector3D(1, 0, 0.2));
        const auto projector = SurfaceProjector::on(*velm::prepare(moved));
        const ERPoint3D pole(0, 0, projector->nearest({0, 0, 5}).distance < 3 ? 2.3 : 1.7);
        for (int k = 0; k < 24; ++k) {
            const double azimuth = 0.1 + k * pi / 12, out = k % 3 == 0 ? 0.0 : 0.4;
            const ERPoint3D p(out * std::cos(azimuth), out * std::sin(azimuth), 1.1 + k % 4);
            double towards = -1.0; // the greatest cosine of the angle with a meridian
            for (int n = 0; n <= 1000; ++n)
                towards = std::max(towards, std::cos(turn(n / 1000.0) - azimuth));
            const bool at_pole = out == 0.0 || towards < 0.0;
            projector->all_minima(p, 50.0, minima);
            EXPECT_EQ(at_pole, has(minima, pole, 1e-9)) << span << " " << k;
            ASSERT_FALSE(minima.empty()) << span << " " << k;
            EXPECT_NEAR(minima.front().distance, projector->nearest(p).distance, 1e-12);
        }
    }
}

// On the axis of a surface of revolution the leaves around it are about as far as each other, and a
// search that begins with them halves them all unless it knows a place on the cap. The offset has
// its pole where the normal's limit leads.
TEST(SurfaceProjector, FindsThePoleFromTheAxis) {
    const ERCpoleNURBS3D egg(
        {{0, 0, -2, 1}, {1.5, 0, -2, 1}, {2, 0, 0, 1}, {1.5, 0, 2.5, 1}, {0, 0, 2.5, 1}}, 4);
    const ERInfLine3D axis(ERVector3D(0, 0, 1), ERPoint3D());
    const t_SmartPtr<ERAnyBoundedSurface> as_net =
        new ERSpoleNURBS3D(*velm::revolve(egg, axis, 0, 2 * pi));
    const t_SmartPtr<ERAnyBoundedSurface> turned =
        new ERSurOfRevolution(new ERCpoleNURBS3D(egg), axis, 0, 2 * pi);
    for (const double offset : {0.0, 0.15, -0.15})
        for (const auto& base : {as_net, turned}) {
            const auto projector =
                SurfaceProjector::on(*velm::prepare(EROffsetSurface(*base, offset, {0, 0, 1})));
            // Outside of the egg, within the offset or beyond it.
            const double outside = projector->nearest(ERPoint3D(0, 0, -3)).distance - 1.0;
            EXPECT_NEAR(std::fabs(outside), std::fabs(offset), 1e-12);
            const ERPoint3D p(0, 0, -1.8207);
            for (const SurfaceFoot& foot :
                 {projector->nearest(p), projector->nearest(p, {.4, 1})}) {
                EXPECT_NEAR(foot.distance, std::fabs(0.1793 - outside), 1e-12) << offset;
                EXPECT_TRUE(foot.certified) << offset << base->className();
            }
        }
}

// Beside a centre of curvature, where minima are near to each other; each by its own normal.
TEST(PreparedPart, TakesEveryMinimumThatIsTurnedToADirection) {
    Random random(198);
    std::vector<SurfaceFoot> minima;
    int taken = 0, close = 0;
    for (int round = 0; round < 8; ++round) {
        Shape shape;
        shape.amplitude = 0.8, shape.spans_u = shape.spans_v = 4;
        shape.weights = round % 2 ? 1.5 : 1.0;
        const ERSpoleNURBS3D given = panel(panel_poles(random, shape), 3, 3);
        const auto surface = velm::prepare(given);
        const auto projector = SurfaceProjector::on(*surface);
        const auto part = velm::PreparedPart::of({{*velm::prepare_face(given), 1}}, 1e-6);
        for (int k = 0; k < 60; ++k) {
            const ERPoint2D place(random.uniform(0.2, 0.8), random.uniform(-0.4, 1.4));
            const auto curvature = velm_test::curvatures_at(*surface, place);
            const double bend = k % 2 ? curvature.min : curvature.max;
            const double t = random.uniform(0.98, 1.05) / bend;
            if (!(std::fabs(t) < 10.0)) continue;
            const ERVector3D up = surface->normal(place.x(), place.y());
            const ERPoint3D p = (*surface)(place.x(), place.y()) + ERPoint3D(up * t);
            projector->all_minima(p, 100.0, minima);
            for (const SurfaceFoot& foot : minima) {
                if (foot.kind != SurfaceFootKind::interior) continue;
                double apart = 0.5;
                for (const SurfaceFoot& other : minima)
                    if (&other != &foot)
                        apart = std::min(apart, 0.5 * (other.normal - foot.normal).norme());
                if (apart < 1e-3) continue;
                velm::PartSearch search;
                search.direction = foot.normal;
                search.max_angle = apart;
                const velm::PartFoot faced = part->nearest(p, search);
                ASSERT_EQ(faced.face, 0) << round << " " << k << " " << apart;
                ASSERT_LE(faced.distance, foot.distance + 1e-9) << round << " " << k;
                if (faced.kind != SurfaceFootKind::interior) continue;
                EXPECT_NEAR(faced.distance, foot.distance, 1e-9) << round << " " << k;
                ++taken;
                close += apart < 0.05;
            }
        }
    }
    EXPECT_GT(taken, 100);
    EXPECT_GT(close, 20);
}

// Roots in s, one in t, and both polynomials mixed.
TEST(PairZeros, FindsTheRootsThatPolynomialsAreMadeOf) {
    Random random(197);
    velm::detail::PairZeros zeros;
    for (int round = 0; round < 1000; ++round) {
        constexpr int p = 3, q = 3;
        std::vector<double> along{1.0}, roots;
        for (int n = 0; n < p; ++n) {
            roots.push_back(random.uniform(-1.5, 1.5));
            along.push_back(0.0);
            for (std::size_t k = along.size(); k-- > 0;)
                along[k] = (k > 0 ? along[k - 1] : 0.0) - roots.back() * along[k];
        }
        const double t = random.uniform(-0.9, 0.9), mixed = round % 2 ? random.uniform(-1, 1) : 0.0;
        std::vector<double> coefs(4 * (p + 1) * (q + 1)), part(coefs);
        for (std::size_t i = 0; i <= p; ++i)
            coefs[4 * i] = along[i];
        coefs[1] = -t, coefs[4 * (p + 1) + 1] = 1.0;
        for (std::size_t n = 0; n < coefs.size(); n += 4)
            coefs[n] += mixed * coefs[n + 1];
        zeros.find(coefs.data(), p, q, 1e-15, part.data());
        for (const double root : roots) {
            int found = 0;
            for (int i = 0; i < zeros.count(); ++i)
                found += std::fabs(zeros[i].x[0] - root) <= 1e-6 + zeros[i].reach[0] &&
                         std::fabs(zeros[i].x[1] - t) <= 1e-9 + zeros[i].reach[1];
            EXPECT_EQ(found >= 1, std::fabs(root) <= 1.0) << round << " " << root << " " << t;
        }
        for (int i = 0; i < zeros.count(); ++i) {
            EXPECT_LE(std::max(zeros[i].reach[0], zeros[i].reach[1]), 1e-5) << round;
            EXPECT_TRUE(std::any_of(roots.begin(), roots.end(), [&](double root) {
                return std::fabs(zeros[i].x[0] - root) <= 1e-6 + zeros[i].reach[0];
            })) << round;
        }
        // A line of zeros, but for rounding, is one place that is not simple.
        for (std::size_t n = 0; n < coefs.size(); ++n)
            coefs[n] = n % 4 < 2 ? random.uniform(-1, 1) * 1e-16 : 0.0;
        coefs[0] = -t, coefs[1] = -0.7 * t, coefs[4] = coefs[4 * (p + 1)] = 1.0;
        coefs[5] = coefs[4 * (p + 1) + 1] = 0.7;
        zeros.find(coefs.data(), p, q, 1e-14, part.data());
        ASSERT_EQ(zeros.count(), 1);
        EXPECT_FALSE(zeros[0].simple);
        EXPECT_NEAR(zeros[0].x[0] + zeros[0].x[1], t, 1e-12);
    }
}

TEST(SurfaceProjector, NamesEdgesCornersAndDegenerateFeet) {
    const ERPmIsometrie3D frame;
    ERBoundedSphere half(frame, 2.0, ERLimites(0, 2 * pi), ERLimites(0, pi / 2));
    ERBoundedCylinder quarter(frame, 1.0, ERLimites(0, 2), ERLimites(0, pi / 2));
    ERBoundedTorus ring(frame, 3.0, 1.0, 0, 2 * pi, 0, 2 * pi);
    const auto named = [](const ERAnyBoundedSurface& surface, const ERPoint3D& p,
                          SurfaceFootKind kind, double distance) {
        const auto nurbs = as_nurbs(surface);
        for (const ERAnyBoundedSurface* form :
             {&surface, static_cast<const ERAnyBoundedSurface*>(&nurbs)}) {
            const SurfaceFoot foot = SurfaceProjector::on(*velm::prepare(*form))->nearest(p);
            EXPECT_EQ(foot.kind, kind) << form->className() << " " << p.x() << " " << p.y();
            EXPECT_NEAR(foot.distance, distance, 1e-14) << form->className();
            EXPECT_TRUE(foot.certified) << form->className();
            EXPECT_NEAR(foot.normal.norme(), 1.0, 1e-12);
        }
    };
    using enum SurfaceFootKind;
    named(half, {1, 1, 1}, interior, 2 - std::sqrt(3));
    named(half, {3, 0, 1}, interior, std::sqrt(10) - 2); // on the seam
    named(half, {0, 3, -4}, edge, std::sqrt(17));
    named(half, {0, 0, 5}, degenerate, 3); // above the pole
    named(half, {0, 0, 0}, degenerate, 2); // at the centre
    named(quarter, {2, 2, 1}, interior, std::sqrt(8) - 1);
    named(quarter, {1, 1, 3}, edge, std::hypot(std::sqrt(2) - 1, 1));
    named(quarter, {3, -1e-12, 1}, edge, 2); // beyond the start of the angle by its snap
    named(quarter, {2, -1, 4}, corner, std::sqrt(6));
    named(quarter, {0, 0, 1}, degenerate, 1);
    named(ring, {6, 0, 0}, interior, 2);
    named(ring, {0, 0, 1}, degenerate, std::sqrt(10) - 1);
    named(ring, {0, 3, 0}, degenerate, 1);
    const ERSpoleNURBS3D half_as_nurbs = as_nurbs(half);
    for (const ERAnyBoundedSurface* form :
         {static_cast<const ERAnyBoundedSurface*>(&half),
          static_cast<const ERAnyBoundedSurface*>(&half_as_nurbs)}) {
        const auto projector = SurfaceProjector::on(*velm::prepare(*form));
        const SurfaceFoot none = projector->nearest({NAN, 0, 0});
        EXPECT_TRUE(!none.certified && std::isnan(none.distance));
        const SurfaceFoot far = projector->nearest({0, 3e200, 4e200}); // squares overflow
        EXPECT_DOUBLE_EQ(far.distance, 5e200);
        EXPECT_TRUE(!far.certified && far.lower > 4.9e200);
    }
}

TEST(SurfaceProjector, ReportsTheGapWhenItsBudgetEnds) {
    Random random(192);
    Shape shape;
    shape.amplitude = 2.0, shape.wave = 1.5;
    const auto surface = velm::prepare(panel(panel_poles(random, shape), 3, 3));
    const auto projector = SurfaceProjector::on(*surface);
    int open = 0;
    for (int k = 0; k < 100; ++k) {
        const ERPoint3D p(random.uniform(0, 10), random.uniform(0, 10), 30);
        const SurfaceFoot sure = projector->nearest(p), poor = projector->nearest(p, 0);
        EXPECT_LE(poor.lower, sure.distance * (1 + 1e-15));
        EXPECT_GE(poor.distance, sure.distance * (1 - 1e-15));
        EXPECT_TRUE(poor.certified || poor.lower < poor.distance);
        open += !poor.certified;
    }
    EXPECT_GT(open, 0);
}

TEST(SurfaceProjectorThreads, ShareOneProjectorWithoutAllocation) {
    Random random(193);
    for (const char* const name :
         {"waved", "rational", "other degrees", "analytic", "folded offset"}) {
        const int kind = static_cast<int>(
            std::find(kind_names, kind_names + kinds, std::string(name)) - kind_names);
        const auto surface = velm::prepare(*random_surface(random, kind, 8));
        const auto projector = SurfaceProjector::on(*surface);
        std::vector<ERPoint3D> points;
        for (int k = 0; k < 400; ++k)
            points.push_back(random_query(random, *surface, k));
        std::vector<SurfaceFoot> expected(points.size());
        projector->nearest(points, expected);
        const long before = velm_test::allocations();
        projector->nearest(points, expected);
        EXPECT_EQ(velm_test::allocations(), before) << name;
        const auto same = [&](const SurfaceFoot& a, const SurfaceFoot& b) {
            return a.u == b.u && a.v == b.v && a.point == b.point && a.distance == b.distance &&
                   a.lower == b.lower && a.certified == b.certified;
        };
        std::vector<SurfaceFoot> divided(points.size());
        projector->nearest(points, divided, 3);
        velm_test::in_threads(8, [&](int n) {
            for (std::size_t k = points.size(); k-- > 0;) { // another order
                const std::size_t at = (k + 50 * std::size_t(n)) % points.size();
                EXPECT_TRUE(same(projector->nearest(points[at]), expected[at]));
                EXPECT_TRUE(same(divided[at], expected[at]));
            }
        });
    }
}

} // namespace
