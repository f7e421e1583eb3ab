// velm::align_references: the rigid motion by which reference points get their nominal coordinates
// along the directions that each holds.
//
//     std::vector<velm::ReferencePoint> references(6); // three hold z, two y, one x
//     references[0].measured = {1.02, 2.01, 0.3};
//     references[0].nominal = {1, 2, 0};
//     references[0].held = {ERVector3D(0, 0, 1)};
//     ...
//     const velm::ReferenceAlignment found = velm::align_references(references);
//     if (found.fault == velm::ReferenceFault::none) use(found.motion);
#pragma once

#include "velm/measure/alignment.h"

#include <span>
#include <vector>

namespace velm {

struct ReferencePoint {
    ERPoint3D measured;           ///< the ball's centre
    double radius = 0.0;          ///< of the ball
    ERPoint3D nominal;            ///< of the surface
    ERVector3D normal;            ///< unit, along which the ball is taken off; zero: it is not
    std::vector<ERVector3D> held; ///< unit; one for each freedom that the point holds
};

enum class ReferenceFault {
    none,
    undetermined,  ///< `held` are the freedoms that no point holds
    contradictory, ///< more is held than a motion can have, and not to 1e-9 of the points' extent
    unconverged,   ///< no motion was found
};

struct VELM_API ReferenceAlignment : Alignment {
    ReferenceFault fault = ReferenceFault::none;
    std::size_t worst = 0;    ///< the point that is furthest from what it holds
    double largest_off = 0.0; ///< how far that is
};

/// Finds the motion after which each point, less the ball along its normal, differs from its
/// nominal by nothing along each direction that it holds. Six independent freedoms determine it, as
/// in a 3-2-1 alignment: then it is exact to 1e-12 of the points' extent. Where more are held the
/// squares of the differences have the least sum.
///
/// Starts from the absolute orientation of the points (velm::align with direct places) and takes
/// Newton's steps on the differences, which double the number of right digits each.
VELM_API ReferenceAlignment align_references(std::span<const ReferencePoint> references);

} // namespace velm
