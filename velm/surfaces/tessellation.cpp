#include "velm/surfaces/tessellation.h"

#include "velm/surfaces/detail/cell_plan.h"
#include "velm/surfaces/detail/quotient_rule.h"
#include "velm/surfaces/detail/sided_jet.h"
#include "velm/surfaces/detail/surface_flatness.h"
#include "velm/surfaces/limit_normal.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <unordered_map>

namespace velm {

namespace {

using detail::Cell;
using detail::SurfaceSide;
using detail::SurfaceTables;

constexpr std::size_t most_triangles = std::size_t(1) << 24;
// Positions that differ by less than this much of the surface's size are the same.
constexpr double coincident = 1e-12;

double angle_between(const ERVector3D& a, const ERVector3D& b) {
    return std::atan2((a ^ b).norme(), a * b);
}

// One direction of the domain: its regions between breaks, and whether the surface closes.
struct Direction {
    std::vector<double> ends; // of the regions
    bool closed = false;
    std::vector<bool> collapsed; // of each end: whether the line there is one point

    int region_of(const ERLimites& part) const {
        const auto above = std::upper_bound(ends.begin(), ends.end(), part(0.5));
        return static_cast<int>(above - ends.begin()) - 1;
    }
    ERLimites region(int i) const { return {ends[std::size_t(i)], ends[std::size_t(i) + 1]}; }
    bool collapsed_at(double t) const {
        const auto found = std::find(ends.begin(), ends.end(), t);
        return found != ends.end() && collapsed[std::size_t(found - ends.begin())];
    }
    double seam(double t) const { return closed && t == ends.back() ? ends.front() : t; }
};

class Tessellator {
public:
    Tessellator(const PreparedSurface& surface, double chord_error, double angle)
        : surface_(surface), tables_(SurfaceTables::of(surface)), chord_error_(chord_error),
          angle_(angle), equal_(coincident * tables_.box.diagonal()) {
        look_at(u_, tables_.u, detail::breaks(tables_, true),
                [&](double line, double t) { return surface_(line, tables_.v(t)); });
        look_at(v_, tables_.v, detail::breaks(tables_, false),
                [&](double line, double t) { return surface_(tables_.u(t), line); });
    }

    SurfaceMesh run() {
        if (!plan()) return {};
        refine_by_angle();
        collect_nodes();
        for (const Cell& cell : cells_) {
            triangulate(cell);
            if (mesh_.triangles.size() > most_triangles) return {};
        }
        return std::move(mesh_);
    }

private:
    // A corner of a polygon: its place, and whether that is on a line that is one point.
    struct Corner {
        ERPoint2D at;
        int vertex;
    };

    template <class PointOn>
    void look_at(Direction& direction, const ERLimites& domain, std::vector<double> breaks,
                 PointOn point_on) {
        constexpr int samples = 8;
        direction.ends = std::move(breaks);
        direction.ends.insert(direction.ends.begin(), domain.start());
        direction.ends.push_back(domain.end());
        const auto all_samples = [&](auto holds) {
            for (int k = 0; k <= samples; ++k)
                if (!holds(double(k) / samples)) return false;
            return true;
        };
        const auto near = [&](const ERPoint3D& a, const ERPoint3D& b) {
            return ERVector3D(a, b).norme() <= equal_;
        };
        for (const double end : direction.ends)
            direction.collapsed.push_back(
                all_samples([&](double t) { return near(point_on(end, t), point_on(end, 0.0)); }));
        direction.closed = all_samples(
            [&](double t) { return near(point_on(domain.start(), t), point_on(domain.end(), t)); });
    }

    // The least number of cells over a part of a direction, so that none is closed or has a line
    // that is one point on both sides.
    int least_cells(const Direction& direction, const ERLimites& part) const {
        constexpr double whole = 3.0; // a ring of three
        if (direction.collapsed_at(part.start()) && direction.collapsed_at(part.end())) return 2;
        if (!direction.closed) return 1;
        const double domain = direction.ends.back() - direction.ends.front();
        return std::max(1, static_cast<int>(std::ceil(whole * part.amplitude() / domain - 1e-9)));
    }

    bool plan() {
        detail::SurfaceFlatness flatness(tables_);
        detail::CellPlan found;
        for (std::size_t j = 0; j + 1 < v_.ends.size(); ++j)
            for (std::size_t i = 0; i + 1 < u_.ends.size(); ++i) {
                const Cell region{u_.region(int(i)), v_.region(int(j))};
                plan_cells(flatness, tables_, region, chord_error_, least_cells(u_, region.u),
                           least_cells(v_, region.v), most_triangles / 2, found);
            }
        cells_ = std::move(found.cells);
        mesh_.certified = found.certified;
        return cells_.size() <= most_triangles / 2;
    }

    // The normal just inside a cell: no crease and no pole.
    ERVector3D normal_inside(const Cell& cell, int i, int j) const {
        constexpr double inside[] = {1e-6, 0.5, 1.0 - 1e-6};
        return surface_.normal(cell.u(inside[i]), cell.v(inside[j]));
    }

    // Cuts cells until their normals differ by at most the angle.
    void refine_by_angle() {
        if (!(angle_ < std::numbers::pi)) return;
        constexpr int most_cuts = 12;
        std::vector<Cell> pending;
        pending.swap(cells_);
        for (int cut = 0; !pending.empty(); ++cut) {
            std::vector<Cell> parts;
            for (const Cell& cell : pending) {
                const auto [n, m] = cut < most_cuts ? parts_by_angle(cell) : std::pair(1, 1);
                for (int k = 0; k < n * m && n * m > 1; ++k)
                    parts.push_back({cell.u(ERLimites(double(k % n) / n, (k % n + 1.0) / n)),
                                     cell.v(ERLimites(double(k / n) / m, (k / n + 1.0) / m))});
                if (n * m == 1) cells_.push_back(cell);
            }
            pending.swap(parts);
            if (cells_.size() + pending.size() > most_triangles) break;
        }
    }

    std::pair<int, int> parts_by_angle(const Cell& cell) const {
        ERVector3D normals[3][3];
        for (int j = 0; j < 3; ++j)
            for (int i = 0; i < 3; ++i)
                normals[j][i] = normal_inside(cell, i, j);
        double along_u = 0.0, along_v = 0.0, most = 0.0;
        for (int k = 0; k < 3; ++k) {
            const auto turn = [](const ERVector3D& a, const ERVector3D& b, const ERVector3D& c) {
                return angle_between(a, b) + angle_between(b, c);
            };
            along_u = std::max(along_u, turn(normals[k][0], normals[k][1], normals[k][2]));
            along_v = std::max(along_v, turn(normals[0][k], normals[1][k], normals[2][k]));
        }
        for (int k = 0; k < 9; ++k)
            for (int l = 0; l < k; ++l)
                most = std::max(most, angle_between(normals[k / 3][k % 3], normals[l / 3][l % 3]));
        if (!(std::max({along_u, along_v, most}) > angle_)) return {1, 1};
        const double half = angle_ * std::numbers::sqrt2 / 2.0;
        int n = static_cast<int>(std::ceil(along_u / half - 1e-9));
        int m = static_cast<int>(std::ceil(along_v / half - 1e-9));
        // A turn about one direction only takes the whole angle.
        if (along_v <= 0.1 * angle_)
            n = std::max(2, int(std::ceil(1.005 * along_u / angle_))), m = 1;
        if (along_u <= 0.1 * angle_)
            m = std::max(2, int(std::ceil(1.005 * along_v / angle_))), n = 1;
        return {std::max(n, 1), std::max(m, n <= 1 ? 2 : 1)};
    }

    // The corners of all cells, by u and then v, and the other way round. Parameters that rounding
    // alone distinguishes become one.
    void collect_nodes() {
        constexpr double rounding = 1e-13;
        std::vector<double> in_u, in_v;
        for (const Cell& cell : cells_) {
            in_u.insert(in_u.end(), {cell.u.start(), cell.u.end()});
            in_v.insert(in_v.end(), {cell.v.start(), cell.v.end()});
        }
        const auto unify = [](std::vector<double>& list, const Direction& direction) {
            const double least = rounding * (direction.ends.back() - direction.ends.front());
            list.insert(list.end(), direction.ends.begin(), direction.ends.end());
            std::sort(list.begin(), list.end());
            std::vector<double> kept;
            for (const double t : list) {
                const bool is_end =
                    std::binary_search(direction.ends.begin(), direction.ends.end(), t);
                if (!kept.empty() && t - kept.back() <= least) {
                    if (is_end) kept.back() = t;
                } else {
                    kept.push_back(t);
                }
            }
            list.swap(kept);
        };
        unify(in_u, u_);
        unify(in_v, v_);
        const auto nearest = [](const std::vector<double>& list, double t) {
            const auto above = std::lower_bound(list.begin(), list.end(), t);
            if (above == list.begin()) return *above;
            if (above == list.end()) return list.back();
            return *above - t < t - *(above - 1) ? *above : *(above - 1);
        };
        for (Cell& cell : cells_) {
            cell.u = {nearest(in_u, cell.u.start()), nearest(in_u, cell.u.end())};
            cell.v = {nearest(in_v, cell.v.start()), nearest(in_v, cell.v.end())};
            for (const double x : {cell.u.start(), cell.u.end()})
                for (const double y : {cell.v.start(), cell.v.end()})
                    add_node(x, y);
        }
        const auto settle = [](std::vector<std::pair<double, double>>& list) {
            std::sort(list.begin(), list.end());
            list.erase(std::unique(list.begin(), list.end()), list.end());
        };
        settle(by_u_);
        settle(by_v_);
    }

    // A seam has the nodes of both of its sides.
    void add_node(double x, double y) {
        const auto other = [](const Direction& d, double t) {
            if (!d.closed) return t;
            return t == d.ends.front() ? d.ends.back() : t == d.ends.back() ? d.ends.front() : t;
        };
        for (const double u : {x, other(u_, x)})
            for (const double v : {y, other(v_, y)}) {
                if ((u != x) + (v != y) > 1) continue;
                by_u_.emplace_back(u, v);
                by_v_.emplace_back(v, u);
            }
    }

    // The nodes on a line of constant first value, strictly between two second ones.
    static std::vector<double> between(const std::vector<std::pair<double, double>>& nodes,
                                       double line, const ERLimites& part) {
        std::vector<double> found;
        auto at = std::upper_bound(nodes.begin(), nodes.end(), std::pair(line, part.start()));
        for (; at != nodes.end() && at->first == line && at->second < part.end(); ++at)
            found.push_back(at->second);
        return found;
    }

    void triangulate(const Cell& cell) {
        const int region =
            u_.region_of(cell.u) + static_cast<int>(u_.ends.size()) * v_.region_of(cell.v);
        std::vector<Corner> polygon;
        const double u0 = cell.u.start(), u1 = cell.u.end(), v0 = cell.v.start(), v1 = cell.v.end();
        // The edge from `from` to `to` without its last corner, and of a collapsed one the middle.
        const auto side = [&](bool along_u, double line, double from, double to) {
            const Direction& across = along_u ? v_ : u_;
            const auto place = [&](double t) {
                return along_u ? ERPoint2D(t, line) : ERPoint2D(line, t);
            };
            if (across.collapsed_at(line)) {
                polygon.push_back(
                    {place(0.5 * from + 0.5 * to), new_vertex(place(0.5 * from + 0.5 * to), cell)});
                return;
            }
            std::vector<double> inner =
                between(along_u ? by_v_ : by_u_, line, {std::min(from, to), std::max(from, to)});
            if (from > to) std::reverse(inner.begin(), inner.end());
            const Direction& along = along_u ? u_ : v_;
            if (!along.collapsed_at(from))
                polygon.push_back({place(from), vertex(place(from), region, cell)});
            for (const double t : inner)
                polygon.push_back({place(t), vertex(place(t), region, cell)});
        };
        side(true, v0, u0, u1);
        side(false, u1, v0, v1);
        side(true, v1, u1, u0);
        side(false, u0, v1, v0);
        cut_ears(polygon);
    }

    // The vertex of a node on the side of a region.
    int vertex(const ERPoint2D& at, int region, const Cell& cell) {
        const auto node = std::lower_bound(by_u_.begin(), by_u_.end(), std::pair(at.x(), at.y()));
        const auto regions = static_cast<long>(u_.ends.size() * v_.ends.size());
        const long key = (node - by_u_.begin()) * regions + region;
        const auto [found, is_new] = vertices_.try_emplace(key, 0);
        if (is_new) found->second = new_vertex(at, cell);
        return found->second;
    }

    int new_vertex(const ERPoint2D& at, const Cell& cell) {
        const ERLimites in_u = u_.region(u_.region_of(cell.u));
        const ERLimites in_v = v_.region(v_.region_of(cell.v));
        const bool at_u = std::find(u_.ends.begin(), u_.ends.end(), at.x()) != u_.ends.end();
        const bool at_v = std::find(v_.ends.begin(), v_.ends.end(), at.y()) != v_.ends.end();
        mesh_.parameters.push_back(at);
        mesh_.positions.push_back(position(at, {at.x() == in_u.end(), at.y() == in_v.end()}));
        ERVector3D normal;
        if (at_u || at_v) {
            const detail::Jet jet = detail::sided_jet(
                tables_, at, {at_u && at.x() == in_u.end(), at_v && at.y() == in_v.end()});
            normal = limit_normal(detail::surface_point(at, jet.c), in_u, in_v);
        }
        mesh_.normals.push_back(normal.norme2() > 0.5 ? normal : surface_.normal(at.x(), at.y()));
        return static_cast<int>(mesh_.positions.size()) - 1;
    }

    // The same for all that belong together: both sides of a seam or crease, a collapsed line.
    // Where a surface is torn, that of the side.
    ERPoint3D position(const ERPoint2D& at, const SurfaceSide& side) const {
        double u = u_.seam(at.x()), v = v_.seam(at.y());
        if (u_.collapsed_at(u)) v = v_.ends.front();
        if (v_.collapsed_at(v)) u = u_.ends.front();
        const ERPoint3D common = surface_(u, v);
        if (u_.ends.size() + v_.ends.size() > 4) {
            const ERPoint3D own = detail::sided_jet(tables_, at, side).point();
            if (ERVector3D(common, own).norme() > equal_) return own;
        }
        return common;
    }

    // Triangles of a convex polygon whose corners may be in line along its edges: the ear with the
    // shortest diagonal first.
    void cut_ears(std::vector<Corner>& polygon) {
        const auto in_line = [](const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& c) {
            return (a.x() == b.x() && b.x() == c.x()) || (a.y() == b.y() && b.y() == c.y());
        };
        while (polygon.size() > 3) {
            const std::size_t n = polygon.size();
            std::size_t best = n;
            double least = std::numeric_limits<double>::infinity();
            for (std::size_t k = 0; k < n; ++k) {
                const Corner &a = polygon[(k + n - 1) % n], &b = polygon[k],
                             &c = polygon[(k + 1) % n];
                if (in_line(a.at, b.at, c.at)) continue;
                bool rest_in_line = true;
                for (std::size_t m = 2; m < n && rest_in_line; ++m)
                    rest_in_line = in_line(a.at, c.at, polygon[(k + m) % n].at);
                if (rest_in_line) continue;
                const double length = squared_length(a, c);
                if (length < least) least = length, best = k;
            }
            if (best == n) return;
            add(polygon[(best + n - 1) % n], polygon[best], polygon[(best + 1) % n]);
            polygon.erase(polygon.begin() + static_cast<std::ptrdiff_t>(best));
        }
        if (polygon.size() == 3 && !in_line(polygon[0].at, polygon[1].at, polygon[2].at))
            add(polygon[0], polygon[1], polygon[2]);
    }

    const ERPoint3D& position_of(const Corner& c) const {
        return mesh_.positions[std::size_t(c.vertex)];
    }
    double squared_length(const Corner& a, const Corner& b) const {
        return ERVector3D(position_of(a), position_of(b)).norme2();
    }
    void add(const Corner& a, const Corner& b, const Corner& c) {
        if (position_of(a) == position_of(b) || position_of(b) == position_of(c) ||
            position_of(c) == position_of(a))
            return;
        mesh_.triangles.push_back({a.vertex, b.vertex, c.vertex});
    }

    const PreparedSurface& surface_;
    const SurfaceTables& tables_;
    double chord_error_, angle_, equal_;
    Direction u_, v_;
    std::vector<Cell> cells_;
    std::vector<std::pair<double, double>> by_u_, by_v_;
    std::unordered_map<long, int> vertices_;
    SurfaceMesh mesh_;
};

} // namespace

SurfaceMesh tessellate(const PreparedSurface& surface, double chord_error, double angle) {
    if (!(chord_error > 0.0 && angle > 0.0)) return {};
    return Tessellator(surface, chord_error, angle).run();
}

} // namespace velm
