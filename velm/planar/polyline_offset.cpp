#include "velm/planar/polyline_offset.h"

#include "velm/frame/point_functions.h"
#include "velm/frame/vector.h"

#include <cstddef>
#include <span>
#include <vector>

namespace {

constexpr double same_place = 1e-7; // see the header

// The unit vector from p to q, or from `behind` to `ahead` if p and q are equal.
ERVector2D direction(const ERPoint2D& p, const ERPoint2D& q, const ERPoint2D& behind,
                     const ERPoint2D& ahead) {
    ERVector2D way(p, q);
    if (way.norme() < same_place) way = ERVector2D(behind, ahead);
    return way.getnormalized();
}

ERPoint2D moved_left(const ERPoint2D& p, const ERVector2D& way, double d) {
    return p + ERVector2D(-way.j(), way.i()) * d;
}

} // namespace

ERVec<ERPoint2D> OffsetPolyline(ERVec<ERPoint2D> const& polyline, double d) {
    const std::span<const ERPoint2D> points = polyline.view();
    if (points.size() < 2) return {};
    std::vector<ERPoint2D> moved;
    moved.reserve(points.size());
    for (std::size_t a = 0, b = 0, c = 1;; a = b, b = c, ++c) {
        while (c + 1 < points.size() && distance(points[b], points[c]) < same_place)
            ++c;
        const ERVector2D coming = direction(points[a], points[b], points[a], points[c]);
        const ERVector2D going = direction(points[b], points[c], points[a], points[c]);
        const ERVector2D both = coming + going;
        if (b == 0)
            moved.push_back(moved_left(points[b], coming, d));
        else if (both.norme() > same_place)
            moved.push_back(moved_left(points[b], both.getnormalized(), d));
        else
            moved.push_back(points[b]); // the polyline turns back
        if (c + 1 == points.size()) {
            moved.push_back(moved_left(points[c], going, d));
            return ERVec<ERPoint2D>(std::span<const ERPoint2D>(moved));
        }
    }
}
