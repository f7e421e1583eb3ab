// From the values and derivatives of homogeneous coordinates to those of points. A jet is S, Su,
// Sv, Suu, Suv, Svv.
#pragma once

#include "velm/surfaces/surface_point.h"

#include <cstddef>

namespace velm::detail {

/// Six points from six poles: with A the weighted part and w the weight, S = A / w,
/// Sx = (Ax - wx S) / w and Sxy = (Axy - wx Sy - wy Sx - wxy S) / w. `order` 0 gives one, 1 three.
inline void divide_by_weight(const double (*a)[4], int order, double* out) {
    const double w = a[0][3], inverse = 1.0 / w;
    double *const p = out, *const pu = out + 3, *const pv = out + 6;
    for (int c = 0; c < 3; ++c)
        p[c] = a[0][c] / w;
    if (order == 0) return;
    const double wu = a[1][3], wv = a[2][3];
    for (int c = 0; c < 3; ++c) {
        pu[c] = (a[1][c] - wu * p[c]) * inverse;
        pv[c] = (a[2][c] - wv * p[c]) * inverse;
    }
    if (order == 1) return;
    for (int c = 0; c < 3; ++c) {
        out[9 + c] = (a[3][c] - 2.0 * wu * pu[c] - a[3][3] * p[c]) * inverse;
        out[12 + c] = (a[4][c] - wu * pv[c] - wv * pu[c] - a[4][3] * p[c]) * inverse;
        out[15 + c] = (a[5][c] - 2.0 * wv * pv[c] - a[5][3] * p[c]) * inverse;
    }
}

/// From derivatives by parameters of [0, 1] to those by parameters over these lengths.
template <std::size_t Width>
void scale_jet(double (*jet)[Width], double length_u, double length_v) {
    for (std::size_t c = 0; c < Width; ++c) {
        jet[1][c] /= length_u;
        jet[2][c] /= length_v;
        jet[3][c] /= length_u * length_u;
        jet[4][c] /= length_u * length_v;
        jet[5][c] /= length_v * length_v;
    }
}

/// The value of PtCur of eighteen doubles.
inline ERInfoPoint3DSurf surface_point(const ERPoint2D& parameter, const double* jet) {
    const auto vector = [jet](int k) {
        return ERVector3D(jet[3 * k], jet[3 * k + 1], jet[3 * k + 2]);
    };
    return {
        parameter, ERPoint3D(jet[0], jet[1], jet[2]), vector(1), vector(3), vector(2), vector(4),
        vector(5)};
}
template <std::size_t Width>
ERInfoPoint3DSurf surface_point(const ERPoint2D& parameter, const double (*jet)[Width]) {
    if constexpr (Width == 3) {
        return surface_point(parameter, &jet[0][0]);
    } else {
        double points[18];
        divide_by_weight(jet, 2, points);
        return surface_point(parameter, points);
    }
}

} // namespace velm::detail
