#include "cad/curve_conversion.h"

#include <GeomConvert.hxx>
#include <Geom_BSplineCurve.hxx>
#include <Geom_BezierCurve.hxx>
#include <Geom_Circle.hxx>
#include <Geom_Ellipse.hxx>
#include <Geom_Hyperbola.hxx>
#include <Geom_Line.hxx>
#include <Geom_Parabola.hxx>
#include <Geom_TrimmedCurve.hxx>
#include <Standard_Failure.hxx>
#include <algorithm>
#include <numbers>

namespace velm::cad {

namespace {

ERPole3DH pole_of(const gp_Pnt& p, double weight) {
    return ERPole3DH(ERPoint3D(p.X(), p.Y(), p.Z()) * weight, weight);
}

ERKnotVector knots_of(int degree, const std::vector<double>& values) {
    ERVec<double> knots(int(values.size()));
    for (int i = 0; i < knots.size(); ++i)
        knots[i] = values[std::size_t(i)];
    return ERKnotVector(degree, knots);
}

// Theirs without its period; the part asked for where that passes the natural one's ends.
ERCpoleNURBS3D spline_of(const Handle(Geom_BSplineCurve) & from, double first, double last) {
    const Handle(Geom_BSplineCurve) open = Handle(Geom_BSplineCurve)::DownCast(from->Copy());
    if (open->IsPeriodic()) {
        const double low = open->FirstParameter(), high = open->LastParameter();
        const double slack = 1e-9 * (high - low);
        if (first < low - slack || last > high + slack)
            open->Segment(first, std::min(last, first + high - low));
        if (open->IsPeriodic()) open->SetNotPeriodic();
    }
    ERVec<ERPole3DH> poles(open->NbPoles());
    for (int i = 0; i < poles.size(); ++i)
        poles[i] = pole_of(open->Pole(i + 1), open->Weight(i + 1));
    const TColStd_Array1OfReal& sequence = open->KnotSequence();
    return ERCpoleNURBS3D(
        poles, knots_of(open->Degree(), std::vector<double>(sequence.begin(), sequence.end())));
}

// A polynomial of degree 2 at most.
ERCpoleNURBS3D parabola(const Handle(Geom_Curve) & curve, double first, double last) {
    gp_Pnt start;
    gp_Vec along;
    curve->D1(first, start, along);
    const ERVec<ERPole3DH> poles{pole_of(start, 1.0),
                                 pole_of(start.Translated(along * (0.5 * (last - first))), 1.0),
                                 pole_of(curve->Value(last), 1.0)};
    return ERCpoleNURBS3D(poles, knots_of(2, {first, first, first, last, last, last}));
}

// An ellipse, or a hyperbola, with its centre.
ConvertedCurve conic(const Handle(Geom_Curve) & curve, const gp_Pnt& centre, bool is_hyperbola,
                     double first, double last) {
    constexpr double widest_arc = 0.5 * std::numbers::pi, widest_branch = 1.0;
    const double widest = is_hyperbola ? widest_branch : widest_arc;
    const int pieces = std::max(1, int(std::ceil((last - first) / widest - 1e-9)));
    const ConicParameter parameter{first, last, pieces, is_hyperbola};
    const double h = parameter.half_width();
    const double weight = is_hyperbola ? std::cosh(h) : std::cos(h);
    ERVec<ERPole3DH> poles(2 * pieces + 1);
    std::vector<double> knots(3, first);
    poles[0] = pole_of(curve->Value(first), 1.0);
    for (int n = 0; n < pieces; ++n) {
        // The tangents of the ends meet above the middle, further from the centre by 1 / weight.
        const gp_Pnt top = curve->Value(first + (2 * n + 1) * h);
        const gp_Pnt corner = centre.Translated(gp_Vec(centre, top) / weight);
        const double end = n + 1 == pieces ? last : first + 2 * (n + 1) * h;
        poles[2 * n + 1] = pole_of(corner, weight);
        poles[2 * n + 2] = pole_of(curve->Value(end), 1.0);
        knots.insert(knots.end(), n + 1 == pieces ? 3 : 2, end);
    }
    return {ERCpoleNURBS3D(poles, knots_of(2, knots)), parameter};
}

ERCpoleNURBS3D fitted(const Handle(Geom_Curve) & curve, double first, double last) {
    double size = 0.0;
    for (int i = 0; i <= 16; ++i)
        size = std::max(
            size, curve->Value(first).Distance(curve->Value(first + (last - first) * i / 16)));
    const auto at = [&](double t) {
        gp_Pnt p;
        gp_Vec d;
        curve->D1(t, p, d);
        return CurvePoint<3>{{{p.X(), p.Y(), p.Z()}, {d.X(), d.Y(), d.Z()}}};
    };
    const double tolerance = 1e-10 * size;
    const auto found = fit_curve<3>(at, first, last, {tolerance, tolerance, tolerance});
    if (!found) throw Standard_Failure("a curve that is too rough");
    ERVec<ERPole3DH> poles(int(found->poles.size()));
    for (int i = 0; i < poles.size(); ++i) {
        const std::array<double, 3>& p = found->poles[std::size_t(i)];
        poles[i] = ERPole3DH(ERPoint3D(p[0], p[1], p[2]), 1.0);
    }
    return ERCpoleNURBS3D(poles, knots_of(3, found->knots));
}

} // namespace

double ConicParameter::middle_for(double t) const {
    const double width = 2.0 * half_width();
    const double piece = std::clamp(std::floor((t - first) / width), 0.0, double(pieces - 1));
    return first + (piece + 0.5) * width;
}

double ConicParameter::operator()(double t) const {
    const double m = middle_for(t), h = half_width(), half = 0.5 * (t - m);
    return m + h * (is_hyperbola ? std::tanh(half) / std::tanh(0.5 * h)
                                 : std::tan(half) / std::tan(0.5 * h));
}

double ConicParameter::derivative(double t) const {
    const double m = middle_for(t), h = half_width(), half = 0.5 * (t - m);
    if (is_hyperbola) return 0.5 * h / (std::tanh(0.5 * h) * std::cosh(half) * std::cosh(half));
    return 0.5 * h / (std::tan(0.5 * h) * std::cos(half) * std::cos(half));
}

ConvertedCurve convert_curve(const Handle(Geom_Curve) & any, double first, double last) {
    Handle(Geom_Curve) curve = any;
    while (const auto trimmed = Handle(Geom_TrimmedCurve)::DownCast(curve))
        curve = trimmed->BasisCurve();
    if (curve->IsKind(STANDARD_TYPE(Geom_Line))) {
        const ERVec<ERPole3DH> ends{pole_of(curve->Value(first), 1.0),
                                    pole_of(curve->Value(last), 1.0)};
        return {ERCpoleNURBS3D(ends, knots_of(1, {first, first, last, last})), {}};
    }
    if (curve->IsKind(STANDARD_TYPE(Geom_Parabola))) return {parabola(curve, first, last), {}};
    if (const auto conic_curve = Handle(Geom_Conic)::DownCast(curve))
        return conic(curve, conic_curve->Location(), curve->IsKind(STANDARD_TYPE(Geom_Hyperbola)),
                     first, last);
    if (const auto spline = Handle(Geom_BSplineCurve)::DownCast(curve))
        return {spline_of(spline, first, last), {}};
    if (curve->IsKind(STANDARD_TYPE(Geom_BezierCurve)))
        return {spline_of(GeomConvert::CurveToBSplineCurve(curve), first, last), {}};
    return {fitted(curve, first, last), {}};
}

} // namespace velm::cad
