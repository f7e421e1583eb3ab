// velm::FaceProjector: nearest points of a trimmed face, its trim curves and their corners
// included.
//
//     const auto projector = velm::FaceProjector::on(*velm::prepare_face(trimmed)); // once
//     const velm::FaceFoot foot = projector->nearest({1.0, 2.0, 3.0});
//     if (foot.certified) use(foot.u, foot.v, foot.distance);
//     if (foot.loop >= 0) at_the_trim(foot.loop, foot.edge, foot.part);
//
// Lengths are model units, parameters the surface's own. Certified means what it means for
// SurfaceProjector, the size being that of the face: every part of the face without the foot was
// excluded by a bound. A foot on an edge of the trim is within the face's tolerance of it where
// loops cross or run together.
//
// The search is by branch and bound in a tree of boxes (Roussopoulos, Kelley and Vincent 1995,
// SIGMOD, 71-79); here the boxes are oriented ones, of small parts of the surface and of the trim
// lifted to it, and the roundings of the bounds are part of the certificate.
//
// Use from threads: nothing changes after construction and there is no cache, so any number of
// threads may ask one object without a lock. Copies share the tables. No question allocates, except
// for the threads that it starts.
//
// Failure: a point that isn't finite, or is so far away that squared distances overflow (1e150
// times the size), has no foot: `distance` is NaN, and `certified` false.
#pragma once

#include "velm/export.h"
#include "velm/surfaces/prepared_face.h"
#include "velm/surfaces/surface_projector.h"

#include <memory>
#include <optional>
#include <span>

namespace velm {

namespace detail {
class FaceSet;
}

/// A point of a face that is nearest to a query. The kind is edge on the trim, corner where two of
/// its edges meet.
struct FaceFoot : SurfaceFoot {
    int loop = -1, edge = -1; ///< of the trim, for a foot on it
    double part = 0.0;        ///< of the way along the edge, by its parameter, from 0 to 1
};

class VELM_API FaceProjector {
public:
    static constexpr int default_budget = SurfaceProjector::default_budget;

    /// Of every prepared face; one of an offset surface takes longer, see SurfaceProjector::on.
    /// The face is kept, its tables shared with the copy that was given.
    static std::optional<FaceProjector> on(const PreparedFace& face);

    const PreparedFace& face() const;

    /// The nearest point; of several equally near ones (within the accuracy of the certificate) one
    /// of them, the same at each call. A hint is the parameter of a point that is expected to be
    /// near: it changes the time, and the choice among equally near points, not the certificate.
    /// `budget` is the number of parts that one search halves before it gives up the certificate.
    FaceFoot nearest(const ERPoint3D& p, int budget = default_budget) const;
    FaceFoot nearest(const ERPoint3D& p, const ERPoint2D& hint, int budget = default_budget) const;
    /// Of many points: each foot is that of `nearest(p)` to the bit, regardless of the order of the
    /// points and the number of threads that share them. `feet` is as long as `points`.
    void nearest(std::span<const ERPoint3D> points, std::span<FaceFoot> feet,
                 int threads = 1) const;

private:
    explicit FaceProjector(std::shared_ptr<const detail::FaceSet> set);

    std::shared_ptr<const detail::FaceSet> set_;
};

} // namespace velm
