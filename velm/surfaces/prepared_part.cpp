#include "velm/surfaces/prepared_part.h"

#include "velm/frame/point_functions.h"
#include "velm/surfaces/detail/in_parts.h"
#include "velm/surfaces/detail/leaf_feet.h"
#include "velm/surfaces/detail/part_tables.h"

#include <algorithm>
#include <cassert>
#include <limits>

namespace velm {

using detail::FaceSet;
using detail::InTrim;
using detail::LeafFeet;
using detail::LeafPlace;
using detail::LeafSearch;
using detail::LiftedPiece;
using detail::NormalCone;
using detail::PartTables;
using detail::SearchedFace;
using detail::SurfaceLeaf;

namespace {

// A foot counts as perpendicular if its offset leaves the normal by no more than this part of it,
// beside this part of the size.
constexpr double perpendicular_slope = 1e-6;
constexpr double perpendicular_size = 1e-9;

bool is_finite(const ERPoint3D& p) {
    return std::isfinite(p.x()) && std::isfinite(p.y()) && std::isfinite(p.z());
}

LeafSearch search_from(const FaceSet& set, const ERPoint3D& p) {
    double q[3];
    set.frame().to_local(p, q);
    return LeafSearch(q, set.local_size(), SurfaceProjector::default_budget);
}

// The places of a search that count.
class Condition {
public:
    Condition(const PartSearch& search, double scale, double size) : size_(size) {
        if (search.max_distance < HUGE_VAL) {
            max_ = search.max_distance * (1.0 + detail::foot_distance_part) +
                   detail::foot_size_part * size;
            // The search is for what is nearer than its bound by half of its accuracy.
            bound_ = (max_ + detail::foot_size_part * size) * scale;
            bound_ *= bound_;
        }
        if (search.direction && search.max_angle < std::numbers::pi) {
            // Of no length, a vector of NaNs, to which nothing is turned.
            const ERVector3D& way = *search.direction;
            const double length = std::hypot(way.i(), way.j(), way.k());
            direction_ = ERVector3D(way.i() / length, way.j() / length, way.k() / length);
            angle_ = search.max_angle;
            cosine_ = std::cos(angle_);
        }
    }
    double bound() const { return bound_; }
    bool is_near(const PartFoot& foot) const { return foot.distance <= max_; }
    // `foot.outward` is that of its own face.
    bool is_faced(const PartFoot& foot) const {
        return !direction_ || foot.outward * *direction_ >= cosine_;
    }
    // Whether a normal of the cone may be that of a place that counts, `outward` being the side of
    // its face that is out of the material.
    bool may_be_faced(const NormalCone& normals, int outward) const {
        if (!direction_) return true;
        const double unit[3] = {(*direction_)[0], (*direction_)[1], (*direction_)[2]};
        return normals.may_reach(unit, outward, angle_);
    }
    bool is_perpendicular(const PartFoot& foot, const ERPoint3D& p) const {
        if (foot.loop >= 0 || foot.kind != SurfaceFootKind::interior) return true;
        const ERVector3D away(foot.point, p);
        const ERVector3D along = away - foot.normal * (away * foot.normal);
        return along.norme() <= perpendicular_slope * foot.distance + perpendicular_size * size_;
    }

private:
    double size_;
    double max_ = HUGE_VAL;
    double bound_ = HUGE_VAL; // squared, local
    std::optional<ERVector3D> direction_;
    double angle_ = std::numbers::pi, cosine_ = -1.0;
};

// The nearest of the places that count among the minima of leaves and pieces of trim.
class FacedSearch {
public:
    FacedSearch(const PartTables& part, const ERPoint3D& p, const Condition& condition)
        : part_(part), set_(*part.set), p_(p), condition_(condition), squared_(condition.bound()) {
        set_.frame().to_local(p, q_);
    }

    PartFoot run() {
        set_.tree().nearest(q_, squared_, [&](int number, double) {
            look(number);
            return true;
        });
        best_.certified = complete_;
        best_.lower = best_.distance;
        return best_;
    }

private:
    // Where the nearest place doesn't count another minimum may, unless one is all there is.
    void look(int number) {
        const FaceSet::Item at = set_.item(number);
        const NormalCone& normals = part_.normals[static_cast<std::size_t>(number)];
        if (!condition_.may_be_faced(normals, part_.outward[static_cast<std::size_t>(at.face)]))
            return;
        LeafSearch alone(q_, set_.local_size(), budget_);
        alone.limit(squared_);
        set_.look_alone(number, alone);
        budget_ = std::max(alone.budget_left(), 0);
        complete_ = complete_ && !alone.spent();
        if (alone.best().leaf < 0 || offer(alone) || !alone.halved() || alone.spent()) return;
        if (at.index < 0) {
            complete_ = false;
            return;
        }
        const SearchedFace& face = set_[at.face];
        const SurfaceLeaf& leaf = face.leaves[at.index];
        const bool has_pieces = leaf.in_trim == InTrim::crossing; // on its limits, too
        complete_ = complete_ && (has_pieces || leaf.sharp == 0);
        LeafFeet feet;
        feet.find(face.leaves, at.index, q_);
        for (int i = 0; i < feet.count(); ++i) {
            LeafPlace place = feet.place(i);
            place.leaf = number;
            if (!(place.squared < squared_)) continue;
            const bool is_simple = feet.zero(i).simple;
            complete_ = complete_ && is_simple;
            if (!is_simple || !feet.is_minimum(i)) continue;
            if (leaf.in_trim == InTrim::crossing &&
                !face.holds(face.leaves.u_at(leaf, place.s), face.leaves.v_at(leaf, place.t)))
                continue;
            LeafSearch one(q_, set_.local_size(), 0);
            one.offer(place);
            offer(one);
        }
    }

    // Returns whether the best place of a search counts.
    bool offer(const LeafSearch& search) {
        const PartFoot foot = part_.found_by(search);
        if (!condition_.is_faced(foot) || !condition_.is_perpendicular(foot, p_)) return false;
        if (foot.kind == SurfaceFootKind::edge && !is_across_edge(search.best())) return false;
        best_ = foot;
        squared_ = search.best().squared;
        return true;
    }

    // False at an end of a piece of an edge from which the distance falls along the edge.
    bool is_across_edge(const LeafPlace& place) const {
        const FaceSet::Item at = set_.item(place.leaf);
        if (at.index >= 0) return true;
        const LiftedPiece& piece = set_[at.face].trim[static_cast<std::size_t>(~at.index)];
        if (piece.loop < 0) return true;
        double jet[2][3];
        piece.jet(place.s, 1, jet);
        const ERVector3D away(place.from_query[0], place.from_query[1], place.from_query[2]);
        const ERVector3D along(jet[1][0], jet[1][1], jet[1][2]);
        return std::fabs(away * along) <= along.norme() * (perpendicular_slope * away.norme() +
                                                           perpendicular_size * set_.local_size());
    }

    const PartTables& part_;
    const FaceSet& set_;
    const ERPoint3D p_;
    const Condition& condition_;
    double q_[3];
    double squared_;
    int budget_ = SurfaceProjector::default_budget; // of all leaves together
    bool complete_ = true;
    PartFoot best_;
};

std::vector<NormalCone> normals_of(const FaceSet& set) {
    std::vector<NormalCone> normals;
    for (int i = 0; i < set.size(); ++i) {
        const SearchedFace& face = set[i];
        NormalCone all;
        bool first = true;
        for (const SurfaceLeaf& leaf : face.leaves.leaves) {
            normals.push_back(normal_cone(face.leaves, leaf));
            if (first)
                all = normals.back();
            else
                all.join(normals.back());
            first = false;
        }
        normals.insert(normals.end(), face.trim.size(), all);
    }
    return normals;
}

} // namespace

PartFoot PartTables::found_by(const LeafSearch& search) const {
    PartFoot foot;
    int face = -1;
    if (!set->foot(search, foot, face)) return foot;
    foot.face = face;
    foot.outward = foot.normal * outward[static_cast<std::size_t>(face)];
    return foot;
}

PartFoot PartTables::nearest(const ERPoint3D& p) const {
    LeafSearch search = search_from(*set, p);
    set->search(search);
    return found_by(search);
}

std::optional<PreparedPart> PreparedPart::of(std::vector<PartFace> faces, double tolerance,
                                             int threads) {
    if (faces.empty()) return std::nullopt;
    auto tables = std::make_shared<PartTables>();
    std::vector<PreparedFace> prepared;
    for (PartFace& face : faces) {
        tables->outward.push_back(face.outward < 0 ? -1 : 1);
        prepared.push_back(std::move(face.face));
    }
    tables->edges = PartEdges::of(prepared, tables->outward, tolerance);
    tables->tolerance = tables->edges.tolerance();
    tables->set = FaceSet::of(std::move(prepared), threads);
    if (!tables->set) return std::nullopt;
    tables->normals = normals_of(*tables->set);
    return PreparedPart(std::move(tables));
}

PreparedPart::PreparedPart(std::shared_ptr<const PartTables> tables) : tables_(std::move(tables)) {}

int PreparedPart::faces() const { return tables_->set->size(); }
const PreparedFace& PreparedPart::face(int i) const { return (*tables_->set)[i].face; }
int PreparedPart::outward(int i) const { return tables_->outward[static_cast<std::size_t>(i)]; }
double PreparedPart::tolerance() const { return tables_->tolerance; }
ERMinimax3D PreparedPart::box() const { return tables_->set->box(); }
double PreparedPart::size() const { return box().diagonal(); }
const PartEdges& PreparedPart::edges() const { return tables_->edges; }

PartFoot PreparedPart::nearest(const ERPoint3D& p) const { return nearest(p, PartSearch()); }

PartFoot PreparedPart::nearest(const ERPoint3D& p, const PartSearch& conditions) const {
    PartFoot none;
    none.distance = std::numeric_limits<double>::quiet_NaN();
    if (!is_finite(p)) return none;
    const FaceSet& set = *tables_->set;
    const Condition condition(conditions, set.frame().scale, size());
    LeafSearch search = search_from(set, p);
    search.limit(condition.bound());
    const std::optional<PartFoot>& hint = conditions.hint;
    if (hint && hint->face >= 0 && hint->face < faces())
        set.search_at(hint->face, {hint->u, hint->v}, search);
    set.search(search);
    PartFoot foot = tables_->found_by(search);
    const bool is_free = foot.face < 0 || condition.is_faced(foot);
    if (!is_free) foot = FacedSearch(*tables_, p, condition).run();
    if (foot.face < 0 || !condition.is_near(foot)) return none;
    if (is_free)
        detail::settle_side(*tables_, p, foot);
    else
        detail::settle_side_of_face(p, foot);
    return foot;
}

void PreparedPart::nearest(std::span<const ERPoint3D> points, std::span<PartFoot> feet,
                           int threads) const {
    const PartSearch free;
    nearest(points, {&free, 1}, feet, threads);
}

void PreparedPart::nearest(std::span<const ERPoint3D> points, std::span<const PartSearch> searches,
                           std::span<PartFoot> feet, int threads) const {
    assert(feet.size() == points.size());
    assert(searches.size() == 1 || searches.size() == points.size());
    detail::in_parts(points.size(), threads, [&](std::size_t from, std::size_t to) {
        for (std::size_t k = from; k < to; ++k)
            feet[k] = nearest(points[k], searches[searches.size() == 1 ? 0 : k]);
    });
}

} // namespace velm
