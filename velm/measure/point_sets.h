// gm_square_deviation, gm_find_perpendicular_points, gm_find_plane_normal: small tools for sets of
// measured points. gmCollinearUtils: whether points lie on one line.
#pragma once

#include "velm/export.h"
#include "velm/frame/vec.h"
#include "velm/frame/vector.h"
#include "velm/fwd.h"

/// The mean of the squared distances between the points of a, each mapped by TransFrom of the
/// frame, and the points of b at the same index. No root is taken. NaN if a is empty or b has fewer
/// points.
VELM_API double gm_square_deviation(const ERVec<ERPoint3D>& a, const ERVec<ERPoint3D>& b,
                                    const ERPmIsometrie3D& frame);

/// Looks for three points whose sides at point i, towards points j and k, are as perpendicular as
/// possible: the least absolute cosine. Goes through the corners i, then j, then k > j, in order,
/// and stops at the first triple below `limit`, which need not be the best. Coincident points count
/// as perpendicular. The indices are 0, 1, 2 if nothing is better, also with fewer than three
/// points.
VELM_API void gm_find_perpendicular_points(const ERVec<ERPoint3D>& points, int& i, int& j, int& k,
                                           double limit);

/// A vector perpendicular to v, not normalised: v crossed with the axis of its smallest absolute
/// component, the first of equal ones.
VELM_API ERVector3D gm_find_plane_normal(const ERVector3D& v);

/// The results of gmCollinearUtils. The values are fixed, because hosts store them.
enum gmCollinearState : int { gmCollinear = 1, gmNotCollinear = 2 };

class VELM_API gmCollinearUtils {
public:
    /// Whether every point is closer to the line through the two outermost ones than the root of
    /// 1e-7. That line is written to `line`, if not null, for either result, except for points that
    /// all agree, which are collinear.
    static gmCollinearState are_collinear(const ERVec<ERPoint3D>& points, ERInfLine3D* line);

protected:
    /// The line from b to a, where a is the point farthest from the first one and b the point
    /// farthest from a; in a tie the first is taken. False, with the line unchanged, if a and b
    /// agree within 1e-11 on every coordinate.
    static bool find_line(const ERVec<ERPoint3D>& points, ERInfLine3D& line);
};
