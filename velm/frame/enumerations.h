// Enumerations of the small values: Coord2D, Coord3D, Coord2DH, Coord3DH, MinMax2D, MinMax3D,
// RELATIVE_BOX_POSITION, ER_MINMAX_POSITION_SEGMENT, ER_MINMAX_POSITION_POLYGONE, gmClipStatus.
// Hosts and stored data rely on the values: never renumber them.
#pragma once

/// An axis of the plane.
enum Coord2D : int { Coord2D_X = 0, Coord2D_Y = 1 };

/// An axis of space.
enum Coord3D : int { Coord3D_X = 0, Coord3D_Y = 1, Coord3D_Z = 2 };

/// A component of a 2D pole.
enum Coord2DH : int { Coord2DH_X = 0, Coord2DH_Y = 1, Coord2DH_Weight = 2 };

/// A component of a 3D pole.
enum Coord3DH : int { Coord3DH_X = 0, Coord3DH_Y = 1, Coord3DH_Z = 2, Coord3DH_Weight = 3 };

/// A field of ERMinimax2D, in field order.
enum MinMax2D : int { MinMax2D_XMin = 0, MinMax2D_YMin = 1, MinMax2D_XMax = 2, MinMax2D_YMax = 3 };

/// A field of ERMinimax3D, in field order.
enum MinMax3D : int {
    MinMax3D_XMin = 0,
    MinMax3D_YMin = 1,
    MinMax3D_ZMin = 2,
    MinMax3D_XMax = 3,
    MinMax3D_YMax = 4,
    MinMax3D_ZMax = 5
};

/// The position of the first box relative to the second.
enum RELATIVE_BOX_POSITION : int {
    BOXES_DISJOINT = 0,
    BOX_INSIDE = 1,   ///< the first is inside the second, borders allowed
    BOX_CONTAINS = 2, ///< the second is strictly inside the first
    BOXES_OVERLAP = 3,
    BOXES_EMPTY = 4 ///< one of them is empty (3D form only)
};

/// The position of a segment relative to a box.
enum ER_MINMAX_POSITION_SEGMENT : int {
    SEGMENT_OUTSIDE_BOX = 0,
    SEGMENT_CROSSES_BOX = 1,
    SEGMENT_INSIDE_BOX = 2,
    SEGMENT_BOX_EMPTY = 3
};

/// The position of a polygon relative to a box.
enum ER_MINMAX_POSITION_POLYGONE : int {
    POLYGONE_DISJOINT = 0,
    POLYGONE_CROSSES_BOX = 1,
    BOX_INSIDE_POLYGONE = 2,
    POLYGONE_INSIDE_BOX = 3
};

/// The effect of clipping on the interval of a line.
enum gmClipStatus : int {
    gmClipMissed = 0,
    gmClipUnchanged = 1, ///< the line passes, the interval is unchanged
    gmClipNarrowed = 2   ///< the line passes, the interval was narrowed
};
