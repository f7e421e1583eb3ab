#include "velm/frame/vector.h"

#include <cmath>

Coord3D ERVector3D::axeOptimum() const {
    const double x = std::fabs(i_), y = std::fabs(j_), z = std::fabs(k_);
    if (x > y && x > z) return Coord3D_X;
    return y > z ? Coord3D_Y : Coord3D_Z;
}

ERVector3D ERVector3D::find_perpendicular() const {
    const ERVector3D axis(std::fabs(j_) > std::fabs(i_) ? Coord3D_X : Coord3D_Y);
    return (axis ^ *this).normalize();
}
