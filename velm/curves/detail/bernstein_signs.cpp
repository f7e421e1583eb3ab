#include "velm/curves/detail/bernstein_signs.h"

#include "velm/curves/detail/prepared_pieces.h"

namespace velm::detail {
namespace {

struct ValueAndSlope {
    double value, slope;
};

template <std::size_t size>
ValueAndSlope evaluate(const double* c, double x) {
    constexpr int count = static_cast<int>(size);
    double b[size];
    for (int i = 0; i < count; ++i)
        b[i] = c[i];
    for (int left = count - 1; left > 1; --left) {
        for (int i = 0; i < left; ++i)
            b[i] += x * (b[i + 1] - b[i]);
    }
    const double step = b[1] - b[0];
    return {b[0] + x * step, (count - 1) * step};
}

ValueAndSlope evaluate(const double* c, int count, double x) {
    // The foot polynomials of polynomial and rational cubics and conics.
    switch (count) {
    case 2:
        return evaluate<2>(c, x);
    case 4:
        return evaluate<4>(c, x);
    case 5:
        return evaluate<5>(c, x);
    case 6:
        return evaluate<6>(c, x);
    case 8:
        return evaluate<8>(c, x);
    default:
        break;
    }
    double b[max_foot_count];
    std::copy_n(c, count, b);
    for (int left = count - 1; left > 1; --left) {
        for (int i = 0; i < left; ++i)
            b[i] += x * (b[i + 1] - b[i]);
    }
    const double step = b[1] - b[0];
    return {b[0] + x * step, (count - 1) * step};
}

} // namespace

PolishedZero polished_zero(const double* c, int count) {
    const bool rises = c[0] < 0.0;
    int crossing = 0;
    double largest = std::fabs(c[0]);
    for (int i = count - 1; i > 0; --i) {
        largest = std::max(largest, std::fabs(c[i]));
        if ((c[i] < 0.0) != rises) crossing = i;
    }
    const double a = c[crossing - 1], b = c[crossing];
    double x = (crossing - 1 + a / (a - b)) / (count - 1);
    if (!(x > 0.0 && x < 1.0)) x = 0.5;

    double low = 0.0, high = 1.0, before = 1.0;
    // Below this step the next one is lost in rounding, if it shrinks as a Newton step does.
    constexpr double converged_step = 1e-8;
    constexpr double quadratic_ratio = 1e-2;
    constexpr int most_steps = 100;
    for (int steps = 0; steps < most_steps; ++steps) {
        const ValueAndSlope at = evaluate(c, count, x);
        if (at.value == 0.0) return {x, 0.0};
        ((at.value < 0.0) == rises ? low : high) = x;
        double next = x - at.value / at.slope;
        const bool newton = next > low && next < high;
        if (!newton) next = 0.5 * (low + high);
        const double step = std::fabs(next - x);
        if (step <= half_ulp * x || next == low || next == high) return {x, std::fabs(at.value)};
        x = next;
        if (newton && step <= converged_step && step <= quadratic_ratio * before) {
            // |p''| is at most n (n - 1) 4 times the largest coefficient.
            return {x, 2.0 * (count - 1) * (count - 1) * largest * step * step};
        }
        before = newton ? step : 1.0;
    }
    return {x, std::fabs(evaluate(c, count, x).value)};
}

} // namespace velm::detail
