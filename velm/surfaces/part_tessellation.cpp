#include "velm/surfaces/part_tessellation.h"

#include "velm/frame/point_functions.h"
#include "velm/surfaces/detail/face_mesher.h"
#include "velm/surfaces/detail/joint_cut.h"
#include "velm/surfaces/prepared_part.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <numeric>
#include <tuple>
#include <utility>

namespace velm {

namespace {

using detail::JointCut;
using detail::JointPlace;
using detail::LiftedLoop;
using detail::TrimPolygon;
using detail::TrimSideKind;
using detail::TrimSideNumber;

// Sides of edges are this much nearer to the surface than triangles have to be: what is beside them
// can't be cut there.
constexpr double side_share = 0.6;
constexpr double loop_share = 0.125; // of the chord error: how near the sides of loops are
constexpr int most_rounds = 12;      // of halving sides that cross

void append(const SurfaceMesh& part, int face, bool turned, PartMesh& mesh) {
    const int first = static_cast<int>(mesh.positions.size());
    mesh.positions.insert(mesh.positions.end(), part.positions.begin(), part.positions.end());
    mesh.parameters.insert(mesh.parameters.end(), part.parameters.begin(), part.parameters.end());
    for (const ERVector3D& normal : part.normals)
        mesh.normals.push_back(turned ? -normal : normal);
    for (auto [a, b, c] : part.triangles) {
        if (turned) std::swap(b, c);
        mesh.triangles.push_back({first + a, first + b, first + c});
    }
    mesh.face_of_triangle.resize(mesh.triangles.size(), face);
    mesh.certified = mesh.certified && part.certified;
}

// Sides of triangles between points: whether they meet, and chains of those that don't.
class Borders {
public:
    explicit Borders(PartMesh& mesh) : mesh_(mesh) {
        for (const auto& t : mesh.triangles)
            for (std::size_t i = 0; i < 3; ++i)
                add(t[i], t[(i + 1) % 3]);
        std::ranges::sort(sides_, {},
                          [](const Side& s) { return std::tuple(s.low, s.high, s.rises, s.from); });
    }

    void find() {
        mesh_.closed = mesh_.manifold = true;
        for (std::size_t first = 0, last = 0; first < sides_.size(); first = last) {
            int rising = 0;
            for (last = first; last < sides_.size() && sides_[last].low == sides_[first].low &&
                               sides_[last].high == sides_[first].high;
                 ++last)
                rising += sides_[last].rises;
            const int falling = static_cast<int>(last - first) - rising;
            mesh_.manifold = mesh_.manifold && last - first <= 2;
            if (rising == falling) continue;
            mesh_.closed = false;
            // Falling ones come first.
            const std::size_t from = rising > falling ? first + 2 * std::size_t(falling) : first;
            const std::size_t count = std::size_t(std::abs(rising - falling));
            for (std::size_t k = 0; k < count; ++k)
                open_.emplace(point(sides_[from + k].from),
                              std::pair(sides_[from + k].from, sides_[from + k].to));
        }
        mesh_.manifold = mesh_.manifold && mesh_.closed;
        chain();
    }

private:
    struct Side {
        int low, high; // points
        bool rises;
        int from, to; // vertices
    };

    int point(int vertex) const { return mesh_.point_of_vertex[std::size_t(vertex)]; }

    void add(int from, int to) {
        const int a = point(from), b = point(to);
        sides_.push_back({std::min(a, b), std::max(a, b), a < b, from, to});
    }

    void chain() {
        while (!open_.empty()) {
            std::vector<int>& border = mesh_.borders.emplace_back();
            border.push_back(open_.begin()->second.first);
            for (auto at = open_.begin(); at != open_.end();
                 at = open_.find(point(border.back()))) {
                border.push_back(at->second.second);
                open_.erase(at);
            }
        }
    }

    PartMesh& mesh_;
    std::vector<Side> sides_;
    std::multimap<int, std::pair<int, int>> open_; // by the point that they start at
};

class PartMesher {
public:
    PartMesher(std::span<const PreparedFace> faces, const PartEdges& edges, double chord_error)
        : edges_(edges), allowed_(0.5 * chord_error) {
        for (const PreparedFace& face : faces) {
            metrics_.push_back(std::make_unique<detail::FaceMetric>(face));
            first_loop_.push_back(static_cast<int>(loops_.size()));
            for (int loop = 0; loop < face.loops(); ++loop)
                loops_.push_back(
                    std::make_unique<LiftedLoop>(*metrics_.back(), loop, loop_share * chord_error));
        }
        collect_joints();
    }

    PartMesh run(std::span<const int> outward) {
        cut_joints();
        separate_sides();
        number_points();
        PartMesh mesh;
        for (int i = 0; i < static_cast<int>(metrics_.size()); ++i) {
            detail::FaceMesher mesher(*metrics_[std::size_t(i)], allowed_, polygons_of(i));
            if (!mesher.run() || (mesher.mesh().triangles.empty() && !is_collapsed(i))) return {};
            const auto at = static_cast<std::size_t>(i);
            append(mesher.mesh(), i, at < outward.size() && outward[at] < 0, mesh);
            number_vertices(mesher, mesh);
        }
        settle(mesh);
        Borders(mesh).find();
        return mesh;
    }

private:
    struct Joint {
        std::vector<int> edges;
        std::unique_ptr<JointCut> cut;
        int first_point = 0; // of the places inside
    };

    const LiftedLoop& loop_of(const PartEdge& edge) const {
        return *loops_[std::size_t(first_loop_[std::size_t(edge.face)] + edge.loop)];
    }
    const PartEdge& edge(int i) const { return edges_.all()[std::size_t(i)]; }

    void collect_joints() {
        joints_.resize(std::size_t(edges_.joints()));
        corners_.resize(std::size_t(edges_.corners()));
        std::vector<bool> known(corners_.size(), false);
        for (int i = 0; i < static_cast<int>(edges_.all().size()); ++i) {
            const PartEdge& e = edge(i);
            if (!known[std::size_t(e.start)])
                corners_[std::size_t(e.start)] = loop_of(e).point(e.from);
            known[std::size_t(e.start)] = true;
            if (e.joint >= 0) joints_[std::size_t(e.joint)].edges.push_back(i);
        }
    }

    void cut_joints() {
        JointCut::Limits limits;
        limits.trim = allowed_;
        limits.deviation = side_share * allowed_;
        for (Joint& joint : joints_) {
            std::vector<detail::LoopStretch> stretches;
            for (const int i : joint.edges)
                stretches.push_back(
                    {&loop_of(edge(i)), edge(i).from, edge(i).to, edge(i).reversed});
            joint.cut = std::make_unique<JointCut>(std::move(stretches));
            joint.cut->cut(limits);
            // A closed edge is no chord there and back.
            const PartEdge& first = edge(joint.edges[0]);
            while (first.start == first.end && joint.cut->places().size() < 4)
                if (!joint.cut->halve(joint.cut->places().size() / 2)) break;
        }
    }

    // The stretches of a loop, and which of their places each vertex of the polygon is.
    struct Origin {
        int joint = -1;
        int place = 0; // the lower one of the side from the vertex on
    };

    // Whether a stretch that is one point in space isn't one in the parameters.
    bool is_pole(const PartEdge& e) const {
        constexpr double tolerances = 8.0, much_shorter = 1e-3;
        const LiftedLoop& loop = loop_of(e);
        const ERPoint2D a = loop.parameter(e.from), b = loop.parameter(e.to);
        const detail::FaceMetric& metric = loop.metric();
        const double far =
            std::hypot(b.x() - a.x(), (b.y() - a.y()) * metric.face().v_scale()) * metric.speed();
        return far > tolerances * edges_.tolerance() &&
               loop.length_between(e.from, e.to) < much_shorter * far;
    }

    TrimPolygon polygon_of(int face, int loop, std::vector<Origin>* origins) const {
        TrimPolygon polygon;
        const auto add = [&](const PartEdge& e, double place, int point, const ERPoint3D& position,
                             TrimSideKind kind, Origin origin) {
            polygon.push_back({loop_of(e).parameter(place), point, position, kind});
            if (origins != nullptr) origins->push_back(origin);
        };
        const int last = edges_.end_of(face, loop);
        for (int i = edges_.begin_of(face, loop); i < last; ++i) {
            const PartEdge& e = edge(i);
            const ERPoint3D& corner = corners_[std::size_t(e.start)];
            if (e.joint < 0) {
                if (!is_pole(e)) continue; // short: the next stretch starts at the corner
                add(e, e.from, e.start, corner, TrimSideKind::collapsed, {});
                loop_of(e).between(e.from, e.to, [&](double place, const detail::LoopVertex&) {
                    add(e, place, e.start, corner, TrimSideKind::collapsed, {});
                });
                continue;
            }
            const Joint& joint = joints_[std::size_t(e.joint)];
            const TrimSideKind kind =
                joint.edges.size() > 1 ? TrimSideKind::shared : TrimSideKind::own;
            const auto k =
                static_cast<std::size_t>(std::ranges::find(joint.edges, i) - joint.edges.begin());
            const std::vector<JointPlace>& places = joint.cut->places();
            const int sides = static_cast<int>(places.size()) - 1;
            for (int n = 0; n < sides; ++n) {
                const int at = e.reversed ? sides - n : n;
                const JointPlace& place = places[std::size_t(at)];
                const Origin origin{e.joint, e.reversed ? at - 1 : at};
                if (n == 0)
                    add(e, place.on[k], e.start, corner, kind, origin);
                else
                    add(e, place.on[k], joint.first_point + at, place.point, kind, origin);
            }
        }
        return polygon;
    }

    std::vector<TrimPolygon>
    polygons_of(int face, std::vector<std::vector<Origin>>* origins = nullptr) const {
        std::vector<TrimPolygon> polygons;
        for (int loop = 0; loop < metrics_[std::size_t(face)]->face().loops(); ++loop)
            polygons.push_back(
                polygon_of(face, loop, origins == nullptr ? nullptr : &origins->emplace_back()));
        return polygons;
    }

    // Halves sides that cross others in the parameters of a face.
    void separate_sides() {
        std::vector<bool> changed(metrics_.size(), true);
        for (int round = 0; round < most_rounds; ++round) {
            number_points();
            std::vector<std::pair<int, int>> crossing; // joint and place
            for (std::size_t i = 0; i < metrics_.size(); ++i) {
                if (!changed[i]) continue;
                std::vector<std::vector<Origin>> origins;
                const auto polygons = polygons_of(static_cast<int>(i), &origins);
                const detail::FaceMesher mesher(*metrics_[i], allowed_, polygons);
                for (const TrimSideNumber& side : mesher.crossing_sides()) {
                    const Origin& from =
                        origins[std::size_t(side.polygon)][std::size_t(side.vertex)];
                    if (from.joint >= 0) crossing.emplace_back(from.joint, from.place);
                }
            }
            std::ranges::sort(crossing, std::greater<>());
            crossing.erase(std::unique(crossing.begin(), crossing.end()), crossing.end());
            changed.assign(metrics_.size(), false);
            bool any = false;
            for (const auto& [joint, place] : crossing) {
                Joint& cut = joints_[std::size_t(joint)];
                const auto& places = cut.cut->places();
                if (distance(places[std::size_t(place)].point,
                             places[std::size_t(place) + 1].point) <= edges_.tolerance() ||
                    !cut.cut->halve(std::size_t(place)))
                    continue;
                any = true;
                for (const int i : cut.edges)
                    changed[std::size_t(edge(i).face)] = true;
            }
            if (!any) break;
        }
    }

    void number_points() {
        int next = static_cast<int>(corners_.size());
        for (Joint& joint : joints_) {
            joint.first_point = next;
            next += static_cast<int>(joint.cut->places().size());
        }
        shared_points_ = next;
    }

    // Whether nothing of the face is left, as it is thinner than the tolerance.
    bool is_collapsed(int face) const {
        return metrics_[std::size_t(face)]->face().surface().box().diagonal() >= 0.0 &&
               edges_.begin_of(face, 0) < edges_.end_of(face, 0);
    }

    // Own vertices are numbered after the shared ones, face by face.
    void number_vertices(const detail::FaceMesher& mesher, PartMesh& mesh) {
        if (own_points_ == 0) own_points_ = shared_points_;
        std::map<int, int> own;
        for (const int point : mesher.points()) {
            if (point >= 0) {
                mesh.point_of_vertex.push_back(point);
                continue;
            }
            const auto [number, is_new] = own.try_emplace(point, own_points_);
            own_points_ += is_new;
            mesh.point_of_vertex.push_back(number->second);
        }
        same_.insert(same_.end(), mesher.same_points().begin(), mesher.same_points().end());
    }

    // Points that are one in some face become one in all.
    void settle(PartMesh& mesh) {
        for (const Joint& joint : joints_)
            mesh.largest_gap = std::max(mesh.largest_gap, joint.cut->largest_gap());
        if (same_.empty()) return;
        std::vector<int> parent(static_cast<std::size_t>(own_points_));
        std::iota(parent.begin(), parent.end(), 0);
        const auto find = [&](int i) {
            while (parent[std::size_t(i)] != i)
                i = parent[std::size_t(i)] = parent[std::size_t(parent[std::size_t(i)])];
            return i;
        };
        for (const auto& [a, b] : same_) {
            const auto [low, high] = std::minmax({find(a), find(b)});
            parent[std::size_t(high)] = low;
        }
        std::map<int, ERPoint3D> positions;
        for (std::size_t i = 0; i < mesh.positions.size(); ++i) {
            mesh.point_of_vertex[i] = find(mesh.point_of_vertex[i]);
            mesh.positions[i] =
                positions.try_emplace(mesh.point_of_vertex[i], mesh.positions[i]).first->second;
        }
        drop_collapsed(mesh);
    }

    static void drop_collapsed(PartMesh& mesh) {
        std::size_t kept = 0;
        for (std::size_t i = 0; i < mesh.triangles.size(); ++i) {
            const auto& t = mesh.triangles[i];
            const auto point = [&](std::size_t k) {
                return mesh.point_of_vertex[std::size_t(t[k])];
            };
            if (point(0) == point(1) || point(1) == point(2) || point(2) == point(0)) continue;
            mesh.triangles[kept] = t;
            mesh.face_of_triangle[kept++] = mesh.face_of_triangle[i];
        }
        mesh.triangles.resize(kept);
        mesh.face_of_triangle.resize(kept);
    }

    const PartEdges& edges_;
    double allowed_;
    std::vector<std::unique_ptr<detail::FaceMetric>> metrics_;
    std::vector<std::unique_ptr<LiftedLoop>> loops_;
    std::vector<int> first_loop_; // of a face
    std::vector<ERPoint3D> corners_;
    std::vector<Joint> joints_;
    int shared_points_ = 0;
    int own_points_ = 0;
    std::vector<std::pair<int, int>> same_;
};

} // namespace

PartMesh tessellate(std::span<const PreparedFace> faces, std::span<const int> outward,
                    const PartEdges& edges, double chord_error) {
    if (!(chord_error > 0.0)) return {};
    return PartMesher(faces, edges, chord_error).run(outward);
}

PartMesh tessellate(const PreparedPart& part, double chord_error) {
    std::vector<PreparedFace> faces;
    std::vector<int> outward;
    for (int i = 0; i < part.faces(); ++i) {
        faces.push_back(part.face(i));
        outward.push_back(part.outward(i));
    }
    return tessellate(faces, outward, part.edges(), chord_error);
}

PartMesh tessellate(std::span<const PreparedFace> faces, std::span<const int> outward,
                    double chord_error) {
    PartMesh mesh;
    for (std::size_t i = 0; i < faces.size(); ++i) {
        const SurfaceMesh part = tessellate(faces[i], chord_error);
        if (part.triangles.empty()) return {};
        append(part, static_cast<int>(i), i < outward.size() && outward[i] < 0, mesh);
    }
    mesh.point_of_vertex.resize(mesh.positions.size());
    std::iota(mesh.point_of_vertex.begin(), mesh.point_of_vertex.end(), 0);
    Borders(mesh).find();
    return mesh;
}

} // namespace velm
