// Arrays of points or poles as rows of doubles. Their stored form with its checks is in
// frame/detail/stored_points.h.
#pragma once

#include "velm/curves/detail/bernstein_rows.h"
#include "velm/frame/detail/stored_points.h"
#include "velm/frame/point.h"
#include "velm/frame/pole.h"
#include "velm/frame/val_vector.h"
#include "velm/frame/vec.h"
#include "velm/numerics/polynomial.h"

#include <span>
#include <type_traits>

namespace velm::detail {

template <class Pole>
inline constexpr bool is_weighted =
    std::is_same_v<Pole, ERPole2DH> || std::is_same_v<Pole, ERPole3DH>;

/// Poles of no more than this degree are read from a file: what is computed from them grows with
/// the square of the degree.
inline constexpr int highest_stored_bezier_degree = 65536;

/// A row over all poles of an array, or over `count` of them from `first` on.
template <class Pole>
ConstPoleRow row_of(std::span<const Pole> poles) {
    static_assert(sizeof(Pole) == sizeof(double) * Pole::components);
    return {static_cast<const double*>(static_cast<const void*>(poles.data())),
            static_cast<int>(poles.size()), Pole::components};
}
template <class Pole>
PoleRow row_of(std::span<Pole> poles) {
    static_assert(sizeof(Pole) == sizeof(double) * Pole::components);
    return {static_cast<double*>(static_cast<void*>(poles.data())), static_cast<int>(poles.size()),
            Pole::components};
}
template <class Pole>
ConstPoleRow row_of(const ERVec<Pole>& poles) {
    return row_of(poles.view());
}
/// Separates a shared body.
template <class Pole>
PoleRow row_of(ERVec<Pole>& poles) {
    return row_of(poles.writable());
}

/// The point of a pole.
constexpr ERPoint2D pole_point(const ERPoint2D& p) { return p; }
constexpr ERPoint3D pole_point(const ERPoint3D& p) { return p; }
constexpr ERPoint2D pole_point(const ERPole2DH& p) { return p.castToPoint(); }
constexpr ERPoint3D pole_point(const ERPole3DH& p) { return p.castToPoint(); }

/// The point of homogeneous coordinates.
template <class Point>
Point point_of(const double* coordinates, int width) {
    if (width == Point::components)
        return Point::each([coordinates](int c) { return coordinates[c]; });
    const double weight = coordinates[Point::components];
    return Point::each([coordinates, weight](int c) { return coordinates[c] / weight; });
}

/// The power form of a row by the parameter of [0, 1]: a polynomial for each of its components,
/// without zeros at the end. None of a row without poles.
VELM_API ERTValVector<ERPolynome> power_form_of(ConstPoleRow row);

} // namespace velm::detail
