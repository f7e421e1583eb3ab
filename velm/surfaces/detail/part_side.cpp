#include "velm/surfaces/detail/part_tables.h"

#include "velm/frame/point_functions.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>

namespace velm::detail {
namespace {

// Normals that differ by less, as the length of their difference, are those of one smooth surface.
constexpr double smooth_turn = 1e-6;
// The sum of two normals shorter than this belongs to a knife edge, or to a slit: what is between
// the faces decides.
constexpr double knife_edge = 0.05;
// Outward normals of two solids that touch, by their cosine.
constexpr double opposite = -0.9;
// Faces that meet are this near to each other, of the size, unless the part has gaps.
constexpr double touching_size = 0x1p-40;
// Roundings of feet, of the size: faces are on one side of each other beyond that.
constexpr double foot_rounding = 0x1p-46;
// How far from a knife edge its faces are compared, of the size: at a cusp of radius r they are
// this squared over r apart there, which has to be more than the rounding of feet; beside a corner
// less.
constexpr double knife_steps[] = {0x1p-16, 0x1p-20, 0x1p-24, 0x1p-28};
// Of a whole edge, on both sides of a place on it, for its direction.
constexpr double edge_step = 1e-4;
// Halves of one leaf or piece of a trim that is known to pass by.
constexpr int passing_budget = 256;
// Directions from a corner by their tangent to that of the point. The normal cone of a tip whose
// half angle is a ends at 1 / tan a.
constexpr double slopes[] = {0.3, 1.0, 2.0, 0.1, 5.0, 25.0, 125.0};
constexpr int ways_around = 6;

double length_of_size(const PartTables& part, double fraction) {
    return fraction * part.set->local_size() / part.set->frame().scale;
}

// What passes a place: the faces whose trims do, each with its outward normal, and each normal
// once.
struct Meeting {
    static constexpr int most = 12;
    PartFoot feet[most];
    int count = 0;

    void add(const PartFoot& foot) {
        for (int i = 0; i < count; ++i)
            if ((feet[i].outward - foot.outward).norme() <= smooth_turn) return;
        if (count < most) feet[count++] = foot;
    }
    ERVector3D sum() const {
        ERVector3D sum;
        for (int i = 0; i < count; ++i)
            sum += feet[i].outward;
        return sum;
    }
};

// Calls take(foot) for each of the items that are wanted and within reach of a place.
template <class Wanted, class Take>
void passing(const PartTables& part, const ERPoint3D& x, double reach, Wanted wanted, Take take) {
    const FaceSet& set = *part.set;
    double at[3];
    set.frame().to_local(x, at);
    const double local = std::max(reach * set.frame().scale, touching_size * set.local_size());
    const double bound = local * local;
    set.tree().nearest(at, bound, [&](int number, double) {
        if (!wanted(set.item(number))) return true;
        LeafSearch near(at, set.local_size(), passing_budget);
        near.limit(bound);
        set.look_alone(number, near);
        const PartFoot foot = part.found_by(near);
        if (foot.face >= 0) take(foot);
        return true;
    });
}

Meeting meeting_within(const PartTables& part, const ERPoint3D& x, double reach) {
    Meeting meeting;
    passing(
        part, x, reach, [](const FaceSet::Item& item) { return item.index < 0; },
        [&](const PartFoot& foot) { meeting.add(foot); });
    return meeting;
}

// Gaps are looked across only where nothing meets without one, as beside a tip.
Meeting meeting_at(const PartTables& part, const ERPoint3D& x) {
    const Meeting meeting = meeting_within(part, x, 0.0);
    return meeting.count > 1 ? meeting : meeting_within(part, x, part.tolerance);
}

// Whether a face that looks the other way lies where a foot is: before it that of another solid, so
// that both sides are material; behind it the other side of a wall, or of a solid that overlaps.
enum class Facing { none, before, behind };

Facing facing_at(const PartTables& part, const PartFoot& here) {
    Facing found = Facing::none;
    const double behind = -length_of_size(part, touching_size);
    passing(
        part, here.point, part.tolerance,
        [&](const FaceSet::Item& item) { return item.index >= 0 && item.face != here.face; },
        [&](const PartFoot& foot) {
            if (foot.outward * here.outward >= opposite) return;
            const bool before = ERVector3D(here.point, foot.point) * here.outward >= behind;
            if (before || found == Facing::none) found = before ? Facing::before : Facing::behind;
        });
    return found;
}

void set_sign(const ERPoint3D& p, const ERVector3D& outward, PartFoot& foot) {
    foot.signed_distance =
        ERVector3D(foot.point, p) * outward < 0.0 ? -foot.distance : foot.distance;
}

// The place of a face that is nearest to a step from its edge into it.
std::optional<ERPoint3D> beside_edge(const PartTables& part, const PartFoot& edge, double step) {
    const PreparedFace& face = (*part.set)[edge.face].face;
    const auto on_edge = [&](double at) {
        const ERPoint2D place = face.parameter(edge.loop, edge.edge, std::clamp(at, 0.0, 1.0));
        return face.surface()(place.x(), place.y());
    };
    const ERVector3D along(on_edge(edge.part - edge_step), on_edge(edge.part + edge_step));
    const double length = along.norme();
    if (!(length > 0.0)) return std::nullopt;
    const ERVector3D across = (along ^ edge.outward) * (step / length);
    std::optional<ERPoint3D> found;
    double least = 0.5 * step;
    for (const ERVector3D& way : {across, -across}) {
        const ERPoint3D from = edge.point + way;
        passing(
            part, from, least, [&](const FaceSet::Item& item) { return item.face == edge.face; },
            [&](const PartFoot& foot) {
                if (foot.distance < least) least = foot.distance, found = foot.point;
            });
    }
    return found;
}

// The side of a point whose foot is on an edge where two smooth faces meet. From a knife edge all
// of its nearest points are outside, from the end of a slit all are inside.
std::optional<double> sign_at_edge(const PartTables& part, const Meeting& meeting,
                                   const PartFoot& foot, const ERPoint3D& p) {
    if (meeting.count != 2 || foot.kind != SurfaceFootKind::edge) return std::nullopt;
    const ERVector3D sum = meeting.sum();
    if (sum.norme() > knife_edge) return ERVector3D(foot.point, p) * sum < 0.0 ? -1.0 : 1.0;
    const PartFoot &one = meeting.feet[0], &other = meeting.feet[1];
    if (one.loop < 0 || other.loop < 0) return std::nullopt;
    for (const double size : knife_steps) {
        const double step = length_of_size(part, size);
        const auto on_one = beside_edge(part, one, step), on_other = beside_edge(part, other, step);
        if (!on_one || !on_other) continue;
        const double before = ERVector3D(*on_one, *on_other) * one.outward;
        if (std::fabs(before) > length_of_size(part, foot_rounding))
            return before < 0.0 ? 1.0 : -1.0;
    }
    return std::nullopt;
}

// Whether a face goes on smoothly about a foot. At a pole of its parameters it may, or be a tip.
bool is_inner(const PartTables& part, const PartFoot& foot, const ERPoint3D& p) {
    if (foot.loop >= 0) return false;
    if (foot.kind != SurfaceFootKind::degenerate) return foot.kind == SurfaceFootKind::interior;
    constexpr double slope = 1e-3, foot_error = 1e-12;
    const ERVector3D away(foot.point, p);
    const ERVector3D along = away - foot.outward * (away * foot.outward);
    return along.norme() <= slope * foot.distance + length_of_size(part, foot_error);
}

// By points of the ball about p that reaches to its foot, whose own feet are inside of a face or on
// an edge. Those where faces face each other count only if no others are found and `contacts` do.
bool side_of_ball(const PartTables& part, const ERPoint3D& p, bool contacts, PartFoot& foot) {
    if (!(foot.distance > 0.0)) return false;
    const ERVector3D toward = ERVector3D(foot.point, p) * (1.0 / foot.distance);
    const ERVector3D across = toward.find_perpendicular().getnormalized(), other = toward ^ across;
    bool in_contact = false;
    for (const double slope : slopes)
        for (int k = 0; k < ways_around; ++k) {
            const double angle = (k + 0.3 * slope) * 2.0 * std::numbers::pi / ways_around;
            const ERVector3D way =
                toward + (across * std::cos(angle) + other * std::sin(angle)) * slope;
            // x + s way is in the ball for 0 < s < 2 distance / |way|^2.
            const ERPoint3D in_ball = foot.point + way * (foot.distance / (1.0 + slope * slope));
            const PartFoot at = part.nearest(in_ball);
            if (at.face < 0) continue;
            std::optional<double> sign;
            if (is_inner(part, at, in_ball)) {
                sign = ERVector3D(at.point, in_ball) * at.outward < 0.0 ? -1.0 : 1.0;
                const Facing facing = *sign < 0.0 ? Facing::none : facing_at(part, at);
                in_contact = in_contact || facing == Facing::before;
                if (facing != Facing::none) continue;
            } else {
                sign = sign_at_edge(part, meeting_at(part, at.point), at, in_ball);
            }
            if (!sign) continue;
            foot.signed_distance = *sign * foot.distance;
            return true;
        }
    if (!contacts || !in_contact) return false;
    foot.signed_distance = -foot.distance;
    return true;
}

bool is_open(const PartTables& part, const PartFoot& foot) {
    if (foot.loop < 0) return false;
    const int i = part.edges.at(foot.face, foot.loop, foot.edge, foot.part);
    return part.edges.all()[static_cast<std::size_t>(i)].kind == PartEdgeKind::open;
}

// Whether the two sides of a stretch are of one face.
bool is_seam(const PartTables& part, const PartFoot& foot) {
    const std::span<const PartEdge> all = part.edges.all();
    const PartEdge& here =
        all[static_cast<std::size_t>(part.edges.at(foot.face, foot.loop, foot.edge, foot.part))];
    return here.mate >= 0 && all[static_cast<std::size_t>(here.mate)].face == foot.face;
}

} // namespace

void settle_side_of_face(const ERPoint3D& p, PartFoot& foot) {
    set_sign(p, foot.outward, foot);
    const bool inner = foot.loop < 0 && foot.kind == SurfaceFootKind::interior;
    foot.side = inner ? PartSide::certain : PartSide::edge;
}

void settle_side(const PartTables& part, const ERPoint3D& p, PartFoot& foot) {
    set_sign(p, foot.outward, foot);
    foot.side = PartSide::certain;
    if (is_inner(part, foot, p)) {
        if (!(foot.signed_distance > 0.0)) return;
        const Facing facing = facing_at(part, foot);
        if (facing == Facing::before) foot.signed_distance *= -1.0;
        if (facing == Facing::behind) side_of_ball(part, p, false, foot);
        return;
    }
    if (is_open(part, foot)) {
        foot.side = PartSide::open_edge;
        return;
    }
    foot.side = PartSide::edge;
    const Meeting meeting = meeting_at(part, foot.point);
    if (meeting.count == 1 && foot.kind == SurfaceFootKind::edge && foot.loop >= 0) { // smooth
        foot.side = PartSide::certain;
        if (!is_seam(part, foot)) return;
        foot.kind = SurfaceFootKind::interior;
        foot.loop = foot.edge = -1;
        foot.part = 0.0;
        return;
    }
    const ERVector3D sum = meeting.sum();
    if (sum.norme() > knife_edge) foot.outward = sum.getnormalized();
    if (const auto sign = sign_at_edge(part, meeting, foot, p)) {
        foot.signed_distance = *sign * foot.distance;
        return;
    }
    if (side_of_ball(part, p, true, foot)) return;
    foot.side = PartSide::uncertain;
    set_sign(p, foot.outward, foot);
}

} // namespace velm::detail
