#include "velm/transforms/transformed_values.h"

namespace {

// The box of the mapped corners.
template <class Map>
ERMinimax3D mapped(const ERMinimax3D& box, Map map) {
    if (box.invalid()) return box;
    ERVec<ERPoint3D> corners = box.getVertice();
    map(corners);
    return corners;
}

} // namespace

ERMinimax3D operator>>(const ERTr3DRev& t, const ERMinimax3D& box) {
    return mapped(box, [&t](ERVec<ERPoint3D>& corners) { t.TransFrom(corners); });
}

ERMinimax3D operator<<(const ERTr3DRev& t, const ERMinimax3D& box) {
    return mapped(box, [&t](ERVec<ERPoint3D>& corners) { t.TransTo(corners); });
}
