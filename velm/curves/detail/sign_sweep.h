// velm::detail::SignSweep: the zeros of a function given piece by piece in the Bernstein basis,
// each once, from the signs that it certainly has.
#pragma once

#include "velm/curves/detail/bernstein_signs.h"
#include "velm/curves/detail/prepared_pieces.h"

#include <optional>

namespace velm::detail {

struct SweepPlace {
    int piece = 0;
    double u = 0.0;
};

/// A stretch where the sign is uncertain, or the joint where it jumps, between stretches of certain
/// sign.
struct SignZone {
    SweepPlace from, to;
    SweepPlace at;  ///< the best place for the zero
    int before = 0; ///< the certain signs around it; 0 beyond an end
    int after = 0;
    bool flat = false; ///< the function is uncertain on a whole piece
    int parts = 1;     ///< stretches that were joined; 0 for a jump
};

/// Joins what is known about the signs from piece to piece and emits the zones in order.
class ZoneMerger {
public:
    explicit ZoneMerger(bool loop) : loop_(loop) {}

    void certain(int sign, SweepPlace from);
    void uncertain(SweepPlace from, SweepPlace to, SweepPlace at, bool flat = false);
    /// The function ends here, and the next piece begins another.
    void end_run();
    /// The last call: the function ends, or a loop goes on at the start.
    void finish();

    /// The zone that the last call has completed, if any: at most one after each call of certain,
    /// two after the others.
    std::optional<SignZone> take();

private:
    void complete(const SignZone& zone);
    void close_loop();

    bool loop_;
    int sign_ = 0;
    int first_sign_ = 0;
    bool first_run_ = true;
    std::optional<SignZone> open_;
    std::optional<SignZone> start_; ///< the zone at the very start, held back for the seam
    SignZone ready_[2];
    int ready_count_ = 0;
};

/// Sweeps a function over the pieces of a curve. `emit(zone)` is called for each zone in order,
/// except that on a loop one that holds the seam comes last.
template <class Emit>
class SignSweep {
public:
    SignSweep(bool loop, Emit emit) : emit_(emit), merger_(loop) {}

    /// The function on the piece, `count` coefficients known to within `error`; they are destroyed.
    void piece(int piece, double* c, int count, double error);
    /// The function certainly has one sign on the piece and some that follow.
    void certain(int piece, int sign) {
        merger_.certain(sign, {piece, 0.0});
        drain();
    }
    void gap() {
        merger_.end_run();
        drain();
    }
    void finish() {
        merger_.finish();
        drain();
    }

private:
    void drain() {
        while (const std::optional<SignZone> zone = merger_.take())
            emit_(*zone);
    }
    void interval(int piece, const double* c, int count, double error, double low, double high,
                  const CoefficientSigns& signs);

    Emit emit_;
    ZoneMerger merger_;
};

/// A polynomial on a part of [0, 1] that halving has come to.
struct SweepPart {
    double low, high;
    double* coefficients;
};

/// Intervals are halved down to this length.
inline constexpr double shortest_part = 0x1p-50;
inline constexpr int deepest_part = 52;

template <class Emit>
void SignSweep<Emit>::piece(int piece, double* c, int count, double error) {
    double room[deepest_part * max_foot_count];
    SweepPart waiting[deepest_part];
    int depth = 0;
    waiting[0] = {0.0, 1.0, c};
    while (depth >= 0) {
        SweepPart& part = waiting[depth];
        const CoefficientSigns signs(part.coefficients, count, error);
        const bool one_sign =
            signs.certain == count && (signs.none_negative() || signs.none_positive());
        const bool decided = one_sign || signs.certain == 0 ||
                             signs.least_slope(count, 2.0 * error) > 0.0 ||
                             part.high - part.low <= shortest_part;
        if (decided) {
            interval(piece, part.coefficients, count, error, part.low, part.high, signs);
            --depth;
            continue;
        }
        const double middle = 0.5 * (part.low + part.high);
        double* left = room + depth * max_foot_count;
        halve_coefficients(part.coefficients, count, left);
        waiting[depth + 1] = {part.low, middle, left};
        part.low = middle;
        ++depth;
    }
}

template <class Emit>
void SignSweep<Emit>::interval(int piece, const double* c, int count, double error, double low,
                               double high, const CoefficientSigns& signs) {
    const auto place = [&](double x) {
        return SweepPlace{piece, x <= 0.0 ? low : x >= 1.0 ? high : low + x * (high - low)};
    };
    const int first = signs.first_sign(), last = signs.last_sign(count);
    const bool one_sign =
        signs.certain == count && (signs.none_negative() || signs.none_positive());
    const double slope = signs.least_slope(count, error);
    if (one_sign) {
        merger_.certain(first, place(0.0));
    } else if (signs.certain == 0 || slope == 0.0) {
        merger_.uncertain(place(0.0), place(1.0), place(0.5), low == 0.0 && high == 1.0);
    } else {
        // It rises or falls throughout: uncertain only around one place.
        PolishedZero zero{0.0, std::fabs(c[0])};
        if ((c[0] < 0.0) != (c[count - 1] < 0.0))
            zero = polished_zero(c, count);
        else if (std::fabs(c[count - 1]) < std::fabs(c[0]))
            zero = {1.0, std::fabs(c[count - 1])};
        const double reach = (error + zero.residual) / slope;
        if (first != 0) {
            merger_.certain(first, place(0.0));
            drain();
        }
        merger_.uncertain(place(first == 0 ? 0.0 : zero.x - reach),
                          place(last == 0 ? 1.0 : zero.x + reach), place(zero.x));
        if (last != 0) {
            drain();
            merger_.certain(last, place(zero.x + reach));
        }
    }
    drain();
}

} // namespace velm::detail
