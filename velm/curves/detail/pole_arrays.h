// Arrays of points or poles as rows of doubles, and their stored form with its checks.
#pragma once

#include "velm/curves/detail/bernstein_rows.h"
#include "velm/frame/point.h"
#include "velm/frame/pole.h"
#include "velm/frame/stored_form.h"
#include "velm/frame/val_vector.h"
#include "velm/frame/vec.h"
#include "velm/numerics/polynomial.h"

#include <cmath>
#include <limits>
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

/// The point that a pole stands for.
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

/// The array of poles as a stored field: its body. A body that can't be read, that is no whole
/// number of poles or more than `most`, or that holds a number that is not finite, leaves the array
/// empty.
template <class Array>
struct StoredPoles {
    Array& poles;
    int most;
};
template <class Array>
StoredPoles<Array> stored_poles(Array& poles, int most = std::numeric_limits<int>::max()) {
    return {poles, most};
}

template <class Array>
struct FieldForm<StoredPoles<Array>> {
    using Pole = typename Array::value_type;
    static constexpr bool fixed = false;

    static void save(ERFile& file, const StoredPoles<Array>& field) {
        field.poles.rep()->saveGuts(file);
    }
    static void restore(ERFile& file, StoredPoles<Array>& field) {
        ERVecRep* const body = ERVecRep::getRep(file);
        field.poles = body != nullptr ? Array(body) : Array();
        if (!is_sound(field.poles) || field.poles.size() > field.most) field.poles = Array();
    }
    static unsigned int size(const StoredPoles<Array>& field) {
        return field.poles.rep()->binaryStoreSize();
    }

private:
    static bool is_sound(const Array& poles) {
        if (poles.rep()->length() % sizeof(Pole) != 0) return false;
        for (const Pole& pole : poles.view())
            for (int c = 0; c < Pole::components; ++c)
                if (!std::isfinite(pole[c])) return false;
        return true;
    }
};

} // namespace velm::detail
