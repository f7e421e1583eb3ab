// The definitions of velm::detail::FramedSurface, for the source files of the families.
#pragma once

#include "velm/frame/point_functions.h"
#include "velm/surfaces/framed_surface.h"
#include "velm/transforms/transformation_factories.h"

#include <algorithm>
#include <cmath>

namespace velm::detail {

// The bases may be virtual, so their members are assigned here and not in their constructors.
template <class Self>
FramedSurface<Self>::FramedSurface(const ERPmIsometrie3D& placed, const ERLimites& u,
                                   const ERLimites& v) {
    this->frame = placed;
    this->natural_u = this->working_u = u;
    this->natural_v = this->working_v = v;
}

template <class Self>
ERInfoPoint3DSurf FramedSurface<Self>::PtCur(double u, double v) const {
    LocalPoint local = self().local(u, v);
    const ERPmIsometrie3D& placed = this->frame;
    ERPoint3D point(local.point);
    for (ERVector3D* derivative : {&local.du, &local.duu, &local.dv, &local.duv, &local.dvv})
        placed.TransFrom(*derivative);
    return ERInfoPoint3DSurf(ERPoint2D(u, v), placed.TransFrom(point), local.du, local.duu,
                             local.dv, local.duv, local.dvv);
}

template <class Self>
ERPoint3D FramedSurface<Self>::operator()(double u, double v) const {
    ERPoint3D point(self().local(u, v).point);
    return this->frame.TransFrom(point);
}

template <class Self>
ERPoint3D FramedSurface<Self>::project_inbound(const ERPoint3D& p) const {
    ERPoint2D parameter;
    ProjectionNormale(p, 0.0, parameter, 1);
    double at[2] = {parameter.x(), parameter.y()};
    const ERLimites limits[2] = {this->getBoundU(), this->getBoundV()};
    for (const int axis : {0, 1}) {
        if (FamilyTraits<Self>::ends[axis] == EndRule::clamp) {
            at[axis] = std::min(limits[axis].end(), std::max(limits[axis].start(), at[axis]));
        } else if (!limits[axis].inBound(at[axis])) {
            const auto from_end = [&](double end) {
                at[axis] = end;
                return distance2((*this)(at[0], at[1]), p);
            };
            const double from_start = from_end(limits[axis].start());
            if (!(from_end(limits[axis].end()) <= from_start)) at[axis] = limits[axis].start();
        }
    }
    return (*this)(at[0], at[1]);
}

template <class Self>
void FramedSurface<Self>::scale(double s) {
    ERAnyBoundedSurface::scale(s);
    gm_scale_origin(this->frame, s);
    static_cast<Self&>(*this).scale_extents(s);
}

template <class Self>
void FramedSurface<Self>::translate(const ERPoint3D& v) {
    ERAnyBoundedSurface::translate(v);
    this->frame = ERTranslation3D(v) * this->frame;
}

/// Places the surface on the image of its frame. `factor` is the ratio of lengths.
template <class Self>
template <class Map>
void FramedSurface<Self>::move(Map map, double factor) {
    ERPoint3D origin = this->frame.origine();
    ERVector3D x = axis(Coord3D_X), y = axis(Coord3D_Y), z = axis(Coord3D_Z);
    map(origin);
    map(x);
    map(y);
    map(z);
    constexpr int turning = FamilyTraits<Self>::turning;
    if (turning >= 0 && (x ^ y) * z < 0.0) {
        this->frame = ERChgRepere3D(x, z ^ x, origin);
        const auto mirror = [](ERLimites& angles) {
            angles = ERLimites(-angles.end(), -angles.start());
        };
        mirror(turning == 0 ? this->natural_u : this->natural_v);
        mirror(turning == 0 ? this->working_u : this->working_v);
        this->drop_grid();
    } else {
        this->frame = ERChgRepere3D(x, y, origin);
    }
    static_cast<Self&>(*this).scale_extents(factor);
}

template <class Self>
void FramedSurface<Self>::transformFrom(const ERPmSimilitude3D& t) {
    if (FamilyTraits<Self>::turning < 0) this->adjust();
    ERAnyBoundedSurface::transformFrom(t);
    move([&t](auto& x) { t.TransFrom(x); }, std::fabs(t.getFactHomo()));
}

template <class Self>
void FramedSurface<Self>::transformFrom(const ERPmIsometrie3D& t) {
    ERAnyBoundedSurface::transformFrom(t);
    this->frame = t * this->frame;
}

template <class Self>
void FramedSurface<Self>::transformTo(const ERPmSimilitude3D& t) {
    if (FamilyTraits<Self>::turning < 0) this->adjust();
    ERAnyBoundedSurface::transformTo(t);
    move([&t](auto& x) { t.TransTo(x); }, 1.0 / std::fabs(t.getFactHomo()));
}

template <class Self>
void FramedSurface<Self>::transformTo(const ERPmIsometrie3D& t) {
    ERAnyBoundedSurface::transformTo(t);
    this->frame = ~t * this->frame;
}

template <class Self>
ERObject* FramedSurface<Self>::getCopy() const {
    return new Self(self());
}

template <class Self>
ERPoint3D FramedSurface<Self>::in_frame(const ERPoint3D& p) const {
    ERPoint3D local = p;
    return this->frame.TransTo(local);
}

template <class Self>
ERPmIsometrie3D FramedSurface<Self>::raised_frame(double height) const {
    return ERTranslation3D(axis(Coord3D_Z) * height) * this->frame;
}

} // namespace velm::detail
