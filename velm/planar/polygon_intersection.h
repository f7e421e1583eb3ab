// intersect of two polygons.
#pragma once

#include "velm/export.h"
#include "velm/frame/point.h"
#include "velm/frame/vec.h"

/// 1 when two closed polygons touch, one within the other included, else 0: a vertex of either one
/// lies in or on the other by `Inside`, or two edges meet by `Intersect`. The edge from the last
/// vertex to the first is taken as it stands, also where it has no length.
VELM_API int intersect(const ERVec<ERPoint2D>& a, const ERVec<ERPoint2D>& b);
