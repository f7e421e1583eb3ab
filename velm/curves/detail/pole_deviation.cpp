#include "velm/curves/detail/pole_deviation.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace velm::detail {

double pole_deviation(ConstPoleRow p, ConstPoleRow q, int size, int terms) {
    const bool rational = p.width > size;
    double middle[3] = {};
    double least_weight = rational ? std::numeric_limits<double>::infinity() : 1.0;
    for (int i = 0; i < p.count && rational; ++i) {
        least_weight = std::min({least_weight, p[i][size], q[i][size]});
        for (int c = 0; c < size; ++c)
            middle[c] += p[i][c] / p[i][size] / p.count;
    }
    if (!(least_weight > 0.0)) return std::numeric_limits<double>::infinity();
    // With A and B the numerators about the middle: A/w - B/v = ((A - B) - (w - v) B/v) / w.
    double apart = 0.0;
    double weights_apart = 0.0;
    double reach = 0.0;
    double greatest = 0.0;
    for (int i = 0; i < p.count; ++i) {
        const double weight_change = rational ? p[i][size] - q[i][size] : 0.0;
        double square = 0.0;
        double reach_square = 0.0;
        for (int c = 0; c < size; ++c) {
            const double change = p[i][c] - q[i][c] - middle[c] * weight_change;
            square += change * change;
            const double out = rational ? q[i][c] / q[i][size] - middle[c] : 0.0;
            reach_square += out * out;
            greatest = std::max({greatest, std::fabs(p[i][c]), std::fabs(q[i][c])});
        }
        apart = std::max(apart, std::sqrt(square));
        weights_apart = std::max(weights_apart, std::fabs(weight_change));
        reach = std::max(reach, std::sqrt(reach_square));
    }
    const double rounding = 4.0 * terms * std::numeric_limits<double>::epsilon() * greatest;
    return (apart + weights_apart * reach + rounding) / least_weight;
}

} // namespace velm::detail
