// ERVector2D, ERVector3D: vectors.
#pragma once

#include "velm/export.h"
#include "velm/frame/enumerations.h"
#include "velm/frame/point.h"
#include "velm/frame/tuple.h"
#include "velm/fwd.h"

#include <cmath>

class ERMainDirection;

namespace velm::detail {

/// The operations of a vector beyond the arithmetic of a Tuple. Dividing a vector by a number gives
/// a point: part of the contract.
template <class Vector, class Point>
class VELM_API VectorOperations : public Tuple<Vector, Point> {
public:
    /// The Euclidean length.
    double norme() const { return std::sqrt(norme2()); }
    /// The square of the length.
    constexpr double norme2() const { return dot_product<Vector::components>(self(), self()); }

    /// Divides by the length; a vector of length exactly 0.0 is unchanged. No tolerance.
    Vector& normalize() {
        Vector& v = static_cast<Vector&>(*this);
        const double length = norme();
        if (length != 0.0) v /= length;
        return v;
    }
    /// A normalised copy.
    Vector getnormalized() const { return Vector(self()).normalize(); }

    /// The dot product.
    friend constexpr double operator*(const Vector& a, const Vector& b) {
        return dot_product<Vector::components>(a, b);
    }
    friend constexpr Point operator+(const Point& p, const Vector& v) {
        return Point::each([&](int n) { return p[n] + v[n]; });
    }
    friend constexpr Point operator-(const Point& p, const Vector& v) {
        return Point::each([&](int n) { return p[n] - v[n]; });
    }
    friend constexpr Point& operator+=(Point& p, const Vector& v) { return p = p + v; }
    friend constexpr Point& operator-=(Point& p, const Vector& v) { return p = p - v; }

private:
    constexpr const Vector& self() const { return static_cast<const Vector&>(*this); }
};

} // namespace velm::detail

/// A vector of the plane: two doubles and nothing else. The text form is "{i,j}".
class VELM_API ERVector2D : public velm::detail::VectorOperations<ERVector2D, ERPoint2D> {
public:
    static constexpr int components = 2;

    constexpr ERVector2D() = default;
    constexpr ERVector2D(double i, double j) : i_(i), j_(j) {}
    /// From `first` to `second`.
    constexpr ERVector2D(const ERPoint2D& first, const ERPoint2D& second)
        : i_(second.x_ - first.x_), j_(second.y_ - first.y_) {}
    /// The unit vector of an axis; zero for an axis out of range.
    explicit constexpr ERVector2D(Coord2D axis)
        : i_(axis == Coord2D_X ? 1.0 : 0.0), j_(axis == Coord2D_Y ? 1.0 : 0.0) {}
    explicit constexpr ERVector2D(const ERPoint2D& p) : i_(p.x_), j_(p.y_) {}

    constexpr double i() const { return i_; }
    constexpr double j() const { return j_; }
    constexpr double& i() { return i_; }
    constexpr double& j() { return j_; }
    /// The component by its index; for an index out of range the last.
    constexpr double operator[](int n) const { return n == 0 ? i_ : j_; }
    constexpr double& operator[](int n) { return n == 0 ? i_ : j_; }

    /// The vector of space with `value` at `axis` and i, j at the other two in order; zeros for an
    /// axis out of range.
    constexpr ERVector3D castToVector3D(Coord3D axis, double value) const;

    template <class F>
    static constexpr ERVector2D each(F f) {
        return {f(0), f(1)};
    }

    double i_ = 0.0;
    double j_ = 0.0;
};

/// A vector of space: three doubles and nothing else. The text form is "<i,j,k>".
class VELM_API ERVector3D : public velm::detail::VectorOperations<ERVector3D, ERPoint3D> {
public:
    static constexpr int components = 3;

    constexpr ERVector3D() = default;
    constexpr ERVector3D(double i, double j, double k) : i_(i), j_(j), k_(k) {}
    /// From `first` to `second`.
    constexpr ERVector3D(const ERPoint3D& first, const ERPoint3D& second)
        : i_(second.x_ - first.x_), j_(second.y_ - first.y_), k_(second.z_ - first.z_) {}
    /// The unit vector of an axis; zero for an axis out of range.
    explicit constexpr ERVector3D(Coord3D axis)
        : i_(axis == Coord3D_X ? 1.0 : 0.0), j_(axis == Coord3D_Y ? 1.0 : 0.0),
          k_(axis == Coord3D_Z ? 1.0 : 0.0) {}
    explicit constexpr ERVector3D(const ERPoint3D& p) : i_(p.x_), j_(p.y_), k_(p.z_) {}

    constexpr double i() const { return i_; }
    constexpr double j() const { return j_; }
    constexpr double k() const { return k_; }
    constexpr double& i() { return i_; }
    constexpr double& j() { return j_; }
    constexpr double& k() { return k_; }
    /// The component by its index; for an index out of range the last.
    constexpr double operator[](int n) const { return n == 0 ? i_ : n == 1 ? j_ : k_; }
    constexpr double& operator[](int n) { return n == 0 ? i_ : n == 1 ? j_ : k_; }

    /// The cross product.
    friend constexpr ERVector3D operator^(const ERVector3D& a, const ERVector3D& b) {
        return {a.j_ * b.k_ - a.k_ * b.j_, a.k_ * b.i_ - a.i_ * b.k_, a.i_ * b.j_ - a.j_ * b.i_};
    }
    /// Copies the coordinates of `p`.
    constexpr ERVector3D& become_ERPoint3D(const ERPoint3D& p) { return *this = ERVector3D(p); }
    /// The vector of the plane without the component at `axis`; zeros for an axis out of range.
    constexpr ERVector2D castToVector2D(Coord3D axis) const {
        return velm::detail::drop_axis<ERVector2D>(*this, axis);
    }

    /// The signs of the components: -1.0 below 0, else 1.0, for a zero too.
    constexpr ERVector3D signes() const {
        return each([this](int n) { return (*this)[n] < 0.0 ? -1.0 : 1.0; });
    }
    /// The axis with the largest absolute component; ties go to the later axis.
    Coord3D axeOptimum() const;
    /// The dominant axis with its sense (see main_direction.h).
    ERMainDirection mainDirection() const;
    /// A unit vector perpendicular to this one: the X axis crossed with it if |j| > |i|, else the Y
    /// axis. Zero for a zero vector.
    ERVector3D find_perpendicular() const;

    template <class F>
    static constexpr ERVector3D each(F f) {
        return {f(0), f(1), f(2)};
    }

    double i_ = 0.0;
    double j_ = 0.0;
    double k_ = 0.0;
};

constexpr ERVector3D ERVector2D::castToVector3D(Coord3D axis, double value) const {
    return velm::detail::lift<ERVector3D>(*this, axis, value);
}

constexpr ERPoint2D::ERPoint2D(const ERVector2D& v) : x_(v.i_), y_(v.j_) {}
constexpr ERPoint3D::ERPoint3D(const ERVector3D& v) : x_(v.i_), y_(v.j_), z_(v.k_) {}
constexpr ERVector3D ERPoint3D::asVector3D() const { return ERVector3D(x_, y_, z_); }
