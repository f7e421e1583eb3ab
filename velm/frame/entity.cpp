#include "velm/frame/entity.h"

VELM_DEFINE_CLASS_NOT_CREATABLE(EREntity, ERObject)
VELM_DEFINE_CLASS_NOT_CREATABLE(EREntity2D, EREntity)
VELM_DEFINE_CLASS_NOT_CREATABLE(EREntity3D, EREntity)
VELM_DEFINE_CLASS_NOT_CREATABLE(EREntity2DWF, EREntity2D)
VELM_DEFINE_CLASS_NOT_CREATABLE(EREntity3DWF, EREntity3D)

EREntity::DISTMINRES EREntity2D::SignedMinimalDistance(const ERPoint2D&, double&) {
    return DISTMIN_NONE;
}

EREntity::DISTMINRES EREntity3D::SignedMinimalDistance(const ERPoint3D&, double&) {
    return DISTMIN_NONE;
}

t_SmartPtr<EREntity2DWF> EREntity3DWF::get2DEntProjectedOn(const ERPmIsometrie3D&) { return {}; }
