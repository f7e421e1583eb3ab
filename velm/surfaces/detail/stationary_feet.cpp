#include "velm/surfaces/detail/stationary_feet.h"

#include "velm/surfaces/detail/analytic_feet.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace velm::detail {
namespace {

// Feet on sides of leaves that are this near to each other, of the size, are one.
constexpr double same_place = 1e-9;
constexpr double beside_side = 1e-7;
// Rounding of a product of the offset and a tangent, of the product of their sizes.
constexpr double product_rounding = 0x1p-47;
// A second derivative above this part of what it is made of counts as not negative.
constexpr double flat_bend = 1e-9;
// The square of a tangent beside that of the other where the other's line is a point.
constexpr double collapsed = 1e-14;
// A component of an offset along the surface, of its length and the size, that is no longer along
// the normal.
constexpr double askew = 1e-6;

// Whether the distance from a place doesn't bend down along a tangent.
bool bends_up(const ERVector3D& from, const ERVector3D& tangent, const ERVector3D& bend) {
    return tangent * tangent + from * bend >= -flat_bend * (tangent * tangent);
}

} // namespace

StationaryFeet::StationaryFeet(const ProjectorTables& tables, const ERPoint3D& p,
                               std::vector<SurfaceFoot>& feet)
    : tables_(tables), surface_(SurfaceTables::of(tables.surface)), p_(p), feet_(feet),
      distance_(HUGE_VAL) {
    tables.leaves.frame.to_local(p, q_);
    feet.clear();
}

void StationaryFeet::perpendicular() {
    if (tables_.analytic) {
        on_analytic(false);
    } else {
        const double bound = distance_ * tables_.leaves.frame.scale;
        const double squared = bound * bound * (1.0 + 1e-12) + std::numeric_limits<double>::min();
        tables_.tree.nearest(q_, squared, [&](int leaf, double) {
            feet_on(leaf);
            return true;
        });
    }
    std::sort(feet_.begin(), feet_.end(), [](const SurfaceFoot& a, const SurfaceFoot& b) {
        if (a.distance != b.distance) return a.distance < b.distance;
        return a.u < b.u || (a.u == b.u && a.v < b.v);
    });
}

void StationaryFeet::minima(double distance) {
    minima_only_ = true;
    distance_ = distance;
    if (!tables_.analytic)
        for (const SharpLine& line : tables_.lines) {
            if (line.collapsed) {
                at_point(line);
            } else {
                on_line(line);
            }
            for (const SharpLine& other : tables_.lines)
                if (line.constant_u && !other.constant_u) at_meeting(line, other);
        }
    if (tables_.analytic) on_analytic(true);
    perpendicular();
}

void StationaryFeet::feet_on(int number) {
    const SurfaceLeaves& leaves = tables_.leaves;
    leaf_feet_.find(leaves, number, q_);
    for (int i = 0; i < leaf_feet_.count(); ++i) {
        const PairZero& zero = leaf_feet_.zero(i);
        SurfaceFoot foot = foot_at(tables_.surface, leaves, leaf_feet_.place(i), q_);
        foot.lower = foot.distance;
        foot.certified = zero.simple;
        if (!zero.simple) foot.kind = SurfaceFootKind::degenerate;
        if (minima_only_ ? !is_minimum(foot) : !is_perpendicular(foot)) continue;
        bool at_side = false;
        for (int k = 0; k < 2; ++k)
            at_side = at_side || std::fabs(zero.x[k]) + zero.reach[k] >= 1.0 - beside_side;
        keep(foot, at_side);
    }
}

// At a row of poles in one point the derivatives can vanish for one of its parameters alone.
bool StationaryFeet::is_perpendicular(const SurfaceFoot& foot) const {
    const ERVector3D from(foot.point - p_);
    return (from ^ foot.normal).norme() <=
           askew * (from.norme() + tables_.surface.box().diagonal());
}

// Whether the second derivatives at a stationary place are those of a minimum.
bool StationaryFeet::is_minimum(const SurfaceFoot& foot) const {
    if (foot.distance > distance_) return false;
    const SurfaceSide inside = {foot.u >= surface_.u.end(), foot.v >= surface_.v.end()};
    const Jet jet = sided_jet(surface_, {foot.u, foot.v}, inside);
    const ERVector3D from(foot.point - p_), pu = jet.vector(1), pv = jet.vector(2);
    const double e = pu * pu, g = pv * pv;
    const double a = e + from * jet.vector(3), b = pu * pv + from * jet.vector(4),
                 c = g + from * jet.vector(5);
    // A line that is a point, see at_point; where an offset surface folds, tangents alone vanish.
    const auto is_point = [=](double square, double bend) {
        return square <= collapsed * (e + g) && std::fabs(bend) <= flat_bend * (e + g);
    };
    if (is_point(e, a) || is_point(g, c)) return false;
    return a >= -flat_bend * e && c >= -flat_bend * g && a * c - b * b >= -flat_bend * e * g;
}

// The feet, or the minima on limits.
void StationaryFeet::on_analytic(bool limits) {
    const AnalyticFeet places(surface_, p_);
    for (int i = 0; i < places.count(); ++i) {
        const AnalyticPlace& place = places[i];
        if (limits == (place.free_u && place.free_v)) continue;
        SurfaceFoot foot = foot_at(tables_.surface, place);
        foot.lower = foot.distance;
        foot.certified = foot.kind != SurfaceFootKind::degenerate;
        if (!limits) {
            if (!minima_only_ || is_minimum(foot)) keep(foot, true);
            continue;
        }
        bool minimum = is_minimum_on_limit(place);
        // At the tip of a cone the distance has to rise in all directions.
        if (surface_.kind == SurfaceKind::cone && foot.kind == SurfaceFootKind::degenerate)
            for (int k = 0; k < places.count(); ++k)
                if (!places[k].free_u && !place.free_u && places[k].u == place.u)
                    minimum = minimum && is_minimum_on_limit(places[k]);
        if (minimum) keep(foot, true);
    }
}

// Whether the distance rises inward or is level there and bends up, and along the limit the place
// is a minimum. Of equally far places all are minima.
bool StationaryFeet::is_minimum_on_limit(const AnalyticPlace& place) const {
    const SurfaceSide inside = {place.u >= surface_.u.end(), place.v >= surface_.v.end()};
    const Jet jet = sided_jet(surface_, {place.u, place.v}, inside);
    const AnalyticShape& shape = surface_.shape;
    const ERVector3D from = shape.x * place.from_query[0] + shape.y * place.from_query[1] +
                            shape.z * place.from_query[2];
    const double extent = jet.vector(1).norme2() + jet.vector(2).norme2();
    const auto is_least = [&](bool is_free, int tangent, int bend, bool below) {
        const ERVector3D t = jet.vector(tangent);
        if (t.norme2() <= collapsed * extent) return true;
        if (is_free) return bends_up(from, t, jet.vector(bend));
        return rises(from, below ? -t : t, jet.vector(bend));
    };
    return is_least(place.free_u, 1, 3, inside.below_u) &&
           is_least(place.free_v, 2, 5, inside.below_v);
}

// Whether the distance rises along a tangent, or is level to its rounding and doesn't bend down.
bool StationaryFeet::rises(const ERVector3D& from, const ERVector3D& tangent,
                           const ERVector3D& bend) const {
    const double slope = from * tangent;
    const double level =
        product_rounding * tangent.norme() * (from.norme() + tables_.surface.box().diagonal());
    return slope > level || (slope >= -4.0 * level && bends_up(from, tangent, bend));
}

bool StationaryFeet::rises(const Jet& jet, bool along_u, double sign) const {
    return rises(ERVector3D(jet.point() - p_), jet.vector(along_u ? 1 : 2) * sign,
                 jet.vector(along_u ? 3 : 5));
}

bool StationaryFeet::rises(const SharpLine& line, double t) const {
    for (int which = 0; which < 2; ++which) {
        if (!line.side[which]) continue;
        const Jet jet =
            sided_jet(surface_, line.place(tables_.leaves, t, which), line.jet_side(t, which));
        const double sign = which == 0 ? -1.0 : 1.0;
        if (!rises(jet, line.constant_u, sign)) return false;
    }
    return true;
}

void StationaryFeet::on_line(const SharpLine& line) {
    static thread_local std::vector<CurveFoot<3>> feet;
    line.curve.perpendicular_feet(p_, feet);
    const ERLimites ends = line.curve.domain();
    for (const CurveFoot<3>& foot : feet) {
        const bool is_minimum = foot.before <= 0 && foot.after >= 0;
        const bool at_end =
            !line.curve.closed() && (foot.t == ends.start() || foot.t == ends.end());
        if (!is_minimum || at_end || foot.distance > distance_ || !rises(line, foot.t)) continue;
        const int which = line.side[1] ? 1 : 0;
        const ERPoint2D at = line.place(tables_.leaves, foot.t, which);
        add(at.x(), at.y(), foot.point, line.jet_side(foot.t, which),
            foot.kind == FootKind::continuum ? SurfaceFootKind::degenerate : SurfaceFootKind::edge);
    }
}

// Where two lines meet the distance has to rise along both into each part of the surface.
void StationaryFeet::at_meeting(const SharpLine& u_line, const SharpLine& v_line) {
    if (u_line.collapsed || v_line.collapsed) return;
    int parts = 0;
    SurfaceSide last;
    ERPoint2D at;
    ERPoint3D point;
    for (int a = 0; a < 2; ++a)
        for (int b = 0; b < 2; ++b) {
            if (!u_line.side[a] || !v_line.side[b]) continue;
            at = ERPoint2D(u_line.at[a], v_line.at[b]);
            last = {a == 0, b == 0};
            const Jet jet = sided_jet(surface_, at, last);
            point = jet.point();
            if (!rises(jet, true, a == 0 ? -1.0 : 1.0) || !rises(jet, false, b == 0 ? -1.0 : 1.0))
                return;
            ++parts;
        }
    const double distance = ERVector3D(point - p_).norme();
    if (distance <= distance_)
        add(at.x(), at.y(), point, last,
            parts == 1 ? SurfaceFootKind::corner : SurfaceFootKind::edge);
}

// A row of poles in one point: the distance has to rise in all directions.
void StationaryFeet::at_point(const SharpLine& line) {
    constexpr int samples = 8;
    const ERLimites ends = line.curve.domain();
    const int count = samples * static_cast<int>(ends.end());
    for (int k = 0; k <= count; ++k)
        if (!rises(line, double(k) / samples)) return;
    const int which = line.side[1] ? 1 : 0;
    const ERPoint2D at = line.place(tables_.leaves, 0.0, which);
    const ERPoint3D point = line.curve(0.0);
    if (ERVector3D(point - p_).norme() <= distance_)
        add(at.x(), at.y(), point, line.jet_side(0.0, which), SurfaceFootKind::degenerate);
}

void StationaryFeet::add(double u, double v, const ERPoint3D& point, const SurfaceSide& side,
                         SurfaceFootKind kind) {
    const Jet jet = sided_jet(surface_, {u, v}, side);
    SurfaceFoot foot;
    foot.u = u, foot.v = v;
    foot.point = point;
    const ERVector3D normal = jet.vector(1) ^ jet.vector(2);
    foot.normal = kind == SurfaceFootKind::degenerate || !(normal.norme() > 0.0)
                      ? tables_.surface.normal(u, v)
                      : normal.getnormalized();
    foot.distance = foot.lower = ERVector3D(point - p_).norme();
    foot.kind = kind;
    foot.certified = kind != SurfaceFootKind::degenerate;
    keep(foot, true);
}

void StationaryFeet::keep(const SurfaceFoot& foot, bool at_side) {
    if (foot.distance > distance_) return;
    const double near = same_place * tables_.surface.box().diagonal() *
                        (foot.kind == SurfaceFootKind::degenerate ? 1e3 : 1.0);
    if (at_side)
        for (const SurfaceFoot& other : feet_)
            if (ERVector3D(other.point - foot.point).norme() <= near) return;
    feet_.push_back(foot);
}

} // namespace velm::detail
