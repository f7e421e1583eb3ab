#include "velm/surfaces/detail/face_set.h"

#include "velm/numerics/detail/triples.h"
#include "velm/surfaces/detail/analytic_feet.h"
#include "velm/surfaces/detail/in_parts.h"
#include "velm/surfaces/detail/projector_tables.h"

#include <algorithm>
#include <cmath>

namespace velm::detail {
namespace {

// Edges whose directions differ by less, as the sine of the angle, go on without a corner.
constexpr double smooth_turn = 1e-6;
// Second derivatives of the squared distance that are this small beside the square of the speed
// make all of a trim curve near the foot equally far.
constexpr double flat_bend = 1e-9;

// The surface as patches with its own parameters, of analytic ones what the trim's box leaves, or
// an offset surface.
PreparedSurface patches_of(const SearchedFace& face) {
    const PreparedSurface& surface = face.face.surface();
    if (surface.patches_u() > 0 || surface.base()) return surface;
    ERLimites u, v;
    face.region.box(u, v);
    return angular_patches_of(SurfaceTables::of(surface), u, v);
}

// The boxes of the patches that the trim's box meets.
ERMinimax3D box_of(const SearchedFace& face, const PreparedSurface& surface) {
    ERLimites u, v;
    face.region.box(u, v);
    ERMinimax3D box;
    const PreparedSurface patches = surface.base().value_or(surface);
    for (int j = 0; j < patches.patches_v(); ++j)
        for (int i = 0; i < patches.patches_u(); ++i) {
            const SurfacePatch patch = patches.patch(i, j);
            if (patch.u.end() < u.start() || patch.u.start() > u.end()) continue;
            if (patch.v.end() < v.start() || patch.v.start() > v.end()) continue;
            box.Update(patch.box);
        }
    box.Inflate(std::fabs(surface.offset()));
    return box;
}

// Whether the direction changes from the end of one piece to the start of another.
bool turns(const LiftedPiece& before, const LiftedPiece& after) {
    double a[2][3], b[2][3];
    before.jet(1.0, 1, a);
    after.jet(-1.0, 1, b);
    const double along = dot3(a[1], b[1]);
    const double lengths = dot3(a[1], a[1]) * dot3(b[1], b[1]);
    return !(along > 0.0) || lengths - along * along > smooth_turn * smooth_turn * lengths;
}

void find_corners(SearchedFace& face) {
    struct Ends {
        const LiftedPiece *first = nullptr, *last = nullptr;
    };
    for (int loop = 0; loop < face.face.loops(); ++loop) {
        std::vector<Ends> ends(static_cast<std::size_t>(face.face.edges(loop)));
        for (const LiftedPiece& piece : face.trim) {
            if (piece.loop != loop) continue;
            Ends& of_edge = ends[static_cast<std::size_t>(piece.edge)];
            if (piece.part[0] == 0.0) of_edge.first = &piece;
            if (piece.part[1] == 1.0) of_edge.last = &piece;
        }
        std::vector<bool>& corners = face.corners.emplace_back(ends.size(), true);
        for (std::size_t edge = 0; edge < ends.size(); ++edge) {
            const LiftedPiece* before = ends[(edge + ends.size() - 1) % ends.size()].last;
            const LiftedPiece* after = ends[edge].first;
            if (before != nullptr && after != nullptr) corners[edge] = turns(*before, *after);
        }
    }
}

// A part of the way along an edge, on its ends if it is as near to them as searches are exact.
double snapped(double part) {
    constexpr double near = 1e-9;
    return part < near ? 0.0 : part > 1.0 - near ? 1.0 : part;
}

// Which pieces of the trim are near which leaf, by some places on each.
void find_borders(SearchedFace& face) {
    std::vector<std::vector<int>> near(face.leaves.leaves.size());
    for (std::size_t k = 0; k < face.trim.size(); ++k)
        for (const double tau : {-0.99, -0.5, 0.0, 0.5, 0.99}) {
            const ERPoint2D at = face.trim[k].parameter(face.face, tau);
            double s = 0.0, t = 0.0;
            const int leaf = face.leaves.leaf_at(at.x(), at.y(), &s, &t);
            if (leaf < 0) continue;
            std::vector<int>& of_leaf = near[static_cast<std::size_t>(leaf)];
            if (of_leaf.empty() || of_leaf.back() != int(k)) of_leaf.push_back(int(k));
        }
    for (const std::vector<int>& pieces : near) {
        face.border_start.push_back(static_cast<int>(face.border.size()));
        face.border.insert(face.border.end(), pieces.begin(), pieces.end());
    }
    face.border_start.push_back(static_cast<int>(face.border.size()));
}

// Whether a foot on the trim is where two edges meet at an angle.
bool is_at_corner(const SearchedFace& face, const FaceFoot& foot) {
    const std::vector<bool>& corners = face.corners[static_cast<std::size_t>(foot.loop)];
    const auto edge = static_cast<std::size_t>(foot.edge);
    return (foot.part == 0.0 && corners[edge]) ||
           (foot.part == 1.0 && corners[(edge + 1) % corners.size()]);
}

// For a foot on a limit of the surface that is an edge of the trim.
void set_trim_place(const SearchedFace& face, FaceFoot& foot) {
    const TrimFoot trim = face.face.nearest_trim({foot.u, foot.v});
    if (trim.distance > face.face.tolerance()) return;
    foot.loop = trim.loop, foot.edge = trim.edge, foot.part = snapped(trim.part);
    if (is_at_corner(face, foot)) foot.kind = SurfaceFootKind::corner;
}

// Marks the sides of leaves that are on creases.
void mark_creases(SurfaceLeaves& leaves, const PreparedSurface& surface) {
    const std::optional<PreparedSurface> base = surface.base();
    const SurfaceTables& tables = SurfaceTables::of(base ? *base : surface);
    const int enough = base ? 2 : 1;
    const auto smooth = [enough](const std::vector<int>& orders) {
        return std::all_of(orders.begin(), orders.end(),
                           [enough](int order) { return order >= enough; });
    };
    if (smooth(tables.continuous_u) && smooth(tables.continuous_v)) return;
    for (const SharpPlace& line : sharp_places(surface, leaves))
        for (SurfaceLeaf& leaf : leaves.leaves) {
            const bool u = line.constant_u;
            const auto at = [&](double s) {
                return u ? leaves.u_at(leaf, s) : leaves.v_at(leaf, s);
            };
            if (line.side[1] && at(-1.0) == line.at[1]) leaf.sharp |= u ? side_u_low : side_v_low;
            if (line.side[0] && at(1.0) == line.at[0]) leaf.sharp |= u ? side_u_high : side_v_high;
        }
}

} // namespace

void SearchedFace::search_border(const SurfaceLeaf& leaf, LeafSearch& search) const {
    const auto i = static_cast<std::size_t>(&leaf - leaves.leaves.data());
    for (int k = border_start[i]; k < border_start[i + 1]; ++k)
        look_at_piece(border[static_cast<std::size_t>(k)], search);
}

FaceSet::FaceSet(std::vector<PreparedFace> faces) {
    for (PreparedFace& face : faces)
        faces_.emplace_back(std::move(face));
}

std::shared_ptr<const FaceSet> FaceSet::of(std::vector<PreparedFace> faces, int threads) {
    if (faces.empty()) return nullptr;
    const std::shared_ptr<FaceSet> set(new FaceSet(std::move(faces)));
    set->build(threads);
    return set;
}

void FaceSet::build(int threads) {
    std::vector<std::optional<PreparedSurface>> patches(faces_.size());
    for (std::size_t i = 0; i < faces_.size(); ++i) {
        patches[i] = patches_of(faces_[i]);
        box_.Update(box_of(faces_[i], *patches[i]));
    }
    frame_ = leaf_frame(box_);
    local_size_ = box_.diagonal() * frame_.scale;
    std::vector<std::vector<OrientedBox>> boxes(faces_.size());
    in_parts(faces_.size(), threads, [&](std::size_t from, std::size_t to) {
        for (std::size_t i = from; i < to; ++i) {
            SearchedFace& face = faces_[i];
            face.leaves.build(*patches[i], frame_, boxes[i], &face, local_size_);
            mark_creases(face.leaves, *patches[i]);
            lift_trim(FaceTables::of(face.face), *patches[i], face.leaves, local_size_, face.trim,
                      boxes[i]);
            find_corners(face);
            find_borders(face);
        }
    });
    std::vector<OrientedBox> all;
    for (std::size_t i = 0; i < faces_.size(); ++i) {
        all.insert(all.end(), boxes[i].begin(), boxes[i].end());
        const auto leaves = static_cast<int>(faces_[i].leaves.leaves.size());
        const auto pieces = static_cast<int>(faces_[i].trim.size());
        faces_[i].first_item = static_cast<int>(items_.size());
        for (int k = 0; k < leaves; ++k)
            items_.push_back({static_cast<int>(i), k});
        for (int k = 0; k < pieces; ++k)
            items_.push_back({static_cast<int>(i), ~k});
    }
    tree_.build(all);
}

namespace {

// A first bound, without which a leaf that the trim crosses is halved where nothing of the face is:
// by the piece whose centre is nearest, which is on the trim; if all that are aren't wholly so, by
// the first that has a place there.
void bound_by_trim(const SearchedFace& face, int leaf, LeafSearch& search) {
    if (face.leaves[leaf].in_trim != InTrim::crossing || search.best().squared < HUGE_VAL) return;
    double least = HUGE_VAL;
    int nearest = -1;
    for (std::size_t k = 0; k < face.trim.size(); ++k) {
        if (face.trim[k].in_trim != InTrim::inside) continue;
        double squared = 0.0;
        for (int c = 0; c < 3; ++c) {
            const double off = face.trim[k].centre[c] - search.query()[c];
            squared += off * off;
        }
        if (squared < least) least = squared, nearest = static_cast<int>(k);
    }
    if (nearest >= 0) return face.look_at_piece(nearest, search);
    for (std::size_t k = 0; k < face.trim.size() && search.best().leaf < 0; ++k)
        face.look_at_piece(static_cast<int>(k), search);
}

} // namespace

void FaceSet::look(int number, LeafSearch& search) const {
    const Item at = item(number);
    const SearchedFace& face = (*this)[at.face];
    if (at.index < 0)
        face.look_at_piece(~at.index, search);
    else {
        bound_by_trim(face, at.index, search);
        search.leaf(face.leaves, face.leaves[at.index], number, &face);
    }
}

void FaceSet::look_alone(int number, LeafSearch& search) const {
    class Alone final : public LeafTrim {
    public:
        explicit Alone(const LeafTrim& trim) : trim_(trim) {}
        bool holds(double u, double v) const override { return trim_.holds(u, v); }
        InTrim place(const double* u, const double* v) const override { return trim_.place(u, v); }
        void search_border(const SurfaceLeaf&, LeafSearch&) const override {}

    private:
        const LeafTrim& trim_;
    };
    const Item at = item(number);
    const SearchedFace& face = (*this)[at.face];
    const Alone trim(face);
    if (at.index < 0)
        face.look_at_piece(~at.index, search);
    else
        search.leaf(face.leaves, face.leaves[at.index], number, &trim);
}

void FaceSet::look_at_all(LeafSearch& search) const {
    const double left_out =
        tree_.nearest(search.query(), search.best().squared, [&](int number, double squared) {
            if (search.spent())
                search.left_out(squared);
            else
                look(number, search);
            return true;
        });
    search.left_out(left_out);
}

void FaceSet::search(LeafSearch& search) const {
    search_from_best(
        tree_, local_size_, search, [this](LeafSearch& all) { look_at_all(all); },
        [this](int number, LeafSearch& alone) { look_alone(number, alone); });
}

void FaceSet::search_at(int face, const ERPoint2D& parameter, LeafSearch& search) const {
    const SearchedFace& in = (*this)[face];
    const PreparedSurface& surface = in.face.surface();
    const auto within = [](double t, const ERLimites& limits) {
        return t > limits.start() ? std::min(t, limits.end()) : limits.start();
    };
    double s = 0.0, t = 0.0;
    const int leaf = in.leaves.leaf_at(within(parameter.x(), surface.domain_u()),
                                       within(parameter.y(), surface.domain_v()), &s, &t);
    if (leaf < 0) return;
    bound_by_trim(in, leaf, search);
    search.leaf_from(in.leaves, in.leaves[leaf], in.first_item + leaf, std::clamp(s, -1.0, 1.0),
                     std::clamp(t, -1.0, 1.0), &in);
}

FaceFoot FaceSet::trim_foot(const SearchedFace& face, const LeafPlace& place,
                            const double* q) const {
    const LiftedPiece& piece = face.trim[static_cast<std::size_t>(~item(place.leaf).index)];
    FaceFoot foot;
    foot.loop = piece.loop, foot.edge = piece.edge;
    if (piece.loop >= 0) foot.part = snapped(piece.part_at(place.s));
    const ERPoint2D parameter = piece.parameter(face.face, place.s);
    foot.u = parameter.x(), foot.v = parameter.y();
    const double local[3] = {q[0] + place.from_query[0], q[1] + place.from_query[1],
                             q[2] + place.from_query[2]};
    foot.point = frame_.to_model(local);
    foot.distance = std::sqrt(place.squared) / frame_.scale;
    foot.normal = face.face.surface().normal(foot.u, foot.v);
    foot.kind = SurfaceFootKind::edge;
    if (foot.loop >= 0 && is_at_corner(face, foot)) foot.kind = SurfaceFootKind::corner;
    double jet[3][3];
    piece.jet(place.s, 2, jet);
    const double speed = dot3(jet[1], jet[1]), slope = dot3(place.from_query, jet[1]);
    if (std::fabs(speed + dot3(place.from_query, jet[2])) <= flat_bend * speed &&
        slope * slope <= flat_bend * flat_bend * speed * place.squared)
        foot.kind = SurfaceFootKind::degenerate;
    return foot;
}

bool FaceSet::foot(const LeafSearch& search, FaceFoot& foot, int& number) const {
    const LeafPlace& best = search.best();
    if (best.leaf < 0) return false;
    const Item at = item(best.leaf);
    const SearchedFace& face = (*this)[at.face];
    number = at.face;
    if (at.index < 0) {
        foot = trim_foot(face, best, search.query());
        if (foot.loop < 0) set_trim_place(face, foot);
    } else {
        LeafPlace place = best;
        place.leaf = at.index;
        foot = {};
        static_cast<SurfaceFoot&>(foot) =
            foot_at(face.face.surface(), face.leaves, place, search.query());
        if (foot.kind == SurfaceFootKind::edge || foot.kind == SurfaceFootKind::corner)
            set_trim_place(face, foot);
    }
    const double distance = std::sqrt(best.squared),
                 lower = std::sqrt(std::max(0.0, search.lower()));
    foot.lower = std::min(lower / frame_.scale, foot.distance);
    foot.certified = !search.spent() && distance - lower <= search.allowed(distance);
    return true;
}

} // namespace velm::detail
