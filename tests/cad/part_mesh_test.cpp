// Meshes of the real parts: closed, and with the areas and volumes that the kernel has of its
// faces.
#include "real_part.h"
#include "support/meshes.h"
#include "velm/surfaces/part_tessellation.h"

namespace {

using namespace velm_test;

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
            const double area = area_of(mesh), volume = volume_of(mesh);
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
            ++solids;
        }
    }
    EXPECT_EQ(solids, 26);
}

} // namespace
