#include "velm/surfaces/detail/sharp_lines.h"

#include "velm/surfaces/detail/sided_jet.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

namespace velm::detail {
namespace {

// Unit normals of both sides that differ by more than least_turn make a crease; points that are
// further apart than least_gap times the size make a tear.
constexpr double least_turn = 1e-7, least_gap = 1e-10;

// Walks along the limits of the patches and keeps those where the surface isn't smooth.
class Finder {
public:
    Finder(const PreparedSurface& surface, const SurfaceLeaves& leaves)
        : surface_(surface), patches_(surface.base().value_or(surface)),
          tables_(SurfaceTables::of(patches_)), leaves_(leaves), size_(surface.box().diagonal()) {}

    std::vector<SharpPlace> run() {
        for (const bool constant_u : {true, false}) {
            const int count = constant_u ? patches_.patches_u() : patches_.patches_v();
            const bool closed = constant_u ? leaves_.closed_u : leaves_.closed_v;
            for (int i = closed ? 1 : 0; i <= count; ++i)
                line(constant_u, i > 0 ? i - 1 : -1, i < count ? i : closed ? 0 : -1);
        }
        return std::move(places_);
    }

    // Nothing where the side is no curve of numbers.
    std::optional<SharpLine> with_curve(const SharpPlace& place) const {
        const bool constant_u = place.constant_u;
        // Of one side: where both are, they have the same points.
        const std::vector<double>& ends = constant_u ? tables_.ends_u : tables_.ends_v;
        const bool at_end = place.side[0];
        const int across = interval_of(ends, place.at[at_end ? 0 : 1], at_end);
        Pieces pieces;
        if (surface_.kind() == SurfaceKind::offset) {
            pieces_of_leaves(constant_u, across, at_end, pieces);
        } else {
            pieces_of_patches(constant_u, across, at_end, pieces);
        }
        const std::vector<double>& poles = pieces.poles;
        const std::size_t count = poles.size() / (pieces.ends.size() - 1);
        std::vector<BezierPiece> list;
        for (std::size_t k = 0; k + 1 < pieces.ends.size(); ++k)
            list.push_back(
                {std::span(poles).subspan(count * k, count), pieces.ends[k], pieces.ends[k + 1]});
        auto curve = PreparedCurve<3>::from_pieces(list);
        const bool collapsed = !curve || curve->size() <= least_gap * size_;
        if (!curve) { // of too high a degree: its chord takes its place
            const double point[] = {poles[0], poles[1], poles[2], poles[3],
                                    poles[0], poles[1], poles[2], poles[3]};
            const BezierPiece chord{point, 0.0, place.end};
            curve = PreparedCurve<3>::from_pieces({&chord, 1});
        }
        if (!curve) return std::nullopt;
        return SharpLine{place, std::move(*curve), collapsed};
    }

private:
    // The line between two columns or rows of patches, -1 for none.
    void line(bool constant_u, int below, int above) {
        const int smooth = surface_.kind() == SurfaceKind::offset ? 2 : 1;
        if (below >= 0 && above == below + 1 && continuity(constant_u, below) >= smooth) return;
        const SharpPlace both = make(constant_u, below, above);
        if (below >= 0 && above >= 0) {
            const Meeting meeting = compare(both);
            if (meeting == Meeting::smooth) return;
            if (meeting == Meeting::torn) {
                places_.push_back(make(constant_u, below, -1));
                places_.push_back(make(constant_u, -1, above));
                return;
            }
        }
        places_.push_back(both);
    }

    // The order of derivatives that are known to be continuous at the end of a column. Where the
    // first are, of an offset surface the base's second, the distance is stationary at its minima.
    int continuity(bool constant_u, int i) const {
        const std::vector<int>& orders = constant_u ? tables_.continuous_u : tables_.continuous_v;
        return orders[static_cast<std::size_t>(i)];
    }
    ERLimites column(bool constant_u, int i) const {
        if (i < 0) return {};
        return constant_u ? patches_.patch(i, 0).u : patches_.patch(0, i).v;
    }

    SharpPlace make(bool constant_u, int below, int above) const {
        const int along = constant_u ? patches_.patches_v() : patches_.patches_u();
        return {constant_u,
                {below >= 0, above >= 0},
                {column(constant_u, below).end(), column(constant_u, above).start()},
                double(along)};
    }

    struct Pieces {
        std::vector<double> poles;
        std::vector<double> ends; // one more than pieces
    };

    void pieces_of_patches(bool constant_u, int across, bool at_end, Pieces& pieces) const {
        const int along = constant_u ? patches_.patches_v() : patches_.patches_u();
        const int count = (constant_u ? leaves_.degree_v : leaves_.degree_u) + 1;
        for (int k = 0; k < along; ++k) {
            const SurfacePatch patch =
                constant_u ? patches_.patch(across, k) : patches_.patch(k, across);
            const int row = patch.degree_u + 1;
            for (int n = 0; n < count; ++n) {
                const int last = at_end ? (constant_u ? patch.degree_u : patch.degree_v) : 0;
                const int at = constant_u ? n * row + last : last * row + n;
                const double* const pole = &patch.poles[static_cast<std::size_t>(4 * at)];
                pieces.poles.insert(pieces.poles.end(), pole, pole + 4);
            }
            pieces.ends.push_back(k);
        }
        pieces.ends.push_back(along);
    }

    // Along the sides of the leaves of a column of patches.
    void pieces_of_leaves(bool constant_u, int across, bool at_end, Pieces& pieces) const {
        const int columns = patches_.patches_u();
        const std::size_t side = at_end ? 1 : 0;
        std::vector<std::pair<double, const SurfaceLeaf*>> found;
        for (const SurfaceLeaf& leaf : leaves_.leaves) {
            const int i = leaf.patch % columns, j = leaf.patch / columns;
            if ((constant_u ? i : j) != across) continue;
            if ((constant_u ? leaf.u : leaf.v)[side] != static_cast<double>(side)) continue;
            found.emplace_back(constant_u ? j + leaf.v[0] : i + leaf.u[0], &leaf);
        }
        std::sort(found.begin(), found.end());
        for (const auto& [start, leaf] : found) {
            pieces.ends.push_back(start);
            add_side(*leaf, constant_u, side == 1 ? 1.0 : -1.0, pieces.poles);
        }
        pieces.ends.push_back(constant_u ? patches_.patches_v() : patches_.patches_u());
    }

    // The poles of the side s = at, or t = at, of a leaf whose weights are 1: coefficient i of
    // Bernstein's form is the polynomial's blossom at n - i times -1 and i times 1.
    void add_side(const SurfaceLeaf& leaf, bool constant_u, double at,
                  std::vector<double>& poles) const {
        const int p = leaves_.degree_u, n = constant_u ? leaves_.degree_v : p;
        const int m = constant_u ? p : leaves_.degree_v;
        const double* const coefs = leaves_.poles(leaf);
        for (int i = 0; i <= n; ++i) {
            // The elementary symmetric functions of the arguments.
            std::vector<double> sums(static_cast<std::size_t>(n) + 1, 0.0);
            sums[0] = 1.0;
            for (int k = 0; k < n; ++k)
                for (std::size_t r = static_cast<std::size_t>(k) + 1; r > 0; --r)
                    sums[r] += (k < i ? 1.0 : -1.0) * sums[r - 1];
            double local[3] = {leaf.centre[0], leaf.centre[1], leaf.centre[2]}, choices = 1.0;
            for (int k = 0; k <= n; ++k) {
                double power = 1.0;
                for (int r = 0; r <= m; ++r, power *= at)
                    for (int c = 0; c < 3; ++c)
                        local[c] +=
                            coefs[4 * (constant_u ? k * (p + 1) + r : r * (p + 1) + k) + c] *
                            power * sums[static_cast<std::size_t>(k)] / choices;
                choices *= double(n - k) / (k + 1);
            }
            const ERPoint3D point = leaves_.frame.to_model(local);
            poles.insert(poles.end(), {point.x(), point.y(), point.z(), 1.0});
        }
    }

    enum class Meeting { smooth, creased, torn };

    Meeting compare(const SharpPlace& line) const {
        const SurfaceTables& tables = SurfaceTables::of(surface_);
        Meeting meeting = Meeting::smooth;
        // More places than a polynomial of twice the degree has zeros.
        const int samples = 2 * std::max(leaves_.degree_u, leaves_.degree_v) + 3;
        for (int k = 0; k < static_cast<int>(line.end); ++k)
            for (int n = 0; n < samples; ++n) {
                const double t = k + (n + 0.5) / samples;
                const Jet below = sided_jet(tables, line.place(leaves_, t, 0), line.jet_side(t, 0));
                const Jet above = sided_jet(tables, line.place(leaves_, t, 1), line.jet_side(t, 1));
                if (ERVector3D(below.point() - above.point()).norme() > least_gap * size_)
                    return Meeting::torn;
                const ERVector3D a = (below.vector(1) ^ below.vector(2)).getnormalized();
                const ERVector3D b = (above.vector(1) ^ above.vector(2)).getnormalized();
                if (!((a - b).norme() <= least_turn)) meeting = Meeting::creased;
            }
        return meeting;
    }

    const PreparedSurface& surface_;
    const PreparedSurface patches_; // or the base, which has them
    const SurfaceTables& tables_;   // of those
    const SurfaceLeaves& leaves_;
    const double size_;
    std::vector<SharpPlace> places_;
};

} // namespace

ERPoint2D SharpPlace::place(const SurfaceLeaves& leaves, double t, int which) const {
    const double along = leaves.along(!constant_u, t);
    return constant_u ? ERPoint2D(at[which], along) : ERPoint2D(along, at[which]);
}

SurfaceSide SharpPlace::jet_side(double t, int which) const {
    SurfaceSide jet;
    (constant_u ? jet.below_u : jet.below_v) = which == 0;
    (constant_u ? jet.below_v : jet.below_u) = t >= end;
    return jet;
}

std::vector<SharpPlace> sharp_places(const PreparedSurface& surface, const SurfaceLeaves& leaves) {
    return Finder(surface, leaves).run();
}

std::vector<SharpLine> sharp_lines(const PreparedSurface& surface, const SurfaceLeaves& leaves) {
    Finder finder(surface, leaves);
    std::vector<SharpLine> lines;
    for (const SharpPlace& place : finder.run())
        if (auto line = finder.with_curve(place)) lines.push_back(*std::move(line));
    return lines;
}

} // namespace velm::detail
