#include "velm/surfaces/revolution_surface.h"

#include "velm/frame/point_functions.h"
#include "velm/frame/stored_reference.h"
#include "velm/surfaces/revolved_nurbs.h"
#include "velm/transforms/transformation_factories.h"
#include "velm/wireframe/arc_in_space.h"

#include <algorithm>
#include <cmath>
#include <ostream>

VELM_DEFINE_CLASS(ERSurOfRevolution, ERAnyBoundedSurface)

template <class Self, class Form>
void ERSurOfRevolution::stored_fields(Self& self, Form& form) {
    form(self.angles_);
    form(self.axis_);
    form(self.generatrice_);
    form(self.vector_);
}
VELM_DEFINE_STORED_FORM(ERSurOfRevolution, ERAnyBoundedSurface)

ERSurOfRevolution::ERSurOfRevolution(const t_SmartPtr<ERFiniteEntity3DWF>& curve,
                                     const ERInfLine3D& line, const ERLimites& turn,
                                     const ERVector3D& zero)
    : axis_(line), generatrice_(curve), angles_(turn), vector_(zero) {
    ERPoint3D p, foot;
    double parameter = 0.0;
    if (zero.norme2() == 0.0 && getOnePointOfTheGeneratrixNotOnTheAxis(p, parameter, foot))
        vector_ = ERVector3D(foot, p).getnormalized();
}

ERPmIsometrie3D ERSurOfRevolution::getRepere3D() const {
    return ERChgRepere3D(vector_, axis_.dirVector() ^ vector_, axis_.origine());
}

double ERSurOfRevolution::udeb() const { return getBoundU().start(); }

double ERSurOfRevolution::ufin() const { return getBoundU().end(); }

ERLimites ERSurOfRevolution::getBoundU() const {
    // Curves declare what only reads without const.
    return generatrice_ ? const_cast<ERFiniteEntity3DWF&>(*generatrice_).getBound() : ERLimites();
}

ERVector3D ERSurOfRevolution::turned(const ERVector3D& v, double angle) const {
    const ERVector3D& d = axis_.dirVector();
    const ERVector3D along = d * (d * v);
    return along + (v - along) * std::cos(angle) + (d ^ v) * std::sin(angle);
}

ERInfoPoint3DSurf ERSurOfRevolution::PtCur(double u, double v) const {
    if (!generatrice_) return ERInfoPoint3DSurf();
    const ERInfoPoint3DWF on = const_cast<ERFiniteEntity3DWF&>(*generatrice_).PtCur(u);
    const ERVector3D& d = axis_.dirVector();
    const ERVector3D arm = turned(ERVector3D(axis_.origine(), on.point()), v);
    const ERVector3D du = turned(on.tangente(), v);
    const ERVector3D dv = d ^ arm;
    return ERInfoPoint3DSurf(ERPoint2D(u, v), axis_.origine() + arm, du,
                             turned(on.second_derivative(), v), dv, d ^ du, d ^ dv);
}

t_SmartPtr<ERFiniteEntity3DWF> ERSurOfRevolution::getEntityIsoU(double u) const {
    if (!generatrice_) return {};
    const ERPoint3D p = const_cast<ERFiniteEntity3DWF&>(*generatrice_)(u);
    const ERPoint3D center = axis_.projectPt(p);
    const ERVector3D& d = axis_.dirVector();
    const bool on_axis = isEqual(p, center, equalityTolerance);
    const ERVector3D x = on_axis ? d.find_perpendicular() : ERVector3D(center, p);
    return static_cast<ERFiniteEntity3DWF*>(new ERArc3D(ERChgRepere3D(x, d ^ x, center),
                                                        on_axis ? 0.0 : x.norme(), angles_.start(),
                                                        angles_.end()));
}

t_SmartPtr<ERFiniteEntity3DWF> ERSurOfRevolution::curve_copy() const {
    return ERFiniteEntity3DWF::castdown(generatrice_->getCopy());
}

t_SmartPtr<ERFiniteEntity3DWF> ERSurOfRevolution::getEntityIsoV(double v) const {
    if (!generatrice_) return {};
    const t_SmartPtr<ERFiniteEntity3DWF> curve = curve_copy();
    curve->transformFrom(ERRotation3D(axis_.dirVector(), axis_.origine(), v));
    return curve;
}

ERMinimax3D ERSurOfRevolution::getBox() const {
    if (!generatrice_) return {};
    // The turn of the curve's box is within a cylinder about the axis.
    const ERVec<ERPoint3D> corners =
        const_cast<ERFiniteEntity3DWF&>(*generatrice_).getBox().getVertice();
    const ERVector3D& d = axis_.dirVector();
    const double radius = upperEstimateRadius();
    const ERVector3D half = ERVector3D::each(
        [&](int n) { return radius * std::sqrt(std::max(0.0, 1.0 - d[n] * d[n])); });
    ERMinimax3D box;
    for (const ERPoint3D& corner : corners) {
        const ERPoint3D foot = axis_.projectPt(corner);
        box.Update(foot - half);
        box.Update(foot + half);
    }
    return box;
}

ERSpoleNURBS3D ERSurOfRevolution::ConvertToNurbs() const {
    if (!generatrice_) return {};
    return CreateSurfOfRevolution(curve_copy()->ConvertToNurbs(), axis_, angles_.start(),
                                  angles_.end());
}

int ERSurOfRevolution::SplitInU(t_SmartPtr<ERAnyBoundedSurface>& a,
                                t_SmartPtr<ERAnyBoundedSurface>& b) const {
    divide(a, b, angles_.start() + (angles_.end() - angles_.start()) * 0.5);
    return 1;
}

int ERSurOfRevolution::SplitInU(t_SmartPtr<ERAnyBoundedSurface>& a,
                                t_SmartPtr<ERAnyBoundedSurface>& b, double angle) const {
    if (!angles_.inBound(angle)) return 0;
    divide(a, b, angle);
    return 1;
}

void ERSurOfRevolution::divide(t_SmartPtr<ERAnyBoundedSurface>& a,
                               t_SmartPtr<ERAnyBoundedSurface>& b, double angle) const {
    const t_SmartPtr<ERSurOfRevolution> first = new ERSurOfRevolution(*this);
    const t_SmartPtr<ERSurOfRevolution> second = new ERSurOfRevolution(*this);
    for (ERSurOfRevolution* part : {first.get(), second.get()})
        part->drop_grid();
    first->angles_.end() = second->angles_.start() = angle;
    a = first.get();
    b = second.get();
}

int ERSurOfRevolution::SplitInV(t_SmartPtr<ERAnyBoundedSurface>& a,
                                t_SmartPtr<ERAnyBoundedSurface>& b) const {
    return SplitInV(a, b, getBoundU()(0.5));
}

int ERSurOfRevolution::SplitInV(t_SmartPtr<ERAnyBoundedSurface>& a,
                                t_SmartPtr<ERAnyBoundedSurface>& b, double t) const {
    t_SmartPtr<ERFiniteEntity3DWF> low, high;
    if (!generatrice_ || !getBoundU().inBound(t) || !generatrice_->splitAt(low, high, t)) return 0;
    const t_SmartPtr<ERAnyBoundedSurface> first =
        new ERSurOfRevolution(low, axis_, angles_, vector_);
    b = new ERSurOfRevolution(high, axis_, angles_, vector_);
    a = first;
    return 1;
}

int ERSurOfRevolution::getOnePointOfTheGeneratrixNotOnTheAxis(ERPoint3D& p, double& parameter,
                                                              ERPoint3D& foot) const {
    if (!generatrice_) return 0;
    constexpr int steps = 16; // a curve that leaves the axis is off it at most of them
    const ERLimites limits = getBoundU();
    for (int i = 0; i <= steps; ++i) {
        const double ratio = i == 0 ? 0.0 : i == 1 ? 1.0 : double(i - 1) / steps;
        const double t = limits(ratio);
        const ERPoint3D at = const_cast<ERFiniteEntity3DWF&>(*generatrice_)(t);
        const ERPoint3D on_axis = axis_.projectPt(at);
        if (isEqual(at, on_axis, equalityTolerance)) continue;
        p = at;
        parameter = t;
        foot = on_axis;
        return 1;
    }
    return 0;
}

double ERSurOfRevolution::upperEstimateRadius() const {
    double radius = 0.0;
    if (!generatrice_) return radius;
    // The distance to a line is convex: it is greatest at a corner.
    for (const ERPoint3D& corner :
         const_cast<ERFiniteEntity3DWF&>(*generatrice_).getBox().getVertice())
        radius = std::max(radius, distance(axis_, corner));
    return radius;
}

double ERSurOfRevolution::upperEstimateInU() const {
    return generatrice_ ? generatrice_->upperEstimate() : 0.0;
}

double ERSurOfRevolution::upperEstimateInV() const {
    return angles_.amplitude() * upperEstimateRadius();
}

// A reflection turns the sense about the axis round: its direction is negated, and the angles
// stay.
template <class Map>
void ERSurOfRevolution::move(Map map, bool reflecting) {
    map(axis_);
    if (reflecting) axis_.reverse();
    if (!generatrice_) return;
    generatrice_ = curve_copy();
    map(*generatrice_);
}

void ERSurOfRevolution::scale(double s) {
    ERAnyBoundedSurface::scale(s);
    move([s](auto& x) { x.scale(s); }, s < 0.0);
    if (s < 0.0) vector_ = -vector_;
}

void ERSurOfRevolution::translate(const ERPoint3D& v) {
    ERAnyBoundedSurface::translate(v);
    move([&v](auto& x) { x.translate(v); }, false);
}

void ERSurOfRevolution::transformFrom(const ERPmSimilitude3D& t) {
    ERAnyBoundedSurface::transformFrom(t);
    t.TransFrom(vector_).normalize();
    move([&t](auto& x) { x.transformFrom(t); }, !t.isDirect());
}

void ERSurOfRevolution::transformFrom(const ERPmIsometrie3D& t) {
    transformFrom(static_cast<const ERPmSimilitude3D&>(t));
}

void ERSurOfRevolution::transformTo(const ERPmSimilitude3D& t) {
    ERAnyBoundedSurface::transformTo(t);
    t.TransTo(vector_).normalize();
    move([&t](auto& x) { x.transformTo(t); }, !t.isDirect());
}

void ERSurOfRevolution::transformTo(const ERPmIsometrie3D& t) {
    transformTo(static_cast<const ERPmSimilitude3D&>(t));
}

void ERSurOfRevolution::reverse() {
    axis_.reverse();
    angles_ = ERLimites(-angles_.end(), -angles_.start());
    drop_grid();
}

void ERSurOfRevolution::printOn(std::ostream& out) const {
    out << "Axe          =" << axis_ << '\n' << "Generatrice  =";
    if (generatrice_) generatrice_->printOn(out);
    out << '\n'
        << "Start Angle  =" << angles_.start() << '\n'
        << "End   Angle  =" << angles_.end() << '\n'
        << "Vector       =" << vector_ << '\n';
}

ERObject* ERSurOfRevolution::getCopy() const { return new ERSurOfRevolution(*this); }
