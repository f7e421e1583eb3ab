#include "velm/transforms/transformation.h"

VELM_DEFINE_CLASS_NOT_CREATABLE(ERTr3D, ERObject)
VELM_DEFINE_CLASS_NOT_CREATABLE(ERTr3DRev, ERTr3D)

namespace {

// A pole mapped by its point, at the same weight.
template <class Map>
void map_pole(ERPole3DH& pole, Map map) {
    ERPoint3D p = pole.castToPoint();
    map(p);
    pole = ERPole3DH(p * pole.weigth(), pole.weigth());
}

} // namespace

ERVec<ERPole3DH>& ERTr3D::TransTo(ERVec<ERPole3DH>& poles) const {
    for (ERPole3DH& pole : poles.writable())
        map_pole(pole, [this](ERPoint3D& p) { TransTo(p); });
    return poles;
}

void ERTr3D::TransTo(ERPoint3D* points, int n) const {
    for (int i = 0; i < n; ++i)
        TransTo(points[i]);
}

ERVec<ERPoint3D>& ERTr3D::TransTo(ERVec<ERPoint3D>& points) const {
    TransTo(points.data(), points.size());
    return points;
}

ERPole2DH ERTr3D::Project(const ERPole3DH& pole) const {
    ERPole3DH local = pole;
    map_pole(local, [this](ERPoint3D& p) { TransTo(p); });
    return local.castToPole2D(Coord3D_Z);
}

ERPoint2D ERTr3D::Project(const ERPoint3D& p) const {
    ERPoint3D local = p;
    return TransTo(local).castToPoint2D(Coord3D_Z);
}

bool operator==(const ERTr3D& a, const ERTr3D& b) { return a.isEqual(b) != 0; }

ERVec<ERPole3DH>& ERTr3DRev::TransFrom(ERVec<ERPole3DH>& poles) const {
    for (ERPole3DH& pole : poles.writable())
        map_pole(pole, [this](ERPoint3D& p) { TransFrom(p); });
    return poles;
}

ERVec<ERPoint3D>& ERTr3DRev::TransFrom(ERVec<ERPoint3D>& points) const {
    TransFrom(points.data(), points.size());
    return points;
}

void ERTr3DRev::TransFrom(ERPoint3D* points, int n) const {
    for (int i = 0; i < n; ++i)
        TransFrom(points[i]);
}

double ERTr3DRev::getFactHomo() const { return 1.0; }

int ERTr3DRev::isDirect() const { return 1; }

ERPoint3D ERTr3DRev::origine() const { return getTrans(); }

ERVector3D ERTr3DRev::getVector(Coord3D axis) const {
    ERVector3D v(axis);
    return TransFrom(v);
}
