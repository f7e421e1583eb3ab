#include "velm/wireframe/shapes_in_space.h"

#include "velm/frame/point_functions.h"
#include "velm/frame/stored_form.h"
#include "velm/transforms/transformation_factories.h"
#include "velm/wireframe/detail/shape_text.h"

#include <algorithm>
#include <cmath>

VELM_DEFINE_CLASS(ERRectangle3D, ERPlanarEntity3DWF)
VELM_DEFINE_CLASS(ERRegularPolygon3D, ERPlanarEntity3DWF)
VELM_DEFINE_CLASS(ERRoundedSlot3D, ERPlanarEntity3DWF)

namespace velm::detail {

VELM_DEFINE_STORED_FORM_AFTER(template <class Flat>, FramedShape<Flat>,
                              ERPlanarEntity3DWF::saveGuts(file),
                              ERPlanarEntity3DWF::restoreGuts(file),
                              ERPlanarEntity3DWF::binaryStoreSize())

template <class Flat>
ERInfoPoint3DWF FramedShape<Flat>::PtCur(double t) const {
    return ERInfoPoint3DWF(flat_.PtCur(t), getRepere(), Coord3D_Z, 0.0);
}

template <class Flat>
ERMinimax3D FramedShape<Flat>::getBox() const {
    return transform(flat_.getBox());
}

template <class Flat>
int FramedShape<Flat>::Project(const ERPoint3D& p, ERPoint3D& foot, double& distance,
                               int& entity) const {
    ERPoint2D at;
    double in_plane;
    if (!flat_.Project(getRepere().Project(p), at, in_plane, entity)) return 0;
    const ERPoint3D from = p; // may be the foot
    foot = lift(at);
    distance = ::distance(foot, from);
    return 1;
}

template <class Flat>
ERPoint3D FramedShape<Flat>::ProjectPt(const ERPoint3D& p) const {
    ERPoint3D foot = p;
    double distance;
    int entity;
    Project(p, foot, distance, entity);
    return foot;
}

template <class Flat>
int FramedShape<Flat>::Get_Entity_Number(const ERPoint3D& p, int& entity) const {
    return flat_.Get_Entity_Number(getRepere().Project(p), entity);
}

template <class Flat>
EREntity::DISTMINRES FramedShape<Flat>::SignedMinimalDistance(const ERPoint3D& p, double& dist) {
    ERPoint3D local = p;
    getRepere().TransTo(local);
    double in_plane;
    if (!flat_.SignedMinimalDistance(local.castToPoint2D(Coord3D_Z), in_plane)) return DISTMIN_NONE;
    const double height = std::fabs(local.z());
    dist = std::copysign(std::hypot(in_plane, height), in_plane < 0.0 ? -1.0 : 1.0);
    return height <= equalityTolerance ? DISTMIN_IN_SPACE : DISTMIN_FOUND;
}

template <class Flat>
ERVec<ERPoint3D> FramedShape<Flat>::lift(const ERVec<ERPoint2D>& flat) const {
    ERVec<ERPoint3D> points(flat.size());
    std::transform(flat.view().begin(), flat.view().end(), points.begin(),
                   [this](const ERPoint2D& p) { return lift(p); });
    return points;
}

template <class Flat>
void FramedShape<Flat>::scale(double s) {
    ERPlanarEntity3DWF::scale(s);
    scale_flat(s);
}

template <class Flat>
void FramedShape<Flat>::scale_flat(double ratio) {
    flat_.scale(ratio);
}

template class FramedShape<ERRectangle2D>;
template class FramedShape<ERRegularPolygon2D>;
template class FramedShape<ERRoundedSlot2D>;

namespace {

// The frame of a rectangle's corners; one along the axes of space where they are on a line.
ERPmIsometrie3D frame_of(const ERPoint3D& c0, const ERPoint3D& c1, const ERPoint3D& c2) {
    const ERPoint3D centre = milieu(c0, c2);
    const ERVector3D x(c0, c1), y(c1, c2);
    if ((x ^ y).norme2() > 0.0) return ERChgRepere3D(x, y, centre);
    const ERVector3D line = x.norme2() > 0.0 ? x : y;
    if (!(line.norme2() > 0.0)) return ERTranslation3D(centre);
    ERVector3D u, v;
    GetOrthogonalDirections(line, u, v);
    return ERChgRepere3D(line, u, centre);
}

} // namespace

} // namespace velm::detail

ERRectangle3D::ERRectangle3D(const ERPmIsometrie3D& frame, double length, double width)
    : ERRectangle3D(frame, ERRectangle2D(ERPoint2D(), ERVector2D(1.0, 0.0), length, width)) {}

ERRectangle3D::ERRectangle3D(const ERVec<ERPoint3D>& corners) {
    const int given = corners.size();
    if (given == 0) return;
    const auto corner = [&](int i) { return corners[std::min(i, given - 1)]; };
    const ERPmIsometrie3D frame = velm::detail::frame_of(corner(0), corner(1), corner(2));
    *this =
        ERRectangle3D(frame, ERRectangle2D({frame.Project(corner(0)), frame.Project(corner(1)),
                                            frame.Project(corner(2)), frame.Project(corner(3))}));
}

ERRegularPolygon3D::ERRegularPolygon3D(const ERPmIsometrie3D& frame, double side, int n)
    : ERRegularPolygon3D(frame, ERRegularPolygon2D(ERPoint2D(), ERVector2D(1.0, 0.0), side, n)) {}

void ERRectangle3D::printOn(std::ostream& out) const {
    velm::detail::print_rectangle(out, "Rectangle 3D:", getPoints(), length(), width());
}

void ERRegularPolygon3D::printOn(std::ostream& out) const {
    velm::detail::print_regular_polygon(out, "Regular Polygon 3D: ", barycenter(), nb_sides(),
                                        length_side());
}

void ERRoundedSlot3D::printOn(std::ostream& out) const {
    velm::detail::print_slot(out, "Rounded Slot 3D:", center1(), center2(), radius());
}

ERObject* ERRectangle3D::getCopy() const { return new ERRectangle3D(*this); }
ERObject* ERRegularPolygon3D::getCopy() const { return new ERRegularPolygon3D(*this); }
ERObject* ERRoundedSlot3D::getCopy() const { return new ERRoundedSlot3D(*this); }
