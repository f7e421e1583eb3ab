// The NURBS surfaces of CAD files: they give the edge points of their files, also prepared, as
// patches, cut in parts and restored from a store. Their trimmed faces: nearest points beside an
// exhaustive search.
#include "support/face_text.h"
#include "support/records.h"
#include "support/temporary_folder.h"
#include "velm/store/database.h"
#include "velm/surfaces/face_projector.h"
#include "velm/surfaces/recognition.h"
#include "velm/surfaces/surface_box.h"
#include "velm/surfaces/surface_projector.h"
#include "velm/surfaces/tessellation.h"

namespace {

using namespace velm_test;
namespace fs = std::filesystem;

double reach_of(const ERSpoleNURBS3D& surface) {
    const ERMinimax3D box = surface.getBox();
    double reach = 0.0;
    for (int axis = 0; axis < 3; ++axis)
        reach = std::max({reach, std::fabs(box.lower(axis)), std::fabs(box.upper(axis))});
    return reach;
}

using RealSurfaces = TextForms;

TEST_F(RealSurfaces, GiveTheEdgePointsOfTheirFiles) {
    int points = 0, points_of_faces = 0;
    for (const fs::path& file : files) {
        const FaceTextReader text(file);
        const auto surfaces = text.nurbs_surfaces();
        std::map<std::string, std::pair<FaceText, velm::FaceProjector>> faces;
        for (const FaceText& face : text.faces)
            faces.emplace(face.id, std::pair(face, *velm::FaceProjector::on(
                                                       *velm::prepare_face(*face.face))));
        std::map<const ERSpoleNURBS3D*, velm::SurfaceProjector> projectors;
        for (const EdgePoint& edge : edge_points(file)) {
            SCOPED_TRACE(file.filename().string() + ": " + edge.line);
            const ERPoint3D& p = edge.point;
            const auto trimmed = faces.find(edge.id);
            if (trimmed != faces.end()) {
                const auto& [face_text, projector] = trimmed->second;
                const velm::PreparedFace& face = projector.face();
                const double allowed = edge.gap * 1.001 + 4 * face.tolerance() + face.overlap();
                const ERPoint2D at = face_text.map(edge.u, edge.v);
                EXPECT_LE(distance(face.surface()(at.x(), at.y()), p), allowed);
                EXPECT_LE(face.nearest_trim(at).distance, allowed);
                EXPECT_EQ(face.place(at), velm::FacePlace::on_edge);
                const velm::FaceFoot foot = projector.nearest(p);
                EXPECT_TRUE(foot.certified);
                EXPECT_LE(foot.distance, allowed);
                ++points_of_faces;
            }
            const auto found =
                surfaces.find(trimmed != faces.end() ? trimmed->second.first.surface : edge.id);
            if (found == surfaces.end()) continue;
            const ERSpoleNURBS3D& surface = *found->second;
            const double allowed = edge.gap * 1.001 + 64 * std::numeric_limits<double>::epsilon() *
                                                          std::max(reach_of(surface), 1.0);
            EXPECT_LE(distance(surface(edge.u, edge.v), p), allowed);
            auto projector = projectors.find(&surface);
            if (projector == projectors.end())
                projector =
                    projectors
                        .emplace(&surface, *velm::SurfaceProjector::on(*velm::prepare(surface)))
                        .first;
            const velm::SurfaceFoot foot = projector->second.nearest(p);
            EXPECT_TRUE(foot.certified);
            const ERPoint3D inside = surface(std::clamp(edge.u, surface.udeb(), surface.ufin()),
                                             std::clamp(edge.v, surface.vdeb(), surface.vfin()));
            EXPECT_LE(foot.distance, std::max(allowed, distance(inside, p)));
            ++points;
        }
    }
    EXPECT_EQ(points, 3016); // none was overlooked
    EXPECT_EQ(points_of_faces, 11936);
}

double smallest_radius(const velm::PreparedSurface& surface, const ERPoint2D& at) {
    const velm::PrincipalCurvatures bend = curvatures_at(surface, at);
    return 1.0 / std::max(std::fabs(bend.min), std::fabs(bend.max));
}

// Points above a surface, by less than half the radius of curvature, come back to where they are
// from, unless another part is nearer.
TEST_F(RealSurfaces, GetBackPointsThatAreDisplaced) {
    Random random(77);
    int back = 0, nearer = 0;
    for (const fs::path& file : files)
        for (const auto& [name, entity] : FaceTextReader(file).nurbs_surfaces()) {
            SCOPED_TRACE(file.filename().string() + " " + name);
            const auto surface = velm::prepare(*entity);
            const auto projector = velm::SurfaceProjector::on(*surface);
            const ERLimites in_u = surface->domain_u(), in_v = surface->domain_v();
            const double size = surface->box().diagonal();
            for (int k = 0; k < 200; ++k) {
                const ERPoint2D at(in_u(random.uniform(0.02, 0.98)),
                                   in_v(random.uniform(0.02, 0.98)));
                const double t = random.uniform(-1, 1) *
                                 std::min(0.05 * size, 0.5 * smallest_radius(*surface, at));
                const ERPoint3D on = (*surface)(at.x(), at.y());
                const ERPoint3D p = on + surface->normal(at.x(), at.y()) * t;
                const velm::SurfaceFoot foot = projector->nearest(p);
                const double tol = 1e-12 * size + 8e-16 * reach_of(*entity);
                EXPECT_TRUE(foot.certified);
                EXPECT_LE(foot.distance, std::fabs(t) + tol);
                if (foot.distance < std::fabs(t) - 1e-9 * size) {
                    ++nearer;
                    continue;
                }
                EXPECT_LE(distance(foot.point, on), tol) << at.x() << " " << at.y() << " " << t;
                ++back;
            }
        }
    EXPECT_GT(back, 9 * nearer);
    EXPECT_EQ(back + nearer, 241 * 200);
}

// The least distance from a face by trying: places all over it and all along its trim, and then
// ever closer ones about the nearest two of each.
class TriedFace {
public:
    explicit TriedFace(const velm::PreparedFace& face) : face_(face) {
        for (int loop = 0; loop < face.loops(); ++loop)
            for (int edge = 0; edge < face.edges(loop); ++edge)
                for (int i = 0; i < along; ++i)
                    add_on_trim({loop, edge, (i + 0.5) / along, {}});
        for (int j = 0; j < across; ++j)
            for (int i = 0; i < across; ++i) {
                const ERPoint2D at(box_.xmin + (i + 0.5) * step_u(),
                                   box_.ymin + (j + 0.5) * step_v());
                if (face.place(at) != velm::FacePlace::inside) continue;
                inner_.push_back({at, face.surface()(at.x(), at.y())});
            }
    }
    double size() const { return space_.diagonal(); }
    // A place inside that isn't on an edge.
    ERPoint2D some_place(Random& random) const {
        for (;;) {
            const ERPoint2D at(random.uniform(box_.xmin, box_.xmax),
                               random.uniform(box_.ymin, box_.ymax));
            if (face_.place(at) == velm::FacePlace::inside) return at;
        }
    }
    double distance_from(const ERPoint3D& q) const {
        double least = HUGE_VAL;
        for (const std::size_t i : nearest_two(inner_, q))
            least = std::min(least, closer(inner_[i].at, q));
        for (const std::size_t i : nearest_two(trim_, q))
            least = std::min(least, closer(places_[i], q));
        return least;
    }

private:
    static constexpr int along = 64, across = 48, rounds = 24, window = 3;
    struct Tried {
        ERPoint2D at;
        ERPoint3D point;
    };

    void add_on_trim(const velm::TrimPlace& place) {
        const ERPoint2D at = face_.parameter(place.loop, place.edge, place.part);
        trim_.push_back({at, face_.surface()(at.x(), at.y())});
        places_.push_back(place);
        box_.Update(at);
        space_.Update(trim_.back().point);
    }
    double step_u() const { return (box_.xmax - box_.xmin) / across; }
    double step_v() const { return (box_.ymax - box_.ymin) / across; }

    // Of a place on a loop, which another loop may leave out.
    bool is_beside_face(const ERPoint2D& at) const {
        const ERVector2D u(1e-8 * step_u(), 0.0), v(0.0, 1e-8 * step_v());
        for (const ERVector2D& step : {u, -u, v, -v, u + v, u - v, v - u, -u - v})
            if (face_.place(at + step) == velm::FacePlace::inside) return true;
        return false;
    }
    // The second one is away from the first.
    static std::vector<std::size_t> nearest_two(const std::vector<Tried>& tried,
                                                const ERPoint3D& q) {
        std::vector<std::size_t> found;
        for (int n = 0; n < 2; ++n) {
            double least = HUGE_VAL;
            std::size_t best = tried.size();
            for (std::size_t i = 0; i < tried.size(); ++i) {
                const double d = distance(tried[i].point, q);
                if (d >= least) continue;
                if (n == 1 && distance(tried[i].point, tried[found[0]].point) < 0.5 * least)
                    continue;
                least = d, best = i;
            }
            if (best == tried.size()) break;
            found.push_back(best);
        }
        return found;
    }
    double closer(ERPoint2D at, const ERPoint3D& q) const {
        double least = HUGE_VAL, half_u = step_u(), half_v = step_v();
        for (int round = 0; round < rounds; ++round, half_u *= 0.4, half_v *= 0.4) {
            const ERPoint2D middle = at;
            for (int j = -window; j <= window; ++j)
                for (int i = -window; i <= window; ++i) {
                    const ERPoint2D p(middle.x() + half_u * i / window,
                                      middle.y() + half_v * j / window);
                    const double d = distance(face_.surface()(p.x(), p.y()), q);
                    if (d >= least || face_.place(p) != velm::FacePlace::inside) continue;
                    least = d, at = p;
                }
        }
        return least;
    }
    double closer(velm::TrimPlace at, const ERPoint3D& q) const {
        double least = HUGE_VAL, half = 1.0 / along;
        for (int round = 0; round < rounds; ++round, half *= 0.4) {
            const double middle = at.part;
            for (int i = -window; i <= window; ++i) {
                const double part = std::clamp(middle + half * i / window, 0.0, 1.0);
                const ERPoint2D p = face_.parameter(at.loop, at.edge, part);
                const double d = distance(face_.surface()(p.x(), p.y()), q);
                if (d < least && is_beside_face(p)) least = d, at.part = part;
            }
        }
        return least;
    }

    const velm::PreparedFace& face_;
    ERMinimax2D box_;
    ERMinimax3D space_;
    std::vector<Tried> inner_, trim_;
    std::vector<velm::TrimPlace> places_;
};

// Where a point comes from: a place that it is perpendicular above, nearer than half the radius of
// curvature there, or at any distance; or from anywhere.
enum class From { near, far, anywhere };

TEST_F(RealSurfaces, AsTrimmedFacesAreAsFarAsAnythingTried) {
    Random random(190);
    const int points = repeats(400);
    int faces = 0, back = 0, nearer = 0, on_trims = 0;
    for (const fs::path& file : files)
        for (const FaceText& text : FaceTextReader(file).faces) {
            SCOPED_TRACE(file.filename().string() + " face " + text.id + " on a " +
                         text.surface_kind);
            const auto face = velm::prepare_face(*text.face);
            ASSERT_TRUE(face);
            const auto projector = velm::FaceProjector::on(*face);
            ASSERT_TRUE(projector);
            ++faces;
            const TriedFace tried(*face);
            const double size = tried.size();
            // So near to a crossing of loops are places tried that are outside.
            const double beside = face->loops() > 1 ? 1e-9 * size : 0.0;
            for (int k = 0; k < points; ++k) {
                const From from = k % 2 == 0 ? From::near : k % 4 == 1 ? From::far : From::anywhere;
                const ERPoint2D at = tried.some_place(random);
                const double reach =
                    from == From::near
                        ? std::min(0.05 * size, 0.5 * smallest_radius(face->surface(), at))
                        : 0.5 * size;
                const double t = random.uniform(-1, 1) * reach;
                const ERPoint3D on = face->surface()(at.x(), at.y());
                const ERPoint3D p =
                    on + (from == From::anywhere ? random.value<ERVector3D>(reach)
                                                 : face->surface().normal(at.x(), at.y()) * t);
                SCOPED_TRACE(testing::Message() << p << " from " << at);
                const double tol = 1e-12 * size + 8e-16 * distance(on, ERPoint3D());
                const velm::FaceFoot foot = projector->nearest(p);
                EXPECT_TRUE(foot.certified);
                const double least = std::min(distance(on, p), tried.distance_from(p));
                EXPECT_LE(foot.distance, least + tol + beside);
                // It is a place of the face.
                EXPECT_NE(face->place({foot.u, foot.v}), velm::FacePlace::outside);
                EXPECT_LE(distance(foot.point, face->surface()(foot.u, foot.v)), tol);
                EXPECT_NEAR(foot.distance, distance(foot.point, p), tol);
                on_trims += foot.loop >= 0;
                if (from != From::near) continue;
                const bool is_nearest = least > std::fabs(t) - 1e-9 * size;
                if (is_nearest) {
                    EXPECT_LE(distance(foot.point, on), tol) << t;
                }
                ++(is_nearest ? back : nearer);
            }
        }
    std::printf("%d faces, %d points back, of %d another place is nearer, %d on trims\n", faces,
                back, nearer, on_trims);
    EXPECT_EQ(faces, 544);
    EXPECT_GT(back, 9 * nearer);
}

TEST_F(RealSurfaces, StayTheSamePreparedCutAndStored) {
    int count = 0;
    for (const fs::path& file : files) {
        const auto surfaces = FaceTextReader(file).nurbs_surfaces();
        const TemporaryFolder folder;
        ERDataBase store;
        ASSERT_EQ(store.Open(folder.path("surfaces").c_str(), 0), gmSuccess);
        for (const auto& [name, surface] : surfaces) {
            SCOPED_TRACE(file.filename().string() + " " + name);
            const double allowed =
                256 * std::numeric_limits<double>::epsilon() * std::max(reach_of(*surface), 1.0);
            const ERLimites in_u = surface->getBoundU(), in_v = surface->getBoundV();
            const auto prepared = velm::prepare(*surface);
            ASSERT_TRUE(prepared);
            t_SmartPtr<ERSpoleNURBS3D> a, b;
            ASSERT_EQ(surface->SplitInV(a, b), 1);
            ERMinimax3D box = prepared->box();
            box.Inflate(allowed);
            for (int k = 0; k < 49; ++k) {
                const double u = in_u((k % 7 + 0.5) / 7), v = in_v((k / 7 + 0.5) / 7.1);
                const ERPoint3D p = (*surface)(u, v);
                EXPECT_LE(distance((*prepared)(u, v), p), allowed);
                EXPECT_LE(distance(surface->PtCur(u, v).point(), p), allowed);
                EXPECT_LE(distance((*(v < a->vfin() ? a : b))(u, v), p), allowed);
                EXPECT_TRUE(box.contains(p));
                ERPoint3D from_patches;
                velm::SurfaceSamples samples;
                samples.points = {&from_patches, 1};
                prepared->grid({&u, 1}, {&v, 1}, samples);
                EXPECT_LE(distance(from_patches, p), allowed);
            }
            ASSERT_EQ(store.save(surface.get()), gmSuccess);
            gmErrorCode code;
            const t_SmartPtr<ERObject> back = store.restore(count++, code);
            ASSERT_TRUE(back);
            EXPECT_EQ(record_of(*back), record_of(*surface));
        }
        count = 0;
    }
}

// Meshes within a thousandth of the size, proved and sampled; simple shapes with their deviation,
// and boxes beside the prepared surfaces' own.
TEST_F(RealSurfaces, AreMeshedBoxedAndRecognized) {
    std::map<int, int> kinds;
    std::size_t triangles = 0;
    for (const fs::path& file : files) {
        const auto surfaces = FaceTextReader(file).nurbs_surfaces();
        for (const auto& [name, entity] : surfaces) {
            SCOPED_TRACE(file.filename().string() + " " + name);
            const auto surface = velm::prepare(*entity);
            ASSERT_TRUE(surface);
            const double size = surface->box().diagonal();
            const velm::SurfaceMesh mesh = velm::tessellate(*surface, 1e-3 * size);
            EXPECT_TRUE(mesh.certified && !mesh.triangles.empty());
            triangles += mesh.triangles.size();
            for (std::size_t k = 0; k < mesh.triangles.size(); k += 7) {
                ERPoint3D middle;
                ERPoint2D at;
                for (const int v : mesh.triangles[k]) {
                    middle += mesh.positions[std::size_t(v)] * (1.0 / 3);
                    at += mesh.parameters[std::size_t(v)] * (1.0 / 3);
                }
                EXPECT_LE(distance((*surface)(at.x(), at.y()), middle), 1e-3 * size);
            }
            const velm::TightBox box = velm::tight_box(*surface, 1e-6 * size);
            EXPECT_LE(box.excess, 1e-6 * size);
            ERMinimax3D grown = box.box;
            grown.Inflate(1e-12 * (size + reach_of(*entity)));
            for (const ERPoint3D& p : mesh.positions)
                EXPECT_TRUE(grown.contains(p));
            const auto found = velm::recognize(*surface, 1e-6 * size);
            if (found) {
                for (const ERPoint3D& p : mesh.positions) {
                    double d = 0.0;
                    found->surface->SignedMinimalDistance(p, d);
                    if (const auto* const torus = ERBoundedTorus::castdown(found->surface.get())) {
                        // Beyond the axis of a torus that crosses it.
                        const ERVector3D arm(torus->origin(), p);
                        const double height = arm * torus->vect();
                        const double out = (arm - torus->vect() * height).norme();
                        const double far =
                            std::hypot(out + torus->radius(), height) - torus->small_radius();
                        d = std::min(std::fabs(d), std::fabs(far));
                    }
                    EXPECT_LE(std::fabs(d), found->deviation + 1e-13 * (size + reach_of(*entity)));
                }
            }
            ++kinds[found ? static_cast<int>(found->kind) : -1];
        }
    }
    // Of 241 surfaces: planes, cylinders, cones, a sphere, tori.
    const std::map<int, int> expected{{-1, 127}, {0, 71}, {1, 18}, {2, 7}, {3, 1}, {4, 17}};
    EXPECT_EQ(kinds, expected);
    EXPECT_LE(triangles, 90000u);
}

} // namespace
