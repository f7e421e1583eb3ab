#include "velm/surfaces/pole_surface.h"

#include "velm/curves/detail/pole_arrays.h"
#include "velm/frame/point_functions.h"
#include "velm/planar/convex_hull.h"
#include "velm/surfaces/detail/pole_grid.h"

#include <algorithm>
#include <cmath>

VELM_DEFINE_CLASS_NOT_CREATABLE(ERSpoleRep, ERBoundedSurface)

namespace {

ERPoint3D scaled(const ERPoint3D& p, double s) { return p * s; }
ERPole3DH scaled(const ERPole3DH& p, double s) { return {p.x_ * s, p.y_ * s, p.z_ * s, p.weight}; }
ERPoint3D moved(const ERPoint3D& p, const ERPoint3D& v) { return p + v; }
ERPole3DH moved(ERPole3DH p, const ERPoint3D& v) { return p.translate(v); }

// The longest polygon of the lines along an axis; `step` from pole to pole, `next` from line to
// line.
template <class Poles>
double longest_polygon(const Poles& poles, int count, int step, int lines, int next) {
    using velm::detail::pole_point;
    double longest = 0.0;
    for (int line = 0; line < lines; ++line) {
        double length = 0.0;
        for (int i = 1; i < count; ++i) {
            const int at = line * next + i * step;
            length += distance(pole_point(poles[at - step]), pole_point(poles[at]));
        }
        longest = std::max(longest, length);
    }
    return longest;
}

} // namespace

int ERSpoleRep::isRational() const { return 1; }

int ERSpoleRep::isBezier() const { return 1; }

ERMinimax3D ERSpoleRep::getBox() const {
    if (!kept_.box) _calculateBox();
    return *kept_.box;
}

void ERSpoleRep::_calculateBox() const {
    auto box = std::make_unique<ERMinimax3D>();
    with_poles([&](const auto& poles) { box->Update(poles); });
    kept_.box = std::move(box);
}

const ERVec<ERPoint2D>& ERSpoleRep::getConvexHull() const {
    return getConvexHull(ERPmIsometrie3D());
}

const ERVec<ERPoint2D>& ERSpoleRep::getConvexHull(const ERPmIsometrie3D& frame) const {
    if (kept_.hull.empty() || !kept_.hull_frame.isEqual(frame)) {
        kept_.hull_frame = frame;
        _calculateConvexHull(frame);
    }
    return kept_.hull;
}

void ERSpoleRep::_calculateConvexHull(const ERPmIsometrie3D& frame) const {
    kept_.hull = with_poles([&](const auto& poles) {
        ERVec<ERPoint2D> flat(poles.size());
        std::transform(poles.view().begin(), poles.view().end(), flat.begin(),
                       [&](const auto& pole) {
                           ERPoint3D p = velm::detail::pole_point(pole);
                           frame.TransTo(p);
                           return ERPoint2D(p.x(), p.y());
                       });
        return CalculateConvexeHull(flat);
    });
}

double ERSpoleRep::upperEstimateInU() const {
    if (kept_.estimate_u == no_estimate) _calculateUpperEstimateU();
    return kept_.estimate_u;
}

double ERSpoleRep::upperEstimateInV() const {
    if (kept_.estimate_v == no_estimate) _calculateUpperEstimateV();
    return kept_.estimate_v;
}

void ERSpoleRep::_calculateUpperEstimateU() const {
    kept_.estimate_u = with_poles([](const auto& poles) {
        return longest_polygon(poles, poles.columns(), 1, poles.rows(), poles.columns());
    });
}

void ERSpoleRep::_calculateUpperEstimateV() const {
    kept_.estimate_v = with_poles([](const auto& poles) {
        return longest_polygon(poles, poles.rows(), poles.columns(), poles.columns(), 1);
    });
}

void ERSpoleRep::ResetCacheBox() const { kept_.box.reset(); }

void ERSpoleRep::ResetCacheConvexHull() const { kept_.hull = ERVec<ERPoint2D>(); }

void ERSpoleRep::ResetCacheInfo() const {
    ResetCacheBox();
    ResetCacheConvexHull();
    kept_.projection.reset();
}

void ERSpoleRep::CleanUpTemporaries(int level) {
    ERBoundedSurface::CleanUpTemporaries(level);
    kept_.projection.reset();
}

void ERSpoleRep::forget_estimates() const { kept_.estimate_u = kept_.estimate_v = no_estimate; }

bool ERSpoleRep::is_within_natural() const {
    return udeb() >= NUdeb() && ufin() <= NUfin() && vdeb() >= NVdeb() && vfin() <= NVfin();
}

template <class Map>
void ERSpoleRep::map_poles(Map map) {
    ResetCacheInfo();
    with_poles([&](auto& poles) {
        for (auto& pole : poles.writable())
            pole = map(pole);
    });
}

void ERSpoleRep::scale(double s) {
    if (std::fabs(s) != 1.0) forget_estimates();
    map_poles([s](const auto& pole) { return scaled(pole, s); });
    ERBoundedSurface::scale(s);
}

void ERSpoleRep::translate(const ERPoint3D& v) {
    map_poles([by = v](const auto& pole) { return moved(pole, by); });
    ERBoundedSurface::translate(v);
}

void ERSpoleRep::transformFrom(const ERPmSimilitude3D& t) {
    forget_estimates();
    ResetCacheInfo();
    with_poles([&t](auto& poles) { t.TransFrom(poles); });
    ERBoundedSurface::transformFrom(t);
}

void ERSpoleRep::transformFrom(const ERPmIsometrie3D& t) {
    ResetCacheInfo();
    with_poles([&t](auto& poles) { t.TransFrom(poles); });
    ERBoundedSurface::transformFrom(t);
}

void ERSpoleRep::transformTo(const ERPmSimilitude3D& t) {
    forget_estimates();
    ResetCacheInfo();
    with_poles([&t](auto& poles) { t.TransTo(poles); });
    ERBoundedSurface::transformTo(t);
}

void ERSpoleRep::transformTo(const ERPmIsometrie3D& t) {
    ResetCacheInfo();
    with_poles([&t](auto& poles) { t.TransTo(poles); });
    ERBoundedSurface::transformTo(t);
}

void ERSpoleRep::reverse() {
    ResetCacheInfo();
    std::swap(kept_.estimate_u, kept_.estimate_v);
    with_poles([](auto& poles) { poles = velm::detail::transposed_poles(poles); });
    ERBoundedSurface::reverse();
}

void ERSpoleRep::restoreGuts(ERFile& file) {
    forget_estimates();
    ResetCacheInfo();
    ERBoundedSurface::restoreGuts(file);
}
