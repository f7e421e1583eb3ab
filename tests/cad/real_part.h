// real_part.h: the parts of the real CAD files as prepared faces, with what the kernel has of them.
#pragma once

#include "cad/cad_document.h"
#include "cad/face_conversion.h"
#include "support/test.h"
#include "velm/inspection/nominal_part.h"
#include "velm/surfaces/prepared_face.h"

#include <BRepAdaptor_Surface.hxx>
#include <BRepBuilderAPI_MakeVertex.hxx>
#include <BRepClass_FaceClassifier.hxx>
#include <BRepExtrema_DistShapeShape.hxx>
#include <BRepGProp.hxx>
#include <BRepTools.hxx>
#include <BRep_Builder.hxx>
#include <BRep_Tool.hxx>
#include <GProp_GProps.hxx>
#include <Geom_Surface.hxx>
#include <ShapeAnalysis_Surface.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Compound.hxx>

namespace velm_test {

struct KernelPart {
    std::vector<velm::PreparedFace> faces;
    std::vector<int> outward;
    double gap = 0.0, size = 0.0;
    TopoDS_Compound all;
    double area = 0.0, volume = 0.0; // the kernel's

    explicit KernelPart(const velm::cad::CadDocument& document) {
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

inline gp_Pnt kernel_point(const ERPoint3D& p) { return {p.x(), p.y(), p.z()}; }

/// How far the kernel has a point from a face. It looks for the foot within one turn only, where a
/// thread has more: then the face is asked at the other turns.
inline double distance_from(const TopoDS_Face& face, const gp_Pnt& p) {
    const BRepExtrema_DistShapeShape extrema(BRepBuilderAPI_MakeVertex(p), face);
    ShapeAnalysis_Surface surface(BRep_Tool::Surface(face));
    const gp_Pnt2d foot = surface.ValueOfUV(p, 1e-9);
    for (int turn = -3; turn <= 3; ++turn) {
        const gp_Pnt2d at(foot.X() + turn * 2.0 * std::numbers::pi, foot.Y());
        if (!surface.Surface()->IsUPeriodic() || extrema.Value() <= surface.Gap()) break;
        if (BRepClass_FaceClassifier(face, at, 1e-9).State() == TopAbs_IN) return surface.Gap();
    }
    return extrema.Value();
}

/// The files that have faces, in the order of their names; none if they are not at hand.
inline std::vector<std::filesystem::path> real_parts() {
    std::vector<std::filesystem::path> files;
    for (const char* folder : {"step", "iges", "brep"}) {
        const std::filesystem::path place = std::filesystem::path(VELM_REAL_DATA) / folder;
        if (!std::filesystem::exists(place)) return {};
        for (const auto& file : std::filesystem::directory_iterator(place)) {
            const std::string kind = file.path().extension();
            if (kind == ".stp" || kind == ".step" || kind == ".igs" || kind == ".brep")
                if (file.path().filename() != "sample_curves.igs") files.push_back(file.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

/// What is no solid: single faces, a wing that is open at its ends, and surface models, whose faces
/// don't agree on the outside.
inline bool is_solid(const std::string& name) {
    const std::vector<std::string> open = {"face1.brep", "face2.brep", "wing.brep", "hammer.igs",
                                           "single_rounded_cube.igs"};
    return std::find(open.begin(), open.end(), name) == open.end();
}

} // namespace velm_test
