// velm::PartEdges: which edges of a part's faces are the same in space.
//
//     const auto edges = velm::PartEdges::of(faces, outward, 0.01);
//     for (const velm::PartEdge& e : edges.all())
//         if (e.kind == velm::PartEdgeKind::open) report(e.face, e.loop, e.from, e.to);
//     const velm::PartEdge& there = edges.all()[edges.at(face, loop, edge, part)];
//     if (there.mate >= 0) use(edges.all()[there.mate].face);
//
// Nothing of a file is needed, only the trims' curves in space. Each loop of each face is cut into
// stretches at its corners and at the places nearest to the corners of other loops, as far as these
// are within the tolerance; stretches that start and end together and stay that near to each other
// are one edge of the part. So an edge of one face may be several of another one, cut at other
// places, in the other direction, with another parameter, and with gaps that a file has; both sides
// of a seam pair with each other; a stretch that is one point, such as a pole or a short gap that
// is bridged, is `degenerate`. Where one of two edges goes on alone, that part of it is open.
//
// What is promised. `gap` is a distance that was measured: between the places of a pair that belong
// together, which are as dense as `bound` needs them. `bound` is proved: no point of a stretch of a
// pair is farther than this from the other stretch, in the order of a way along both, except for
// rounding. Between two neighbouring places both stretches are near to their chords, by the bounds
// of velm::polyline for the trim and of velm::flatness for the surface, and the chords are as near
// to each other as their ends are. It exceeds `gap` by at most a quarter of the tolerance or 1.6e-5
// of the part's size, whichever is more, except where that would take more than 4096 places.
//
// What is not. That all is found is not proved: a corner is where a loop turns by more than 0.2
// radians, measured over a few tolerances, and a foot on another loop the nearest of its chords,
// polished. Two edges that come together or part without a corner of either there, and without one
// of a third face, are found only where the whole stretch agrees. Edges that are within the
// tolerance of each other, as those of a thin wall, count as the same: a tolerance has to be below
// the size of the smallest detail. Curves that a file computed in several ways differ by more than
// rounding: with the tolerance 0 they may be open.
//
// Where more than two stretches agree, as at the contact of two solids, those pair whose faces
// bound the same material: from a face through its material to the next one around the edge.
//
// Of n edges the search takes the time of n log n: corners ask a tree of boxes of chords.
//
// The bound is one of the Frechet distance (Alt and Godau 1995, IJCGA 5, 75-91) of the stretches.
// How stretches are matched, by corners, is the library's own.
//
// Use from threads: nothing changes after construction, and no question allocates; `of` works in
// the caller's thread. It keeps nothing of the faces.
#pragma once

#include "velm/export.h"
#include "velm/surfaces/prepared_face.h"

#include <span>
#include <vector>

namespace velm {

enum class PartEdgeKind {
    paired,
    open,       ///< no other stretch is there
    degenerate, ///< one point in space
};

/// A stretch of a loop. Places along a loop are the number of an edge plus the part of the way
/// along it; `to` is after `from` by at most a round, and may be beyond the loop's last edge.
struct PartEdge {
    int face = 0;
    int loop = 0;
    double from = 0.0, to = 0.0;
    int start = 0, end = 0; ///< numbers of the corners of the part that it joins
    PartEdgeKind kind = PartEdgeKind::open;
    int mate = -1;         ///< of a pair, the index of the other one
    int joint = -1;        ///< equal for all stretches that agree, -1 if degenerate
    bool reversed = false; ///< whether it goes the other way than the joint's first stretch
    /// Whether both faces have their material on the same side of the edge, as on a solid.
    bool agrees = true;
    double gap = 0.0;   ///< of a pair, model units
    double bound = 0.0; ///< of a pair
};

class VELM_API PartEdges {
public:
    /// `outward` is 1 or -1 for each face, see velm::outward_side; where it is shorter than `faces`
    /// and where it is 0, it counts as 1. `tolerance`, in model units, is raised to that of the
    /// faces, which is at least the rounding of their points; one that is negative or not finite
    /// counts as 0. Without faces there are no edges.
    static PartEdges of(std::span<const PreparedFace> faces, std::span<const int> outward,
                        double tolerance);

    /// By face, loop, and along the loop.
    std::span<const PartEdge> all() const { return edges_; }
    /// Those of a loop are from begin_of to before end_of.
    int begin_of(int face, int loop) const {
        return first_[static_cast<std::size_t>(face)][static_cast<std::size_t>(loop)];
    }
    int end_of(int face, int loop) const { return begin_of(face, loop + 1); }
    /// The index of the stretch that holds a place; all four numbers are those of the face's trim,
    /// as those of a FaceFoot that is on it.
    int at(int face, int loop, int edge, double part) const;

    int corners() const { return corners_; }
    int joints() const { return joints_; }
    /// What was used: see of().
    double tolerance() const { return tolerance_; }
    /// Of all pairs.
    double largest_gap() const;
    /// The number of open stretches; 0 for a part without a hole.
    int open() const;

private:
    std::vector<PartEdge> edges_;
    std::vector<std::vector<int>> first_; ///< by face and loop; one more at the end of each
    int corners_ = 0;
    int joints_ = 0;
    double tolerance_ = 0.0;
};

} // namespace velm
