// velm::Plane, velm::Space: the dimension traits that templates shared by 2D and 3D classes stand
// on.
#pragma once

#include "velm/frame/enumerations.h"
#include "velm/fwd.h"

namespace velm {

/// The types of the plane.
struct Plane {
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
};

/// The types of space.
struct Space {
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
};

} // namespace velm
