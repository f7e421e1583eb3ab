// OffsetPolyline: a polyline moved sideways.
#pragma once

#include "velm/export.h"
#include "velm/frame/point.h"
#include "velm/frame/vec.h"

/// The polyline moved by `d` to the left of its way, to the right for a negative d. There is no
/// mitre: a corner moves by exactly d along the normal of its bisector, so neighbouring edges come
/// closer to their old place than d. Where the way turns right back its point stays. Points within
/// 1e-7 of the one before are left out. Fewer than two points give none.
VELM_API ERVec<ERPoint2D> OffsetPolyline(ERVec<ERPoint2D> const& polyline, double d);
