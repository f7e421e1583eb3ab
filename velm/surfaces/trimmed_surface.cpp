#include "velm/surfaces/trimmed_surface.h"

#include "velm/curves/nurbs_curve.h"
#include "velm/frame/simple_vec.h"
#include "velm/frame/stored_reference.h"
#include "velm/surfaces/bounded_plane.h"
#include "velm/surfaces/offset_surface.h"
#include "velm/surfaces/ray_surface_result.h"
#include "velm/surfaces/revolution_surface.h"
#include "velm/transforms/plane_transformation.h"
#include "velm/transforms/transformation_handle.h"

#include <cstddef>
#include <ostream>

VELM_DEFINE_CLASS(ERTrimmedSurface, ERAnyBoundedSurface)

template <class Self, class Form>
void ERTrimmedSurface::stored_fields(Self& self, Form& form) {
    form(self.base_);
    form(self.first_is_outer_, self.box_);
    form(self.boundaries_);
}

void ERTrimmedSurface::saveGuts(ERFile& file) const {
    ERAnyBoundedSurface::saveGuts(file);
    velm::StoreWriter form(file);
    stored_fields(*this, form);
    form.flush();
}

void ERTrimmedSurface::restoreGuts(ERFile& file) {
    release_boundaries();
    region_.reset();
    ERAnyBoundedSurface::restoreGuts(file);
    velm::StoreReader form(file);
    stored_fields(*this, form);
    const t_SmartPtr<ERSurfaceBoundary> missing;
    const bool no_first = !boundaries_.isEmpty() && boundaries_.first() == missing;
    boundaries_.removeAll(missing);
    if (first_is_outer_ && no_first) {
        first_is_outer_ = 0;
        calculate_bounding_box();
    }
    give_base_to_boundaries();
}

unsigned int ERTrimmedSurface::binaryStoreSize() const {
    velm::StoreSize form;
    stored_fields(*this, form);
    return ERAnyBoundedSurface::binaryStoreSize() + form.bytes();
}

namespace {

t_SmartPtr<ERAnyBoundedSurface> copy_of(const ERAnyBoundedSurface* surface) {
    if (surface == nullptr) return {};
    return ERAnyBoundedSurface::castdown(surface->getCopy());
}

t_SmartPtr<ERAnyBoundedSurface> plane_around(const ERPmIsometrie3D& frame,
                                             ERFiniteEntity2DWF* curve) {
    if (curve == nullptr) return new ERBoundedPlane(frame, {0.0, 1.0}, {0.0, 1.0});
    const ERMinimax2D box = curve->getBox();
    return new ERBoundedPlane(frame, {box.xmin, box.xmax}, {box.ymin, box.ymax});
}

// What reverse() of a surface does to its parameters: a surface of revolution negates v, the others
// exchange u and v.
bool negates_v(const ERAnyBoundedSurface* surface) {
    while (surface != nullptr) {
        if (surface->isKindOf(ERSurOfRevolution::desc())) return true;
        if (surface->isKindOf(EROffsetSurface::desc()))
            surface = EROffsetSurface::castdown(surface)->base().get();
        else if (surface->isKindOf(ERTrimmedSurface::desc()))
            surface = surface->base_surface().get();
        else
            return false;
    }
    return false;
}

} // namespace

ERTrimmedSurface::ERTrimmedSurface(const ERAnyBoundedSurface& base)
    : ERTrimmedSurface(copy_of(&base).get()) {}

ERTrimmedSurface::ERTrimmedSurface(ERAnyBoundedSurface* base) : base_(base) {
    calculate_bounding_box();
}

ERTrimmedSurface::ERTrimmedSurface(const ERPmIsometrie3D& frame, ERFiniteEntity2DWF* outer)
    : ERTrimmedSurface(plane_around(frame, outer).get()) {
    addBound(outer, ERSurfaceBoundary::outer);
}

ERTrimmedSurface::ERTrimmedSurface(const ERTrimmedSurface& other)
    : ERSurface(other), ERAnyBoundedSurface(other) {
    take_copies(other);
}

ERTrimmedSurface& ERTrimmedSurface::operator=(const ERTrimmedSurface& other) {
    if (this == &other) return *this;
    ERAnyBoundedSurface::operator=(other);
    release_boundaries();
    region_.reset();
    take_copies(other);
    return *this;
}

ERTrimmedSurface::~ERTrimmedSurface() { release_boundaries(); }

void ERTrimmedSurface::take_copies(const ERTrimmedSurface& other) {
    base_ = copy_of(other.base_.get());
    box_ = other.box_;
    first_is_outer_ = other.first_is_outer_;
    for (const t_SmartPtr<ERSurfaceBoundary>& boundary : other.boundaries_)
        boundaries_.append(new ERSurfaceBoundary(*boundary));
    give_base_to_boundaries();
}

void ERTrimmedSurface::release_boundaries() {
    for (const t_SmartPtr<ERSurfaceBoundary>& boundary : boundaries_)
        if (boundary && boundary->baseSurface() == base_.get()) boundary->setBaseSurface(nullptr);
    boundaries_.clear();
}

void ERTrimmedSurface::give_base_to_boundaries() {
    for (const t_SmartPtr<ERSurfaceBoundary>& boundary : boundaries_)
        boundary->setBaseSurface(base_.get());
}

void ERTrimmedSurface::addBound(const ERFiniteEntity2DWF& curve, ERSurfaceBoundary::Side side) {
    t_SmartPtr<ERSurfaceBoundary> boundary = new ERSurfaceBoundary(curve, side);
    _addBound(boundary);
}

void ERTrimmedSurface::addBound(ERFiniteEntity2DWF* curve, ERSurfaceBoundary::Side side) {
    const t_SmartPtr<ERFiniteEntity2DWF> held(curve);
    t_SmartPtr<ERSurfaceBoundary> boundary;
    if (held) boundary = new ERSurfaceBoundary(held.get(), side);
    _addBound(boundary);
}

void ERTrimmedSurface::_addBound(t_SmartPtr<ERSurfaceBoundary>& boundary) {
    if (!boundary) return;
    region_.reset();
    const ERSurfaceBoundary::Side side = boundary->side();
    switch (side) {
    case ERSurfaceBoundary::unset:
        boundary->setSide(ERSurfaceBoundary::outer);
        boundaries_.append(boundary);
        break;
    case ERSurfaceBoundary::outer:
        if (first_is_outer_ == 1) return;
        boundaries_.prepend(boundary);
        break;
    case ERSurfaceBoundary::inner:
        boundaries_.append(boundary);
        break;
    default:
        return;
    }
    boundary->setBaseSurface(base_.get());
    if (side == ERSurfaceBoundary::inner) return;
    box_ = boundary->getBox();
    first_is_outer_ = 1;
}

void ERTrimmedSurface::calculate_bounding_box() {
    const t_SmartPtr<ERFiniteEntity2DWF> outer = first_is_outer_ ? getOutBnd() : nullptr;
    box_ = outer ? outer->getBox() : ERMinimax2D(udeb(), ufin(), vdeb(), vfin());
}

t_SmartPtr<ERFiniteEntity2DWF> ERTrimmedSurface::getOutBnd() const {
    if (!first_is_outer_ || boundaries_.isEmpty()) return {};
    const ERSurfaceBoundary& first = *boundaries_.first();
    if (first.side() != ERSurfaceBoundary::outer) return {};
    return first.getBound2D();
}

t_SmartPtr<ERFiniteEntity2DWF> ERTrimmedSurface::getInBnd(int i) const {
    const int before = first_is_outer_ ? 1 : 0;
    if (i < 0 || i >= boundaries_.entries() - before) return {};
    const ERSurfaceBoundary& boundary = *boundaries_[i + before];
    if (boundary.side() != ERSurfaceBoundary::inner) return {};
    return boundary.getBound2D();
}

void ERTrimmedSurface::ConstructRegion2D() const {
    if (region_) return;
    region_ = std::make_unique<ERRegion2D>(boundaries_.entries(), first_is_outer_);
    for (const t_SmartPtr<ERSurfaceBoundary>& boundary : boundaries_)
        region_->Add(boundary->getBound2DasPolyline(0.0));
}

ERRegion2D* ERTrimmedSurface::GetRegion() const {
    ConstructRegion2D();
    return region_.get();
}

int ERTrimmedSurface::isInBound(const ERPoint2D& parameter) const {
    if (!base_) return 0;
    if (!getBoundU().inBound(parameter.x()) || !getBoundV().inBound(parameter.y())) return 0;
    int contour = 0;
    return GetRegion()->CheckPoint(parameter, contour) != REGION_OUTSIDE;
}

ER_MINMAX_POSITION_POLYGONE ERTrimmedSurface::PositionFenetre(ERMinimax2D& box) const {
    return boundaries_.isEmpty() ? POLYGONE_INSIDE_BOX : GetRegion()->IsInDomain(box);
}

void ERTrimmedSurface::ProjectPoint(const ERPoint3D& p, ERRaySurfaceResult& result,
                                    int inBound) const {
    if (base_) base_->ProjectPoint(p, result, 0);
    if (inBound)
        result.filtre(filtreOutsidePointTrimedSurface, const_cast<ERTrimmedSurface*>(this));
}

void ERTrimmedSurface::ProjectPoint(const ERPoint3D& p, const ERVector3D& direction,
                                    ERRaySurfaceResult& result, int inBound) const {
    if (base_) base_->ProjectPoint(p, direction, result, 0);
    if (inBound)
        result.filtre(filtreOutsidePointTrimedSurface, const_cast<ERTrimmedSurface*>(this));
}

int filtreOutsidePointTrimedSurface(ERInfoPoint3DSurf* solution, void* surface) {
    return static_cast<const ERTrimmedSurface*>(surface)->isInBound(solution->parametre()) ? 0 : 1;
}

int ERTrimmedSurface::ProjectionNormale(const ERPoint3D& p, double distance, ERPoint2D& parameter,
                                        int inBound) const {
    if (!base_ || !base_->ProjectionNormale(p, distance, parameter, inBound)) return 0;
    return !inBound || isInBound(parameter);
}

int ERTrimmedSurface::ReajustProjection(ERPoint3D& p, ERPoint2D& parameter, int inBound) const {
    const ERPoint3D old_point = p;
    const ERPoint2D entry = parameter;
    if (!base_ || !base_->ReajustProjection(p, parameter, inBound)) return 0;
    if (!inBound || isInBound(parameter)) return 1;
    p = old_point;
    parameter = entry;
    return 0;
}

void ERTrimmedSurface::own_all() {
    if (base_ && base_->getObjectID() != -1) base_ = copy_of(base_.get());
    for (t_SmartPtr<ERSurfaceBoundary>& boundary : boundaries_)
        if (boundary->getObjectID() != -1) boundary = new ERSurfaceBoundary(*boundary);
    give_base_to_boundaries();
}

template <class Change>
void ERTrimmedSurface::move(Change change) {
    own_all();
    if (base_) change(*base_);
    for (const t_SmartPtr<ERSurfaceBoundary>& boundary : boundaries_)
        change(*boundary);
}

void ERTrimmedSurface::scale(double s) {
    move([s](auto& part) { part.scale(s); });
}

void ERTrimmedSurface::translate(const ERPoint3D& v) {
    move([&v](auto& part) { part.translate(v); });
}

void ERTrimmedSurface::transformFrom(const ERPmSimilitude3D& t) {
    move([&t](auto& part) { part.transformFrom(t); });
}

void ERTrimmedSurface::transformFrom(const ERPmIsometrie3D& t) {
    move([&t](auto& part) { part.transformFrom(t); });
}

void ERTrimmedSurface::transformTo(const ERPmSimilitude3D& t) {
    move([&t](auto& part) { part.transformTo(t); });
}

void ERTrimmedSurface::transformTo(const ERPmIsometrie3D& t) {
    move([&t](auto& part) { part.transformTo(t); });
}

void ERTrimmedSurface::offset(double d) {
    own_all();
    if (base_) base_->offset(d);
    for (const t_SmartPtr<ERSurfaceBoundary>& boundary : boundaries_)
        boundary->drop_space_polyline();
}

void ERTrimmedSurface::reverse() {
    own_all();
    const bool turned = negates_v(base_.get());
    if (base_) base_->reverse();
    for (const t_SmartPtr<ERSurfaceBoundary>& boundary : boundaries_) {
        if (!boundary->getBound2D()) continue;
        ERCpoleNURBS2D curve = boundary->getBound2D()->ConvertToNurbs();
        curve.transformFrom(ERTransfo2D(Coord2D_X));                                      // (u, -v)
        if (!turned) curve.transformFrom(ERTransfo2D(ERVector2D(0.0, 1.0), ERPoint2D())); // (v, u)
        boundary->setBoundary(curve);
    }
    region_.reset();
    calculate_bounding_box();
}

void ERTrimmedSurface::printOn(std::ostream& out) const {
    out << "TRIMMED SURFACE :  \n";
    if (base_) {
        out << " Base Surface ";
        base_->printOn(out);
        out << '\n';
    } else {
        out << "    No Base Surface \n";
    }
    out << " Boundary box   : " << box_.MinPoint() << ' ' << box_.MaxPoint() << '\n'
        << " 1st is Outer   : " << first_is_outer_ << '\n'
        << " The Boundaries : \n";
    for (const t_SmartPtr<ERSurfaceBoundary>& boundary : boundaries_)
        boundary->printOn(out);
}

ERObject* ERTrimmedSurface::getCopy() const { return new ERTrimmedSurface(*this); }
