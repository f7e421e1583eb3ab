#include "velm/wireframe/circle_in_space.h"

#include "velm/frame/point_functions.h"
#include "velm/frame/stored_form.h"
#include "velm/transforms/transformation_factories.h"
#include "velm/wireframe/detail/trigonometric_box.h"
#include "velm/wireframe/detail/turn_projection.h"

#include <cmath>
#include <ostream>

VELM_DEFINE_CLASS(ERCircle3D, ERPlanarEntity3DWF)
VELM_DEFINE_STORED_FORM(ERCircle3D, ERPlanarEntity3DWF)

using velm::detail::lifted;
using velm::detail::TurnProjection;

double ERCircle3D::precisionProj = 1e-10;

namespace {

// The frame of castToPoint3D(axis, height).
ERPmIsometrie3D level_frame(Coord3D axis, double height) {
    return ERChgRepere3D(ERVector2D(1.0, 0.0).castToVector3D(axis, 0.0),
                         ERVector2D(0.0, 1.0).castToVector3D(axis, 0.0),
                         ERPoint2D().castToPoint3D(axis, height));
}

} // namespace

ERCircle3D::ERCircle3D(const ERCircle2D& circle, Coord3D axis, double height)
    : ERPlanarEntity3DWF(level_frame(axis, height)), circle_(circle) {}

ERCircle3D::ERCircle3D(const ERPmIsometrie3D& frame, double radius)
    : ERPlanarEntity3DWF(frame), circle_(ERPoint2D(), radius) {}

ERCircle3D::ERCircle3D(const ERPmIsometrie3D& frame, const ERCircle2D& circle)
    : ERPlanarEntity3DWF(frame), circle_(circle) {}

ERCircle3D::ERCircle3D(const ERPoint3D& center, const ERVector3D& normal, double radius)
    : ERCircle3D(ERChgRepere3D(normal, center), radius) {}

ERPoint3D ERCircle3D::center() const { return lifted(getRepere(), circle_.center()); }

void ERCircle3D::setCenter(const ERPoint3D& center) { translate(center - this->center()); }

void ERCircle3D::setNormale(const ERVector3D& normal) {
    transformFrom(ERRotationAtFixPoint(normale(), normal, center()));
}

ERPoint3D ERCircle3D::operator()(double t) const { return lifted(getRepere(), circle_(t)); }

ERMinimax3D ERCircle3D::getBox() const {
    return velm::detail::box_of_turn<velm::Space>(center(),
                                                  getRepere().getVector(Coord3D_X) * radius(),
                                                  getRepere().getVector(Coord3D_Y) * radius());
}

EREntity::DISTMINRES ERCircle3D::SignedMinimalDistance(const ERPoint3D& p, double& dist) {
    ERPoint3D local = p;
    getRepere().TransTo(local);
    const double from_circle =
        distance(local.castToPoint2D(Coord3D_Z), circle_.center()) - radius();
    const double height = std::fabs(local.z());
    dist = std::hypot(from_circle, height);
    if (from_circle < 0.0) dist = -dist;
    return height <= equalityTolerance ? DISTMIN_IN_SPACE : DISTMIN_FOUND;
}

int ERCircle3D::Project2DWillBeCircle(const ERPmIsometrie3D& frame) const {
    return (frame.getVector(Coord3D_Z) ^ normale()).norme() <= precisionProj ? 1 : 0;
}

int ERCircle3D::Project2DWillBeSegment(const ERPmIsometrie3D& frame) const {
    return std::fabs(frame.getVector(Coord3D_Z) * normale()) <= precisionProj ? 1 : 0;
}

int ERCircle3D::Project2DWillBeEllipse(const ERPmIsometrie3D& frame) const {
    return !Project2DWillBeCircle(frame) && !Project2DWillBeSegment(frame) ? 1 : 0;
}

t_SmartPtr<ERCircle2D> ERCircle3D::Circle2DFromProjectOn(const ERPmIsometrie3D& frame) const {
    return new ERCircle2D(frame.Project(center()), radius());
}

t_SmartPtr<ERSegment2D> ERCircle3D::Segment2DFromProjectOn(const ERPmIsometrie3D& frame) const {
    return new ERSegment2D(TurnProjection(*this, frame).segment());
}

t_SmartPtr<EREllipse2D> ERCircle3D::Ellipse2DFromProjectOn(const ERPmIsometrie3D& frame) const {
    return new EREllipse2D(TurnProjection(*this, frame).ellipse());
}

t_SmartPtr<EREntity2DWF> ERCircle3D::get2DEntProjectedOn(const ERPmIsometrie3D& frame) {
    if (Project2DWillBeCircle(frame)) return Circle2DFromProjectOn(frame).get();
    if (Project2DWillBeSegment(frame)) return Segment2DFromProjectOn(frame).get();
    return Ellipse2DFromProjectOn(frame).get();
}

void ERCircle3D::scale(double s) {
    ERPlanarEntity3DWF::scale(s);
    scale_flat(s);
}

void ERCircle3D::scale_flat(double ratio) {
    if (circle_.center() == ERPoint2D()) {
        circle_.setRadius(circle_.radius() * ratio);
    } else {
        circle_.scale(ratio);
    }
}

ERObject* ERCircle3D::getCopy() const { return new ERCircle3D(*this); }

void ERCircle3D::printOn(std::ostream& out) const {
    out << "Cercle3D : Centre  " << center() << '\n'
        << "         : Normale " << normale() << '\n'
        << "         : Radius  " << radius() << '\n';
}
