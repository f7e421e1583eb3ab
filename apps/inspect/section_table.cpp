#include "inspect/section_table.h"

#include <algorithm>
#include <cmath>

#include "inspect/number_text.h"
#include "inspect/table.h"
#include "inspect/text_escape.h"

namespace velm::inspect {
namespace {

constexpr int significant_digits = 5;

std::string rows_text(const std::vector<SectionRow>& rows, int decimals, bool has_tolerance) {
    const bool in_space = !rows.empty() && rows.front().space;
    std::vector<Table::Column> columns{{"id", false}, {"x"}, {"y"}};
    if (in_space) columns.insert(columns.end(), {{"z"}, {"height"}});
    columns.insert(columns.end(),
                   {{"foot x"}, {"foot y"}, {"contour"}, {"distance"}, {"deviation"}});
    if (has_tolerance) columns.push_back({"tolerance", false});
    Table table(std::move(columns));
    for (const SectionRow& row : rows) {
        const Comparison& found = row.comparison;
        std::vector<std::string> cells{row.id};
        const auto add = [&](std::initializer_list<double> values) {
            for (const double value : values)
                cells.push_back(fixed(value, decimals));
        };
        if (row.space) {
            const ERPoint3D& p = row.space->measured;
            add({p.x(), p.y(), p.z(), row.space->height});
        } else {
            add({row.measured.x(), row.measured.y()});
        }
        add({found.foot.x(), found.foot.y()});
        cells.push_back(std::to_string(found.contour));
        add({found.distance, row.deviation});
        if (row.in_tolerance) cells.push_back(*row.in_tolerance ? "in" : "OUT");
        table.add(std::move(cells));
    }
    return table.text();
}

} // namespace

void SectionTable::add(const SectionRow& row) {
    if (!shows_worst_) {
        shows_worst_ = rows_.size() == most_rows;
        if (shows_worst_)
            rows_ = {};
        else
            rows_.push_back(row);
    }
    if (worst_.size() == most_worst && row.severity <= worst_.back().severity) return;
    const auto at = std::find_if(worst_.begin(), worst_.end(), [&](const SectionRow& other) {
        return other.severity < row.severity;
    });
    worst_.insert(at, row);
    if (worst_.size() > most_worst) worst_.pop_back();
}

std::string SectionTable::text(const SectionSummary& summary, const std::string& title) const {
    const RunningStatistics& deviations = summary.deviations;
    double scale = std::max(std::fabs(deviations.minimum()), std::fabs(deviations.maximum()));
    if (summary.tolerance)
        scale = std::max(
            {std::fabs(summary.tolerance->lower), std::fabs(summary.tolerance->upper), scale});
    const int decimals = decimals_for(scale, significant_digits);
    const auto number = [&](double value) { return fixed(value, decimals); };

    std::string out = rows_text(shows_worst_ ? worst_ : rows_, decimals, !!summary.tolerance);
    if (shows_worst_)
        out += "(the " + std::to_string(worst_.size()) + " worst of " +
               grouped(deviations.count(), ",") + " points)\n";

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
    table.add({"least deviation", number(deviations.minimum())});
    table.add({"greatest deviation", number(deviations.maximum())});
    table.add({"mean", number(deviations.mean())});
    table.add({"standard deviation", number(deviations.standard_deviation())});
    table.add({"root mean square", number(deviations.root_mean_square())});
    table.add({"worst", number(summary.worst_deviation), "id " + summary.worst_id});
    return out + "\n" + terminal_text(title) + "\n" + table.text();
}

} // namespace velm::inspect
