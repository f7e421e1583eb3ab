#include "velm/surfaces/curve_on_surface.h"

#include "velm/frame/point_functions.h"
#include "velm/wireframe/polyline.h"

int match3DCurveOnSurface(const t_SmartPtr<ERAnyBoundedSurface>& target,
                          t_SmartPtr<ERAnyBoundedSurface> source,
                          t_SmartPtr<ERFiniteEntity3DWF> curve,
                          t_SmartPtr<ERFiniteEntity2DWF>& result) {
    constexpr double chord_tolerance = 0.01, near = 0.05, farthest = 0.5;
    if (!target || !curve) return 0;
    ERVec<ERPoint2D> parameters;
    for (ERPoint3D p : curve->approxime(curve->getBound(), chord_tolerance)) {
        if (source) {
            ERPoint3D foot;
            ERVector3D normal;
            if (source->ProjectionNormale(p, foot, normal)) p = foot;
        }
        ERPoint2D at;
        if (!target->ProjectionNormale(p, 0.0, at, 0)) continue;
        if (!(distance(p, (*target)(at)) <= near)) {
            ERPoint3D moved = p;
            target->ReajustProjection(moved, at, 1);
            if (!(distance(p, (*target)(at)) <= farthest)) continue;
        }
        parameters.push_back(at);
    }
    if (parameters.size() < 2) return 0;
    result = new ERPolyline2D(parameters);
    return 1;
}
