#include "velm/frame/point_functions.h"

#include "velm/frame/vec.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr double pi = std::numbers::pi;

// The order of the factors is fixed: the rounding depends on it.
template <class Point>
Point running_mean(const ERVec<Point>& points) {
    Point mean;
    double taken = 0.0;
    for (const Point& p : points) {
        mean = mean * (taken / (taken + 1.0)) + p * (1.0 / (taken + 1.0));
        taken += 1.0;
    }
    return mean;
}

template <class Vector>
double smaller_angle(const Vector& a, const Vector& b) {
    const double theta = anglePI(a, b);
    return theta > pi / 2.0 ? pi - theta : theta;
}

template <class Vector>
bool parallel(const Vector& a, const Vector& b, double tolerance) {
    const double theta = anglePI(a, b);
    return tolerance >= std::fabs(theta) || tolerance >= std::fabs(theta - pi);
}

template <class Point, class Vector>
double separation(const Point& p, const Point& q, const Vector& d) {
    const Vector step(p, q);
    const double length = step.norme();
    if (equalityTolerance >= length) return 0.0;
    const double side = step.getnormalized() * d.getnormalized();
    const double sign = side > 0.0 ? 1.0 : side < 0.0 ? -1.0 : 0.0;
    return sign * length;
}

// atan2(|a x b|, a . b) of normalised vectors.
double angle_of_units(const ERVector3D& a, const ERVector3D& b) {
    return std::atan2((a ^ b).norme(), a * b);
}

// A vector that is perpendicular to n, or at least not parallel to it.
ERVector3D seed_across(const ERVector3D& n) {
    const double x = std::fabs(n.i_), y = std::fabs(n.j_), z = std::fabs(n.k_);
    if (z >= x && z >= y) return {1.0, 0.0, n.j_ / n.k_};
    if (y >= x && y >= z) return {0.0, n.i_ / n.j_, 1.0};
    if (n.i_ != 0.0) return {n.k_ / n.i_, 1.0, 0.0};
    return {1.0, 1.0, 1.0};
}

} // namespace

ERPoint2D Barycentre(const ERVec<ERPoint2D>& points) { return running_mean(points); }
ERPoint3D Barycentre(const ERVec<ERPoint3D>& points) { return running_mean(points); }

void arithmetic_mean(ERVec<ERPoint3D>& points, ERVector3D& mean) {
    ERPoint3D sum;
    for (int n = 0; n < points.size(); ++n)
        sum += points[n]; // through the writing handle: it detaches, part of the contract
    mean = ERVector3D(sum / static_cast<double>(points.size()));
}

double anglePI(const ERVector2D& a, const ERVector2D& b) {
    return std::acos(std::clamp(a.getnormalized() * b.getnormalized(), -1.0, 1.0));
}
double anglePI(const ERVector3D& a, const ERVector3D& b) {
    return angle_of_units(a.getnormalized(), b.getnormalized());
}

double acute_angle(const ERVector2D& a, const ERVector2D& b) { return smaller_angle(a, b); }
double acute_angle(const ERVector3D& a, const ERVector3D& b) { return smaller_angle(a, b); }

double angle2PI(const ERVector3D& a, const ERVector3D& b, const ERVector3D& n) {
    const ERVector3D from = a.getnormalized(), to = b.getnormalized();
    const double theta = angle_of_units(from, to);
    return (from ^ to) * n >= 0.0 ? theta : 2.0 * pi - theta;
}

double angle(const ERPoint3D& p1, const ERPoint3D& apex, const ERPoint3D& p2, const ERVector3D& n) {
    const ERVector3D u(apex, p1), v(apex, p2);
    const ERVector3D c = u ^ v;
    double s = std::asin(std::clamp(c.norme() / (u.norme() * v.norme()), -1.0, 1.0));
    if (v * u < 0.0) s = -s;
    return c * n > 0.0 ? s : -s;
}

double PseudoTheta(const ERPoint2D& p, const ERPoint2D& q) {
    const double dx = q.x_ - p.x_, dy = q.y_ - p.y_;
    const double t = std::fabs(dx) + std::fabs(dy);
    const double r = t == 0.0 ? 0.0 : dy / t;
    if (dx < 0.0) return (2.0 - r) * 90.0;
    if (dy < 0.0) return (4.0 + r) * 90.0;
    return r * 90.0;
}

bool isParallel(const ERVector2D& a, const ERVector2D& b, double tolerance) {
    return parallel(a, b, tolerance);
}
bool isParallel(const ERVector3D& a, const ERVector3D& b, double tolerance) {
    return parallel(a, b, tolerance);
}

bool isPerpendicular(const ERVector2D& a, const ERVector2D& b, double tolerance) {
    return tolerance >= std::fabs(a * b);
}
bool isPerpendicular(const ERVector3D& a, const ERVector3D& b, double tolerance) {
    return tolerance >= std::fabs(a * b);
}

double signed_separation(const ERPoint2D& p, const ERPoint2D& q, const ERVector2D& d) {
    return separation(p, q, d);
}
double signed_separation(const ERPoint3D& p, const ERPoint3D& q, const ERVector3D& d) {
    return separation(p, q, d);
}

void GetOrthogonalDirections(const ERVector3D& direction, ERVector3D& u, ERVector3D& v) {
    const ERVector3D n = direction.getnormalized();
    u = seed_across(n).normalize();
    v = (n ^ u).normalize();
    u = v ^ n;
}
