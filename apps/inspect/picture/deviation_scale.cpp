#include "inspect/picture/deviation_scale.h"

#include "inspect/base/number_text.h"
#include "inspect/picture/palette.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <initializer_list>

namespace velm::inspect {
namespace {

double step_below(double value, std::initializer_list<double> steps) {
    if (!(value > 0.0) || !std::isfinite(value)) return 1.0;
    const double exponent = std::floor(std::log10(value));
    // A tenth is no double, ten is one: 3 / 10 is 0.3, 3 * 0.1 isn't.
    const double up = std::pow(10.0, exponent), down = std::pow(10.0, -exponent);
    const auto times_power = [&](double step) {
        return exponent < 0.0 && std::isfinite(down) ? step / down : step * up;
    };
    for (const double step : steps)
        if (times_power(step) <= value * (1.0 + 1e-12)) return times_power(step);
    return times_power(1.0);
}

} // namespace

DeviationScale::DeviationScale(const std::optional<Tolerance>& tolerance, double range)
    : lower_(tolerance ? tolerance->lower : -round_step_above(range)),
      upper_(tolerance ? tolerance->upper : round_step_above(range)) {}

int DeviationScale::class_of(double deviation) const {
    if (deviation < lower_) return below;
    if (deviation > upper_) return above;
    if (!(upper_ > lower_)) return classes / 2;
    const double part = (deviation - lower_) / (upper_ - lower_);
    return 1 + std::clamp(static_cast<int>(part * (classes - 2)), 0, classes - 3);
}

int DeviationScale::class_of(const Judged& point) const {
    const int by_value = class_of(point.deviation);
    if (point.in_tolerance == true) return std::clamp(by_value, below + 1, above - 1);
    if (point.in_tolerance == false) {
        if (by_value == below || by_value == above) return by_value;
        const double middle =
            point.limits ? point.limits->middle() : lower_ + (upper_ - lower_) / 2;
        return point.deviation < middle && !point.is_distance ? below : above;
    }
    return by_value;
}

double DeviationScale::class_start(int number) const {
    return lower_ + (upper_ - lower_) * (number - 1) / (classes - 2);
}

std::string_view DeviationScale::color(int number) {
    static_assert(palette::deviations.size() == classes);
    return palette::deviations[static_cast<std::size_t>(std::clamp(number, 0, classes - 1))];
}

std::string signed_text(double value, int decimals) {
    const std::string text = fixed(value, decimals);
    if (text.front() == '-') return text;
    return text.find_first_of("123456789") == std::string::npos ? text : "+" + text;
}

DeviationUnit::DeviationUnit(double largest, std::optional<int> decimals) {
    if (decimals) {
        decimals_ = *decimals;
        return;
    }
    constexpr double plain_from = 1e-4, plain_below = 1e5;
    if (largest > 0.0 && (largest < plain_from || largest >= plain_below))
        exponent_ = 3 * static_cast<int>(std::floor(std::log10(largest) / 3.0));
    exponent_ = std::clamp(exponent_, -300, 300);
    factor_ = std::pow(10.0, -exponent_);
    decimals_ = decimals_for(largest * factor_, 3);
}

std::string DeviationUnit::text(double deviation, int more_decimals) const {
    return signed_text(scaled(deviation), decimals_ + more_decimals);
}

std::string DeviationUnit::whole_text(double deviation, int more_decimals) const {
    if (exponent_ == 0) return text(deviation, more_decimals);
    return text(deviation, more_decimals) + (exponent_ < 0 ? "e-" : "e") +
           std::to_string(std::abs(exponent_));
}

std::string DeviationUnit::heading(std::string_view title) const {
    std::string out(title);
    if (exponent_ == 0) return out;
    static constexpr std::array<std::string_view, 10> raised{"\u2070", "\u00b9", "\u00b2", "\u00b3",
                                                             "\u2074", "\u2075", "\u2076", "\u2077",
                                                             "\u2078", "\u2079"};
    out += exponent_ < 0 ? " (10\u207b" : " (10";
    for (const char digit : std::to_string(std::abs(exponent_)))
        out += raised[static_cast<std::size_t>(digit - '0')];
    return out + ")";
}

double round_step_below(double value) { return step_below(value, {5.0, 2.0}); }

double round_step_above(double value) {
    const double below = round_step_below(value);
    if (value <= below * (1.0 + 1e-12)) return below;
    return round_step_below(below * 2.5 * (1.0 + 1e-12));
}

double fine_step_below(double value) {
    return step_below(value, {8.0, 6.0, 5.0, 4.0, 3.0, 2.5, 2.0, 1.5, 1.2});
}

} // namespace velm::inspect
