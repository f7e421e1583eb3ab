#include "inspect/picture/report_head.h"

#include "inspect/base/number_text.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <numbers>

namespace velm::inspect {
namespace {

std::string points_text(std::uint64_t count) {
    return grouped(count, ",") + (count == 1 ? " point" : " points");
}

std::string listed(const std::vector<std::string>& texts) {
    std::string out;
    for (const std::string& text : texts)
        out += (out.empty() ? "" : ", ") + text;
    return out;
}

std::string limits_text(const Summary& summary) {
    if (!summary.tolerance) return "of each point";
    return shortest(summary.tolerance->lower) + " to " + shortest(summary.tolerance->upper) +
           (summary.has_row_limits ? ", or of the point" : "");
}

} // namespace

Verdict verdict_of(const Summary& summary) {
    const std::uint64_t unassigned = summary.unassigned;
    const std::string aside =
        unassigned == 0 ? "" : "; " + grouped(unassigned, ",") + " not assigned";
    const std::uint64_t count = summary.count() - unassigned;
    if (!summary.is_judged())
        return {Verdict::none, points_text(count) + ", no tolerance given" + aside};
    if (summary.out_of_tolerance > 0)
        return {Verdict::bad, grouped(summary.out_of_tolerance, ",") + " of " + points_text(count) +
                                  " out of tolerance" + aside};
    return {Verdict::good,
            (count == 1 ? "The point is" : "All " + points_text(count)) + " in tolerance" + aside};
}

HeadLines head_lines(const InspectionHead& head, const Summary& summary) {
    HeadLines lines;
    for (const NamedText& said : head.info)
        lines.emplace_back(said.name, said.text);
    if (head.unit) lines.emplace_back("unit", *head.unit);
    if (!head.ignored_columns.empty())
        lines.emplace_back("columns not understood", listed(head.ignored_columns));
    if (!head.read_as.empty()) {
        std::vector<std::string> columns;
        for (const NamedText& column : head.read_as)
            columns.push_back(column.name + " = " + column.text);
        lines.emplace_back("read as", listed(columns));
    }
    if (summary.unassigned > 0)
        lines.emplace_back("not assigned", points_text(summary.unassigned) +
                                               " to which no place belongs by direction");
    return lines;
}

HeadLines alignment_lines(const AppliedAlignment& alignment, int decimals) {
    constexpr int of_turns = 6; // decimals of degrees, and of a direction
    const auto numbers = [](std::initializer_list<double> values, int digits) {
        std::string out;
        for (const double value : values)
            out += (out.empty() ? "" : ", ") + fixed(value, digits);
        return out;
    };
    const ERPoint3D& t = alignment.translation;
    const ERVector3D axis = alignment.axis();
    std::string turn = fixed(alignment.angle() * 180.0 / std::numbers::pi, of_turns) + " degrees";
    if (!alignment.in_plane)
        turn += " about (" + numbers({axis.i(), axis.j(), axis.k()}, of_turns) + ")";
    const bool by_references = alignment.method == AlignmentMethod::references;
    HeadLines lines{{by_references ? "aligned by reference points" : "aligned by best fit",
                     grouped(static_cast<std::uint64_t>(alignment.iterations), ",") +
                         (alignment.iterations == 1 ? " iteration" : " iterations")},
                    {"turned by", turn},
                    {"moved at the origin by", alignment.in_plane
                                                   ? numbers({t.x(), t.y()}, decimals)
                                                   : numbers({t.x(), t.y(), t.z()}, decimals)}};
    for (const auto& [when, spread] :
         {std::pair("before", alignment.before), std::pair("after", alignment.after)})
        lines.emplace_back(std::string("least, greatest, root mean square ") + when,
                           numbers({spread.minimum, spread.maximum, spread.rms}, decimals));
    for (const std::string& freedom : alignment.held)
        lines.emplace_back("held", freedom);
    return lines;
}

int shown_decimals(const InspectionHead& head, const Summary& summary) {
    constexpr int of_millimetres = 3, usual = 4, least_digits = 3;
    if (head.decimals) return *head.decimals;
    if (head.unit) return of_millimetres;
    double largest = 0.0;
    for (const RunningStatistics* const some : {&summary.signed_deviations, &summary.distances})
        if (some->count() > 0)
            largest = std::max({largest, std::fabs(some->minimum()), std::fabs(some->maximum())});
    if (summary.tolerance)
        largest = std::max(
            {largest, std::fabs(summary.tolerance->lower), std::fabs(summary.tolerance->upper)});
    return largest > 0.0 ? std::max(usual, decimals_for(largest, least_digits)) : usual;
}

std::vector<FigureLine>
figure_lines(const Summary& summary, int decimals,
             const std::vector<std::pair<std::string, std::uint64_t>>& counts,
             const std::string& value_name) {
    std::vector<FigureLine> lines{{"points", grouped(summary.count(), ","), ""}};
    const auto add_part = [&](const std::string& name, std::uint64_t part) {
        lines.push_back({name, grouped(part, ","), percent_text(part, summary.count())});
    };
    if (summary.is_judged()) {
        lines.push_back({"tolerance", limits_text(summary), ""});
        add_part("in tolerance", summary.in_tolerance);
        add_part("out of tolerance", summary.out_of_tolerance);
    }
    if (summary.may_be_unassigned) add_part("not assigned", summary.unassigned);
    for (const auto& [name, count] : counts)
        add_part(name, count);
    const auto add_statistics = [&](const RunningStatistics& values, const std::string& kind,
                                    bool is_second) {
        const auto add = [&](const std::string& name, double value) {
            lines.push_back({name, fixed(value, decimals), ""});
        };
        const std::string whose = is_second ? "their " : "";
        add("least " + kind, values.minimum());
        add("greatest " + kind, values.maximum());
        add(is_second ? "mean " + kind : "mean", values.mean());
        add(whose + "standard deviation", values.standard_deviation());
        add(whose + "root mean square", values.rms());
    };
    if (summary.signed_deviations.count() > 0)
        add_statistics(summary.signed_deviations, value_name, false);
    if (summary.distances.count() > 0) {
        if (summary.is_mixed()) add_part("points without a normal", summary.distances.count());
        add_statistics(summary.distances, "distance", summary.is_mixed());
    }
    lines.push_back({"worst", fixed(summary.worst_deviation, decimals), "id " + summary.worst_id});
    return lines;
}

std::string capitalised(std::string text) {
    if (!text.empty() && text[0] >= 'a' && text[0] <= 'z')
        text[0] = static_cast<char>(text[0] - 'a' + 'A');
    return text;
}

} // namespace velm::inspect
