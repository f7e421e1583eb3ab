// velm/region.h: to work with areas of the plane. Regions with holes, clipping of polylines, chains
// of loose pieces, regions of composite curves, hulls, areas and boxes.
#pragma once

#include "velm/frame/box.h"
#include "velm/planar/chainer_processor.h"
#include "velm/planar/composite_contour.h"
#include "velm/planar/convex_hull.h"
#include "velm/planar/orientation.h"
#include "velm/planar/polygon_intersection.h"
#include "velm/planar/polygon_measures.h"
#include "velm/planar/polyline_offset.h"
#include "velm/planar/region.h"
#include "velm/planar/region_grid.h"
#include "velm/planar/segment_chain.h"
