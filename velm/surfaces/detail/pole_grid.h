// Grids of poles with the axis as an argument: insertion of knots, cutting and continuing,
// splitting, Bezier patches, change of degree, by the row arithmetic of the curves.
//
// A grid is `rows` packed rows along V of `columns` poles along U. Along U it has one line a row;
// along V it is one line of wide poles, whole rows, so that all columns go at once.
#pragma once

#include "velm/curves/detail/bernstein_rows.h"
#include "velm/curves/detail/knot_search.h"
#include "velm/curves/knot_vector.h"
#include "velm/frame/point.h"
#include "velm/frame/pole.h"
#include "velm/numerics/matrix.h"

#include <algorithm>
#include <type_traits>

namespace velm::detail {

enum class Axis { u, v };

template <class Number>
struct PoleGridOf {
    using Row = std::conditional_t<std::is_const_v<Number>, ConstPoleRow, PoleRow>;

    Number* poles;
    int rows, columns, width;

    int along(Axis axis) const { return axis == Axis::u ? columns : rows; }
    int lines(Axis axis) const { return axis == Axis::u ? rows : 1; }
    /// A packed line.
    Row line(Axis axis, int i) const {
        const int line_width = columns * width;
        if (axis == Axis::v) return {poles, rows, line_width};
        return {poles + std::ptrdiff_t(i) * line_width, columns, width};
    }
    /// `count` poles of line i from `first` on.
    Row window(Axis axis, int i, int first, int count) const {
        const Row whole = line(axis, i);
        return {whole[first], count, whole.width};
    }
};
using PoleGrid = PoleGridOf<double>;
using ConstPoleGrid = PoleGridOf<const double>;

template <class Pole>
ConstPoleGrid grid_of(const ERMatrix<Pole>& m) {
    static_assert(sizeof(Pole) == sizeof(double) * Pole::components);
    return {static_cast<const double*>(static_cast<const void*>(m.view().data())), m.rows(),
            m.columns(), Pole::components};
}
/// Separates a shared body.
template <class Pole>
PoleGrid grid_of(ERMatrix<Pole>& m) {
    return {static_cast<double*>(static_cast<void*>(m.writable().data())), m.rows(), m.columns(),
            Pole::components};
}

/// A matrix without values yet, of the size of `like` but for `count` poles along the axis.
template <class Pole>
ERMatrix<Pole> unfilled_like(const ERMatrix<Pole>& like, Axis axis, int count) {
    return axis == Axis::u ? ERMatrix<Pole>::unfilled(like.rows(), count)
                           : ERMatrix<Pole>::unfilled(count, like.columns());
}

/// Calls f(line of a, line of b) for all lines.
template <class A, class B, class F>
void for_lines(const A& a, const B& b, Axis axis, F f) {
    for (int i = 0; i < a.lines(axis); ++i)
        f(a.line(axis, i), b.line(axis, i));
}

/// `count` poles of `from`, from `first` on, to `to` from `at` on. REQUIRES packed rows of one
/// width.
inline void copy_poles(ConstPoleRow from, int first, int count, PoleRow to, int at) {
    if (count > 0) std::copy_n(from[first], std::ptrdiff_t(count) * from.width, to[at]);
}

template <class Pole>
ERMatrix<Pole> part_of(const ERMatrix<Pole>& m, Axis axis, int first, int count) {
    ERMatrix<Pole> part = unfilled_like(m, axis, count);
    for_lines(grid_of(m), grid_of(part), axis,
              [&](ConstPoleRow from, PoleRow to) { copy_poles(from, first, count, to, 0); });
    return part;
}

template <class Pole>
ERMatrix<Pole> transposed_poles(const ERMatrix<Pole>& m) {
    ERMatrix<Pole> result = ERMatrix<Pole>::unfilled(m.columns(), m.rows());
    const auto from = m.view();
    Pole* to = result.writable().data();
    for (int i = 0; i < m.columns(); ++i)
        for (int j = 0; j < m.rows(); ++j)
            *to++ = from[std::size_t(j) * std::size_t(m.columns()) + std::size_t(i)];
    return result;
}

// Splines.

/// As insert_knot of a curve: nothing changes for r below 1, a NaN and a t outside the domain.
/// Returns whether something changed.
VELM_API bool insert_knot(ERMatrix<ERPole3DH>& poles, ERKnotVector& knots, Axis axis, double t,
                          int r);

/// Makes `trim` the domain, which was `natural`: cut at an end inside, continued to one outside. An
/// end within four roundings is taken for it. REQUIRES an extent of the domain and of the trim.
VELM_API void move_ends(ERMatrix<ERPole3DH>& poles, ERKnotVector& knots, Axis axis,
                        const ERLimites& natural, const ERLimites& trim);
/// Makes the ends of the domain those of the knots, each occurring degree + 1 times. REQUIRES an
/// extent of the domain.
VELM_API void clamp_ends(ERMatrix<ERPole3DH>& poles, ERKnotVector& knots, Axis axis);

struct SplineGrid {
    ERMatrix<ERPole3DH> poles;
    ERKnotVector knots;
};
/// The parts before and after x, which lies strictly inside the domain: both have degree + 1 copies
/// of x at their end there. They share the poles at x, unless the surface is torn there.
VELM_API void split_grid(const ERMatrix<ERPole3DH>& poles, const ERKnotVector& knots, Axis axis,
                         double x, SplineGrid& before, SplineGrid& after);

/// The poles of the spans of the domain that are not empty as Bezier pieces side by side, degree +
/// 1 poles each; `ends` becomes the knots between which they are, one more than pieces.
VELM_API ERMatrix<ERPole3DH> bezier_pieces(const ERMatrix<ERPole3DH>& poles,
                                           const ERKnotVector& knots, Axis axis,
                                           ERVec<double>& ends);

/// The degree raised k times; the ends are clamped before. REQUIRES an extent of the domain.
VELM_API void elevate_grid(ERMatrix<ERPole3DH>& poles, ERKnotVector& knots, Axis axis, int k);

// Bezier grids.

/// Replaces the poles by those of the part [a, b] of [0, 1], any two numbers that differ.
VELM_API void restrict_grid(PoleGrid grid, Axis axis, double a, double b);

template <class Pole>
void elevate_bezier(ERMatrix<Pole>& poles, Axis axis, int k) {
    const int count = grid_of(std::as_const(poles)).along(axis);
    ERMatrix<Pole> raised = unfilled_like(poles, axis, count + k);
    for_lines(grid_of(std::as_const(poles)), grid_of(raised), axis,
              [&](ConstPoleRow from, PoleRow to) {
                  copy_poles(from, 0, count, to, 0);
                  elevate_row({to.poles, count, to.width}, k);
              });
    poles.swap(raised);
}

/// One degree less, as lower_row does it. REQUIRES a degree of at least 2.
template <class Pole>
void lower_bezier(ERMatrix<Pole>& poles, Axis axis) {
    ERMatrix<Pole> lower =
        unfilled_like(poles, axis, grid_of(std::as_const(poles)).along(axis) - 1);
    for_lines(grid_of(std::as_const(poles)), grid_of(lower), axis,
              [](ConstPoleRow from, PoleRow to) { lower_row(from, to); });
    poles.swap(lower);
}

} // namespace velm::detail
