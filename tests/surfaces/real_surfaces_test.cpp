// The NURBS surfaces of CAD files: they give the edge points of their files, also prepared, as
// patches, cut in parts and restored from a store.
#include "velm/surfaces/nurbs_surface.h"

#include "support/geometry_text.h"
#include "support/records.h"
#include "support/temporary_folder.h"
#include "support/test.h"
#include "velm/frame/point_functions.h"
#include "velm/store/database.h"
#include "velm/surfaces/prepared_surface.h"
#include "velm/surfaces/recognition.h"
#include "velm/surfaces/surface_box.h"
#include "velm/surfaces/surface_projector.h"
#include "velm/surfaces/tessellation.h"
#include "velm/surfaces/torus.h"

#include <map>

namespace {

using velm_test::TextFields;
namespace fs = std::filesystem;

const fs::path data = VELM_REAL_DATA;

// The surfaces of a text and the surface of each face, by their names.
struct SurfaceTexts {
    std::map<std::string, t_SmartPtr<ERSpoleNURBS3D>> surfaces;
    std::map<std::string, std::string> of_face;

    explicit SurfaceTexts(const fs::path& file) {
        std::ifstream in(file);
        for (std::string line; std::getline(in, line);) {
            TextFields fields(line);
            const std::string word = fields.word(), name = fields.word();
            if (word == "face" && fields.word() == "surface") of_face[name] = fields.word();
            if (word == "surface" && fields.word() == "nurbs") surfaces[name] = read(fields, in);
        }
    }

private:
    static ERKnotVector knots(int degree, std::istream& in) {
        std::string line;
        std::getline(in, line);
        TextFields fields(line);
        fields.word();
        const std::vector<double> list = fields.rest();
        return {degree, list.data(), static_cast<int>(list.size())};
    }
    static t_SmartPtr<ERSpoleNURBS3D> read(TextFields& head, std::istream& in) {
        const int p = head.whole(), q = head.whole(), n = head.whole(), m = head.whole();
        const std::vector<double> limits = head.rest();
        const ERKnotVector u = knots(p, in), v = knots(q, in);
        ERMatrix<ERPole3DH> poles(m, n);
        std::string line;
        for (ERPole3DH& pole : poles.writable()) {
            std::getline(in, line);
            TextFields fields(line);
            fields.word();
            const std::vector<double> c = fields.rest();
            pole = ERPole3DH(ERPoint3D(c[0], c[1], c[2]) * c[3], c[3]);
        }
        return new ERSpoleNURBS3D(poles, u, v, ERLimites(limits[0], limits[1]),
                                  ERLimites(limits[2], limits[3]));
    }
};

double reach_of(const ERSpoleNURBS3D& surface) {
    const ERMinimax3D box = surface.getBox();
    double reach = 0.0;
    for (int axis = 0; axis < 3; ++axis)
        reach = std::max({reach, std::fabs(box.lower(axis)), std::fabs(box.upper(axis))});
    return reach;
}

class RealSurfaces : public testing::Test {
protected:
    void SetUp() override {
        if (!fs::exists(data / "qif")) GTEST_SKIP() << "no data in " VELM_REAL_DATA;
        for (const char* folder : {"nurbs/gotools", "nurbs/splipy", "iges", "brep", "qif"})
            for (const auto& entry : fs::directory_iterator(data / folder))
                if (entry.path().extension() == ".txt") files.push_back(entry.path());
        std::sort(files.begin(), files.end());
    }
    std::vector<fs::path> files;
};

TEST_F(RealSurfaces, GiveTheEdgePointsOfTheirFiles) {
    int points = 0;
    for (const fs::path& file : files) {
        std::ifstream in(file.parent_path() / (file.stem().string() + "_edgepoints.csv"));
        if (!in) continue;
        const SurfaceTexts texts(file);
        std::map<const ERSpoleNURBS3D*, velm::SurfaceProjector> projectors;
        std::string line;
        std::getline(in, line);
        while (std::getline(in, line)) {
            std::replace(line.begin(), line.end(), ',', ' ');
            TextFields fields(line);
            const std::string name = fields.word();
            fields.word();
            // u, v, the point, the gap to four digits
            const std::vector<double> c = fields.rest();
            const auto face = texts.of_face.find(name);
            const auto found =
                texts.surfaces.find(face != texts.of_face.end() ? face->second : name);
            if (found == texts.surfaces.end()) continue;
            const ERSpoleNURBS3D& surface = *found->second;
            const double allowed = c[5] * 1.001 + 64 * std::numeric_limits<double>::epsilon() *
                                                      std::max(reach_of(surface), 1.0);
            const ERPoint3D p(c[2], c[3], c[4]);
            EXPECT_LE(distance(surface(c[0], c[1]), p), allowed) << file.filename() << ": " << line;
            auto projector = projectors.find(&surface);
            if (projector == projectors.end())
                projector =
                    projectors
                        .emplace(&surface, *velm::SurfaceProjector::on(*velm::prepare(surface)))
                        .first;
            const velm::SurfaceFoot foot = projector->second.nearest(p);
            EXPECT_TRUE(foot.certified) << file.filename() << ": " << line;
            // Some parameters are beyond the limits.
            const ERPoint3D inside = surface(std::clamp(c[0], surface.udeb(), surface.ufin()),
                                             std::clamp(c[1], surface.vdeb(), surface.vfin()));
            EXPECT_LE(foot.distance, std::max(allowed, distance(inside, p)))
                << file.filename() << ": " << line;
            ++points;
        }
    }
    EXPECT_EQ(points, 3016); // none was overlooked
}

// Points above a surface, by less than half the radius of curvature, come back to where they are
// from, unless another part is nearer.
TEST_F(RealSurfaces, GetBackPointsThatAreDisplaced) {
    velm_test::Random random(77);
    int back = 0, nearer = 0;
    for (const fs::path& file : files)
        for (const auto& [name, entity] : SurfaceTexts(file).surfaces) {
            SCOPED_TRACE(file.filename().string() + " " + name);
            const auto surface = velm::prepare(*entity);
            const auto projector = velm::SurfaceProjector::on(*surface);
            const ERLimites in_u = surface->domain_u(), in_v = surface->domain_v();
            const double size = surface->box().diagonal();
            for (int k = 0; k < 200; ++k) {
                const ERPoint2D at(in_u(random.uniform(0.02, 0.98)),
                                   in_v(random.uniform(0.02, 0.98)));
                velm::PrincipalCurvatures bend;
                velm::SurfaceSamples samples;
                samples.curvatures = {&bend, 1};
                surface->evaluate({&at, 1}, samples);
                const double most = std::max(std::fabs(bend.min), std::fabs(bend.max));
                const double t = random.uniform(-1, 1) * std::min(0.05 * size, 0.5 / most);
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

TEST_F(RealSurfaces, StayTheSamePreparedCutAndStored) {
    int count = 0;
    for (const fs::path& file : files) {
        const SurfaceTexts texts(file);
        const velm_test::TemporaryFolder folder;
        ERDataBase store;
        ASSERT_EQ(store.Open(folder.path("surfaces").c_str(), 0), gmSuccess);
        for (const auto& [name, surface] : texts.surfaces) {
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
            EXPECT_EQ(velm_test::record_of(*back), velm_test::record_of(*surface));
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
        const SurfaceTexts texts(file);
        for (const auto& [name, entity] : texts.surfaces) {
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
