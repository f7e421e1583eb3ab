// plane_map.h: `PlaneMap`, an affine map of the plane, by which blocks of drawings are inserted.
#pragma once

#include "velm/frame/point.h"
#include "velm/frame/vector.h"

#include <cmath>

namespace velm::inspect {

/// (x, y) to (a x + b y + e, c x + d y + f). In `m * n`, n acts first.
struct PlaneMap {
    double a = 1.0, b = 0.0, c = 0.0, d = 1.0, e = 0.0, f = 0.0;

    static PlaneMap scaling(double x, double y) { return {x, 0.0, 0.0, y, 0.0, 0.0}; }
    static PlaneMap translation(double x, double y) { return {1.0, 0.0, 0.0, 1.0, x, y}; }
    static PlaneMap rotation(double radians) {
        const double cosine = std::cos(radians), sine = std::sin(radians);
        return {cosine, -sine, sine, cosine, 0.0, 0.0};
    }

    double determinant() const { return a * d - b * c; }
    ERPoint2D operator()(const ERPoint2D& p) const {
        return {a * p.x() + b * p.y() + e, c * p.x() + d * p.y() + f};
    }
    ERVector2D operator()(const ERVector2D& v) const {
        return {a * v.i() + b * v.j(), c * v.i() + d * v.j()};
    }
    friend PlaneMap operator*(const PlaneMap& m, const PlaneMap& n) {
        return {m.a * n.a + m.b * n.c, m.a * n.b + m.b * n.d,       m.c * n.a + m.d * n.c,
                m.c * n.b + m.d * n.d, m.a * n.e + m.b * n.f + m.e, m.c * n.e + m.d * n.f + m.f};
    }
};

} // namespace velm::inspect
