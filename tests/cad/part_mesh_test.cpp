// Meshes of the real parts: closed, and with the areas and volumes that the kernel has of its
// faces.
#include "cad/cad_document.h"
#include "cad/face_conversion.h"
#include "velm/inspection/nominal_part.h"
#include "velm/surfaces/part_tessellation.h"

#include <BRepGProp.hxx>
#include <BRep_Builder.hxx>
#include <GProp_GProps.hxx>
#include <TopoDS_Compound.hxx>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;

struct Part {
    std::vector<velm::PreparedFace> faces;
    std::vector<int> outward;
    double gap = 0.0, size = 0.0;
    double area = 0.0, volume = 0.0; // the kernel's

    explicit Part(const velm::cad::CadDocument& document) {
        TopoDS_Compound all;
        BRep_Builder builder;
        builder.MakeCompound(all);
        ERMinimax3D box;
        for (const velm::cad::CadFace& from : document.faces) {
            const velm::cad::ConvertedFace to = velm::cad::convert_face(from);
            const auto face = velm::prepare_face(*to.surface);
            EXPECT_TRUE(face);
            if (!face) continue;
            faces.push_back(*face);
            outward.push_back(velm::outward_side(*to.surface));
            gap = std::max(gap, to.gap);
            box.Update(face->surface().box().MinPoint());
            box.Update(face->surface().box().MaxPoint());
            builder.Add(all, from.shape);
        }
        size = box.diagonal();
        GProp_GProps surface, solid;
        BRepGProp::SurfaceProperties(all, surface, 1e-6);
        BRepGProp::VolumeProperties(all, solid, 1e-6);
        area = surface.Mass();
        volume = solid.Mass();
    }
};

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
    // What is no solid: single faces, a wing that is open at its ends, and surface models, whose
    // faces don't agree on the outside.
    const std::vector<std::string> open = {"face1.brep", "face2.brep", "wing.brep", "hammer.igs",
                                           "single_rounded_cube.igs"};
    int solids = 0;
    for (const char* folder : {"step", "iges", "brep"}) {
        const fs::path place = fs::path(VELM_REAL_DATA) / folder;
        if (!fs::exists(place)) GTEST_SKIP() << "no real parts at hand";
        for (const auto& file : fs::directory_iterator(place)) {
            const std::string kind = file.path().extension(), name = file.path().filename();
            if (kind != ".stp" && kind != ".step" && kind != ".igs" && kind != ".brep") continue;
            if (name == "sample_curves.igs") continue; // has no face
            const Part part(velm::cad::read_cad(file.path().string()));
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
                if (std::ranges::find(open, name) != open.end()) {
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
    }
    EXPECT_EQ(solids, 26);
}

} // namespace
