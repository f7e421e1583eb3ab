#include "velm/surfaces/detail/leaf_search.h"

#include "velm/curves/detail/basis_functions.h"

#include <type_traits>
#include <utility>

namespace velm::detail {
namespace {

constexpr int most_steps = 30;
// Steps this short, of half the leaf, end the search for a place that no bound confirms.
constexpr double short_step = 1e-9;
// The third derivatives that a point after the last step leaves out are below rounding; so far from
// the end of Newton's method is its place, of half the leaf, by the change of the second ones.
constexpr double last_step = 1e-5, last_error = 1e-12;
// Halves this small are taken as they are: what is uncertain there is reported.
constexpr double smallest_part = 0x1p-40;
// Roundings of a squared distance that is computed from squares that cancel, of those. Beside a
// surface they are what decides between two leaves.
constexpr double square_roundings = 0x1p-50;

// Half of |Y|^2 - b w^2 with b = |Y|^2 / w^2 at a place: gradient and second derivatives.
struct Model {
    double squared; // b
    double weight;
    double g[2], h[3];
};

template <class DegreeU, class DegreeV, class Rational>
[[gnu::always_inline]] inline void model_at(const LeafSearch::View& view, DegreeU p, DegreeV q,
                                            Rational rational, double s, double t, LeafJet& jet,
                                            Model& m) {
    power_jet(view.coefs, p, q, s, t, jet);
    double(*const x)[4] = jet.x;
    for (int c = 0; c < 3; ++c)
        x[0][c] -= x[0][3] * view.e[c];
    if (rational)
        for (int k = 1; k < 6; ++k)
            for (int c = 0; c < 3; ++c)
                x[k][c] -= x[k][3] * view.e[c];
    const auto dot = [x](int a, int b) __attribute__((always_inline)) {
        return x[a][0] * x[b][0] + x[a][1] * x[b][1] + x[a][2] * x[b][2];
    };
    m.squared = dot(0, 0);
    m.weight = 1.0;
    m.g[0] = dot(0, 1), m.g[1] = dot(0, 2);
    m.h[0] = dot(1, 1) + dot(0, 3);
    m.h[1] = dot(1, 2) + dot(0, 4);
    m.h[2] = dot(2, 2) + dot(0, 5);
    if (rational) {
        const double w = x[0][3], b = m.squared / (w * w);
        const auto weights = [x](int a, int c) { return x[a][3] * x[c][3]; };
        m.squared = b;
        m.weight = w;
        m.g[0] -= b * weights(0, 1), m.g[1] -= b * weights(0, 2);
        m.h[0] -= b * (weights(1, 1) + weights(0, 3));
        m.h[1] -= b * (weights(1, 2) + weights(0, 4));
        m.h[2] -= b * (weights(2, 2) + weights(0, 5));
    }
}

// A definite form beside h, from the squares of the tangents.
void make_definite(const LeafJet& jet, double* h) {
    const auto square = [&](int k) {
        return jet.x[k][0] * jet.x[k][0] + jet.x[k][1] * jet.x[k][1] + jet.x[k][2] * jet.x[k][2];
    };
    const double tiny = 1e-300, e = square(1) + tiny, g = square(2) + tiny;
    const double a = h[0] / e, c = h[2] / g, b = h[1] / std::sqrt(e * g);
    const double least = 0.5 * (a + c) - std::sqrt(0.25 * (a - c) * (a - c) + b * b);
    constexpr double margin = 0.1;
    const double raise = margin - std::min(least, margin * 0.5);
    h[0] += raise * e;
    h[2] += raise * g;
}

// A place as near to a side as its rounding is on the side.
double snapped(double s) {
    constexpr double inside = 1.0 - 0x1p-47;
    return s > inside ? 1.0 : s < -inside ? -1.0 : s;
}

// The place after a step, by the derivatives.
template <class DegreeU, class DegreeV, class Rational>
LeafPlace place_after(const LeafSearch::View& view, DegreeU, DegreeV, Rational rational,
                      const LeafJet& jet, double x, double y, const double* step, int number) {
    double at[4];
    const double a = step[0], b = step[1];
    for (int c = 0; c < 4; ++c)
        at[c] = jet.x[0][c] +
                (a * jet.x[1][c] + b * jet.x[2][c] +
                 (0.5 * a * a * jet.x[3][c] + a * b * jet.x[4][c] + 0.5 * b * b * jet.x[5][c]));
    LeafPlace place;
    place.leaf = number;
    place.s = snapped(view.middle[0] + view.half[0] * (x + a));
    place.t = snapped(view.middle[1] + view.half[1] * (y + b));
    const double inverse = rational ? 1.0 / at[3] : 1.0;
    for (int c = 0; c < 3; ++c)
        place.from_query[c] = at[c] * inverse;
    place.squared = place.from_query[0] * place.from_query[0] +
                    place.from_query[1] * place.from_query[1] +
                    place.from_query[2] * place.from_query[2];
    return place;
}

// Of the squares in a quadratic part of |Y|^2 - b w^2.
double rounding_of(const QuadraticPart& part, double b) {
    return square_roundings * (std::fabs(part.c) + b + std::fabs(part.g[0]) + std::fabs(part.g[1]) +
                               std::fabs(part.h[0]) + std::fabs(part.h[1]) + std::fabs(part.h[2]));
}

// Whether |Y|^2 - b w^2 falls along one direction everywhere in [-1, 1]^2, b being a value of
// |Y|^2 / w^2 known to within `slack`: its gradient at a minimum of that value is 0.
bool runs_down(const double* square, const double* weights, int p, int q, double slack) {
    const double along[2] = {-square[1], -square[p + 1]};
    double slope = along[0] * square[1] + along[1] * square[p + 1];
    for (int j = 0; j <= q; ++j)
        for (int i = 0; i <= p; ++i) {
            const double step = i * std::fabs(along[0]) + j * std::fabs(along[1]);
            if (i + j >= 2) slope += step * std::fabs(square[j * (p + 1) + i]);
            if (weights != nullptr) slope += step * slack * std::fabs(weights[j * (p + 1) + i]);
        }
    return slope < 0.0;
}

} // namespace

LeafSearch::View LeafSearch::view_of(const SurfaceLeaves& leaves, const SurfaceLeaf& leaf) const {
    View view;
    view.coefs = leaves.poles(leaf);
    view.p = leaves.degree_u, view.q = leaves.degree_v;
    view.rational = leaves.rational;
    double square = 0.0;
    for (int c = 0; c < 3; ++c) {
        view.e[c] = q_[c] - leaf.centre[c];
        square += view.e[c] * view.e[c];
    }
    const double reach = std::sqrt(square);
    for (int k = 0; k < 2; ++k) {
        view.turn[k] = leaf.turn[0][k] + reach * leaf.turn[1][k];
        view.turn_by_b[k] = leaf.turn[2][k];
        view.middle[k] = 0.0, view.half[k] = 1.0;
    }
    view.b_turn = square;
    view.least_weight = leaf.least_weight;
    return view;
}

bool LeafSearch::misses_trim(const double* low, const double* high) const {
    const double u[2] = {leaves_->u_at(*leaf_, low[0]), leaves_->u_at(*leaf_, high[0])};
    const double v[2] = {leaves_->v_at(*leaf_, low[1]), leaves_->v_at(*leaf_, high[1])};
    return trim_->place(u, v) == InTrim::outside;
}

bool LeafSearch::inside(const LeafPlace& place) const {
    return trim_->holds(leaves_->u_at(*leaf_, place.s), leaves_->v_at(*leaf_, place.t));
}

void LeafSearch::leaf_from(const SurfaceLeaves& leaves, const SurfaceLeaf& leaf, int number,
                           double s, double t, const LeafTrim* trim) {
    set_trim(leaves, leaf, trim);
    with_error(leaf, [&] {
        const View view = view_of(leaves, leaf);
        if (!newton(view, number, s, t)) halve(leaf, view, number);
    });
}

void LeafSearch::leaf(const SurfaceLeaves& leaves, const SurfaceLeaf& leaf, int number,
                      const LeafTrim* trim) {
    set_trim(leaves, leaf, trim);
    with_error(leaf, [&] { look_at(leaves, leaf, number); });
}

void LeafSearch::look_at(const SurfaceLeaves& leaves, const SurfaceLeaf& leaf, int number) {
    View view = view_of(leaves, leaf);
    // (|R - w e|^2 - b w^2) / 2, with w = 1 here: without weights this is exact, with them the
    // place of its least value is a good start.
    const double* const r = view.coefs;
    const auto along = [&](int i, int j) __attribute__((always_inline)) {
        if (i > view.p || j > view.q) return 0.0;
        const double* const x = r + 4 * (j * (view.p + 1) + i);
        return view.e[0] * x[0] + view.e[1] * x[1] + view.e[2] * x[2];
    };
    const QuadraticPart& square = leaf.square;
    const double g[2] = {0.5 * square.g[0] - along(1, 0), 0.5 * square.g[1] - along(0, 1)};
    const double h[3] = {0.5 * square.h[0] - 2.0 * along(2, 0), 0.5 * square.h[1] - along(1, 1),
                         0.5 * square.h[2] - 2.0 * along(0, 2)};
    constexpr double low[2] = {-1.0, -1.0}, high[2] = {1.0, 1.0};
    double place[2];
    const double bend = least_of_quadratic(g, h, low, high, place);
    if (!view.rational) {
        double rest = 0.5 * square.rest, turn[3] = {};
        for (int j = 0; j <= view.q; ++j)
            for (int i = std::max(0, 3 - j); i <= view.p; ++i) {
                const double size = std::fabs(along(i, j)), twice = 2.0 * size;
                rest += size;
                turn[0] += i * (i - 1) * twice;
                turn[1] += i * j * twice;
                turn[2] += j * (j - 1) * twice;
            }
        view.turn[0] = leaf.turn[0][0] + turn[0] + leaf.ratio * turn[1];
        view.turn[1] = leaf.turn[0][1] + turn[2] + turn[1] / leaf.ratio;
        rest += rounding_of(square, view.b_turn);
        const double wanted = wanted_square();
        if (best_.squared < HUGE_VAL &&
            0.5 * (square.c + view.b_turn - wanted) - along(0, 0) + bend >= rest)
            return left_out(wanted);
    }
    if (!newton(view, number, place[0], place[1])) halve(leaf, view, number);
}

// Returns whether the part is done: it holds nothing nearer than `lower_` or the best place.
bool LeafSearch::newton(const View& view, int number, double x, double y) {
    bool done = false;
    const auto run = [&](auto p, auto q, auto rational) __attribute__((always_inline)) {
        LeafJet jet;
        Model m;
        double before = HUGE_VAL, last_x = x, last_y = y;
        const double over_weight = 2.0 / (view.least_weight * view.least_weight);
        for (int step_count = 0; step_count < most_steps; ++step_count) {
            model_at(view, p, q, rational, x, y, jet, m);
            if (m.squared > before && step_count < most_steps - 1 &&
                std::fabs(x - last_x) + std::fabs(y - last_y) > last_step) { // too long a step
                x = 0.5 * (x + last_x), y = 0.5 * (y + last_y);
                continue;
            }
            before = m.squared;
            const double low[2] = {-1.0 - x, -1.0 - y}, high[2] = {1.0 - x, 1.0 - y};
            double h[3] = {m.h[0], m.h[1], m.h[2]}, step[2];
            const bool definite = h[0] > 0.0 && h[0] * h[2] > h[1] * h[1];
            if (!definite) make_definite(jet, h);
            least_of_convex(m.g, h, low, high, step);
            const double length = std::max(std::fabs(step[0]), std::fabs(step[1]));

            const double by_b = std::fabs(m.squared - view.b_turn);
            const double sure[3] = {m.h[0] - view.turn[0] - by_b * view.turn_by_b[0], m.h[1],
                                    m.h[2] - view.turn[1] - by_b * view.turn_by_b[1]};
            const bool convex = sure[0] > 0.0 && sure[0] * sure[2] > sure[1] * sure[1];
            // While steps are long and the place is the best one, the bound decides nothing.
            if (convex && (length < last_step || m.squared >= best_.squared)) {
                double unused[2];
                const double least = least_of_convex(m.g, sure, low, high, unused);
                const double loss = -least * over_weight;
                if (m.squared * (1.0 - square_roundings) - loss >= best_.squared) {
                    done = true;
                    return;
                }
                // The distance of a place after a short step is within half the certificate of
                // the bound, or both are that small.
                const double distance = std::sqrt(m.squared), half = 0.5 * allowed(distance);
                const auto turn = [&](int k) { return (m.h[k] - sure[k]) / sure[k]; };
                if (length < last_step && (loss <= half * distance || distance <= half) &&
                    length * length * std::max(turn(0), turn(2)) <= last_error) {
                    const LeafPlace place =
                        place_after(view, p, q, rational, jet, x, y, step, number);
                    done = true;
                    if (place.squared <= best_.squared && trim_ != nullptr && !inside(place)) {
                        missed(distance, loss, leaf_->error);
                        return;
                    }
                    offer(place);
                    lower_ = std::min(lower_, m.squared - loss);
                    return;
                }
            } else if (!convex && length < short_step) {
                offer_if_inside(place_after(view, p, q, rational, jet, x, y, step, number));
                return;
            } else if (!convex && m.squared >= best_.squared && step_count == 0) {
                return;
            }
            last_x = x, last_y = y;
            x = std::clamp(x + step[0], -1.0, 1.0);
            y = std::clamp(y + step[1], -1.0, 1.0);
        }
        const double none[2] = {0.0, 0.0};
        offer_if_inside(place_after(view, p, q, rational, jet, last_x, last_y, none, number));
    };
    with_leaf_degrees(view.p, view.q, [&](auto p, auto q) {
        if (view.rational) return run(p, q, std::true_type{});
        run(p, q, std::false_type{});
    });
    return done;
}

void LeafSearch::halve(const SurfaceLeaf& leaf, const View& whole, int number) {
    halved_ = true;
    if (trim_ != nullptr) { // what is left out there isn't off by the leaf's error
        std::swap(lower_, border_lower_);
        trim_->search_border(leaf, *this);
        std::swap(lower_, border_lower_);
    }
    const int p = whole.p, q = whole.q;
    const auto grid = static_cast<std::size_t>(4 * (p + 1) * (q + 1)),
               square = static_cast<std::size_t>((2 * p + 1) * (2 * q + 1));
    // Up to the degree of the polynomials that stand for offsets.
    constexpr std::size_t usual_grid = 4 * 100, usual_square = 19 * 19;
    WorkArray<double, 2 * usual_grid> parts(2 * grid);
    WorkArray<double, 2 * usual_square> squares(2 * square);
    double *const from_query = parts.data(), *const part = from_query + grid;
    double *const points = squares.data(), *const weights = points + square;
    for (std::size_t k = 0; k < grid; k += 4) {
        const double* const r = whole.coefs + k;
        for (std::size_t c = 0; c < 3; ++c)
            from_query[k + c] = r[c] - r[3] * whole.e[c];
        from_query[k + 3] = r[3];
    }

    // |Y|^2 - b w^2 over a part about a place, as `part` and `points`.
    constexpr double by_point[4] = {1, 1, 1, 0}, by_weight[4] = {0, 0, 0, 1};
    const auto expand = [&](const double* middle, const double* half, double b) {
        power_part(from_query, p, q, middle, half, part);
        power_product(part, part, p, q, by_point, points);
        if (whole.rational) {
            power_product(part, part, p, q, by_weight, weights);
            for (std::size_t k = 0; k < square; ++k)
                points[k] -= b * weights[k];
        } else {
            points[0] -= b;
        }
        return QuadraticPart(points, 2 * p, 2 * q);
    };

    struct Square {
        double low[2], high[2];
    };
    // Each halving leaves one part to wait.
    Square waiting[2 * 41];
    int depth = 0;
    waiting[depth++] = {{-1.0, -1.0}, {1.0, 1.0}};
    constexpr double low[2] = {-1.0, -1.0}, high[2] = {1.0, 1.0};
    while (depth > 0) {
        const Square now = waiting[--depth];
        const bool bounded = best_.squared < HUGE_VAL;
        const double distance = std::sqrt(best_.squared);
        if (bounded && distance <= allowed(distance)) return left_out(0.0);
        View view = whole;
        for (int k = 0; k < 2; ++k) {
            view.middle[k] = 0.5 * (now.low[k] + now.high[k]);
            view.half[k] = 0.5 * (now.high[k] - now.low[k]);
        }
        if (trim_ != nullptr && misses_trim(now.low, now.high)) continue;
        double b = bounded ? wanted_square() : whole.b_turn;
        const QuadraticPart m = expand(view.middle, view.half, b);
        double place[2];
        double least = lower_bound_of(m, low, high, place) - rounding_of(m, b);
        if (bounded && least >= 0.0) {
            left_out(b);
            continue;
        }
        if (trim_ != nullptr) {
            const double below = -least / (leaf.least_weight * leaf.least_weight);
            if ((bounded || !whole.rational) &&
                runs_down(points, whole.rational ? weights : nullptr, 2 * p, 2 * q,
                          std::min(below, b)))
                continue;
        }
        // By the tangents of the point: beside a row of poles in one point those of Y don't vanish.
        const auto extent = [&](const double* x) {
            const double weight = whole.rational ? x[3] / part[3] : 0.0;
            double sum = 1e-300;
            for (int c = 0; c < 3; ++c)
                sum += std::fabs(x[c] - weight * part[c]);
            return sum;
        };
        const double along = extent(part + 4), across = extent(part + 4 * (p + 1));
        const double ratio = along / across;
        view.coefs = part;
        std::fill_n(view.e, 3, 0.0);
        view.turn[0] = 0.5 * (m.turn[0] + ratio * m.turn[1]);
        view.turn[1] = 0.5 * (m.turn[2] + m.turn[1] / ratio);
        view.turn_by_b[0] = view.turn_by_b[1] = 0.0;
        if (whole.rational) {
            const QuadraticPart w(weights, 2 * p, 2 * q);
            view.turn_by_b[0] = 0.5 * (w.turn[0] + ratio * w.turn[1]);
            view.turn_by_b[1] = 0.5 * (w.turn[2] + w.turn[1] / ratio);
        }
        view.b_turn = b;
        if (newton(view, number, place[0], place[1])) continue;

        // About the place itself, where linear terms vanish: this proves a whole line of minima.
        Square about = {};
        double middle[2], half[2];
        for (int k = 0; k < 2; ++k) {
            middle[k] = view.middle[k] + view.half[k] * place[k];
            half[k] = std::max(now.high[k] - middle[k], middle[k] - now.low[k]);
            about.low[k] = (now.low[k] - middle[k]) / half[k];
            about.high[k] = (now.high[k] - middle[k]) / half[k];
        }
        if (best_.squared < HUGE_VAL) b = wanted_square();
        const QuadraticPart there = expand(middle, half, b);
        least = lower_bound_of(there, about.low, about.high, place) - rounding_of(there, b);
        if (best_.squared < HUGE_VAL && least >= 0.0) {
            left_out(b);
            continue;
        }
        if (std::max(view.half[0], view.half[1]) <= smallest_part || --budget_ < 0) {
            left_out(std::max(0.0, b + least / (leaf.least_weight * leaf.least_weight)));
            continue;
        }
        const int longer = along >= across ? 0 : 1;
        const int k = view.half[longer] > smallest_part ? longer : 1 - longer;
        Square first = now, second = now;
        first.high[k] = second.low[k] = view.middle[k];
        const bool near_first = middle[k] < view.middle[k];
        waiting[depth++] = near_first ? second : first;
        waiting[depth++] = near_first ? first : second;
    }
}

} // namespace velm::detail
