#include "velm/surfaces/surface_boundary.h"

#include "velm/frame/point_functions.h"
#include "velm/frame/stored_reference.h"
#include "velm/surfaces/any_bounded_surface.h"

#include <algorithm>
#include <limits>
#include <ostream>

VELM_DEFINE_CLASS(ERSurfaceBoundary, ERObject)

template <class Self, class Form>
void ERSurfaceBoundary::stored_fields(Self& self, Form& form) {
    int reserved = 0;
    form(reserved);
    form(self.curve_);
    form(self.polyline_.valid, self.space_polyline_.valid, self.space_polyline_.tolerance,
         self.polyline_.tolerance);
    form(self.polyline_.vertices);
    form(self.space_polyline_.vertices);
    form(self.side_, self.flags_);
}
VELM_DEFINE_STORED_FORM(ERSurfaceBoundary, ERObject)

namespace {

constexpr double closing_tolerance = 0.001;

t_SmartPtr<ERFiniteEntity2DWF> copy_of(const ERFiniteEntity2DWF* curve) {
    if (curve == nullptr) return {};
    return ERFiniteEntity2DWF::castdown(curve->getCopy());
}

} // namespace

ERSurfaceBoundary::ERSurfaceBoundary(const ERFiniteEntity2DWF& curve, Side side) : side_(side) {
    setBoundary(curve);
}

ERSurfaceBoundary::ERSurfaceBoundary(ERFiniteEntity2DWF* curve, Side side) : side_(side) {
    setBoundary(curve);
}

ERSurfaceBoundary::ERSurfaceBoundary(const ERSurfaceBoundary& other)
    : ERObject(other), curve_(copy_of(other.curve_.get())), side_(other.side_),
      flags_(other.flags_), polyline_(other.polyline_), space_polyline_(other.space_polyline_) {}

ERSurfaceBoundary& ERSurfaceBoundary::operator=(const ERSurfaceBoundary& other) {
    if (this == &other) return *this;
    ERObject::operator=(other);
    base_ = nullptr;
    curve_ = copy_of(other.curve_.get());
    side_ = other.side_;
    flags_ = other.flags_;
    polyline_ = other.polyline_;
    space_polyline_ = other.space_polyline_;
    return *this;
}

void ERSurfaceBoundary::setBoundary(const ERFiniteEntity2DWF& curve) {
    setBoundary(copy_of(&curve).get());
}

void ERSurfaceBoundary::setBoundary(ERFiniteEntity2DWF* curve) {
    curve_ = curve;
    const bool open = curve != nullptr && !curve->isClosed(closing_tolerance);
    flags_ = open ? flags_ | open_flag : flags_ & ~open_flag;
    polyline_.valid = 0;
    drop_space_polyline();
}

ERSurfaceBoundary::Side ERSurfaceBoundary::setSide(Side side) {
    const Side before = side_;
    side_ = side;
    return before;
}

ERMinimax2D ERSurfaceBoundary::getBox() const { return curve_ ? curve_->getBox() : ERMinimax2D(); }

double ERSurfaceBoundary::derived_tolerance() const {
    constexpr double model_tolerance = 0.0001;
    if (base_ == nullptr) return model_tolerance;
    double ratio = std::numeric_limits<double>::infinity();
    const auto look_at = [&ratio](double span, double length) {
        if (length != 0.0) ratio = std::min(ratio, span / length);
    };
    look_at(base_->getBoundU().amplitude(), base_->upperEstimateInU());
    look_at(base_->getBoundV().amplitude(), base_->upperEstimateInV());
    const double tolerance = ratio * model_tolerance;
    const bool usable = tolerance > 0.0 && tolerance <= std::numeric_limits<double>::max();
    return usable ? tolerance : model_tolerance;
}

ERVec<ERPoint2D> ERSurfaceBoundary::getBound2DasPolyline(double tolerance) const {
    Polyline<ERPoint2D>& kept = polyline_;
    if (kept.valid && (tolerance < 0.0 || tolerance == kept.tolerance)) return kept.vertices;
    if (!curve_) return {};
    if (!(tolerance > 0.0)) {
        tolerance = derived_tolerance();
        if (kept.valid && tolerance == kept.tolerance) return kept.vertices;
    }
    kept = {1, tolerance, curve_->approxime(curve_->getBound(), tolerance)};
    return kept.vertices;
}

ERVec<ERPoint3D> ERSurfaceBoundary::smash(double tolerance) const {
    Polyline<ERPoint3D>& kept = space_polyline_;
    if (kept.valid && tolerance == kept.tolerance) return kept.vertices;
    if (!curve_ || base_ == nullptr) return {};
    ERPoint23List list;
    ExtractList23(*this, list, 0.0, tolerance);
    kept = {1, tolerance, list.toVec()};
    return kept.vertices;
}

void ERSurfaceBoundary::smash(ERVec<ERPoint3D>& points, ERVec<ERPoint2D>& parameters,
                              double tolerance) const {
    ERPoint23List list;
    ExtractList23(*this, list, 0.0, tolerance);
    points = list.toVec();
    parameters = list.toVec2D();
}

void ERSurfaceBoundary::scale(double) { drop_space_polyline(); }

void ERSurfaceBoundary::translate(const ERPoint3D&) { drop_space_polyline(); }

void ERSurfaceBoundary::transformFrom(const ERPmSimilitude3D&) { drop_space_polyline(); }

void ERSurfaceBoundary::transformFrom(const ERPmIsometrie3D&) { drop_space_polyline(); }

void ERSurfaceBoundary::transformTo(const ERPmSimilitude3D&) { drop_space_polyline(); }

void ERSurfaceBoundary::transformTo(const ERPmIsometrie3D&) { drop_space_polyline(); }

void ERSurfaceBoundary::printOn(std::ostream& out) const {
    out << "Surface Boundary : A Pointer to a " << ERFiniteEntity2DWF::desc()->getName();
    if (!curve_) {
        out << " (NULL) \n";
        return;
    }
    out << " ( " << curve_->className() << " ) with " << curve_->references() << " references\n";
    curve_->printOn(out);
}

ERObject* ERSurfaceBoundary::getCopy() const { return new ERSurfaceBoundary(*this); }

void ExtractList23(const ERSurfaceBoundary& boundary, ERPoint23List& list, double tolerance2D,
                   double tolerance3D) {
    constexpr double repeated = 1e-11;
    const ERAnyBoundedSurface* const surface = boundary.baseSurface();
    if (surface == nullptr) return;
    const ERVec<ERPoint2D> polyline = boundary.getBound2DasPolyline(tolerance2D);
    const std::span<const ERPoint2D> vertices = polyline.view();
    const ERPoint2D* last = nullptr;
    const auto append = [&](const ERPoint2D& vertex) {
        list.append((*surface)(vertex), vertex);
        last = &vertex;
    };
    for (const ERPoint2D& vertex : vertices)
        if (last == nullptr || !isEqual(vertex, *last, repeated)) append(vertex);
    if (!vertices.empty() && !(vertices.front() == vertices.back())) append(vertices.front());
    list.Smash(*surface, tolerance3D);
}
