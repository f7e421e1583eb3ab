#include "velm/wireframe/planar_entity.h"

#include "velm/frame/stored_form.h"
#include "velm/transforms/transformation_factories.h"

#include <cmath>
#include <numbers>
#include <ostream>

VELM_DEFINE_CLASS_NOT_CREATABLE(ERPlanarEntity3DWF, EREntity3DWF)
VELM_DEFINE_STORED_FORM(ERPlanarEntity3DWF, EREntity3DWF)

namespace {

// The frame on the images of the origin and of the x and y axes.
template <class Map>
ERPmIsometrie3D mapped(const ERPmIsometrie3D& frame, Map map) {
    ERPoint3D origin = frame.origine();
    ERVector3D x = frame.getVector(Coord3D_X), y = frame.getVector(Coord3D_Y);
    map(origin);
    map(x);
    map(y);
    return ERChgRepere3D(x, y, origin);
}

} // namespace

void ERPlanarEntity3DWF::scale(double s) { gm_scale_origin(frame_, s); }

void ERPlanarEntity3DWF::translate(const ERPoint3D& v) { transformFrom(ERTranslation3D(v)); }

void ERPlanarEntity3DWF::transformFrom(const ERPmSimilitude3D& t) {
    frame_ = mapped(frame_, [&](auto& x) { t.TransFrom(x); });
    scale_flat(std::fabs(t.getFactHomo()));
}

void ERPlanarEntity3DWF::transformFrom(const ERPmIsometrie3D& t) { frame_ = t * frame_; }

void ERPlanarEntity3DWF::transformTo(const ERPmSimilitude3D& t) {
    frame_ = mapped(frame_, [&](auto& x) { t.TransTo(x); });
    scale_flat(1.0 / std::fabs(t.getFactHomo()));
}

void ERPlanarEntity3DWF::transformTo(const ERPmIsometrie3D& t) { frame_ = ~t * frame_; }

void ERPlanarEntity3DWF::reverse() { transformFrom(ERRotation3D(Coord3D_X, std::numbers::pi)); }

void ERPlanarEntity3DWF::printOn(std::ostream& out) const { out << frame_; }

ERMinimax3D ERPlanarEntity3DWF::transform(const ERMinimax2D& box) const {
    ERMinimax3D result;
    if (box.invalid()) return result;
    for (const ERPoint2D& corner : {ERPoint2D(box.xmin, box.ymin), ERPoint2D(box.xmax, box.ymin),
                                    ERPoint2D(box.xmin, box.ymax), ERPoint2D(box.xmax, box.ymax)})
        result.Update(velm::detail::lifted(frame_, corner));
    return result;
}

void ERPlanarEntity3DWF::scale_flat(double) {}

namespace velm::detail {

ERPoint3D lifted(const ERPmIsometrie3D& frame, const ERPoint2D& p) {
    ERPoint3D result = p.castToPoint3D(Coord3D_Z, 0.0);
    return frame.TransFrom(result);
}

ERVector3D lifted(const ERPmIsometrie3D& frame, const ERVector2D& v) {
    ERVector3D result = v.castToVector3D(Coord3D_Z, 0.0);
    return frame.TransFrom(result);
}

} // namespace velm::detail
