#include "inspect/report/fit_lines.h"

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

HeadLines entity_lines(const FitHead& head, const Summary& summary, int decimals) {
    const FittedEntity& entity = head.entity;
    const auto listed = [&](const auto& t, int digits, bool in_space) {
        std::string out = fixed(t[0], digits) + ", " + fixed(t[1], digits);
        return in_space ? out + ", " + fixed(t[2], digits) : out;
    };
    constexpr int direction_digits = 9;
    HeadLines lines;
    lines.emplace_back(entity.kind == FitKind::circle ? "centre" : "point",
                       listed(entity.point, decimals, entity.in_space));
    if (entity.kind == FitKind::line)
        lines.emplace_back("direction", listed(entity.axis, direction_digits, entity.in_space));
    else if (entity.in_space)
        lines.emplace_back("normal", listed(entity.axis, direction_digits, true));
    if (entity.kind == FitKind::circle) {
        lines.emplace_back("radius", fixed(entity.radius, decimals));
        lines.emplace_back("diameter", fixed(2.0 * entity.radius, decimals));
    }
    if (head.ball) {
        const BallSide side = head.ball->side;
        lines.emplace_back("ball", shortest(head.ball->diameter) +
                                       (side == BallSide::inside    ? ", inside"
                                        : side == BallSide::outside ? ", outside"
                                                                    : ", at its centres"));
    }
    lines.emplace_back(form_name(entity.kind), fixed(head.peak_to_valley(summary), decimals));
    return lines;
}

} // namespace

ReportHead fit_head(const FitHead& head, const Summary& summary, int decimals) {
    ReportHead shown;
    const FitKind kind = head.entity.kind;
    shown.title = kind == FitKind::plane  ? "Flatness of a plane"
                  : kind == FitKind::line ? "Straightness of a line"
                                          : "Roundness of a circle";
    shown.subtitle = "least-squares " +
                     std::string(choice_names(kind)[static_cast<std::size_t>(kind)]) + " of " +
                     head.measured;
    shown.lines = head_lines(head, summary);
    std::string good, bad;
    for (const Characteristic* const one : head.characteristics()) {
        if (one == nullptr) continue;
        std::string& list = one->in_tolerance ? good : bad;
        list += (list.empty() ? "" : ", ") + one->name;
        shown.lines.emplace_back(one->name, value_text(*one, decimals));
    }
    const Verdict of_points = verdict_of(summary);
    if (good.empty() && bad.empty()) {
        shown.verdict = of_points;
        return shown;
    }
    std::string sentence = bad.empty() ? good + " in tolerance" : bad + " out of tolerance";
    if (!bad.empty() && !good.empty()) sentence += "; " + good + " in tolerance";
    if (of_points.kind != Verdict::none) sentence += "; " + of_points.sentence;
    const bool is_bad = !bad.empty() || summary.out_of_tolerance > 0;
    shown.verdict = {is_bad ? Verdict::bad : Verdict::good, capitalised(sentence)};
    return shown;
}

std::vector<FigureLine> fit_figures(const FitHead& head, const Summary& summary, int decimals) {
    std::vector<FigureLine> lines;
    for (const auto& [name, value] : entity_lines(head, summary, decimals))
        lines.push_back({name, value, ""});
    for (FigureLine& line : figure_lines(summary, decimals, {}, "residual"))
        lines.push_back(std::move(line));
    return lines;
}

} // namespace velm::inspect
