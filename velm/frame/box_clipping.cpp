#include "velm/frame/box_clipping.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

// Cohen and Sutherland's outcode.
int outcode(const ERPoint2D& p, const ERMinimax2D& box) {
    int code = 0;
    if (p.y_ > box.ymax) code |= 1;
    if (p.y_ < box.ymin) code |= 2;
    if (p.x_ > box.xmax) code |= 4;
    if (p.x_ < box.xmin) code |= 8;
    return code;
}

// One border of a box: the axis perpendicular to it, and the side.
struct Border {
    int axis;
    bool upper;
};

// Cuts the segment from ra to rb with direction d at the border. Fails when the segment is
// parallel to the border, or the hit is outside the border or outside the segment. The last is
// tested on the border's own direction only, so that a segment along the other axis passes: part
// of the contract.
bool cut_at(const Border& border, const ERMinimax2D& box, const ERVector2D& d, ERPoint2D& ra,
            ERPoint2D& rb) {
    const int across = border.axis, along = 1 - border.axis;
    if (d[across] == 0.0) return false;
    const double place = border.upper ? box.upper(across) : box.lower(across);
    const double hit = ra[along] + (place - ra[across]) * d[along] / d[across];
    if (!(hit >= box.lower(along) && box.upper(along) >= hit)) return false;
    if (hit < std::min(ra[along], rb[along]) || hit > std::max(ra[along], rb[along])) return false;

    const bool beyond = border.upper ? ra[across] > place : ra[across] < place;
    ERPoint2D& end = beyond ? ra : rb;
    end[across] = place;
    end[along] = hit;
    return true;
}

} // namespace

ER_MINMAX_POSITION_SEGMENT SutherCohen(ERPoint2D a, ERPoint2D b, const ERMinimax2D& box,
                                       ERPoint2D& ra, ERPoint2D& rb) {
    if (box.invalid()) return SEGMENT_BOX_EMPTY;
    ra = a;
    rb = b;
    const int code_a = outcode(a, box), code_b = outcode(b, box);
    if (code_a == 0 && code_b == 0) return SEGMENT_INSIDE_BOX;
    if ((code_a & code_b) != 0) return SEGMENT_OUTSIDE_BOX;

    const ERVector2D d(a, b);
    int ends = code_a == 0 || code_b == 0 ? 1 : 0;
    for (const Border& border : {Border{0, false}, {0, true}, {1, false}, {1, true}}) {
        if (cut_at(border, box, d, ra, rb) && ++ends == 2) return SEGMENT_CROSSES_BOX;
    }
    return SEGMENT_OUTSIDE_BOX;
}

int ERMinimax2D::isVisible(const ERPoint2D& a, const ERPoint2D& b) const {
    return !invalid() && positionRelative(a, b) != SEGMENT_OUTSIDE_BOX ? 1 : 0;
}

ER_MINMAX_POSITION_SEGMENT ERMinimax2D::positionRelative(const ERPoint2D& a,
                                                         const ERPoint2D& b) const {
    ERPoint2D ra, rb;
    return SutherCohen(a, b, *this, ra, rb);
}

namespace {

// Below this slope a line counts as parallel to a slab.
constexpr double parallel_slope = 1e-9;

// The parameter at which a line at p with slope d reaches a bound. The largest finite double and
// its negative mean infinity.
double parameter_of(double bound, double p, double d) {
    if (std::fabs(bound) == std::numeric_limits<double>::max()) return d >= 0.0 ? bound : -bound;
    return (bound - p) / d;
}

// Clips [t0, t1] by one slab.
gmClipStatus clip_by_slab(double low, double high, double p, double d, double& t0, double& t1) {
    if (std::fabs(d) < parallel_slope)
        return p >= low && high >= p ? gmClipUnchanged : gmClipMissed;
    const double near = parameter_of(d >= 0.0 ? low : high, p, d);
    const double far = parameter_of(d >= 0.0 ? high : low, p, d);
    if (t0 > far || near > t1) return gmClipMissed;
    if (t0 >= near && far >= t1) return gmClipUnchanged;
    t0 = std::max(t0, near);
    t1 = std::min(t1, far);
    return gmClipNarrowed;
}

} // namespace

gmClipStatus ERMinimax3D::clip_bounded(const ERPoint3D& p, const ERVector3D& d, double& t0,
                                       double& t1) const {
    double low = t0, high = t1;
    gmClipStatus result = gmClipUnchanged;
    for (int axis = 0; axis < 3; ++axis) {
        const gmClipStatus status =
            clip_by_slab(lower(axis), upper(axis), p[axis], d[axis], low, high);
        if (status == gmClipMissed) return gmClipMissed;
        result = std::max(result, status);
    }
    t0 = low;
    t1 = high;
    return result;
}

bool ERMinimax3D::clip(const ERPoint3D& p, const ERVector3D& d, double& t0, double& t1) const {
    t0 = std::numeric_limits<double>::lowest();
    t1 = std::numeric_limits<double>::max();
    return clip_bounded(p, d, t0, t1) != gmClipMissed;
}
