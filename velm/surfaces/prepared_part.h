// velm::PreparedPart: the faces of a part together: nearest points with the number of the face and
// the distance signed by the material.
//
//     std::vector<velm::PartFace> faces;
//     for (const velm::NominalFace& face : nominal.faces)
//         faces.push_back({*velm::prepare_face(*face.surface), velm::outward_side(*face.surface)});
//     const auto part = velm::PreparedPart::of(std::move(faces), 0.01);
//     const velm::PartFoot foot = part->nearest({1.0, 2.0, 3.0});
//     use(foot.face, foot.signed_distance);
//
// Lengths are model units. A foot is certified as that of a FaceProjector is, the size being that
// of the part. The faces are searched together, in one tree, so that many cost little more than
// few.
//
// The side at an edge follows Baerentzen and Aanaes 2005 (IEEE TVCG 11, 243-253): the sign is that
// of the sum of the normals that meet there. It departs from them where that isn't enough for
// curved faces: at corners, tips and knife edges, and where walls are thin, the side is that of
// another point of the ball about the query that reaches to its foot.
//
// What the tolerance decides. A gap between two faces that look at each other, if narrower than
// the tolerance, is the contact of two solids: points in it are inside. Walls thinner than the
// tolerance keep their signs, down to 2^-40 of the size.
//
// Use from threads: nothing changes after construction and there is no cache, so any number of
// threads may ask one object without a lock. Copies share the tables. No question allocates, except
// for the threads that it starts.
//
// Failure: a query that isn't finite, or is so far away that squared distances overflow (1e150
// times the size), has no face.
#pragma once

#include "velm/export.h"
#include "velm/surfaces/face_projector.h"
#include "velm/surfaces/part_edges.h"

#include <cmath>
#include <memory>
#include <numbers>
#include <optional>
#include <span>
#include <vector>

namespace velm {

namespace detail {
struct PartTables;
}

struct PartFace {
    PreparedFace face;
    /// 1 where dP/du ^ dP/dv points out of the material, -1 where it points inside, as
    /// velm::outward_side gives it; 0 counts as 1.
    int outward = 1;
};

/// How the sign of a distance is known.
enum class PartSide {
    certain,   ///< the foot is inside of a face
    edge,      ///< where faces meet: by all of them
    open_edge, ///< on an edge that no other face shares: by the foot's own face
    uncertain, ///< where the faces that meet give no side, as at the contact of two solids
};

/// A point of a part that is nearest to a query.
struct PartFoot : FaceFoot {
    /// -1: no place that fulfils the conditions was found; then all else means nothing.
    int face = -1;
    /// Unit, out of the material: the surface's; where faces meet, the mean of theirs.
    ERVector3D outward;
    double signed_distance = 0.0; ///< positive outside of the material
    PartSide side = PartSide::certain;
};

/// Conditions on the places that count. None by default.
struct PartSearch {
    /// No place further than this, in model units, by the accuracy of the certificate.
    double max_distance = HUGE_VAL;
    /// Places where the outward normal of a face is within max_angle, in radians, of the direction,
    /// and that are minima of the distance: where the point is perpendicular above the face, or on
    /// an edge and perpendicular to it, or at a corner. The border of what is turned to the
    /// direction is no place. The direction has any length; one of length 0 or that isn't finite
    /// has no places. With max_angle from pi on it is no condition.
    ///
    /// If the nearest place of all is none of these, the sign of the distance is that of the face
    /// of the place that is given. Certified then means that every part of the surface and of the
    /// trim that may have such a minimum nearer than that was looked at: the others are farther
    /// away by their boxes, or turned away by a cone that holds all their normals. The answer isn't
    /// certified where minima can't be distinguished, as on the axis of a hole, nor after
    /// SurfaceProjector::default_budget halvings of all parts together.
    std::optional<ERVector3D> direction;
    double max_angle = std::numbers::pi / 2; ///< from 0 on
    /// A foot that is expected to be near, as that of a neighbouring point: it changes the time,
    /// and the choice among equally near points, nothing else.
    std::optional<PartFoot> hint;
};

class VELM_API PreparedPart {
public:
    /// Faces that meet within the tolerance, in model units, share an edge, see PartEdges::of.
    /// Nothing without faces. The number of threads changes the time only.
    static std::optional<PreparedPart> of(std::vector<PartFace> faces, double tolerance,
                                          int threads = 1);

    int faces() const;
    const PreparedFace& face(int i) const;
    int outward(int i) const; ///< 1 or -1
    /// Of the edges: what was given, or the rounding of the points if that is more.
    double tolerance() const;
    const PartEdges& edges() const;
    /// Holds all faces.
    ERMinimax3D box() const;
    /// The diagonal of box().
    double size() const;

    /// The nearest point; of several equally near ones (within the accuracy of the certificate) one
    /// of them, the same at each call.
    PartFoot nearest(const ERPoint3D& p) const;
    PartFoot nearest(const ERPoint3D& p, const PartSearch& search) const;
    /// Of many points: each foot is that of `nearest` to the bit, regardless of the order of the
    /// points and the number of threads that share them. `feet` is as long as `points`, and
    /// `searches` has one entry for all points or one for each: an empty one is a mistake.
    void nearest(std::span<const ERPoint3D> points, std::span<PartFoot> feet,
                 int threads = 1) const;
    void nearest(std::span<const ERPoint3D> points, std::span<const PartSearch> searches,
                 std::span<PartFoot> feet, int threads = 1) const;

private:
    explicit PreparedPart(std::shared_ptr<const detail::PartTables> tables);

    std::shared_ptr<const detail::PartTables> tables_;
};

} // namespace velm
