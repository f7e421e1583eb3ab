// ERQuaternion: rotations about an axis and the interpolation of orientations.
#pragma once

#include "velm/export.h"
#include "velm/frame/vector.h"
#include "velm/numerics/matrix.h"

/// A quaternion w + x i + y j + z k, four doubles in this order. The default is the identity
/// rotation (1, 0, 0, 0). Angles are radians. Nothing is normalised unless said so.
///
/// The interpolations follow Shoemake, Animating Rotation with Quaternion Curves (SIGGRAPH 1985);
/// Exp and Log place their vector part differently, see their comments.
class VELM_API ERQuaternion {
public:
    constexpr ERQuaternion() = default;
    constexpr ERQuaternion(double w, double x, double y, double z) : w_(w), x_(x), y_(y), z_(z) {}
    /// The rotation by an angle about an axis, which need not be a unit vector.
    ERQuaternion(const ERVector3D& axis, double angle);
    /// The unit quaternion of a Rodrigues vector: its length is the tangent of half the angle.
    explicit ERQuaternion(const ERVector3D& rodrigues);
    /// Four values in the order w, x, y, z, or three as a Rodrigues vector. Any other length leaves
    /// the identity.
    explicit ERQuaternion(const ERVec<double>& q);
    /// From a 3x3 rotation matrix (Shoemake 1985, appendix I, by the largest of the four squares).
    /// A matrix of another size leaves the identity.
    explicit ERQuaternion(const ERMatrix<double>& m);

    constexpr double operator[](int n) const {
        return n == 0 ? w_ : n == 1 ? x_ : n == 2 ? y_ : z_;
    }
    constexpr double& operator[](int n) { return n == 0 ? w_ : n == 1 ? x_ : n == 2 ? y_ : z_; }

    /// The 3x3 rotation matrix; the quaternion is taken as a unit one.
    ERMatrix<double> GetMatrix() const;
    operator ERMatrix<double>() const { return GetMatrix(); }

    /// The Hamilton product: q acts first. Each component sums its four products from left to
    /// right, those with w, x, y and z of p in that order.
    friend constexpr ERQuaternion operator*(const ERQuaternion& p, const ERQuaternion& q) {
        return {p.w_ * q.w_ - p.x_ * q.x_ - p.y_ * q.y_ - p.z_ * q.z_,
                p.w_ * q.x_ + p.x_ * q.w_ + p.y_ * q.z_ - p.z_ * q.y_,
                p.w_ * q.y_ - p.x_ * q.z_ + p.y_ * q.w_ + p.z_ * q.x_,
                p.w_ * q.z_ + p.x_ * q.y_ - p.y_ * q.x_ + p.z_ * q.w_};
    }
    friend constexpr ERQuaternion operator*(const ERQuaternion& q, double s) {
        return {q.w_ * s, q.x_ * s, q.y_ * s, q.z_ * s};
    }
    friend constexpr ERQuaternion operator*(double s, const ERQuaternion& q) { return q * s; }
    friend constexpr ERQuaternion operator+(const ERQuaternion& p, const ERQuaternion& q) {
        return {p.w_ + q.w_, p.x_ + q.x_, p.y_ + q.y_, p.z_ + q.z_};
    }
    friend constexpr ERQuaternion operator-(const ERQuaternion& p, const ERQuaternion& q) {
        return {p.w_ - q.w_, p.x_ - q.x_, p.y_ - q.y_, p.z_ - q.z_};
    }
    constexpr ERQuaternion operator-() const { return {-w_, -x_, -y_, -z_}; }
    /// The vector turned: GetMatrix() times the vector.
    friend VELM_API ERVector3D operator*(const ERQuaternion& q, const ERVector3D& v);

    constexpr double Dot(const ERQuaternion& q) const {
        return w_ * q.w_ + x_ * q.x_ + y_ * q.y_ + z_ * q.z_;
    }
    /// The sum of the four squares.
    constexpr double Norm2() const { return Dot(*this); }
    /// The conjugate divided by Norm2(), or all zeros when that is not above 0.
    ERQuaternion Inverse() const;
    /// The conjugate.
    constexpr ERQuaternion UnitInverse() const { return {w_, -x_, -y_, -z_}; }
    /// The angle of the rotation, 0 to 2 pi.
    double Angle() const;
    /// The unit axis of the rotation, zero for the identity.
    ERVector3D Axis() const;

    /// (s x, 0, s y, s z) with s = sin(a) / a, or 1 where |sin(a)| is below 0.001, and a the length
    /// of the vector part. The first vector component goes to the place of w, and the place of x is
    /// 0; w is not read. Part of the contract.
    ERQuaternion Exp() const;
    /// The counterpart of Exp: (c x, 0, c y, c z) with a = acos(w) and c = a / sin(a) where |w| < 1
    /// and |sin(a)| is at least 0.001, else (0, x, y, z) in the usual places. Part of the contract.
    ERQuaternion Log() const;

    /// From p at t = 0 to q at t = 1 along the great arc, without choosing the shorter one and
    /// without clamping the cosine: a dot product above 1 gives NaN. Below 0.001 radians the result
    /// is p.
    static ERQuaternion Slerp(double t, const ERQuaternion& p, const ERQuaternion& q);
    /// Slerp with whole extra turns.
    static ERQuaternion SlerpExtraSpins(double t, const ERQuaternion& p, const ERQuaternion& q,
                                        int spins);
    /// Spherical cubic interpolation between p and q with the inner control points a and b.
    static ERQuaternion Squad(double t, const ERQuaternion& p, const ERQuaternion& a,
                              const ERQuaternion& b, const ERQuaternion& q);
    /// Inner control points at q1 for Squad. As Exp and Log don't place the first vector component
    /// where the other expects it, a and b depend only on the second and third; part of the
    /// contract.
    static void Intermediate(const ERQuaternion& q0, const ERQuaternion& q1, const ERQuaternion& q2,
                             ERQuaternion& a, ERQuaternion& b);

private:
    void set_from_rodrigues(const ERVector3D& v);

    double w_ = 1.0;
    double x_ = 0.0;
    double y_ = 0.0;
    double z_ = 0.0;
};

/// The conjugate.
constexpr ERQuaternion UnitInverse(const ERQuaternion& q) { return q.UnitInverse(); }
