// velm::detail::TrimRing: loops that run once round a closed surface, such as the two circles of a
// band of a cylinder, closed along the surface's seam.
#pragma once

#include "velm/curves/nurbs_curve.h"
#include "velm/surfaces/prepared_surface.h"

#include <optional>
#include <vector>

namespace velm::detail {

/// A part of a trim in the parameters, ordinates times a scale.
struct TrimPiece {
    ERPoint2D start, end;
    std::optional<ERCpoleNURBS2D> curve; ///< none: it is straight

    static TrimPiece line(const ERPoint2D& from, const ERPoint2D& to) { return {from, to, {}}; }
    static TrimPiece of(ERCpoleNURBS2D curve);
    ERPoint2D middle() const;
    void shift(const ERVector2D& way);
    void reverse();
};

/// The directions in which a surface closes, axis 0 along u and 1 along v.
struct SurfaceSeams {
    SurfaceSeams(const PreparedSurface& surface, double v_scale);

    const PreparedSurface* surface;
    double v_scale;
    double low[2], high[2]; ///< scaled limits
    bool closed[2];

    double period(int axis) const { return high[axis] - low[axis]; }
    /// Whether a round along the axis through p is one point, as at a pole.
    bool is_point(const ERPoint2D& p, int axis) const;

private:
    ERPoint3D at(ERPoint2D p) const;
};

/// A chain from one side of the seam to the other.
struct TrimRing {
    int axis = 0;
    bool rises = true; ///< goes from the low limit to the high one
    std::vector<TrimPiece> pieces;

    /// The coordinate across the way at its start.
    double across() const { return pieces.front().start[1 - axis]; }
    void reverse();
};

/// The ring that a loop's pieces are, where they go once round, wherever they start and also where
/// they change from one side of the seam to the other. Nothing for other loops, and for a ring that
/// meets the seam more than once.
std::optional<TrimRing> ring_of(std::vector<TrimPiece> pieces, const SurfaceSeams& seams);

/// The closed loop of rings: two bound what is between them; one what is to its left, up to the
/// limits. On a surface that is closed in both directions two bound what is to the left of the
/// first. Nothing for more rings, and for rings in different directions.
struct RingLoop {
    std::vector<TrimPiece> pieces;
    bool hole = false; ///< the face is outside of the loop
};
std::optional<RingLoop> loop_of(std::vector<TrimRing> rings, const SurfaceSeams& seams);

} // namespace velm::detail
