#include "velm/surfaces/nurbs_surface.h"

#include "support/records.h"
#include "support/test.h"
#include "velm/frame/point_functions.h"
#include "velm/surfaces/nurbs_decomposer.h"
#include "velm/surfaces/pole_matrix.h"
#include "velm/surfaces/revolved_nurbs.h"
#include "velm/transforms/transformation_factories.h"

#include <cstdlib>
#include <fstream>
#include <numbers>

namespace {

using Surface = ERSpoleNURBS3D;
using SurfacePtr = t_SmartPtr<Surface>;

velm_test::Random& generator() {
    static velm_test::Random random{2026};
    return random;
}

ERKnotVector random_knots(int p, int n, bool clamped) {
    auto& random = generator();
    std::vector<double> inner, low(std::size_t(p) + 1, 0.0), high(low.size(), 1.0);
    while (static_cast<int>(inner.size()) < n - p - 1)
        inner.insert(inner.end(), std::size_t(1 + random.below(p)), random.uniform(0.01, 0.99));
    inner.resize(std::size_t(n - p - 1));
    std::sort(inner.begin(), inner.end());
    for (std::size_t i = 1; i < high.size() && !clamped; ++i) {
        low[i] = low[i - 1] - random.uniform(0, 0.3);
        high[i] = high[i - 1] + random.uniform(0, 0.3);
    }
    std::reverse(low.begin(), low.end());
    low.insert(low.end(), inner.begin(), inner.end());
    low.insert(low.end(), high.begin(), high.end());
    return {p, low.data(), static_cast<int>(low.size())};
}

/// Poles near the unit box, weights 0.3 to 3; the domain is the unit square.
Surface random_surface(int p, int q, int extra, bool clamped) {
    auto& random = generator();
    const int n = p + 1 + random.below(extra), m = q + 1 + random.below(extra);
    ERMatrix<ERPole3DH> poles(m, n);
    for (ERPole3DH& pole : poles.writable())
        pole = ERPole3DH(random.value<ERPoint3D>(1), 1.0) * random.uniform(0.3, 3);
    return {poles, random_knots(p, n, clamped), random_knots(q, m, clamped)};
}

/// Calls f with surfaces of degrees 1 to 5, every third unclamped.
template <class F>
void for_surfaces(int rounds, F f) {
    for (int i = 0; i < rounds; ++i)
        f(random_surface(1 + i % 5, 1 + (i + i / 5) % 5, 8, i % 3 != 0));
}

/// Points and first derivatives of a(u, v) and b(u, v) on the part of the square.
void expect_same(const ERAnyBoundedSurface& a, const ERAnyBoundedSurface& b,
                 const ERLimites& in_u = {0, 1}, const ERLimites& in_v = {0, 1},
                 double tol = 1e-12) {
    for (int i = 0; i <= 14; ++i)
        for (int j = 0; j <= 14; ++j) {
            const double u = in_u(i / 14.0), v = in_v(j / 14.0);
            ASSERT_TRUE(isEqual(a(u, v), b(u, v), tol)) << u << " " << v;
            ASSERT_TRUE(isEqual(a.PtCur(u, v).point(), b(u, v), tol)) << u << " " << v;
        }
}

// References.

/// |found - exact| in units of the sizes that the data states.
double deviation(const ERInfoPoint3DSurf& found, int row, const ERPoint3D& exact, double unit) {
    constexpr int in_v[] = {0, 0, 1, 0, 1, 2}, in_u[] = {0, 1, 0, 2, 1, 0};
    const ERPoint3D value(found.derivative(in_v[row], in_u[row]));
    return distance(value, exact) / unit;
}

TEST(NurbsSurfaceReference, PointsAndDerivativesAgreeWithExactArithmetic) {
    double worst[3][6] = {};
    std::ifstream file(VELM_TEST_FOLDER "/surfaces/data/nurbs.txt");
    std::string word;
    const auto number = [&] {
        file >> word;
        return std::strtod(word.c_str(), nullptr);
    };
    int p = 0, q = 0, n = 0, m = 0, at = 0, row = 0, rows = 0;
    ERKnotVector knots_u, knots_v;
    ERMatrix<ERPole3DH> poles;
    double u = 0, v = 0;
    Surface surface;
    while (file >> word) {
        if (word == "surface") {
            file >> p >> q >> n >> m;
            at = 0;
            poles = ERMatrix<ERPole3DH>(m, n);
        } else if (word == "knots") {
            ERVec<double> u_list(n + p + 1), v_list(m + q + 1);
            for (double& knot : u_list.writable())
                knot = number();
            for (double& knot : v_list.writable())
                knot = number();
            knots_u = ERKnotVector(p, u_list), knots_v = ERKnotVector(q, v_list);
        } else if (word == "pole") {
            poles.writable()[std::size_t(at++)] =
                ERPole3DH::each([&](int) { return number(); });
            surface = Surface(poles, knots_u, knots_v);
        } else if (word == "at") {
            u = number(), v = number();
            row = 0;
        } else {
            ASSERT_EQ(word, "row");
            const ERPoint3D exact = ERPoint3D::each([&](int) { return number(); });
            const double unit = number() * std::numeric_limits<double>::epsilon() / 2;
            const auto compare = [&](int way, double found) {
                worst[way][row] = std::max(worst[way][row], found);
            };
            compare(0, deviation(surface.PtCur(u, v), row, exact, unit));
            if (row == 0) compare(0, distance(surface(u, v), exact) / unit);
            surface.UpdateCache();
            const auto* const patches = surface.decomposer();
            for (int i = 0; i < patches->nv(); ++i)
                for (int j = 0; j < patches->nu(); ++j) {
                    const auto patch = patches->Bezier(i, j);
                    const bool above = u >= patch->udeb() && v >= patch->vdeb();
                    if (above && u < patch->ufin() && v < patch->vfin())
                        compare(1, deviation(patch->PtCur(u, v), row, exact, unit));
                }
            if (n == p + 1 && m == q + 1 && !knots_u.isUnclamped()) {
                ERSpoleBezier3DR piece(poles);
                compare(2, deviation(piece.PtCur(u, v), row, exact, unit));
                if (row == 0) compare(2, distance(piece(u, v), exact) / unit);
            }
            ++row, ++rows;
        }
    }
    EXPECT_EQ(rows, 36 * 12);
    for (int way = 0; way < 3; ++way)
        for (int k = 0; k < 6; ++k) {
            std::printf("way %d row %d: %.2f\n", way, k, worst[way][k]);
            EXPECT_LE(worst[way][k], k == 0 ? 16 : 64) << way << " " << k;
            EXPECT_GT(worst[way][k], 0.0);
        }
}

} // namespace
