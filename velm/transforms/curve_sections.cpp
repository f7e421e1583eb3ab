// The operations of the curves' interfaces that need transformations: sections with lines and
// planes, and lifted points of information.
#include "velm/frame/finite_entity.h"
#include "velm/transforms/plane_transformation.h"
#include "velm/transforms/transformation_factories.h"

int ERFiniteEntity2DWF::intersectWith(const ERPoint2D& p, const ERVector2D& d,
                                      ERVec<double>& params) const {
    const t_SmartPtr<ERFiniteEntity2DWF> copy(castdown(getCopy()));
    copy->transformTo(ERTransfo2D(d, p));
    return copy->intersectWithAxeY(0.0, params);
}

int ERFiniteEntity3DWF::intersectWith(const ERPoint3D& p, const ERVector3D& d,
                                      ERVec<double>& params) const {
    const t_SmartPtr<ERFiniteEntity3DWF> copy(castdown(getCopy()));
    copy->transformTo(ERChgRepere3D(d, p));
    return copy->intersectWithPlanZ(0.0, params);
}

namespace {

// A vector of the plane with `value` put in at `axis`, mapped as a vector.
ERVector3D lifted(const ERVector2D& v, const ERTr3DRev& frame, Coord3D axis, double value) {
    ERVector3D result = v.castToVector3D(axis, value);
    return frame.TransFrom(result);
}

ERPoint3D lifted(const ERPoint2D& p, const ERTr3DRev& frame, Coord3D axis, double value) {
    ERPoint3D result = p.castToPoint3D(axis, value);
    return frame.TransFrom(result);
}

} // namespace

ERInfoPoint3DWF::ERInfoPoint3DWF(const ERInfoPoint2D& info, const ERTr3DRev& frame, Coord3D axis,
                                 double value)
    : CurvePoint(info.Parametre, info.Sens, lifted(info.point(), frame, axis, value),
                 lifted(info.tangente(), frame, axis, value),
                 lifted(info.second_derivative(), frame, axis, value)) {}
