// ConvertToNurbs of the wireframe entities, whose headers declare it.
#include "velm/curves/conics.h"
#include "velm/curves/conversions.h"
#include "velm/wireframe/arc.h"
#include "velm/wireframe/arc_in_space.h"
#include "velm/wireframe/ellipse_in_space.h"
#include "velm/wireframe/elliptical_arc.h"
#include "velm/wireframe/segment.h"

#include <numbers>

namespace velm::detail {

template <class D>
typename D::NurbsCurve Segment<D>::ConvertToNurbs() {
    using Pole = typename D::Pole;
    return {{Pole(P1, 1.0), Pole(P2, 1.0)}, 1};
}

template ERCpoleNURBS2D Segment<Plane>::ConvertToNurbs();
template ERCpoleNURBS3D Segment<Space>::ConvertToNurbs();

} // namespace velm::detail

namespace {

// A curve of a frame's plane in space.
ERCpoleNURBS3D lifted(const ERCpoleNURBS2D& flat, const ERPmIsometrie3D& frame) {
    if (flat.nbPoles() == 0) return {};
    return {Convert(flat.getPoles(), frame), flat.getKnots()};
}

} // namespace

ERCpoleNURBS2D ERCircle2D::ConvertToNurbs() const { return Convert(*this); }

ERCpoleNURBS3D ERCircle3D::ConvertToNurbs() const { return Convert(*this); }

ERCpoleNURBS2D ERArc2D::ConvertToNurbs() { return Convert(*this); }

ERCpoleNURBS3D ERArc3D::ConvertToNurbs() { return Convert(*this); }

ERCpoleNURBS2D EREllipse2D::ConvertToNurbs() const {
    return Convert(ERArcEllipse2D(*this, 0.0, 2.0 * std::numbers::pi));
}

ERCpoleNURBS3D EREllipse3D::ConvertToNurbs() const {
    return lifted(flat().ConvertToNurbs(), getRepere());
}

ERCpoleNURBS2D ERArcEllipse2D::ConvertToNurbs() { return Convert(*this); }

ERCpoleNURBS3D ERArcEllipse3D::ConvertToNurbs() { return lifted(Convert(flat_arc()), getRepere()); }
