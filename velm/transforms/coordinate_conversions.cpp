#include "velm/transforms/coordinate_conversions.h"

#include "velm/frame/vector.h"
#include "velm/transforms/transformation_factories.h"

#include <cmath>

namespace {

double radians(double degrees) { return degrees * 3.141592653589793 / 180.0; }
double degrees(double radians) { return radians * 57.29577951308232; }

Coordinate as_coordinate(const ERVector3D& v) { return {v.i(), v.j(), v.k()}; }
ERVector3D as_vector(const Coordinate& c) { return {c[0], c[1], c[2]}; }

// The point at the distance r from the origin.
Coordinate polar(double azimuth, double elevation, double r) {
    const double az = radians(azimuth);
    const double el = radians(elevation);
    return {r * std::cos(az) * std::cos(el), r * std::sin(az) * std::cos(el), r * std::sin(el)};
}

// Whether an angle in degrees is 90 plus a whole number of half turns.
bool is_right_angle(double angle) {
    return std::trunc((angle - 90.0) / 180.0) * 180.0 == angle - 90.0;
}

int sign(double x) { return x > 0.0 ? 1 : x < 0.0 ? -1 : 0; }

// From the tangents of the three angles, without regard to sense, by the largest component.
ERVector3D line_of_tangents(double ta, double tb, double tc) {
    const double p = tb * ta;
    const double q = tc * tb;
    const double r = tc * ta;
    if (p > q && p > r) return {1.0, tc, tc * ta};
    if (q > r) return {p, 1.0, ta};
    return {tb, q, 1.0};
}

// Whether v points against the angles (in degrees) that it should have.
bool points_against(const ERVector3D& v, const Coordinate& angles) {
    const double x = v.i();
    const double y = v.j();
    const double z = v.k();
    if (z > x && z > y) return sign(std::atan2(z, y)) != sign(angles[0]);
    if (x > y) return sign(std::atan2(x, z)) != sign(angles[1]);
    return sign(std::atan2(y, x)) != sign(angles[2]);
}

} // namespace

Coordinate Cartesian2Cylindrical(const Coordinate& c) {
    return {degrees(std::atan2(c[1], c[0])), std::sqrt(c[0] * c[0] + c[1] * c[1]), c[2]};
}

Coordinate Cylindrical2Cartesian(const Coordinate& c) {
    const double angle = radians(c[0]);
    return {c[1] * std::cos(angle), c[1] * std::sin(angle), c[2]};
}

Coordinate Cartesian2Spherical(const Coordinate& c) {
    const double r = as_vector(c).norme();
    return {degrees(std::atan2(c[1], c[0])), r == 0.0 ? 0.0 : degrees(std::asin(c[2] / r)), r};
}

Coordinate Spherical2Cartesian(const Coordinate& c) { return polar(c[0], c[1], c[2]); }

Coordinate IJK2ABC(const Coordinate& c) {
    return {degrees(std::atan2(c[2], c[1])), degrees(std::atan2(c[0], c[2])),
            degrees(std::atan2(c[1], c[0]))};
}

Coordinate ABC2IJK(const Coordinate& c) {
    const double a = radians(c[0]);
    const double b = radians(c[1]);
    const double g = radians(c[2]);
    if (is_right_angle(c[0])) return {std::sin(b), 0.0, std::cos(b)};
    if (is_right_angle(c[1])) return {std::cos(g), std::sin(g), 0.0};
    if (is_right_angle(c[2])) return {0.0, std::cos(a), std::sin(a)};
    ERVector3D v = line_of_tangents(std::tan(a), std::tan(b), std::tan(g)).normalize();
    if (points_against(v, c)) v = -v;
    return as_coordinate(v.normalize());
}

Coordinate IJK2AZ_EL(const Coordinate& c) {
    ERVector3D v = as_vector(c);
    const double length = v.norme();
    v.normalize();
    return {degrees(std::atan2(v.j(), v.i())),
            length == 0.0 ? 0.0 : degrees(std::asin(v.k() / length)), 1.0};
}

Coordinate AZ_EL2IJK(const Coordinate& c) { return polar(c[0], c[1], 1.0); }

Coordinate IJK2IJK(const Coordinate& c) { return as_coordinate(as_vector(c).normalize()); }

void ConvertToNeutral(const ERPmIsometrie3D& t, double (*m)[4]) {
    const ERPoint3D origin = t.getTrans();
    for (int column = 0; column < 3; ++column) {
        const ERVector3D axis = t.getVector(static_cast<Coord3D>(column));
        for (int row = 0; row < 3; ++row)
            m[row][column] = axis[row];
        m[column][3] = origin[column];
        m[3][column] = 0.0;
    }
    m[3][3] = 1.0;
}

void ConvertFromNeutral(const double (*m)[4], ERPmIsometrie3D& t) {
    t = ERChgRepere3D(ERVector3D(m[0][0], m[1][0], m[2][0]), ERVector3D(m[0][1], m[1][1], m[2][1]),
                      ERPoint3D(m[0][3], m[1][3], m[2][3]));
}
