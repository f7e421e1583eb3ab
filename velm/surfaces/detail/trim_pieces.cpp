#include "velm/surfaces/detail/trim_pieces.h"

#include "velm/curves/detail/bernstein_rows.h"
#include "velm/curves/detail/bernstein_signs.h"
#include "velm/surfaces/detail/face_region.h"
#include "velm/surfaces/detail/trim_lift.h"

#include <algorithm>
#include <cmath>

namespace velm::detail {
namespace {

constexpr int most_halvings = 24;
// Zeros are isolated to this part of a curve's own interval.
constexpr int zero_depth = 48;
// A piece on a part of an offset surface that was left out is on the next part if that is as near
// as this part of the limits.
constexpr double nearest_part = 1e-9;

// Where a polynomial in the Bernstein basis changes sign in (0, 1).
void sign_changes(std::vector<double>& c, double low, double high, int depth,
                  std::vector<double>& zeros) {
    const int count = static_cast<int>(c.size());
    const CoefficientSigns signs(c.data(), count, 0.0);
    if (signs.none_negative() || signs.none_positive()) return;
    const double middle = 0.5 * (low + high);
    std::vector<double> left(c.size());
    halve_coefficients(c.data(), count, left.data());
    if (depth == 0 || c[0] == 0.0) zeros.push_back(middle);
    if (depth == 0) return;
    sign_changes(left, low, middle, depth - 1, zeros);
    sign_changes(c, middle, high, depth - 1, zeros);
}

class TrimLifter {
public:
    TrimLifter(const FaceTables& face, const PreparedSurface& surface, const SurfaceLeaves& leaves,
               double size, std::vector<LiftedPiece>& pieces, std::vector<OrientedBox>& boxes)
        : face_(face), region_(face), leaves_(leaves), is_offset_(surface.base().has_value()),
          u_(surface.domain_u()), v_(surface.domain_v()),
          columns_(surface.base().value_or(surface).patches_u()), lift_(surface, leaves, size),
          pieces_(pieces), boxes_(boxes) {
        if (is_offset_)
            lines_of_leaves();
        else
            lines_of_patches(SurfaceTables::of(surface));
    }

    void edge(int loop, int number) {
        loop_ = loop, edge_ = number;
        const Contour& contour = face_.loops[static_cast<std::size_t>(loop)].tree.contour();
        const CurveEdge* const curve = contour.curve(number);
        if (curve == nullptr) {
            const ERPoint2D a = face_.unscaled(contour[number]),
                            b = face_.unscaled(contour[number + 1]);
            cut({{0.0, 0.0, 1.0, b.x() - a.x(), b.y() - a.y(), 1.0}, {a.x(), a.y()}, {0.0, 1.0}});
            return;
        }
        const PreparedCurve<2>& prepared = curve->prepared();
        const ERLimites range = prepared.domain();
        const auto part = [&](double t) { return (t - range.start()) / range.amplitude(); };
        for (int i = 0; i < prepared.pieces(); ++i) {
            const CurvePiece<2> piece = prepared.piece(i);
            FlatCurve flat{{piece.poles.begin(), piece.poles.end()},
                           {piece.origin.x(), piece.origin.y() / face_.v_scale},
                           {part(piece.parameters.start()), part(piece.parameters.end())}};
            for (std::size_t k = 1; k < flat.poles.size(); k += 3)
                flat.poles[k] /= face_.v_scale;
            cut(flat);
        }
    }

    // The sharp sides of a leaf that the trim doesn't leave outside.
    void sides(int number) {
        const SurfaceLeaf& leaf = leaves_[number];
        constexpr double corner[4][4] = {
            {-1, -1, -1, 1}, {1, -1, 1, 1}, {-1, -1, 1, -1}, {-1, 1, 1, 1}};
        for (int side = 0; side < 4; ++side) {
            if (!(leaf.sharp >> side & 1)) continue;
            const double* const at = corner[side];
            const double u[2] = {leaves_.u_at(leaf, at[0]), leaves_.u_at(leaf, at[2])},
                         v[2] = {leaves_.v_at(leaf, at[1]), leaves_.v_at(leaf, at[3])};
            loop_ = edge_ = -1;
            halves({{0.0, 0.0, 1.0, u[1] - u[0], v[1] - v[0], 1.0},
                    {u[0], v[0]},
                    {0.0, 1.0},
                    {leaf.patch % columns_, leaf.patch / columns_},
                    is_offset_ ? number : -1},
                   0.0, 1.0, most_halvings);
        }
    }

private:
    void lines_of_patches(const SurfaceTables& tables) {
        lines_[0] = tables.ends_u;
        lines_[1] = tables.ends_v;
    }
    void lines_of_leaves() {
        for (const SurfaceLeaf& leaf : leaves_.leaves)
            for (const double side : {-1.0, 1.0}) {
                lines_[0].push_back(leaves_.u_at(leaf, side));
                lines_[1].push_back(leaves_.v_at(leaf, side));
            }
        for (std::vector<double>& lines : lines_) {
            std::sort(lines.begin(), lines.end());
            lines.erase(std::unique(lines.begin(), lines.end()), lines.end());
        }
    }

    // The leaf that a place of a curve is on, -1 where the trim left none.
    int leaf_of(const FlatCurve& curve, double at) const {
        double place[3];
        row_value({curve.poles.data(), curve.degree() + 1, 3}, at, place);
        const double u = curve.origin[0] + place[0] / place[2],
                     v = curve.origin[1] + place[1] / place[2];
        for (const double step : {0.0, nearest_part, -nearest_part})
            for (const double other : {0.0, nearest_part, -nearest_part}) {
                double s = 0.0, t = 0.0;
                const int leaf =
                    leaves_.leaf_at(u + step * u_.amplitude(), v + other * v_.amplitude(), &s, &t);
                if (leaf >= 0) return leaf;
            }
        return -1;
    }

    // Cuts where the curve changes from patch to patch, or from leaf to leaf.
    void cut(const FlatCurve& curve) {
        std::vector<double> zeros{0.0, 1.0};
        for (const std::size_t axis : {0u, 1u})
            for (const double end : lines_[axis]) {
                std::vector<double> c;
                double most = 0.0;
                for (std::size_t k = 0; k < curve.poles.size(); k += 3) {
                    c.push_back(curve.poles[k + axis] -
                                (end - curve.origin[axis]) * curve.poles[k + 2]);
                    most = std::max(most, std::fabs(c.back()));
                }
                const double reach = std::fabs(end) + std::fabs(curve.origin[axis]);
                if (most > 0x1p-50 * reach) sign_changes(c, 0.0, 1.0, zero_depth, zeros);
            }
        std::sort(zeros.begin(), zeros.end());
        for (std::size_t i = 0; i + 1 < zeros.size(); ++i) {
            if (!(zeros[i + 1] - zeros[i] > std::ldexp(2.0, -zero_depth))) continue;
            FlatCurve part = curve;
            if (is_offset_) {
                part.leaf = leaf_of(curve, 0.5 * (zeros[i] + zeros[i + 1]));
                if (part.leaf < 0) continue; // outside of another loop
                const int patch = leaves_[part.leaf].patch;
                part.patch[0] = patch % columns_, part.patch[1] = patch / columns_;
            }
            halves(part, zeros[i], zeros[i + 1], most_halvings);
        }
    }

    void halves(const FlatCurve& curve, double low, double high, int left) {
        LiftedPiece piece = {};
        OrientedBox box;
        if (!lift_.lift(curve, low, high, left == 0, piece, box) && left > 0) {
            const double middle = 0.5 * (low + high);
            halves(curve, low, middle, left - 1);
            halves(curve, middle, high, left - 1);
            return;
        }
        piece.loop = loop_, piece.edge = edge_;
        const auto part = [&](double x) {
            return x == 0.0   ? curve.part[0]
                   : x == 1.0 ? curve.part[1]
                              : curve.part[0] + x * (curve.part[1] - curve.part[0]);
        };
        piece.part[0] = part(low), piece.part[1] = part(high);
        if (loop_ < 0) {
            const std::vector<double>& line = curve.poles;
            for (int k = 0; k < 2; ++k)
                piece.ends[k] = ERPoint2D(curve.origin[0] + piece.part[k] * line[3],
                                          curve.origin[1] + piece.part[k] * line[4]);
        }
        double u[2], v[2];
        lift_.rectangle(u, v);
        piece.in_trim = region_.place(u, v, loop_);
        if (piece.in_trim == InTrim::outside) return;
        pieces_.push_back(piece);
        boxes_.push_back(box);
    }

    const FaceTables& face_;
    const FaceRegion region_;
    const SurfaceLeaves& leaves_;
    const bool is_offset_;
    const ERLimites u_, v_;
    const int columns_;            // of patches
    std::vector<double> lines_[2]; // of u and v, between which the surface is one polynomial
    CurveLift lift_;
    std::vector<LiftedPiece>& pieces_;
    std::vector<OrientedBox>& boxes_;
    int loop_ = 0, edge_ = 0;
};

} // namespace

void LiftedPiece::jet(double tau, int derivatives, double (*out)[3]) const {
    for (int c = 0; c < 3; ++c) {
        double value = 0.0, first = 0.0, second = 0.0;
        for (int k = degree; k >= 0; --k) {
            second = second * tau + first;
            first = first * tau + value;
            value = value * tau + coefs[k][c];
        }
        out[0][c] = value;
        if (derivatives > 0) out[1][c] = first;
        if (derivatives > 1) out[2][c] = 2.0 * second;
    }
}

void lift_trim(const FaceTables& face, const PreparedSurface& surface, const SurfaceLeaves& leaves,
               double size, std::vector<LiftedPiece>& pieces, std::vector<OrientedBox>& boxes) {
    TrimLifter lifter(face, surface, leaves, size, pieces, boxes);
    for (std::size_t loop = 0; loop < face.loops.size(); ++loop)
        for (int edge = 0; edge < face.loops[loop].tree.contour().size(); ++edge)
            lifter.edge(static_cast<int>(loop), edge);
    for (std::size_t i = 0; i < leaves.leaves.size(); ++i)
        if (leaves.leaves[i].in_trim == InTrim::crossing && leaves.leaves[i].sharp != 0)
            lifter.sides(static_cast<int>(i));
}

} // namespace velm::detail
