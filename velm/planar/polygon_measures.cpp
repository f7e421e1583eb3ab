#include "velm/planar/polygon_measures.h"

#include "velm/frame/point.h"
#include "velm/frame/vec.h"

#include <algorithm>
#include <span>

double PolygonArea(const ERVec<ERPoint2D>& polygon) {
    const std::span<const ERPoint2D> points = polygon.view();
    if (points.empty()) return 0.0;
    const auto trapezoid = [](const ERPoint2D& a, const ERPoint2D& b) {
        return (b.y() + a.y()) * (b.x() - a.x());
    };
    double sum = 0.0;
    for (std::size_t i = 0; i + 1 < points.size(); ++i)
        sum += trapezoid(points[i], points[i + 1]);
    return (sum + trapezoid(points.back(), points.front())) / 2.0;
}

int IsCounterClockWise(const ERVec<ERPoint2D>& polygon) { return PolygonArea(polygon) < 0.0; }

void MakePolygoneCCW(ERVec<ERPoint2D>& polygon) {
    if (!IsCounterClockWise(polygon)) std::reverse(polygon.begin(), polygon.end());
}

void ReversePolygoneKeepFirstPoint(ERVec<ERPoint2D>& polygon) {
    if (!polygon.empty()) std::reverse(polygon.begin() + 1, polygon.end());
}
