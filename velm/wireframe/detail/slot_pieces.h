// velm::detail::SlotPieces: the arcs and segments that a rounded slot consists of.
#pragma once

#include "velm/wireframe/arc.h"
#include "velm/wireframe/planar_shapes.h"
#include "velm/wireframe/segment.h"

namespace velm::detail {

/// In the order of the outline arc, side, arc, side. The arcs begin in (-pi, pi] and are half
/// turns.
struct SlotPieces {
    explicit SlotPieces(const ERRoundedSlot2D& slot);

    ERArc2D arcs[2];
    ERSegment2D sides[2];
};

} // namespace velm::detail
