// velm::CurveEdge: a free-form edge of a contour, with what the questions about an outline need of
// it.
//
//     for (const ERCpoleNURBS2D& part : velm::CurveEdge::smooth_parts(curve))
//         contour.append(part.firstPt(), velm::CurveEdge::make(part));
#pragma once

#include "velm/curves/nurbs_curve.h"
#include "velm/curves/prepared_curve.h"
#include "velm/export.h"

#include <memory>
#include <vector>

namespace velm {

/// An immutable snapshot of a NURBS curve, shared by the contours that hold it and by any number of
/// threads. Parts of the way along it are parts of its parameter interval, from 0 to 1.
class VELM_API CurveEdge {
public:
    /// Null for a curve that can't be prepared (see `velm::prepare`).
    static std::shared_ptr<const CurveEdge> make(const ERCpoleNURBS2D& curve);
    /// The curve cut where its tangent turns by more than 1e-9: inside an edge the outline is
    /// smooth, so that the tangent at a foot separates the sides. Empty for a curve that can't be
    /// prepared.
    static std::vector<ERCpoleNURBS2D> smooth_parts(const ERCpoleNURBS2D& curve);

    const ERCpoleNURBS2D& nurbs() const { return nurbs_; }
    const PreparedCurve<2>& prepared() const { return prepared_; }
    std::shared_ptr<const CurveEdge> reversed() const;
    /// With all lengths times a power of two, which is exact.
    std::shared_ptr<const CurveEdge> scaled(double factor) const;

    ERPoint2D point(double part) const;
    ERPoint2D start() const { return point(0.0); }
    ERPoint2D end() const { return point(1.0); }
    /// Along the curve, of any length; where the derivative vanishes, from or towards a place next
    /// to it.
    ERVector2D direction(double part) const;
    /// Positive where the curve turns left; 0 where it isn't defined.
    double curvature(double part) const;

    /// By Gauss's rule on each piece of the prepared curve, to about 1e-9 of the value.
    double length() const { return length_; }
    /// Twice the area between the curve and its chord, positive on the left of the chord's way
    /// back; to about 1e-9 of the square of the size.
    double twice_area() const { return twice_area_; }

    struct Foot {
        ERPoint2D point;
        double part = 0.0;
    };
    /// The certified nearest point.
    Foot nearest(const ERPoint2D& p) const;

    /// Whether the edge from a to b along this curve crosses the horizontal ray from p to the right
    /// an odd number of times. The curve is cut into stretches along which the ordinate rises or
    /// falls, between poles that do (variation diminishing), so that no crossing is lost; a and b,
    /// its ends as the contour has them, take the places of its own.
    bool crosses_ray(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& p) const;

private:
    /// A stretch along which the ordinate doesn't change direction.
    struct Stretch {
        double from, to; // parameters
        ERPoint2D first, last;
        double xmin, xmax;
        bool rising;
    };
    class Cutter;
    CurveEdge(const ERCpoleNURBS2D& nurbs, PreparedCurve<2> prepared);
    void measure();
    bool lies_right(const Stretch& stretch, const ERPoint2D& p) const;
    double parameter(double part) const;

    ERCpoleNURBS2D nurbs_;
    PreparedCurve<2> prepared_;
    std::vector<Stretch> stretches_;
    double length_ = 0.0;
    double twice_area_ = 0.0;
};

} // namespace velm
