// velm::detail::TurnProjection: the image of a circle or ellipse of space on the xy plane of a
// frame.
#pragma once

#include "velm/wireframe/circle_in_space.h"
#include "velm/wireframe/ellipse_in_space.h"
#include "velm/wireframe/segment.h"

namespace velm::detail {

/// The point of parameter t goes to
/// centre + half_big cos (t - phase) big + half_small sin (t - phase) (big turned by +90 degrees).
struct TurnProjection {
    TurnProjection(const ERCircle3D& circle, const ERPmIsometrie3D& frame);
    TurnProjection(const EREllipse3D& ellipse, const ERPmIsometrie3D& frame);

    EREllipse2D ellipse() const;
    /// The image of a curve seen edge on, and that of the parameters in `bound`.
    ERSegment2D segment() const;
    ERSegment2D segment(const ERLimites& bound) const;
    /// The arc of the ellipse from the parameter `first` to `last`, in that direction; at most one
    /// turn.
    t_SmartPtr<EREntity2DWF> arc(double first, double last) const;

    /// 1.0, or -1.0 if the curve is seen from the back and so turns clockwise.
    double sense() const { return half_small * half_big < 0.0 ? -1.0 : 1.0; }

    ERPoint2D centre;
    /// A unit direction; the x axis if the image is a point.
    ERVector2D big;
    double half_big;
    double half_small;
    /// The distance of the foci from the centre.
    double half_focal;
    /// The parameter at which the end of the big axis is reached.
    double phase;
};

} // namespace velm::detail
