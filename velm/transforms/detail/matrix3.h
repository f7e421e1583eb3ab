// velm::detail::Matrix3: the nine numbers of a 3 x 3 matrix by value, row by row, for loops and for
// the composition and reduction of transformations.
#pragma once

#include "velm/frame/tuple.h"
#include "velm/numerics/matrix.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace velm::detail {

struct Matrix3 {
    Matrix3() = default;
    /// NaNs for a matrix of other size.
    explicit Matrix3(const ERMatrix<double>& matrix) {
        if (matrix.rows() == 3 && matrix.columns() == 3) {
            std::copy_n(matrix.view().data(), 9, m);
        } else {
            std::fill_n(m, 9, std::numeric_limits<double>::quiet_NaN());
        }
    }
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

    Matrix3 transposed() const {
        Matrix3 result;
        for (int i = 0; i < 9; ++i)
            result.m[i] = m[3 * (i % 3) + i / 3];
        return result;
    }

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

/// The determinant, to the bit that of ERLUDecomp, without its arrays.
double determinant(Matrix3 a);

} // namespace velm::detail
