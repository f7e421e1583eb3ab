// velm::detail::FaceRegion: the parameters of a face as a set with sharp borders.
#pragma once

#include "velm/surfaces/detail/face_tables.h"
#include "velm/surfaces/detail/surface_leaves.h"

namespace velm::detail {

/// Inside all outer loops and outside of all holes, by the parity of crossings. Bridges are edges
/// like others: no tolerance widens an edge.
class FaceRegion {
public:
    explicit FaceRegion(const FaceTables& face) : face_(&face) {}

    /// Of one point, and of a rectangle between two u and two v; the loop `but` is left out.
    bool holds(double u, double v, int but = -1) const;
    InTrim place(const double* u, const double* v, int but = -1) const;

    /// What the outer loops and the limits leave, some roundings larger.
    void box(ERLimites& u, ERLimites& v) const;

private:
    const FaceTables* face_;
};

} // namespace velm::detail
