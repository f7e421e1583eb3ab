// Convert: arrays of points and poles, and the polynomials of a curve, between frames and
// dimensions. The conversions of arcs and ellipses are in conics.h.
#pragma once

#include "velm/frame/enumerations.h"
#include "velm/frame/pole.h"
#include "velm/frame/val_vector.h"
#include "velm/frame/vec.h"
#include "velm/numerics/polynomial.h"

/// Into the plane z = 0 of a frame: Project of each.
VELM_API ERVec<ERPoint2D> Convert(const ERVec<ERPoint3D>& points, const ERTr3D& frame);
VELM_API ERVec<ERPole2DH> Convert(const ERVec<ERPole3DH>& poles, const ERTr3D& frame);

/// Into the plane by dropping a coordinate; zeros for an axis out of range.
VELM_API ERVec<ERPoint2D> Convert(const ERVec<ERPoint3D>& points, Coord3D axis);
VELM_API ERVec<ERPole2DH> Convert(const ERVec<ERPole3DH>& poles, Coord3D axis);

/// Into space: z = 0 of a frame, then TransFrom.
VELM_API ERVec<ERPoint3D> Convert(const ERVec<ERPoint2D>& points, const ERPmSimilitude3D& frame);
VELM_API ERVec<ERPole3DH> Convert(const ERVec<ERPole2DH>& poles, const ERPmSimilitude3D& frame);

/// The polynomials of the curve through TransTo of a frame, and through TransFrom of a
/// transformation of the plane. The linear part acts on each vector of coefficients, the
/// translation is added times the weight: the last polynomial if there is one more than
/// coordinates, else 1. Fewer polynomials than coordinates come back as they are.
VELM_API ERTValVector<ERPolynome> Convert(const ERTValVector<ERPolynome>& polys,
                                          const ERTr3D& frame);
VELM_API ERTValVector<ERPolynome> Convert(const ERTValVector<ERPolynome>& polys,
                                          const ERTransfo2D& transformation);

namespace velm::detail {

/// The polynomials of a curve through an affine map, given by what it does to points.
template <class D, class Map>
ERTValVector<ERPolynome> mapped_polynomials(const ERTValVector<ERPolynome>& polys, Map map_vector,
                                            const typename D::Point& origin_image) {
    using Vector = typename D::Vector;
    if (polys.length() < D::size) return polys;
    ERTValVector<ERPolynome> result(polys);
    D::for_axes([&](int row) {
        const bool weighted = polys.length() > D::size;
        result[row] = weighted ? polys[D::size] * origin_image[row]
                               : ERPolynome(polyValue, origin_image[row]);
    });
    D::for_axes([&](int column) {
        const Vector image =
            map_vector(Vector::each([column](int c) { return c == column ? 1.0 : 0.0; }));
        D::for_axes([&](int row) { result[row] += polys[column] * image[row]; });
    });
    return result;
}

} // namespace velm::detail
