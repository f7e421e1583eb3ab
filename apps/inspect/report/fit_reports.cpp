#include "inspect/report/fit_reports.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "inspect/base/number_text.h"
#include "inspect/base/table.h"
#include "inspect/base/text_escape.h"
#include "inspect/picture/fit_lines.h"
#include "inspect/report/report_json.h"
#include "velm/version.h"

namespace velm::inspect {
namespace {

/// "[1,2,3]", two numbers in the plane.
template <class Triple>
std::string list_of(const Triple& t, bool in_space) {
    std::string out = "[" + shortest(t[0]) + "," + shortest(t[1]);
    return out + (in_space ? "," + shortest(t[2]) + "]" : "]");
}

std::string entity_json(const FitResult& result) {
    const std::string point = list_of(result.point, result.in_space);
    if (result.kind == FitKind::plane)
        return "{\"kind\":\"plane\",\"point\":" + point +
               ",\"normal\":" + list_of(result.axis, true) + "}";
    if (result.kind == FitKind::line)
        return "{\"kind\":\"line\",\"point\":" + point +
               ",\"direction\":" + list_of(result.axis, result.in_space) + "}";
    std::string out = "{\"kind\":\"circle\",\"centre\":" + point +
                      ",\"normal\":" + list_of(result.axis, true) +
                      ",\"radius\":" + shortest(result.radius);
    if (result.flatness_rms) out += ",\"plane_rms\":" + shortest(*result.flatness_rms);
    return out + ",\"iterations\":" + std::to_string(result.steps) +
           ",\"last_step\":" + shortest(result.last_step) + "}";
}

std::string ball_json(const FitResult& result) {
    if (result.ball == 0.0) return "null";
    const char* const side = result.side == BallSide::inside    ? "\"inside\""
                             : result.side == BallSide::outside ? "\"outside\""
                                                                : "null";
    return "{\"diameter\":" + shortest(result.ball) + ",\"side\":" + side + "}";
}

} // namespace

std::string fit_json(const FitResult& result, const FitPoints& points, const std::string& path,
                     bool ascii) {
    std::string out = "{\"velm\":\"" VELM_VERSION_STRING "\",\"command\":\"fit\",\"measured\":";
    append_json_string(out, path, ascii);
    append_tolerance(out, result.tolerance);
    out += ",\"ball\":" + ball_json(result) + ",\n \"entity\":" + entity_json(result) +
           ",\n \"points\":[";
    for (std::size_t n = 0; n < points.ids.size(); ++n) {
        out += n == 0 ? "\n  {\"id\":" : ",\n  {\"id\":";
        append_json_string(out, points.ids[n], ascii);
        out += ",\"measured\":" + list_of(points.places[n], points.in_space) + ",\"residual\":";
        append_number(out, result.residuals[n]);
        out += ",\"in_tolerance\":";
        out += truth_text(result.row(points, n).in_tolerance, "null");
        out += '}';
    }
    out += "],\n";
    append_summary(out, result.summary, ascii,
                   ",\"peak_to_valley\":" + shortest(result.peak_to_valley));
    return out + "}\n";
}

std::string fit_csv(const FitResult& result, const FitPoints& points, bool on_terminal) {
    std::string out =
        points.in_space ? "id,x,y,z,residual,in_tolerance\n" : "id,x,y,residual,in_tolerance\n";
    for (std::size_t n = 0; n < points.ids.size(); ++n) {
        append_csv_field(out, on_terminal ? terminal_text(points.ids[n]) : points.ids[n]);
        for (int k = 0; k < (points.in_space ? 3 : 2); ++k) {
            out += ',';
            append_number(out, points.places[n][k]);
        }
        out += ',';
        append_number(out, result.residuals[n]);
        out += ',';
        out += truth_text(result.row(points, n).in_tolerance, "");
        out += '\n';
    }
    return out;
}

std::string fit_table(const FitResult& result, const FitPoints& points, const std::string& path) {
    constexpr std::size_t most_rows = 1000, most_worst = 20;
    const int decimals = fit_decimals(result);
    const std::size_t count = points.ids.size();
    std::vector<std::size_t> shown(count);
    std::iota(shown.begin(), shown.end(), std::size_t{0});
    if (count > most_rows) shown = worst_points(result, points, most_worst);

    std::vector<Table::Column> columns{{"id", false}, {"x"}, {"y"}};
    if (points.in_space) columns.push_back({"z"});
    columns.push_back({"residual"});
    if (result.tolerance) columns.push_back({"tolerance", false});
    Table rows(std::move(columns));
    for (const std::size_t n : shown) {
        std::vector<std::string> cells{points.ids[n]};
        for (int k = 0; k < (points.in_space ? 3 : 2); ++k)
            cells.push_back(fixed(points.places[n][k], decimals));
        cells.push_back(fixed(result.residuals[n], decimals));
        if (result.tolerance)
            cells.push_back(result.tolerance->contains(result.residuals[n]) ? "in" : "OUT");
        rows.add(std::move(cells));
    }
    std::string out = rows.text();
    if (count > most_rows)
        out += "(the " + std::to_string(shown.size()) + " worst of " + grouped(count, ",") +
               " points)\n";

    const Summary& summary = result.summary;
    const RunningStatistics& deviations = summary.deviations;
    Table table({{"", false}, {"", false}, {"", false}});
    for (const auto& [name, value] : entity_lines(result, decimals))
        table.add({name, value});
    table.add({"points", grouped(count, ",")});
    if (result.tolerance) {
        table.add({"tolerance",
                   shortest(result.tolerance->lower) + " to " + shortest(result.tolerance->upper)});
        table.add({"in tolerance", grouped(summary.in_tolerance, ","),
                   percent_text(summary.in_tolerance, count)});
        table.add({"out of tolerance", grouped(summary.out_of_tolerance, ","),
                   percent_text(summary.out_of_tolerance, count)});
    }
    table.add({"least residual", fixed(deviations.minimum(), decimals)});
    table.add({"greatest residual", fixed(deviations.maximum(), decimals)});
    table.add({"root mean square", fixed(deviations.root_mean_square(), decimals)});
    table.add({"worst", fixed(summary.worst_deviation, decimals), "id " + summary.worst_id});
    return out + "\n" +
           terminal_text("least-squares " + std::string(kind_name(result.kind)) + " of " + path) +
           "\n" + table.text();
}

} // namespace velm::inspect
