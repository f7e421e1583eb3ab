// ERPoint2D, ERPoint3D: points, plain coordinates in model units.
#pragma once

#include "velm/export.h"
#include "velm/frame/enumerations.h"
#include "velm/frame/math_utils.h"
#include "velm/frame/tuple.h"
#include "velm/fwd.h"

/// A point of the plane: two doubles and nothing else. Arithmetic acts coordinate by coordinate;
/// the text form is "[x,y]".
class VELM_API ERPoint2D : public velm::detail::Tuple<ERPoint2D> {
public:
    static constexpr int components = 2;

    constexpr ERPoint2D() = default;
    constexpr ERPoint2D(double x, double y) : x_(x), y_(y) {}
    explicit constexpr ERPoint2D(const ERVector2D& v); // in vector.h

    constexpr double x() const { return x_; }
    constexpr double y() const { return y_; }
    constexpr double& x() { return x_; }
    constexpr double& y() { return y_; }
    /// The coordinate by its index; for an index out of range the last.
    constexpr double operator[](int n) const { return n == 0 ? x_ : y_; }
    constexpr double& operator[](int n) { return n == 0 ? x_ : y_; }

    /// 1.0: a point acts as a pole of weight 1 in code for both.
    constexpr double weigth() const { return 1.0; }
    static constexpr int getDim() { return 2; }

    /// The point of space with `value` at `axis` and x, y at the other two in order; zeros for an
    /// axis out of range.
    constexpr ERPoint3D castToPoint3D(Coord3D axis, double value) const;

    template <class F>
    static constexpr ERPoint2D each(F f) {
        return {f(0), f(1)};
    }

    double x_ = 0.0;
    double y_ = 0.0;
};

/// A point of space: three doubles and nothing else. Arithmetic acts coordinate by coordinate; the
/// text form is "[x,y,z]".
class VELM_API ERPoint3D : public velm::detail::Tuple<ERPoint3D> {
public:
    static constexpr int components = 3;

    constexpr ERPoint3D() = default;
    constexpr ERPoint3D(double x, double y, double z) : x_(x), y_(y), z_(z) {}
    explicit constexpr ERPoint3D(const ERVector3D& v); // in vector.h

    constexpr double x() const { return x_; }
    constexpr double y() const { return y_; }
    constexpr double z() const { return z_; }
    constexpr double& x() { return x_; }
    constexpr double& y() { return y_; }
    constexpr double& z() { return z_; }
    /// The coordinate by its index; for an index out of range the last.
    constexpr double operator[](int n) const { return n == 0 ? x_ : n == 1 ? y_ : z_; }
    constexpr double& operator[](int n) { return n == 0 ? x_ : n == 1 ? y_ : z_; }

    /// 1.0: a point acts as a pole of weight 1 in code for both.
    constexpr double weigth() const { return 1.0; }
    static constexpr int getDim() { return 3; }

    /// Whether a coordinate is a NaN.
    constexpr bool invalid() const {
        return gmMathUtils::is_nan(x_) != 0 || gmMathUtils::is_nan(y_) != 0 ||
               gmMathUtils::is_nan(z_) != 0;
    }
    /// The vector with the same coordinates.
    constexpr ERVector3D asVector3D() const; // in vector.h
    /// The point of the plane without the coordinate at `axis`; zeros for an axis out of range.
    constexpr ERPoint2D castToPoint2D(Coord3D axis) const;

    template <class F>
    static constexpr ERPoint3D each(F f) {
        return {f(0), f(1), f(2)};
    }

    double x_ = 0.0;
    double y_ = 0.0;
    double z_ = 0.0;
};

constexpr ERPoint3D ERPoint2D::castToPoint3D(Coord3D axis, double value) const {
    return velm::detail::lift<ERPoint3D>(*this, axis, value);
}

constexpr ERPoint2D ERPoint3D::castToPoint2D(Coord3D axis) const {
    return velm::detail::drop_axis<ERPoint2D>(*this, axis);
}
