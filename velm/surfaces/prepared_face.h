// velm::PreparedFace: an immutable snapshot of a trimmed surface, with the place of a parameter in
// its trim by the curves themselves.
//
//     const auto face = velm::prepare_face(trimmed, 0.001);     // nothing if it isn't finite
//     if (face->largest_gap() > 0.01) report(face->gaps()[0].from);
//     if (face->place({u, v}) == velm::FacePlace::inside)
//         use(face->surface()(u, v));
//
// A face is the part of its surface that is inside the outer loop and outside of all holes; loops
// are closed runs of edges in the parameters. What the first boundary of an ERTrimmedSurface is,
// outer or not, is as in ERTrimmedSurface::GetRegion: away from the trim the answers are those of
// isInBound. The limits of the surface are a further outer loop where no outer one keeps to them.
// One that is beyond them by no more than 1e-4 of their extent, as in files of few digits, does:
// `overlap` says how far; outside of its limits the surface counts as its nearest point inside.
//
// Loops that cross the seam of a closed surface are cut there and closed along it, and so are loops
// that run once round, as the circles of a cylinder's band: two of them bound what is between them,
// one what is to its left, up to the limits; on a torus two bound what is to the left of the first.
// Where several parts are left of an outer loop, the face has the limits for its outer loop and
// what is between the parts for holes. More than two loops that run round, those of a torus in
// different directions and a single one there bound nothing: they are closed by bridges.
//
// Gaps and overlaps. Where an edge does not end where the next one starts, a straight bridge in the
// parameters joins them, so that every loop is closed and inside means the same everywhere. The
// length of a bridge on the surface is a gap; all of them are listed. A bridge without length on
// the surface, as along a pole, is none. What is within `tolerance` of an edge, or as near to a
// bridge as that is long, is on the edge; everything else is certainly inside or outside: by the
// parity of crossings of a ray with lines and with the monotone stretches of the curves, to the
// rounding of their points, which the tolerance covers.
//
// Distances are measured on the surface, between points. The nearest edge is looked for in the
// parameters, scaled so that both count alike on average, and its foot then polished on the
// surface: where the surface is sheared or unevenly fast, another edge may be nearer.
//
// Use from threads: nothing changes after construction and there is no cache, so any number of
// threads may ask one object without a lock. Copies share the tables. No question allocates.
#pragma once

#include "velm/curves/prepared_curve.h"
#include "velm/export.h"
#include "velm/surfaces/prepared_surface.h"

#include <memory>
#include <optional>
#include <span>

class ERAnyBoundedSurface;

namespace velm {

namespace detail {
struct FaceTables;
}

/// Where a parameter is in a face.
enum class FacePlace { inside, outside, on_edge };

/// A place on an edge of the trim.
struct TrimPlace {
    int loop = 0;
    int edge = 0;
    double part = 0.0;   ///< of the way along the edge, by its parameter, from 0 to 1
    ERPoint2D parameter; ///< on the surface
};

/// The nearest place on the trim.
struct TrimFoot : TrimPlace {
    ERPoint3D point;
    double distance = 0.0; ///< on the surface, from the point of the parameter asked about
};

/// An edge of the trim.
struct TrimEdge {
    ERPoint2D start, end; ///< parameters on the surface
    bool bridge = false;  ///< no curve of the trim: it joins two that don't meet
    /// Null for a straight edge, else the curve; its ordinates are v times v_scale().
    const PreparedCurve<2>* curve = nullptr;
};

/// A bridge that has a length on the surface.
struct TrimGap {
    int loop = 0;
    int edge = 0;
    double length = 0.0; ///< model units
    ERPoint2D from, to;  ///< parameters
};

class VELM_API PreparedFace {
public:
    const PreparedSurface& surface() const;

    int loops() const;
    /// Whether the face is outside of the loop.
    bool is_hole(int loop) const;
    /// Whether the loop is the rectangle of the surface's limits.
    bool is_limits(int loop) const;
    int edges(int loop) const;
    TrimEdge edge(int loop, int i) const;
    /// A power of two, by which ordinates of the edges' curves are larger than v.
    double v_scale() const;
    /// The parameter at a part of the way along an edge.
    ERPoint2D parameter(int loop, int edge, double part) const;

    /// A place that is as near to an edge as this is on it: what was given, or the rounding of
    /// points on the surface if that is more.
    double tolerance() const;
    /// The longest first.
    std::span<const TrimGap> gaps() const;
    /// 0 if all loops are closed to the rounding of points.
    double largest_gap() const;

    /// How far the outer loop that keeps to the limits is beyond them, as the length by which that
    /// much of the parameter moves a point at the greatest speed; 0 where it isn't.
    double overlap() const;

    /// Where a parameter is; outside for one that isn't finite.
    FacePlace place(const ERPoint2D& parameter) const;
    /// The nearest edge of all loops. `parameter` is finite; its point is that of the nearest
    /// parameter inside the limits.
    TrimFoot nearest_trim(const ERPoint2D& parameter) const;

private:
    friend struct detail::FaceTables;
    explicit PreparedFace(std::shared_ptr<const detail::FaceTables> tables);

    std::shared_ptr<const detail::FaceTables> tables_;
};

/// The prepared face of a trimmed surface, or of any other surface as a face of its limits. A
/// trimmed surface of a trimmed one is a face with the loops of both. Nothing where
/// velm::prepare has none for the surface that is trimmed, for a boundary without a curve, and for
/// curves that can't be prepared (see curves/prepare.h). `tolerance` is in model units.
VELM_API std::optional<PreparedFace> prepare_face(const ERAnyBoundedSurface& face,
                                                  double tolerance = 0.0);

} // namespace velm
