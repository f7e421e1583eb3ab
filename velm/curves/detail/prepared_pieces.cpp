#include "velm/curves/detail/prepared_pieces.h"

#include <algorithm>
#include <cmath>

namespace velm::detail {
namespace {

// Where the derivative is less than this part of the piece's largest, it counts as vanished.
constexpr double cusp_ratio = 1e-7;

// Replaces the first `left` poles by the next level of de Casteljau's scheme.
template <int width>
void next_level(double* b, int left, double u) {
    const double v = 1.0 - u;
    for (int i = 0; i < left * width; ++i)
        b[i] = v * b[i] + u * b[i + width];
}

// The level of de Casteljau's scheme with `kept` poles, kept <= degree + 1.
template <int width>
void level_of(const double* poles, int degree, int kept, double u, double* b) {
    std::copy_n(poles, (degree + 1) * width, b);
    for (int left = degree; left >= kept; --left)
        next_level<width>(b, left, u);
}
template <int width, int degree, int kept>
void level_of(const double* poles, double u, double* b) {
    for (int i = 0; i < (degree + 1) * width; ++i)
        b[i] = poles[i];
    const double v = 1.0 - u;
    for (int left = degree; left >= kept; --left) {
        for (int i = 0; i < left * width; ++i)
            b[i] = v * b[i] + u * b[i + width];
    }
}

// The usual degrees get loops of known length.
template <int width, int kept>
void level_at(const double* poles, int degree, double u, double* b) {
    if (degree == 3)
        level_of<width, 3, kept>(poles, u, b);
    else if (degree == 2)
        level_of<width, 2, kept>(poles, u, b);
    else
        level_of<width>(poles, degree, kept, u, b);
}

template <int N>
constexpr std::size_t row_size = static_cast<std::size_t>((PreparedCurve<N>::max_degree + 1) *
                                                          (N + 1));

} // namespace

template <int N>
int PreparedPieces<N>::piece_at(double t, int guess) const {
    const auto from = ends.begin() + guess;
    if (t >= *from) {
        // Ascending parameters go on in the same piece or a near one.
        for (int step = 0; step < 4; ++step) {
            const int i = guess + step;
            if (i == count() - 1 || t < ends[static_cast<std::size_t>(i) + 1]) return i;
        }
        return static_cast<int>(std::upper_bound(from, ends.end() - 1, t) - ends.begin()) - 1;
    }
    const auto after = std::upper_bound(ends.begin(), from, t);
    return after == ends.begin() ? 0 : static_cast<int>(after - ends.begin()) - 1;
}

template <int N>
double PreparedPieces<N>::u_at(const Piece<N>& piece, double t) {
    const double u = piece.angular ? (std::tan(0.5 * (t - piece.middle)) - piece.slope_start) /
                                         piece.slope_length
                                   : (t - piece.start) / (piece.end - piece.start);
    return std::clamp(u, 0.0, 1.0);
}

template <int N>
double PreparedPieces<N>::t_at(const Piece<N>& piece, double u) {
    if (u <= 0.0) return piece.start;
    if (u >= 1.0) return piece.end;
    const double t =
        piece.angular ? piece.middle + 2.0 * std::atan(piece.slope_start + piece.slope_length * u)
                      : (1.0 - u) * piece.start + u * piece.end;
    return std::clamp(t, piece.start, piece.end);
}

template <int N>
Local<N> PreparedPieces<N>::local_point(const Piece<N>& piece, double u) const {
    const double* p = poles(piece);
    Local<N> result;
    if (piece.degree == 3) {
        // The Bernstein polynomials take fewer operations than de Casteljau's scheme.
        const double v = 1.0 - u;
        const double b0 = v * v * v, b1 = 3.0 * u * v * v, b2 = 3.0 * u * u * v, b3 = u * u * u;
        const auto sum = [&](int k) {
            return (b0 * p[k] + b1 * p[width + k]) +
                   (b2 * p[2 * width + k] + b3 * p[3 * width + k]);
        };
        const double inverse = piece.rational ? 1.0 / sum(N) : 1.0;
        for (int axis = 0; axis < N; ++axis)
            result[axis] = sum(axis) * inverse;
        return result;
    }
    double b[row_size<N>];
    level_at<width, 1>(p, piece.degree, u, b);
    const double inverse = piece.rational ? 1.0 / b[N] : 1.0;
    for (int axis = 0; axis < N; ++axis)
        result[axis] = b[axis] * inverse;
    return result;
}

template <int N>
CurveJet<N> PreparedPieces<N>::jet(const Piece<N>& piece, double u) const {
    double b[row_size<N>];
    Local<N + 1> value, first, second;
    const double n = piece.degree;
    const double v = 1.0 - u;
    if (piece.degree == 1) {
        level_of<width, 1, 2>(poles(piece), u, b);
        for (int k = 0; k < width; ++k) {
            value[k] = v * b[k] + u * b[width + k];
            first[k] = b[width + k] - b[k];
            second[k] = 0.0;
        }
    } else {
        level_at<width, 3>(poles(piece), piece.degree, u, b);
        for (int k = 0; k < width; ++k) {
            const double left = v * b[k] + u * b[width + k];
            const double right = v * b[width + k] + u * b[2 * width + k];
            value[k] = v * left + u * right;
            first[k] = n * (right - left);
            second[k] = n * (n - 1.0) * ((b[2 * width + k] - b[width + k]) - (b[width + k] - b[k]));
        }
    }
    CurveJet<N> result;
    const double inverse = piece.rational ? 1.0 / value[N] : 1.0;
    for (int axis = 0; axis < N; ++axis) {
        if (!piece.rational) {
            result.point[axis] = value[axis];
            result.first[axis] = first[axis];
            result.second[axis] = second[axis];
            continue;
        }
        const double x = value[axis] * inverse;
        const double dx = (first[axis] - x * first[N]) * inverse;
        result.point[axis] = x;
        result.first[axis] = dx;
        result.second[axis] = (second[axis] - 2.0 * dx * first[N] - x * second[N]) * inverse;
    }
    return result;
}

template <int N>
typename PreparedPieces<N>::Point PreparedPieces<N>::point(const Piece<N>& piece, double u) const {
    const Local<N> at = u <= 0.0 ? piece.first : u >= 1.0 ? piece.last : local_point(piece, u);
    const bool inside = u > 0.0 && u < 1.0;
    return Point::each([&](int axis) { return inside ? piece.origin[axis] + at[axis] : at[axis]; });
}

template <int N>
void PreparedPieces<N>::to_parameter(const Piece<N>& piece, double u, CurveJet<N>& jet) {
    double speed = 1.0 / (piece.end - piece.start);
    double change = 0.0; // the second derivative of u by t
    if (piece.angular) {
        // t = middle + 2 atan(s), s linear in u.
        const double slope = piece.slope_start + piece.slope_length * u;
        speed = (1.0 + slope * slope) / (2.0 * piece.slope_length);
        change = slope * speed;
    }
    for (int axis = 0; axis < N; ++axis) {
        jet.second[axis] = jet.second[axis] * (speed * speed) + jet.first[axis] * change;
        jet.first[axis] *= speed;
    }
}

template <int N>
FootKind PreparedPieces<N>::kind_at(int index, double u) const {
    const auto vanishes = [&](int i, double at) {
        const Piece<N>& piece = (*this)[i];
        return squared_norm(jet(piece, at).first) <=
               cusp_ratio * cusp_ratio * piece.speed * piece.speed;
    };
    if (u > 0.0 && u < 1.0) return vanishes(index, u) ? FootKind::cusp : FootKind::interior;
    const int after = u <= 0.0 ? index : index + 1 < count() ? index + 1 : 0;
    if (after == 0 && !closed) return FootKind::end;
    const Joint joint = (*this)[after].joint;
    if (joint == Joint::gap) return FootKind::end;
    if (vanishes(after, 0.0) || vanishes(after > 0 ? after - 1 : count() - 1, 1.0))
        return FootKind::cusp;
    return joint == Joint::kink ? FootKind::kink : FootKind::interior;
}

template struct PreparedPieces<2>;
template struct PreparedPieces<3>;

} // namespace velm::detail
