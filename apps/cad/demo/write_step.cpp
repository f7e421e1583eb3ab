// write_step PART.velm OUT.step: the solid of an object file as a STEP file, its surfaces, trims
// and names exactly. It knows what the demo's housing is made of: planes and a spline surface in
// any trim, and cylinders, cones, tori and planes in the rectangle of their limits.
#include "velm/curves/composite_curve.h"
#include "velm/curves/nurbs_curve.h"
#include "velm/inspection/nominal_part.h"
#include "velm/platform/file_exception.h"
#include "velm/surfaces/bounded_plane.h"
#include "velm/surfaces/cone.h"
#include "velm/surfaces/cylinder.h"
#include "velm/surfaces/nurbs_surface.h"
#include "velm/surfaces/torus.h"
#include "velm/wireframe/arc.h"
#include "velm/wireframe/segment.h"

#include <BRepBuilderAPI_MakeEdge.hxx>
#include <BRepBuilderAPI_MakeFace.hxx>
#include <BRepBuilderAPI_MakeSolid.hxx>
#include <BRepBuilderAPI_MakeWire.hxx>
#include <BRepBuilderAPI_Sewing.hxx>
#include <BRepLib.hxx>
#include <BRep_Builder.hxx>
#include <Geom2d_BSplineCurve.hxx>
#include <Geom2d_Circle.hxx>
#include <Geom2d_Line.hxx>
#include <GeomAPI.hxx>
#include <Geom_BSplineCurve.hxx>
#include <Geom_BSplineSurface.hxx>
#include <Geom_ConicalSurface.hxx>
#include <Geom_CylindricalSurface.hxx>
#include <Geom_Plane.hxx>
#include <Geom_ToroidalSurface.hxx>
#include <Interface_Static.hxx>
#include <Message.hxx>
#include <Message_Messenger.hxx>
#include <Message_PrinterOStream.hxx>
#include <STEPCAFControl_Writer.hxx>
#include <Standard_Failure.hxx>
#include <TColStd_Array1OfInteger.hxx>
#include <TColStd_Array1OfReal.hxx>
#include <TColgp_Array1OfPnt2d.hxx>
#include <TColgp_Array2OfPnt.hxx>
#include <TDF_Label.hxx>
#include <TDataStd_Name.hxx>
#include <TDocStd_Document.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Solid.hxx>
#include <XCAFApp_Application.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <gp_Pln.hxx>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr double same_point = 1e-6; // for edges of two faces to be one, in millimetres

gp_Pnt point_of(const ERPoint3D& p) { return {p.x(), p.y(), p.z()}; }
gp_Dir direction_of(const ERVector3D& v) { return {v.i(), v.j(), v.k()}; }

gp_Ax3 placement_of(const ERPmIsometrie3D& frame) {
    return gp_Ax3(point_of(frame.origine()), direction_of(frame.getVector(Coord3D_Z)),
                  direction_of(frame.getVector(Coord3D_X)));
}

// Knots without repetition, and how often each is repeated.
struct Knots {
    explicit Knots(const ERKnotVector& all) {
        for (int i = 0; i < all.length(); ++i) {
            if (values.empty() || all[i] != values.back()) {
                values.push_back(all[i]);
                counts.push_back(0);
            }
            ++counts.back();
        }
    }
    TColStd_Array1OfReal real() const {
        return TColStd_Array1OfReal(values.front(), 1, int(values.size()));
    }
    TColStd_Array1OfInteger times() const {
        return TColStd_Array1OfInteger(counts.front(), 1, int(counts.size()));
    }
    std::vector<double> values;
    std::vector<int> counts;
};

Handle(Geom_Surface) spline_of(const ERSpoleNURBS3D& from) {
    const ERMatrix<ERPole3DH>& poles = from.poles();
    TColgp_Array2OfPnt places(1, poles.columns(), 1, poles.rows());
    for (int j = 0; j < poles.rows(); ++j)
        for (int i = 0; i < poles.columns(); ++i)
            places.SetValue(i + 1, j + 1, gp_Pnt(poles(j, i)[0], poles(j, i)[1], poles(j, i)[2]));
    const Knots u(from.knotVectorU()), v(from.knotVectorV());
    return new Geom_BSplineSurface(places, u.real(), v.real(), u.times(), v.times(), from.degreeU(),
                                   from.degreeV());
}

// A surface, and the limits of its natural face where the trim is their rectangle.
struct Surface {
    Handle(Geom_Surface) geometry;
    double limits[4]; // of the kernel's parameters
};

Surface surface_of(const ERAnyBoundedSurface& any) {
    const ERLimites u = any.getBoundU(), v = any.getBoundV();
    auto* const from = const_cast<ERAnyBoundedSurface*>(&any);
    if (const auto* plane = ERBoundedPlane::castdown(from))
        return {new Geom_Plane(placement_of(plane->getMatrix())),
                {u.start(), u.end(), v.start(), v.end()}};
    if (const auto* cylinder = ERBoundedCylinder::castdown(from))
        return {
            new Geom_CylindricalSurface(placement_of(cylinder->getMatrix()), cylinder->radius()),
            {v.start(), v.end(), u.start(), u.end()}};
    if (const auto* cone = ERBoundedCone::castdown(from)) { // ours rises from the apex
        const double angle = cone->demiAngle();
        return {new Geom_ConicalSurface(placement_of(cone->getMatrix()), angle, 0.0),
                {v.start(), v.end(), u.start() / std::cos(angle), u.end() / std::cos(angle)}};
    }
    if (const auto* torus = ERBoundedTorus::castdown(from))
        return {new Geom_ToroidalSurface(placement_of(torus->getMatrix()), torus->radius(),
                                         torus->small_radius()),
                {u.start(), u.end(), v.start(), v.end()}};
    if (const auto* spline = ERSpoleNURBS3D::castdown(from))
        return {spline_of(*spline), {u.start(), u.end(), v.start(), v.end()}};
    throw std::runtime_error("a surface of another kind");
}

// A piece of a trim on a plane, or on a spline surface whose x and y are its parameters.
TopoDS_Edge edge_of(ERFiniteEntity2DWF& piece, const Surface& on) {
    const ERPoint2D from = piece.firstPt(), to = piece.lastPt();
    Handle(Geom2d_Curve) trim;
    double first = 0.0, last = 0.0;
    if (const auto* arc = ERArc2D::castdown(&piece)) {
        const ERPoint2D c = arc->center();
        trim = new Geom2d_Circle(gp_Ax2d(gp_Pnt2d(c.x(), c.y()), gp_Dir2d(1, 0)), arc->radius());
        first = std::min(arc->startAngle(), arc->endAngle());
        last = std::max(arc->startAngle(), arc->endAngle());
    } else if (auto* spline = ERCpoleNURBS2D::castdown(&piece)) {
        const ERVec<ERPole2DH> poles = spline->getPoles();
        TColgp_Array1OfPnt2d places(1, poles.size());
        for (int i = 0; i < poles.size(); ++i)
            places.SetValue(i + 1, gp_Pnt2d(poles[i][0], poles[i][1]));
        const Knots knots(spline->getKnots());
        trim = new Geom2d_BSplineCurve(places, knots.real(), knots.times(),
                                       spline->getKnots().degree());
        first = trim->FirstParameter();
        last = trim->LastParameter();
    } else {
        const gp_Vec2d along(to.x() - from.x(), to.y() - from.y());
        trim = new Geom2d_Line(gp_Pnt2d(from.x(), from.y()), gp_Dir2d(along));
        last = along.Magnitude();
    }
    Handle(Geom_Curve) curve;
    if (const auto plane = Handle(Geom_Plane)::DownCast(on.geometry)) {
        curve = GeomAPI::To3d(trim, plane->Pln());
    } else if (trim->IsKind(STANDARD_TYPE(Geom2d_Line))) { // along a border
        const bool along_u = from.y() == to.y();
        curve = along_u ? on.geometry->VIso(from.y()) : on.geometry->UIso(from.x());
        first = along_u ? std::min(from.x(), to.x()) : std::min(from.y(), to.y());
        last = along_u ? std::max(from.x(), to.x()) : std::max(from.y(), to.y());
        trim = along_u ? new Geom2d_Line(gp_Pnt2d(0.0, from.y()), gp_Dir2d(1, 0))
                       : new Geom2d_Line(gp_Pnt2d(from.x(), 0.0), gp_Dir2d(0, 1));
    } else { // where the surface is level
        const double height = on.geometry->Value(from.x(), from.y()).Z();
        curve = GeomAPI::To3d(trim, gp_Pln(gp_Pnt(0, 0, height), gp_Dir(0, 0, 1)));
    }
    TopoDS_Edge edge = BRepBuilderAPI_MakeEdge(curve, first, last);
    BRep_Builder().UpdateEdge(edge, trim, on.geometry, TopLoc_Location(), 1e-7);
    const gp_Pnt2d start = trim->Value(first);
    const bool is_forward = std::hypot(start.X() - from.x(), start.Y() - from.y()) < same_point;
    const bool turns_back =
        std::hypot(from.x() - to.x(), from.y() - to.y()) < same_point &&
        ERArc2D::castdown(&piece) != nullptr &&
        ERArc2D::castdown(&piece)->endAngle() < ERArc2D::castdown(&piece)->startAngle();
    return is_forward && !turns_back ? edge : TopoDS::Edge(edge.Reversed());
}

TopoDS_Wire wire_of(ERFiniteEntity2DWF& loop, const Surface& on) {
    BRepBuilderAPI_MakeWire wire;
    const auto* const pieces = ERCompCurve2D::castdown(&loop);
    if (pieces == nullptr) throw std::runtime_error("a trim of another kind");
    for (int i = 0; i < pieces->nbElements(); ++i)
        wire.Add(edge_of(const_cast<ERCompCurve2D::Element&>(pieces->element(i)), on));
    return wire;
}

TopoDS_Face face_of(ERTrimmedSurface& from) {
    const Surface on = surface_of(*from.base_surface());
    const bool has_any_trim = on.geometry->IsKind(STANDARD_TYPE(Geom_Plane)) ||
                              on.geometry->IsKind(STANDARD_TYPE(Geom_BSplineSurface));
    if (!has_any_trim)
        return BRepBuilderAPI_MakeFace(on.geometry, on.limits[0], on.limits[1], on.limits[2],
                                       on.limits[3], 1e-7);
    BRepBuilderAPI_MakeFace face(on.geometry, wire_of(*from.getOutBnd(), on), Standard_False);
    for (int i = 0; const t_SmartPtr<ERFiniteEntity2DWF> hole = from.getInBnd(i); ++i)
        face.Add(wire_of(*hole, on));
    return face;
}

// The solid, and its faces with the last levels of their paths: those below the part.
struct NamedSolid {
    TopoDS_Solid solid;
    std::vector<std::pair<TopoDS_Shape, std::string>> names;
};

NamedSolid solid_of(const velm::NominalPart& part) {
    BRepBuilderAPI_Sewing sewing(same_point);
    NamedSolid result;
    for (const velm::NominalFace& face : part.faces) {
        const TopoDS_Face made = face_of(*face.surface);
        sewing.Add(made);
        std::string name = face.path.substr(face.path.find('/', 1) + 1);
        std::replace(name.begin(), name.end(), '/', ' ');
        result.names.emplace_back(made, name);
    }
    sewing.Perform();
    for (auto& [face, name] : result.names)
        face = sewing.Modified(face);
    const TopExp_Explorer shell(sewing.SewedShape(), TopAbs_SHELL);
    if (!shell.More() || sewing.NbFreeEdges() > 0)
        throw std::runtime_error("the faces don't close a solid");
    result.solid = BRepBuilderAPI_MakeSolid(TopoDS::Shell(shell.Current()));
    BRepLib::OrientClosedSolid(result.solid);
    return result;
}

bool write(const NamedSolid& part, const char* path) {
    Handle(TDocStd_Document) document;
    XCAFApp_Application::GetApplication()->NewDocument("BinXCAF", document);
    const Handle(XCAFDoc_ShapeTool) shapes = XCAFDoc_DocumentTool::ShapeTool(document->Main());
    const TDF_Label product = shapes->AddShape(part.solid, Standard_False);
    TDataStd_Name::Set(product, "housing");
    for (const auto& [face, name] : part.names)
        TDataStd_Name::Set(shapes->AddSubShape(product, face), name.c_str());
    STEPCAFControl_Writer writer;
    Interface_Static::SetIVal("write.stepcaf.subshapes.name", 1);
    return writer.Transfer(document, STEPControl_AsIs) && writer.Write(path) == IFSelect_RetDone;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("usage: write_step PART.velm OUT.step\n", stderr);
        return 2;
    }
    const auto complain = [&](const char* what) {
        std::fprintf(stderr, "write_step: %s: %s\n", argv[1], what);
        return 4;
    };
    Message::DefaultMessenger()->RemovePrinters(STANDARD_TYPE(Message_PrinterOStream));
    try {
        if (!write(solid_of(velm::read_part(argv[1])), argv[2]))
            return complain("can't be written");
        return 0;
    } catch (CFileException* error) {
        error->Delete();
        return complain("can't be read");
    } catch (const Standard_Failure& failure) {
        return complain(failure.GetMessageString());
    } catch (const std::exception& error) {
        return complain(error.what());
    }
}
