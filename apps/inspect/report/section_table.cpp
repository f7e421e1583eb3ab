#include "inspect/report/section_table.h"

#include "inspect/base/number_text.h"
#include "inspect/base/table.h"
#include "inspect/report/alignment_report.h"
#include "inspect/report/summary_table.h"

namespace velm::inspect {
namespace {

std::string rows_text(const std::vector<SectionRow>& rows, int decimals, bool has_tolerance) {
    const bool in_space = !rows.empty() && rows.front().space;
    const bool is_aligned = !rows.empty() && rows.front().aligned;
    std::vector<Table::Column> columns{{"id", false}, {"x"}, {"y"}};
    if (in_space) columns.insert(columns.end(), {{"z"}, {"height"}});
    if (is_aligned) columns.insert(columns.end(), {{"aligned x"}, {"aligned y"}});
    columns.insert(columns.end(),
                   {{"foot x"}, {"foot y"}, {"contour"}, {"distance"}, {"deviation"}});
    if (is_aligned) columns.push_back({"before"});
    if (has_tolerance) columns.push_back({"tolerance", false});
    Table table(std::move(columns));
    for (const SectionRow& row : rows) {
        const OutlineComparison& found = row.comparison;
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
        if (row.aligned) add({row.aligned->x(), row.aligned->y()});
        add({found.foot.x(), found.foot.y()});
        cells.push_back(std::to_string(found.contour));
        add({found.distance, row.deviation});
        if (row.deviation_before) add({*row.deviation_before});
        if (row.in_tolerance) cells.push_back(*row.in_tolerance ? "in" : "OUT");
        table.add(std::move(cells));
    }
    return table.text();
}

} // namespace

std::string section_table(const KeptRows<SectionRow>& rows, const Summary& summary,
                          const PlaceCounts& places, const SectionHead& head) {
    const auto count = [&](OutlinePlace place) { return places[static_cast<std::size_t>(place)]; };
    const std::string out =
        rows_text(rows.shown(), table_decimals(summary), summary.tolerance.has_value()) +
        summary_text(
            summary, rows.shows_worst() ? rows.worst().size() : 0,
            head.measured + " against " + head.nominal,
            {{"inside the material", count(OutlinePlace::inside)},
             {"on the outline", count(OutlinePlace::on_edge) + count(OutlinePlace::on_vertex)},
             {"outside of it", count(OutlinePlace::outside)}});
    return head.alignment ? out + alignment_text(*head.alignment) : out;
}

} // namespace velm::inspect
