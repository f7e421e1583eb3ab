// Sides of prepared parts where they are hardest: saddle corners, tips, knife edges, cusps, smooth
// seams, slivers, cavities and solids that touch, against what each solid is by its construction.
#include "support/surfaces.h"
#include "velm/surfaces/prepared_part.h"

namespace {

using namespace velm_test;
using Faces = std::vector<velm::PartFace>;

Random draw{191};

// A polygon, counter-clockwise from outside.
void add_polygon(Faces& faces, const std::vector<ERPoint3D>& corners) {
    const ERVector3D x = ERVector3D(corners[0], corners[1]).getnormalized();
    const ERVector3D z = (x ^ ERVector3D(corners[0], corners.back())).getnormalized(), y = z ^ x;
    ERVec<ERPoint2D> outline;
    for (std::size_t i = 0; i <= corners.size(); ++i) {
        const ERVector3D arm(corners[0], corners[i % corners.size()]);
        outline.push_back({arm * x, arm * y});
    }
    ERTrimmedSurface face(ERBoundedPlane(ERChgRepere3D(x, y, corners[0]), {-9, 9}, {-9, 9}));
    face.addBound(ERPolyline2D(outline), Boundary::outer);
    faces.push_back({*velm::prepare_face(face), 1});
}

void add(Faces& faces, const ERAnyBoundedSurface& surface, int outward) {
    faces.push_back({*velm::prepare_face(surface), outward});
}

// Beside the features, at distances of all orders of magnitude.
ERPoint3D near_some(const std::vector<ERPoint3D>& features) {
    const ERPoint3D& at = features[std::size_t(draw.below(int(features.size())))];
    const double reach = std::pow(10.0, draw.uniform(-7, 0.3));
    return at + draw.value<ERVector3D>(reach);
}

void expect_sides(const std::string& name, const Faces& faces,
                  const std::vector<ERPoint3D>& features, int points,
                  const std::function<double(const ERPoint3D&)>& depth, double blur = 1e-9) {
    const auto part = velm::PreparedPart::of(faces, 1e-6);
    ASSERT_TRUE(part) << name;
    EXPECT_EQ(part->edges().open(), 0) << name;
    int wrong = 0, uncertain = 0;
    for (int n = 0; n < points; ++n) {
        const ERPoint3D p = near_some(features);
        const double expected = depth(p);
        if (std::fabs(expected) < blur) continue;
        const velm::PartFoot foot = part->nearest(p);
        uncertain += foot.side == velm::PartSide::uncertain;
        const bool same = (foot.signed_distance > 0) == (expected < 0);
        if (same) continue;
        if (++wrong < 4)
            ADD_FAILURE() << name << " " << p << " depth " << expected << " foot " << foot.point
                          << " " << foot.signed_distance << " side " << int(foot.side) << " kind "
                          << int(foot.kind) << " loop " << foot.loop << " face " << foot.face;
    }
    EXPECT_EQ(wrong, 0) << name;
    if (uncertain) std::printf("%s: %d uncertain\n", name.c_str(), uncertain);
}

// Unit cubes of a grid, some of them solid. Each square between a solid one and an empty one is a
// face, so that flat regions have seams; where two solids that are kept apart touch, both have one.
struct Cubes {
    static constexpr int n = 3;
    int solid[n][n][n] = {}; // 0: empty, else the number of a solid

    int at(int i, int j, int k) const {
        const bool in = i >= 0 && j >= 0 && k >= 0 && i < n && j < n && k < n;
        return in ? solid[i][j][k] : 0;
    }
    int at(const ERPoint3D& p) const {
        return at(int(std::floor(p.x())), int(std::floor(p.y())), int(std::floor(p.z())));
    }
    Faces faces() const {
        Faces faces;
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < n; ++j)
                for (int k = 0; k < n; ++k)
                    for (int axis = 0; axis < 3 && at(i, j, k); ++axis)
                        for (const int side : {0, 1}) {
                            int next[3] = {i, j, k};
                            next[axis] += side ? 1 : -1;
                            if (at(next[0], next[1], next[2]) == at(i, j, k)) continue;
                            const ERVector3D to[3] = {X, Y, Z};
                            const ERPoint3D o = ERPoint3D(i, j, k) + to[axis] * side;
                            ERVector3D a = to[(axis + 1) % 3], b = to[(axis + 2) % 3];
                            if (!side) std::swap(a, b);
                            add_polygon(faces, {o, o + a, o + a + b, o + b});
                        }
        return faces;
    }
    // The distance from the nearest square, positive inside.
    double depth(const ERPoint3D& p) const {
        double least = HUGE_VAL;
        const bool inside = at(p) != 0;
        for (int i = -1; i <= n; ++i)
            for (int j = -1; j <= n; ++j)
                for (int k = -1; k <= n; ++k) {
                    if ((at(i, j, k) != 0) == inside) continue;
                    double squared = 0.0;
                    for (const auto& [low, x] : {std::pair(i, p.x()), {j, p.y()}, {k, p.z()}}) {
                        const double off = std::max({low - x, x - low - 1, 0.0});
                        squared += off * off;
                    }
                    least = std::min(least, squared);
                }
        return inside ? std::sqrt(least) : -std::sqrt(least);
    }
};

TEST(PartSides, OfCubesInAllArrangements) {
    std::vector<ERPoint3D> features;
    for (int i = 0; i < 64; ++i) {
        const ERPoint3D corner(i % 4, i / 4 % 4, i / 16);
        features.insert(features.end(),
                        {corner, corner + X * 0.3, corner + Y * 0.3, corner + Z * 0.3});
    }
    for (int round = 0; round < 60; ++round) {
        Cubes cubes;
        const int kinds = 1 + round % 3;
        for (auto& plane : cubes.solid)
            for (auto& row : plane)
                for (int& cube : row)
                    cube = std::max(0, draw.below(kinds + 2) - 1);
        const Faces faces = cubes.faces();
        if (faces.empty()) continue;
        expect_sides("cubes " + std::to_string(round), faces, features, 300,
                     [&](const ERPoint3D& p) { return cubes.depth(p); });
    }
}

TEST(PartSides, OfTipsAndKnifeEdges) {
    for (const int sides : {3, 4, 40})
        for (const double height : {0.01, 0.3, 8.0}) {
            Faces faces;
            std::vector<ERPoint3D> base, features{{0, 0, height}, {0, 0, height}};
            for (int i = 0; i < sides; ++i) {
                const double angle = 2 * pi * i / sides;
                base.insert(base.begin(), {std::cos(angle), std::sin(angle), 0});
                features.push_back(base.front());
                features.push_back({0.999 * base[0].x(), 0.999 * base[0].y(), 0.001 * height});
            }
            add_polygon(faces, base);
            for (std::size_t i = 0; i < base.size(); ++i)
                add_polygon(faces, {base[(i + 1) % base.size()], base[i], {0, 0, height}});
            const double inner = std::cos(pi / sides), slant = std::hypot(inner, height);
            expect_sides("pyramid", faces, features, 2000, [&](const ERPoint3D& p) {
                double depth = p.z();
                for (int i = 0; i < sides; ++i) {
                    const double angle = 2 * pi * (i + 0.5) / sides;
                    const double out = p.x() * std::cos(angle) + p.y() * std::sin(angle);
                    depth = std::min(depth, ((inner - out) * height - p.z() * inner) / slant);
                }
                return depth;
            });
        }
    for (const double angle : {0.5, 0.01, 1e-3, 1e-4}) {
        const double h = 2 * std::tan(angle);
        const ERPoint3D a(0, 0, 0), b(2, 0, 0), c(2, 0, h);
        Faces faces;
        add_polygon(faces, {a, b, c});
        add_polygon(faces, {c + Y, b + Y, a + Y});
        add_polygon(faces, {a, a + Y, b + Y, b});
        add_polygon(faces, {b, b + Y, c + Y, c});
        add_polygon(faces, {c, c + Y, a + Y, a});
        expect_sides("wedge " + std::to_string(angle), faces,
                     {a, a + Y, a + Y * 0.4, {0.001, 0.5, 0}, {0.1, 0.5, 0}, {0.1, 0, 0}}, 4000,
                     [&](const ERPoint3D& p) {
                         // There it is thinner than what counts as contact.
                         if (p.x() > 0 && p.x() * angle < 4e-12) return 0.0;
                         return std::min({p.y(), 1 - p.y(), p.z(), 2 - p.x(),
                                          p.x() * std::sin(angle) - p.z() * std::cos(angle)});
                     });
    }
}

double radius_of(const ERPoint3D& p, const ERPoint3D& from = {}) { return distance(p, from); }

TEST(PartSides, OfCurvedSolids) {
    const ERPmIsometrie3D here;
    const ERLimites turn(0, 2 * pi);
    // A lens: two caps of balls of radius 1 about (0, 0, -h) and (0, 0, h).
    for (const double h : {0.5, 0.9, 0.999}) {
        Faces faces;
        const double from = std::asin(h), rim = std::cos(from);
        add(faces, ERBoundedSphere(ERTranslation3D(ERPoint3D(0, 0, -h)), 1, turn, {from, pi / 2}),
            1);
        add(faces, ERBoundedSphere(ERTranslation3D(ERPoint3D(0, 0, h)), 1, turn, {-pi / 2, -from}),
            1);
        expect_sides("lens", faces,
                     {{rim, 0, 0}, {0, rim, 0}, {rim * 0.8, -rim * 0.6, 0}, {0, 0, 1 - h}}, 3000,
                     [&](const ERPoint3D& p) {
                         return 1 - std::max(radius_of(p, {0, 0, -h}), radius_of(p, {0, 0, h}));
                     });
    }
    // A ball with an empty ball in it, which comes near to its surface.
    for (const double wall : {0.3, 1e-3, 1e-5}) {
        Faces faces;
        add(faces, ERBoundedSphere(here, 1, turn, {-pi / 2, pi / 2}), 1);
        const ERPoint3D centre(0.5 - wall, 0, 0);
        add(faces, ERBoundedSphere(ERTranslation3D(centre), 0.5, turn, {-pi / 2, pi / 2}), -1);
        expect_sides("hollow ball", faces, {{1, 0, 0}, {1 - 0.5 * wall, 0, 0}, {0, 0, 1}, centre},
                     3000, [&](const ERPoint3D& p) {
                         return std::min(1 - radius_of(p), radius_of(p, centre) - 0.5);
                     });
    }
    // A capsule.
    Faces capsule;
    add(capsule, ERBoundedCylinder(here, 1, {0, 2}, turn), -1);
    add(capsule, ERBoundedSphere(here, 1, turn, {-pi / 2, 0}), 1);
    add(capsule, ERBoundedSphere(ERTranslation3D(ERPoint3D(0, 0, 2)), 1, turn, {0, pi / 2}), 1);
    expect_sides("capsule", capsule, {{1, 0, 0}, {0, 1, 2}, {0, 0, 3}, {0, 0, -1}, {0, 0, 1}}, 3000,
                 [](const ERPoint3D& p) {
                     return 1 - radius_of(p, {0, 0, std::clamp(p.z(), 0.0, 2.0)});
                 });
    // What is between two cylinders that touch inside along a line: a cusp.
    Faces crescent;
    add(crescent, ERBoundedCylinder(here, 1, {0, 1}, turn), -1);
    add(crescent, ERBoundedCylinder(ERTranslation3D(ERPoint3D(0.5, 0, 0)), 0.5, {0, 1}, turn), 1);
    for (const int top : {0, 1}) {
        ERTrimmedSurface face(
            ERBoundedPlane(ERTranslation3D(ERPoint3D(0, 0, top)), {-2, 2}, {-2, 2}));
        face.addBound(ERArc2D({0, 0}, 1, 0, 2 * pi), Boundary::outer);
        face.addBound(ERArc2D({0.5, 0}, 0.5, 0, 2 * pi), Boundary::inner);
        add(crescent, face, top ? 1 : -1);
    }
    expect_sides("crescent", crescent,
                 {{1, 0, 0}, {1, 0, 0.5}, {1, 0, 1}, {-1, 0, 1}, {0, 0, 1}, {0, 0, 0.4}}, 4000,
                 [](const ERPoint3D& p) {
                     // There it is thinner than what counts as contact.
                     if (p.x() > 0.9 && std::fabs(p.y()) < 1e-5) return 0.0;
                     const double out = std::hypot(p.x(), p.y()),
                                  in = std::hypot(p.x() - 0.5, p.y());
                     return std::min({p.z(), 1 - p.z(), 1 - out, in - 0.5});
                 });
}

} // namespace
