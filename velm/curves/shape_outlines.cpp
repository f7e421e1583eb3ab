// Polylines and closed shapes as NURBS and composite curves, and the projections of those of space;
// their headers declare it.
#include "velm/curves/composite_curve.h"
#include "velm/curves/knot_vector.h"
#include "velm/curves/nurbs_curve.h"
#include "velm/transforms/plane_transformation.h"
#include "velm/wireframe/detail/slot_pieces.h"
#include "velm/wireframe/polyline.h"
#include "velm/wireframe/shapes_in_space.h"

namespace velm::detail {

namespace {

constexpr double any_gap = -1.0;

// The map of the plane that takes coordinates in one frame to those in the xy plane of another.
ERTransfo2D plane_map(const ERPmIsometrie3D& from, const ERPmIsometrie3D& to) {
    const ERPoint2D origin = to.Project(from.origine());
    const ERPoint2D x = to.Project(lifted(from, ERPoint2D(1.0, 0.0)));
    const ERPoint2D y = to.Project(lifted(from, ERPoint2D(0.0, 1.0)));
    ERTransfo2D map(ERVector2D(origin.x(), origin.y()));
    map.a = x.x() - origin.x();
    map.c = x.y() - origin.y();
    map.b = y.x() - origin.x();
    map.d = y.y() - origin.y();
    return map;
}

} // namespace

template <class D>
typename D::NurbsCurve Polyline<D>::ConvertToNurbs() {
    if (edges() < 1) return {};
    ERVec<typename D::Pole> poles(edges() + 1);
    ERVec<double> knots(poles.size() + 2);
    for (int i = 0; i < poles.size(); ++i) {
        poles[i] = typename D::Pole(vertex(i), 1.0);
        knots[i + 1] = i;
    }
    knots[0] = 0.0;
    knots[poles.size() + 1] = edges();
    return {poles, ERKnotVector(1, knots)};
}

template ERCpoleNURBS2D Polyline<Plane>::ConvertToNurbs();
template ERCpoleNURBS3D Polyline<Space>::ConvertToNurbs();

ERCompCurve2D VertexShape::composite_curve() const {
    ERCompCurve2D outline;
    for (int i = 0; i < points.size(); ++i)
        outline.append(ERSegment2D(vertex(i), vertex(i + 1)), any_gap);
    return outline;
}

template <class Flat>
ERCompCurve3D FramedShape<Flat>::composite_curve() const {
    return ERCompCurve3D::castdown(*flat_.composite_curve().get3DEquiv(getRepere()));
}

template <class Flat>
t_SmartPtr<EREntity2DWF> FramedShape<Flat>::get2DEntProjectedOn(const ERPmIsometrie3D& frame) {
    if (!ERCircle3D(getRepere(), 1.0).Project2DWillBeCircle(frame))
        return composite_curve().get2DEntProjectedOn(frame);
    t_SmartPtr<Flat> image(new Flat(flat_));
    image->transformFrom(plane_map(getRepere(), frame));
    return image.get();
}

#define VELM_INSTANTIATE(Flat)                                                                     \
    template ERCompCurve3D FramedShape<Flat>::composite_curve() const;                             \
    template t_SmartPtr<EREntity2DWF> FramedShape<Flat>::get2DEntProjectedOn(                      \
        const ERPmIsometrie3D&);
VELM_INSTANTIATE(ERRectangle2D)
VELM_INSTANTIATE(ERRegularPolygon2D)
VELM_INSTANTIATE(ERRoundedSlot2D)
#undef VELM_INSTANTIATE

} // namespace velm::detail

ERCompCurve2D ERRoundedSlot2D::composite_curve() const {
    const velm::detail::SlotPieces pieces(*this);
    ERCompCurve2D outline;
    for (int i = 0; i < 2; ++i) {
        outline.append(pieces.arcs[i], velm::detail::any_gap);
        outline.append(pieces.sides[i], velm::detail::any_gap);
    }
    return outline;
}
