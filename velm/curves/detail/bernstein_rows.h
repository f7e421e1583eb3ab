// Bernstein arithmetic on rows of poles: evaluation, subdivision, change of degree, power form.
//
// A row is `count` poles of `width` doubles each, `stride` doubles from one pole to the next. So a
// curve is a row, and so are the rows and the columns of a grid of poles; a grid whose rows are
// packed is one row of wide poles too. Weighted coordinates and weights are doubles like the
// others: what is affine in them needs no special case.
//
// Everything here is exact up to rounding, in the order of operations of velm/numerics/bernstein.h,
// so that a packed row and a strided one give the same bits. Rows hold at least one pole. Outputs
// may not overlap inputs except where stated, and no row may be in the thread's scratch buffer,
// which most of these use; none allocates after a thread's first calls.
#pragma once

#include "velm/export.h"

#include <cstddef>
#include <span>

namespace velm::detail {

/// A row of poles that is read.
struct ConstPoleRow {
    const double* poles;
    int count;
    int width;
    std::ptrdiff_t stride;

    ConstPoleRow(const double* row, int size, int dim, std::ptrdiff_t step)
        : poles(row), count(size), width(dim), stride(step) {}
    /// A packed row.
    ConstPoleRow(const double* row, int size, int dim) : ConstPoleRow(row, size, dim, dim) {}

    int degree() const { return count - 1; }
    const double* operator[](int i) const { return poles + stride * i; }
    bool packed() const { return stride == width; }
};

/// A row of poles that is written.
struct PoleRow {
    double* poles;
    int count;
    int width;
    std::ptrdiff_t stride;

    PoleRow(double* row, int size, int dim, std::ptrdiff_t step)
        : poles(row), count(size), width(dim), stride(step) {}
    PoleRow(double* row, int size, int dim) : PoleRow(row, size, dim, dim) {}

    operator ConstPoleRow() const { return {poles, count, width, stride}; }
    int degree() const { return count - 1; }
    double* operator[](int i) const { return poles + stride * i; }
    bool packed() const { return stride == width; }
};

/// The value at t: `width` doubles.
VELM_API void row_value(ConstPoleRow row, double t, double* out);

/// The value at t and its derivatives up to `order`, at most 2, by the parameter of [0, 1]: order +
/// 1 groups of `width` doubles. By de Casteljau's scheme, whose last levels hold the derivatives;
/// those beyond the degree are 0. Above degree 1000 each order by the polynomials that count at t,
/// as row_value does it.
VELM_API void row_derivatives(ConstPoleRow row, double t, int order, double* out);

/// The poles of the parts [0, t] and [t, 1], each as many as the row has. Either output may be the
/// row itself. The two share the pole at t to the bit.
VELM_API void split_row(ConstPoleRow row, double t, PoleRow before, PoleRow after);

/// Replaces the poles by those of the part [a, b] of [0, 1]. A part outside [0, 1] continues the
/// polynomial. Through b = 0 the poles become infinite or NaN: the lower end is cut by a / b.
VELM_API void restrict_row(PoleRow row, double a, double b);

/// Raises the degree `times` times, in place: `row` is the poles before, with room for `times`
/// more.
VELM_API void elevate_row(PoleRow row, int times);

/// Lowers the degree of a row of n + 1 >= 3 poles to n - 1, into `out` of one pole less, by
/// Forrest's interpolation from both ends, which meets in the middle (A. R. Forrest, Interactive
/// interpolation and approximation by Bezier polynomials, The Computer Journal 15, 1972). Returns
/// whether both ends agree there within 1e-11 in each component: whether the row was of the lower
/// degree, judged at that one pole. For odd n the pole in the middle is the mean of both.
VELM_API bool lower_row(ConstPoleRow row, PoleRow out);

/// The derivative by the parameter of [0, 1], a row of one pole less: degree times the differences
/// of neighbours. `out` may be the row itself.
VELM_API void hodograph_row(ConstPoleRow row, PoleRow out);

/// The power coefficients of one component by the parameter of [0, 1], lowest first, as many as the
/// row has poles: the binomial times the forward difference at the start. A coefficient beyond the
/// range of double is infinite; a difference of 0 gives 0 at every degree.
VELM_API void power_coefficients(ConstPoleRow row, int component, std::span<double> out);

/// The other way: sets one component of `row` from power coefficients, whose number is at most the
/// row's; those missing are 0. Ordinate i is the sum over j up to i of C(i, j) / C(n, j) a_j.
VELM_API void set_from_power(std::span<const double> coefficients, int component, PoleRow row);

} // namespace velm::detail
