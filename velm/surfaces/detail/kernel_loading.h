// velm::detail::load: a NURBS surface taken over by the kernel.
#pragma once

#include "velm/platform/nurbs_kernel.h"
#include "velm/surfaces/detail/pole_grid.h"

namespace velm::detail {

/// Whether the kernel then is complete is whether poles and knots agree.
inline void load(tqkNurbSurf& kernel, const ERMatrix<ERPole3DH>& poles, const ERKnotVector& u,
                 const ERKnotVector& v) {
    kernel.become(poles.columns(), poles.rows(), u.degree() + 1, v.degree() + 1);
    kernel.knots_u().become(u.length(), u.data());
    kernel.knots_u().update();
    kernel.knots_v().become(v.length(), v.data());
    kernel.knots_v().update();
    kernel.set_h_points(grid_of(poles).poles);
}

} // namespace velm::detail
