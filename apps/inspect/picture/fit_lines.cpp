#include "inspect/picture/fit_lines.h"

#include "inspect/base/number_text.h"

#include <algorithm>
#include <cmath>

namespace velm::inspect {

int fit_decimals(const FitResult& result) {
    const RunningStatistics& deviations = result.summary.deviations;
    double scale = std::max(std::fabs(deviations.minimum()), std::fabs(deviations.maximum()));
    if (result.tolerance)
        scale = std::max(
            {std::fabs(result.tolerance->lower), std::fabs(result.tolerance->upper), scale});
    constexpr int most = 12;
    return scale > 0.0 ? std::min(decimals_for(scale, 5), most) : 6;
}

std::vector<std::pair<std::string, std::string>> entity_lines(const FitResult& result,
                                                              int decimals) {
    const auto listed = [&](const auto& t, int digits, bool in_space) {
        std::string out = fixed(t[0], digits) + ", " + fixed(t[1], digits);
        return in_space ? out + ", " + fixed(t[2], digits) : out;
    };
    constexpr int direction_digits = 9;
    std::vector<std::pair<std::string, std::string>> lines;
    lines.emplace_back(result.kind == FitKind::circle ? "centre" : "point",
                       listed(result.point, decimals, result.in_space));
    if (result.kind == FitKind::line) {
        lines.emplace_back("direction", listed(result.axis, direction_digits, result.in_space));
    } else if (result.in_space) {
        lines.emplace_back("normal", listed(result.axis, direction_digits, true));
    }
    if (result.kind == FitKind::circle) {
        lines.emplace_back("radius", fixed(result.radius, decimals));
        lines.emplace_back("diameter", fixed(2.0 * result.radius, decimals));
    }
    if (result.ball > 0.0)
        lines.emplace_back("ball", shortest(result.ball) +
                                       (result.side == BallSide::inside    ? ", inside"
                                        : result.side == BallSide::outside ? ", outside"
                                                                           : ", at its centres"));
    lines.emplace_back(result.form_name(), fixed(result.peak_to_valley, decimals));
    return lines;
}

} // namespace velm::inspect
