// velm::align: the rigid motion that brings measured points onto their nominal with the least sum
// of squared deviations.
#pragma once

#include "velm/export.h"
#include "velm/frame/point.h"
#include "velm/frame/vector.h"
#include "velm/transforms/plane_transformation.h"
#include "velm/transforms/transformation_handle.h"

#include <array>
#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

class gmTargetPoint;

namespace velm {

/// The place of a ball's centre without deviation, with the unit normal of the nominal there. With
/// a normal of length 0 deviations in every direction count.
struct VELM_API NominalPlace {
    ERPoint3D centre;
    ERVector3D normal;
};
struct VELM_API NominalPlace2D {
    ERPoint2D centre;
    ERVector2D normal;
};

/// Returns the nominal place of the point with this number, which is now at p: the place nearest to
/// p on a curve or surface, moved by half the ball's diameter along the normal.
using NominalOf = std::function<NominalPlace(std::size_t number, const ERPoint3D& p)>;
using NominalOf2D = std::function<NominalPlace2D(std::size_t number, const ERPoint2D& p)>;
/// The same for points with numbers from `first` on, some thousands at a time.
using NominalsOf = std::function<void(std::size_t first, std::span<const ERPoint3D> points,
                                      std::span<NominalPlace> places)>;

struct VELM_API AlignmentOptions {
    /// The motion has converged if a step moves the points by no more than this fraction of their
    /// extent (the root mean square of their distances from their centroid).
    double threshold = 1e-10;
    int most_iterations = 100;
    /// A freedom counts as undetermined if its singular value is less than this fraction of the
    /// greatest one; a turn is measured by the distance that it moves points at the extent.
    double least_determined = 1e-5;
    /// Freedoms that every step leaves as they are: shifts of the pivot along x, y, z, turns about
    /// it along x, y, z.
    std::array<bool, 6> held{};
    /// About which points turn; their centroid without one.
    std::optional<ERPoint3D> pivot;
    /// Whether the absolute orientation may be the start; not where the points are near already.
    bool starts_by_orientation = true;
};

/// A freedom that the nominal places don't determine, or that was to be held. The motion contains
/// no held turn and no shift of the points' centroid along a held direction.
struct VELM_API HeldFreedom {
    enum Kind { sliding, turning, screwing };
    Kind kind;
    ERVector3D direction; ///< unit; of the axis for turning and screwing
    ERPoint3D through;    ///< the point of the axis nearest to the origin; for sliding the centroid
    double pitch;         ///< screwing: the way along the axis per radian

    /// "sliding along <1,0,0>", "turning about the axis through [0,0,0] along <0,0,1>", or
    /// "screwing about the axis through [0,0,0] along <0,0,1> by 2 per radian".
    VELM_API std::string name() const;
};

/// The report of an alignment.
struct VELM_API AlignmentReport {
    /// Whether the last step was below the threshold, or neither lowered the sum of squares beyond
    /// its rounding nor led to a shorter step. If false, the motion is the best one found.
    bool converged = false;
    int iterations = 0;
    /// The last step as a fraction of the extent.
    double last_step = 0.0;
    /// The sums of the squared deviations.
    double squares_before = 0.0;
    double squares_after = 0.0;
    std::vector<HeldFreedom> held;
};
/// The motion maps measured points to aligned ones: `apply` gives the aligned point. Beware of
/// motion.TransFrom(p) itself: ERPmIsometrie3D changes its argument, ERTransfo2D returns a copy.
struct VELM_API Alignment : AlignmentReport {
    ERPmIsometrie3D motion;

    ERPoint3D apply(ERPoint3D p) const { return motion.TransFrom(p); }
};
struct VELM_API Alignment2D : AlignmentReport {
    ERTransfo2D motion;

    ERPoint2D apply(const ERPoint2D& p) const { return motion.TransFrom(p); }
};

/// Finds the motion that minimises the sum over the points p of (n (p - c))^2, with c and n the
/// nominal place of the moved point, or of |p - c|^2 if n is 0.
///
/// Starts from the absolute orientation of the points against their first nominal places, by the
/// unit quaternion of the greatest eigenvalue (Horn, J. Opt. Soc. Am. A 4, 1987), if all freedoms
/// are determined, none is held, and this lowers the sum. Then takes Gauss-Newton steps on the
/// deviations along the normals, with the places found again after each (Chen and Medioni, Image
/// and Vision Computing 10, 1992), halved until the sum falls. Each step solves by the eigenvectors
/// of the normal matrix and omits those of undetermined freedoms.
///
/// It is a local method: on a curve or surface the points must start nearer to their own parts of
/// it than to others. Without points the motion is the identity and has converged.
VELM_API Alignment align(std::span<const ERPoint3D> points, const NominalOf& nominal,
                         const AlignmentOptions& options = {});
VELM_API Alignment align(std::span<const ERPoint3D> points, const NominalsOf& nominals,
                         const AlignmentOptions& options = {});
/// The alignment in the plane: turning and sliding within it.
VELM_API Alignment2D align(std::span<const ERPoint2D> points, const NominalOf2D& nominal,
                           const AlignmentOptions& options = {});
/// Aligns the measured points of targets: those on a plane by their distance to it, with the radius
/// of the ball, and direct ones by their distance.
VELM_API Alignment align(std::span<const gmTargetPoint> targets,
                         const AlignmentOptions& options = {});

} // namespace velm
