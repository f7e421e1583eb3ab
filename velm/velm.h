// velm/velm.h: everything in one include.
#pragma once

#include "velm/export.h"
#include "velm/fwd.h"
#include "velm/version.h"

#include "velm/platform/critical_section.h"
#include "velm/platform/debug_output.h"
#include "velm/platform/dump_context.h"
#include "velm/platform/exception.h"
#include "velm/platform/extension_module.h"
#include "velm/platform/integer_types.h"
#include "velm/platform/root_class.h"
#include "velm/platform/thread_local_object.h"

#include "velm/frame/reference.h"

#include "velm/planar/convex_hull.h"
#include "velm/planar/orientation.h"
#include "velm/planar/point_in_polygon.h"
#include "velm/planar/polygon_measures.h"
#include "velm/planar/polygon_projection.h"
