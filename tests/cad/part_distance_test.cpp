// Distances from the real parts: beside the kernel's, and their signs beside the winding numbers of
// fine meshes.
#include "real_part.h"

#include "support/random.h"
#include "velm/frame/point_functions.h"
#include "velm/surfaces/part_tessellation.h"
#include "velm/surfaces/prepared_part.h"

#include <BRepBuilderAPI_MakeVertex.hxx>
#include <BRepExtrema_DistShapeShape.hxx>
#include <TopoDS_Vertex.hxx>
#include <cmath>
#include <cstdlib>
#include <gp_Pnt.hxx>
#include <numbers>

namespace {

using namespace velm_test;

// How often the mesh goes round the point (van Oosterom and Strackee 1983).
double winding_number(const velm::PartMesh& mesh, const ERPoint3D& p) {
    double angle = 0.0;
    for (const auto& t : mesh.triangles) {
        ERVector3D v[3];
        double length[3];
        for (std::size_t i = 0; i < 3; ++i) {
            v[i] = ERVector3D(p, mesh.positions[static_cast<std::size_t>(t[i])]);
            length[i] = v[i].norme();
        }
        const double below = length[0] * length[1] * length[2] + v[0] * v[1] * length[2] +
                             v[1] * v[2] * length[0] + v[2] * v[0] * length[1];
        angle += 2.0 * std::atan2(v[0] * (v[1] ^ v[2]), below);
    }
    return angle / (4.0 * std::numbers::pi);
}

double kernel_distance(const KernelPart& part, const ERPoint3D& p) {
    const TopoDS_Vertex vertex = BRepBuilderAPI_MakeVertex(gp_Pnt(p.x(), p.y(), p.z()));
    return BRepExtrema_DistShapeShape(vertex, part.all).Value();
}

TEST(PartDistance, IsTheKernelsAndOfTheRightSide) {
    Random draw(81);
    const auto files = real_parts();
    if (files.empty()) GTEST_SKIP() << "no real parts at hand";
    const int points = std::getenv("VELM_TEST_THOROUGH") != nullptr ? 70000 : 700,
              measured = std::getenv("VELM_TEST_THOROUGH") != nullptr ? 1000 : 4;
    int certified = 0, all = 0, edges = 0, uncertain = 0;
    for (const auto& file : files) {
        const std::string name = file.filename();
        const KernelPart real(velm::cad::read_cad(file.string()));
        std::vector<velm::PartFace> faces;
        for (std::size_t i = 0; i < real.faces.size(); ++i)
            faces.push_back({real.faces[i], real.outward[i]});
        const double tolerance = std::max(2.5 * real.gap, 1e-6 * real.size);
        const auto part = velm::PreparedPart::of(faces, tolerance, 2);
        ASSERT_TRUE(part) << name;
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
            if (n < measured) {
                const double kernel = kernel_distance(real, p);
                EXPECT_NEAR(foot.distance, kernel, 1e-9 * real.size + real.gap) << name << " " << p;
            }
            if (!is_solid(name) || foot.distance < 3.0 * error) continue;
            const bool inside = winding_number(mesh, p) > 0.5;
            EXPECT_EQ(foot.signed_distance < 0.0, inside) << name << " " << p;
        }
    }
    std::printf("%d points, %d certified, %d feet on edges, %d of uncertain side\n", all, certified,
                edges, uncertain);
    EXPECT_GE(certified, all - all / 500);
}

} // namespace
