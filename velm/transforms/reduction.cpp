// The simplest equal body: getReduced of each kind, every number within 1e-11.
#include "velm/transforms/bodies.h"
#include "velm/transforms/detail/matrix3.h"

#include <cmath>
#include <utility>

using velm::detail::is_identity;
using velm::detail::is_zero;
using velm::detail::Matrix3;

namespace {

constexpr double tolerance = 1e-11;

// The simpler body equal to a rotation by m; null if there is none.
const ERTr3DRevRep* below_rotation(const Matrix3& m) {
    return is_identity(m, tolerance) ? ERTr3DRevRep::GetIdentity() : nullptr;
}

// The simpler body equal to a frame of m and t, null if there is none; `matrix` is m with its
// shared array.
const ERTr3DRevRep* below_workplane(const Matrix3& m, const ERMatrix<double>& matrix,
                                    const ERPoint3D& t) {
    if (is_zero(t, tolerance)) {
        const ERTr3DRevRep* const identity = below_rotation(m);
        return identity != nullptr ? identity : new _ERRotation3D(matrix);
    }
    return is_identity(m, tolerance) ? new _ERTranslation3D(t) : nullptr;
}

} // namespace

// Elimination with row pivoting in the same steps as gauss_pivot.h; a pivot below 1e-20,
// ERLUDecomp's tolerance, stops it.
double velm::detail::determinant(Matrix3 a) {
    double* const row[] = {a.m, a.m + 3, a.m + 6};
    double result = 1.0;
    double* order[] = {row[0], row[1], row[2]};
    for (int k = 0; k < 3; ++k) {
        int winner = k;
        for (int i = k + 1; i < 3; ++i) {
            if (std::fabs(order[i][k]) > std::fabs(order[winner][k])) winner = i;
        }
        if (winner != k) {
            std::swap(order[k], order[winner]);
            result = -result;
        }
        const double pivot = order[k][k];
        if (1e-20 > std::fabs(pivot)) break;
        for (int i = k + 1; i < 3; ++i) {
            const double multiplier = order[i][k] / pivot;
            for (int j = k + 1; j < 3; ++j)
                order[i][j] -= multiplier * order[k][j];
        }
    }
    for (int k = 0; k < 3; ++k)
        result *= order[k][k];
    return result;
}

const ERTr3DRevRep* _ERIdentity3D::getReduced() const { return this; }

const ERTr3DRevRep* _ERTranslation3D::getReduced() const {
    return is_zero(t, tolerance) ? GetIdentity() : shareable();
}

const ERTr3DRevRep* _ERRotation3D::getReduced() const {
    const ERTr3DRevRep* const simpler = below_rotation(Matrix3(M));
    return simpler != nullptr ? simpler : shareable();
}

const ERTr3DRevRep* _ERWorkplane::getReduced() const {
    const ERTr3DRevRep* const simpler = below_workplane(Matrix3(M), M, t);
    return simpler != nullptr ? simpler : shareable();
}

const ERTr3DRevRep* _ERScaling3D::getReduced() const {
    return std::fabs(k - 1.0) <= tolerance ? GetIdentity() : shareable();
}

const ERTr3DRevRep* _ERSymetrie3D::getReduced() const {
    // The rotation is not reduced any further: the class of the result is part of the contract.
    if (determinant(Matrix3(M)) > 0.0) return new _ERRotation3D(M);
    return shareable();
}

const ERTr3DRevRep* _ERSimilitude3D::getReduced() const {
    const Matrix3 m(M);
    const bool unit = std::fabs(k - 1.0) <= tolerance;
    const bool still = is_zero(t, tolerance);
    const bool direct = determinant(m) > 0.0;
    if (direct && unit) {
        const ERTr3DRevRep* const simpler = below_workplane(m, M, t);
        return simpler != nullptr ? simpler : new _ERWorkplane(M, t);
    }
    if (!direct && unit && still) {
        if (is_identity(m * m.transposed(), tolerance)) return new _ERSymetrie3D(M);
        return shareable();
    }
    if (still && is_identity(m, tolerance)) return new _ERScaling3D(k);
    return shareable();
}
