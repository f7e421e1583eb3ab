// Faces of CAD files as trimmed surfaces: their points, sides and trims against the kernel that
// read the file, and the part again from its object file.
#include "cad/part_import.h"
#include "cad/surface_conversion.h"
#include "inspect/base/failure.h"
#include "real_part.h"
#include "support/temporary_folder.h"
#include "velm/frame/point_functions.h"

#include <BRepAlgoAPI_Cut.hxx>
#include <BRepBuilderAPI_MakeEdge.hxx>
#include <BRepBuilderAPI_MakeFace.hxx>
#include <BRepBuilderAPI_MakeWire.hxx>
#include <BRepBuilderAPI_Transform.hxx>
#include <BRepClass3d_SolidClassifier.hxx>
#include <BRepLib.hxx>
#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeCone.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRepPrimAPI_MakeSphere.hxx>
#include <BRepPrimAPI_MakeTorus.hxx>
#include <Geom2d_Circle.hxx>
#include <Geom_BezierCurve.hxx>
#include <Geom_Circle.hxx>
#include <Geom_Ellipse.hxx>
#include <Geom_Hyperbola.hxx>
#include <Geom_Line.hxx>
#include <Geom_OffsetCurve.hxx>
#include <Geom_OffsetSurface.hxx>
#include <Geom_Parabola.hxx>
#include <Geom_SurfaceOfLinearExtrusion.hxx>
#include <Geom_SurfaceOfRevolution.hxx>
#include <Geom_TrimmedCurve.hxx>

namespace {

using namespace velm_test;
using velm::cad::CadFace;
using velm::cad::ConvertedFace;

Random draw{2026};

// A random place of the face, as the face itself sees it, and the outward normal there.
struct Place {
    ERPoint3D point;
    ERVector3D outward;
};
std::optional<Place> place_on(const ERTrimmedSurface& face) {
    const ERMinimax2D& box = face.boundaryBox();
    for (int tries = 0; tries < 400; ++tries) {
        const ERPoint2D at(draw.uniform(box.xmin, box.xmax), draw.uniform(box.ymin, box.ymax));
        if (face.isInBound(at) == 0) continue;
        // The true derivatives: a torus stores its own exchanged.
        const double u = 1e-5 * (box.xmax - box.xmin), v = 1e-5 * (box.ymax - box.ymin);
        const ERVector3D along_u(face(at.x() - u, at.y()), face(at.x() + u, at.y()));
        const ERVector3D along_v(face(at.x(), at.y() - v), face(at.x(), at.y() + v));
        const ERVector3D normal = (along_u ^ along_v).getnormalized();
        return Place{face(at), normal * double(velm::outward_side(face))};
    }
    return {};
}

// The area as a sum over a grid of the parameters.
double area_of(const ERTrimmedSurface& face, int steps) {
    const ERMinimax2D& box = face.boundaryBox();
    const double du = (box.xmax - box.xmin) / steps, dv = (box.ymax - box.ymin) / steps;
    double area = 0.0;
    for (int i = 0; i < steps; ++i)
        for (int j = 0; j < steps; ++j) {
            const double u = box.xmin + (i + 0.5) * du, v = box.ymin + (j + 0.5) * dv;
            if (face.isInBound({u, v}) == 0) continue;
            const ERVector3D along_u(face(u - 0.5 * du, v), face(u + 0.5 * du, v));
            const ERVector3D along_v(face(u, v - 0.5 * dv), face(u, v + 0.5 * dv));
            area += (along_u ^ along_v).norme();
        }
    return area;
}

// Points of the converted face are on the kernel's face, trims included, its area is the same, and
// on a solid its outside is outside.
void compare(const CadFace& from, const ConvertedFace& to, double tolerance, int points,
             const TopoDS_Shape& solid, const std::string& name) {
    ASSERT_TRUE(to.surface) << name << ": " << to.why;
    BRepClass3d_SolidClassifier classifier;
    if (!solid.IsNull()) classifier.Load(solid);
    GProp_GProps properties;
    BRepGProp::SurfaceProperties(from.shape, properties, 1e-6);
    const double size = std::sqrt(std::fabs(properties.Mass()));
    for (int i = 0; i < points; ++i) {
        const std::optional<Place> place = place_on(*to.surface);
        if (!place) break; // thinner than what is tried: the area says whether it is there
        EXPECT_LE(distance_from(from.shape, kernel_point(place->point)), tolerance)
            << name << " " << place->point;
        if (solid.IsNull()) continue;
        const double step = std::max(2.0 * tolerance, 1e-4 * size);
        for (const auto& [side, state] : {std::pair(1.0, TopAbs_OUT), std::pair(-1.0, TopAbs_IN)}) {
            classifier.Perform(kernel_point(place->point + place->outward * (side * step)),
                               0.1 * step);
            EXPECT_EQ(classifier.State(), state) << name << " " << place->point << " " << side;
        }
    }
    EXPECT_NEAR(area_of(*to.surface, 160), std::fabs(properties.Mass()),
                0.03 * std::fabs(properties.Mass()) + 1e-9)
        << name;
}

TEST(CadImport, EveryFaceOfTheRealPartsIsTakenAndWhereTheKernelHasIt) {
    const auto files = real_parts();
    if (files.empty()) GTEST_SKIP() << "no real parts at hand";
    EXPECT_THROW(velm::cad::read_cad(VELM_REAL_DATA "/iges/sample_curves.igs"), // has no face
                 velm::inspect::Failure);
    for (const auto& file : files) {
        const velm::cad::CadDocument document = velm::cad::read_cad(file.string());
        for (const CadFace& from : document.faces) {
            const ConvertedFace to = convert_face(from);
            const double tolerance = std::max(
                1e-7, std::max(to.gap, 2.0 * BRep_Tool::MaxTolerance(from.shape, TopAbs_EDGE)));
            compare(from, to, tolerance, 3, {}, file.filename().string() + from.path);
        }
    }
}

// Solids of every kind of surface, also mirrored: left-handed placements.
TEST(CadImport, OutsideIsOutsideOnSolidsOfEveryKind) {
    const gp_Ax2 place(gp_Pnt(10, -20, 5), gp_Dir(1, 2, 3), gp_Dir(2, -1, 0));
    const TopoDS_Shape block = BRepPrimAPI_MakeBox(place, 30, 20, 15);
    const gp_Ax2 inside(gp_Pnt(16, -14, 12), gp_Dir(0.3, -1, 0.2));
    std::vector<TopoDS_Shape> solids = {
        block,
        BRepPrimAPI_MakeCylinder(place, 6, 20, 4.0),
        BRepPrimAPI_MakeCone(place, 7, 3, 12, 5.0),
        BRepPrimAPI_MakeCone(place, 0, 5, 9),
        BRepPrimAPI_MakeSphere(place, 8, -0.5, 1.2, 4.5),
        BRepPrimAPI_MakeSphere(place, 8),
        BRepPrimAPI_MakeTorus(place, 12, 3),
        BRepAlgoAPI_Cut(block, BRepPrimAPI_MakeTorus(inside, 8, 3)),
        BRepAlgoAPI_Cut(block, BRepPrimAPI_MakeCylinder(inside, 3, 40)),
        BRepAlgoAPI_Cut(block,
                        BRepPrimAPI_MakeSphere(gp_Ax2(gp_Pnt(18, -12, 14), gp_Dir(0, 0, 1)), 6)),
    };
    gp_Trsf mirror;
    mirror.SetMirror(gp_Ax2(gp_Pnt(1, 2, 3), gp_Dir(3, 1, -1)));
    for (const TopoDS_Shape& solid : std::vector<TopoDS_Shape>(solids))
        solids.push_back(BRepBuilderAPI_Transform(solid, mirror, Standard_True));
    std::map<std::string, int> kinds;
    for (std::size_t n = 0; n < solids.size(); ++n) {
        for (TopExp_Explorer solid(solids[n], TopAbs_SOLID); solid.More(); solid.Next())
            for (TopExp_Explorer at(solid.Current(), TopAbs_FACE); at.More(); at.Next()) {
                CadFace from;
                from.shape = TopoDS::Face(at.Current());
                const ConvertedFace to = convert_face(from);
                if (to.surface) ++kinds[std::string(velm::surface_kind(*to.surface))];
                compare(from, to, 1e-7, 8, solid.Current(), "solid " + std::to_string(n));
            }
    }
    for (const char* kind : {"plane", "cylinder", "cone", "sphere", "torus"})
        EXPECT_GE(kinds[kind], 2) << kind;
}

// Every kind of curve, extruded and turned: the surface at the file's own parameters, and faces
// with a hole that is a circle in them. Splines and conics are exact, others are fitted.
TEST(CadImport, TakesEveryCurveThatIsExtrudedOrTurned) {
    const gp_Ax2 place(gp_Pnt(40, -3, 7), gp_Dir(0.1, -1, 0.05), gp_Dir(1, 0.1, 0.2));
    TColgp_Array1OfPnt poles(1, 4);
    for (int i = 1; i <= 4; ++i)
        poles(i) = gp_Pnt(30 + 4 * i, 1.5 * i, 3.0 * std::sin(2.0 * i));
    const Handle(Geom_Curve) ellipse = new Geom_Ellipse(place, 9, 4);
    struct Case {
        const char* name;
        Handle(Geom_Curve) curve;
        double first, last, tolerance; // of the size
        const char* extruded;          // the kind along the placement's axis
    };
    const std::vector<Case> cases = {
        {"line", new Geom_Line(gp_Pnt(30, 1, 2), gp_Dir(1, 0.3, 1)), -2, 11, 1e-14, "nurbs"},
        {"circle", new Geom_Circle(place, 8), 0.4, 5.9, 1e-14, "cylinder"},
        {"ellipse", ellipse, 0.7, 5.8, 1e-14, "nurbs"},
        {"trimmed ellipse", new Geom_TrimmedCurve(ellipse, 0.1, 3.0), 0.3, 2.8, 1e-14, "nurbs"},
        {"parabola", new Geom_Parabola(place, 3), -5, 7, 1e-14, "nurbs"},
        {"hyperbola", new Geom_TrimmedCurve(new Geom_Hyperbola(place, 5, 3), -2, 2), -1.1, 1.7,
         1e-14, "nurbs"},
        {"bezier", new Geom_BezierCurve(poles), 0, 1, 1e-14, "nurbs"},
        {"offset", new Geom_OffsetCurve(ellipse, 1.5, place.Direction()), 0.2, 4.1, 1e-9, "nurbs"}};
    for (const Case& made : cases)
        for (const int way : {0, 1, 2, 3}) {
            const std::string name = std::string(made.name) + " " + std::to_string(way);
            const bool turned = way == 3;
            const gp_Dir along = way == 0   ? place.Direction()
                                 : way == 1 ? place.Direction().Reversed()
                                            : gp_Dir(0.5, -1, 0.4);
            Handle(Geom_Surface) surface = new Geom_SurfaceOfLinearExtrusion(made.curve, along);
            velm::cad::ParameterRange range{made.first, made.last, -4, 9};
            if (turned) {
                surface = new Geom_SurfaceOfRevolution(
                    made.curve, gp_Ax1(gp_Pnt(0, 0, 1), gp_Dir(0.2, 0.1, 1)));
                range = {0.3, 4.0, made.first, made.last};
            }
            const velm::cad::ConvertedSurface to = convert_surface(surface, range);
            ASSERT_TRUE(to.surface) << name << ": " << to.why;
            if (way < 2) {
                EXPECT_EQ(velm::surface_kind(*to.surface), made.extruded) << name;
            }
            for (int i = 0; i < 50; ++i) {
                const double u = draw.uniform(range.u_first, range.u_last);
                const double v = draw.uniform(range.v_first, range.v_last);
                const ERPoint2D at = to.map(u, v);
                const gp_Pnt p = surface->Value(u, v);
                EXPECT_LE(p.Distance(kernel_point((*to.surface)(at.x(), at.y()))),
                          made.tolerance * 100)
                    << name << " " << u << " " << v;
            }
            const double across =
                std::min(range.u_last - range.u_first, range.v_last - range.v_first);
            const gp_Ax2d middle(gp_Pnt2d(0.5 * (range.u_first + range.u_last),
                                          0.5 * (range.v_first + range.v_last)),
                                 gp_Dir2d(1, 0));
            TopoDS_Edge edge =
                BRepBuilderAPI_MakeEdge(new Geom2d_Circle(middle, 0.3 * across), surface);
            BRepLib::BuildCurve3d(edge, 1e-9);
            BRepBuilderAPI_MakeFace face(surface, range.u_first, range.u_last, range.v_first,
                                         range.v_last, 1e-7);
            face.Add(TopoDS::Wire(BRepBuilderAPI_MakeWire(edge).Wire().Reversed()));
            CadFace from;
            from.shape = face;
            compare(from, convert_face(from), 1e-6, 6, {}, name);
        }
}

TEST(CadImport, OffsetsKeepTheirSide) {
    for (const double offset : {1.5, -1.5}) {
        TopExp_Explorer faces(BRepPrimAPI_MakeCylinder(gp_Ax2(), 6, 20, 4.0).Shape(), TopAbs_FACE);
        const Handle(Geom_Surface) base = BRep_Tool::Surface(TopoDS::Face(faces.Current()));
        CadFace from;
        from.shape =
            BRepBuilderAPI_MakeFace(new Geom_OffsetSurface(base, offset), 0.5, 3.0, 1.0, 9.0, 1e-7);
        const ConvertedFace to = convert_face(from);
        EXPECT_EQ(velm::surface_kind(*to.surface), "offset");
        compare(from, to, 1e-7, 8, {}, "offset");
    }
}

TEST(CadImport, APartComesBackFromItsObjectFile) {
    const TemporaryFolder folder;
    const std::string brep = folder.path("block.brep"), store = folder.path("block.velm");
    const TopoDS_Shape block =
        BRepAlgoAPI_Cut(BRepPrimAPI_MakeBox(30, 20, 15),
                        BRepPrimAPI_MakeCylinder(gp_Ax2(gp_Pnt(9, 9, -1), gp_Dir(0, 0, 1)), 3, 40));
    BRepTools::Write(block, brep.c_str());
    velm::NominalPart part = velm::cad::import_part(brep, {});
    ASSERT_EQ(part.faces.size(), 7u);
    part.faces[2].colour = 0x12ab7f;
    part.faces[3].layer = "hole";
    part.left_out.push_back({"/block/face 9", 12, "it has no bounds"});
    ERDataBase data;
    ASSERT_EQ(data.Open(store.c_str(), 0), gmSuccess);
    velm::save_part(data, part);
    ASSERT_EQ(data.Close(), gmSuccess);

    const velm::NominalPart back = velm::read_part(store);
    EXPECT_EQ(back.source, "block.brep");
    EXPECT_EQ(back.format, "BREP");
    EXPECT_EQ(back.largest_gap, part.largest_gap);
    ASSERT_EQ(back.faces.size(), 7u);
    ASSERT_EQ(back.left_out.size(), 1u);
    EXPECT_EQ(back.left_out[0].reason, "it has no bounds");
    for (std::size_t i = 0; i < 7; ++i) {
        const velm::NominalFace &a = part.faces[i], &b = back.faces[i];
        EXPECT_TRUE(a.path == b.path && a.colour == b.colour && a.layer == b.layer &&
                    a.bounds_a_solid && b.bounds_a_solid && a.id() == b.id())
            << b.path;
        EXPECT_EQ(velm::outward_side(*a.surface), velm::outward_side(*b.surface));
        const ERMinimax2D& box = a.surface->boundaryBox();
        const ERPoint2D at(draw.uniform(box.xmin, box.xmax), draw.uniform(box.ymin, box.ymax));
        EXPECT_EQ((*a.surface)(at), (*b.surface)(at));
        EXPECT_EQ(a.surface->isInBound(at), b.surface->isInBound(at));
    }
    // A part of the tree, and a path that leads nowhere.
    const std::string third = part.faces[2].path;
    EXPECT_EQ(velm::cad::import_part(brep, {third}).faces.size(), 1u);
    EXPECT_THROW(velm::cad::import_part(brep, {third + "0"}), velm::inspect::Failure);
}

// Anything else ends in one sentence with its exit code.
TEST(CadImport, RefusesWhatIsNoCadFile) {
    const TemporaryFolder folder;
    using velm::inspect::FailureKind;
    const auto kind_of = [&](const std::string& content) -> std::optional<FailureKind> {
        const std::string path = folder.path("part");
        std::ofstream(path, std::ios::binary) << content;
        try {
            velm::cad::read_cad(path);
        } catch (const velm::inspect::Failure& failure) {
            return failure.kind();
        }
        return std::nullopt;
    };
    const std::string head = "ISO-10303-21;\nHEADER;\nFILE_DESCRIPTION((''),'2;1');\n";
    std::string iges(72, ' ');
    iges += "S      1\n";
    for (const std::string& content :
         {std::string("x,y,z\n1,2,3\n"), head, head + "ENDSEC;\nDATA;\n#1=FACE(;\nENDSEC;",
          head + "ENDSEC;\nDATA;\nENDSEC;\nEND-ISO-10303-21;\n", iges, iges + iges,
          std::string("DBRep_DrawableShape\nCASCADE Topology V1\nLocations 99999999\n"),
          std::string(5000, '\0')})
        EXPECT_EQ(kind_of(content), FailureKind::input) << content.substr(0, 60);
    EXPECT_EQ(kind_of(""), FailureKind::file);
    EXPECT_THROW(velm::cad::read_cad(folder.path("missing")), velm::inspect::Failure);
    EXPECT_THROW(velm::cad::read_cad(folder.path(".")), velm::inspect::Failure);
}

} // namespace
