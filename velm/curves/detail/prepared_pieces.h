// velm::detail::PreparedPieces: the tables of a prepared curve, and what is asked of one piece:
// points, derivatives, and the polynomial whose zeros are the feet of a point.
#pragma once

#include "velm/curves/prepared_curve.h"

#include <cstddef>
#include <limits>
#include <vector>

namespace velm::detail {

/// Half a unit in the last place of 1.
inline constexpr double half_ulp = 0x1p-53;
/// The degree of the numerator of the squared distance's derivative, for a piece of degree
/// `degree`.
constexpr int foot_degree(int degree, bool rational) {
    return rational ? 3 * degree - 2 : 2 * degree - 1;
}
/// The most coefficients of such a numerator.
inline constexpr int max_foot_count = foot_degree(PreparedCurve<2>::max_degree, true) + 1;

/// How a piece meets the one before it.
enum class Joint : unsigned char { smooth, kink, gap };

/// Coordinates relative to a piece's origin.
template <int N>
struct Local {
    double c[static_cast<std::size_t>(N)];

    double operator[](int axis) const { return c[axis]; }
    double& operator[](int axis) { return c[axis]; }
};

/// A point of a piece, relative to its origin, with its derivatives by u.
template <int N>
struct CurveJet {
    Local<N> point, first, second;
};

template <int N>
struct Piece {
    Local<N> origin;
    Local<N> first, last; ///< the ends, in model coordinates
    double start, end;    ///< the parameter at the ends
    /// t = start + (end - start) u, or middle + 2 atan(slope_start + slope_length u) on an arc.
    double middle, slope_start, slope_length;
    std::size_t poles; ///< indices into `numbers`
    std::size_t foot;
    int degree;
    int foot_count; ///< coefficients of the foot polynomial
    bool rational, angular;
    Joint joint; ///< with the piece before it; at the first piece that of the seam
    /// The coefficients of the foot polynomial of p are off by no more than
    /// foot_error + foot_error_slope |p - origin| (in the sum norm), its halves' included.
    double foot_error, foot_error_slope;
    /// (1 / least weight)^3: |d|C - p|^2 / du| is at most 2 |g| times this.
    double foot_scale;
    double speed; ///< the largest |X' w - X w'| of its coefficients
};

/// Groups of eight boxes a level, each as eight doubles for every lower and every upper bound.
inline constexpr int box_fan = 8;

template <int N>
struct PreparedPieces {
    using Point = typename DimensionOf<N>::Point;
    static constexpr int width = N + 1;
    static constexpr int group_doubles = 2 * N * box_fan;

    std::vector<Piece<N>> pieces;
    std::vector<double> ends; ///< pieces + 1 parameters
    std::vector<double> numbers;
    std::vector<double> boxes;            ///< groups of all levels
    std::vector<std::size_t> level_start; ///< the first group of each level, and their number
    bool closed = false;
    double size = 0.0;
    double point_error = 0.0; ///< of points relative to their origins
    typename DimensionOf<N>::Box box;

    static std::unique_ptr<PreparedPieces> build(std::span<const BezierPiece> given,
                                                 const Point& origin, PieceParameter parameter);
    static std::optional<PreparedCurve<N>> publish(std::unique_ptr<PreparedPieces> pieces) {
        if (pieces == nullptr) return std::nullopt;
        return PreparedCurve<N>(std::move(pieces));
    }

    int count() const { return static_cast<int>(pieces.size()); }
    const Piece<N>& operator[](int i) const { return pieces[static_cast<std::size_t>(i)]; }
    int levels() const { return static_cast<int>(level_start.size()) - 1; }
    const double* group(int level, int i) const {
        return boxes.data() +
               (level_start[static_cast<std::size_t>(level)] + static_cast<std::size_t>(i)) *
                   group_doubles;
    }
    const double* poles(const Piece<N>& piece) const { return numbers.data() + piece.poles; }

    /// The place of a parameter in the domain, searched from `guess` on.
    int piece_at(double t, int guess) const;
    static double u_at(const Piece<N>& piece, double t);
    static double t_at(const Piece<N>& piece, double u);
    CurvePlace place(int piece, double u) const { return {t_at((*this)[piece], u), piece, u}; }

    /// The point at u relative to the origin.
    Local<N> local_point(const Piece<N>& piece, double u) const;
    CurveJet<N> jet(const Piece<N>& piece, double u) const;
    /// In model coordinates, joints exactly.
    Point point(const Piece<N>& piece, double u) const;
    static void to_parameter(const Piece<N>& piece, double u, CurveJet<N>& jet);

    /// The Bernstein coefficients of the foot polynomial of p: piece.foot_count of them. Returns
    /// the bound of their error.
    double foot_polynomial(const Piece<N>& piece, const Local<N>& from_origin, double* g) const {
        const int m = piece.foot_count;
        const double* table = numbers.data() + piece.foot;
        double reach = 0.0;
        for (int axis = 0; axis < N; ++axis)
            reach += from_origin[axis] < 0.0 ? -from_origin[axis] : from_origin[axis];
        for (int i = 0; i < m; ++i) {
            double sum = from_origin[0] * table[m + i];
            for (int axis = 1; axis < N; ++axis)
                sum += from_origin[axis] * table[(axis + 1) * m + i];
            g[i] = table[i] - sum;
        }
        return piece.foot_error + reach * piece.foot_error_slope;
    }

    /// What kind of foot a place is. `inside` says that it is no end of the piece.
    FootKind kind_at(int piece, double u) const;
};

template <int N>
Local<N> local(const typename DimensionOf<N>::Point& p) {
    Local<N> result;
    for (int axis = 0; axis < N; ++axis)
        result[axis] = p[axis];
    return result;
}

template <int N>
Local<N> difference(const Local<N>& a, const Local<N>& b) {
    Local<N> result;
    for (int axis = 0; axis < N; ++axis)
        result[axis] = a[axis] - b[axis];
    return result;
}
template <int N>
double dot(const Local<N>& a, const Local<N>& b) {
    double sum = a[0] * b[0];
    for (int axis = 1; axis < N; ++axis)
        sum += a[axis] * b[axis];
    return sum;
}
template <int N>
double squared_norm(const Local<N>& a) {
    return dot(a, a);
}

extern template struct PreparedPieces<2>;
extern template struct PreparedPieces<3>;

} // namespace velm::detail
