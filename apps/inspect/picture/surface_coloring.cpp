#include "inspect/picture/surface_coloring.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <unordered_map>
#include <utility>

namespace velm::inspect {
namespace {

using Vertex = ColoredMesh::Vertex;
using Triangle = std::array<std::uint32_t, 3>;
using Floats = std::array<float, 3>;

constexpr double shortest_part = 1e-4; // of the part's size: no side is cut that is shorter

Floats minus(const Floats& a, const Floats& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
float square(const Floats& v) { return v[0] * v[0] + v[1] * v[1] + v[2] * v[2]; }

std::uint64_t side_key(std::uint32_t a, std::uint32_t b) {
    return (std::uint64_t(std::min(a, b)) << 32) | std::max(a, b);
}

Vertex middle(const Vertex& a, const Vertex& b) {
    Vertex result;
    Floats& n = result.normal;
    for (std::size_t i = 0; i < 3; ++i) {
        result.position[i] = 0.5F * (a.position[i] + b.position[i]);
        n[i] = a.normal[i] + b.normal[i];
    }
    const float length = std::sqrt(square(n));
    for (float& component : n)
        component = length > 0.0F ? component / length : 0.0F;
    if (!(length > 0.0F)) n = a.normal;
    return result;
}

// One face: its own vertices and triangles, and its points.
struct FacePatch {
    std::vector<Vertex> vertices;
    std::vector<Triangle> triangles;
    std::vector<std::array<std::uint32_t, 2>> edges;
    std::span<const std::uint32_t> points; // indices

    double area() const {
        double sum = 0.0;
        for (const Triangle& t : triangles) {
            const Floats a = minus(vertices[t[1]].position, vertices[t[0]].position);
            const Floats b = minus(vertices[t[2]].position, vertices[t[0]].position);
            const Floats n{a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2],
                           a[0] * b[1] - a[1] * b[0]};
            sum += 0.5 * std::sqrt(double(square(n)));
        }
        return sum;
    }

    // Sides that only one triangle has.
    void find_edges() {
        std::vector<std::array<std::uint64_t, 2>> sides; // key, and the side as it runs
        for (const Triangle& t : triangles)
            for (std::size_t i = 0; i < 3; ++i) {
                const std::uint32_t a = t[i], b = t[(i + 1) % 3];
                sides.push_back({side_key(a, b), (std::uint64_t(a) << 32) | b});
            }
        std::sort(sides.begin(), sides.end());
        for (std::size_t i = 0; i < sides.size();) {
            std::size_t next = i + 1;
            while (next < sides.size() && sides[next][0] == sides[i][0])
                ++next;
            if (next == i + 1)
                edges.push_back({std::uint32_t(sides[i][1] >> 32), std::uint32_t(sides[i][1])});
            i = next;
        }
    }

    // Cuts triangles until hardly a side is longer. Returns false, with triangles missing, if that
    // takes more than `most` vertices.
    bool refine(float longest, std::size_t most) {
        SideMiddles middles{vertices, longest * longest, {}};
        std::vector<Triangle> open = std::exchange(triangles, {});
        while (!open.empty()) {
            if (vertices.size() > most) return false;
            const Triangle t = open.back();
            open.pop_back();
            const Triangle m{middles.of(t[0], t[1]), middles.of(t[1], t[2]),
                             middles.of(t[2], t[0])};
            const auto count = (m[0] != 0) + (m[1] != 0) + (m[2] != 0);
            std::size_t i = 0; // count 1: the long side; 2: the short one
            while (count % 3 != 0 && (m[i] != 0) != (count == 1))
                ++i;
            const std::uint32_t a = t[i], b = t[(i + 1) % 3], c = t[(i + 2) % 3];
            if (count == 0) {
                triangles.push_back(t);
            } else if (count == 1) {
                open.push_back({a, m[i], c});
                open.push_back({m[i], b, c});
            } else if (count == 2) {
                zip(middles.chain(c, a), middles.chain(c, b));
            } else {
                for (std::size_t k = 0; k < 3; ++k)
                    open.push_back({t[k], m[k], m[(k + 2) % 3]});
                open.push_back(m);
            }
        }
        return true;
    }

private:
    // The middles of sides that are too long. Vertex 0 is never one: 0 means none.
    struct SideMiddles {
        std::vector<Vertex>& vertices;
        float most; // the square of the length
        std::unordered_map<std::uint64_t, std::uint32_t> known;

        std::uint32_t of(std::uint32_t a, std::uint32_t b) {
            if (!(square(minus(vertices[a].position, vertices[b].position)) > most)) return 0;
            const auto [at, is_new] =
                known.try_emplace(side_key(a, b), std::uint32_t(vertices.size()));
            if (is_new) vertices.push_back(middle(vertices[a], vertices[b]));
            return at->second;
        }
        // The ends of a side and, in their order, all that cutting puts between them.
        std::vector<std::uint32_t> chain(std::uint32_t a, std::uint32_t b) {
            std::vector<std::uint32_t> out{a};
            append(a, b, out);
            return out;
        }
        void append(std::uint32_t a, std::uint32_t b, std::vector<std::uint32_t>& out) {
            const std::uint32_t m = of(a, b);
            if (m != 0) append(a, m, out);
            if (m != 0) return append(m, b, out);
            out.push_back(b);
        }
    };

    // The triangles between two chains that begin at one vertex, without vertices inside: cutting
    // a thin triangle in halves again and again makes three of each instead.
    void zip(const std::vector<std::uint32_t>& left, const std::vector<std::uint32_t>& right) {
        const auto apart = [&](std::uint32_t p, std::uint32_t q) {
            return square(minus(vertices[p].position, vertices[q].position));
        };
        std::size_t i = 1, j = 1;
        triangles.push_back({left[0], left[1], right[1]});
        while (i + 1 < left.size() || j + 1 < right.size()) {
            const bool is_left = j + 1 == right.size() ||
                                 (i + 1 < left.size() &&
                                  apart(left[i + 1], right[j]) < apart(left[i], right[j + 1]));
            triangles.push_back({left[i], is_left ? left[i + 1] : right[j + 1], right[j]});
            ++(is_left ? i : j);
        }
    }
};

// The vertices of a patch in cubes, each of which is found by its numbers.
class VertexCubes {
public:
    VertexCubes(const std::vector<Vertex>& vertices, float side) : side_(side) {
        order_.resize(vertices.size());
        std::iota(order_.begin(), order_.end(), 0U);
        std::vector<std::uint64_t> keys(vertices.size());
        for (std::size_t i = 0; i < keys.size(); ++i)
            keys[i] = key_of(cube_of(vertices[i].position));
        std::sort(order_.begin(), order_.end(), [&](std::uint32_t a, std::uint32_t b) {
            return keys[a] != keys[b] ? keys[a] < keys[b] : a < b;
        });
        runs_.reserve(vertices.size());
        for (std::uint32_t i = 0; i < order_.size(); ++i)
            ++runs_.try_emplace(keys[order_[i]], Run{i, i}).first->second.end;
    }

    // Calls f with the vertices of the eight cubes around a place: all within half a side of it,
    // and others.
    template <class F>
    void each_near(const Floats& place, F f) const {
        std::array<std::int64_t, 3> low{};
        for (std::size_t i = 0; i < 3; ++i)
            low[i] = std::int64_t(std::floor(place[i] / side_ - 0.5F));
        for (int n = 0; n < 8; ++n) {
            const auto found = runs_.find(
                key_of({low[0] + (n & 1), low[1] + ((n >> 1) & 1), low[2] + ((n >> 2) & 1)}));
            if (found == runs_.end()) continue;
            for (std::uint32_t i = found->second.start; i < found->second.end; ++i)
                f(order_[i]);
        }
    }

private:
    struct Run {
        std::uint32_t start, end;
    };
    std::array<std::int64_t, 3> cube_of(const Floats& place) const {
        std::array<std::int64_t, 3> cube{};
        for (std::size_t i = 0; i < 3; ++i)
            cube[i] = std::int64_t(std::floor(place[i] / side_));
        return cube;
    }
    // Two cubes with one key only make the search longer.
    static std::uint64_t key_of(const std::array<std::int64_t, 3>& cube) {
        std::uint64_t key = 0;
        for (const std::int64_t n : cube)
            key = (key << 21) | (std::uint64_t(n) & 0x1FFFFFU);
        return key;
    }

    float side_;
    std::vector<std::uint32_t> order_;
    std::unordered_map<std::uint64_t, Run> runs_;
};

class Coloring {
public:
    Coloring(const ViewMesh& mesh, std::span<const ViewPoint> points)
        : mesh_(mesh), points_(points), patches_(mesh.faces.size()) {
        find_box();
        split_by_face();
        group_points();
    }

    ColoredMesh color(std::size_t most_vertices) {
        choose_sides(double(most_vertices));
        refine(most_vertices);
        for (std::size_t face = 0; face < patches_.size(); ++face)
            if (!patches_[face].points.empty())
                spread(patches_[face], float(std::max(1.5 * apart_[face], 1.2 * sides_[face])));
        for (const FacePatch& patch : patches_)
            append(patch);
        return std::move(result_);
    }

private:
    // Thin triangles take more vertices than their area says: then with longer sides once more.
    void refine(std::size_t most_vertices) {
        constexpr double longer = 1.25;
        const std::vector<FacePatch> coarse = patches_;
        for (double factor = 1.0; !refined(most_vertices); factor *= longer) {
            patches_ = coarse;
            if (factor * shortest_part > 1.0) return; // nothing is cut
            for (double& side : sides_)
                side *= longer;
        }
    }

    bool refined(std::size_t most_vertices) {
        std::size_t room = most_vertices;
        for (std::size_t face = 0; face < patches_.size(); ++face) {
            FacePatch& patch = patches_[face];
            if (patch.points.empty()) continue;
            if (!patch.refine(float(sides_[face]), room)) return false;
            room -= std::min(room, patch.vertices.size());
        }
        return true;
    }

    void find_box() {
        ERPoint3D low(HUGE_VAL, HUGE_VAL, HUGE_VAL), high(-HUGE_VAL, -HUGE_VAL, -HUGE_VAL);
        for (const ERPoint3D& p : mesh_.positions)
            for (int i = 0; i < 3; ++i) {
                low[i] = std::min(low[i], p[i]);
                high[i] = std::max(high[i], p[i]);
            }
        if (mesh_.positions.empty()) low = high = ERPoint3D();
        result_.origin = low + (high - low) * 0.5;
        result_.size = std::hypot(high.x() - low.x(), high.y() - low.y(), high.z() - low.z());
    }

    Floats placed(const ERPoint3D& p) const {
        return {float(p.x() - result_.origin.x()), float(p.y() - result_.origin.y()),
                float(p.z() - result_.origin.z())};
    }

    void split_by_face() {
        constexpr std::uint32_t none = 0xFFFFFFFFU;
        std::vector<std::size_t> order(mesh_.triangles.size());
        std::iota(order.begin(), order.end(), std::size_t(0));
        std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
            return mesh_.face_of_triangle[a] < mesh_.face_of_triangle[b];
        });
        std::vector<std::uint32_t> own(mesh_.positions.size(), none);
        std::vector<std::size_t> used;
        int face = -1;
        for (const std::size_t n : order) {
            if (mesh_.face_of_triangle[n] != face) {
                for (const std::size_t i : used)
                    own[i] = none;
                used.clear();
                face = mesh_.face_of_triangle[n];
            }
            FacePatch& patch = patches_[std::size_t(face)];
            Triangle triangle{};
            for (std::size_t k = 0; k < 3; ++k) {
                const auto i = std::size_t(mesh_.triangles[n][k]);
                if (own[i] == none) {
                    own[i] = std::uint32_t(patch.vertices.size());
                    used.push_back(i);
                    const ERVector3D& normal = mesh_.normals[i];
                    patch.vertices.push_back(
                        {placed(mesh_.positions[i]),
                         {float(normal.i()), float(normal.j()), float(normal.k())}});
                }
                triangle[k] = own[i];
            }
            patch.triangles.push_back(triangle);
        }
        for (FacePatch& patch : patches_)
            patch.find_edges();
    }

    void group_points() {
        std::vector<std::uint32_t> ends(patches_.size() + 1, 0);
        for (const ViewPoint& point : points_)
            if (point.face >= 0) ++ends[std::size_t(point.face) + 1];
        std::partial_sum(ends.begin(), ends.end(), ends.begin());
        by_face_.resize(ends.back());
        std::vector<std::uint32_t> next(ends.begin(), ends.end() - 1);
        for (std::uint32_t i = 0; i < points_.size(); ++i)
            if (points_[i].face >= 0) by_face_[next[std::size_t(points_[i].face)]++] = i;
        for (std::size_t face = 0; face < patches_.size(); ++face)
            patches_[face].points =
                std::span(by_face_).subspan(ends[face], ends[face + 1] - ends[face]);
    }

    // How far the points of each face are apart, and how long the sides of its triangles may be.
    void choose_sides(double most_vertices) {
        constexpr double vertices_of_area = 2.0; // of the square of the longest side, measured
        double needed = 0.0;
        for (const FacePatch& patch : patches_) {
            const double area = patch.area();
            const double apart =
                patch.points.empty()
                    ? result_.size
                    : std::min(std::sqrt(area / double(patch.points.size())), 0.05 * result_.size);
            apart_.push_back(apart);
            sides_.push_back(std::max(0.5 * apart, shortest_part * result_.size));
            if (!patch.points.empty() && apart > 0.0)
                needed += vertices_of_area * area / (sides_.back() * sides_.back());
        }
        if (!(needed > most_vertices)) return;
        for (double& side : sides_)
            side *= std::sqrt(needed / most_vertices);
    }

    // Gives the vertices the weighted means of the points within `reach`, by (1 - (d / reach)^2)^2.
    void spread(FacePatch& patch, float reach) const {
        const VertexCubes cubes(patch.vertices, 2.0F * reach);
        for (const std::uint32_t i : patch.points) {
            const ViewPoint& point = points_[i];
            const float out = point.state == PointState::above   ? 1.0F
                              : point.state == PointState::below ? -1.0F
                                                                 : 0.0F;
            const Floats place = placed(point.foot);
            cubes.each_near(place, [&](std::uint32_t n) {
                Vertex& vertex = patch.vertices[n];
                const float part = 1.0F - square(minus(vertex.position, place)) / (reach * reach);
                if (!(part > 0.0F)) return;
                vertex.cover += part * part;
                vertex.deviation += part * part * point.deviation;
                vertex.out += part * part * out;
            });
        }
        for (Vertex& vertex : patch.vertices) {
            constexpr float least = 0.02F; // of the weight: hardly any point is within reach
            const float weight = vertex.cover;
            vertex.cover = weight > least ? 1.0F : 0.0F;
            vertex.deviation = weight > least ? vertex.deviation / weight : 0.0F;
            vertex.out = weight > least ? vertex.out / weight : 0.0F;
        }
    }

    void append(const FacePatch& patch) {
        ColoredMesh::Face face;
        face.vertices = std::uint32_t(patch.vertices.size());
        face.triangles = std::uint32_t(patch.triangles.size());
        face.points = std::uint32_t(patch.points.size());
        for (const std::uint32_t i : patch.points)
            if (points_[i].state >= PointState::above) ++face.points_out;
        const auto first = std::uint32_t(result_.vertices.size());
        result_.faces.push_back(face);
        result_.vertices.insert(result_.vertices.end(), patch.vertices.begin(),
                                patch.vertices.end());
        for (const Triangle& t : patch.triangles)
            result_.triangles.push_back({first + t[0], first + t[1], first + t[2]});
        for (const auto& [a, b] : patch.edges)
            result_.edges.push_back({first + a, first + b});
    }

    const ViewMesh& mesh_;
    std::span<const ViewPoint> points_;
    std::vector<FacePatch> patches_;
    std::vector<std::uint32_t> by_face_;
    std::vector<double> apart_, sides_;
    ColoredMesh result_;
};

} // namespace

ColoredMesh color_mesh(const ViewMesh& mesh, std::span<const ViewPoint> points,
                       std::size_t most_vertices) {
    return Coloring(mesh, points).color(most_vertices);
}

} // namespace velm::inspect
