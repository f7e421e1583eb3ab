// velm::detail::PartTables: what a prepared part is made of, and the sides of its feet.
#pragma once

#include "velm/surfaces/detail/face_set.h"
#include "velm/surfaces/detail/normal_cone.h"
#include "velm/surfaces/part_edges.h"
#include "velm/surfaces/prepared_part.h"

#include <memory>
#include <vector>

namespace velm::detail {

struct PartTables {
    std::shared_ptr<const FaceSet> set;
    std::vector<int> outward; ///< 1 or -1
    /// Of each leaf, in the order of the set's numbers; of a piece of a trim that of its face.
    std::vector<NormalCone> normals;
    PartEdges edges;
    double tolerance = 0.0;

    /// The foot that a search found, with the outward normal of its own face and without a side;
    /// `face` is -1 if it found none.
    PartFoot found_by(const LeafSearch& search) const;
    /// Without conditions, and without a side.
    PartFoot nearest(const ERPoint3D& p) const;
};

/// Sets signed_distance, side and outward of a foot of p; a foot on a seam that is smooth becomes
/// one inside of its face.
///
/// Inside of a face the sign is that of the normal, negative where the face of another solid lies
/// before it. Where two smooth faces meet at an edge, it is that of the sum of their normals, as
/// for the edges of polyhedra (Baerentzen and Aanaes 2005, IEEE TVCG 11, 243-253): near to its foot
/// each is its tangent plane. At a knife edge, where the sum is short, the point is outside if the
/// faces have their material between them, inside if it is around them. Elsewhere, at corners, tips
/// and where walls are thinner than the tolerance, the sign is that of another point: between p and
/// its foot there is a ball about p without a point of the part, and all of a ball is on one side;
/// so any point of it will do whose own foot has a side by the rules before.
void settle_side(const PartTables& part, const ERPoint3D& p, PartFoot& foot);

/// The same for a foot that is not the nearest of all: by its own face alone.
void settle_side_of_face(const ERPoint3D& p, PartFoot& foot);

} // namespace velm::detail
