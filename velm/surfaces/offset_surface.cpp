#include "velm/surfaces/offset_surface.h"

#include "velm/curves/nurbs_curve.h"
#include "velm/curves/nurbs_fit.h"
#include "velm/frame/point_functions.h"
#include "velm/frame/point_list.h"
#include "velm/frame/stored_reference.h"
#include "velm/surfaces/torus.h"
#include "velm/transforms/transformation_handle.h"

#include <cmath>
#include <numbers>
#include <optional>
#include <ostream>
#include <vector>

VELM_DEFINE_CLASS(EROffsetSurface, ERAnyBoundedSurface)

template <class Self, class Form>
void EROffsetSurface::stored_fields(Self& self, Form& form) {
    form(self.offset_, self.indicator_, self.direction_);
    form(self.base_);
    form(self.equivalent_);
}
VELM_DEFINE_STORED_FORM(EROffsetSurface, ERAnyBoundedSurface)

namespace {

t_SmartPtr<ERAnyBoundedSurface> copy_of(const t_SmartPtr<ERAnyBoundedSurface>& surface) {
    if (!surface) return {};
    return ERAnyBoundedSurface::castdown(surface->getCopy());
}

} // namespace

EROffsetSurface::EROffsetSurface(const ERAnyBoundedSurface& base, double offset,
                                 const ERVector3D& direction)
    : EROffsetSurface(ERAnyBoundedSurface::castdown(base.getCopy()), offset, direction) {}

EROffsetSurface::EROffsetSurface(ERAnyBoundedSurface* base, double offset,
                                 const ERVector3D& direction)
    : base_(base), offset_(offset), direction_(direction) {
    Normalize();
}

EROffsetSurface::EROffsetSurface(const EROffsetSurface& other)
    : ERSurface(other), ERAnyBoundedSurface(other), base_(copy_of(other.base_)),
      offset_(other.offset_), direction_(other.direction_), equivalent_(copy_of(other.equivalent_)),
      indicator_(other.indicator_) {}

EROffsetSurface& EROffsetSurface::operator=(const EROffsetSurface& other) {
    ERAnyBoundedSurface::operator=(other);
    base_ = copy_of(other.base_);
    offset_ = other.offset_;
    direction_ = other.direction_;
    equivalent_ = copy_of(other.equivalent_);
    indicator_ = other.indicator_;
    return *this;
}

ERVector3D EROffsetSurface::middle_normal() const {
    if (!base_) return {};
    return base_->PtCur(base_->getBoundU()(0.5), base_->getBoundV()(0.5)).normale();
}

void EROffsetSurface::Normalize() {
    if (!(middle_normal() * direction_ < 0.0)) return;
    offset_ = -offset_;
    direction_ = -direction_;
}

double EROffsetSurface::udeb() const { return base_ ? base_->udeb() : 0.0; }

double EROffsetSurface::ufin() const { return base_ ? base_->ufin() : 0.0; }

double EROffsetSurface::vdeb() const { return base_ ? base_->vdeb() : 0.0; }

double EROffsetSurface::vfin() const { return base_ ? base_->vfin() : 0.0; }

ERInfoPoint3DSurf EROffsetSurface::PtCur(double u, double v) const {
    if (!base_) return ERInfoPoint3DSurf();
    ERInfoPoint3DSurf point = base_->PtCur(u, v);
    point.setPoint(point.point() + offset_ * point.normale());
    return point;
}

t_SmartPtr<ERFiniteEntity3DWF> EROffsetSurface::getEntityIsoU(double u) const {
    return new EROffsetSurfaceIsoParam(*this, 1, u);
}

t_SmartPtr<ERFiniteEntity3DWF> EROffsetSurface::getEntityIsoV(double v) const {
    return new EROffsetSurfaceIsoParam(*this, 0, v);
}

ERMinimax3D EROffsetSurface::getBox() const {
    ERMinimax3D box;
    if (base_) box = base_->getBox();
    box.Inflate(std::fabs(offset_));
    return box;
}

int EROffsetSurface::ProjectionNormale(const ERPoint3D& p, double distance, ERPoint2D& parameter,
                                       int inBound) const {
    return base_ ? base_->ProjectionNormale(p, distance + std::fabs(offset_), parameter, inBound)
                 : 0;
}

double EROffsetSurface::upperEstimateInU() const {
    return base_ ? base_->upperEstimateInU() + 2.0 * std::numbers::pi * std::fabs(offset_) : 0.0;
}

double EROffsetSurface::upperEstimateInV() const {
    return base_ ? base_->upperEstimateInV() + 2.0 * std::numbers::pi * std::fabs(offset_) : 0.0;
}

// Not through the constructors, which would look at the side again: in the middle of a part the
// base's normal may point elsewhere.
int EROffsetSurface::part(int done, const t_SmartPtr<ERAnyBoundedSurface>& low,
                          const t_SmartPtr<ERAnyBoundedSurface>& high,
                          t_SmartPtr<ERAnyBoundedSurface>& a,
                          t_SmartPtr<ERAnyBoundedSurface>& b) const {
    if (!done) return 0;
    const auto over = [this](const t_SmartPtr<ERAnyBoundedSurface>& base) {
        const t_SmartPtr<EROffsetSurface> result = new EROffsetSurface();
        result->base_ = base;
        result->offset_ = offset_;
        result->direction_ = direction_;
        return result;
    };
    const t_SmartPtr<EROffsetSurface> first = over(low), second = over(high);
    a = first.get();
    b = second.get();
    return 1;
}

int EROffsetSurface::SplitInU(t_SmartPtr<ERAnyBoundedSurface>& a,
                              t_SmartPtr<ERAnyBoundedSurface>& b) const {
    t_SmartPtr<ERAnyBoundedSurface> low, high;
    return part(base_ ? base_->SplitInU(low, high) : 0, low, high, a, b);
}

int EROffsetSurface::SplitInU(t_SmartPtr<ERAnyBoundedSurface>& a,
                              t_SmartPtr<ERAnyBoundedSurface>& b, double u) const {
    t_SmartPtr<ERAnyBoundedSurface> low, high;
    return part(base_ ? base_->SplitInU(low, high, u) : 0, low, high, a, b);
}

int EROffsetSurface::SplitInV(t_SmartPtr<ERAnyBoundedSurface>& a,
                              t_SmartPtr<ERAnyBoundedSurface>& b) const {
    t_SmartPtr<ERAnyBoundedSurface> low, high;
    return part(base_ ? base_->SplitInV(low, high) : 0, low, high, a, b);
}

int EROffsetSurface::SplitInV(t_SmartPtr<ERAnyBoundedSurface>& a,
                              t_SmartPtr<ERAnyBoundedSurface>& b, double v) const {
    t_SmartPtr<ERAnyBoundedSurface> low, high;
    return part(base_ ? base_->SplitInV(low, high, v) : 0, low, high, a, b);
}

// The side is kept by comparing the mapped normal with the normal of the changed base: Normalize
// alone could be wrong for a direction that is nearly in the surface.
template <class Change, class MapVector>
void EROffsetSurface::move(Change change, MapVector map_vector, double factor) {
    ERVector3D expected = middle_normal();
    map_vector(expected);
    map_vector(direction_);
    offset_ *= factor;
    for (t_SmartPtr<ERAnyBoundedSurface>* surface : {&base_, &equivalent_}) {
        if (!*surface) continue;
        // The record of a stored surface stays as it is: the changed one is another object.
        if ((*surface)->getObjectID() != -1) *surface = copy_of(*surface);
        change(**surface);
    }
    if (expected * middle_normal() < 0.0) {
        offset_ = -offset_;
        direction_ = -direction_;
    }
}

void EROffsetSurface::offset(double d) {
    offset_ += d;
    if (d != 0.0) equivalent_ = nullptr; // it is where the surface was
}

void EROffsetSurface::scale(double s) {
    ERAnyBoundedSurface::scale(s);
    move([s](auto& surface) { surface.scale(s); }, [s](ERVector3D& v) { v = s < 0.0 ? -v : v; },
         std::fabs(s));
}

void EROffsetSurface::translate(const ERPoint3D& v) {
    ERAnyBoundedSurface::translate(v);
    move([&v](auto& surface) { surface.translate(v); }, [](ERVector3D&) {}, 1.0);
}

void EROffsetSurface::transformFrom(const ERPmSimilitude3D& t) {
    ERAnyBoundedSurface::transformFrom(t);
    move([&t](auto& surface) { surface.transformFrom(t); }, [&t](ERVector3D& v) { t.TransFrom(v); },
         std::fabs(t.getFactHomo()));
}

void EROffsetSurface::transformFrom(const ERPmIsometrie3D& t) {
    transformFrom(static_cast<const ERPmSimilitude3D&>(t));
}

void EROffsetSurface::transformTo(const ERPmSimilitude3D& t) {
    ERAnyBoundedSurface::transformTo(t);
    move([&t](auto& surface) { surface.transformTo(t); }, [&t](ERVector3D& v) { t.TransTo(v); },
         1.0 / std::fabs(t.getFactHomo()));
}

void EROffsetSurface::transformTo(const ERPmIsometrie3D& t) {
    transformTo(static_cast<const ERPmSimilitude3D&>(t));
}

void EROffsetSurface::reverse() {
    drop_grid();
    move([](auto& surface) { surface.reverse(); }, [](ERVector3D&) {}, 1.0);
}

namespace {

void print_reference(std::ostream& out, const t_SmartPtr<ERAnyBoundedSurface>& surface) {
    if (surface) surface->printOn(out);
    out << '\n';
}

} // namespace

void EROffsetSurface::printOn(std::ostream& out) const {
    out << "Surface Offset " << '\n'
        << "Offset      :" << offset_ << '\n'
        << "Indicateur  :" << indicator_ << '\n'
        << "Based On    :";
    print_reference(out, base_);
    out << "Equiv Entity :";
    print_reference(out, equivalent_);
}

ERObject* EROffsetSurface::getCopy() const { return new EROffsetSurface(*this); }

VELM_DEFINE_CLASS(EROffsetSurfaceIsoParam, ERFiniteEntity3DWF)

template <class Self, class Form>
void EROffsetSurfaceIsoParam::stored_fields(Self& self, Form& form) {
    form(self.constant_u_, self.sense_, self.value_, self.limits_);
    form(self.surface_);
}
VELM_DEFINE_STORED_FORM(EROffsetSurfaceIsoParam, ERFiniteEntity3DWF)

EROffsetSurfaceIsoParam::EROffsetSurfaceIsoParam(const EROffsetSurface& surface, int constant_u,
                                                 double value)
    : surface_(new EROffsetSurface(surface)), constant_u_(constant_u != 0 ? 1 : 0), value_(value),
      limits_(constant_u != 0 ? surface.getBoundV() : surface.getBoundU()) {}

EROffsetSurfaceIsoParam::EROffsetSurfaceIsoParam(const EROffsetSurfaceIsoParam& other)
    : EREntity3DWF(other), ERFiniteEntity3DWF(other),
      surface_(other.surface_ ? new EROffsetSurface(*other.surface_) : nullptr),
      constant_u_(other.constant_u_), sense_(other.sense_), value_(other.value_),
      limits_(other.limits_) {}

EROffsetSurfaceIsoParam& EROffsetSurfaceIsoParam::operator=(const EROffsetSurfaceIsoParam& other) {
    ERFiniteEntity3DWF::operator=(other);
    surface_ = other.surface_ ? new EROffsetSurface(*other.surface_) : nullptr;
    constant_u_ = other.constant_u_;
    sense_ = other.sense_;
    value_ = other.value_;
    limits_ = other.limits_;
    return *this;
}

// A torus stores its derivatives with u and v exchanged.
static bool is_over_a_torus(const EROffsetSurface& surface) {
    const ERAnyBoundedSurface* base = surface.base().get();
    const EROffsetSurface* below = base ? EROffsetSurface::castdown(base) : nullptr;
    return below ? is_over_a_torus(*below) : base && ERBoundedTorus::castdown(base);
}

ERInfoPoint3DWF EROffsetSurfaceIsoParam::PtCur(double t) {
    if (!surface_) return {t, 1, ERPoint3D(), ERVector3D(), ERVector3D()};
    const double along = sense_ < 0 ? -t : t;
    const ERInfoPoint3DSurf on =
        constant_u_ ? surface_->PtCur(value_, along) : surface_->PtCur(along, value_);
    const bool along_v = (constant_u_ != 0) != is_over_a_torus(*surface_);
    const ERVector3D first = along_v ? on.tangenteV() : on.tangenteU();
    return {t, 1, on.point(), sense_ < 0 ? -first : first,
            along_v ? on.derivative(2, 0) : on.derivative(0, 2)};
}

ERPoint3D EROffsetSurfaceIsoParam::point(double t) const {
    return const_cast<EROffsetSurfaceIsoParam&>(*this).PtCur(t).point();
}

ERMinimax3D EROffsetSurfaceIsoParam::getBox() {
    return surface_ ? surface_->getBox() : ERMinimax3D();
}

ERCpoleNURBS3D EROffsetSurfaceIsoParam::ConvertToNurbs() {
    constexpr int samples = 65, degree = 3;
    std::vector<ERPoint3D> points;
    for (int i = 0; i < samples; ++i)
        points.push_back(point(limits_(double(i) / (samples - 1))));
    std::optional<ERCpoleNURBS3D> curve =
        velm::interpolate(points, degree, velm::PointParameters::even);
    if (!curve) return {};
    curve->reparametrize(limits_);
    return *curve;
}

double EROffsetSurfaceIsoParam::arcLength(ERLimites interval, double tol) const {
    constexpr int fewest = 16, most = 65536;
    double length = 0.0;
    for (int pieces = fewest; pieces <= most; pieces *= 2) {
        double sum = 0.0;
        ERPoint3D previous = point(interval.start());
        for (int i = 1; i <= pieces; ++i) {
            const double ratio = double(i) / pieces;
            const ERPoint3D next = point((1.0 - ratio) * interval.start() + ratio * interval.end());
            sum += distance(previous, next);
            previous = next;
        }
        const bool settled = !(std::fabs(sum - length) >= tol);
        length = sum;
        if (settled) break;
    }
    return length;
}

double EROffsetSurfaceIsoParam::arcLength(double tol) const { return arcLength(limits_, tol); }

int EROffsetSurfaceIsoParam::splitAt(t_SmartPtr<ERFiniteEntity3DWF>& first,
                                     t_SmartPtr<ERFiniteEntity3DWF>& second, double t) const {
    const t_SmartPtr<EROffsetSurfaceIsoParam> low = new EROffsetSurfaceIsoParam(*this);
    const t_SmartPtr<EROffsetSurfaceIsoParam> high = new EROffsetSurfaceIsoParam(*this);
    low->limits_.end() = high->limits_.start() = t;
    first = low.get();
    second = high.get();
    return 1;
}

void EROffsetSurfaceIsoParam::prepareApprox(ERPoint13List& list, const ERLimites& interval,
                                            double tol) const {
    ERFiniteEntity3DWF::prepareApprox(list, interval, tol);
    list.Smash(*this, tol);
}

// The surface to be changed: as an object of its own if it is stored, since the record of what is
// there stays as it is.
static EROffsetSurface& own(t_SmartPtr<EROffsetSurface>& surface) {
    if (surface->getObjectID() != -1) surface = new EROffsetSurface(*surface);
    return *surface;
}

void EROffsetSurfaceIsoParam::scale(double s) {
    if (surface_) own(surface_).scale(s);
}

void EROffsetSurfaceIsoParam::translate(const ERPoint3D& v) {
    if (surface_) own(surface_).translate(v);
}

void EROffsetSurfaceIsoParam::transformFrom(const ERPmSimilitude3D& t) {
    if (surface_) own(surface_).transformFrom(t);
}

void EROffsetSurfaceIsoParam::transformFrom(const ERPmIsometrie3D& t) {
    if (surface_) own(surface_).transformFrom(t);
}

void EROffsetSurfaceIsoParam::transformTo(const ERPmSimilitude3D& t) {
    if (surface_) own(surface_).transformTo(t);
}

void EROffsetSurfaceIsoParam::transformTo(const ERPmIsometrie3D& t) {
    if (surface_) own(surface_).transformTo(t);
}

void EROffsetSurfaceIsoParam::reverse() {
    sense_ = -sense_;
    limits_ = ERLimites(-limits_.end(), -limits_.start());
}

void EROffsetSurfaceIsoParam::printOn(std::ostream& out) const {
    out << (constant_u_ ? "u = " : "v = ") << value_ << " " << limits_ << '\n';
    if (surface_) surface_->printOn(out);
}

ERObject* EROffsetSurfaceIsoParam::getCopy() const { return new EROffsetSurfaceIsoParam(*this); }
