// What tests above the wireframe are made of: points, boxes, transformations, lines and conics.
#pragma once

#include "support/test.h"
#include "velm/frame/box.h"
#include "velm/frame/dimension.h"
#include "velm/frame/point_functions.h"
#include "velm/frame/vec.h"
#include "velm/transforms/plane_transformation.h"
#include "velm/transforms/transformation_factories.h"
#include "velm/transforms/transformed_values.h"
#include "velm/wireframe/arc.h"
#include "velm/wireframe/arc_in_space.h"
#include "velm/wireframe/ellipse_in_space.h"
#include "velm/wireframe/elliptical_arc.h"
#include "velm/wireframe/line.h"
#include "velm/wireframe/segment.h"
