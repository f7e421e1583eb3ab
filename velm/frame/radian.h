// ERRadian: an angle in radians.
#pragma once

#include "velm/export.h"

#include <cmath>

/// An angle in radians, usable wherever a double is.
class VELM_API ERRadian {
public:
    constexpr ERRadian() = default;
    constexpr ERRadian(double angle) : radians(angle) {}

    constexpr operator double() const { return radians; }
    double cosinus() const { return std::cos(radians); }
    double sinus() const { return std::sin(radians); }

    double radians = 0.0;
};
