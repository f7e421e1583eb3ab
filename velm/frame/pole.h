// ERPole2DH, ERPole3DH: control points in homogeneous coordinates.
#pragma once

#include "velm/export.h"
#include "velm/frame/enumerations.h"
#include "velm/frame/point.h"
#include "velm/frame/tuple.h"
#include "velm/fwd.h"

/// A control point of the plane: x and y are the weighted coordinates. Arithmetic acts on all
/// components, the weight included, so that affine combinations of poles are right. The text form
/// is "[x,y](weight)" with the weighted coordinates.
class VELM_API ERPole2DH : public velm::detail::Tuple<ERPole2DH> {
public:
    static constexpr int components = 3;

    constexpr ERPole2DH() = default;
    constexpr ERPole2DH(double x, double y, double w) : x_(x), y_(y), weight(w) {}
    /// Takes the coordinates unchanged: the caller has multiplied them by `w`.
    constexpr ERPole2DH(const ERPoint2D& weighted, double w)
        : x_(weighted.x_), y_(weighted.y_), weight(w) {}

    constexpr double x() const { return x_; }
    constexpr double y() const { return y_; }
    constexpr double weigth() const { return weight; }
    constexpr double& x() { return x_; }
    constexpr double& y() { return y_; }
    constexpr double& weigth() { return weight; }
    /// The component by its index; for an index out of range the weight.
    constexpr double operator[](int n) const { return n == 0 ? x_ : n == 1 ? y_ : weight; }
    constexpr double& operator[](int n) { return n == 0 ? x_ : n == 1 ? y_ : weight; }
    static constexpr int getDim() { return 3; }

    /// The point: the weighted coordinates divided by the weight.
    constexpr ERPoint2D castToPoint() const { return {x_ / weight, y_ / weight}; }
    /// Moves the point by `p`: adds p times the weight to the weighted coordinates.
    constexpr ERPole2DH& translate(const ERPoint2D& p) {
        x_ += p.x_ * weight;
        y_ += p.y_ * weight;
        return *this;
    }
    /// The pole of space with the weighted coordinate `value` at `axis`, x and y at the other two
    /// in order, and the same weight; zeros for an axis out of range.
    constexpr ERPole3DH castToPole3D(Coord3D axis, double value) const;

    template <class F>
    static constexpr ERPole2DH each(F f) {
        return {f(0), f(1), f(2)};
    }

    double x_ = 0.0;
    double y_ = 0.0;
    double weight = 0.0;
};

/// A control point of space: x, y and z are the weighted coordinates. Arithmetic acts on all
/// components, the weight included, so that affine combinations of poles are right. The text form
/// is "[x,y,z](weight)" with the weighted coordinates.
class VELM_API ERPole3DH : public velm::detail::Tuple<ERPole3DH> {
public:
    static constexpr int components = 4;

    constexpr ERPole3DH() = default;
    constexpr ERPole3DH(double x, double y, double z, double w) : x_(x), y_(y), z_(z), weight(w) {}
    /// Takes the coordinates unchanged: the caller has multiplied them by `w`.
    constexpr ERPole3DH(const ERPoint3D& weighted, double w)
        : x_(weighted.x_), y_(weighted.y_), z_(weighted.z_), weight(w) {}

    constexpr double x() const { return x_; }
    constexpr double y() const { return y_; }
    constexpr double z() const { return z_; }
    constexpr double weigth() const { return weight; }
    constexpr double& x() { return x_; }
    constexpr double& y() { return y_; }
    constexpr double& z() { return z_; }
    constexpr double& weigth() { return weight; }
    /// The component by its index; for an index out of range the weight.
    constexpr double operator[](int n) const {
        return n == 0 ? x_ : n == 1 ? y_ : n == 2 ? z_ : weight;
    }
    constexpr double& operator[](int n) { return n == 0 ? x_ : n == 1 ? y_ : n == 2 ? z_ : weight; }
    static constexpr int getDim() { return 4; }

    /// The point: the weighted coordinates divided by the weight.
    constexpr ERPoint3D castToPoint() const { return {x_ / weight, y_ / weight, z_ / weight}; }
    /// Moves the point by `p`: adds p times the weight to the weighted coordinates.
    constexpr ERPole3DH& translate(const ERPoint3D& p) {
        x_ += p.x_ * weight;
        y_ += p.y_ * weight;
        z_ += p.z_ * weight;
        return *this;
    }
    /// The pole of the plane without the coordinate at `axis`, with the same weight; zeros for an
    /// axis out of range.
    constexpr ERPole2DH castToPole2D(Coord3D axis) const {
        return velm::detail::drop_axis<ERPole2DH>(*this, axis);
    }

    template <class F>
    static constexpr ERPole3DH each(F f) {
        return {f(0), f(1), f(2), f(3)};
    }

    double x_ = 0.0;
    double y_ = 0.0;
    double z_ = 0.0;
    double weight = 0.0;
};

constexpr ERPole3DH ERPole2DH::castToPole3D(Coord3D axis, double value) const {
    return velm::detail::lift<ERPole3DH>(*this, axis, value);
}
