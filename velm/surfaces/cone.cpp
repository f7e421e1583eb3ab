#include "velm/surfaces/cone.h"

#include "velm/frame/stored_form.h"
#include "velm/surfaces/detail/framed_surface.h"
#include "velm/surfaces/detail/straight_line.h"
#include "velm/surfaces/detail/turned_point.h"
#include "velm/transforms/transformed_values.h"

#include <ostream>

VELM_DEFINE_CLASS(ERCone, ERSurface)
VELM_DEFINE_STORED_FORM(ERCone, ERSurface)
VELM_DEFINE_CLASS(ERBoundedCone, ERSurfaceBasedOnTransfo3D, ERBoundedSurface)
VELM_DEFINE_STORED_FORM(ERBoundedCone, ERAnyBoundedSurface)
template class velm::detail::FramedSurface<ERBoundedCone>;

using velm::detail::degrees_per_radian;
using velm::detail::turn;

ERCone::ERCone(const ERPoint3D& apex, const ERVector3D& direction, double half_angle)
    : half_angle_(half_angle), apex_(apex), direction_(direction.getnormalized()) {}

double ERCone::radius(double height) const { return height * std::tan(half_angle_); }

EREntity::DISTMINRES ERCone::SignedMinimalDistanceCone(const ERVector3D& direction,
                                                       const ERPoint3D& apex, double half_angle,
                                                       const ERPoint3D& p, double& dist) {
    const ERVector3D w(apex, p);
    const double height = w * direction;
    const double from_axis = (w - direction * height).norme();
    dist = from_axis * std::cos(half_angle) - std::fabs(height) * std::sin(half_angle);
    return DISTMIN_FOUND;
}

EREntity::DISTMINRES ERCone::SignedMinimalDistance(const ERPoint3D& p, double& dist) {
    return SignedMinimalDistanceCone(direction_, apex_, half_angle_, p, dist);
}

int ERCone::ProjectionNormaleCone(const ERVector3D& direction, const ERPoint3D& apex,
                                  double half_angle, const ERPoint3D& p, ERPoint3D& foot,
                                  ERVector3D& normal) {
    const ERVector3D w(apex, p);
    if (isParallel(w, direction, equalityTolerance)) return 0;
    const ERVector3D towards = w * direction < 0.0 ? -direction : direction;
    const ERVector3D side = (towards ^ w).getnormalized();
    const ERVector3D outward = side ^ towards;
    const ERVector3D generator =
        (towards * std::cos(half_angle) + outward * std::sin(half_angle)).getnormalized();
    foot = apex + generator * (w * generator);
    normal = generator ^ side;
    return 1;
}

int ERCone::ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) const {
    return ProjectionNormaleCone(direction_, apex_, half_angle_, p, foot, normal);
}

int ERCone::project(const ERPoint3D&, ERPoint3D&) const { return 1; }

namespace {

ERPoint3D offset_apex(const ERPoint3D& apex, const ERVector3D& direction, double half_angle,
                      double d) {
    return apex - direction * (d / std::sin(half_angle));
}

} // namespace

ERCone ERCone::getOffset(double d) const {
    ERCone result(*this);
    result.apex_ = offset_apex(apex_, direction_, half_angle_, d);
    return result;
}

void ERCone::offset(double d) { *this = getOffset(d); }

void ERCone::reverse() { direction_ = -direction_; }

void ERCone::scale(double s) { apex_ = apex_ * s; }

void ERCone::translate(const ERPoint3D& v) { apex_ = apex_ + v; }

void ERCone::transformFrom(const ERPmSimilitude3D& t) {
    t.TransFrom(apex_);
    t.TransFrom(direction_).normalize();
}

void ERCone::transformFrom(const ERPmIsometrie3D& t) {
    transformFrom(static_cast<const ERPmSimilitude3D&>(t));
}

void ERCone::transformTo(const ERPmSimilitude3D& t) {
    t.TransTo(apex_);
    t.TransTo(direction_).normalize();
}

void ERCone::transformTo(const ERPmIsometrie3D& t) {
    transformTo(static_cast<const ERPmSimilitude3D&>(t));
}

void ERCone::printOn(std::ostream& out) const {
    out << "Cone     :   Sommet     =" << apex_ << '\n'
        << "         :   Axe        =" << direction_ << '\n'
        << "         :  1/2Angle    =" << half_angle_ * degrees_per_radian << '\n';
}

ERObject* ERCone::getCopy() const { return new ERCone(*this); }

ERBoundedCone::ERBoundedCone(const ERPmIsometrie3D& placed, ERRadian half_angle, const ERLimites& u,
                             const ERLimites& v)
    : FramedSurface(placed, u, v), half_angle_(half_angle) {}

ERBoundedCone::ERBoundedCone(const ERPmIsometrie3D& placed, ERRadian half_angle, double h1,
                             double h2)
    : ERBoundedCone(placed, half_angle, ERLimites(h1, h2), ERLimites(0.0, turn)) {}

ERBoundedCone::ERBoundedCone(const ERCone& cone, const ERPoint3D& a, const ERPoint3D& b)
    : half_angle_(cone.demiAngle()) {
    frame = ERChgRepere3D(cone.direction(), cone.sommet());
    const double at_a = ERVector3D(cone.sommet(), a) * cone.direction();
    const double at_b = ERVector3D(cone.sommet(), b) * cone.direction();
    setBound(ERLimites(std::min(at_a, at_b), std::max(at_a, at_b)), ERLimites(0.0, turn));
}

velm::detail::LocalPoint ERBoundedCone::local(double u, double v) const {
    const ERVector3D outward = velm::detail::turned(v) * std::tan(half_angle_);
    velm::detail::LocalPoint p;
    p.point = outward * u + ERVector3D(0.0, 0.0, u);
    p.du = outward + ERVector3D(Coord3D_Z);
    p.dv = p.duv = velm::detail::turned_further(outward);
    p.dvv = -outward;
    return p;
}

ERSegment3D ERBoundedCone::axe() const {
    const ERVector3D up = direction();
    return ERSegment3D(apex() + up * udeb(), apex() + up * ufin());
}

void ERBoundedCone::axe(const ERSegment3D& segment) {
    const double a = in_frame(segment.getP1()).z(), b = in_frame(segment.getP2()).z();
    setBound(ERLimites(std::min(a, b), std::max(a, b)), getBoundV());
    adjust();
}

double ERBoundedCone::radius(double height) const { return height * std::tan(half_angle_); }

ERArc3D ERBoundedCone::sectionAt(double u) const {
    return ERArc3D(raised_frame(u), radius(u), vdeb(), vfin());
}

t_SmartPtr<ERFiniteEntity3DWF> ERBoundedCone::getEntityIsoU(double u) const {
    return static_cast<ERFiniteEntity3DWF*>(new ERArc3D(sectionAt(u)));
}

t_SmartPtr<ERFiniteEntity3DWF> ERBoundedCone::getEntityIsoV(double v) const {
    return velm::detail::straight_line(ERSegment3D((*this)(udeb(), v), (*this)(ufin(), v)),
                                       getBoundU());
}

ERMinimax3D ERBoundedCone::getBox() const {
    const double half = std::max(radius(udeb()), radius(ufin()));
    return frame >> ERMinimax3D(-half, half, -half, half, std::min(udeb(), ufin()),
                                std::max(udeb(), ufin()));
}

double ERBoundedCone::upperEstimateInU() const { return ufin() - udeb(); }

double ERBoundedCone::upperEstimateInV() const {
    return (vfin() - vdeb()) * std::tan(half_angle_) *
           std::max(std::fabs(udeb()), std::fabs(ufin()));
}

EREntity::DISTMINRES ERBoundedCone::SignedMinimalDistance(const ERPoint3D& p, double& dist) {
    return ERCone::SignedMinimalDistanceCone(direction(), apex(), half_angle_, p, dist);
}

int ERBoundedCone::ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot,
                                     ERVector3D& normal) const {
    return ERCone::ProjectionNormaleCone(direction(), apex(), half_angle_, p, foot, normal);
}

int ERBoundedCone::ProjectionNormale(const ERPoint3D& p, double, ERPoint2D& parameter,
                                     int inBound) const {
    if (!(std::fabs(udeb() - ufin()) > equalityTolerance)) return 0;
    ERPoint3D foot;
    ERVector3D normal;
    if (!ProjectionNormale(p, foot, normal)) return 0;
    ERPoint3D start(local(udeb(), vdeb()).point);
    if (start.x() * start.x() + start.y() * start.y() <= equalityTolerance)
        start = ERPoint3D(local(ufin(), vdeb()).point);
    const ERPoint3D at = in_frame(foot);
    parameter = ERPoint2D(at.z(), vdeb() + velm::detail::angle_after(start, at));
    return inBound == 0 ||
                   (getBoundU().inBound(parameter.x()) && getBoundV().inBound(parameter.y()))
               ? 1
               : 0;
}

void ERBoundedCone::offset(double d) {
    const ERVector3D move = ERVector3D(apex(), offset_apex(apex(), direction(), half_angle_, d));
    *this = ERBoundedCone(ERTranslation3D(move) * frame, half_angle_, udeb(), ufin());
}

void ERBoundedCone::scale_extents(double s) {
    natural_u *= s;
    working_u *= s;
}

void ERBoundedCone::printOn(std::ostream& out) const {
    out << "BoundedCone     :   Sommet     =" << apex() << '\n'
        << "                :   Axe        =" << direction() << '\n'
        << "                :  1/2Angle    =" << half_angle_ * degrees_per_radian << '\n'
        << "                :  H1          =" << udeb() << '\n'
        << "                :  H2          =" << ufin() << '\n'
        << "                :  AngleStart  =" << vdeb() * degrees_per_radian << '\n'
        << "                :  AngleEnd    =" << vfin() * degrees_per_radian << '\n';
}

int CreateBoundedCone(ERVector3D direction, ERPoint3D p1, double r1, ERPoint3D p2, double r2,
                      ERBoundedCone& cone) {
    if (r2 < r1) {
        std::swap(p1, p2);
        std::swap(r1, r2);
    }
    const ERVector3D back(p2, p1);
    const double rise = r2 - r1;
    const ERPoint3D apex = p2 + back * (r2 / rise);
    const ERVector3D w = (-back).getnormalized();
    direction = ((w ^ direction) ^ w).getnormalized();
    cone = ERBoundedCone(ERChgRepere3D(direction, w ^ direction, apex),
                         std::atan2(rise, back.norme()), distance(apex, p1), distance(apex, p2));
    return 1;
}
