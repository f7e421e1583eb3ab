#include "velm/surfaces/face_tessellation.h"

#include "velm/curves/curve_bounds.h"
#include "velm/frame/point_functions.h"
#include "velm/surfaces/detail/face_mesher.h"

#include <algorithm>
#include <cmath>

namespace velm {

namespace {

using detail::TrimPolygon;

constexpr std::size_t most_halvings = 24;

// The polygons of a face's loops.
class TrimPolygons {
public:
    TrimPolygons(detail::FaceMetric& metric, double allowed)
        : metric_(metric), face_(metric.face()), allowed_(allowed) {}

    // The loop's curves as a polygon, with a vertex wherever it crosses a break, and with sides
    // over which the surface is near enough to its chord. Short bridges become one vertex.
    TrimPolygon of(int loop) {
        std::vector<ERPoint2D> corners;
        const double error = allowed_ / metric_.speed();
        for (int i = 0; i < face_.edges(loop); ++i) {
            const TrimEdge edge = face_.edge(loop, i);
            if (edge.bridge && length_of(edge) <= allowed_) continue;
            add_corner(edge.start, corners);
            if (edge.curve == nullptr) continue;
            const auto vertices = polyline(*edge.curve, error);
            for (std::size_t k = 1; k + 1 < vertices.size(); ++k)
                add_corner({vertices[k].point.x(), vertices[k].point.y() / face_.v_scale()},
                           corners);
        }
        TrimPolygon polygon;
        for (const ERPoint2D& at : cut_into_flat(crossing_breaks(corners)))
            polygon.push_back({at, -1, {}, detail::TrimSideKind::own});
        return polygon;
    }

private:
    void add_corner(const ERPoint2D& at, std::vector<ERPoint2D>& corners) const {
        const ERPoint2D corner = metric_.on_lines(at);
        if (corners.empty() || !(corners.back() == corner)) corners.push_back(corner);
    }

    double length_of(const TrimEdge& bridge) const {
        return distance(face_.surface()(bridge.start.x(), bridge.start.y()),
                        face_.surface()(bridge.end.x(), bridge.end.y()));
    }

    std::vector<ERPoint2D> crossing_breaks(const std::vector<ERPoint2D>& corners) const {
        std::vector<ERPoint2D> polygon;
        for (std::size_t k = 0; k < corners.size(); ++k) {
            polygon.push_back(corners[k]);
            add_crossings(corners[k], corners[(k + 1) % corners.size()], polygon);
        }
        return polygon;
    }

    std::vector<ERPoint2D> cut_into_flat(const std::vector<ERPoint2D>& corners) {
        std::vector<ERPoint2D> polygon;
        for (std::size_t k = 0; k < corners.size(); ++k) {
            std::vector<ERPoint2D> ends = {corners[(k + 1) % corners.size()]};
            ERPoint2D from = corners[k];
            while (!ends.empty()) {
                if (ends.size() < most_halvings &&
                    metric_.deviation(from, ends.back()) > allowed_) {
                    ends.push_back(milieu(from, ends.back()));
                    continue;
                }
                polygon.push_back(from);
                from = ends.back();
                ends.pop_back();
            }
        }
        return polygon;
    }

    void add_crossings(const ERPoint2D& from, const ERPoint2D& to,
                       std::vector<ERPoint2D>& polygon) const {
        std::vector<std::pair<double, ERPoint2D>> found; // by the part of the way
        const auto look = [&](const std::vector<double>& lines, int axis) {
            for (const double line : lines) {
                if (!((from[axis] - line) * (to[axis] - line) < 0.0)) continue;
                const double part = (line - from[axis]) / (to[axis] - from[axis]);
                ERPoint2D at = from + (to - from) * part;
                (axis == 0 ? at.x() : at.y()) = line;
                found.emplace_back(part, at);
            }
        };
        look(metric_.lines_u(), 0);
        look(metric_.lines_v(), 1);
        std::ranges::sort(found, {}, [](const auto& crossing) { return crossing.first; });
        for (const auto& crossing : found)
            polygon.push_back(crossing.second);
    }

    detail::FaceMetric& metric_;
    const PreparedFace& face_;
    double allowed_;
};

} // namespace

SurfaceMesh tessellate(const PreparedFace& face, double chord_error) {
    if (!(chord_error > 0.0)) return {};
    detail::FaceMetric metric(face);
    TrimPolygons trim(metric, 0.5 * chord_error);
    std::vector<TrimPolygon> polygons;
    for (int loop = 0; loop < face.loops(); ++loop)
        polygons.push_back(trim.of(loop));
    detail::FaceMesher mesher(metric, 0.5 * chord_error, polygons);
    if (!mesher.run()) return {};
    return std::move(mesher.mesh());
}

} // namespace velm
