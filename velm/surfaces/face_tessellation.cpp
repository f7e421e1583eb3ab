#include "velm/surfaces/face_tessellation.h"

#include "velm/curves/curve_bounds.h"
#include "velm/frame/point_functions.h"
#include "velm/planar/detail/triangulation.h"
#include "velm/surfaces/detail/cell_plan.h"
#include "velm/surfaces/detail/surface_flatness.h"
#include "velm/surfaces/detail/surface_tables.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <tuple>

namespace velm {

namespace {

using detail::SurfaceTables;
using detail::Triangulation;

constexpr std::size_t most_triangles = std::size_t(1) << 22;
// Positions that differ by less than this much of the surface's size are the same.
constexpr double coincident = 1e-12;
// The lesser direction counts as at least this much of the other, so that no triangle gets thinner.
constexpr double least_ratio = 0.02;

constexpr std::size_t most_halvings = 24;

constexpr double rounding = 1e-11; // of parameters, as a part of the domain

enum Region { not_looked_at, within, beyond };

class FaceTessellator {
public:
    FaceTessellator(const PreparedFace& face, double chord_error)
        : face_(face), surface_(face.surface()), flatness_(SurfaceTables::of(surface_)),
          u_(surface_.domain_u()), v_(surface_.domain_v()), breaks_u_(breaks_u(surface_)),
          breaks_v_(breaks_v(surface_)), allowed_(0.5 * chord_error),
          equal_(coincident * surface_.box().diagonal()) {
        leave_out_slivers(u_, breaks_u_);
        leave_out_slivers(v_, breaks_v_);
        look_at_domain();
    }

    SurfaceMesh run() {
        std::vector<std::vector<ERPoint2D>> polygons;
        for (int loop = 0; loop < face_.loops(); ++loop)
            polygons.push_back(polygon_of(loop));
        ERMinimax2D box;
        for (const auto& polygon : polygons)
            for (const ERPoint2D& p : polygon)
                box.Update(plane(p));
        Triangulation triangles(box);
        insert(triangles, polygons);
        insert_cells(triangles);
        triangles.label(beyond, [&](const ERPoint2D& p) {
            return face_.place(parameter(p)) == FacePlace::outside ? beyond : within;
        });
        if (!refine(triangles)) return {};
        write(triangles);
        return std::move(mesh_);
    }

private:
    // Breaks that rounding has put inside the limits become the limits.
    static void leave_out_slivers(ERLimites& domain, std::vector<double>& breaks) {
        const double thin = rounding * domain.amplitude();
        while (!breaks.empty() && breaks.front() - domain.start() <= thin) {
            domain = {breaks.front(), domain.end()};
            breaks.erase(breaks.begin());
        }
        while (!breaks.empty() && domain.end() - breaks.back() <= thin) {
            domain = {domain.start(), breaks.back()};
            breaks.pop_back();
        }
    }

    // The plane of the triangulation, in which both directions bend about alike.
    ERPoint2D plane(const ERPoint2D& at) const { return {at.x() * scale_u_, at.y() * scale_v_}; }
    ERPoint2D parameter(const ERPoint2D& p) const { return {p.x() / scale_u_, p.y() / scale_v_}; }

    static std::vector<double> ends_of(const ERLimites& domain, const std::vector<double>& breaks) {
        std::vector<double> all = {domain.start()};
        all.insert(all.end(), breaks.begin(), breaks.end());
        all.push_back(domain.end());
        return all;
    }

    // Bounds of the speeds along u and v, and of the bends: at places of a grid, and by how much
    // the second derivatives may change the speeds on the way to them.
    void look_at_domain() {
        constexpr int cells = 8;
        const std::vector<double> in_u = ends_of(u_, breaks_u_), in_v = ends_of(v_, breaks_v_);
        double bend_u = 0.0, bend_v = 0.0;
        for (std::size_t j = 0; j + 1 < in_v.size(); ++j)
            for (std::size_t i = 0; i + 1 < in_u.size(); ++i) {
                const ERLimites u(in_u[i], in_u[i + 1]), v(in_v[j], in_v[j + 1]);
                const Flatness bends = flatness_(u, v);
                const double du = u.amplitude(), dv = v.amplitude();
                bend_u = std::max(bend_u, bends.uu * u_.amplitude() * u_.amplitude());
                bend_v = std::max(bend_v, bends.vv * v_.amplitude() * v_.amplitude());
                const double half_u = 0.5 * du / cells, half_v = 0.5 * dv / cells;
                for (int k = 0; k < cells * cells; ++k) {
                    const SurfaceJet jet =
                        surface_.jet(u((k % cells + 0.5) / cells), v((k / cells + 0.5) / cells));
                    speed_u_ =
                        std::max(speed_u_, jet.du.norme() + bends.uu * half_u + bends.uv * half_v);
                    speed_v_ =
                        std::max(speed_v_, jet.dv.norme() + bends.uv * half_u + bends.vv * half_v);
                }
            }
        double wide = std::sqrt(bend_u), high = std::sqrt(bend_v);
        if (!(std::max(wide, high) > 0.0) || !std::isfinite(wide + high)) {
            wide = speed_u_ * u_.amplitude();
            high = speed_v_ * v_.amplitude();
        }
        const double least = least_ratio * std::max(wide, high);
        scale_u_ = std::max(wide, least) / u_.amplitude();
        scale_v_ = std::max(high, least) / v_.amplitude();
    }

    // The loop's curves as a polygon, with a vertex wherever it crosses a break, and with sides
    // over which the surface is near enough to its chord. Short bridges become one vertex.
    std::vector<ERPoint2D> polygon_of(int loop) {
        std::vector<ERPoint2D> corners;
        const double error = allowed_ / (speed_u_ + speed_v_ / face_.v_scale());
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
        return cut_into_flat(crossing_breaks(corners));
    }

    // Along limits and breaks what is off by rounding is put on the line: else the trim would cross
    // it, and itself, again and again.
    void add_corner(const ERPoint2D& at, std::vector<ERPoint2D>& corners) const {
        const ERPoint2D corner(on_line(at.x(), u_, breaks_u_), on_line(at.y(), v_, breaks_v_));
        if (corners.empty() || !(corners.back() == corner)) corners.push_back(corner);
    }
    static double on_line(double t, const ERLimites& domain, const std::vector<double>& breaks) {
        const auto is_near = [&](double line) {
            return std::fabs(t - line) <= rounding * domain.amplitude();
        };
        if (is_near(domain.start())) return domain.start();
        if (is_near(domain.end())) return domain.end();
        const auto found = std::ranges::find_if(breaks, is_near);
        return found == breaks.end() ? t : *found;
    }

    double length_of(const TrimEdge& bridge) const {
        return distance(surface_(bridge.start.x(), bridge.start.y()),
                        surface_(bridge.end.x(), bridge.end.y()));
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
                if (ends.size() < most_halvings && !is_flat(from, ends.back())) {
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

    Flatness bends_over(const ERMinimax2D& box) {
        return flatness_(inside(u_, box.xmin, box.xmax), inside(v_, box.ymin, box.ymax));
    }

    bool is_flat(const ERPoint2D& a, const ERPoint2D& b) {
        const ERMinimax2D box(a, b);
        return bends_over(box).deviation(box.xmax - box.xmin, box.ymax - box.ymin) <= allowed_;
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
        look(breaks_u_, 0);
        look(breaks_v_, 1);
        std::ranges::sort(found, {}, [](const auto& crossing) { return crossing.first; });
        for (const auto& crossing : found)
            polygon.push_back(crossing.second);
    }

    void insert(Triangulation& triangles, const std::vector<std::vector<ERPoint2D>>& polygons) {
        std::map<double, std::map<double, int>> on_u, on_v; // vertices on the breaks, in order
        const auto place = [&](const ERPoint2D& p) {
            const int vertex = triangles.insert(plane(p));
            remember(vertex, p);
            if (std::ranges::binary_search(breaks_u_, p.x())) on_u[p.x()][p.y()] = vertex;
            if (std::ranges::binary_search(breaks_v_, p.y())) on_v[p.y()][p.x()] = vertex;
            return vertex;
        };
        for (const double u : breaks_u_)
            for (const double v : breaks_v_)
                place({u, v});
        for (const auto& polygon : polygons) {
            std::vector<int> vertices;
            for (const ERPoint2D& p : polygon)
                vertices.push_back(place(p));
            for (std::size_t k = 0; k < vertices.size(); ++k)
                fix(triangles, vertices[k], vertices[(k + 1) % vertices.size()]);
        }
        for (const auto* lines : {&on_u, &on_v})
            for (const auto& [line, vertices] : *lines)
                for (auto at = vertices.begin();
                     at != vertices.end() && std::next(at) != vertices.end(); ++at)
                    fix(triangles, at->second, std::next(at)->second);
    }

    // A side that crosses another one, as those of real files may by a little, gets a vertex there.
    void fix(Triangulation& triangles, int a, int b) {
        if (a == Triangulation::none || b == Triangulation::none) {
            mesh_.certified = false;
            return;
        }
        constexpr int most_crossings = 1000;
        for (int crossing = 0; crossing < most_crossings; ++crossing) {
            Triangulation::Side met;
            a = triangles.constrain(a, b, met);
            if (a == b) return;
            const auto& side = triangles.all()[std::size_t(met.triangle)].vertex;
            const int c = side[std::size_t(met.side + 1) % 3],
                      d = side[std::size_t(met.side + 2) % 3];
            const ERPoint2D at = crossing_of(a, b, c, d);
            const int made = triangles.split(met.triangle, met.side, plane(at));
            if (made == Triangulation::none) break;
            remember(made, at);
            Triangulation::Side again;
            if (triangles.constrain(a, made, again) != made) break;
            a = made;
        }
        mesh_.certified = false;
    }

    // The place on cd where ab crosses it.
    ERPoint2D crossing_of(int a, int b, int c, int d) const {
        const ERPoint2D &p = parameter_of(c), &q = parameter_of(d), &from = parameter_of(a);
        const ERVector2D way(from, parameter_of(b));
        const auto side = [&](const ERPoint2D& x) {
            const ERVector2D to(from, x);
            return std::fabs(way.i() * to.j() - way.j() * to.i());
        };
        const double before = side(p), after = side(q);
        const double part = before + after > 0.0 ? before / (before + after) : 0.5;
        return p + (q - p) * part;
    }

    // The corners of the cells that the untrimmed surface is cut into: from them on little is left
    // to be cut.
    void insert_cells(Triangulation& triangles) {
        detail::CellPlan plan;
        const std::vector<double> in_u = ends_of(u_, breaks_u_), in_v = ends_of(v_, breaks_v_);
        for (std::size_t j = 0; j + 1 < in_v.size(); ++j)
            for (std::size_t i = 0; i + 1 < in_u.size(); ++i)
                detail::plan_cells(flatness_, SurfaceTables::of(surface_),
                                   {{in_u[i], in_u[i + 1]}, {in_v[j], in_v[j + 1]}}, allowed_, 1, 1,
                                   most_triangles / 8, plan);
        if (plan.cells.size() > most_triangles / 8) return;
        for (const detail::Cell& cell : plan.cells)
            for (const ERPoint2D& at : {ERPoint2D(cell.u.start(), cell.v.start()),
                                        {cell.u.end(), cell.v.start()},
                                        {cell.u.start(), cell.v.end()},
                                        {cell.u.end(), cell.v.end()}})
                if (face_.place(at) == FacePlace::inside) remember(triangles.insert(plane(at)), at);
    }

    // Cuts triangles of the face at their worst side until all are near enough.
    bool refine(Triangulation& triangles) {
        triangles.take_changed();
        std::vector<int> pending;
        for (int t = 0; t < static_cast<int>(triangles.all().size()); ++t)
            pending.push_back(t);
        while (!pending.empty()) {
            const int t = pending.back();
            pending.pop_back();
            if (triangles.all()[std::size_t(t)].region != within) continue;
            const int side = worst_side(triangles, t);
            if (side == Triangulation::none) continue;
            if (triangles.all().size() > most_triangles) return false;
            if (cut(triangles, t, side) == Triangulation::none && !is_sliver(triangles, t, side))
                mesh_.certified = false;
            const std::vector<int> changed = triangles.take_changed();
            pending.insert(pending.end(), changed.begin(), changed.end());
        }
        return true;
    }

    // Exactly as it was, since scaling rounds.
    void remember(int vertex, const ERPoint2D& at) {
        if (vertex == Triangulation::none) return;
        if (parameters_.size() <= std::size_t(vertex)) parameters_.resize(std::size_t(vertex) + 1);
        parameters_[std::size_t(vertex)] = at;
    }
    const ERPoint2D& parameter_of(int vertex) const { return parameters_[std::size_t(vertex)]; }

    // The side along which the triangle bends most, none if it is near enough.
    int worst_side(const Triangulation& triangles, int t) {
        const auto& vertex = triangles.all()[std::size_t(t)].vertex;
        ERPoint2D corner[3];
        ERMinimax2D box;
        for (std::size_t i = 0; i < 3; ++i)
            box.Update(corner[i] = parameter_of(vertex[i]));
        const Flatness bends = bends_over(box);
        if (bends.deviation(box.xmax - box.xmin, box.ymax - box.ymin) <= allowed_)
            return Triangulation::none;
        int worst = 0;
        double most = -1.0;
        for (std::size_t i = 0; i < 3; ++i) {
            const ERPoint2D &a = corner[(i + 1) % 3], &b = corner[(i + 2) % 3];
            const double bend = bends.deviation(std::fabs(b.x() - a.x()), std::fabs(b.y() - a.y()));
            if (!(bend > most)) continue;
            most = bend;
            worst = static_cast<int>(i);
        }
        return worst;
    }

    // Rounding may have moved a vertex across the edge of the domain.
    static ERLimites inside(const ERLimites& domain, double low, double high) {
        return {std::clamp(low, domain.start(), domain.end()),
                std::clamp(high, domain.start(), domain.end())};
    }

    // Whether a triangle between vertices of a straight trim has no height but rounding: what is
    // across its long side is then as near to the surface as the short ones.
    bool is_sliver(const Triangulation& triangles, int t, int side) const {
        const auto& vertex = triangles.all()[std::size_t(t)].vertex;
        const auto& p = triangles.points();
        const ERPoint2D& a = p[std::size_t(vertex[std::size_t(side + 1) % 3])];
        const ERVector2D base(a, p[std::size_t(vertex[std::size_t(side + 2) % 3])]);
        const ERVector2D to(a, p[std::size_t(vertex[std::size_t(side)])]);
        return std::fabs(base.i() * to.j() - base.j() * to.i()) <= rounding * base.norme2();
    }

    int cut(Triangulation& triangles, int t, int side) {
        const auto& vertex = triangles.all()[std::size_t(t)].vertex;
        const ERPoint2D at = milieu(parameter_of(vertex[std::size_t(side + 1) % 3]),
                                    parameter_of(vertex[std::size_t(side + 2) % 3]));
        const int made = triangles.split(t, side, plane(at));
        remember(made, at);
        return made;
    }

    void write(const Triangulation& triangles) {
        for (const Triangulation::Triangle& t : triangles.all()) {
            if (t.region != within) continue;
            ERPoint2D middle;
            for (const int vertex : t.vertex)
                middle = middle + parameter_of(vertex) * (1.0 / 3.0);
            std::array<int, 3> written{};
            for (std::size_t i = 0; i < 3; ++i)
                written[i] = write(parameter_of(t.vertex[i]), t.vertex[i], middle);
            const auto& p = mesh_.positions;
            const auto apart = [&](std::size_t i, std::size_t j) {
                return ERVector3D(p[std::size_t(written[i])], p[std::size_t(written[j])]).norme() >
                       equal_;
            };
            if (apart(0, 1) && apart(1, 2) && apart(2, 0)) mesh_.triangles.push_back(written);
        }
    }

    // A vertex as the part between breaks has it that holds `middle`.
    int write(const ERPoint2D& at, int vertex, const ERPoint2D& middle) {
        const auto part = [](const std::vector<double>& breaks, double t) {
            return std::ranges::upper_bound(breaks, t) - breaks.begin();
        };
        const auto [place, is_new] =
            numbers_.try_emplace({vertex, part(breaks_u_, middle.x()), part(breaks_v_, middle.y())},
                                 static_cast<int>(mesh_.positions.size()));
        if (!is_new) return place->second;
        const bool on_break = std::ranges::binary_search(breaks_u_, at.x()) ||
                              std::ranges::binary_search(breaks_v_, at.y());
        constexpr double beside = 1e-6; // of the way to the middle: the normal of this part
        const ERPoint2D normal_at = on_break ? at + (middle - at) * beside : at;
        mesh_.positions.push_back(surface_(at.x(), at.y()));
        mesh_.normals.push_back(surface_.normal(normal_at.x(), normal_at.y()));
        mesh_.parameters.push_back(at);
        return place->second;
    }

    const PreparedFace& face_;
    const PreparedSurface& surface_;
    detail::SurfaceFlatness flatness_;
    ERLimites u_, v_;
    std::vector<double> breaks_u_, breaks_v_;
    double allowed_;
    double equal_;
    double speed_u_ = 0.0, speed_v_ = 0.0;
    double scale_u_ = 1.0, scale_v_ = 1.0;
    std::vector<ERPoint2D> parameters_; // of the vertices
    SurfaceMesh mesh_;
    std::map<std::tuple<int, std::ptrdiff_t, std::ptrdiff_t>, int> numbers_;
};

} // namespace

SurfaceMesh tessellate(const PreparedFace& face, double chord_error) {
    if (!(chord_error > 0.0)) return {};
    return FaceTessellator(face, chord_error).run();
}

} // namespace velm
