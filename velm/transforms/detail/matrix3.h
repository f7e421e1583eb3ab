// velm::detail::Matrix3: the nine numbers of a 3 x 3 matrix by value, row by row, for loops and for
// the composition and reduction of transformations.
#pragma once

#include "velm/frame/tuple.h"
#include "velm/numerics/matrix.h"

#include <cmath>
#include <limits>

namespace velm::detail {

struct Matrix3 {
    Matrix3() = default;
    Matrix3(double m00, double m01, double m02, double m10, double m11, double m12, double m20,
            double m21, double m22)
        : m{m00, m01, m02, m10, m11, m12, m20, m21, m22} {}
    explicit Matrix3(const double* e)
        : Matrix3(e[0], e[1], e[2], e[3], e[4], e[5], e[6], e[7], e[8]) {}
    /// NaNs for a matrix of other size.
    explicit Matrix3(const ERMatrix<double>& matrix)
        : Matrix3(matrix.rows() == 3 && matrix.columns() == 3 && matrix.is_whole() ? matrix.data()
                                                                                   : nans) {}
    operator ERMatrix<double>() const { return ERMatrix<double>(3, 3, m); }

    /// M v, for a point or a vector.
    template <class Value>
    Value times(const Value& v) const {
        return Value::each(
            [&](int i) { return m[3 * i] * v[0] + m[3 * i + 1] * v[1] + m[3 * i + 2] * v[2]; });
    }
    /// The transposed M times v.
    template <class Value>
    Value transposed_times(const Value& v) const {
        return Value::each([&](int i) { return m[i] * v[0] + m[i + 3] * v[1] + m[i + 6] * v[2]; });
    }

    Matrix3 transposed() const { return {m[0], m[3], m[6], m[1], m[4], m[7], m[2], m[5], m[8]}; }

    friend Matrix3 operator*(const Matrix3& a, const Matrix3& b) {
        Matrix3 result;
        for (int i = 0; i < 9; ++i) {
            const double* const row = a.m + 3 * (i / 3);
            const double* const column = b.m + i % 3;
            result.m[i] = row[0] * column[0] + row[1] * column[3] + row[2] * column[6];
        }
        return result;
    }

    double m[9];

private:
    static constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    static constexpr double nans[9] = {nan, nan, nan, nan, nan, nan, nan, nan, nan};
};

/// Whether no element of the matrices differs by more than the tolerance.
inline bool matrices_within(const Matrix3& a, const Matrix3& b, double tolerance) {
    for (int i = 0; i < 9; ++i) {
        if (!(std::fabs(a.m[i] - b.m[i]) <= tolerance)) return false;
    }
    return true;
}

/// Whether every element is that of the identity within the tolerance.
inline bool is_identity(const Matrix3& a, double tolerance) {
    for (int i = 0; i < 9; ++i) {
        if (!(std::fabs(a.m[i] - (i % 4 == 0 ? 1.0 : 0.0)) <= tolerance)) return false;
    }
    return true;
}

/// Whether every coordinate is 0 within the tolerance.
template <class Point>
bool is_zero(const Point& p, double tolerance) {
    return components_within(p, Point(), tolerance);
}

/// The determinant, with the same bits as that of ERLUDecomp, but without its arrays.
double determinant(Matrix3 a);

} // namespace velm::detail
