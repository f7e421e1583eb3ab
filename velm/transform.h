// velm/transform.h: to move points, vectors and entities between frames. Isometries and similitudes
// of space, the transformation of the plane, rotations, coordinate conversions.
#pragma once

#include "velm/numerics/quaternion.h"
#include "velm/transforms/bodies.h"
#include "velm/transforms/coordinate_conversions.h"
#include "velm/transforms/plane_transformation.h"
#include "velm/transforms/rotation_tools.h"
#include "velm/transforms/transformation_handle.h"
