// ERTrimmedSurface: what its base surface answers.
#include "velm/frame/finite_entity.h"
#include "velm/frame/simple_vec.h"
#include "velm/surfaces/trimmed_surface.h"

double ERTrimmedSurface::udeb() const { return base_ ? base_->udeb() : 0.0; }

double ERTrimmedSurface::ufin() const { return base_ ? base_->ufin() : 0.0; }

double ERTrimmedSurface::vdeb() const { return base_ ? base_->vdeb() : 0.0; }

double ERTrimmedSurface::vfin() const { return base_ ? base_->vfin() : 0.0; }

ERLimites ERTrimmedSurface::getBoundU() const { return base_ ? base_->getBoundU() : ERLimites(); }

ERLimites ERTrimmedSurface::getBoundV() const { return base_ ? base_->getBoundV() : ERLimites(); }

t_SmartPtr<ERAnyBoundedSurface> ERTrimmedSurface::base_surface() const { return base_; }

ERVec<ERPoint3D> ERTrimmedSurface::boundary_points() const {
    return base_ ? base_->boundary_points() : ERAnyBoundedSurface::boundary_points();
}

ERInfoPoint3DSurf ERTrimmedSurface::PtCur(double u, double v) const {
    return base_ ? base_->PtCur(u, v) : ERInfoPoint3DSurf();
}

ERPoint3D ERTrimmedSurface::operator()(double u, double v) const {
    return base_ ? (*base_)(u, v) : ERPoint3D();
}

ERInfoPoint3DSurf ERTrimmedSurface::randomPoint() const {
    return base_ ? base_->randomPoint() : ERInfoPoint3DSurf();
}

ERMinimax3D ERTrimmedSurface::getBox() const { return base_ ? base_->getBox() : ERMinimax3D(); }

t_SmartPtr<ERFiniteEntity3DWF> ERTrimmedSurface::getEntityIsoU(double u) const {
    return base_ ? base_->getEntityIsoU(u) : nullptr;
}

t_SmartPtr<ERFiniteEntity3DWF> ERTrimmedSurface::getEntityIsoV(double v) const {
    return base_ ? base_->getEntityIsoV(v) : nullptr;
}

ERPoint3D ERTrimmedSurface::project_inbound(const ERPoint3D& p) const {
    return base_ ? base_->project_inbound(p) : p;
}

EREntity::DISTMINRES ERTrimmedSurface::SignedMinimalDistance(const ERPoint3D& p, double& dist) {
    return base_ ? base_->SignedMinimalDistance(p, dist) : DISTMIN_NONE;
}

double ERTrimmedSurface::upperEstimateInU() const {
    return base_ ? base_->upperEstimateInU() : 0.0;
}

double ERTrimmedSurface::upperEstimateInV() const {
    return base_ ? base_->upperEstimateInV() : 0.0;
}

namespace {

using Surface = t_SmartPtr<ERAnyBoundedSurface>;

// `split(low, high)` cuts the base. The outputs are set after it is done: either may hold the
// trimmed surface, and with it the base.
template <class Split>
int parts(const Surface& base, Surface& a, Surface& b, Split split) {
    Surface low, high;
    if (!base || !split(low, high)) return 0;
    a = low;
    b = high;
    return 1;
}

} // namespace

int ERTrimmedSurface::SplitInU(Surface& a, Surface& b) const {
    return parts(base_, a, b,
                 [this](Surface& low, Surface& high) { return base_->SplitInU(low, high); });
}

int ERTrimmedSurface::SplitInU(Surface& a, Surface& b, double u) const {
    return parts(base_, a, b,
                 [this, u](Surface& low, Surface& high) { return base_->SplitInU(low, high, u); });
}

int ERTrimmedSurface::SplitInV(Surface& a, Surface& b) const {
    return parts(base_, a, b,
                 [this](Surface& low, Surface& high) { return base_->SplitInV(low, high); });
}

int ERTrimmedSurface::SplitInV(Surface& a, Surface& b, double v) const {
    return parts(base_, a, b,
                 [this, v](Surface& low, Surface& high) { return base_->SplitInV(low, high, v); });
}

int ERTrimmedSurface::IsContinuous(int order) const {
    return base_ ? base_->IsContinuous(order) : 0;
}

int ERTrimmedSurface::GetDiscontinuitiesU(int order, ERVec<double>& params) const {
    return base_ ? base_->GetDiscontinuitiesU(order, params)
                 : ERAnyBoundedSurface::GetDiscontinuitiesU(order, params);
}

int ERTrimmedSurface::GetDiscontinuitiesV(int order, ERVec<double>& params) const {
    return base_ ? base_->GetDiscontinuitiesV(order, params)
                 : ERAnyBoundedSurface::GetDiscontinuitiesV(order, params);
}

void ERTrimmedSurface::GetNumberOfSpans(int& nu, int& nv) const {
    if (base_) return base_->GetNumberOfSpans(nu, nv);
    ERAnyBoundedSurface::GetNumberOfSpans(nu, nv);
}

void ERTrimmedSurface::GetSpanBoxes(ERSimpleVec2<ERMinimax3D>& boxes) const {
    if (base_) return base_->GetSpanBoxes(boxes);
    ERAnyBoundedSurface::GetSpanBoxes(boxes);
}

const ERMatrix<ERPoint3D>& ERTrimmedSurface::getMatricePoint(int n, int m) const {
    return base_ ? base_->getMatricePoint(n, m) : ERAnyBoundedSurface::getMatricePoint(n, m);
}

void ERTrimmedSurface::CleanUpTemporaries(int level) {
    ERAnyBoundedSurface::CleanUpTemporaries(level);
    region_.reset();
    if (base_) base_->CleanUpTemporaries(level);
}
