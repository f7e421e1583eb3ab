// OffsetPolyline: a polyline moved sideways.
#pragma once

#include "velm/export.h"
#include "velm/frame/point.h"
#include "velm/frame/vec.h"

/// The polyline moved by `d` to the left of its direction, or to the right for a negative d. There
/// is no mitre: a corner moves by exactly d along the normal of its bisector, so neighbouring edges
/// move by less than d. A point where the polyline turns straight back doesn't move. Points within
/// 1e-7 of the previous one are omitted. Fewer than two points give an empty result.
VELM_API ERVec<ERPoint2D> OffsetPolyline(ERVec<ERPoint2D> const& polyline, double d);
