// SutherCohen: clipping of a segment by a box of the plane. The operations of the boxes that clip
// (ERMinimax2D::isVisible, positionRelative; ERMinimax3D::clip, clip_bounded) are defined in the
// same source.
#pragma once

#include "velm/export.h"
#include "velm/frame/box.h"
#include "velm/frame/point.h"

/// Clips the segment from a to b by the box after Cohen and Sutherland, with tie rules of its own:
/// the borders are tried once each in the order xmin, xmax, ymin, ymax, and a hit replaces `ra` if
/// ra is beyond that border, else `rb`. The first two ends found are the result, so that
/// - a segment through a corner counts two hits on one point and crosses;
/// - a segment along an axis that starts inside may be cut at the border beyond its start, since a
///   hit is checked on the other axis only.
/// Returns the position of the segment relative to the box. `ra` and `rb` are the clipped ends when
/// it crosses, a and b when its ends alone decide that it is inside or outside, partly clipped when
/// every border failed, and unchanged when the box is empty.
VELM_API ER_MINMAX_POSITION_SEGMENT SutherCohen(ERPoint2D a, ERPoint2D b, const ERMinimax2D& box,
                                                ERPoint2D& ra, ERPoint2D& rb);
