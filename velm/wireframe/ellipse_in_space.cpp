#include "velm/wireframe/ellipse_in_space.h"

#include "velm/frame/point_functions.h"
#include "velm/frame/smart_pointer.h"
#include "velm/frame/stored_form.h"
#include "velm/transforms/transformation_factories.h"
#include "velm/wireframe/detail/split.h"
#include "velm/wireframe/detail/trigonometric_box.h"
#include "velm/wireframe/detail/turn_projection.h"

#include <algorithm>
#include <cmath>
#include <ostream>

VELM_DEFINE_CLASS(EREllipse3D, ERPlanarEntity3DWF)
VELM_DEFINE_STORED_FORM(EREllipse3D, ERPlanarEntity3DWF)
VELM_DEFINE_CLASS(ERArcEllipse3D, EREllipse3D, ERFiniteEntity3DWFBoundedWithAngle)
VELM_DEFINE_STORED_FORM(ERArcEllipse3D, EREllipse3D)

using velm::detail::EllipseFrame;
using velm::detail::lifted;
using velm::detail::TurnProjection;

namespace {

ERPmIsometrie3D frame_of_foci(const ERPoint3D& focus1, const ERPoint3D& focus2,
                              const ERVector3D& normal) {
    const ERPoint3D center = milieu(focus1, focus2);
    const ERVector3D along(focus1, focus2);
    return along.norme2() == 0.0 ? ERChgRepere3D(normal, center)
                                 : ERChgRepere3D(along, normal ^ along, center);
}

// Whether the ellipse's plane is seen edge on, as for circles.
bool edge_on(const EREllipse3D& ellipse, const ERPmIsometrie3D& frame) {
    return std::fabs(frame.getVector(Coord3D_Z) * ellipse.normale()) <= ERCircle3D::precisionProj;
}

EREllipse2D about_origin(double half_focal, double big) {
    return EREllipse2D({-half_focal, 0.0}, {half_focal, 0.0}, big);
}

} // namespace

EREllipse3D::EREllipse3D(const ERPoint3D& center, const ERPoint3D& bigEnd, const ERPoint3D& point)
    : ERPlanarEntity3DWF(
          ERChgRepere3D(ERVector3D(center, bigEnd), ERVector3D(center, point), center)) {
    const double half_big = distance(center, bigEnd);
    const ERPoint2D through = getRepere().Project(point);
    const double cosine = through.x() / half_big;
    const double sine = std::sqrt(std::max((1.0 - cosine) * (1.0 + cosine), 0.0));
    const double half_small = sine > 0.0 ? std::fabs(through.y()) / sine : 0.0;
    ellipse_ = EREllipse2D(half_big, half_small, 0.0, ERPoint2D());
}

EREllipse3D::EREllipse3D(const ERPoint3D& focus1, const ERPoint3D& focus2, double big,
                         const ERVector3D& normal)
    : EREllipse3D(about_origin(0.5 * distance(focus1, focus2), big),
                  frame_of_foci(focus1, focus2, normal)) {}

ERPoint3D EREllipse3D::getCenter() const { return lifted(getRepere(), ellipse_.center()); }

ERVec<ERPoint3D> EREllipse3D::getFocus() const {
    return {lifted(getRepere(), ellipse_.focus1()), lifted(getRepere(), ellipse_.focus2())};
}

ERVector3D EREllipse3D::getBigAxisDirection() const {
    return lifted(getRepere(), ellipse_.getBigAxisDirection());
}

ERVector3D EREllipse3D::getSmallAxisDirection() const {
    return lifted(getRepere(), ellipse_.getSmallAxisDirection());
}

ERMinimax3D EREllipse3D::getBox() const {
    const EllipseFrame f = ellipse_.frame();
    return velm::detail::box_of_turn<velm::Space>(getCenter(), lifted(getRepere(), f.big()),
                                                  lifted(getRepere(), f.small()));
}

t_SmartPtr<EREntity2DWF> EREllipse3D::get2DEntProjectedOn(const ERPmIsometrie3D& frame) {
    const TurnProjection image(*this, frame);
    if (edge_on(*this, frame)) return new ERSegment2D(image.segment());
    return new EREllipse2D(image.ellipse());
}

void EREllipse3D::scale(double s) {
    ERPlanarEntity3DWF::scale(s);
    scale_flat(s);
}

void EREllipse3D::scale_flat(double ratio) { ellipse_.scale(ratio); }

ERObject* EREllipse3D::getCopy() const { return new EREllipse3D(*this); }

void EREllipse3D::printOn(std::ostream& out) const { out << ellipse_ << getRepere(); }

// Assigns the virtual base once.
ERArcEllipse3D& ERArcEllipse3D::operator=(const ERArcEllipse3D& other) {
    EREllipse3D::operator=(other);
    setLimites(other.startAngle(), other.endAngle());
    return *this;
}

ERArcEllipse2D ERArcEllipse3D::flat_arc() const {
    return ERArcEllipse2D(ellipse_, startAngle(), endAngle());
}

ERLimites ERArcEllipse3D::getBound() { return flat_arc().getBound(); }

double ERArcEllipse3D::udeb() const { return flat_arc().udeb(); }

double ERArcEllipse3D::ufin() const { return flat_arc().ufin(); }

ERInfoPoint3DWF ERArcEllipse3D::PtCur(double t) {
    return ERInfoPoint3DWF(ellipse_.frame().info_at(t), getRepere(), Coord3D_Z, 0.0);
}

ERPoint3D ERArcEllipse3D::operator()(double t) {
    return lifted(getRepere(), ellipse_.frame().at(t));
}

ERMinimax3D ERArcEllipse3D::getBox() {
    const EllipseFrame f = ellipse_.frame();
    return velm::detail::box_of_arc<velm::Space>(getCenter(), lifted(getRepere(), f.big()),
                                                 lifted(getRepere(), f.small()), getBound());
}

double ERArcEllipse3D::arcLength(ERLimites interval, double tol) const {
    return flat_arc().arcLength(interval, tol);
}

double ERArcEllipse3D::arcLength(double tol) const { return flat_arc().arcLength(tol); }

int ERArcEllipse3D::splitAt(t_SmartPtr<ERFiniteEntity3DWF>& first,
                            t_SmartPtr<ERFiniteEntity3DWF>& second, double t) const {
    return velm::detail::split_at_angle(*this, flat_arc().param_to_central(t), first, second);
}

t_SmartPtr<EREntity2DWF> ERArcEllipse3D::get2DEntProjectedOn(const ERPmIsometrie3D& frame) {
    const TurnProjection image(*this, frame);
    if (edge_on(*this, frame)) return new ERSegment2D(image.segment(getBound()));
    return image.arc(udeb(), ufin());
}

void ERArcEllipse3D::reverse() { EREntAngle::reverse(); }

ERObject* ERArcEllipse3D::getCopy() const { return new ERArcEllipse3D(*this); }

void ERArcEllipse3D::printOn(std::ostream& out) const { out << flat_arc() << getRepere(); }
