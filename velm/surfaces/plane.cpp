#include "velm/surfaces/plane.h"

#include "velm/frame/point_functions.h"
#include "velm/frame/stored_form.h"
#include "velm/transforms/transformation_factories.h"
#include "velm/wireframe/line.h"

#include <cmath>
#include <ostream>

VELM_DEFINE_CLASS(ERPlane, ERSurface)
VELM_DEFINE_STORED_FORM(ERPlane, ERSurface)

ERPlane::ERPlane(double a, double b, double c, double d) {
    const double length = std::sqrt(a * a + b * b + c * c);
    a_ = a / length;
    b_ = b / length;
    c_ = c / length;
    d_ = d / length;
}

ERPlane::ERPlane(const ERPoint3D& through, const ERVector3D& normal) {
    const ERVector3D unit = normal.getnormalized();
    a_ = unit.i();
    b_ = unit.j();
    c_ = unit.k();
    d_ = -(unit * ERVector3D(through));
}

ERPlane::ERPlane(const ERPoint3D& through, const ERVector3D& u, const ERVector3D& v)
    : ERPlane(through, u ^ ((u ^ v) ^ u)) {}

ERPlane::ERPlane(const ERPmIsometrie3D& frame, Coord3D axis)
    : ERPlane(frame.origine(), frame.getVector(axis)) {}

void ERPlane::getCoefficients(double& a, double& b, double& c, double& d) const {
    a = a_;
    b = b_;
    c = c_;
    d = d_;
}

ERPmIsometrie3D ERPlane::getTransfo() const { return ERChgRepere3D(normalVector(), origine()); }

EREntity::DISTMINRES ERPlane::SignedMinimalDistancePlane(double a, double b, double c, double d,
                                                         const ERPoint3D& p, double& dist) {
    dist = a * p.x() + b * p.y() + c * p.z() + d;
    return DISTMIN_FOUND;
}

EREntity::DISTMINRES ERPlane::SignedMinimalDistance(const ERPoint3D& p, double& dist) {
    return SignedMinimalDistancePlane(a_, b_, c_, d_, p, dist);
}

double ERPlane::distancePt(const ERPoint3D& p) const {
    double dist = 0.0;
    SignedMinimalDistancePlane(a_, b_, c_, d_, p, dist);
    return std::fabs(dist);
}

double ERPlane::distanceOrg() const { return std::fabs(d_); }

int ERPlane::ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) const {
    double dist = 0.0;
    SignedMinimalDistancePlane(a_, b_, c_, d_, p, dist);
    foot = p - (dist / (a_ * a_ + b_ * b_ + c_ * c_)) * normalVector();
    normal = normalVector();
    return 1;
}

ERPoint3D ERPlane::project(const ERPoint3D& p) const {
    ERPoint3D foot;
    ERVector3D normal;
    ProjectionNormale(p, foot, normal);
    return foot;
}

ERVector3D ERPlane::project(const ERVector3D& v) const {
    return v - normalVector() * (v * normalVector());
}

ERInfLine3D ERPlane::project(const ERInfLine3D& line) const {
    return ERInfLine3D(project(line.dirVector()), project(line.origine()));
}

bool ERPlane::is_perpendicular(const ERInfLine3D& line, double tol) const {
    return isParallel(line.dirVector(), normalVector(), tol);
}

ERPlane ERPlane::getOffset(double d) const {
    return ERPlane(origine() + d * normalVector(), normalVector());
}

void ERPlane::offset(double d) { *this = getOffset(d); }

ERPlane ERPlane::getreversed() const {
    ERPlane result(*this);
    result.reverse();
    return result;
}

void ERPlane::reverse() {
    a_ = -a_;
    b_ = -b_;
    c_ = -c_;
    d_ = -d_;
}

void ERPlane::scale(double s) { *this = ERPlane(origine() * s, normalVector()); }

void ERPlane::translate(const ERPoint3D& v) { *this = ERPlane(origine() + v, normalVector()); }

void ERPlane::transformFrom(const ERPmSimilitude3D& t) {
    ERPoint3D through = origine();
    ERVector3D normal = normalVector();
    *this = ERPlane(t.TransFrom(through), t.TransFrom(normal));
}

void ERPlane::transformFrom(const ERPmIsometrie3D& t) {
    transformFrom(static_cast<const ERPmSimilitude3D&>(t));
}

void ERPlane::transformTo(const ERPmSimilitude3D& t) {
    ERPoint3D through = origine();
    ERVector3D normal = normalVector();
    *this = ERPlane(t.TransTo(through), t.TransTo(normal));
}

void ERPlane::transformTo(const ERPmIsometrie3D& t) {
    transformTo(static_cast<const ERPmSimilitude3D&>(t));
}

bool ERPlane::operator==(const ERPlane& other) const {
    return isEqual(normalVector(), other.normalVector(), equalityTolerance) &&
           std::fabs(d_ - other.d_) <= equalityTolerance;
}

void ERPlane::printOn(std::ostream& out) const {
    const double length = normalVector().norme();
    if (!(length > equalityTolerance)) {
        out << "Plane : Indefini" << '\n';
        return;
    }
    out << "Plane (" << length << ")" << a_ / length << "," << b_ / length << "," << c_ / length
        << "," << d_ / length << '\n';
}

ERObject* ERPlane::getCopy() const { return new ERPlane(*this); }
