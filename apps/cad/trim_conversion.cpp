#include "cad/trim_conversion.h"

#include "velm/curves/nurbs_curve.h"
#include "velm/wireframe/segment.h"

#include <Geom2dConvert.hxx>
#include <Geom2d_BSplineCurve.hxx>
#include <Geom2d_Line.hxx>
#include <Geom2d_TrimmedCurve.hxx>
#include <Standard_Failure.hxx>
#include <algorithm>
#include <cmath>

namespace velm::cad {

namespace {

t_SmartPtr<ERFiniteEntity2DWF> segment(const ERPoint2D& from, const ERPoint2D& to) {
    return static_cast<ERFiniteEntity2DWF*>(new ERSegment2D(from, to));
}

// Where a conic has another parameter than in the file, lines become curves.
t_SmartPtr<ERFiniteEntity2DWF> fitted(const Handle(Geom2d_Curve) & curve, double first, double last,
                                      const ParameterMap& map) {
    const auto at = [&](double t) {
        gp_Pnt2d p;
        gp_Vec2d d;
        curve->D1(t, p, d);
        const ERPoint2D q = map(p.X(), p.Y()), along = map.derivative(p.X(), p.Y(), d.X(), d.Y());
        return CurvePoint<2>{{{q.x(), q.y()}, {along.x(), along.y()}}};
    };
    ERPoint2D low(HUGE_VAL, HUGE_VAL), high(-HUGE_VAL, -HUGE_VAL);
    for (int i = 0; i <= 16; ++i) {
        const auto p = at(first + (last - first) * i / 16)[0];
        low = {std::min(low.x(), p[0]), std::min(low.y(), p[1])};
        high = {std::max(high.x(), p[0]), std::max(high.y(), p[1])};
    }
    const double tolerance = 1e-10 * std::max(high.x() - low.x(), high.y() - low.y());
    const auto found = fit_curve<2>(at, first, last, {tolerance, tolerance});
    if (!found) throw Standard_Failure("a boundary that is too rough");
    ERVec<ERPole2DH> poles(int(found->poles.size()));
    for (int i = 0; i < poles.size(); ++i)
        poles[i] = ERPole2DH(
            ERPoint2D(found->poles[std::size_t(i)][0], found->poles[std::size_t(i)][1]), 1.0);
    ERVec<double> knots(int(found->knots.size()));
    for (int i = 0; i < knots.size(); ++i)
        knots[i] = found->knots[std::size_t(i)];
    return static_cast<ERFiniteEntity2DWF*>(new ERCpoleNURBS2D(poles, ERKnotVector(3, knots)));
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
    if (const auto line = Handle(Geom2d_Line)::DownCast(curve)) {
        constexpr double level = 1e-14; // of the direction: what is left is rounding
        const gp_Dir2d along = line->Direction();
        if (!map.conic || std::min(std::fabs(along.X()), std::fabs(along.Y())) <= level)
            return segment(at(first), at(last));
    }
    if (map.conic) return fitted(curve, first, last, map);

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
