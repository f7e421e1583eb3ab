// velm::PartMesh and velm::tessellate of a part: triangles of all its faces in one mesh, without
// gaps along the edges that the faces share.
//
//     const velm::PartMesh mesh = velm::tessellate(*part, 0.01);
//     for (std::size_t i = 0; i < mesh.triangles.size(); ++i)
//         draw(mesh.triangles[i], colour_of(mesh.face_of_triangle[i]));
//     if (!mesh.closed) report(mesh.borders);
//
// Along an edge that velm::PartEdges pairs, both faces have the same vertices in space, to the last
// bit: they are points of one of the two faces, as many as both faces need for their trims and
// surfaces to be near to the chords. Triangles are cut inside of the faces only. Where sides of two
// edges cross in the parameters of a face, as those of a bore beside an edge may, they are halved
// in both faces until they don't.
//
// Each face is triangulated and its distance proved as velm::tessellate of a face has it
// (surfaces/face_tessellation.h).
//
// Use from threads: functions of their arguments alone, which they don't change; each call works in
// the caller's thread and allocates what it returns and what it works on.
#pragma once

#include "velm/surfaces/face_tessellation.h"
#include "velm/surfaces/part_edges.h"

#include <span>
#include <vector>

namespace velm {

class PreparedPart;

/// Triangles and normals as a surface's mesh has them, turned so that each is counter-clockwise
/// seen from outside of the material, and each normal points out of it. Three corners are three
/// points; triangles without area are kept where the mesh would have a hole without them.
struct PartMesh : SurfaceMesh {
    std::vector<int> face_of_triangle; ///< as long as `triangles`, ascending
    /// Of each vertex: vertices with one number are one point, at the same position to the last
    /// bit. They differ in their face, normal and parameter.
    std::vector<int> point_of_vertex;
    /// Whether each side of a triangle from a point to another one is met by as many sides that go
    /// back as go there: then the winding number of the mesh is the same all over each part of
    /// space that the mesh bounds.
    bool closed = false;
    /// Whether in addition no side has more than two triangles, as at the contact of two solids.
    bool manifold = false;
    /// Chains of vertices along sides that nothing meets, in the direction of their triangles.
    std::vector<std::vector<int>> borders;
    /// The largest distance between a shared vertex and its place on a face.
    double largest_gap = 0.0;
};

/// The mesh of a part. Each point of a triangle is within chord_error of its face's surface, and
/// each point of the face within as much of a triangle, as velm::tessellate of a face has it; where
/// the gaps of edges are larger than rounding, by as much more as `largest_gap`. `edges` are those
/// of the same faces, in the same order, see PartEdges::of. `outward` is 1 or -1 for each face, as
/// velm::outward_side gives it; where it is shorter than `faces`, and where it is 0, it counts
/// as 1.
///
/// `certified` is false as for a face, and where loops of a face cross by more than a tolerance, so
/// that vertices are not shared there.
///
/// Empty, and not closed, for a chord_error that isn't positive, and if a face has no mesh.
VELM_API PartMesh tessellate(std::span<const PreparedFace> faces, std::span<const int> outward,
                             const PartEdges& edges, double chord_error);

/// The same of a prepared part.
VELM_API PartMesh tessellate(const PreparedPart& part, double chord_error);

/// The meshes that velm::tessellate has of the faces, joined: each by itself, nothing is shared.
VELM_API PartMesh tessellate(std::span<const PreparedFace> faces, std::span<const int> outward,
                             double chord_error);

} // namespace velm
