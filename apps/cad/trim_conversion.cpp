#include "cad/trim_conversion.h"

#include "velm/curves/nurbs_curve.h"
#include "velm/wireframe/segment.h"

#include <Geom2dConvert.hxx>
#include <Geom2d_BSplineCurve.hxx>
#include <Geom2d_Line.hxx>
#include <Geom2d_TrimmedCurve.hxx>

namespace velm::cad {

namespace {

t_SmartPtr<ERFiniteEntity2DWF> segment(const ERPoint2D& from, const ERPoint2D& to) {
    return static_cast<ERFiniteEntity2DWF*>(new ERSegment2D(from, to));
}

} // namespace

t_SmartPtr<ERFiniteEntity2DWF> convert_trim(const Handle(Geom2d_Curve) & any, double first,
                                            double last, const ParameterMap& map) {
    Handle(Geom2d_Curve) curve = any;
    while (const auto trimmed = Handle(Geom2d_TrimmedCurve)::DownCast(curve))
        curve = trimmed->BasisCurve();
    const auto at = [&](double t) {
        const gp_Pnt2d p = curve->Value(t);
        return map(p.X(), p.Y());
    };
    if (curve->IsKind(STANDARD_TYPE(Geom2d_Line))) return segment(at(first), at(last));

    const Handle(Geom2d_BSplineCurve) spline =
        Geom2dConvert::CurveToBSplineCurve(new Geom2d_TrimmedCurve(curve, first, last));
    if (spline->IsPeriodic()) spline->SetNotPeriodic();
    if (spline->Degree() == 1 && spline->NbPoles() == 2) return segment(at(first), at(last));
    ERVec<ERPole2DH> poles(spline->NbPoles());
    for (int i = 0; i < poles.size(); ++i) {
        const gp_Pnt2d p = spline->Pole(i + 1);
        const double w = spline->Weight(i + 1);
        poles[i] = ERPole2DH(map(p.X(), p.Y()) * w, w);
    }
    const TColStd_Array1OfReal& sequence = spline->KnotSequence();
    ERVec<double> knots(sequence.Length());
    for (int i = 0; i < knots.size(); ++i)
        knots[i] = sequence.Value(sequence.Lower() + i);
    return static_cast<ERFiniteEntity2DWF*>(
        new ERCpoleNURBS2D(poles, ERKnotVector(spline->Degree(), knots)));
}

} // namespace velm::cad
