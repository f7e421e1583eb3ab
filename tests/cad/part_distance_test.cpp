// Distances from the real parts: beside the kernel's, beside feet and sampled trims where the
// kernel measures to an edge's curve in space, and their signs beside the winding numbers of fine
// meshes.
#include "real_part.h"

#include "support/meshes.h"
#include "velm/surfaces/part_tessellation.h"
#include "velm/surfaces/prepared_part.h"

#include <Geom2d_Curve.hxx>
#include <GeomAPI_ProjectPointOnSurf.hxx>
#include <TopoDS_Edge.hxx>
#include <TopoDS_Face.hxx>
#include <TopoDS_Iterator.hxx>
#include <TopoDS_Vertex.hxx>
#include <deque>
#include <gp_Pnt.hxx>
#include <gp_Pnt2d.hxx>

namespace {

using namespace velm_test;

// How often the mesh goes round the point (van Oosterom and Strackee 1983).
double winding_number(const velm::PartMesh& mesh, const ERPoint3D& p) {
    double angle = 0.0;
    for (const auto& triangle : mesh.triangles) {
        const auto at = corners(mesh, triangle);
        const ERVector3D a(p, at[0]), b(p, at[1]), c(p, at[2]);
        const double x = a.norme(), y = b.norme(), z = c.norme();
        angle += 2.0 * std::atan2(a * (b ^ c), x * y * z + a * b * z + b * c * x + c * a * y);
    }
    return angle / (4.0 * std::numbers::pi);
}

double kernel_distance(const KernelPart& part, const ERPoint3D& p) {
    const TopoDS_Vertex vertex = BRepBuilderAPI_MakeVertex(kernel_point(p));
    return BRepExtrema_DistShapeShape(vertex, part.all).Value();
}

// The faces as their trims on their surfaces, without the edges' curves in space: the kernel's
// points of both, its perpendicular feet, and its answer whether those are in the face.
class TrimmedSurfaces {
public:
    explicit TrimmedSurfaces(const KernelPart& part) {
        for (TopoDS_Iterator at(part.all); at.More(); at.Next()) {
            Face& face = faces_.emplace_back();
            face.shape = TopoDS::Face(at.Value());
            face.surface = BRep_Tool::Surface(face.shape);
            double low[2], high[2];
            BRepTools::UVBounds(face.shape, low[0], high[0], low[1], high[1]);
            face.feet.Init(face.surface, low[0], high[0], low[1], high[1]);
            for (TopExp_Explorer edge(face.shape, TopAbs_EDGE); edge.More(); edge.Next())
                add_trim(face, TopoDS::Edge(edge.Current()));
        }
    }
    double distance(const ERPoint3D& p) {
        const gp_Pnt q = kernel_point(p);
        double least = HUGE_VAL;
        for (Face& face : faces_) {
            for (const Trim& trim : face.trims)
                least = std::min(least, to_trim(face, trim, q, least));
            face.feet.Perform(q);
            for (int i = 1; i <= face.feet.NbPoints(); ++i) {
                double u = 0.0, v = 0.0;
                face.feet.Parameters(i, u, v);
                if (face.feet.Distance(i) >= least) continue;
                const BRepClass_FaceClassifier place(face.shape, gp_Pnt2d(u, v), 1e-9);
                if (place.State() == TopAbs_IN) least = face.feet.Distance(i);
            }
        }
        return least;
    }

private:
    static constexpr int pieces = 400;
    struct Trim {
        Handle(Geom2d_Curve) curve;
        double first = 0.0, last = 0.0;
        std::vector<gp_Pnt> samples;
        double longest = 0.0; // from one to the next
        double at(double i) const { return first + (last - first) * i / pieces; }
    };
    struct Face {
        TopoDS_Face shape;
        Handle(Geom_Surface) surface;
        std::vector<Trim> trims;
        GeomAPI_ProjectPointOnSurf feet;
        gp_Pnt on(const Trim& trim, double i) const {
            const gp_Pnt2d place = trim.curve->Value(trim.at(i));
            return surface->Value(place.X(), place.Y());
        }
    };

    static void add_trim(Face& face, const TopoDS_Edge& edge) {
        Trim trim;
        trim.curve = BRep_Tool::CurveOnSurface(edge, face.shape, trim.first, trim.last);
        for (int i = 0; i <= pieces; ++i) {
            trim.samples.push_back(face.on(trim, i));
            if (i > 0)
                trim.longest = std::max(trim.longest, trim.samples[std::size_t(i)].Distance(
                                                          trim.samples[std::size_t(i - 1)]));
        }
        face.trims.push_back(trim);
    }
    // By golden sections beside each sample that is nearer than its neighbours.
    static double to_trim(const Face& face, const Trim& trim, const gp_Pnt& q, double bound) {
        constexpr double section = 2.0 - std::numbers::phi;
        const auto sampled = [&](int i) {
            return q.Distance(trim.samples[std::size_t(std::clamp(i, 0, pieces))]);
        };
        double least = HUGE_VAL;
        for (int i = 0; i <= pieces; ++i) {
            const double here = sampled(i);
            least = std::min(least, here);
            if (here - 2.0 * trim.longest > bound || here > sampled(i - 1) || here > sampled(i + 1))
                continue;
            double low = std::max(i - 1, 0), high = std::min(i + 1, pieces);
            while (high - low > 1e-9) {
                const double a = low + section * (high - low), b = low + high - a;
                const double to_a = q.Distance(face.on(trim, a)),
                             to_b = q.Distance(face.on(trim, b));
                least = std::min({least, to_a, to_b});
                (to_a < to_b ? high : low) = to_a < to_b ? b : a;
            }
        }
        return least;
    }

    std::deque<Face> faces_; // feet can't be moved
};

TEST(PartDistance, IsTheKernelsAndOfTheRightSide) {
    Random draw(81);
    const auto files = real_parts();
    if (files.empty()) GTEST_SKIP() << "no real parts at hand";
    const int points = std::getenv("VELM_TEST_THOROUGH") != nullptr ? 70000 : 700,
              measured = std::getenv("VELM_TEST_THOROUGH") != nullptr ? 1000 : 4;
    int certified = 0, all = 0, edges = 0, uncertain = 0, off = 0;
    for (const auto& file : files) {
        const std::string name = file.filename();
        const KernelPart real(velm::cad::read_cad(file.string()));
        std::vector<velm::PartFace> faces;
        for (std::size_t i = 0; i < real.faces.size(); ++i)
            faces.push_back({real.faces[i], real.outward[i]});
        const double tolerance = std::max(2.5 * real.gap, 1e-6 * real.size);
        const auto part = velm::PreparedPart::of(faces, tolerance, 2);
        ASSERT_TRUE(part) << name;
        TrimmedSurfaces third(real);
        const double error = 1e-3 * real.size;
        const velm::PartMesh mesh = velm::tessellate(*part, error);
        const ERMinimax3D box = part->box();
        const ERVector3D room = ERVector3D(box.MinPoint(), box.MaxPoint()) * 0.6;
        const ERPoint3D middle = box.MinPoint() + ERVector3D(box.MinPoint(), box.MaxPoint()) * 0.5;
        for (int n = 0; n < points; ++n) {
            const ERPoint3D p =
                middle + ERVector3D(draw.uniform(-1, 1) * room.i(), draw.uniform(-1, 1) * room.j(),
                                    draw.uniform(-1, 1) * room.k());
            const velm::PartFoot foot = part->nearest(p);
            ASSERT_GE(foot.face, 0) << name;
            ++all;
            certified += foot.certified;
            edges += foot.side == velm::PartSide::edge;
            uncertain += foot.side == velm::PartSide::uncertain;
            EXPECT_NEAR(distance(foot.point, p), foot.distance, 1e-12 * real.size) << name;
            if (n < measured &&
                std::fabs(foot.distance - kernel_distance(real, p)) > 1e-9 * real.size) {
                // The kernel has edges where their curves in space are, by up to the gap elsewhere.
                EXPECT_NEAR(third.distance(p), foot.distance, 1e-9 * real.size) << name << " " << p;
                EXPECT_LE(third.distance(foot.point), 1e-9 * real.size) << name << " " << p;
                ++off;
            }
            if (!is_solid(name) || foot.distance < 3.0 * error) continue;
            const bool inside = winding_number(mesh, p) > 0.5;
            EXPECT_EQ(foot.signed_distance < 0.0, inside) << name << " " << p;
        }
    }
    std::printf(
        "%d points, %d certified, %d feet on edges, %d of uncertain side; %d that the kernel "
        "measures to curves in space\n",
        all, certified, edges, uncertain, off);
    EXPECT_GE(certified, all - all / 500);
}

} // namespace
