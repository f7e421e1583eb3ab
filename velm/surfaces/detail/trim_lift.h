// velm::detail::CurveLift: lifts curves in the parameters of a surface to it, as Taylor polynomials
// with a bound of their remainder.
#pragma once

#include "velm/numerics/detail/double_double.h"
#include "velm/surfaces/detail/surface_leaves.h"
#include "velm/surfaces/detail/trim_pieces.h"

#include <vector>

namespace velm::detail {

/// A rational Bezier curve in the parameters, about an origin: u w, v w, w.
struct FlatCurve {
    std::vector<double> poles;
    double origin[2];
    double part[2];          ///< of the edge at its ends
    int patch[2] = {-1, -1}; ///< the patch that is meant, by column and row; -1: the one it is in
    int leaf = -1;           ///< of an offset surface the leaf that is meant

    int degree() const { return static_cast<int>(poles.size() / 3) - 1; }
};

class CurveLift {
public:
    /// Of a surface of patches, or of an offset surface: then curves go to the polynomials of its
    /// leaves. `size` is that of the whole, local.
    CurveLift(const PreparedSurface& surface, const SurfaceLeaves& leaves, double size);

    /// Sets the place, coefficients and remainder of the piece between two places of the curve,
    /// which is on one patch or leaf, and its box. Returns false where the piece has to be halved;
    /// never if it is the last.
    bool lift(const FlatCurve& curve, double low, double high, bool last, LiftedPiece& piece,
              OrientedBox& box);
    /// Holds the parameters of the last piece.
    void rectangle(double* u, double* v) const;

private:
    struct Along;
    bool along(const FlatCurve& curve, double low, double high, LiftedPiece& piece, Along* out);
    bool to_patch(bool u, double middle, Along& to) const;
    void to_leaf(const SurfaceLeaf& leaf, Along* at) const;
    void expand_patch(const Along* at);
    void expand_leaf(const SurfaceLeaf& leaf, const Along* at);
    template <class T, class At>
    T composed(const T& a, const T& b, At at) const;
    bool finish(LiftedPiece& piece, OrientedBox& box, const double* normal, double error) const;
    void enclose(const LiftedPiece& piece, const double* normal, OrientedBox& box) const;

    const PreparedSurface patches_; // the surface, or its base
    const SurfaceTables& tables_;
    const SurfaceLeaves& leaves_;
    const double size_;
    int degree_u_ = 0, degree_v_ = 0;       // of what is in grid_
    double middle_[2] = {}, reach_[2] = {}; // the last piece is that near to a parameter
    std::vector<double> flat_, local_, grid_, plain_;
    std::vector<DoubleDouble> pairs_;
};

} // namespace velm::detail
