#include "velm/wireframe/elliptical_arc.h"

#include "velm/frame/smart_pointer.h"
#include "velm/frame/stored_form.h"
#include "velm/transforms/plane_transformation.h"
#include "velm/wireframe/detail/angles.h"
#include "velm/wireframe/detail/split.h"
#include "velm/wireframe/detail/trigonometric_box.h"
#include "velm/wireframe/ellipse_in_space.h"

#include <cmath>
#include <numbers>
#include <ostream>

VELM_DEFINE_CLASS(ERArcEllipse2D, EREllipse2D, ERFiniteEntity2DWFBoundedWithAngle)
VELM_DEFINE_STORED_FORM(ERArcEllipse2D, EREllipse2D)

using velm::detail::EllipseFrame;
using velm::detail::turn;

namespace {

constexpr double pi = std::numbers::pi;

} // namespace

// Assigns the virtual base once.
ERArcEllipse2D& ERArcEllipse2D::operator=(const ERArcEllipse2D& other) {
    EREllipse2D::operator=(other);
    setLimites(other.startAngle(), other.endAngle());
    return *this;
}

double ERArcEllipse2D::central_to_param(double a) const {
    if (a == turn) return a;
    const double turns = a < 0.0 ? std::ceil(-a / turn) : 0.0;
    // An angle just below 0 that comes out as 2 pi is kept, as 2 pi itself is.
    const double raised = a + turns * turn;
    const double central = raised == turn ? turn : std::fmod(raised, turn);
    const double eccentric = std::atan(std::tan(central) * (big_ / getSmallAxe()));
    const double half_turns = central <= 0.5 * pi ? 0.0 : central <= 1.5 * pi ? 1.0 : 2.0;
    return eccentric + half_turns * pi - turns * turn;
}

double ERArcEllipse2D::param_to_central(double t) const {
    const EllipseFrame f = frame();
    const double c = std::cos(t), s = std::sin(t);
    return t + std::atan2((f.half_small - f.half_big) * s * c,
                          f.half_big * c * c + f.half_small * s * s);
}

ERLimites ERArcEllipse2D::bound() const {
    if (getSmallAxe() == 0.0) return ERLimites(0.0, turn);
    const double first = central_to_param(startAngle()), second = central_to_param(endAngle());
    if (second == first) return ERLimites(0.0, turn);
    return second > first ? ERLimites(first, second) : ERLimites(second, first);
}

ERLimites ERArcEllipse2D::getBound() { return bound(); }

double ERArcEllipse2D::udeb() const {
    return endAngle() < startAngle() ? bound().end() : bound().start();
}

double ERArcEllipse2D::ufin() const {
    return endAngle() < startAngle() ? bound().start() : bound().end();
}

ERInfoPoint2D ERArcEllipse2D::PtCur(double t) { return frame().info_at(t); }

ERPoint2D ERArcEllipse2D::operator()(double t) { return frame().at(t); }

ERMinimax2D ERArcEllipse2D::getBox() {
    const EllipseFrame f = frame();
    return velm::detail::box_of_arc<velm::Plane>(f.centre, f.big(), f.small(), bound());
}

double ERArcEllipse2D::arcLength(ERLimites interval, double) const {
    const EllipseFrame f = frame();
    if (!(f.half_big > 0.0)) return 0.0;
    // The integral starts at the small axis: ds = a sqrt(1 - e^2 sin^2 u) du with u = t - pi / 2.
    const double ratio = f.half_small / f.half_big;
    const double eccentricity = std::sqrt((1.0 - ratio) * (1.0 + ratio));
    const auto length_to = [&](double t) { return std::ellint_2(eccentricity, t - 0.5 * pi); };
    return f.half_big * std::fabs(length_to(interval.end()) - length_to(interval.start()));
}

double ERArcEllipse2D::arcLength(double tol) const { return arcLength(bound(), tol); }

int ERArcEllipse2D::splitAt(t_SmartPtr<ERFiniteEntity2DWF>& first,
                            t_SmartPtr<ERFiniteEntity2DWF>& second, double t) const {
    return velm::detail::split_at_angle(*this, param_to_central(t), first, second);
}

void ERArcEllipse2D::scale(double s) { EREllipse2D::scale(s); }

void ERArcEllipse2D::translate(const ERPoint2D& v) { EREllipse2D::translate(v); }

void ERArcEllipse2D::transformFrom(const ERTransfo2D& t) {
    EREllipse2D::transformFrom(t);
    if (!t.isDirect()) setLimites(-endAngle(), -startAngle());
}

void ERArcEllipse2D::transformTo(const ERTransfo2D& t) {
    EREllipse2D::transformTo(t);
    if (!t.isDirect()) setLimites(-endAngle(), -startAngle());
}

t_SmartPtr<EREntity3DWF> ERArcEllipse2D::get3DEquiv(const ERPmIsometrie3D& frame) {
    t_SmartPtr<ERArcEllipse3D> lifted(new ERArcEllipse3D(*this, frame));
    return lifted.get();
}

void ERArcEllipse2D::reverse() { EREntAngle::reverse(); }

ERObject* ERArcEllipse2D::getCopy() const { return new ERArcEllipse2D(*this); }

void ERArcEllipse2D::printOn(std::ostream& out) const {
    EREllipse2D::printOn(out);
    velm::detail::print_limits(out, *this);
}
