#include "velm/measure/point_sets.h"

#include "velm/frame/point_functions.h"
#include "velm/transforms/transformation_handle.h"
#include "velm/wireframe/line.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>
#include <vector>

namespace {

// The first of the points that are farthest from p.
const ERPoint3D& farthest(std::span<const ERPoint3D> points, const ERPoint3D& p) {
    const ERPoint3D* result = &points.front();
    double best = distance2(*result, p);
    for (const ERPoint3D& q : points.subspan(1)) {
        const double d = distance2(q, p);
        if (d > best) best = d, result = &q;
    }
    return *result;
}

} // namespace

double gm_square_deviation(const ERVec<ERPoint3D>& a, const ERVec<ERPoint3D>& b,
                           const ERPmIsometrie3D& frame) {
    const auto from = a.view(), to = b.view();
    if (to.size() < from.size()) return std::numeric_limits<double>::quiet_NaN();
    double sum = 0.0;
    for (std::size_t n = 0; n < from.size(); ++n) {
        ERPoint3D carried = from[n];
        sum += distance2(frame.TransFrom(carried), to[n]);
    }
    return sum / static_cast<double>(from.size());
}

void gm_find_perpendicular_points(const ERVec<ERPoint3D>& points, int& i, int& j, int& k,
                                  double limit) {
    const auto p = points.view();
    const int n = points.size();
    i = 0, j = 1, k = 2;
    double best = 1.0;
    std::vector<ERVector3D> towards(p.size());
    for (int corner = 0; corner < n && !(best < limit); ++corner) {
        std::transform(p.begin(), p.end(), towards.begin(), [&](const ERPoint3D& q) {
            return ERVector3D(p[static_cast<std::size_t>(corner)], q).getnormalized();
        });
        for (int first = 0; first < n && !(best < limit); ++first) {
            if (first == corner) continue;
            const ERVector3D& u = towards[static_cast<std::size_t>(first)];
            for (int second = first + 1; second < n && !(best < limit); ++second) {
                if (second == corner) continue;
                const double c = std::fabs(u * towards[static_cast<std::size_t>(second)]);
                if (c < best) best = c, i = corner, j = first, k = second;
            }
        }
    }
}

ERVector3D gm_find_plane_normal(const ERVector3D& v) {
    int smallest = 0;
    for (int n = 1; n < 3; ++n)
        if (std::fabs(v[n]) < std::fabs(v[smallest])) smallest = n;
    return v ^ ERVector3D(static_cast<Coord3D>(smallest));
}

bool gmCollinearUtils::find_line(const ERVec<ERPoint3D>& points, ERInfLine3D& line) {
    const auto p = points.view();
    if (p.empty()) return false;
    const ERPoint3D& a = farthest(p, p.front());
    const ERPoint3D& b = farthest(p, a);
    if (isEqual(a, b, equalityTolerance)) return false;
    line = ERInfLine3D(b, a);
    return true;
}

gmCollinearState gmCollinearUtils::are_collinear(const ERVec<ERPoint3D>& points,
                                                 ERInfLine3D* line) {
    constexpr double off_line2 = 1e-7; // of squared distances: part of the contract
    ERInfLine3D found(ERVector3D(Coord3D_Z), ERPoint3D(0.0, 0.0, 0.0));
    if (!find_line(points, found)) return gmCollinear;
    if (line != nullptr) *line = found;
    const auto p = points.view();
    if (p.size() < 3) return gmCollinear;
    const bool all = std::all_of(p.begin(), p.end(), [&](const ERPoint3D& q) {
        return distance2(q, found.projectPt(q)) < off_line2;
    });
    return all ? gmCollinear : gmNotCollinear;
}
