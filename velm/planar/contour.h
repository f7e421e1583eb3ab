// contour.h: `Contour`, a closed run of straight edges and arcs, and `Outline`.
#pragma once

#include "velm/export.h"
#include "velm/frame/box.h"
#include "velm/frame/point.h"
#include "velm/frame/vec.h"
#include "velm/frame/vector.h"
#include "velm/wireframe/arc.h"

#include <span>
#include <vector>

namespace velm {

using Polygon = QuickAlgebra::ERVec<ERPoint2D>;

/// As many edges as vertices: edge i leads from vertex i to the next one, the last to vertex 0,
/// straight or along an arc. A circle is one vertex and one edge, an arc of a whole turn.
///
/// The ends of an arc's edge are its vertices; where a file tells them with few digits, its circle
/// passes them by up to `mismatch()`.
class VELM_API Contour {
public:
    Contour() = default;
    /// Straight edges. The vertices are shared, not copied.
    Contour(Polygon vertices) : vertices_(std::move(vertices)) {}
    static Contour circle(const ERPoint2D& center, double radius);

    /// Appends a vertex and the straight edge that leaves it, or one along an arc.
    void append(const ERPoint2D& vertex);
    void append(const ERPoint2D& vertex, const ERArc2D& arc);

    int size() const { return vertices_.size(); }
    /// The vertex from which edge i leaves; the one of index `size()` is the first again.
    const ERPoint2D& operator[](int i) const {
        return vertices_.data()[i == vertices_.size() ? 0 : i];
    }
    const Polygon& vertices() const { return vertices_; }
    bool has_arcs() const { return !arcs_.empty(); }
    /// Null for a straight edge. The arc is clockwise where its end angle lies below its start.
    const ERArc2D* arc(int edge) const {
        if (arcs_.empty()) return nullptr;
        const int at = arc_of_edge_[static_cast<std::size_t>(edge)];
        return at < 0 ? nullptr : &arcs_[static_cast<std::size_t>(at)];
    }
    std::span<const ERArc2D> arcs() const { return arcs_; }

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
    /// The largest magnitude in a coordinate of a vertex or of an arc's whole circle.
    double magnitude() const;
    /// How far a vertex lies off the circle of an arc that ends there, at most.
    double mismatch() const;

    /// With all lengths times a power of two, which is exact.
    Contour scaled(double factor) const;

private:
    Polygon vertices_;
    std::vector<ERArc2D> arcs_;
    std::vector<int> arc_of_edge_; // -1 for a straight one; empty without arcs
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
    /// Of which the material consists, in the order of their outer contours: by `settle_areas`
    /// (outline_nesting.h). Each contour belongs to one.
    std::vector<OutlineArea> areas;
    std::vector<bool> is_hole; ///< of each contour

    ERMinimax2D box() const;
};

} // namespace velm
