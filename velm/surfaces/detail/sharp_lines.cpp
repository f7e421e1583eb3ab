#include "velm/surfaces/detail/sharp_lines.h"

#include "velm/surfaces/detail/sided_jet.h"

#include <cmath>

namespace velm::detail {
namespace {

// Normals that turn by more than this, and points that are further apart, of the size, are a crease
// or a tear.
constexpr double least_turn = 1e-7, least_gap = 1e-10;

class Finder {
public:
    Finder(const PreparedSurface& patches, const SurfaceLeaves& leaves)
        : patches_(patches), leaves_(leaves), size_(patches.box().diagonal()) {}

    std::vector<SharpLine> run() {
        for (const bool constant_u : {true, false}) {
            const int count = constant_u ? patches_.patches_u() : patches_.patches_v();
            const bool closed = constant_u ? leaves_.closed_u : leaves_.closed_v;
            for (int i = closed ? 1 : 0; i <= count; ++i)
                line(constant_u, i, i > 0 ? i - 1 : -1, i < count ? i : closed ? 0 : -1);
        }
        return std::move(lines_);
    }

private:
    // The line between two columns or rows of patches, -1 for none.
    void line(bool constant_u, int, int below, int above) {
        const ERLimites limits[2] = {column(constant_u, below), column(constant_u, above)};
        if (below >= 0 && above == below + 1 && continuity(constant_u, below) > 0) return;
        SharpLine both = make(constant_u, below, above, limits);
        if (below >= 0 && above >= 0) {
            const Meeting meeting = compare(both);
            if (meeting == Meeting::smooth) return;
            if (meeting == Meeting::torn) {
                lines_.push_back(make(constant_u, below, -1, limits));
                lines_.push_back(make(constant_u, -1, above, limits));
                return;
            }
        }
        lines_.push_back(both);
    }

    // The order of derivatives that are known to be continuous at the end of a column. Where the
    // first are, the distance is stationary at its minima.
    int continuity(bool constant_u, int i) const {
        const SurfaceTables& tables = SurfaceTables::of(patches_);
        const std::vector<int>& orders = constant_u ? tables.continuous_u : tables.continuous_v;
        return orders[static_cast<std::size_t>(i)];
    }
    ERLimites column(bool constant_u, int i) const {
        if (i < 0) return {};
        return constant_u ? patches_.patch(i, 0).u : patches_.patch(0, i).v;
    }

    SharpLine make(bool constant_u, int below, int above, const ERLimites* limits) const {
        const int along = constant_u ? patches_.patches_v() : patches_.patches_u();
        const int count = (constant_u ? leaves_.degree_v : leaves_.degree_u) + 1;
        std::vector<double> poles;
        for (int k = 0; k < along; ++k) {
            const int across = below >= 0 ? below : above;
            const SurfacePatch patch =
                constant_u ? patches_.patch(across, k) : patches_.patch(k, across);
            const int row = patch.degree_u + 1;
            for (int n = 0; n < count; ++n) {
                const int last = below >= 0 ? (constant_u ? patch.degree_u : patch.degree_v) : 0;
                const int at = constant_u ? n * row + last : last * row + n;
                const double* const pole = &patch.poles[static_cast<std::size_t>(4 * at)];
                poles.insert(poles.end(), pole, pole + 4);
            }
        }
        std::vector<BezierPiece> pieces;
        for (int k = 0; k < along; ++k)
            pieces.push_back({std::span(poles).subspan(static_cast<std::size_t>(4 * count * k),
                                                       static_cast<std::size_t>(4 * count)),
                              double(k), k + 1.0});
        auto curve = PreparedCurve<3>::from_pieces(pieces);
        const bool collapsed = !curve || curve->size() <= least_gap * size_;
        if (!curve) { // of too high a degree: its chord stands for it
            const double point[] = {poles[0], poles[1], poles[2], poles[3],
                                    poles[0], poles[1], poles[2], poles[3]};
            const BezierPiece chord{point, 0.0, double(along)};
            curve = PreparedCurve<3>::from_pieces({&chord, 1});
        }
        return {constant_u,
                {below >= 0, above >= 0},
                {limits[0].end(), limits[1].start()},
                std::move(*curve),
                collapsed};
    }

    enum class Meeting { smooth, creased, torn };

    Meeting compare(const SharpLine& line) const {
        const SurfaceTables& tables = SurfaceTables::of(patches_);
        Meeting meeting = Meeting::smooth;
        const int samples = 2 * std::max(leaves_.degree_u, leaves_.degree_v) + 3;
        for (int k = 0; k < static_cast<int>(line.curve.domain().end()); ++k)
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

    const PreparedSurface& patches_;
    const SurfaceLeaves& leaves_;
    const double size_;
    std::vector<SharpLine> lines_;
};

} // namespace

ERPoint2D SharpLine::place(const SurfaceLeaves& leaves, double t, int which) const {
    const double along = leaves.along(!constant_u, t);
    return constant_u ? ERPoint2D(at[which], along) : ERPoint2D(along, at[which]);
}

SurfaceSide SharpLine::jet_side(double t, int which) const {
    const bool at_end = t >= curve.domain().end();
    SurfaceSide jet;
    (constant_u ? jet.below_u : jet.below_v) = which == 0;
    (constant_u ? jet.below_v : jet.below_u) = at_end;
    return jet;
}

std::vector<SharpLine> sharp_lines(const PreparedSurface& patches, const SurfaceLeaves& leaves) {
    return Finder(patches, leaves).run();
}

} // namespace velm::detail
