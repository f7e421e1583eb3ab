// velm::Plane, velm::Space: the dimension traits of the templates shared by 2D and 3D classes.
#pragma once

#include "velm/export.h"
#include "velm/frame/enumerations.h"
#include "velm/fwd.h"

namespace velm {

/// The types of the plane.
struct VELM_API Plane {
    static constexpr int size = 2;
    /// Calls f with the index of each axis in order.
    template <class F>
    static constexpr void for_axes(F f) {
        f(0);
        f(1);
    }
    /// Whether f holds on all axes; stops at the first where it doesn't.
    template <class F>
    static constexpr bool all_axes(F f) {
        return f(0) && f(1);
    }
    using Point = ERPoint2D;
    using Vector = ERVector2D;
    using Pole = ERPole2DH;
    using Box = ERMinimax2D;
    using Coord = Coord2D;
    using BoxField = MinMax2D;
    using InfoPoint = ERInfoPoint2D;
    using ListedPoint = ERPoint12;
    using PointList = ERPoint12List;
    using Entity = EREntity2D;
    using WireEntity = EREntity2DWF;
    using FiniteEntity = ERFiniteEntity2DWF;
    using LimitedEntity = ERLimitedEntity2DWF;
    using TrimmedEntity = ERTrimmedEntity2DWF;
    using Segment = ERSegment2D;
    using PoleCurve = ERCpoleRep2D;
    using NurbsCurve = ERCpoleNURBS2D;
    using Polyline = ERPolyline2D;
    using Patch = ERPatchCPoly2D;
};

/// The types of space.
struct VELM_API Space {
    static constexpr int size = 3;
    template <class F>
    static constexpr void for_axes(F f) {
        f(0);
        f(1);
        f(2);
    }
    template <class F>
    static constexpr bool all_axes(F f) {
        return f(0) && f(1) && f(2);
    }
    using Point = ERPoint3D;
    using Vector = ERVector3D;
    using Pole = ERPole3DH;
    using Box = ERMinimax3D;
    using Coord = Coord3D;
    using BoxField = MinMax3D;
    using InfoPoint = ERInfoPoint3DWF;
    using ListedPoint = ERPoint13;
    using PointList = ERPoint13List;
    using Entity = EREntity3D;
    using WireEntity = EREntity3DWF;
    using FiniteEntity = ERFiniteEntity3DWF;
    using LimitedEntity = ERLimitedEntity3DWF;
    using TrimmedEntity = ERTrimmedEntity3DWF;
    using Segment = ERSegment3D;
    using PoleCurve = ERCpoleRep3D;
    using NurbsCurve = ERCpoleNURBS3D;
    using Polyline = ERPolyline3D;
    using Patch = ERPatchCPoly3D;
};

} // namespace velm
