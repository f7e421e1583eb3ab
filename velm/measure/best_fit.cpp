#include "velm/measure/best_fit.h"

#include "velm/frame/point_functions.h"
#include "velm/numerics/matrix.h"
#include "velm/surfaces/plane.h"
#include "velm/wireframe/line.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <utility>

namespace {

// Two doubles that are computed side by side, each exactly as it would be by itself.
using Pair [[gnu::vector_size(16)]] = double;

// Running means, updated value by value as m * (i / (i + 1)) + value / (i + 1).
template <std::size_t count>
class RunningMeans {
public:
    template <class... Values>
    void add(Values... values) {
        static_assert(sizeof...(Values) == count);
        add_pairs(std::make_index_sequence<pairs>{}, std::array{values..., 0.0});
    }
    double operator[](std::size_t n) const { return means_[n / 2][n % 2]; }

private:
    static constexpr std::size_t pairs = (count + 1) / 2;

    template <std::size_t... n>
    void add_pairs(std::index_sequence<n...>, const std::array<double, count + 1>& values) {
        const double size = seen_ + 1.0;
        const double keep = seen_ / size;
        ((means_[n] = means_[n] * keep + Pair{values[2 * n], values[2 * n + 1]} / size), ...);
        seen_ = size;
    }

    Pair means_[pairs] = {};
    double seen_ = 0.0;
};

bool is_finite(const ERVector2D& v) {
    return gmMathUtils::is_valid(v.i()) != 0 && gmMathUtils::is_valid(v.j()) != 0;
}

} // namespace

int GetMediumLine(const ERVec<ERPoint2D>& points, ERInfLine2D& line, double tolerance) {
    const auto p = points.view();
    RunningMeans<5> m;
    for (const ERPoint2D& q : p)
        m.add(q.x(), q.y(), q.x() * q.x(), q.y() * q.y(), q.x() * q.y());
    const double xx = m[2] - m[0] * m[0], yy = m[3] - m[1] * m[1], xy = m[4] - m[0] * m[1];
    const double covariance[] = {xx, xy, xy, yy};
    const ERVec<double> null = ResolveHyperPlan(ERMatrix<double>(2, 2, covariance));
    const ERVector2D normal = ERVector2D(null[0], null[1]).getnormalized();
    if (!is_finite(normal) || normal.norme2() == 0.0) return 0;

    line = ERInfLine2D(normal.i(), normal.j(), -(normal.i() * m[0] + normal.j() * m[1]));
    if (line.dirVector() * ERVector2D(p[0], p[1]) < 0.0) line.reverse();
    if (!(tolerance > 0.0)) return 1;
    for (const ERPoint2D& q : p)
        if (distance(q, line.projectPt(q)) > tolerance) return 0;
    return 1;
}

int GetMediumPlane(const ERVec<ERPoint3D>& points, ERPlane& plane, double tolerance) {
    const auto p = points.view();
    RunningMeans<9> m;
    for (const ERPoint3D& q : p) {
        const double x = q.x(), y = q.y(), z = q.z();
        m.add(x, y, z, x * x, y * y, z * z, x * y, x * z, y * z);
    }
    const double xx = m[3] - m[0] * m[0], yy = m[4] - m[1] * m[1], zz = m[5] - m[2] * m[2];
    const double xy = m[6] - m[0] * m[1], xz = m[7] - m[0] * m[2], yz = m[8] - m[1] * m[2];
    const double covariance[] = {xx, xy, xz, xy, yy, yz, xz, yz, zz};
    const ERVec<double> null = ResolveHyperPlan(ERMatrix<double>(3, 3, covariance));
    const ERVector3D normal = ERVector3D(null[0], null[1], null[2]).getnormalized();
    const double a = normal.i(), b = normal.j(), c = normal.k();
    plane = ERPlane(a, b, c, -(a * m[0] + b * m[1] + c * m[2]));

    if (!p.empty()) {
        const ERPoint3D& second = p[std::min<std::size_t>(1, p.size() - 1)];
        const ERPoint3D& third = p[std::min<std::size_t>(2, p.size() - 1)];
        const ERVector3D turn = ERVector3D(p[0], second) ^ ERVector3D(p[0], third);
        if (turn * plane.normalVector() < 1.0) plane.reverse(); // not 0.0: part of the contract
    }
    if (!(tolerance > 0.0)) return 1;
    for (const ERPoint3D& q : p) {
        double dist = 0.0;
        plane.SignedMinimalDistance(q, dist);
        if (std::fabs(dist) > tolerance) return 0;
    }
    return 1;
}
