#include "velm/curves/conversions.h"

#include "velm/frame/dimension.h"
#include "velm/transforms/plane_transformation.h"
#include "velm/transforms/transformation_handle.h"

#include <algorithm>

namespace {

template <class To, class From, class Map>
ERVec<To> each_mapped(const ERVec<From>& values, Map map) {
    ERVec<To> result(values.size());
    std::transform(values.view().begin(), values.view().end(), result.begin(), map);
    return result;
}

} // namespace

ERVec<ERPoint2D> Convert(const ERVec<ERPoint3D>& points, const ERTr3D& frame) {
    return each_mapped<ERPoint2D>(points, [&](const ERPoint3D& p) { return frame.Project(p); });
}

ERVec<ERPole2DH> Convert(const ERVec<ERPole3DH>& poles, const ERTr3D& frame) {
    return each_mapped<ERPole2DH>(poles, [&](const ERPole3DH& p) { return frame.Project(p); });
}

ERVec<ERPoint2D> Convert(const ERVec<ERPoint3D>& points, Coord3D axis) {
    return each_mapped<ERPoint2D>(points,
                                  [=](const ERPoint3D& p) { return p.castToPoint2D(axis); });
}

ERVec<ERPole2DH> Convert(const ERVec<ERPole3DH>& poles, Coord3D axis) {
    return each_mapped<ERPole2DH>(poles, [=](const ERPole3DH& p) { return p.castToPole2D(axis); });
}

ERVec<ERPoint3D> Convert(const ERVec<ERPoint2D>& points, const ERPmSimilitude3D& frame) {
    auto lifted = each_mapped<ERPoint3D>(
        points, [](const ERPoint2D& p) { return p.castToPoint3D(Coord3D_Z, 0.0); });
    frame.TransFrom(lifted);
    return lifted;
}

ERVec<ERPole3DH> Convert(const ERVec<ERPole2DH>& poles, const ERPmSimilitude3D& frame) {
    auto lifted = each_mapped<ERPole3DH>(
        poles, [](const ERPole2DH& p) { return p.castToPole3D(Coord3D_Z, 0.0); });
    frame.TransFrom(lifted);
    return lifted;
}

ERTValVector<ERPolynome> Convert(const ERTValVector<ERPolynome>& polys, const ERTr3D& frame) {
    ERPoint3D origin;
    frame.TransTo(origin);
    return velm::detail::mapped_polynomials<velm::Space>(
        polys, [&](ERVector3D v) { return frame.TransTo(v); }, origin);
}

ERTValVector<ERPolynome> Convert(const ERTValVector<ERPolynome>& polys,
                                 const ERTransfo2D& transformation) {
    return velm::detail::mapped_polynomials<velm::Plane>(
        polys, [&](const ERVector2D& v) { return transformation.TransFrom(v); },
        transformation.TransFrom(ERPoint2D()));
}
