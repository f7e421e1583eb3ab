#include "velm/planar/orientation.h"

#include "velm/frame/vector.h"

int ccw(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& c, double tol) {
    const ERVector2D d1(a, b);
    const ERVector2D d2(a, c);
    const double cross = d2.j() * d1.i() - d2.i() * d1.j();
    if (cross > tol) return 1;
    if (-tol > cross || -tol > d2.i() * d1.i() || -tol > d2.j() * d1.j()) return -1;
    if (-tol > d1.norme2() - d2.norme2()) return 1; // beyond b
    return 0;
}

int Intersect(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& c, const ERPoint2D& d) {
    return ccw(a, b, c, 0.0) * ccw(a, b, d, 0.0) <= 0 && ccw(c, d, a, 0.0) * ccw(c, d, b, 0.0) <= 0;
}
