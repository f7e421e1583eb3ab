#include "velm/wireframe/intersections.h"

#include "velm/frame/point_functions.h"
#include "velm/wireframe/detail/angles.h"

#include <algorithm>
#include <cmath>

namespace {

// Part of the contract: the square of the dot product of unit vectors doesn't resolve angles up to
// about 1e-8.
template <class Vector>
bool exactly_parallel(const Vector& a, const Vector& b) {
    const double cosine = a * b;
    return cosine * cosine - 1.0 == 0.0;
}

double angle_on(const ERCircle2D& circle, const ERPoint2D& p) {
    const double angle = velm::detail::angle_about(circle.center(), p);
    return angle < 0.0 ? std::fmod(angle + velm::detail::turn, velm::detail::turn) : angle;
}

} // namespace

int intersect(const ERInfLine2D& a, const ERInfLine2D& b, ERPoint2D& p) {
    const ERVector2D &u = a.dirVector(), &v = b.dirVector();
    const double sine = velm::cross(u, v);
    if (exactly_parallel(u, v) || sine == 0.0) return 0;
    const ERVector2D between(a.origine(), b.origine());
    p = a.origine() + u * (velm::cross(between, v) / sine);
    return 1;
}

int intersect(const ERInfLine3D& a, const ERInfLine3D& b, ERPoint3D& pa, ERPoint3D& pb) {
    const ERVector3D &u = a.dirVector(), &v = b.dirVector();
    const ERVector3D across = u ^ v;
    const double sine2 = across.norme2();
    if (exactly_parallel(u, v) || sine2 == 0.0) return 0;
    const ERVector3D between(a.origine(), b.origine());
    const ERPoint3D from_a = a.origine() + u * ((between ^ v) * across / sine2);
    const ERPoint3D from_b = b.origine() + v * ((between ^ u) * across / sine2);
    pa = from_a;
    pb = from_b;
    return 1;
}

int intersect(const ERInfLine3D& line, const ERPoint3D& origin, const ERVector3D& u,
              const ERVector3D& v, ERPoint3D& p) {
    const ERVector3D normal = u ^ v;
    const double slope = line.dirVector() * normal;
    if (slope == 0.0) return 0;
    const ERPoint3D& start = line.origine();
    p = start + line.dirVector() * (ERVector3D(start, origin) * normal / slope);
    return 1;
}

int intersect(const ERCircle2D& circle, const ERInfLine2D& line, ERPoint2D& p1, ERPoint2D& p2,
              double tol) {
    const ERPoint2D foot = line.projectPt(circle.center());
    const double r = circle.radius(), d2 = distance2(foot, circle.center());
    if (d2 > (r + tol) * (r + tol)) return 0;
    const double half = d2 >= r * r ? 0.0 : std::sqrt(r * r - d2);
    p1 = foot + half * line.dirVector();
    p2 = foot - half * line.dirVector();
    return 1;
}

int intersect(const ERCircle2D& circle, const ERInfLine2D& line, ERPoint2D& p1, ERPoint2D& p2) {
    return intersect(circle, line, p1, p2, equalityTolerance);
}

int intersect(const ERCircle2D& a, const ERCircle2D& b, ERPoint2D& p1, ERPoint2D& p2) {
    constexpr double same_center = 1e-10; // part of the contract
    const double r1 = a.radius(), r2 = b.radius();
    const ERPoint2D c1 = a.center();
    const ERVector2D between(c1, b.center());
    const double d = between.norme();
    if (d > r1 + r2 || r2 > d + r1 || r1 > d + r2 || d < same_center) return 0;

    const ERVector2D u = between.getnormalized();
    const bool around_a = std::fabs(d + r1 - r2) <= equalityTolerance;
    if (around_a || std::fabs(d - (r1 + r2)) <= equalityTolerance ||
        std::fabs(d + r2 - r1) <= equalityTolerance) {
        p1 = p2 = c1 + (around_a ? -r1 : r1) * u;
        return 1;
    }
    const double along = (d * d + r1 * r1 - r2 * r2) / d * 0.5;
    const double aside = std::sqrt(std::max(r1 * r1 - along * along, 0.0));
    const ERPoint2D middle = c1 + along * u;
    const ERVector2D n(-u.j(), u.i());
    p1 = middle + aside * n;
    p2 = middle - aside * n;
    return 1;
}

int intersect(const ERCircle2D& a, const ERCircle2D& b, ERVec<double>& ta, ERVec<double>& tb) {
    ERPoint2D p1, p2;
    if (!intersect(a, b, p1, p2)) return 0;
    ta.append(angle_on(a, p1));
    tb.append(angle_on(b, p1));
    if (!(p1 == p2)) {
        ta.append(angle_on(a, p2));
        tb.append(angle_on(b, p2));
    }
    return 1;
}

ER_MINMAX_POSITION_SEGMENT SutherCohen(ERInfLine2D line, const ERMinimax2D& box, ERPoint2D& ra,
                                       ERPoint2D& rb) {
    if (box.invalid()) return SEGMENT_BOX_EMPTY;
    const ERPoint2D start = line.projectPt({box.xmin, box.ymin});
    double back = 0.0, ahead = 0.0;
    ERPoint2D last = start, first = start;
    for (const ERPoint2D& corner : {ERPoint2D(box.xmax, box.ymin), ERPoint2D(box.xmin, box.ymax),
                                    ERPoint2D(box.xmax, box.ymax)}) {
        const ERPoint2D foot = line.projectPt(corner);
        const double offset = ERVector2D(start, foot) * line.dirVector();
        if (offset < back) back = offset, first = foot;
        if (offset > ahead) ahead = offset, last = foot;
    }
    return SutherCohen(first, last, box, ra, rb);
}
