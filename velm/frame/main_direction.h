// ERMainDirection: one of the six directions along the axes.
#pragma once

#include "velm/export.h"
#include "velm/frame/enumerations.h"
#include "velm/frame/vector.h"

/// An axis with a sense, one 32-bit value: twice the axis, plus 1 for the negative sense.
class VELM_API ERMainDirection {
public:
    enum TypeDir : int { PlusX = 0, MinusX = 1, PlusY = 2, MinusY = 3, PlusZ = 4, MinusZ = 5 };

    constexpr ERMainDirection(TypeDir direction = PlusX) : value_(direction) {}
    /// The dominant axis of v (ERVector3D::axeOptimum), positive when its dot product with v is
    /// above 0.0; a zero vector gives the negative Z axis.
    ERMainDirection(const ERVector3D& v)
        : ERMainDirection(v, v * ERVector3D(v.axeOptimum()) > 0.0) {}
    /// The dominant axis of v; the positive sense if `sense` isn't 0.
    ERMainDirection(const ERVector3D& v, int sense) : ERMainDirection(v.axeOptimum(), sense) {}
    /// From two characters: the axis as the capital X, Y or Z, then + for the positive sense;
    /// anything else is the negative one.
    ERMainDirection(const char* text);
    /// An axis; the positive sense if `sense` isn't 0.
    constexpr ERMainDirection(Coord3D axis, int sense)
        : value_(static_cast<TypeDir>(axis * 2 + (sense != 0 ? 0 : 1))) {}

    constexpr Coord3D axe() const { return static_cast<Coord3D>(value_ / 2); }
    /// 1 for the positive sense, 0 for the negative one.
    constexpr int sens() const { return value_ % 2 == 0 ? 1 : 0; }
    /// Reverses the direction.
    constexpr ERMainDirection& swap() { return *this = -*this; }
    constexpr ERMainDirection operator-() const { return static_cast<TypeDir>(value_ ^ 1); }

    /// The unit vector of the axis with the sign of the sense.
    constexpr ERVector3D vector() const {
        const ERVector3D unit(axe());
        return sens() != 0 ? unit : ERVector3D() - unit;
    }
    constexpr operator ERVector3D() const { return vector(); }
    constexpr operator TypeDir() const { return value_; }

private:
    TypeDir value_;
};
