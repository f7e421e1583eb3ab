// Free functions on points, vectors and poles: distance, milieu, Barycentre, isEqual, the angles
// (anglePI, angle2PI, acute_angle, angle, PseudoTheta), isParallel, isPerpendicular,
// signed_separation, GetOrthogonalDirections, arithmetic_mean, compareDouble. Angles are in
// radians.
#pragma once

#include "velm/export.h"
#include "velm/frame/point.h"
#include "velm/frame/pole.h"
#include "velm/frame/vector.h"
#include "velm/fwd.h"

/// The Euclidean distance, and its square.
inline double distance2(const ERPoint2D& p, const ERPoint2D& q) {
    return ERVector2D(p, q).norme2();
}
inline double distance2(const ERPoint3D& p, const ERPoint3D& q) {
    return ERVector3D(p, q).norme2();
}
inline double distance(const ERPoint2D& p, const ERPoint2D& q) { return ERVector2D(p, q).norme(); }
inline double distance(const ERPoint3D& p, const ERPoint3D& q) { return ERVector3D(p, q).norme(); }

/// The length, and its square.
inline double norme(const ERVector2D& v) { return v.norme(); }
inline double norme(const ERVector3D& v) { return v.norme(); }
constexpr double norme2(const ERVector2D& v) { return v.norme2(); }
constexpr double norme2(const ERVector3D& v) { return v.norme2(); }

/// The midpoint.
constexpr ERPoint2D milieu(const ERPoint2D& p, const ERPoint2D& q) { return (p + q) * 0.5; }
constexpr ERPoint3D milieu(const ERPoint3D& p, const ERPoint3D& q) { return (p + q) * 0.5; }

/// The mean of the points, a running mean in their order; the origin for none.
VELM_API ERPoint2D Barycentre(const QuickAlgebra::ERVec<ERPoint2D>& points);
VELM_API ERPoint3D Barycentre(const QuickAlgebra::ERVec<ERPoint3D>& points);

/// The sum of the coordinates in order divided by the count, as a vector; NaN for no points.
VELM_API void arithmetic_mean(QuickAlgebra::ERVec<ERPoint3D>& points, ERVector3D& mean);

/// Whether no component, the weight of a pole included, differs by more than `tolerance`.
constexpr bool isEqual(const ERPoint2D& a, const ERPoint2D& b, double tolerance) {
    return velm::detail::components_within(a, b, tolerance);
}
constexpr bool isEqual(const ERPoint3D& a, const ERPoint3D& b, double tolerance) {
    return velm::detail::components_within(a, b, tolerance);
}
constexpr bool isEqual(const ERVector2D& a, const ERVector2D& b, double tolerance) {
    return velm::detail::components_within(a, b, tolerance);
}
constexpr bool isEqual(const ERVector3D& a, const ERVector3D& b, double tolerance) {
    return velm::detail::components_within(a, b, tolerance);
}
constexpr bool isEqual(const ERPole2DH& a, const ERPole2DH& b, double tolerance) {
    return velm::detail::components_within(a, b, tolerance);
}
constexpr bool isEqual(const ERPole3DH& a, const ERPole3DH& b, double tolerance) {
    return velm::detail::components_within(a, b, tolerance);
}

/// -1 if the first is less, 1 if it is greater, else 0: a comparison function for sorting.
constexpr int compareDouble(const double* first, const double* second) {
    return *first < *second ? -1 : *first > *second ? 1 : 0;
}

/// The angle between two vectors, in [0, pi]. In the plane by the arc cosine (a zero vector gives
/// pi/2), in space by atan2(|a x b|, a . b), which is exact near 0 and pi too (a zero vector gives
/// 0). The two differ: part of the contract.
VELM_API double anglePI(const ERVector2D& a, const ERVector2D& b);
VELM_API double anglePI(const ERVector3D& a, const ERVector3D& b);

/// The smaller of anglePI(a, b) and its supplement.
VELM_API double acute_angle(const ERVector2D& a, const ERVector2D& b);
VELM_API double acute_angle(const ERVector3D& a, const ERVector3D& b);

/// The angle from a to b about n, in [0, 2 pi]; n need not have unit length.
VELM_API double angle2PI(const ERVector3D& a, const ERVector3D& b, const ERVector3D& n);

/// The signed angle p1 - apex - p2 about n, in [-pi/2, pi/2] by the arc sine: an obtuse angle comes
/// back as the negative of its supplement: part of the contract. NaN if p1 or p2 is the apex.
VELM_API double angle(const ERPoint3D& p1, const ERPoint3D& apex, const ERPoint3D& p2,
                      const ERVector3D& n);

/// A number that increases with the angle of q - p, without trigonometry: 0, 90, 180 and 270 on the
/// axes, linear in dy / (|dx| + |dy|) between them; 0 for equal points.
VELM_API double PseudoTheta(const ERPoint2D& p, const ERPoint2D& q);

/// Whether anglePI(a, b) is within `tolerance` (radians) of 0 or pi.
VELM_API bool isParallel(const ERVector2D& a, const ERVector2D& b, double tolerance);
VELM_API bool isParallel(const ERVector3D& a, const ERVector3D& b, double tolerance);

/// Whether the dot product of the vectors as given is at most `tolerance` in absolute value. It
/// tests no angle, unlike isParallel: part of the contract.
VELM_API bool isPerpendicular(const ERVector2D& a, const ERVector2D& b, double tolerance);
VELM_API bool isPerpendicular(const ERVector3D& a, const ERVector3D& b, double tolerance);

/// The distance from p to q with the sign of (q - p) . d: 0.0 if it is at most `equalityTolerance`
/// or the dot product of the two directions is exactly 0.
VELM_API double signed_separation(const ERPoint2D& p, const ERPoint2D& q, const ERVector2D& d);
VELM_API double signed_separation(const ERPoint3D& p, const ERPoint3D& q, const ERVector3D& d);

/// Makes u and v so that u, v and the normalised `direction` are a right-handed orthonormal frame;
/// NaN for a zero direction.
VELM_API void GetOrthogonalDirections(const ERVector3D& direction, ERVector3D& u, ERVector3D& v);

namespace velm {

/// The cross product of two vectors of the plane: positive when b turns left of a.
constexpr double cross(const ERVector2D& a, const ERVector2D& b) {
    return a.i_ * b.j_ - a.j_ * b.i_;
}

} // namespace velm
