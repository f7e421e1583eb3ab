// velm::detail::FaceMesher: the triangles between polygons of a face's trim.
//
//     FaceMesher mesher(metric, allowed, polygons);
//     if (mesher.crossing_sides().empty() && mesher.run()) use(mesher.mesh());
#pragma once

#include "velm/planar/detail/triangulation.h"
#include "velm/surfaces/detail/face_metric.h"
#include "velm/surfaces/tessellation.h"

#include <cstdint>
#include <map>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

namespace velm::detail {

/// More aren't made of one face.
inline constexpr std::size_t most_face_triangles = std::size_t(1) << 22;

enum class TrimSideKind {
    own,       ///< may be cut
    shared,    ///< another face has it too: never cut
    collapsed, ///< one point in space, which all places on it have
};

/// A vertex of a polygon, and the side from it to the next one.
struct TrimVertex {
    ERPoint2D at;
    int point = -1;     ///< of the part; below 0: one of the face's own
    ERPoint3D position; ///< of that point
    TrimSideKind side = TrimSideKind::own;
};

using TrimPolygon = std::vector<TrimVertex>;

/// By the numbers of the polygon and of the vertex at which it starts.
struct TrimSideNumber {
    int polygon = 0, vertex = 0;
    auto operator<=>(const TrimSideNumber&) const = default;
};

class FaceMesher {
public:
    /// A polygon for each loop. Triangles are cut until they are proved to be within `allowed` of
    /// the surface. Sides of the polygons don't cross breaks; shared ones are near enough.
    FaceMesher(FaceMetric& metric, double allowed, const std::vector<TrimPolygon>& polygons);

    /// Shared sides that cross or touch another one: as they are, another face would not have the
    /// same vertices along them.
    const std::vector<TrimSideNumber>& crossing_sides() const { return crossing_; }

    /// False if too many triangles are needed.
    bool run();

    SurfaceMesh& mesh() { return mesh_; }
    /// Of each vertex of the mesh: a point of the part, or, below 0, a number of the face's own.
    const std::vector<int>& points() const { return point_of_vertex_; }
    /// Points of the part that are at one place of this face.
    const std::vector<std::pair<int, int>>& same_points() const { return same_; }

private:
    struct SideKind {
        TrimSideKind kind;
        TrimSideNumber number;
    };
    static std::uint64_t key(int a, int b);

    void insert(const std::vector<TrimPolygon>& polygons);
    int place(const TrimVertex& vertex);
    bool is_enclosed(const ERPoint2D& p) const;
    void fix_breaks();
    void fix(int a, int b);
    void fix_shared(int a, int b);
    void note_crossing(int a, int b);
    void find_lost_sides();
    ERPoint2D crossing_of(int a, int b, int c, int d) const;
    void insert_cells();

    bool refine();
    int worst_side(int t);
    bool may_cut(int t, int side) const;
    bool is_sliver(int t, int side) const;
    int cut(int t, int side);
    int cut_in_the_middle(int t);

    void write();
    int write(int vertex, const ERPoint2D& middle);

    void remember(int vertex, const ERPoint2D& at);
    const ERPoint2D& parameter_of(int vertex) const {
        return parameters_[static_cast<std::size_t>(vertex)];
    }
    int point_of(int vertex) const;

    FaceMetric& metric_;
    double allowed_;
    double equal_;
    bool has_points_ = false;
    Triangulation triangles_;
    std::vector<std::vector<ERPoint2D>> outlines_; ///< the polygons in the triangulation's plane
    std::vector<ERPoint2D> parameters_;            ///< of the triangulation's vertices
    std::unordered_map<int, std::pair<int, ERPoint3D>> points_; ///< of them, where they have one
    std::unordered_map<std::uint64_t, SideKind> sides_;         ///< shared and collapsed ones
    std::map<double, std::map<double, int>> on_u_, on_v_; ///< vertices on the breaks, in order
    std::vector<TrimSideNumber> crossing_;
    std::vector<std::pair<int, int>> same_;
    SurfaceMesh mesh_;
    std::vector<int> point_of_vertex_;
    std::map<std::tuple<int, std::ptrdiff_t, std::ptrdiff_t>, int> numbers_;
};

} // namespace velm::detail
