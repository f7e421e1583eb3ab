#include "velm/surfaces/surface.h"

VELM_DEFINE_CLASS_NOT_CREATABLE(ERSurface, EREntity3D)
