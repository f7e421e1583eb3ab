#include "inspect/report/fit_outputs.h"

#include "inspect/base/number_text.h"
#include "inspect/base/table.h"
#include "inspect/base/text_escape.h"
#include "inspect/picture/fit_lines.h"
#include "inspect/picture/fit_picture.h"

namespace velm::inspect {

FitOutputs::FitOutputs(const FitResult& result, const FitPoints& points, const OutputPaths& paths)
    : InspectionOutputs("fit", result.head(), paths), result_(result), points_(points) {}

Figures FitOutputs::figures() const {
    Figures figures = summary().figures();
    figures.peak_to_valley = result_.peak_to_valley;
    return figures;
}

int FitOutputs::decimals() const { return fit_decimals(result_); }

std::string FitOutputs::svg() const { return fit_svg(result_, points_, head().measured); }

std::string FitOutputs::text_below() const {
    const Summary& summary = this->summary();
    const RunningStatistics& deviations = summary.deviations;
    const std::uint64_t count = deviations.count();
    std::string text;
    if (rows().shows_worst())
        text = "(the " + std::to_string(rows().worst().size()) + " worst of " +
               grouped(count, ",") + " points)\n";
    Table table({{"", false}, {"", false}, {"", false}});
    for (const auto& [name, value] : entity_lines(result_, decimals()))
        table.add({name, value});
    table.add({"points", grouped(count, ",")});
    if (summary.tolerance) {
        table.add({"tolerance", shortest(summary.tolerance->lower) + " to " +
                                    shortest(summary.tolerance->upper)});
        table.add({"in tolerance", grouped(summary.in_tolerance, ","),
                   percent_text(summary.in_tolerance, count)});
        table.add({"out of tolerance", grouped(summary.out_of_tolerance, ","),
                   percent_text(summary.out_of_tolerance, count)});
    }
    table.add({"least residual", fixed(deviations.minimum(), decimals())});
    table.add({"greatest residual", fixed(deviations.maximum(), decimals())});
    table.add({"root mean square", fixed(deviations.rms(), decimals())});
    table.add({"worst", fixed(summary.worst_deviation, decimals()), "id " + summary.worst_id});
    return text + "\n" +
           terminal_text("least-squares " + std::string(kind_name(result_.kind)) + " of " +
                         head().measured) +
           "\n" + table.text();
}

} // namespace velm::inspect
