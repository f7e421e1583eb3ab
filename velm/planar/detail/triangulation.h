// velm::detail::Triangulation: points of the plane and segments between them as edges of triangles
// that are Delaunay elsewhere.
//
//     Triangulation triangles(box);                     // holds all points to come
//     const int a = triangles.insert({0, 0}), b = triangles.insert({4, 1});
//     Triangulation::Side crossed;
//     if (triangles.constrain(a, b, crossed) == b)
//     for (const Triangulation::Triangle& t : triangles.all()) ...
//
// Points are inserted one by one (Lawson, Software for C1 surface interpolation, 1977), segments by
// flipping the edges that they cross (Sloan, A fast algorithm for generating constrained Delaunay
// triangulations, 1993). Sides are decided exactly, so that triangles never overlap; an edge is
// flipped only if rounding can't have made the circle test wrong, so that every insertion ends.
#pragma once

#include "velm/frame/box.h"
#include "velm/frame/point.h"

#include <array>
#include <vector>

namespace velm::detail {

class Triangulation {
public:
    static constexpr int none = -1;
    /// The corners of the rectangle are the vertices 0 to 3.
    static constexpr int first_vertex = 4;

    /// Counter-clockwise; side i is opposite to vertex i.
    struct Triangle {
        std::array<int, 3> vertex;
        std::array<int, 3> next;     ///< the triangle across side i, or none
        std::array<bool, 3> fixed{}; ///< whether side i is part of a constraint
        int region = 0;              ///< as `label` gave it; kept by insertions between constraints
    };

    /// Two triangles of a rectangle wider than the box.
    explicit Triangulation(const ERMinimax2D& box);

    /// The number of the vertex at p, a new one unless one is exactly there; none for a point
    /// outside of the rectangle.
    int insert(const ERPoint2D& p);
    /// The same for a point on a side, or so near that only rounding keeps it from that: the side
    /// is split there. None where that would turn a triangle over.
    int split(int triangle, int side, const ERPoint2D& p);

    /// A side of a triangle.
    struct Side {
        int triangle = none, side = 0;
    };
    /// Makes the segment a side, or a chain of sides through the vertices that are on it. Returns
    /// where it stopped: b, or, with the part before it done, a vertex after which it crosses
    /// another constraint, which is then in `crossed`.
    int constrain(int a, int b, Side& crossed);

    bool has_side(int a, int b) const {
        Side found;
        return find_side(a, b, found);
    }
    /// The side of a constraint on which p is exactly; that of no triangle if there is none, and at
    /// a vertex.
    Side constraint_at(const ERPoint2D& p) const;

    /// Numbers the regions between constraints: that at the edge of the rectangle is `outside`, any
    /// other one region_of(p) for a p inside of it, the middle of its largest triangle.
    template <class RegionOf>
    void label(int outside, RegionOf region_of);

    const std::vector<Triangle>& all() const { return triangles_; }
    const std::vector<ERPoint2D>& points() const { return points_; }
    /// The triangles that have changed since the last call, some perhaps more than once.
    std::vector<int> take_changed();

private:
    static int after(int i) { return i == 2 ? 0 : i + 1; }
    static int before(int i) { return i == 0 ? 2 : i - 1; }

    const ERPoint2D& point(int vertex) const { return points_[static_cast<std::size_t>(vertex)]; }
    Triangle& at(int t) { return triangles_[static_cast<std::size_t>(t)]; }
    const Triangle& at(int t) const { return triangles_[static_cast<std::size_t>(t)]; }
    int turn(int a, int b, int c) const;
    int side_of(int t, int neighbour) const;
    int place_of(int t, int vertex) const;

    int add_point(const ERPoint2D& p);
    int add_triangle(int a, int b, int c);
    void join(int t, int side, int u, bool fixed);
    int locate(const ERPoint2D& p) const;
    bool holds(int t, const ERPoint2D& p) const;
    int insert_inside(int t, const ERPoint2D& p);
    int insert_on(int t, int side, const ERPoint2D& p);

    void make_delaunay(std::vector<Side> sides);
    bool wants_flip(int t, int side) const;
    bool is_convex(int t, int side) const;
    void flip(int t, int side);

    bool find_side(int a, int b, Side& found) const;
    /// Makes the side a constraint, if it is there.
    bool fix(int a, int b);
    /// The next vertex on the way from a to b: b itself, or one on the segment before it, after the
    /// sides between were flipped away; none at another constraint.
    int advance(int a, int b, Side& met);
    int collect_crossed(int a, int b, std::vector<std::array<int, 2>>& crossed, Side& met) const;
    void clear_way(int a, int end, std::vector<std::array<int, 2>> crossed);

    /// The triangles that are reached from t without crossing a constraint, largest first.
    std::vector<int> component(int t, std::vector<bool>& seen) const;
    double doubled_area(int t) const;
    ERPoint2D middle(int t) const;

    std::vector<ERPoint2D> points_;
    std::vector<Triangle> triangles_;
    std::vector<int> triangle_of_; ///< one at each vertex
    std::vector<int> changed_;
    mutable int last_ = 0; ///< where the next search starts
};

template <class RegionOf>
void Triangulation::label(int outside, RegionOf region_of) {
    std::vector<bool> seen(triangles_.size(), false);
    for (const int each : component(triangle_of_.front(), seen))
        at(each).region = outside;
    for (std::size_t t = 0; t < triangles_.size(); ++t) {
        if (seen[t]) continue;
        const std::vector<int> together = component(static_cast<int>(t), seen);
        const int region = region_of(middle(together.front()));
        for (const int each : together)
            at(each).region = region;
    }
}

} // namespace velm::detail
