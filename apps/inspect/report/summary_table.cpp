#include "inspect/report/summary_table.h"

#include "inspect/base/number_text.h"
#include "inspect/base/table.h"
#include "inspect/base/text_escape.h"

#include <algorithm>
#include <cmath>

namespace velm::inspect {

int table_decimals(const Summary& summary) {
    constexpr int significant_digits = 5;
    const RunningStatistics& deviations = summary.deviations;
    double scale = std::max(std::fabs(deviations.minimum()), std::fabs(deviations.maximum()));
    if (summary.tolerance)
        scale = std::max(
            {std::fabs(summary.tolerance->lower), std::fabs(summary.tolerance->upper), scale});
    return decimals_for(scale, significant_digits);
}

std::string summary_text(const Summary& summary, std::size_t worst, const std::string& title,
                         const std::vector<std::pair<std::string, std::uint64_t>>& counts) {
    const RunningStatistics& deviations = summary.deviations;
    const int decimals = table_decimals(summary);
    const auto number = [&](double value) { return fixed(value, decimals); };
    std::string out;
    if (worst > 0)
        out = "(the " + std::to_string(worst) + " worst of " + grouped(deviations.count(), ",") +
              " points)\n";

    Table table({{"", false}, {""}, {"", false}});
    table.add({"points", grouped(deviations.count(), ",")});
    if (summary.tolerance) {
        table.add({"tolerance", shortest(summary.tolerance->lower) + " to " +
                                    shortest(summary.tolerance->upper)});
        table.add({"in tolerance", grouped(summary.in_tolerance, ","),
                   percent_text(summary.in_tolerance, deviations.count())});
        table.add({"out of tolerance", grouped(summary.out_of_tolerance, ","),
                   percent_text(summary.out_of_tolerance, deviations.count())});
    }
    for (const auto& [name, count] : counts)
        table.add({name, grouped(count, ","), percent_text(count, deviations.count())});
    table.add({"least deviation", number(deviations.minimum())});
    table.add({"greatest deviation", number(deviations.maximum())});
    table.add({"mean", number(deviations.mean())});
    table.add({"standard deviation", number(deviations.standard_deviation())});
    table.add({"root mean square", number(deviations.rms())});
    table.add({"worst", number(summary.worst_deviation), "id " + summary.worst_id});
    return out + "\n" + terminal_text(title) + "\n" + table.text();
}

} // namespace velm::inspect
