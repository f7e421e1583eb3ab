#include "velm/curves/detail/bernstein_rows.h"
#include "velm/curves/detail/prepared_pieces.h"
#include "velm/numerics/binomials.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>

namespace velm::detail {
namespace {

// A weight function that is not positive on a part as short as 2^-this vanishes.
constexpr int deepest_weight_split = 40;
// Parts this short keep weights that differ by more than a factor of `largest_weight_ratio`.
constexpr int deepest_ratio_split = 16;
constexpr double largest_weight_ratio = 8.0;
// The square of the cosine of the angle that a piece's tangents keep to its chord, 45 degrees.
constexpr double least_cosine_squared = 0.5;
// The sine of the angle at a joint above which it is a kink.
constexpr double kink_sine = 1e-9;
// Ends of neighbours that are farther apart than this part of the size don't meet.
constexpr double gap_ratio = 0x1p-40;

// A part of a given piece: its row of poles about `origin`, and where it lies in the given piece.
template <int N>
struct Part {
    std::vector<double> row;
    double from = 0.0, to = 1.0;
    int depth = 0;

    int degree() const { return static_cast<int>(row.size()) / (N + 1) - 1; }
    const double* pole(int i) const { return row.data() + i * (N + 1); }
    double weight(int i) const { return pole(i)[N]; }
    Local<N> point(int i) const {
        Local<N> result;
        for (int axis = 0; axis < N; ++axis)
            result[axis] = pole(i)[axis] / weight(i);
        return result;
    }
};

// The vectors of a piece's hodograph numerator with bounds of their sizes before cancellation.
template <int N>
struct Hodograph {
    std::vector<Local<N>> vectors;
    std::vector<double> reach;
};

// X' w - X w' of degree 2 n - 2, or X' of degree n - 1 where w is 1. Coefficient k of the first is
// the sum over i < j, i + j = k + 1, of (j - i) C(n, i) C(n, j) / C(2 n - 2, k) times
// w_i X_j - X_i w_j (Sederberg and Wang, CAGD 4, 1987).
template <int N>
Hodograph<N> hodograph(const Part<N>& part, bool rational) {
    const int n = part.degree();
    Hodograph<N> result;
    const int count = rational ? 2 * n - 1 : n;
    for (int k = 0; k < count; ++k) {
        Local<N> sum{};
        double reach = 0.0;
        const int first = rational ? std::max(0, k + 1 - n) : k;
        const int last = rational ? k / 2 : k;
        for (int i = first; i <= last; ++i) {
            const int j = rational ? k + 1 - i : i + 1;
            const double factor =
                rational ? (j - i) * Cnp(n, i) * Cnp(n, j) / Cnp(2 * n - 2, k) : n;
            for (int axis = 0; axis < N; ++axis) {
                const double a = part.weight(i) * part.pole(j)[axis];
                const double b = part.pole(i)[axis] * part.weight(j);
                sum[axis] += factor * (a - b);
                reach += factor * (std::fabs(a) + std::fabs(b));
            }
        }
        result.vectors.push_back(sum);
        result.reach.push_back(reach);
    }
    return result;
}

template <int N>
class Builder {
public:
    explicit Builder(PreparedPieces<N>& out) : out_(out) {}

    // Returns whether the piece is finite.
    bool add(const BezierPiece& given, const Local<N>& origin, PieceParameter parameter) {
        Part<N> part;
        part.row.assign(given.poles.begin(), given.poles.end());
        if (!normalise(part)) return false;
        given_ = given;
        angular_ = parameter == PieceParameter::angular;
        origin_ = origin;
        first_ = global(part.point(0));
        last_ = global(part.point(part.degree()));
        shift_origin(part);
        std::vector<Part<N>> waiting{std::move(part)};
        while (!waiting.empty()) {
            Part<N> next = std::move(waiting.back());
            waiting.pop_back();
            const bool positive = scale_weights(next);
            if (!positive && next.depth >= deepest_weight_split) return false;
            if (positive && !needs_split(next)) {
                emit(next);
                continue;
            }
            Part<N> before = next, after = next;
            const int count = next.degree() + 1;
            split_row({next.row.data(), count, N + 1}, 0.5, {before.row.data(), count, N + 1},
                      {after.row.data(), count, N + 1});
            before.to = after.from = 0.5 * (next.from + next.to);
            before.depth = after.depth = next.depth + 1;
            waiting.push_back(std::move(after));
            waiting.push_back(std::move(before));
        }
        return true;
    }

private:
    static constexpr std::size_t width = N + 1;

    // Weights that are all equal become 1; else the first becomes positive. Returns whether all is
    // finite and no end is at infinity.
    static bool normalise(Part<N>& part) {
        const int n = part.degree();
        for (const double x : part.row) {
            if (!std::isfinite(x)) return false;
        }
        const double w = part.weight(0);
        if (w == 0.0 || part.weight(n) == 0.0) return false;
        bool equal = true;
        for (int i = 1; i <= n; ++i)
            equal = equal && part.weight(i) == w;
        if (equal) {
            for (int i = 0; i <= n; ++i) {
                double* pole = part.row.data() + i * (N + 1);
                for (int axis = 0; axis < N; ++axis)
                    pole[axis] /= w;
                pole[N] = 1.0;
            }
        } else if (w < 0.0) {
            for (double& x : part.row)
                x = -x;
        }
        return true;
    }

    // Takes the greatest weight into [0.5, 1], or leaves it 1. Returns whether all are positive.
    static bool scale_weights(Part<N>& part) {
        double least = part.weight(0), greatest = least;
        for (int i = 1; i <= part.degree(); ++i) {
            least = std::min(least, part.weight(i));
            greatest = std::max(greatest, part.weight(i));
        }
        if (!(least > 0.0)) return false;
        if (least == 1.0 && greatest == 1.0) return true;
        int exponent = 0;
        const double mantissa = std::frexp(greatest, &exponent);
        if (mantissa == 0.5) --exponent; // a power of two becomes 1
        for (double& x : part.row)
            x = std::ldexp(x, -exponent);
        return true;
    }

    Local<N> global(const Local<N>& p) const {
        Local<N> result;
        for (int axis = 0; axis < N; ++axis)
            result[axis] = origin_[axis] + p[axis];
        return result;
    }

    // Moves the origin of a piece given about 0 to the middle of its heavier poles, each
    // coordinate with one rounding of what is left of it. A light pole may be far from the curve;
    // the parts that the piece is cut into have their poles near it.
    void shift_origin(Part<N>& part) {
        if (angular_ || squared_norm(origin_) != 0.0) return;
        double greatest = 0.0;
        for (int i = 0; i <= part.degree(); ++i)
            greatest = std::max(greatest, part.weight(i));
        for (int axis = 0; axis < N; ++axis) {
            double low = std::numeric_limits<double>::max(), high = -low;
            for (int i = 0; i <= part.degree(); ++i) {
                if (!(part.weight(i) * largest_weight_ratio >= greatest)) continue;
                low = std::min(low, part.pole(i)[axis] / part.weight(i));
                high = std::max(high, part.pole(i)[axis] / part.weight(i));
            }
            const double middle = 0.5 * low + 0.5 * high;
            for (int i = 0; i <= part.degree(); ++i) {
                double* pole = part.row.data() + i * (N + 1);
                pole[axis] = std::fma(-middle, pole[N], pole[axis]);
            }
            origin_[axis] = middle;
        }
    }

    bool needs_split(const Part<N>& part) const {
        const int n = part.degree();
        double least = 1.0, greatest = 0.0;
        for (int i = 0; i <= n; ++i) {
            least = std::min(least, part.weight(i));
            greatest = std::max(greatest, part.weight(i));
        }
        if (greatest > largest_weight_ratio * least && part.depth < deepest_ratio_split)
            return true;
        if (n == 1 || part.depth > static_cast<int>(std::bit_width(static_cast<unsigned>(n))))
            return false;
        const Local<N> chord = difference(part.point(n), part.point(0));
        for (const Local<N>& tangent : hodograph(part, least != 1.0).vectors) {
            const double along = dot(tangent, chord);
            if (along < 0.0 ||
                along * along < least_cosine_squared * squared_norm(tangent) * squared_norm(chord))
                return true;
        }
        return false;
    }

    void emit(const Part<N>& part) {
        Piece<N> piece;
        piece.degree = part.degree();
        piece.rational = false;
        double least = 1.0;
        for (int i = 0; i <= piece.degree; ++i) {
            piece.rational = piece.rational || part.weight(i) != 1.0;
            least = std::min(least, part.weight(i));
        }
        piece.foot_scale = 1.0 / (least * least * least);
        piece.origin = origin_;
        piece.first = part.from == 0.0 ? first_ : global(part.point(0));
        piece.last = part.to == 1.0 ? last_ : global(part.point(piece.degree));
        set_parameter(part, piece);
        piece.joint = Joint::smooth;
        piece.poles = out_.numbers.size();
        out_.numbers.insert(out_.numbers.end(), part.row.begin(), part.row.end());
        set_foot_table(part, piece);
        double reach = 0.0;
        for (int i = 0; i <= piece.degree; ++i) {
            double sum = 0.0;
            for (int axis = 0; axis < N; ++axis)
                sum += std::fabs(part.point(i)[axis]);
            reach = std::max(reach, sum);
        }
        out_.point_error =
            std::max(out_.point_error, (2.0 * piece.degree + 6.0) * half_ulp * reach);
        if (!out_.pieces.empty()) {
            Piece<N>& before = out_.pieces.back();
            if (part.from > 0.0) {
                piece.first = before.last;
                piece.start = before.end;
            }
        }
        out_.pieces.push_back(piece);
    }

    void set_parameter(const Part<N>& part, Piece<N>& piece) const {
        const double half = 0.5 * (given_.end - given_.start);
        piece.angular = angular_;
        piece.middle = 0.5 * (given_.start + given_.end);
        const double reach = angular_ ? std::tan(0.5 * half) : 0.0;
        piece.slope_start = reach * (2.0 * part.from - 1.0);
        piece.slope_length = 2.0 * reach * (part.to - part.from);
        const auto at = [&](double u) {
            if (u == 0.0) return given_.start;
            if (u == 1.0) return given_.end;
            if (angular_) return piece.middle + 2.0 * std::atan(reach * (2.0 * u - 1.0));
            return (1.0 - u) * given_.start + u * given_.end;
        };
        piece.start = at(part.from);
        piece.end = at(part.to);
    }

    // (X - p w) . H as an affine function of p, in the Bernstein basis: the coefficients of X . H,
    // then those of w H for each axis.
    void set_foot_table(const Part<N>& part, Piece<N>& piece) {
        const Hodograph<N> h = hodograph(part, piece.rational);
        const int n = piece.degree, m = static_cast<int>(h.vectors.size()) - 1;
        piece.foot_count = n + m + 1;
        piece.foot = out_.numbers.size();
        const std::size_t count = static_cast<std::size_t>(piece.foot_count);
        out_.numbers.resize(piece.foot + width * count, 0.0);
        double* table = out_.numbers.data() + piece.foot;
        double reach = 0.0, slope = 0.0;
        for (int k = 0; k <= n + m; ++k) {
            double local_reach = 0.0, local_slope = 0.0;
            for (int i = std::max(0, k - m); i <= std::min(n, k); ++i) {
                const int j = k - i;
                const double factor = Cnp(n, i) * Cnp(m, j) / Cnp(n + m, k);
                const Local<N>& tangent = h.vectors[static_cast<std::size_t>(j)];
                const double size = factor * h.reach[static_cast<std::size_t>(j)];
                double largest = 0.0;
                for (int axis = 0; axis < N; ++axis) {
                    const double x = part.pole(i)[axis];
                    table[k] += factor * (x * tangent[axis]);
                    table[(axis + 1) * (n + m + 1) + k] +=
                        factor * (part.weight(i) * tangent[axis]);
                    largest = std::max(largest, std::fabs(x));
                }
                local_reach += size * largest;
                local_slope += size * part.weight(i);
            }
            reach = std::max(reach, local_reach);
            slope = std::max(slope, local_slope);
        }
        // The products, their sum, the affine function and at most n + m halvings that matter take
        // fewer roundings than this.
        const double roundings = 3.0 * (n + m) + 16.0;
        piece.foot_error = roundings * half_ulp * reach;
        piece.foot_error_slope = roundings * half_ulp * slope;
        piece.speed = 0.0;
        for (const Local<N>& tangent : h.vectors)
            piece.speed = std::max(piece.speed, std::sqrt(squared_norm(tangent)));
    }

    PreparedPieces<N>& out_;
    BezierPiece given_;
    bool angular_ = false;
    Local<N> origin_{}, first_{}, last_{};
};

// The lower and the upper bounds of a piece.
template <int N>
std::array<Local<N>, 2> piece_box(const PreparedPieces<N>& tables, const Piece<N>& piece) {
    std::array<Local<N>, 2> box{piece.first, piece.first};
    const double* poles = tables.poles(piece);
    for (int axis = 0; axis < N; ++axis) {
        double& low = box[0][axis];
        double& high = box[1][axis];
        const double origin = piece.origin[axis];
        double reach = std::fabs(origin);
        const auto include = [&](double x) {
            low = std::min(low, x);
            high = std::max(high, x);
        };
        include(piece.last[axis]);
        for (int i = 0; i <= piece.degree; ++i) {
            const double x = poles[i * (N + 1) + axis] / poles[i * (N + 1) + N];
            reach = std::max(reach, std::fabs(x));
            include(origin + x);
        }
        const double margin = (16.0 + 4.0 * piece.degree) * half_ulp * reach;
        low -= margin;
        high += margin;
    }
    return box;
}

// Fills the tree of boxes from the pieces up.
template <int N>
void build_boxes(PreparedPieces<N>& tables) {
    const double infinity = std::numeric_limits<double>::infinity();
    const auto groups = [](int nodes) { return (nodes + box_fan - 1) / box_fan; };
    tables.level_start.push_back(0);
    for (int nodes = tables.count();; nodes = groups(nodes)) {
        tables.level_start.push_back(tables.level_start.back() +
                                     static_cast<std::size_t>(groups(nodes)));
        if (nodes <= box_fan) break;
    }
    tables.boxes.assign(tables.level_start.back() * PreparedPieces<N>::group_doubles, infinity);
    for (std::size_t i = 0; i < tables.boxes.size(); ++i) {
        if (i % PreparedPieces<N>::group_doubles >= N * box_fan) tables.boxes[i] = -infinity;
    }
    const auto bound = [&](int level, int node, int side, int axis) -> double& {
        double* group =
            tables.boxes.data() + (tables.group(level, node / box_fan) - tables.boxes.data());
        return group[(side * N + axis) * box_fan + node % box_fan];
    };
    for (int i = 0; i < tables.count(); ++i) {
        const std::array<Local<N>, 2> box = piece_box(tables, tables[i]);
        for (int level = 0, node = i; level < tables.levels(); ++level, node /= box_fan) {
            for (int axis = 0; axis < N; ++axis) {
                double& low = bound(level, node, 0, axis);
                double& high = bound(level, node, 1, axis);
                low = std::min(low, box[0][axis]);
                high = std::max(high, box[1][axis]);
            }
        }
    }
    for (int i = 0; i < tables.count(); ++i) {
        const std::array<Local<N>, 2> box = piece_box(tables, tables[i]);
        for (const Local<N>& corner : box) {
            tables.box.Update(
                PreparedPieces<N>::Point::each([&](int axis) { return corner[axis]; }));
        }
    }
    tables.size = std::sqrt(
        squared_norm(difference(local<N>(tables.box.MaxPoint()), local<N>(tables.box.MinPoint()))));
}

// The direction in which a piece leaves its start, or arrives at its end: that of the first
// coefficient of the hodograph that isn't zero.
template <int N>
Local<N> end_direction(const PreparedPieces<N>& tables, const Piece<N>& piece, bool at_end) {
    const double* poles = tables.poles(piece);
    const auto point = [&](int i) {
        Local<N> result;
        const double* pole = poles + (at_end ? piece.degree - i : i) * (N + 1);
        for (int axis = 0; axis < N; ++axis)
            result[axis] = pole[axis] / pole[N];
        return result;
    };
    Local<N> step{};
    for (int i = 1; i <= piece.degree && squared_norm(step) == 0.0; ++i)
        step = at_end ? difference(point(0), point(i)) : difference(point(i), point(0));
    return step;
}

template <int N>
Joint joint_between(const PreparedPieces<N>& tables, const Piece<N>& before,
                    const Piece<N>& after) {
    const double gap = gap_ratio * tables.size;
    if (squared_norm(difference(before.last, after.first)) > gap * gap) return Joint::gap;
    const Local<N> a = end_direction(tables, before, true);
    const Local<N> b = end_direction(tables, after, false);
    const double along = dot(a, b);
    const double lengths = squared_norm(a) * squared_norm(b);
    if (lengths == 0.0) return Joint::smooth;
    // b without its part along a.
    Local<N> across;
    for (int axis = 0; axis < N; ++axis)
        across[axis] = b[axis] - a[axis] * (along / squared_norm(a));
    const bool straight =
        along > 0.0 && squared_norm(across) <= kink_sine * kink_sine * squared_norm(b);
    return straight ? Joint::smooth : Joint::kink;
}

} // namespace

template <int N>
std::unique_ptr<PreparedPieces<N>> PreparedPieces<N>::build(std::span<const BezierPiece> given,
                                                            const Point& origin,
                                                            PieceParameter parameter) {
    if (given.empty()) return nullptr;
    auto tables = std::make_unique<PreparedPieces>();
    Builder<N> builder(*tables);
    double end = given.front().start;
    for (const BezierPiece& piece : given) {
        const std::size_t poles = piece.poles.size() / width;
        if (piece.poles.size() % width != 0 || poles < 2 ||
            poles > static_cast<std::size_t>(PreparedCurve<N>::max_degree) + 1)
            return nullptr;
        if (piece.start != end || !(piece.end > piece.start) ||
            !std::isfinite(piece.end - piece.start))
            return nullptr;
        end = piece.end;
        if (!builder.add(piece, local<N>(origin), parameter)) return nullptr;
    }
    for (const Piece<N>& piece : tables->pieces)
        tables->ends.push_back(piece.start);
    tables->ends.push_back(end);
    build_boxes(*tables);
    if (!std::isfinite(tables->size)) return nullptr;
    for (std::size_t i = 0; i < tables->pieces.size(); ++i) {
        Piece<N>& piece = tables->pieces[i];
        const Piece<N>& before = i > 0 ? tables->pieces[i - 1] : tables->pieces.back();
        piece.joint = joint_between(*tables, before, piece);
    }
    tables->closed = tables->pieces.front().joint != Joint::gap && tables->size > 0.0;
    return tables;
}

template struct PreparedPieces<2>;
template struct PreparedPieces<3>;

} // namespace velm::detail
