#include "velm/transforms/transformation_factories.h"

#include "velm/transforms/bodies.h"
#include "velm/transforms/rotation_tools.h"

namespace {

// The map about c instead of the origin.
ERPmIsometrie3D about(const ERPoint3D& c, const ERPmIsometrie3D& rotation) {
    return ERTranslation3D(c) * rotation * ERTranslation3D(-c);
}

} // namespace

ERPmIsometrie3D ERIdentity3D() { return ERTr3DRevRep::GetIdentity(); }

ERPmIsometrie3D ERTranslation3D(const ERPoint3D& t) { return new _ERTranslation3D(t); }
ERPmIsometrie3D ERTranslation3D(const ERVector3D& t) { return new _ERTranslation3D(t); }

ERPmIsometrie3D ERRotation3D(Coord3D axis, ERRadian angle) {
    return new _ERRotation3D(axis, angle);
}
ERPmIsometrie3D ERRotation3D(const ERVector3D& axis, ERRadian angle) {
    return new _ERRotation3D(axis, angle);
}
ERPmIsometrie3D ERRotation3D(const ERVector3D& axis, const ERPoint3D& c, ERRadian angle) {
    return about(c, ERRotation3D(axis, angle));
}
ERPmIsometrie3D ERRotation3D(const ERQuaternion& q) { return new _ERRotation3D(q); }
ERPmIsometrie3D ERRotation3D(const ERVector3D& from, const ERVector3D& to) {
    ERQuaternion q;
    find_lock_quaternion(from, to, q);
    return ERRotation3D(q);
}
ERPmIsometrie3D ERRotationAtFixPoint(const ERVector3D& from, const ERVector3D& to,
                                     const ERPoint3D& c) {
    return about(c, ERRotation3D(from, to));
}

ERPmSimilitude3D ERScaling3D(double k) { return new _ERScaling3D(k); }

ERPmSimilitude3D ERSymetrie3D(Coord3D axis) { return new _ERSymetrie3D(axis); }
ERPmSimilitude3D ERSymetrie3D(const ERVector3D& n) { return new _ERSymetrie3D(n); }

ERPmSimilitude3D ERSimilitude3D(const ERMatrix<double>& m) { return new _ERSimilitude3D(m); }
ERPmSimilitude3D ERSimilitude3D(const ERMatrix<double>& m, const ERPoint3D& t, double k) {
    return new _ERSimilitude3D(m, t, k);
}

ERPmIsometrie3D ERChgRepere3D(const ERVector3D& x, const ERVector3D& y, const ERPoint3D& o) {
    return new _ERWorkplane(x, y, o);
}
ERPmIsometrie3D ERChgRepere3D(const ERVector3D& z, const ERPoint3D& o) {
    return new _ERWorkplane(z, o);
}

void gm_scale_origin(ERPmIsometrie3D& frame, double factor) {
    frame = ERChgRepere3D(frame.getVector(Coord3D_X), frame.getVector(Coord3D_Y),
                          frame.origine() * factor);
}
