// velm/compare.h: to compare points with a nominal shape. Nearest points and signed distances of
// lines, arcs and conics, the place of a point in a polygon, targets with their deviations.
#pragma once

#include "velm/measure/target_point.h"
#include "velm/planar/point_in_polygon.h"
#include "velm/planar/polygon_projection.h"
#include "velm/wireframe/arc.h"
#include "velm/wireframe/circle.h"
#include "velm/wireframe/closest_point.h"
#include "velm/wireframe/ellipse.h"
#include "velm/wireframe/segment.h"
