// The command against the real parts: points of their faces as the kernel evaluates them, displaced
// along the outward normals by known amounts, and the points of edges as the files state them.
#include "real_part.h"
#include "support/face_text.h"
#include "support/temporary_folder.h"

#include <BRepBndLib.hxx>
#include <BRepTopAdaptor_FClass2d.hxx>
#include <Bnd_Box.hxx>
#include <TopLoc_Location.hxx>
#include <nlohmann/json.hpp>
#include <sys/wait.h>

namespace {

using namespace velm_test;
using Json = nlohmann::json;

int counts(int thorough) {
    return std::getenv("VELM_TEST_THOROUGH") != nullptr ? thorough : std::max(thorough / 100, 1);
}

int shell(const std::string& command) {
    const int status = std::system(("ASAN_OPTIONS=detect_leaks=0 " + command).c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

struct Displaced {
    std::size_t face;
    gp_Pnt place;
    gp_Vec outward;
    double deviation;
};

// The kernel's faces, and random places of them.
class KernelFaces {
public:
    explicit KernelFaces(const std::string& file) : document_(velm::cad::read_cad(file)) {
        Bnd_Box box;
        for (const velm::cad::CadFace& face : document_.faces) {
            numbers_[face.path] = faces_.size();
            faces_.push_back(std::make_unique<Face>(face.shape));
            BRepBndLib::Add(face.shape, box);
        }
        size_ = std::sqrt(box.SquareExtent());
    }
    double size() const { return size_; }
    const std::string& path(std::size_t face) const { return document_.faces[face].path; }

    Displaced draw(Random& random, double reach) const {
        for (;;) {
            const std::size_t n = random.next() % faces_.size();
            const Face& face = *faces_[n];
            for (int tries = 0; tries < 50; ++tries) {
                const gp_Pnt2d at(random.uniform(face.limits[0], face.limits[1]),
                                  random.uniform(face.limits[2], face.limits[3]));
                if (face.trims.Perform(at) != TopAbs_IN) continue;
                gp_Pnt p;
                gp_Vec u, v;
                face.surface.D1(at.X(), at.Y(), p, u, v);
                gp_Vec normal = u.Crossed(v);
                if (normal.Magnitude() <= 1e-6 * u.Magnitude() * v.Magnitude()) continue;
                normal.Normalize();
                if (face.is_reversed) normal.Reverse();
                const double amount = reach * std::pow(10.0, random.uniform(-3, 0));
                return {n, p, normal, random.below(2) == 0 ? amount : -amount};
            }
        }
    }
    // Whether another face has the place too, or looks at it from as near as that.
    bool touches(const Displaced& point, double close) const {
        for (const velm::cad::CadFace& face : document_.faces)
            if (face.path != path(point.face) && distance(face.path, point.place) <= close)
                return true;
        return false;
    }
    // How far a point is from a face called so; far if there is none.
    double distance(const std::string& path, const gp_Pnt& p) const {
        const auto found = numbers_.find(path);
        if (found == numbers_.end()) return HUGE_VAL;
        return distance_from(document_.faces[found->second].shape, p);
    }

private:
    struct Face {
        explicit Face(const TopoDS_Face& shape)
            : surface(shape), trims(shape, 1e-9),
              is_reversed(shape.Orientation() == TopAbs_REVERSED) {
            BRepTools::UVBounds(shape, limits[0], limits[1], limits[2], limits[3]);
        }
        BRepAdaptor_Surface surface;
        BRepTopAdaptor_FClass2d trims;
        bool is_reversed;
        double limits[4]{};
    };
    velm::cad::CadDocument document_;
    std::vector<std::unique_ptr<Face>> faces_;
    std::map<std::string, std::size_t> numbers_;
    double size_ = 0.0;
};

std::string row_of(const gp_XYZ& p) {
    char text[128];
    std::snprintf(text, sizeof text, "%.17g,%.17g,%.17g", p.X(), p.Y(), p.Z());
    return text;
}

// A folder with the object file of a CAD file, for the command.
struct Bench {
    explicit Bench(const std::string& file) {
        EXPECT_EQ(shell(VELM_CAD_PROGRAM " " + file + " " + folder.path("part.velm") + " --json " +
                        folder.path("import.json") + " > /dev/null"),
                  0);
        gap = read("import.json")["largest_gap"].get<double>();
    }
    Json read(const std::string& name) const {
        return Json::parse(std::ifstream(folder.path(name)));
    }
    Json inspect(const std::string& table, const std::string& options) const {
        folder.file("p.csv", table);
        EXPECT_EQ(shell(VELM_INSPECT_PROGRAM " surface " + folder.path("part.velm") + " " +
                        folder.path("p.csv") + " --quiet --json " + folder.path("r.json") +
                        options + " 2> " + folder.path("notes")),
                  0);
        return read("r.json")["points"];
    }
    TemporaryFolder folder;
    double gap = 0.0;
};

gp_Pnt point_of(const Json& values) { return {values[0], values[1], values[2]}; }

// Each point either has the place that it was displaced from, or one that is as near, on a face
// whose kernel says so. Where two bodies touch, or are no further apart than the file's gaps, what
// is outside of one is inside the other.
struct Comparison {
    int same = 0, elsewhere = 0, contacts = 0;
    double worst = 0.0;

    void take(const KernelFaces& kernel, const Displaced& point, const Json& found, double radius,
              double gap) {
        const double close = 1e-9 * kernel.size();
        const std::string face = found["face"];
        const double distance = found["distance"], expected = point.deviation + radius;
        const gp_Pnt foot = point_of(found["foot"]);
        const bool is_inside = found["kind"] == "interior";
        const double allowed = is_inside ? close : std::max(close, gap);
        EXPECT_NEAR(found["deviation"].get<double>(), distance - radius, close);
        if (face == kernel.path(point.face) && foot.Distance(point.place) <= 100.0 * close) {
            ++same;
            worst = std::max(worst, std::fabs(std::fabs(distance) - std::fabs(expected)));
            const bool is_contact =
                distance * expected < 0.0 && kernel.touches(point, std::max(close, gap));
            EXPECT_NEAR(is_contact ? -distance : distance, expected, allowed) << found.dump();
            contacts += is_contact;
            return;
        }
        ++elsewhere;
        const gp_Pnt centre = point.place.Translated(point.outward * expected);
        EXPECT_NEAR(centre.Distance(foot), std::fabs(distance), close) << found.dump();
        EXPECT_LE(std::fabs(distance), std::fabs(expected) + allowed) << found.dump();
        EXPECT_LE(kernel.distance(face, foot), std::max(close, gap)) << found.dump();
    }
};

TEST(SurfaceCommand, GivesFaceSideAndDeviationOnEveryRealPart) {
    const auto files = real_parts();
    if (files.empty()) GTEST_SKIP() << "no real parts at hand";
    Random random(201);
    const int count = counts(5'000);
    for (const auto& file : files) {
        const KernelFaces kernel(file.string());
        const Bench bench(file.string());
        const double reach = 5e-3 * kernel.size();
        Comparison all;
        for (const double radius : {0.0, 1e-3 * kernel.size()})
            for (const bool has_directions : {false, true}) {
                if (counts(100) == 1 && has_directions != (radius > 0.0)) continue;
                std::vector<Displaced> points;
                std::string table = has_directions ? "x,y,z,i,j,k\n" : "x,y,z\n";
                for (int n = 0; n < count; ++n) {
                    const Displaced& point = points.emplace_back(kernel.draw(random, reach));
                    const gp_Pnt centre =
                        point.place.Translated(point.outward * (point.deviation + radius));
                    table += row_of(centre.XYZ());
                    if (has_directions) table += "," + row_of(point.outward.XYZ());
                    table += "\n";
                }
                char options[96];
                std::snprintf(options, sizeof options, " --max-distance %.17g --diameter %.17g",
                              4.0 * (reach + radius), 2.0 * radius);
                const Json found = bench.inspect(table, options);
                ASSERT_EQ(found.size(), points.size());
                for (std::size_t n = 0; n < points.size(); ++n) {
                    SCOPED_TRACE(file.filename().string() + (has_directions ? " directed" : ""));
                    if (found[n]["face"].is_null()) {
                        ADD_FAILURE() << "unassigned: " << found[n].dump();
                        continue;
                    }
                    all.take(kernel, points[n], found[n], radius, bench.gap);
                }
            }
        std::printf(
            "%-26s %6d at their places to %.1e of the size (%d in contact), %5d elsewhere\n",
            file.filename().c_str(), all.same, all.worst / kernel.size(), all.contacts,
            all.elsewhere);
        std::fflush(stdout);
        EXPECT_GT(all.same, 2 * all.elsewhere) << file;
    }
}

// The points that a file's own edges have, evaluated without the kernel, are on the part, where the
// file places the face that has the surface. Moved along the surface's normal to both sides, they
// are no further from the part than that, and just that far on the side that is away from the face
// beyond the edge. The middle three of five are no corners.
TEST(SurfaceCommand, EdgePointsThatTheFilesStateAreOnTheParts) {
    const auto files = real_parts();
    if (files.empty()) GTEST_SKIP() << "no real parts at hand";
    for (const auto& file : files) {
        std::map<std::string, std::vector<EdgePoint>> edges; // of each surface
        for (const EdgePoint& point : edge_points(file))
            edges[point.line.substr(0, point.line.find(' ', point.id.size() + 1))].push_back(point);
        if (edges.empty()) continue;
        const Bench bench(file.string());
        const auto faces = velm::cad::read_cad(file.string()).faces;
        std::string table = "x,y,z\n";
        std::vector<std::pair<double, double>> gaps_and_steps; // of three rows each
        std::size_t placed = 0;
        for (const auto& of_surface : edges) {
            const std::vector<EdgePoint>& points = of_surface.second;
            const auto has_all = [&](const velm::cad::CadFace& face) {
                TopLoc_Location at;
                const auto base = BRep_Tool::Surface(face.shape, at);
                return std::all_of(points.begin(), points.end(), [&](const EdgePoint& p) {
                    return base->Value(p.u, p.v).Distance(kernel_point(p.point)) <= p.gap + 1e-9;
                });
            };
            const auto face = std::find_if(faces.begin(), faces.end(), has_all);
            if (face == faces.end()) continue;
            ++placed;
            TopLoc_Location at;
            const auto base = BRep_Tool::Surface(face->shape, at);
            for (std::size_t n = 0; n < points.size(); ++n) {
                const EdgePoint& point = points[n];
                gp_Pnt p;
                gp_Vec u, v;
                base->D1(point.u, point.v, p, u, v);
                gp_Vec normal = u.Crossed(v);
                const bool is_corner = n % 5 == 0 || n % 5 == 4;
                if (is_corner || normal.Magnitude() <= 1e-6 * u.Magnitude() * v.Magnitude())
                    normal = {};
                else
                    normal.Normalize();
                const double step = std::max(10.0 * point.gap, 1e-3) * normal.Magnitude();
                for (const double side : {0.0, 1.0, -1.0})
                    table += row_of(kernel_point(point.point)
                                        .Translated(normal * (side * step))
                                        .Transformed(at.Transformation())
                                        .XYZ()) +
                             "\n";
                gaps_and_steps.emplace_back(point.gap, step);
            }
        }
        if (placed == 0) continue;
        const Json found = bench.inspect(table, "");
        const auto distance = [&](std::size_t row) {
            return std::fabs(found[row]["distance"].get<double>());
        };
        double worst = 0.0, short_by = 0.0;
        for (std::size_t n = 0; n < gaps_and_steps.size(); ++n) {
            const auto [gap, step] = gaps_and_steps[n];
            const double up = distance(3 * n + 1), down = distance(3 * n + 2);
            worst = std::max({worst, distance(3 * n) - gap, up - step - gap, down - step - gap});
            short_by = std::max(short_by, step - std::max(up, down));
        }
        std::printf("%-26s %5zu points on %3zu of %3zu surfaces, at most %.1e beyond their gaps, "
                    "%.1e short of their steps, the part's gap is %.1e\n",
                    file.filename().c_str(), gaps_and_steps.size(), placed, edges.size(), worst,
                    short_by, bench.gap);
        EXPECT_LE(worst, 1e-9 + bench.gap) << file;
        EXPECT_LE(short_by, 1e-9 + 2.0 * bench.gap) << file; // of this face and the one beyond
    }
}

} // namespace
