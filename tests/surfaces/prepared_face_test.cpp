// Prepared faces: the place of parameters in known trims, gaps, poles and limits; all trimmed faces
// of the CAD files against polygons computed without the library.
#include "velm/surfaces/prepared_face.h"

#include "support/allocation_count.h"
#include "support/face_text.h"
#include "support/threads.h"

namespace {

using namespace velm_test;
using velm::FacePlace;
namespace fs = std::filesystem;

Random draw{66};

ERBoundedPlane plane() { return {ERIdentity3D(), {-10, 10}, {-10, 10}}; }

TEST(PreparedFace, PlacesToTheRoundingOfTheCurve) {
    ERTrimmedSurface trimmed(plane());
    trimmed.addBound(circle(1, 2, 5), Boundary::outer);
    trimmed.addBound(circle(2, 2, 1), Boundary::inner);
    for (const double tolerance : {0.0, 1e-6}) {
        const auto face = velm::prepare_face(trimmed, tolerance);
        ASSERT_TRUE(face);
        EXPECT_EQ(face->largest_gap(), 0);
        EXPECT_LE(face->tolerance(), std::max(tolerance, 1e-12));
        const double step = tolerance == 0 ? 1e-12 : tolerance;
        for (int i = 0; i < 500; ++i) {
            const double angle = draw.uniform(-4, 4);
            const ERVector2D ray(std::cos(angle), std::sin(angle));
            const auto place = [&](const ERPoint2D& center, double radius) {
                return face->place(center + ray * radius);
            };
            EXPECT_EQ(place({1, 2}, 5 + 2 * step), FacePlace::outside) << angle;
            EXPECT_EQ(place({1, 2}, 5), FacePlace::on_edge) << angle;
            EXPECT_EQ(place({1, 2}, 5 - 2 * step), FacePlace::inside) << angle;
            EXPECT_EQ(place({2, 2}, 1 + 2 * step), FacePlace::inside) << angle;
            EXPECT_EQ(place({2, 2}, 1 - 2 * step), FacePlace::outside) << angle;
            const velm::TrimFoot foot = face->nearest_trim(ERPoint2D(1, 2) + ray * 8.0);
            EXPECT_EQ(foot.loop, 0);
            EXPECT_NEAR(foot.distance, 3, 1e-13);
            EXPECT_EQ(face->parameter(foot.loop, foot.edge, foot.part), foot.parameter);
        }
        EXPECT_EQ(face->place({NAN, 0}), FacePlace::outside);
        EXPECT_EQ(face->place({1e308, 0}), FacePlace::outside);
    }
}

TEST(PreparedFace, DistancesAreOnTheSurface) {
    // A cylinder of radius 100: 1 of v is 100 of u.
    ERTrimmedSurface trimmed(ERBoundedCylinder(ERIdentity3D(), 100, {0, 50}, {0, 1}));
    trimmed.addBound(rectangle(10, 40, 0.2, 0.8), Boundary::outer);
    const auto face = velm::prepare_face(trimmed, 0.5);
    ASSERT_TRUE(face);
    EXPECT_EQ(face->v_scale(), 128);
    for (int i = 0; i < 2000; ++i) {
        const ERPoint2D p(draw.uniform(10, 40), draw.uniform(0.2, 0.8));
        const double to_u = std::min(p.x() - 10, 40 - p.x());
        const double angle = std::min(p.y() - 0.2, 0.8 - p.y());
        const double to_v = 200 * std::sin(angle / 2), nearest = std::min(to_u, to_v);
        // The scale is a power of two, so that one of two nearly as near edges may be taken.
        EXPECT_GE(face->nearest_trim(p).distance, nearest - 1e-10);
        EXPECT_LE(face->nearest_trim(p).distance, nearest * 1.3);
        if (std::fabs(nearest - 0.5) > 1e-9) {
            EXPECT_EQ(face->place(p), nearest < 0.5 ? FacePlace::on_edge : FacePlace::inside) << p;
        }
    }
}

TEST(PreparedFace, GapsAreBridgedAndReported) {
    // A square of 10 whose corners are open by 0.2, closed, overlapping by 0.1 and open by 1.
    ERCompCurve2D outline;
    for (const auto& [a, b] : {std::pair(ERPoint2D(0, 0), ERPoint2D(9.8, 0)),
                               std::pair(ERPoint2D(10, 0), ERPoint2D(10, 10)),
                               std::pair(ERPoint2D(10, 10), ERPoint2D(-0.1, 10)),
                               std::pair(ERPoint2D(0, 10), ERPoint2D(0, 1))})
        outline.append(ERSegment2D(a, b), -1);
    ERTrimmedSurface trimmed(ERBoundedPlane(ERIdentity3D(), {-1, 11}, {-1, 11}));
    trimmed.addBound(outline, Boundary::outer);
    const auto face = velm::prepare_face(trimmed);
    ASSERT_TRUE(face);
    std::vector<double> lengths;
    for (const velm::TrimGap& gap : face->gaps())
        lengths.push_back(std::round(gap.length * 1e9) / 1e9);
    EXPECT_EQ(lengths, (std::vector<double>{1, 0.2, 0.1}));
    EXPECT_EQ(face->gaps()[0].from, ERPoint2D(0, 1));
    EXPECT_TRUE(face->edge(0, face->gaps()[0].edge).bridge);
    EXPECT_EQ(face->place({0.01, 0.5}), FacePlace::on_edge)
        << "as near to the bridge as it is long";
    EXPECT_EQ(face->place({0.01, 5}), FacePlace::inside);
    EXPECT_EQ(face->place({9.9, 0.01}), FacePlace::on_edge);
    for (int i = 0; i < 2000; ++i) {
        const ERPoint2D p(draw.uniform(-1, 11), draw.uniform(-1, 11));
        const bool near = std::min({distance(p, {0, 0.5}) - 1.5, distance(p, {10, 0}) - 0.5,
                                    distance(p, {0, 10}) - 0.3}) < 0;
        const bool inside = p.x() > 0 && p.x() < 10 && p.y() > 0 && p.y() < 10;
        if (near) continue;
        EXPECT_EQ(face->place(p), inside ? FacePlace::inside : FacePlace::outside) << p;
    }

    // The edge along a pole of a sphere, which files leave out, is a bridge but no gap.
    ERTrimmedSurface cap(ERBoundedSphere(ERIdentity3D(), 5, {0, 6}, {-1.5, pi / 2}));
    cap.addBound(ERPolyline2D({{1, pi / 2}, {1, 0.5}, {3, 0.5}, {3, pi / 2}}), Boundary::outer);
    const auto prepared = velm::prepare_face(cap);
    ASSERT_TRUE(prepared);
    EXPECT_TRUE(prepared->gaps().empty());
    EXPECT_TRUE(prepared->edge(0, 3).bridge);
    EXPECT_EQ(prepared->place({2, 1.5}), FacePlace::inside);
    EXPECT_EQ(prepared->place({0.9, 1.5}), FacePlace::outside);
    EXPECT_EQ(prepared->place({2, pi / 2}), FacePlace::on_edge);
}

TEST(PreparedFace, LimitsNestedTrimsAndWhatCannotBePrepared) {
    const auto places = [](const velm::PreparedFace& face) {
        std::string found;
        for (const ERPoint2D& p : {ERPoint2D(0, 0), ERPoint2D(9, 0), ERPoint2D(10, 0),
                                   ERPoint2D(10.5, 0), ERPoint2D(-10, 9), ERPoint2D(8, 0)})
            found += "ioe"[static_cast<int>(face.place(p))];
        return found;
    };
    EXPECT_EQ(places(*velm::prepare_face(plane())), "iieoei");
    ERTrimmedSurface wide(plane());
    EXPECT_EQ(places(*velm::prepare_face(wide)), "iieoei");
    wide.addBound(rectangle(8, 12, -5, 5), Boundary::outer); // beyond the limits
    EXPECT_EQ(places(*velm::prepare_face(wide)), "oieooe");
    EXPECT_TRUE(velm::prepare_face(wide)->is_limits(1));
    ERTrimmedSurface hole(plane());
    hole.addBound(circle(0, 0, 9), Boundary::inner);
    EXPECT_EQ(places(*velm::prepare_face(hole)), "oeeoeo");
    ERTrimmedSurface nested(static_cast<const ERAnyBoundedSurface&>(hole)); // no copy of it
    nested.addBound(rectangle(-10, 9.5, -10, 10), Boundary::outer);
    EXPECT_EQ(places(*velm::prepare_face(nested)), "oeooeo");
    ERTrimmedSurface late(plane()); // the region takes the first one for the outer one
    late.addBound(circle(0, 0, 9), Boundary::inner);
    late.addBound(circle(0, 0, 1), Boundary::unset);
    EXPECT_EQ(places(*velm::prepare_face(late)), "oeooo"
                                                 "i");
    EXPECT_TRUE(late.isInBound({8, 0}) && !late.isInBound({0, 0}));

    // A trimmed composite, clockwise arcs, curves with kinks.
    ERCompCurve2D parts;
    parts.append(ERArc2D({0, 0}, 5, pi, 0), -1); // over the top, clockwise
    parts.append(ERPolyline2D({{5, 0}, {5, -9}, {-5, -9}, {-5, 0}}), -1);
    parts.append(ERSegment2D({7, 7}, {8, 8}), -1);
    parts.setBound({0, 2});
    ERTrimmedSurface mixed(plane());
    mixed.addBound(parts, Boundary::outer);
    const auto face = velm::prepare_face(mixed);
    ASSERT_TRUE(face);
    EXPECT_LT(face->largest_gap(), 1e-14);
    EXPECT_EQ(face->place({0, 4.9}), FacePlace::inside);
    EXPECT_EQ(face->place({4.9, 4.9}), FacePlace::outside);
    EXPECT_EQ(face->place({4.9, -8.9}), FacePlace::inside);

    EXPECT_FALSE(velm::prepare_face(ERTrimmedSurface()));
    ERTrimmedSurface bare(plane());
    bare.addBound(ERCompCurve2D(), Boundary::outer);
    EXPECT_FALSE(velm::prepare_face(bare));
    ERTrimmedSurface infinite(plane());
    infinite.addBound(ERPolyline2D({{0, 0}, {INFINITY, 0}, {1, 1}}), Boundary::outer);
    EXPECT_FALSE(velm::prepare_face(infinite));
}

// Loops that go once round: of lines and curves, in one piece or changing sides at the seam, from
// any start, and in both directions.
TEST(PreparedFace, RingsAreClosedAlongTheSeam) {
    const auto check = [](const ERAnyBoundedSurface& surface, auto make_rings, auto is_inside) {
        for (const double start : {0.0, 1.0, 5.0})
            for (const bool turned : {false, true}) {
                ERTrimmedSurface trimmed(surface);
                make_rings(trimmed, start, turned);
                const auto face = velm::prepare_face(trimmed);
                ASSERT_TRUE(face);
                EXPECT_TRUE(face->gaps().empty());
                const ERLimites u = face->surface().domain_u(), v = face->surface().domain_v();
                for (int i = 0; i < 300; ++i) {
                    const ERPoint2D p(u(draw.uniform(0, 1)), v(draw.uniform(0, 1)));
                    const FacePlace place = face->place(p);
                    const bool in_wave = p.x() > 2 && p.x() < 2.1;
                    if (place == FacePlace::on_edge || in_wave) continue;
                    EXPECT_EQ(place == FacePlace::inside, is_inside(p, turned))
                        << surface.className() << " " << start << turned << p;
                }
            }
    };
    // From `start` on once round along one direction, waved by a cubic in pieces of a third, or
    // straight and changing sides.
    const auto ring = [](double start, double level, bool waved, bool along_u, bool turned) {
        const auto place = [&](double t, double w) {
            return along_u ? ERPoint2D(t, level + w) : ERPoint2D(level + w, t);
        };
        t_SmartPtr<ERCompCurve2D> loop = new ERCompCurve2D;
        std::vector<std::pair<ERPoint2D, ERPoint2D>> lines;
        const double end = start + 2 * pi;
        if (waved) {
            ERVec<ERPole2DH> poles;
            for (int k = 0; k <= 6; ++k)
                poles.push_back(ERPole2DH(place(start + k * pi / 3, k % 6 == 0 ? 0 : 0.1), 1.0));
            ERCpoleNURBS2D curve(poles, 3);
            if (turned) curve.reverse();
            loop->append(curve, -1);
            return loop;
        }
        if (start > 0) lines.push_back({place(start, 0), place(2 * pi, 0)});
        lines.push_back({place(0, 0), place(end - 2 * pi, 0)});
        if (start == 0) lines.back().second = place(2 * pi, 0);
        if (turned) std::reverse(lines.begin(), lines.end());
        for (auto& [a, b] : lines)
            turned ? loop->append(ERSegment2D(b, a), -1) : loop->append(ERSegment2D(a, b), -1);
        return loop;
    };
    const ERLimites turn(0, 2 * pi);
    check(
        ERBoundedCylinder(ERIdentity3D(), 3, {0, 10}, turn),
        [&](ERTrimmedSurface& face, double start, bool turned) {
            face.addBound(*ring(start, 7, false, false, turned), Boundary::outer);
            face.addBound(*ring(start + 0.5, 2, true, false, !turned), Boundary::inner);
        },
        [](const ERPoint2D& p, bool) { return p.x() > 2.1 && p.x() < 7; });
    check(
        ERBoundedSphere(ERIdentity3D(), 3, turn, {-pi / 2, pi / 2}),
        [&](ERTrimmedSurface& face, double start, bool turned) {
            face.addBound(*ring(start, 0.4, false, true, turned), Boundary::outer);
        },
        [](const ERPoint2D& p, bool turned) { return (p.y() > 0.4) != turned; });
    check(
        ERBoundedTorus(ERIdentity3D(), 5, 1, 0, 2 * pi, 0, 2 * pi),
        [&](ERTrimmedSurface& face, double start, bool turned) {
            face.addBound(*ring(start, 1, false, true, turned), Boundary::outer);
            face.addBound(*ring(start, 4, false, true, !turned), Boundary::inner);
        },
        [](const ERPoint2D& p, bool turned) { return (p.y() > 1 && p.y() < 4) != turned; });
    // Discs and holes across one seam, across two, and rounds beyond them.
    double middle = 0.0;
    const auto round = [&](ERTrimmedSurface& face, double start, bool turned) {
        middle = start;
        face.addBound(circle(start + 4 * pi, start - 2 * pi, 1.5),
                      turned ? Boundary::inner : Boundary::outer);
    };
    const auto is_in_disc = [&](const ERPoint2D& p, bool turned) {
        const double u = std::remainder(p.x() - middle, 2 * pi),
                     v = std::remainder(p.y() - middle, 2 * pi);
        return (std::hypot(u, v) < 1.5) != turned;
    };
    check(ERBoundedTorus(ERIdentity3D(), 5, 1, 0, 2 * pi, 0, 2 * pi), round, is_in_disc);
    check(
        ERBoundedCylinder(ERIdentity3D(), 3, {12, 22}, turn),
        [&](ERTrimmedSurface& face, double start, bool turned) {
            middle = start;
            face.addBound(circle(15, start, 1.5), turned ? Boundary::inner : Boundary::outer);
        },
        [&](const ERPoint2D& p, bool turned) {
            return (std::hypot(p.x() - 15, std::remainder(p.y() - middle, 2 * pi)) < 1.5) != turned;
        });
    // A ring that comes back over the seam.
    const ERPoint2D bends[] = {{4, 0.5}, {5, -0.6}, {6, 0.7}, {6, 3}, {4, 5}, {4, 0.5 + 2 * pi}};
    check(
        ERBoundedCylinder(ERIdentity3D(), 3, {0, 10}, turn),
        [&](ERTrimmedSurface& face, double, bool turned) {
            ERVec<ERPoint2D> vertices;
            for (const ERPoint2D& bend : bends)
                vertices.push_back(bend);
            ERPolyline2D loop(vertices);
            if (turned) loop.reverse();
            face.addBound(loop, Boundary::outer);
        },
        [&](const ERPoint2D& p, bool turned) {
            bool inside = turned;
            for (const double shift : {-2 * pi, 0.0, 2 * pi})
                for (int i = 0; i < 5; ++i) {
                    const ERPoint2D a = bends[i], b = bends[i + 1];
                    const double y = p.y() + shift;
                    if ((a.y() > y) != (b.y() > y) &&
                        p.x() < a.x() + (b.x() - a.x()) * (y - a.y()) / (b.y() - a.y()))
                        inside = !inside;
                }
            return inside;
        });
}

// Even-odd parity, and the distance to the polygon with ordinates scaled.
struct PolygonPlace {
    bool inside = false;
    double distance = INFINITY;

    PolygonPlace(const std::vector<ERPoint2D>& polygon, const ERPoint2D& p, double v_scale) {
        const auto scaled = [&](const ERPoint2D& q) { return ERPoint2D(q.x(), q.y() * v_scale); };
        for (std::size_t i = 0; i < polygon.size(); ++i) {
            const ERPoint2D &a = polygon[i], &b = polygon[(i + 1) % polygon.size()];
            if ((a.y() > p.y()) != (b.y() > p.y()))
                inside ^= p.x() < a.x() + (b.x() - a.x()) * ((p.y() - a.y()) / (b.y() - a.y()));
            const ERPoint2D s = scaled(a), q = scaled(p);
            const ERVector2D chord(s, scaled(b)), off(s, q);
            const double length2 = chord.norme2();
            const double t = length2 > 0 ? std::clamp(off * chord / length2, 0.0, 1.0) : 0.0;
            distance = std::min(distance, (off - chord * t).norme());
        }
    }
};

// A waved bicubic surface over [0, 1] x [0, 3], steeper along v.
ERSpoleNURBS3D waves() {
    ERMatrix<ERPole3DH> poles(7, 6);
    for (int j = 0; j < 7; ++j)
        for (int i = 0; i < 6; ++i)
            poles(j, i) = ERPole3DH(ERPoint3D(i, 4 * j, std::sin(2.0 * i + j)), 1.0);
    return {poles, ERKnotVector(3, 6, {0, 1}), ERKnotVector(3, 7, {0, 3})};
}

TEST(PreparedFace, PlacesAmongRandomCurvesThatCrossThemselves) {
    int compared = 0, edges = 0;
    for (int round = 0; round < 60; ++round) {
        ERVec<ERPole2DH> poles;
        for (int i = 0; i < 9; ++i) {
            const double w = draw.uniform(0.1, 4);
            const ERPoint2D p(draw.uniform(0, 1), draw.uniform(0, 3));
            poles.push_back(ERPole2DH(i == 5 ? poles[4] : ERPole2DH(p * w, w))); // also cusps
        }
        if (round % 4 != 0) poles.push_back(poles[0]); // else open, and closed by a bridge
        ERCpoleNURBS2D curve(poles, 1 + round % 4);
        ERTrimmedSurface trimmed(waves());
        trimmed.addBound(curve, Boundary::outer);
        const auto face = velm::prepare_face(trimmed);
        ASSERT_TRUE(face) << round;
        EXPECT_EQ(face->gaps().empty(), round % 4 != 0);
        std::vector<ERPoint2D> polygon;
        for (int i = 0; i < 4096; ++i)
            polygon.push_back(curve(i / 4095.0));
        for (int i = 0; i < 60; ++i) {
            const ERPoint2D p(draw.uniform(0, 1), draw.uniform(0, 3));
            const PolygonPlace oracle(polygon, p, 1.0);
            const velm::TrimFoot foot = face->nearest_trim(p);
            EXPECT_LE(foot.distance, distance(foot.point, face->surface()(p.x(), p.y())) + 1e-12);
            if (oracle.distance > 2e-3 && face->gaps().empty()) {
                EXPECT_EQ(face->place(p), oracle.inside ? FacePlace::inside : FacePlace::outside)
                    << round << " " << p;
                ++compared;
            }
            const double part = draw.uniform(0, 1);
            const int edge = draw.below(face->edges(0));
            edges += face->place(face->parameter(0, edge, part)) == FacePlace::on_edge;
        }
    }
    EXPECT_EQ(edges, 60 * 60);
    EXPECT_GT(compared, 2400);
}

TEST(PreparedFaceThreads, ShareOneFaceWithoutAllocation) {
    ERTrimmedSurface trimmed(waves());
    trimmed.addBound(circle(0.5, 1.5, 0.45), Boundary::outer);
    trimmed.addBound(rectangle(0.4, 0.6, 1.4, 1.6), Boundary::inner);
    const auto face = velm::prepare_face(trimmed, 0.01);
    ASSERT_TRUE(face);
    std::vector<ERPoint2D> places;
    for (int i = 0; i < 2000; ++i)
        places.emplace_back(draw.uniform(0, 1), draw.uniform(1, 2));
    std::vector<std::pair<FacePlace, double>> expected(places.size());
    const auto ask = [&](std::size_t i) {
        return std::pair(face->place(places[i]), face->nearest_trim(places[i]).distance);
    };
    expected[0] = ask(0);
    const long before = allocations();
    for (std::size_t i = 0; i < places.size(); ++i)
        expected[i] = ask(i);
    EXPECT_EQ(allocations(), before);
    std::vector<int> equal(8);
    in_threads(8, [&](int n) {
        for (std::size_t i = 0; i < places.size(); ++i)
            equal[std::size_t(n)] += ask(i) == expected[i];
    });
    EXPECT_EQ(equal, std::vector<int>(8, 2000));
}

using RealFaces = TextForms;

TEST_F(RealFaces, PlaceWhatIsInsideAndOutside) {
    int faces = 0, inside = 0, outside = 0;
    for (const fs::path& file : files)
        for (const FaceText& f : FaceTextReader(file).faces) {
            SCOPED_TRACE(file.filename().string() + " face " + f.id + " on a " + f.surface_kind);
            const auto face = velm::prepare_face(*f.face);
            ASSERT_TRUE(face);
            ++faces;
            const ERMinimax2D box = f.face->boundaryBox();
            const double size =
                std::hypot(box.xmax - box.xmin, (box.ymax - box.ymin) * face->v_scale());
            for (int i = 0; i < 60; ++i) {
                const ERPoint2D p(draw.uniform(box.xmin, box.xmax),
                                  draw.uniform(box.ymin, box.ymax));
                bool expected = true, near = false;
                for (std::size_t k = 0; k < f.polygons.size(); ++k) {
                    const PolygonPlace place(f.polygons[k], p, face->v_scale());
                    expected = expected && place.inside == (k == 0);
                    near = near || place.distance < 1e-3 * size;
                }
                if (near) continue;
                const FacePlace place = face->place(p);
                EXPECT_EQ(place, expected ? FacePlace::inside : FacePlace::outside) << p;
                EXPECT_EQ(f.face->isInBound(p), expected) << p;
                ++(expected ? inside : outside);
            }
        }
    EXPECT_EQ(faces, 544);
    EXPECT_GT(inside, 10000);
    EXPECT_GT(outside, 2000);
}

} // namespace
