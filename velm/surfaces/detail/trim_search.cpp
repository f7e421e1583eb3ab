#include "velm/surfaces/detail/trim_search.h"

#include "velm/numerics/detail/triples.h"

#include <algorithm>
#include <cmath>

namespace velm::detail {
namespace {

constexpr int most_terms = 2 * series_degree + 1;
constexpr int most_steps = 30;
// A step this short, of half the piece, is followed by a last one: Newton's method squares it.
constexpr double last_step = 1e-7;
// Steps this short end the search for a place that no bound confirms.
constexpr double short_step = 1e-10;
// Halves this small are taken as they are: what is uncertain there is reported.
constexpr double smallest_part = 0x1p-40;
// Roundings of the coefficients, of the squares that they are made of.
constexpr double roundings = 0x1p-50;

// The squared distance over low <= tau <= high, by x in [-1, 1].
struct Part {
    double c[most_terms];
    double low, high;
};

// The coefficients about half of [-1, 1].
void to_half(const Part& whole, int terms, bool upper, Part& half) {
    half = whole;
    const double middle = 0.5 * (whole.low + whole.high);
    (upper ? half.low : half.high) = middle;
    double factor = 1.0;
    for (int k = 0; k < terms; ++k, factor *= 0.5)
        half.c[k] *= factor;
    for (int k = 0; k < terms; ++k) // x + 1, or x - 1, for x
        for (int i = terms - 2; i >= k; --i)
            half.c[i] += upper ? half.c[i + 1] : -half.c[i + 1];
}

class PieceSearch {
public:
    PieceSearch(const LiftedPiece& piece, int number, const PreparedFace& face,
                const FaceRegion& region, LeafSearch& search)
        : piece_(piece), face_(face), region_(region), crossed_(piece.in_trim == InTrim::crossing),
          search_(search), number_(number), terms_(2 * std::max(piece.degree, 1) + 1) {
        for (int c = 0; c < 3; ++c)
            e_[c] = search.query()[c] - piece.centre[c];
    }

    void run() {
        Part waiting[42];
        int depth = 0;
        Part& first = waiting[depth++];
        set(first);
        while (depth > 0) {
            const Part now = waiting[--depth];
            double x = 0.0;
            const double least = lower_bound(now, x);
            const double wanted = search_.wanted_square();
            if (search_.best().squared < HUGE_VAL && least >= wanted) {
                left_out(wanted);
                continue;
            }
            if (newton(now, x) || (crossed_ && has_none(now))) continue;
            if (now.high - now.low <= 2.0 * smallest_part || !search_.halving()) {
                left_out(least);
                continue;
            }
            const bool upper = x >= 0.0; // the half that comes first
            to_half(now, terms_, !upper, waiting[depth++]);
            to_half(now, terms_, upper, waiting[depth++]);
        }
    }

private:
    void set(Part& part) {
        part.low = -1.0, part.high = 1.0;
        const double square = dot3(e_, e_);
        double extent = 0.0;
        part.c[0] = square;
        for (int k = 1; k < terms_; ++k) {
            part.c[k] = piece_.square[k];
            extent += std::fabs(piece_.square[k]);
            if (k <= piece_.degree) part.c[k] -= 2.0 * dot3(e_, piece_.coefs[k]);
        }
        slack_ = roundings * (square + extent);
    }

    // The curve is off the polynomial by the remainder.
    void left_out(double squared) {
        const double distance = std::sqrt(std::max(squared, 0.0)) - piece_.remainder;
        search_.left_out(distance > 0.0 ? distance * distance : 0.0);
    }

    double lower_bound(const Part& part, double& x) const {
        const double slope = part.c[1], bend = terms_ > 2 ? part.c[2] : 0.0;
        double rest = slack_;
        for (int k = 3; k < terms_; ++k)
            rest += std::fabs(part.c[k]);
        const double free = bend > 0.0 ? -0.5 * slope / bend : 2.0;
        x = std::fabs(free) <= 1.0 ? free : slope > 0.0 ? -1.0 : 1.0;
        return part.c[0] + x * (slope + x * bend) - rest;
    }

    // Whether no place of a part counts, except the ends of the piece: all are outside, or none is
    // a minimum.
    bool has_none(const Part& part) {
        double slope = std::fabs(part.c[1]);
        for (int k = 2; k < terms_; ++k)
            slope -= k * std::fabs(part.c[k]);
        if (!(slope > 0.0)) {
            const ERPoint2D middle = piece_.parameter(face_, 0.5 * (part.low + part.high));
            const double half = 0.5 * (part.high - part.low);
            double u[2], v[2];
            for (int k = 0; k < 2; ++k) {
                const double side = k == 0 ? -half : half;
                u[k] = middle.x() + side * piece_.speed[0];
                v[k] = middle.y() + side * piece_.speed[1];
            }
            if (region_.place(u, v, piece_.loop) != InTrim::outside) return false;
        }
        if (part.low == -1.0) offer(-1.0);
        if (part.high == 1.0) offer(1.0);
        return true;
    }

    // Returns whether the part is done: it holds nothing nearer than the best place or the bound.
    bool newton(const Part& part, double x) {
        const double middle = 0.5 * (part.low + part.high), half = 0.5 * (part.high - part.low);
        double turn = 0.0;
        for (int k = 3; k < terms_; ++k)
            turn += k * (k - 1) * std::fabs(part.c[k]);
        for (int count = 0; count < most_steps; ++count) {
            double jet[3][3], y[3];
            piece_.jet(middle + half * x, 2, jet);
            for (int c = 0; c < 3; ++c)
                y[c] = jet[0][c] - e_[c];
            const double squared = dot3(y, y), slope = dot3(y, jet[1]) * half,
                         bend = (dot3(jet[1], jet[1]) + dot3(y, jet[2])) * half * half;
            const double wanted_step = bend > 0.0 ? -slope / bend : slope > 0.0 ? -2.0 : 2.0;
            const double step = std::clamp(wanted_step, -1.0 - x, 1.0 - x);
            const double sure = bend - turn;
            if (sure > 0.0) {
                const double s = std::clamp(-slope / sure, -1.0 - x, 1.0 - x);
                const double loss = -s * (2.0 * slope + s * sure);
                if (squared * (1.0 - roundings) - loss >= search_.best().squared) return true;
                const double distance = std::sqrt(squared),
                             enough = 0.5 * search_.allowed(distance);
                if (std::fabs(step) < last_step &&
                    (loss <= enough * distance || distance <= enough)) {
                    if (offer(middle + half * (x + step)))
                        left_out(squared - loss);
                    else
                        search_.missed(distance, loss, piece_.remainder);
                    return true;
                }
            } else if (std::fabs(step) < short_step ||
                       (count == 0 && squared >= search_.best().squared)) {
                offer(middle + half * x);
                return false;
            }
            x += step;
        }
        offer(middle + half * x);
        return false;
    }

    // Returns false for a place that doesn't count.
    bool offer(double tau) {
        constexpr double inside = 1.0 - 0x1p-47;
        LeafPlace place;
        place.leaf = number_;
        place.s = tau > inside ? 1.0 : tau < -inside ? -1.0 : tau;
        double at[1][3];
        piece_.jet(place.s, 0, at);
        for (int c = 0; c < 3; ++c)
            place.from_query[c] = at[0][c] - e_[c];
        place.squared = dot3(place.from_query, place.from_query);
        if (crossed_ && place.squared <= search_.best().squared) {
            // Loops that run together are edges of each other: only the tolerance shows that.
            if (face_.place(piece_.parameter(face_, place.s)) == FacePlace::outside) return false;
        }
        search_.offer(place);
        return true;
    }

    const LiftedPiece& piece_;
    const PreparedFace& face_;
    const FaceRegion& region_;
    const bool crossed_;
    LeafSearch& search_;
    const int number_, terms_; // at least up to the square, also for a place without extent
    double e_[3];
    double slack_ = 0.0;
};

} // namespace

void search_piece(const LiftedPiece& piece, int number, const PreparedFace& face,
                  const FaceRegion& region, LeafSearch& search) {
    PieceSearch(piece, number, face, region, search).run();
}

} // namespace velm::detail
