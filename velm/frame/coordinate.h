// Coordinate: three numbers for coordinate formatters.
#pragma once

#include "velm/export.h"
#include "velm/frame/point.h"

/// Three doubles without a meaning of their own: Cartesian, cylindrical or spherical coordinates,
/// direction cosines or angles.
class VELM_API Coordinate {
public:
    constexpr Coordinate() = default;
    constexpr Coordinate(double a, double b, double c) : values{a, b, c} {}
    explicit constexpr Coordinate(const ERPoint3D& p) { Init(p); }

    constexpr void Init(const ERPoint3D& p) {
        for (int n = 0; n < 3; ++n)
            values[n] = p[n];
    }
    /// The number by its index, 0 to 2.
    constexpr double operator[](int n) const { return values[n]; }
    constexpr double& operator[](int n) { return values[n]; }
    /// Whether all three equal `value` exactly.
    constexpr bool operator==(double value) const {
        return values[0] == value && values[1] == value && values[2] == value;
    }
    constexpr bool operator==(const Coordinate&) const = default;

    double values[3] = {0.0, 0.0, 0.0};
};
