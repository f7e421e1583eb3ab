// A NURBS curve as Open CASCADE's, for benchmarks that have it as a peer.
#pragma once

#include "velm/curves/nurbs_curve.h"

#include <Geom_BSplineCurve.hxx>
#include <TColStd_Array1OfInteger.hxx>
#include <TColStd_Array1OfReal.hxx>
#include <TColgp_Array1OfPnt.hxx>

namespace velm_bench {

/// REQUIRES clamped ends and single inner knots.
inline Handle(Geom_BSplineCurve) occt_curve(const ERCpoleNURBS3D& given) {
    const int count = given.nbPoles(), degree = given.degree();
    TColgp_Array1OfPnt poles(1, count);
    TColStd_Array1OfReal weights(1, count), knots(1, count - degree + 1);
    TColStd_Array1OfInteger multiplicities(1, knots.Length());
    for (int i = 0; i < count; ++i) {
        const ERPole3DH pole = given.getPoles()[i];
        const ERPoint3D at = pole.castToPoint();
        poles.SetValue(i + 1, gp_Pnt(at.x(), at.y(), at.z()));
        weights.SetValue(i + 1, pole.weigth());
    }
    for (int i = 1; i <= knots.Length(); ++i) {
        knots.SetValue(i, given.getKnots()(degree + i - 1));
        multiplicities.SetValue(i, i == 1 || i == knots.Length() ? degree + 1 : 1);
    }
    return new Geom_BSplineCurve(poles, weights, knots, multiplicities, degree);
}

} // namespace velm_bench
