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
// The sum of two normals shorter than this belongs to a knife edge, or to a slit: curvature
// decides.
constexpr double knife_edge = 0.05;
// Outward normals of two solids that touch, by their cosine.
constexpr double opposite = -0.9;
// Halves of one leaf or piece of a trim that is known to pass by.
constexpr int passing_budget = 256;

// The outward normals of the faces whose trims pass a place, each once.
struct Meeting {
    static constexpr int most = 12;
    ERVector3D normals[most];
    int count = 0;

    void add(const ERVector3D& normal) {
        for (int i = 0; i < count; ++i)
            if ((normals[i] - normal).norme() <= smooth_turn) return;
        if (count < most) normals[count++] = normal;
    }
    ERVector3D sum() const {
        ERVector3D sum;
        for (int i = 0; i < count; ++i)
            sum += normals[i];
        return sum;
    }
};

// Calls take(foot) for what is within the tolerance of a place: the trims, or the faces but for
// one.
template <class Wanted, class Take>
void passing(const PartTables& part, const ERPoint3D& x, Wanted wanted, Take take) {
    const FaceSet& set = *part.set;
    double at[3];
    set.frame().to_local(x, at);
    const double reach = std::max(part.tolerance * set.frame().scale, 0x1p-40 * set.local_size());
    const double bound = reach * reach;
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

Meeting meeting_at(const PartTables& part, const ERPoint3D& x) {
    Meeting meeting;
    passing(
        part, x, [](const FaceSet::Item& item) { return item.index < 0; },
        [&](const PartFoot& foot) { meeting.add(foot.outward); });
    return meeting;
}

// Whether the face of another solid lies on this one there: then both sides are material.
bool touches(const PartTables& part, const PartFoot& here) {
    bool found = false;
    passing(
        part, here.point,
        [&](const FaceSet::Item& item) { return item.index >= 0 && item.face != here.face; },
        [&](const PartFoot& foot) { found = found || foot.outward * here.outward < opposite; });
    return found;
}

void set_sign(const ERPoint3D& p, const ERVector3D& outward, PartFoot& foot) {
    foot.signed_distance =
        ERVector3D(foot.point, p) * outward < 0.0 ? -foot.distance : foot.distance;
}

// Where two smooth faces meet at an edge, the sum of their normals; else nothing.
std::optional<ERVector3D> normal_of_edge(const Meeting& meeting, const PartFoot& foot) {
    const ERVector3D sum = meeting.sum();
    const double length = sum.norme();
    if (meeting.count != 2 || length <= knife_edge || foot.kind != SurfaceFootKind::edge)
        return std::nullopt;
    return sum * (1.0 / length);
}

// By points of the ball about p that reaches to its foot. False if that of each is a corner.
bool side_of_ball(const PartTables& part, const ERPoint3D& p, PartFoot& foot) {
    if (!(foot.distance > 0.0)) return false;
    const ERVector3D toward = ERVector3D(foot.point, p) * (1.0 / foot.distance);
    const ERVector3D across = toward.find_perpendicular().getnormalized(), other = toward ^ across;
    for (const double slope : {0.3, 1.0, 2.0, 0.1})
        for (int k = 0; k < 6; ++k) {
            const double angle = (k + 0.3 * slope) * std::numbers::pi / 3.0;
            const ERVector3D way =
                toward + (across * std::cos(angle) + other * std::sin(angle)) * slope;
            // x + s way is in the ball for 0 < s < 2 distance / |way|^2.
            const ERPoint3D in_ball = foot.point + way * (foot.distance / (1.0 + slope * slope));
            const PartFoot at = part.nearest(in_ball);
            if (at.face < 0) continue;
            ERVector3D outward = at.outward;
            const bool is_inner = at.loop < 0 && at.kind == SurfaceFootKind::interior;
            if (!is_inner) {
                const auto normal = normal_of_edge(meeting_at(part, at.point), at);
                if (!normal) continue;
                outward = *normal;
            }
            const bool inside =
                ERVector3D(at.point, in_ball) * outward < 0.0 || (is_inner && touches(part, at));
            foot.signed_distance = inside ? -foot.distance : foot.distance;
            return true;
        }
    return false;
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
    if (foot.loop < 0 && foot.kind == SurfaceFootKind::interior) {
        if (foot.signed_distance > 0.0 && touches(part, foot)) foot.signed_distance *= -1.0;
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
    const auto normal = normal_of_edge(meeting, foot);
    if (normal) {
        foot.outward = *normal;
        set_sign(p, foot.outward, foot);
        return;
    }
    const ERVector3D sum = meeting.sum();
    if (sum.norme() > knife_edge) foot.outward = sum.getnormalized();
    if (side_of_ball(part, p, foot)) return;
    foot.side = PartSide::uncertain;
    set_sign(p, foot.outward, foot);
}

} // namespace velm::detail
