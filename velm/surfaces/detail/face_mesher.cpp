#include "velm/surfaces/detail/face_mesher.h"

#include "velm/frame/point_functions.h"
#include "velm/planar/detail/exact_turn.h"
#include "velm/surfaces/detail/cell_plan.h"
#include "velm/surfaces/detail/surface_tables.h"

#include <algorithm>
#include <cmath>

namespace velm::detail {

namespace {

// Positions that differ by less than this much of the surface's size are the same.
constexpr double coincident = 1e-12;

enum Region { not_looked_at, within, beyond };

ERMinimax2D box_of(const FaceMetric& metric, const std::vector<TrimPolygon>& polygons) {
    ERMinimax2D box;
    for (const TrimPolygon& polygon : polygons)
        for (const TrimVertex& vertex : polygon)
            box.Update(metric.plane(vertex.at));
    return box;
}

} // namespace

FaceMesher::FaceMesher(FaceMetric& metric, double allowed, const std::vector<TrimPolygon>& polygons)
    : metric_(metric), allowed_(allowed), equal_(coincident * metric.surface().box().diagonal()),
      triangles_(box_of(metric, polygons)) {
    insert(polygons);
}

std::uint64_t FaceMesher::key(int a, int b) {
    const auto [low, high] = std::minmax(a, b);
    return static_cast<std::uint64_t>(low) << 32 | static_cast<std::uint32_t>(high);
}

bool FaceMesher::run() {
    fix_breaks();
    insert_cells();
    triangles_.label(beyond, [&](const ERPoint2D& p) { return is_enclosed(p) ? within : beyond; });
    if (!refine()) return false;
    write();
    return true;
}

// Exactly as it was, since scaling rounds.
void FaceMesher::remember(int vertex, const ERPoint2D& at) {
    if (vertex == Triangulation::none) return;
    const auto i = static_cast<std::size_t>(vertex);
    if (parameters_.size() <= i) parameters_.resize(i + 1);
    parameters_[i] = at;
}

int FaceMesher::point_of(int vertex) const {
    const auto found = points_.find(vertex);
    return found == points_.end() ? ~vertex : found->second.first;
}

int FaceMesher::place(const TrimVertex& vertex) {
    const int made = triangles_.insert(metric_.plane(vertex.at));
    if (made == Triangulation::none) return made;
    remember(made, vertex.at);
    if (std::ranges::binary_search(metric_.lines_u(), vertex.at.x()))
        on_u_[vertex.at.x()][vertex.at.y()] = made;
    if (std::ranges::binary_search(metric_.lines_v(), vertex.at.y()))
        on_v_[vertex.at.y()][vertex.at.x()] = made;
    if (vertex.point < 0) return made;
    has_points_ = true;
    const auto [known, is_new] = points_.try_emplace(made, vertex.point, vertex.position);
    if (!is_new && known->second.first != vertex.point)
        same_.emplace_back(known->second.first, vertex.point);
    return made;
}

void FaceMesher::insert(const std::vector<TrimPolygon>& polygons) {
    for (const double u : metric_.lines_u())
        for (const double v : metric_.lines_v())
            place({{u, v}, -1, {}, TrimSideKind::own});
    std::vector<std::vector<int>> all;
    for (const TrimPolygon& polygon : polygons) {
        std::vector<int>& vertices = all.emplace_back();
        std::vector<ERPoint2D>& outline = outlines_.emplace_back();
        for (const TrimVertex& vertex : polygon) {
            vertices.push_back(place(vertex));
            outline.push_back(metric_.plane(vertex.at));
        }
    }
    for (std::size_t i = 0; i < polygons.size(); ++i)
        for (std::size_t k = 0; k < all[i].size(); ++k) {
            const int a = all[i][k], b = all[i][(k + 1) % all[i].size()];
            const TrimSideKind kind = polygons[i][k].side;
            if (a == b) continue;
            if (kind != TrimSideKind::own)
                sides_.try_emplace(key(a, b), SideKind{kind, TrimSideNumber{static_cast<int>(i),
                                                                            static_cast<int>(k)}});
            kind == TrimSideKind::shared ? fix_shared(a, b) : fix(a, b);
        }
    find_lost_sides();
}

// By the parity of the sides that a ray crosses, exactly, so that it agrees with the constraints.
bool FaceMesher::is_enclosed(const ERPoint2D& p) const {
    for (std::size_t i = 0; i < outlines_.size(); ++i) {
        bool inside = false;
        ERPoint2D a = outlines_[i].empty() ? p : outlines_[i].back();
        for (const ERPoint2D& b : outlines_[i]) {
            if ((a.y() > p.y()) != (b.y() > p.y()))
                inside ^= (exact_turn(a, b, p) > 0) == (b.y() > a.y());
            a = b;
        }
        if (inside == metric_.face().is_hole(static_cast<int>(i))) return false;
    }
    return true;
}

void FaceMesher::fix_breaks() {
    for (const auto* lines : {&on_u_, &on_v_})
        for (const auto& [line, vertices] : *lines)
            for (auto at = vertices.begin(); at != vertices.end(); ++at)
                if (std::next(at) != vertices.end()) fix(at->second, std::next(at)->second);
}

// A side that crosses another one, as those of real files may by a little, gets a vertex there;
// a shared one that is met stays as it is.
void FaceMesher::fix(int a, int b) {
    if (a == Triangulation::none || b == Triangulation::none) {
        mesh_.certified = false;
        return;
    }
    constexpr int most_crossings = 1000;
    for (int crossing = 0; crossing < most_crossings; ++crossing) {
        Triangulation::Side met;
        a = triangles_.constrain(a, b, met);
        if (a == b) return;
        const auto& side = triangles_.all()[std::size_t(met.triangle)].vertex;
        const int c = side[std::size_t(met.side + 1) % 3], d = side[std::size_t(met.side + 2) % 3];
        note_crossing(c, d);
        if (!may_cut(met.triangle, met.side)) break;
        const ERPoint2D at = crossing_of(a, b, c, d);
        const int made = triangles_.split(met.triangle, met.side, metric_.plane(at));
        if (made == Triangulation::none) break;
        remember(made, at);
        Triangulation::Side again;
        if (triangles_.constrain(a, made, again) != made) break;
        a = made;
    }
    mesh_.certified = false;
}

void FaceMesher::fix_shared(int a, int b) {
    Triangulation::Side met;
    if (a == Triangulation::none || b == Triangulation::none) {
        mesh_.certified = false;
        return;
    }
    const int reached = triangles_.constrain(a, b, met);
    if (reached == b) return;
    mesh_.certified = false;
    note_crossing(a, b);
    const auto& side = triangles_.all()[std::size_t(met.triangle)].vertex;
    note_crossing(side[std::size_t(met.side + 1) % 3], side[std::size_t(met.side + 2) % 3]);
}

void FaceMesher::note_crossing(int a, int b) {
    const auto found = sides_.find(key(a, b));
    if (found != sides_.end() && found->second.kind == TrimSideKind::shared)
        crossing_.push_back(found->second.number);
}

// Sides that go through a vertex have become several.
void FaceMesher::find_lost_sides() {
    for (const auto& [ends, side] : sides_)
        if (side.kind == TrimSideKind::shared &&
            !triangles_.has_side(static_cast<int>(ends >> 32), static_cast<int>(ends & 0xffffffff)))
            crossing_.push_back(side.number);
    std::ranges::sort(crossing_);
    crossing_.erase(std::unique(crossing_.begin(), crossing_.end()), crossing_.end());
}

// The place on cd where ab crosses it.
ERPoint2D FaceMesher::crossing_of(int a, int b, int c, int d) const {
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

// The corners of the cells that the untrimmed surface is cut into: from them on little is left to
// be cut.
void FaceMesher::insert_cells() {
    CellPlan plan;
    const std::vector<double> in_u = FaceMetric::ends_of(metric_.domain_u(), metric_.lines_u());
    const std::vector<double> in_v = FaceMetric::ends_of(metric_.domain_v(), metric_.lines_v());
    for (std::size_t j = 0; j + 1 < in_v.size(); ++j)
        for (std::size_t i = 0; i + 1 < in_u.size(); ++i)
            plan_cells(metric_.flatness(), SurfaceTables::of(metric_.surface()),
                       {{in_u[i], in_u[i + 1]}, {in_v[j], in_v[j + 1]}}, allowed_, 1, 1,
                       most_face_triangles / 8, plan);
    if (plan.cells.size() > most_face_triangles / 8) return;
    for (const Cell& cell : plan.cells)
        for (const ERPoint2D& at : {ERPoint2D(cell.u.start(), cell.v.start()),
                                    {cell.u.end(), cell.v.start()},
                                    {cell.u.start(), cell.v.end()},
                                    {cell.u.end(), cell.v.end()}}) {
            if (metric_.face().place(at) != FacePlace::inside) continue;
            const ERPoint2D p = metric_.plane(at);
            if (has_points_) {
                const Triangulation::Side on = triangles_.constraint_at(p);
                if (on.triangle != Triangulation::none && !may_cut(on.triangle, on.side)) continue;
            }
            remember(triangles_.insert(p), at);
        }
}

// Cuts triangles of the face at their worst side until all are near enough.
bool FaceMesher::refine() {
    triangles_.take_changed();
    std::vector<int> pending;
    for (int t = 0; t < static_cast<int>(triangles_.all().size()); ++t)
        pending.push_back(t);
    while (!pending.empty()) {
        const int t = pending.back();
        pending.pop_back();
        if (triangles_.all()[std::size_t(t)].region != within) continue;
        const int side = worst_side(t);
        if (side == Triangulation::none) continue;
        if (triangles_.all().size() > most_face_triangles) return false;
        const bool all_shared = side == 3;
        if (all_shared) {
            if (cut_in_the_middle(t) == Triangulation::none) mesh_.certified = false;
        } else if (cut(t, side) == Triangulation::none && !is_sliver(t, side)) {
            mesh_.certified = false;
        }
        const std::vector<int> changed = triangles_.take_changed();
        pending.insert(pending.end(), changed.begin(), changed.end());
    }
    return true;
}

// The side along which the triangle bends most among those that may be cut, 3 if there is none of
// them; none if the triangle is near enough.
int FaceMesher::worst_side(int t) {
    const auto& vertex = triangles_.all()[std::size_t(t)].vertex;
    ERPoint2D corner[3];
    ERMinimax2D box;
    for (std::size_t i = 0; i < 3; ++i)
        box.Update(corner[i] = parameter_of(vertex[i]));
    const Flatness bends = metric_.bends_over(box);
    if (bends.deviation(box.xmax - box.xmin, box.ymax - box.ymin) <= allowed_)
        return Triangulation::none;
    int worst = 3;
    double most = -1.0;
    for (std::size_t i = 0; i < 3; ++i) {
        const ERPoint2D &a = corner[(i + 1) % 3], &b = corner[(i + 2) % 3];
        const double bend = bends.deviation(std::fabs(b.x() - a.x()), std::fabs(b.y() - a.y()));
        if (!(bend > most) || !may_cut(t, static_cast<int>(i))) continue;
        most = bend;
        worst = static_cast<int>(i);
    }
    return worst;
}

bool FaceMesher::may_cut(int t, int side) const {
    const auto& triangle = triangles_.all()[std::size_t(t)];
    if (!triangle.fixed[std::size_t(side)]) return true;
    const auto found = sides_.find(key(triangle.vertex[std::size_t(side + 1) % 3],
                                       triangle.vertex[std::size_t(side + 2) % 3]));
    return found == sides_.end() || found->second.kind != TrimSideKind::shared;
}

// Whether a triangle between vertices of a straight trim has no height but rounding: what is across
// its long side is then as near to the surface as the short ones.
bool FaceMesher::is_sliver(int t, int side) const {
    const auto& vertex = triangles_.all()[std::size_t(t)].vertex;
    const auto& p = triangles_.points();
    const ERPoint2D& a = p[std::size_t(vertex[std::size_t(side + 1) % 3])];
    const ERVector2D base(a, p[std::size_t(vertex[std::size_t(side + 2) % 3])]);
    const ERVector2D to(a, p[std::size_t(vertex[std::size_t(side)])]);
    return std::fabs(base.i() * to.j() - base.j() * to.i()) <= FaceMetric::rounding * base.norme2();
}

int FaceMesher::cut(int t, int side) {
    const Triangulation::Triangle& triangle = triangles_.all()[std::size_t(t)];
    const int a = triangle.vertex[std::size_t(side + 1) % 3];
    const int b = triangle.vertex[std::size_t(side + 2) % 3];
    const bool fixed = triangle.fixed[std::size_t(side)];
    const ERPoint2D at = milieu(parameter_of(a), parameter_of(b));
    const int made = triangles_.split(t, side, metric_.plane(at));
    remember(made, at);
    if (made == Triangulation::none || !fixed) return made;
    const auto found = sides_.find(key(a, b));
    if (found == sides_.end()) return made;
    const SideKind kind = found->second; // collapsed
    points_.emplace(made, points_.at(a));
    sides_.try_emplace(key(a, made), kind);
    sides_.try_emplace(key(made, b), kind);
    return made;
}

int FaceMesher::cut_in_the_middle(int t) {
    ERPoint2D middle;
    for (const int vertex : triangles_.all()[std::size_t(t)].vertex)
        middle = middle + parameter_of(vertex) * (1.0 / 3.0);
    const std::size_t before = triangles_.points().size();
    const int made = triangles_.insert(metric_.plane(middle));
    if (triangles_.points().size() == before) return Triangulation::none;
    remember(made, middle);
    return made;
}

void FaceMesher::write() {
    for (const Triangulation::Triangle& t : triangles_.all()) {
        if (t.region != within) continue;
        if (has_points_ && (point_of(t.vertex[0]) == point_of(t.vertex[1]) ||
                            point_of(t.vertex[1]) == point_of(t.vertex[2]) ||
                            point_of(t.vertex[2]) == point_of(t.vertex[0])))
            continue;
        ERPoint2D middle;
        for (const int vertex : t.vertex)
            middle = middle + parameter_of(vertex) * (1.0 / 3.0);
        std::array<int, 3> written{};
        for (std::size_t i = 0; i < 3; ++i)
            written[i] = write(t.vertex[i], middle);
        const auto& p = mesh_.positions;
        const auto apart = [&](std::size_t i, std::size_t j) {
            return has_points_ ||
                   distance(p[std::size_t(written[i])], p[std::size_t(written[j])]) > equal_;
        };
        if (apart(0, 1) && apart(1, 2) && apart(2, 0)) mesh_.triangles.push_back(written);
    }
}

// A vertex as the part between breaks has it that holds `middle`.
int FaceMesher::write(int vertex, const ERPoint2D& middle) {
    const ERPoint2D& at = parameter_of(vertex);
    const auto part = [](const std::vector<double>& breaks, double t) {
        return std::ranges::upper_bound(breaks, t) - breaks.begin();
    };
    const auto [place, is_new] = numbers_.try_emplace(
        {vertex, part(metric_.lines_u(), middle.x()), part(metric_.lines_v(), middle.y())},
        static_cast<int>(mesh_.positions.size()));
    if (!is_new) return place->second;
    const bool on_break = std::ranges::binary_search(metric_.lines_u(), at.x()) ||
                          std::ranges::binary_search(metric_.lines_v(), at.y());
    constexpr double beside = 1e-6; // of the way to the middle: the normal of this part
    const ERPoint2D normal_at = on_break ? at + (middle - at) * beside : at;
    const PreparedSurface& surface = metric_.surface();
    const auto point = points_.find(vertex);
    mesh_.positions.push_back(point == points_.end() ? surface(at.x(), at.y())
                                                     : point->second.second);
    mesh_.normals.push_back(surface.normal(normal_at.x(), normal_at.y()));
    mesh_.parameters.push_back(at);
    point_of_vertex_.push_back(point_of(vertex));
    return place->second;
}

} // namespace velm::detail
