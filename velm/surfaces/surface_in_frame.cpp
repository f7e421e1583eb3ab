#include "velm/surfaces/surface_in_frame.h"

#include "velm/frame/stored_form.h"

VELM_DEFINE_CLASS_NOT_CREATABLE(ERSurfaceBasedOnTransfo3D, ERSurface)
VELM_DEFINE_STORED_FORM(ERSurfaceBasedOnTransfo3D, ERSurface)
