// velm::detail::Freedoms: the linear problem of a rigid motion's step, and the freedoms that it
// doesn't determine.
#pragma once

#include "velm/measure/alignment.h"

#include <array>
#include <cstddef>
#include <vector>

namespace velm::detail {

/// A small motion: a turn about the centroid by its length in radians, and a shift.
struct Step {
    ERVector3D turn;
    ERVector3D shift;
    double size = 0.0; ///< as a fraction of the extent
    double gain = 0.0; ///< the decrease of the sum of squares if the deviations are linear
};

/// The normal equations for the turn and the shift. The turn is measured in lengths at the extent,
/// so that all six unknowns have one unit; in the plane there are three.
///
/// The nominal places, not the points, decide which freedoms are determined: otherwise the
/// deviations of points on a cylinder would determine its turn by their noise (the nominal's
/// slippable motions: Gelfand and Guibas, Symposium on Geometry Processing 2004).
class Freedoms {
public:
    /// The freedoms of AlignmentOptions::held that the plane of x and y doesn't have.
    static constexpr std::array<bool, 6> in_plane{false, false, true, true, true, false};

    /// `held` as in AlignmentOptions.
    Freedoms(double extent, const std::array<bool, 6>& held) : extent_(extent) {
        for (std::size_t n = 0; n < 6; ++n) // the turns come first here
            if (!held[(n + 3) % 6]) used_[count_++] = n;
    }

    /// Adds the deviation along the normal of a point at the offset `arm` from the centroid, with
    /// its nominal place at `nominal_arm`.
    void add(const ERVector3D& arm, const ERVector3D& nominal_arm, const ERVector3D& normal,
             double deviation);

    /// Finds the freedoms with an eigenvalue above least^2 times the greatest; solve and held use
    /// them.
    void analyse(double least);
    bool all_determined() const { return turns_.empty() && slides_.empty(); }
    /// The step that minimises the squares of the linear deviations, without a turn about a held
    /// axis and without a shift along a held direction.
    Step solve() const;
    /// The held freedoms, turns first.
    std::vector<HeldFreedom> held(const ERPoint3D& centroid) const;

private:
    using Unknowns = std::array<double, 6>; // the turn, then the shift
    using Matrix = std::array<Unknowns, 6>;
    struct Mode {
        double eigenvalue;
        Unknowns vector;
    };

    /// The modes of the first `size` rows and columns, by decreasing eigenvalue.
    static std::vector<Mode> modes_of(const Matrix& matrix, std::size_t size);
    void add_product(Matrix& upper, const Unknowns& row) const;
    void complete(Matrix& upper) const;
    Unknowns row_of(const ERVector3D& arm, const ERVector3D& normal) const;
    void reduce(std::vector<Unknowns> open);
    void hold(Unknowns& step) const;

    double extent_;
    std::array<std::size_t, 6> used_{}; // the unknowns in use, ascending
    std::size_t count_ = 0;             // of these
    Matrix matrix_ = {};                // of the points
    Matrix nominal_ = {};               // of the places
    Unknowns gradient_ = {};
    double least_ = 0.0;
    std::vector<Unknowns> determined_; // orthonormal
    std::vector<Unknowns> turns_;      // with turns at right angles and no shift along a slide
    std::vector<Unknowns> slides_;     // shifts, orthonormal
};

} // namespace velm::detail
