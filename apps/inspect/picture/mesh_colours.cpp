#include "inspect/picture/mesh_colours.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace velm::inspect {
namespace {

// A picture of a thousand dots is about a dozen dots an edge, then.
constexpr double edges_per_diagonal = 60.0;
constexpr std::size_t most_triangles = 300'000;

double length(const ERPoint3D& a, const ERPoint3D& b) { return ERVector3D(a, b).norme(); }

std::uint64_t edge_key(int a, int b) {
    return static_cast<std::uint64_t>(std::min(a, b)) << 32 |
           static_cast<std::uint32_t>(std::max(a, b));
}

} // namespace

MeshColours::MeshColours(NominalMesh mesh) : mesh_(std::move(mesh)) {
    if (mesh_.positions.empty()) return;
    ERPoint3D low = mesh_.positions.front(), high = low;
    for (const ERPoint3D& p : mesh_.positions)
        for (int axis = 0; axis < 3; ++axis) {
            low[axis] = std::min(low[axis], p[axis]);
            high[axis] = std::max(high[axis], p[axis]);
        }
    origin_ = low;
    longest_ = length(low, high) / edges_per_diagonal;
    if (!(longest_ > 0.0) || !std::isfinite(longest_)) return;
    cut();
    place_corners();
}

void MeshColours::cut() {
    while (mesh_.triangles.size() < most_triangles && cut_once()) {
    }
}

// Halves each edge that is too long, in both of its triangles; false where there is none.
bool MeshColours::cut_once() {
    std::unordered_map<std::uint64_t, int> middles;
    const auto middle = [&](int a, int b) -> int {
        const auto at = [](int i) { return static_cast<std::size_t>(i); };
        if (!(length(mesh_.positions[at(a)], mesh_.positions[at(b)]) > longest_)) return -1;
        const auto [found, is_new] =
            middles.try_emplace(edge_key(a, b), static_cast<int>(mesh_.positions.size()));
        if (is_new) {
            const ERPoint3D p = mesh_.positions[at(a)], q = mesh_.positions[at(b)];
            mesh_.positions.push_back(p + ERVector3D(p, q) * 0.5);
            const ERVector3D sum = mesh_.normals[at(a)] + mesh_.normals[at(b)];
            mesh_.normals.push_back(sum.norme() > 0.0 ? sum.getnormalized() : mesh_.normals[at(a)]);
        }
        return found->second;
    };
    std::vector<std::array<int, 3>> triangles;
    std::vector<int> faces;
    for (std::size_t t = 0; t < mesh_.triangles.size(); ++t) {
        const auto add = [&](int a, int b, int c) {
            triangles.push_back({a, b, c});
            faces.push_back(mesh_.face_of_triangle[t]);
        };
        std::array<int, 3> corner = mesh_.triangles[t], halves{};
        int cuts = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            halves[i] = middle(corner[i], corner[(i + 1) % 3]);
            if (halves[i] >= 0) ++cuts;
        }
        if (cuts == 3) {
            for (std::size_t i = 0; i < 3; ++i)
                add(corner[i], halves[i], halves[(i + 2) % 3]);
            add(halves[0], halves[1], halves[2]);
            continue;
        }
        // The edge after the last cut one comes first.
        while (cuts == 1 ? halves[0] < 0 : cuts == 2 && halves[2] >= 0) {
            std::rotate(corner.begin(), corner.begin() + 1, corner.end());
            std::rotate(halves.begin(), halves.begin() + 1, halves.end());
        }
        if (cuts == 0) {
            add(corner[0], corner[1], corner[2]);
        } else if (cuts == 1) {
            add(corner[0], halves[0], corner[2]);
            add(halves[0], corner[1], corner[2]);
        } else {
            add(halves[0], corner[1], halves[1]);
            add(corner[0], halves[0], halves[1]);
            add(corner[0], halves[1], corner[2]);
        }
    }
    mesh_.triangles = std::move(triangles);
    mesh_.face_of_triangle = std::move(faces);
    return !middles.empty();
}

// The neighbours of a cell have keys of their own up to 2^16 cells in each direction; cells that
// share one cost time alone.
std::uint64_t MeshColours::cell_of(const ERPoint3D& p, int face, int i, int j, int k) const {
    const auto step = [&](double to, double from, int more) {
        const double cell = std::clamp((to - from) / longest_, -1e4, 1e4);
        return static_cast<std::uint64_t>(static_cast<std::int64_t>(std::floor(cell)) + more) &
               0xFFFF;
    };
    return step(p.x(), origin_.x(), i) | step(p.y(), origin_.y(), j) << 16 |
           step(p.z(), origin_.z(), k) << 32 | (static_cast<std::uint64_t>(face) & 0xFFFF) << 48;
}

void MeshColours::place_corners() {
    corners_.resize(mesh_.positions.size());
    std::vector<bool> is_placed(mesh_.positions.size());
    for (std::size_t t = 0; t < mesh_.triangles.size(); ++t)
        for (const int corner : mesh_.triangles[t]) {
            const auto at = static_cast<std::size_t>(corner);
            if (is_placed[at]) continue;
            is_placed[at] = true;
            cells_[cell_of(mesh_.positions[at], mesh_.face_of_triangle[t], 0, 0, 0)].push_back(
                corner);
        }
}

void MeshColours::add(const ERPoint3D& foot, int face, double deviation) {
    double nearest = std::numeric_limits<double>::infinity();
    int found = -1;
    for (int i = -1; i <= 1; ++i)
        for (int j = -1; j <= 1; ++j)
            for (int k = -1; k <= 1; ++k) {
                const auto cell = cells_.find(cell_of(foot, face, i, j, k));
                if (cell == cells_.end()) continue;
                for (const int corner : cell->second) {
                    const double square =
                        ERVector3D(foot, mesh_.positions[static_cast<std::size_t>(corner)])
                            .norme2();
                    if (square < nearest) {
                        nearest = square;
                        found = corner;
                    }
                }
            }
    if (found < 0) return;
    Corner& corner = corners_[static_cast<std::size_t>(found)];
    corner.sum += deviation;
    ++corner.count;
}

std::vector<std::optional<double>> MeshColours::deviations() const {
    std::vector<std::optional<double>> means(mesh_.positions.size());
    for (std::size_t i = 0; i < corners_.size(); ++i)
        if (corners_[i].count > 0)
            means[i] = corners_[i].sum / static_cast<double>(corners_[i].count);
    std::vector<Corner> beside(mesh_.positions.size());
    for (const std::array<int, 3>& triangle : mesh_.triangles)
        for (const int corner : triangle)
            for (const int other : triangle) {
                const std::optional<double>& mean = means[static_cast<std::size_t>(other)];
                if (other == corner || !mean) continue;
                beside[static_cast<std::size_t>(corner)].sum += *mean;
                ++beside[static_cast<std::size_t>(corner)].count;
            }
    std::vector<std::optional<double>> filled = means;
    for (std::size_t i = 0; i < filled.size(); ++i)
        if (!filled[i] && beside[i].count > 0)
            filled[i] = beside[i].sum / static_cast<double>(beside[i].count);
    return filled;
}

} // namespace velm::inspect
