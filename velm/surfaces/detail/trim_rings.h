// velm::detail::TrimRing: loops that run once round a closed surface, such as the two circles of a
// band of a cylinder, and what cuts loops at the surface's seams.
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
    /// At a part of the way.
    ERPoint2D at(double part) const;
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

/// Shifts pieces by whole rounds so that each starts where the one before it ends.
void unwrap(std::vector<TrimPiece>& pieces, const SurfaceSeams& seams);
/// The pieces cut at the seam of an axis, each moved inside the limits.
std::vector<TrimPiece> cut_at_seam(const std::vector<TrimPiece>& pieces, int axis,
                                   const SurfaceSeams& seams);

/// A loop that goes once round.
struct TrimRing {
    int axis = 0;
    bool rises = true;             ///< along the axis
    std::vector<TrimPiece> pieces; ///< unwrapped

    /// The mean coordinate across the way.
    double across() const;
    void reverse();
};

/// The ring that a loop's pieces are, where they go once round, wherever they start and also where
/// they change from one side of the seam to the other. Nothing for other loops.
std::optional<TrimRing> ring_of(std::vector<TrimPiece> pieces, const SurfaceSeams& seams);

} // namespace velm::detail
