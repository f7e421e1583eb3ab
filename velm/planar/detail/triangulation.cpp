#include "velm/planar/detail/triangulation.h"

#include "velm/planar/detail/exact_turn.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace velm::detail {

Triangulation::Triangulation(const ERMinimax2D& box) {
    const double margin = 0.1 * std::max(box.xmax - box.xmin, box.ymax - box.ymin) + 1e-300;
    const double x0 = box.xmin - margin, x1 = box.xmax + margin;
    const double y0 = box.ymin - margin, y1 = box.ymax + margin;
    for (const ERPoint2D& corner : {ERPoint2D(x0, y0), {x1, y0}, {x1, y1}, {x0, y1}})
        add_point(corner);
    const int low = add_triangle(0, 1, 2), high = add_triangle(0, 2, 3);
    join(low, 1, high, false);
}

int Triangulation::turn(int a, int b, int c) const {
    return exact_turn(point(a), point(b), point(c));
}

int Triangulation::add_point(const ERPoint2D& p) {
    points_.push_back(p);
    triangle_of_.push_back(none);
    return static_cast<int>(points_.size()) - 1;
}

int Triangulation::add_triangle(int a, int b, int c) {
    triangles_.push_back({{a, b, c}, {none, none, none}});
    const int t = static_cast<int>(triangles_.size()) - 1;
    for (const int vertex : {a, b, c})
        triangle_of_[static_cast<std::size_t>(vertex)] = t;
    changed_.push_back(t);
    return t;
}

// The side of u with the ends of the given side of t; t and u become neighbours.
void Triangulation::join(int t, int side, int u, bool fixed) {
    at(t).next[static_cast<std::size_t>(side)] = u;
    at(t).fixed[static_cast<std::size_t>(side)] = fixed;
    if (u == none) return;
    const int a = at(t).vertex[static_cast<std::size_t>(after(side))];
    const int b = at(t).vertex[static_cast<std::size_t>(before(side))];
    for (int i = 0; i < 3; ++i) {
        const std::size_t k = static_cast<std::size_t>(i);
        if (at(u).vertex[k] == a || at(u).vertex[k] == b) continue;
        at(u).next[k] = t;
        at(u).fixed[k] = fixed;
    }
}

int Triangulation::side_of(int t, int neighbour) const {
    const auto& next = at(t).next;
    return static_cast<int>(std::find(next.begin(), next.end(), neighbour) - next.begin());
}

int Triangulation::place_of(int t, int vertex) const {
    const auto& own = at(t).vertex;
    return static_cast<int>(std::find(own.begin(), own.end(), vertex) - own.begin());
}

std::vector<int> Triangulation::take_changed() { return std::exchange(changed_, {}); }

bool Triangulation::holds(int t, const ERPoint2D& p) const {
    const auto& v = at(t).vertex;
    return exact_turn(point(v[0]), point(v[1]), p) >= 0 &&
           exact_turn(point(v[1]), point(v[2]), p) >= 0 &&
           exact_turn(point(v[2]), point(v[0]), p) >= 0;
}

// A walk towards p. Among constraints it could go round in a circle: then all are tried.
int Triangulation::locate(const ERPoint2D& p) const {
    int t = last_, from = none;
    for (std::size_t steps = 0; steps < triangles_.size() + 3; ++steps) {
        int next = none;
        bool outside = false;
        for (int i = 0; i < 3 && next == none; ++i) {
            const std::size_t k = static_cast<std::size_t>(i);
            const int a = at(t).vertex[static_cast<std::size_t>(after(i))];
            const int b = at(t).vertex[static_cast<std::size_t>(before(i))];
            if ((from != none && at(t).next[k] == from) || exact_turn(point(a), point(b), p) >= 0)
                continue;
            next = at(t).next[k];
            outside = next == none;
            if (outside) break;
        }
        if (outside) return none;
        if (next == none) {
            if (holds(t, p)) return last_ = t;
            break;
        }
        from = std::exchange(t, next);
    }
    for (t = 0; t < static_cast<int>(triangles_.size()); ++t)
        if (holds(t, p)) return last_ = t;
    return none;
}

int Triangulation::insert(const ERPoint2D& p) {
    if (!std::isfinite(p.x()) || !std::isfinite(p.y())) return none;
    const int t = locate(p);
    if (t == none) return none;
    for (const int vertex : at(t).vertex)
        if (point(vertex) == p) return vertex;
    for (int side = 0; side < 3; ++side) {
        const int a = at(t).vertex[static_cast<std::size_t>(after(side))];
        const int b = at(t).vertex[static_cast<std::size_t>(before(side))];
        if (exact_turn(point(a), point(b), p) == 0) return insert_on(t, side, p);
    }
    return insert_inside(t, p);
}

Triangulation::Side Triangulation::constraint_at(const ERPoint2D& p) const {
    const int t = locate(p);
    if (t == none) return {};
    for (const int vertex : at(t).vertex)
        if (point(vertex) == p) return {};
    for (int side = 0; side < 3; ++side) {
        const int a = at(t).vertex[static_cast<std::size_t>(after(side))];
        const int b = at(t).vertex[static_cast<std::size_t>(before(side))];
        if (at(t).fixed[static_cast<std::size_t>(side)] && exact_turn(point(a), point(b), p) == 0)
            return {t, side};
    }
    return {};
}

int Triangulation::split(int t, int side, const ERPoint2D& p) {
    const auto turns_over = [&](int triangle, int i) {
        const auto& v = at(triangle).vertex;
        const ERPoint2D& apex = point(v[static_cast<std::size_t>(i)]);
        return exact_turn(apex, point(v[static_cast<std::size_t>(after(i))]), p) <= 0 ||
               exact_turn(p, point(v[static_cast<std::size_t>(before(i))]), apex) <= 0;
    };
    const int u = at(t).next[static_cast<std::size_t>(side)];
    if (turns_over(t, side) || (u != none && turns_over(u, side_of(u, t)))) return none;
    return insert_on(t, side, p);
}

// t becomes three triangles about p.
int Triangulation::insert_inside(int t, const ERPoint2D& p) {
    const Triangle old = at(t);
    const int n = add_point(p);
    const auto [a, b, c] = old.vertex;
    at(t) = {{n, b, c}, {none, none, none}};
    const int second = add_triangle(n, c, a), third = add_triangle(n, a, b);
    for (const int part : {t, second, third})
        at(part).region = old.region;
    for (const int vertex : {n, b, c})
        triangle_of_[static_cast<std::size_t>(vertex)] = t;
    join(t, 0, old.next[0], old.fixed[0]);
    join(second, 0, old.next[1], old.fixed[1]);
    join(third, 0, old.next[2], old.fixed[2]);
    join(t, 1, second, false);
    join(second, 1, third, false);
    join(third, 1, t, false);
    changed_.push_back(t);
    make_delaunay({{t, 0}, {second, 0}, {third, 0}});
    return n;
}

// The triangles on both sides become two each.
int Triangulation::insert_on(int t, int side, const ERPoint2D& p) {
    const std::size_t k = static_cast<std::size_t>(side);
    const int u = at(t).next[k];
    const bool fixed = at(t).fixed[k];
    const Triangle above = at(t);
    const std::size_t l = static_cast<std::size_t>(after(side)),
                      m = static_cast<std::size_t>(before(side));
    const int apex = above.vertex[k], a = above.vertex[l], b = above.vertex[m];
    const int n = add_point(p);
    at(t) = {{apex, a, n}, {none, none, none}};
    const int t2 = add_triangle(apex, n, b);
    at(t).region = at(t2).region = above.region;
    join(t, 2, above.next[m], above.fixed[m]);
    join(t2, 1, above.next[l], above.fixed[l]);
    join(t, 1, t2, false);
    changed_.push_back(t);
    std::vector<Side> sides = {{t, 2}, {t2, 1}};
    for (const int vertex : {apex, a, n})
        triangle_of_[static_cast<std::size_t>(vertex)] = t;
    if (u == none) {
        at(t).fixed[0] = at(t2).fixed[0] = fixed;
    } else {
        const Triangle below = at(u);
        const int i = [&] {
            for (int j = 0; j < 3; ++j) {
                const int vertex = below.vertex[static_cast<std::size_t>(j)];
                if (vertex != a && vertex != b) return j;
            }
            return 0;
        }();
        // The lower triangle has the side the other way round: apex, b, a.
        const std::size_t lower_l = static_cast<std::size_t>(after(i)),
                          lower_m = static_cast<std::size_t>(before(i));
        const int low = below.vertex[static_cast<std::size_t>(i)];
        at(u) = {{low, b, n}, {none, none, none}};
        const int u2 = add_triangle(low, n, a);
        at(u).region = at(u2).region = below.region;
        join(u, 2, below.next[lower_m], below.fixed[lower_m]);
        join(u2, 1, below.next[lower_l], below.fixed[lower_l]);
        join(u, 1, u2, false);
        join(t, 0, u2, fixed);
        join(t2, 0, u, fixed);
        changed_.push_back(u);
        for (const int vertex : {low, b, n})
            triangle_of_[static_cast<std::size_t>(vertex)] = u;
        sides.push_back({u, 2});
        sides.push_back({u2, 1});
    }
    make_delaunay(std::move(sides));
    return n;
}

void Triangulation::make_delaunay(std::vector<Side> sides) {
    while (!sides.empty()) {
        const auto [t, side] = sides.back();
        sides.pop_back();
        const int u = at(t).next[static_cast<std::size_t>(side)];
        if (u == none || !wants_flip(t, side)) continue;
        flip(t, side);
        // The four sides around the pair.
        for (const int triangle : {t, u})
            for (int i = 0; i < 3; ++i)
                if (at(triangle).next[static_cast<std::size_t>(i)] != (triangle == t ? u : t))
                    sides.push_back({triangle, i});
    }
}

// Whether the circle through t holds the vertex opposite, for certain (Shewchuk 1997,
// iccerrboundA).
bool Triangulation::wants_flip(int t, int side) const {
    const std::size_t k = static_cast<std::size_t>(side);
    if (at(t).fixed[k]) return false;
    const int u = at(t).next[k];
    const ERPoint2D& d = point(at(u).vertex[static_cast<std::size_t>(side_of(u, t))]);
    double x[3], y[3], lift[3];
    for (std::size_t i = 0; i < 3; ++i) {
        x[i] = point(at(t).vertex[i]).x() - d.x();
        y[i] = point(at(t).vertex[i]).y() - d.y();
        lift[i] = x[i] * x[i] + y[i] * y[i];
    }
    double determinant = 0.0, size = 0.0;
    for (std::size_t i = 0; i < 3; ++i) {
        const std::size_t j = (i + 1) % 3, l = (i + 2) % 3;
        determinant += lift[i] * (x[j] * y[l] - x[l] * y[j]);
        size += lift[i] * (std::fabs(x[j] * y[l]) + std::fabs(x[l] * y[j]));
    }
    constexpr double epsilon = 0x1p-53;
    constexpr double error = (10.0 + 96.0 * epsilon) * epsilon;
    return determinant > error * size && is_convex(t, side);
}

// Whether the two triangles at a side make a strictly convex quadrilateral.
bool Triangulation::is_convex(int t, int side) const {
    const int u = at(t).next[static_cast<std::size_t>(side)];
    const int a = at(t).vertex[static_cast<std::size_t>(side)];
    const int d = at(u).vertex[static_cast<std::size_t>(side_of(u, t))];
    const int b = at(t).vertex[static_cast<std::size_t>(after(side))];
    const int c = at(t).vertex[static_cast<std::size_t>(before(side))];
    return turn(a, b, d) > 0 && turn(a, d, c) > 0;
}

// The pair gets the other diagonal: a b c and d c b become a b d and a d c.
void Triangulation::flip(int t, int side) {
    const int u = at(t).next[static_cast<std::size_t>(side)], i = side_of(u, t);
    const Triangle own = at(t), other = at(u);
    const std::size_t k = static_cast<std::size_t>(side), l = static_cast<std::size_t>(after(side)),
                      m = static_cast<std::size_t>(before(side));
    const std::size_t r = static_cast<std::size_t>(i), s = static_cast<std::size_t>(after(i)),
                      q = static_cast<std::size_t>(before(i));
    const int a = own.vertex[k], b = own.vertex[l], c = own.vertex[m], d = other.vertex[r];
    // other is d c b: its side s, opposite to c, is b d, its side q, opposite to b, is d c.
    at(t) = {{a, b, d}, {none, none, none}};
    at(u) = {{a, d, c}, {none, none, none}};
    at(t).region = at(u).region = own.region;
    join(t, 0, other.next[s], other.fixed[s]);
    join(t, 2, own.next[m], own.fixed[m]);
    join(u, 0, other.next[q], other.fixed[q]);
    join(u, 1, own.next[l], own.fixed[l]);
    join(t, 1, u, false);
    for (const int vertex : {a, b, d})
        triangle_of_[static_cast<std::size_t>(vertex)] = t;
    triangle_of_[static_cast<std::size_t>(c)] = u;
    changed_.push_back(t);
    changed_.push_back(u);
}

// The side from a to b, in either direction, by going round a.
bool Triangulation::find_side(int a, int b, Side& found) const {
    const int start = triangle_of_[static_cast<std::size_t>(a)];
    for (const bool forwards : {true, false}) { // corners of the rectangle are not gone round
        int t = start;
        do {
            const int i = place_of(t, a);
            const auto& v = at(t).vertex;
            if (v[static_cast<std::size_t>(after(i))] == b) return found = {t, before(i)}, true;
            if (v[static_cast<std::size_t>(before(i))] == b) return found = {t, after(i)}, true;
            t = at(t).next[static_cast<std::size_t>(forwards ? after(i) : before(i))];
        } while (t != none && t != start);
        if (t == start) break;
    }
    return false;
}

int Triangulation::constrain(int a, int b, Side& crossed) {
    while (a != b) {
        const int reached = advance(a, b, crossed);
        if (reached == none || !fix(a, reached)) return a;
        a = reached;
    }
    return b;
}

int Triangulation::advance(int a, int b, Side& met) {
    Side side{};
    if (find_side(a, b, side)) return b;
    std::vector<std::array<int, 2>> crossed;
    const int end = collect_crossed(a, b, crossed, met);
    if (end != none && !crossed.empty()) clear_way(a, end, std::move(crossed));
    return end;
}

// The sides that the segment crosses before it reaches a vertex, which is returned; none at a
// constraint.
int Triangulation::collect_crossed(int a, int b, std::vector<std::array<int, 2>>& crossed,
                                   Side& met) const {
    const auto ahead = [&](int vertex) {
        const ERPoint2D &o = point(a), &p = point(vertex), &q = point(b);
        return (p.x() - o.x()) * (q.x() - o.x()) + (p.y() - o.y()) * (q.y() - o.y()) > 0.0;
    };
    int t = none, right = none, left = none;
    const int start = triangle_of_[static_cast<std::size_t>(a)];
    for (const bool forwards : {true, false}) {
        int now = start;
        do {
            const int i = place_of(now, a);
            const int p = at(now).vertex[static_cast<std::size_t>(after(i))];
            const int q = at(now).vertex[static_cast<std::size_t>(before(i))];
            const int turn_p = turn(a, b, p), turn_q = turn(a, b, q);
            if (turn_p == 0 && ahead(p)) return p;
            if (turn_q == 0 && ahead(q)) return q;
            if (turn_p < 0 && turn_q > 0) {
                t = now;
                right = p;
                left = q;
                break;
            }
            now = at(now).next[static_cast<std::size_t>(forwards ? after(i) : before(i))];
        } while (now != none && now != start);
        if (t != none || now == start) break;
    }
    while (t != none) {
        const int side = [&] { // between right and left
            for (int i = 0; i < 3; ++i) {
                const int vertex = at(t).vertex[static_cast<std::size_t>(i)];
                if (vertex != right && vertex != left) return i;
            }
            return 0;
        }();
        const int u = at(t).next[static_cast<std::size_t>(side)];
        met = {t, side};
        if (at(t).fixed[static_cast<std::size_t>(side)] || u == none) return none;
        crossed.push_back({right, left});
        const int vertex = at(u).vertex[static_cast<std::size_t>(side_of(u, t))];
        const int turn_there = vertex == b ? 0 : turn(a, b, vertex);
        if (turn_there == 0) return vertex;
        (turn_there > 0 ? left : right) = vertex;
        t = u;
    }
    return none;
}

// Flips the sides that cross the way from a to `end`, those that can't be flipped yet later.
void Triangulation::clear_way(int a, int end, std::vector<std::array<int, 2>> crossed) {
    std::vector<std::array<int, 2>> made;
    const std::size_t most = 100 + crossed.size() * crossed.size() * 4;
    for (std::size_t step = 0, next = 0; next < crossed.size() && step < most; ++step, ++next) {
        const auto [p, q] = crossed[next];
        Side side{};
        if (!find_side(p, q, side)) continue;
        if (!is_convex(side.triangle, side.side)) {
            crossed.push_back({p, q});
            continue;
        }
        const int u = at(side.triangle).next[static_cast<std::size_t>(side.side)];
        const int r = at(side.triangle).vertex[static_cast<std::size_t>(side.side)];
        const int s = at(u).vertex[static_cast<std::size_t>(side_of(u, side.triangle))];
        flip(side.triangle, side.side);
        const bool touches = r == a || r == end || s == a || s == end;
        const bool crosses = !touches && turn(a, end, r) * turn(a, end, s) < 0;
        if (crosses)
            crossed.push_back({r, s});
        else
            made.push_back({r, s});
    }
    fix(a, end);
    for (const auto& [r, s] : made) {
        Side side{};
        if (find_side(r, s, side) &&
            at(side.triangle).next[static_cast<std::size_t>(side.side)] != none)
            make_delaunay({side});
    }
}

bool Triangulation::fix(int a, int b) {
    Side side{};
    if (!find_side(a, b, side)) return false;
    join(side.triangle, side.side, at(side.triangle).next[static_cast<std::size_t>(side.side)],
         true);
    return true;
}

double Triangulation::doubled_area(int t) const {
    const auto& v = at(t).vertex;
    const ERPoint2D &a = point(v[0]), &b = point(v[1]), &c = point(v[2]);
    return (b.x() - a.x()) * (c.y() - a.y()) - (b.y() - a.y()) * (c.x() - a.x());
}

ERPoint2D Triangulation::middle(int t) const {
    const auto& v = at(t).vertex;
    const ERPoint2D &a = point(v[0]), &b = point(v[1]), &c = point(v[2]);
    return {(a.x() + b.x() + c.x()) / 3.0, (a.y() + b.y() + c.y()) / 3.0};
}

std::vector<int> Triangulation::component(int first, std::vector<bool>& seen) const {
    std::vector<int> found = {first};
    seen[static_cast<std::size_t>(first)] = true;
    std::size_t largest = 0;
    for (std::size_t k = 0; k < found.size(); ++k) {
        const int t = found[k];
        if (doubled_area(t) > doubled_area(found[largest])) largest = k;
        for (std::size_t i = 0; i < 3; ++i) {
            const int u = at(t).next[i];
            if (u == none || at(t).fixed[i] || seen[static_cast<std::size_t>(u)]) continue;
            seen[static_cast<std::size_t>(u)] = true;
            found.push_back(u);
        }
    }
    std::swap(found.front(), found[largest]);
    return found;
}

} // namespace velm::detail
