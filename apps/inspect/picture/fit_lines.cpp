#include "inspect/picture/fit_lines.h"

#include "inspect/base/number_text.h"

#include <utility>

namespace velm::inspect {

namespace {

std::string value_text(const Characteristic& one, int decimals) {
    const Tolerance& limits = one.limits;
    return fixed(one.value, decimals) +
           (one.in_tolerance ? ", in tolerance" : ", OUT of tolerance") + ": " +
           shortest(limits.lower) + " to " + shortest(limits.upper);
}

} // namespace

int fit_decimals(const FitResult& result) { return shown_decimals(result, result.summary); }

ReportHead fit_head(const FitResult& result) {
    ReportHead head;
    head.title = result.kind == FitKind::plane  ? "Flatness of a plane"
                 : result.kind == FitKind::line ? "Straightness of a line"
                                                : "Roundness of a circle";
    head.subtitle =
        "least-squares " + std::string(kind_name(result.kind)) + " of " + result.measured;
    head.lines = head_lines(result, result.summary);
    std::string good, bad;
    for (const auto* const one : {&result.form, &result.size, &result.position}) {
        if (!*one) continue;
        std::string& list = (*one)->in_tolerance ? good : bad;
        list += (list.empty() ? "" : ", ") + (*one)->name;
        head.lines.emplace_back((*one)->name, value_text(**one, fit_decimals(result)));
    }
    const Verdict of_points = verdict_of(result.summary);
    if (good.empty() && bad.empty()) {
        head.verdict = of_points;
        return head;
    }
    const bool is_bad = !result.is_in_tolerance();
    std::string sentence = bad.empty() ? good + " in tolerance" : bad + " out of tolerance";
    if (!bad.empty() && !good.empty()) sentence += "; " + good + " in tolerance";
    if (of_points.kind != Verdict::none) sentence += "; " + of_points.sentence;
    head.verdict = {is_bad ? Verdict::bad : Verdict::good, capitalised(sentence)};
    return head;
}

std::vector<FigureLine> fit_figures(const FitResult& result) {
    const int decimals = fit_decimals(result);
    std::vector<FigureLine> lines;
    for (const auto& [name, value] : entity_lines(result, decimals))
        lines.push_back({name, value, ""});
    for (FigureLine& line : figure_lines(result.summary, decimals, {}, "residual"))
        lines.push_back(std::move(line));
    return lines;
}

HeadLines entity_lines(const FitResult& result, int decimals) {
    const auto listed = [&](const auto& t, int digits, bool in_space) {
        std::string out = fixed(t[0], digits) + ", " + fixed(t[1], digits);
        return in_space ? out + ", " + fixed(t[2], digits) : out;
    };
    constexpr int direction_digits = 9;
    HeadLines lines;
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
