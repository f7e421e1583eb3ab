// velm::detail::SurfaceLeaves: the Bezier patches of a surface cut into leaves so small that each
// is nearly bilinear, as polynomials about their own centres. What searches for feet and crossings
// stand on; several surfaces may share a frame and a tree of the boxes of all their leaves.
#pragma once

#include "velm/surfaces/detail/box_tree.h"
#include "velm/surfaces/detail/leaf_polynomial.h"
#include "velm/surfaces/detail/surface_tables.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

namespace velm::detail {

/// Local coordinates: those of the model less the origin, times the scale, a power of 2 that
/// brings the size of the part into [1, 2).
struct LeafFrame {
    double origin[3] = {};
    double scale = 1.0;

    void to_local(const ERPoint3D& p, double* q) const {
        q[0] = (p.x() - origin[0]) * scale;
        q[1] = (p.y() - origin[1]) * scale;
        q[2] = (p.z() - origin[2]) * scale;
    }
    ERPoint3D to_model(const double* q) const {
        return {origin[0] + q[0] / scale, origin[1] + q[1] / scale, origin[2] + q[2] / scale};
    }
};
/// The frame of what is in a box.
LeafFrame leaf_frame(const ERMinimax3D& box);

/// A side of a leaf: s = -1, s = 1, t = -1, t = 1.
enum LeafSide : std::uint8_t { side_u_low = 1, side_u_high = 2, side_v_low = 4, side_v_high = 8 };

struct SurfaceLeaf;
class LeafSearch;

/// Where a rectangle of parameters is in a trim.
enum class InTrim : std::uint8_t { inside, crossing, outside };

/// A part of a surface that counts, in its parameters.
class LeafTrim {
public:
    virtual bool holds(double u, double v) const = 0;
    /// Of a rectangle between two u and two v. Crossing if in doubt.
    virtual InTrim place(const double* u, const double* v) const = 0;
    /// Looks at the trim near a leaf before that is halved: the nearer the best place, the fewer
    /// halves there are.
    virtual void search_border(const SurfaceLeaf& leaf, LeafSearch& search) const = 0;

protected:
    ~LeafTrim() = default;
};

/// A part of a patch: with s and t in [-1, 1] over it, X(s, t) = R(s, t) + w(s, t) centre.
struct SurfaceLeaf {
    double centre[3];
    /// Between two places of the leaf half the second derivatives of |X - w q|^2 - b w^2 differ, as
    /// quadratic forms, by no more than the diagonal one with the entries k = 0, 1
    ///     turn[0][k] + |e| turn[1][k] + |e^2 - b| turn[2][k],    e = q - centre.
    double turn[3][2];
    /// The ratio of |Xs| and |Xt|, for mixed terms: |2 x y| <= ratio x^2 + y^2 / ratio.
    double ratio;
    QuadraticPart square; ///< of R . R
    double least_weight;
    double error;      ///< the surface is this near to the polynomials; 0 except of offset surfaces
    double u[2], v[2]; ///< the patch's own parameters in [0, 1] at the sides
    std::size_t coefs; ///< index of R's and w's coefficients
    std::int32_t patch;  ///< in order of rows along U
    std::uint8_t limits; ///< the sides that are limits of the surface
    InTrim in_trim;      ///< inside without one
    std::uint8_t sharp;  ///< the sides on limits; where a trim counts, those on creases too
};

struct SurfaceLeaves {
    LeafFrame frame;
    int degree_u = 0, degree_v = 0;
    bool rational = false;
    /// Whether first and last row or column of poles agree, so that the limit is a seam.
    bool closed_u = false, closed_v = false;
    double size = 0.0; ///< diagonal of the box, local, or what is searched if that is smaller
    std::vector<SurfaceLeaf> leaves;
    std::vector<AlignedPole> coefs;

    /// Of a surface of patches, or of an offset surface, whose patches are those of its base, with
    /// polynomials instead that are within 2^-45 of the size wherever the base has a normal; boxes
    /// hold the surface itself. With a trim, of what that leaves of it; sizes are relative to no
    /// more than `most_size`, local. `boxes` gets the box of each leaf after those that are there.
    void build(const PreparedSurface& surface, const LeafFrame& local,
               std::vector<OrientedBox>& boxes, const LeafTrim* trim = nullptr,
               double most_size = HUGE_VAL);

    const SurfaceLeaf& operator[](int i) const { return leaves[static_cast<std::size_t>(i)]; }
    const double* poles(const SurfaceLeaf& leaf) const { return coefs[leaf.coefs].c; }
    int coefs_of_leaf() const { return (degree_u + 1) * (degree_v + 1); }

    /// The parameter of the surface at s and t of a leaf.
    double u_at(const SurfaceLeaf& leaf, double s) const {
        return along_u_.parameter(leaf.patch % along_u_.patches(), leaf.u, s);
    }
    double v_at(const SurfaceLeaf& leaf, double t) const {
        return along_v_.parameter(leaf.patch / along_u_.patches(), leaf.v, t);
    }
    /// The u, or v, of the number of a patch plus its own parameter.
    double along(bool u, double t) const {
        const Direction& direction = u ? along_u_ : along_v_;
        const int patch = std::min(static_cast<int>(t), direction.patches() - 1);
        const double own[2] = {0.0, 1.0};
        return direction.parameter(patch, own, 2.0 * (t - patch) - 1.0);
    }
    /// The leaf of a parameter within the limits, and s and t there; at a side between two leaves
    /// that of the one above it. -1 where the trim left none.
    int leaf_at(double u, double v, double* s, double* t) const;

private:
    friend class LeafCutter;
    void find_seams(const PreparedSurface& surface);
    void keep_true_seams(const PreparedSurface& surface);

    /// The ends of the patches along a direction, and whether parameters are angles there: see
    /// SurfacePatch.
    struct Direction {
        std::vector<double> ends;
        bool angular = false;

        int patches() const { return static_cast<int>(ends.size()) - 1; }
        /// Of s between two of the patch's own parameters.
        double parameter(int patch, const double* own, double s) const;
        /// The patch of a parameter, and its own parameter in [0, 1] there.
        int patch_at(double t, double* own) const;
    };

    /// Where patches were cut: below the patch's own u or v the first, else the second; a leaf is
    /// ~i, and none.
    static constexpr std::int32_t no_leaf = std::numeric_limits<std::int32_t>::min();
    struct Cut {
        double value;
        bool along_u;
        std::int32_t part[2];
    };

    std::vector<Cut> cuts_;
    std::vector<std::int32_t> patches_; ///< a cut or ~leaf of each
    Direction along_u_, along_v_;
};

} // namespace velm::detail
