// intersect of two polygons.
#pragma once

#include "velm/export.h"
#include "velm/frame/point.h"
#include "velm/frame/vec.h"

/// 1 if two closed polygons have a common point (one may be inside the other), else 0: a vertex of
/// either one is in or on the other by `Inside`, or two edges meet by `Intersect`. The edge from
/// the last vertex to the first counts even if it has no length.
VELM_API int intersect(const ERVec<ERPoint2D>& a, const ERVec<ERPoint2D>& b);
