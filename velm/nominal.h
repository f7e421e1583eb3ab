// velm/nominal.h: to make and to look at nominal surfaces. Lofts, surfaces of revolution, through
// and near grids of points; their boxes, triangles, nearest points, and the simple shapes that they
// are.
#pragma once

#include "velm/surfaces/analytic_to_nurbs.h"
#include "velm/surfaces/cone.h"
#include "velm/surfaces/cylinder.h"
#include "velm/surfaces/flatness.h"
#include "velm/surfaces/limit_normal.h"
#include "velm/surfaces/loft.h"
#include "velm/surfaces/offset_surface.h"
#include "velm/surfaces/recognition.h"
#include "velm/surfaces/revolve.h"
#include "velm/surfaces/sphere.h"
#include "velm/surfaces/surface_box.h"
#include "velm/surfaces/surface_fit.h"
#include "velm/surfaces/surface_projector.h"
#include "velm/surfaces/tessellation.h"
#include "velm/surfaces/torus.h"
#include "velm/wireframe/arc_in_space.h"
