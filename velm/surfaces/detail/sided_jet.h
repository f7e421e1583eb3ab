// velm::detail::sided_jet: a prepared surface's point and derivatives on one side of a joint.
#pragma once

#include "velm/surfaces/detail/analytic_jet.h"
#include "velm/surfaces/detail/offset_expansion.h"

namespace velm::detail {

/// The side matters at the ends of patches, and at ends of the domain it has to be inside. On an
/// offset surface not finite where the base has no normal and offset_at no limit.
inline Jet sided_jet(const SurfaceTables& tables, const ERPoint2D& at, const SurfaceSide& side) {
    Jet jet = {};
    if (tables.base) {
        jet_of_series(offset_at(*tables.base, tables.offset, at.x(), at.y(), side), jet.c);
    } else if (!tables.ends_u.empty()) {
        jet_of_series(expansion_at(tables, at.x(), at.y(), side), jet.c);
    } else {
        const AnalyticJet shape(tables);
        return shape.at(shape.turn_u(at.x()), shape.turn_v(at.y()));
    }
    return jet;
}

} // namespace velm::detail
