// Contour, Outline: closed runs of straight edges and arcs, and the material that they bound.
//
//     velm::Outline outline;
//     outline.contours.push_back(velm::Polygon{{0, 0}, {10, 0}, {10, 10}, {0, 10}});
//     outline.contours.push_back(velm::Contour::circle({5, 5}, 2)); // a bore
//     if (velm::settle_areas(outline)) return; // two contours cross (outline_nesting.h)
//     const velm::Profile profile(outline);    // to compare points with (profile.h)
//
// An edge is a line or an arc. Whatever depends on that asks `arc(edge)` first: the members of
// Contour, crosses_ray (ray_crossing.h), the foot of a point (edge_tree.cpp), the cuts of two edges
// (outline_nesting.cpp) and the side of a point (profile.cpp). Another kind of edge has its place
// beside the arc in each of these.
//
// A contour is built edge by edge and not changed after. Several threads may then read it: nothing
// is cached, and nothing is allocated but by `scaled`.
#pragma once

#include "velm/export.h"
#include "velm/frame/box.h"
#include "velm/frame/point.h"
#include "velm/frame/vec.h"
#include "velm/frame/vector.h"
#include "velm/planar/curve_edge.h"
#include "velm/wireframe/arc.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace velm {

using Polygon = QuickAlgebra::ERVec<ERPoint2D>;

/// As many edges as vertices: edge i leads from vertex i to the next one, the last to vertex 0,
/// straight, along an arc or along a free-form curve. A circle is one vertex and one edge, an arc
/// of a whole turn; so is a closed curve.
///
/// The ends of an arc's or a curve's edge are its vertices. Where these have few digits, the arc or
/// curve misses them by up to `mismatch()`.
class VELM_API Contour {
public:
    Contour() = default;
    /// Straight edges. The vertices are shared, not copied.
    Contour(Polygon vertices) : vertices_(std::move(vertices)) {}
    static Contour circle(const ERPoint2D& centre, double radius);

    /// Appends a vertex and the straight edge that leaves it, or one along an arc.
    void append(const ERPoint2D& vertex);
    void append(const ERPoint2D& vertex, const ERArc2D& arc);
    /// Along a curve that starts there, within the tolerance of whoever made it; smooth inside, see
    /// `CurveEdge::smooth_parts`.
    void append(const ERPoint2D& vertex, std::shared_ptr<const CurveEdge> curve);

    int size() const { return vertices_.size(); }
    /// The vertex from which edge i leaves; the one of index `size()` is the first again.
    const ERPoint2D& operator[](int i) const {
        return vertices_.data()[i == vertices_.size() ? 0 : i];
    }
    const Polygon& vertices() const { return vertices_; }
    /// Whether all edges are straight.
    bool is_polygon() const { return arcs_.empty() && curves_.empty(); }
    bool has_arcs() const { return !arcs_.empty(); }
    bool has_curves() const { return !curves_.empty(); }
    bool is_straight(int edge) const { return !arc(edge) && !curve(edge); }
    /// Null for an edge of another kind. The arc is clockwise where its end angle is below its
    /// start.
    const ERArc2D* arc(int edge) const {
        if (arcs_.empty()) return nullptr;
        const int at = kind_of_edge_[static_cast<std::size_t>(edge)];
        return at < 0 ? nullptr : &arcs_[static_cast<std::size_t>(at)];
    }
    /// Null for an edge of another kind.
    const CurveEdge* curve(int edge) const {
        if (curves_.empty()) return nullptr;
        const int at = kind_of_edge_[static_cast<std::size_t>(edge)];
        return at > first_curve ? nullptr
                                : curves_[static_cast<std::size_t>(first_curve - at)].get();
    }
    std::span<const ERArc2D> arcs() const { return arcs_; }
    std::span<const std::shared_ptr<const CurveEdge>> curves() const { return curves_; }

    double length(int edge) const;
    ERMinimax2D box(int edge) const;
    ERMinimax2D box() const;
    /// A vector along an edge where it leaves its vertex, or where it ends in the next; the whole
    /// edge where it is straight.
    ERVector2D direction_at_start(int edge) const;
    ERVector2D direction_at_end(int edge) const;
    /// Positive for a contour that turns left; computed about its first vertex, so that the
    /// distance from the origin doesn't blur it.
    double signed_area() const;
    /// The largest magnitude in a coordinate of a vertex, of an arc's whole circle or of a curve.
    double magnitude() const;
    /// How far a vertex lies off the circle of an arc or the end of a curve that ends there, at
    /// most.
    double mismatch() const;

    /// With all lengths times a power of two, which is exact.
    Contour scaled(double factor) const;

private:
    Polygon vertices_;
    std::vector<ERArc2D> arcs_;
    std::vector<std::shared_ptr<const CurveEdge>> curves_;
    // The index of an arc, `straight`, or `first_curve` less the index of a curve; empty in a
    // polygon.
    std::vector<int> kind_of_edge_;
    static constexpr int straight = -1, first_curve = -2;
    void append(const ERPoint2D& vertex, int kind);
};

/// Material within an outer contour and outside of its holes, by their indices.
struct OutlineArea {
    int outer = 0;
    std::vector<int> holes;
};

struct VELM_API Outline {
    /// Turned as the file has them. No two neighbouring vertices of a straight edge are equal;
    /// straight edges alone are at least three, not all on one line.
    std::vector<Contour> contours;
    /// What the material consists of, in the order of the outer contours; `settle_areas` sets it.
    /// Each contour belongs to one.
    std::vector<OutlineArea> areas;
    std::vector<bool> is_hole; ///< of each contour

    ERMinimax2D box() const;
    /// Of all contours.
    std::uint64_t edge_count() const;
};

} // namespace velm
