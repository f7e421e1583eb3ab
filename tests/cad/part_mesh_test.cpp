// Meshes of the real parts: closed, and with the areas and volumes that the kernel has of its
// faces.
#include "real_part.h"
#include "velm/surfaces/part_tessellation.h"

#include <cstdio>

namespace {

using namespace velm_test;

void measure(const velm::PartMesh& mesh, double& area, double& volume) {
    const ERPoint3D origin;
    for (const auto& t : mesh.triangles) {
        const auto at = [&](std::size_t i) {
            return ERVector3D(origin, mesh.positions[std::size_t(t[i])]);
        };
        const ERVector3D twice = (at(1) - at(0)) ^ (at(2) - at(0));
        area += 0.5 * twice.norme();
        volume += at(0) * twice / 6.0;
    }
}

TEST(PartMesh, OfTheRealSolidsIsClosedAndAsLargeAsTheKernelSays) {
    const auto files = real_parts();
    if (files.empty()) GTEST_SKIP() << "no real parts at hand";
    int solids = 0;
    for (const auto& file : files) {
        const std::string name = file.filename();
        const KernelPart part(velm::cad::read_cad(file.string()));
        const double tolerance = std::max(2.5 * part.gap, 1e-6 * part.size);
        const auto edges = velm::PartEdges::of(part.faces, part.outward, tolerance);
        EXPECT_LE(edges.largest_gap(), tolerance) << name;
        for (const double error : {1e-2 * part.size, 2e-4 * part.size}) {
            const auto mesh = velm::tessellate(part.faces, part.outward, edges, error);
            EXPECT_TRUE(mesh.certified) << name;
            double area = 0.0, volume = 0.0;
            measure(mesh, area, volume);
            if (error < 1e-3 * part.size) {
                EXPECT_NEAR(area, part.area, 0.002 * part.area) << name;
            }
            if (!is_solid(name)) {
                EXPECT_FALSE(mesh.closed) << name;
                EXPECT_FALSE(mesh.borders.empty()) << name;
                continue;
            }
            EXPECT_EQ(edges.open(), 0) << name;
            EXPECT_TRUE(mesh.closed) << name << " " << error;
            // The assembly's parts touch.
            EXPECT_EQ(mesh.manifold, name != "as1-oc-214.stp") << name << " " << error;
            EXPECT_NEAR(volume, part.volume, part.area * (error + part.gap)) << name;
            std::printf("%s %g: area off by %.2g of it, volume by %.2g of error times area\n",
                        name.c_str(), error, area / part.area - 1.0,
                        (volume - part.volume) / part.area / error);
            ++solids;
        }
    }
    EXPECT_EQ(solids, 26);
}

} // namespace
