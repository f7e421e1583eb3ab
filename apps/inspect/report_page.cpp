#include "inspect/report_page.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "inspect/deviation_histogram.h"
#include "inspect/number_text.h"
#include "inspect/report_page_style.h"
#include "inspect/section_panel.h"
#include "inspect/summary_table.h"
#include "inspect/text_escape.h"

namespace velm::inspect {
namespace {

constexpr std::size_t most_rows = 5000;

std::string element(std::string_view name, std::string_view content,
                    std::string_view attributes = "") {
    std::string out = "<" + std::string(name);
    if (!attributes.empty()) out.append(" ").append(attributes);
    return out + ">" + xml_text(content) + "</" + std::string(name) + ">";
}

std::string verdict(const Summary& summary) {
    const std::string all = grouped(summary.deviations.count(), ",");
    if (!summary.tolerance)
        return "<p class=\"verdict\">" + all + " points, no tolerance given</p>\n";
    if (summary.out_of_tolerance == 0)
        return "<p class=\"verdict good\">All " + all + " points in tolerance</p>\n";
    return "<p class=\"verdict bad\">" + grouped(summary.out_of_tolerance, ",") + " of " + all +
           " points out of tolerance</p>\n";
}

std::string figures(const Summary& summary) {
    const RunningStatistics& deviations = summary.deviations;
    const int decimals = table_decimals(summary);
    std::string out = "<dl class=\"figures\">\n";
    const auto add = [&](std::string_view name, const std::string& value) {
        out += "<div>" + element("dt", name) + element("dd", value) + "</div>\n";
    };
    const auto add_number = [&](std::string_view name, double value) {
        add(name, fixed(value, decimals));
    };
    add("Points", grouped(deviations.count(), ","));
    if (summary.tolerance) {
        add("Tolerance",
            shortest(summary.tolerance->lower) + " to " + shortest(summary.tolerance->upper));
        add("In tolerance", grouped(summary.in_tolerance, ",") + " (" +
                                percent_text(summary.in_tolerance, deviations.count()) + ")");
        add("Out of tolerance", grouped(summary.out_of_tolerance, ",") + " (" +
                                    percent_text(summary.out_of_tolerance, deviations.count()) +
                                    ")");
    }
    add_number("Least deviation", deviations.minimum());
    add_number("Greatest deviation", deviations.maximum());
    add_number("Mean", deviations.mean());
    add_number("Standard deviation", deviations.standard_deviation());
    add_number("Root mean square", deviations.root_mean_square());
    add("Worst", fixed(summary.worst_deviation, decimals) + ", id " +
                     clipped(terminal_text(summary.worst_id), 40));
    return out + "</dl>\n";
}

std::string histogram(const std::vector<ReportPage::Row>& rows, const Summary& summary,
                      const DeviationScale& scale, const DeviationUnit& unit) {
    DeviationHistogram counts;
    for (const ReportPage::Row& row : rows)
        counts.add(row.deviation);
    constexpr double width = 480.0, height = 220.0, side = 24.0;
    SvgCanvas canvas("Distribution of the deviations", width, height);
    draw_histogram(canvas, {side, 4.0, width - 2.0 * side, height - 8.0}, counts.cells(), scale,
                   summary.tolerance.has_value(), unit);
    return canvas.finish();
}

// The numbers of the rows that the table has, in their order.
std::vector<std::size_t> rows_to_show(const std::vector<ReportPage::Row>& rows,
                                      const std::optional<Tolerance>& tolerance) {
    std::vector<std::size_t> numbers(rows.size());
    std::iota(numbers.begin(), numbers.end(), std::size_t{0});
    if (rows.size() <= most_rows) return numbers;
    const double middle = tolerance ? tolerance->middle() : 0.0;
    const auto severity = [&](std::size_t n) { return std::fabs(rows[n].deviation - middle); };
    std::stable_sort(numbers.begin(), numbers.end(),
                     [&](std::size_t a, std::size_t b) { return severity(a) > severity(b); });
    numbers.resize(most_rows);
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

std::string table(const ReportPage& page, const Summary& summary) {
    const bool judged = summary.tolerance.has_value();
    std::string out = "<h2>Points</h2>\n";
    if (page.rows.size() > most_rows)
        out += "<p>The " + grouped(most_rows, ",") + " worst of " + grouped(page.rows.size(), ",") +
               " points.</p>\n";
    if (judged)
        out += "<p class=\"filter\" hidden>Show <button type=\"button\" data-show=\"\" "
               "aria-pressed=\"true\">all</button> <button type=\"button\" data-show=\"in\" "
               "aria-pressed=\"false\">in tolerance</button> <button type=\"button\" "
               "data-show=\"out\" aria-pressed=\"false\">out of tolerance</button></p>\n";
    out += "<div class=\"wide\"><table><thead><tr><th scope=\"col\">id</th>";
    for (const std::string& column : page.columns)
        out += element("th", column, "scope=\"col\"");
    out += judged ? "<th scope=\"col\">tolerance</th></tr></thead>\n<tbody>\n"
                  : "</tr></thead>\n<tbody>\n";
    for (const std::size_t number : rows_to_show(page.rows, summary.tolerance)) {
        const ReportPage::Row& row = page.rows[number];
        const char* const word = !row.in_tolerance ? "" : *row.in_tolerance ? "in" : "out";
        out += judged ? "<tr class=\"" + std::string(word) + "\">" : "<tr>";
        out += element("th", terminal_text(row.id), "scope=\"row\"");
        for (const std::string& cell : row.cells)
            out += element("td", cell);
        if (judged) out += element("td", word);
        out += "</tr>\n";
    }
    return out + "</tbody></table></div>\n";
}

} // namespace

std::string ReportPage::html(const Summary& summary, const DeviationScale& scale,
                             const DeviationUnit& unit) const {
    const std::string shown_title = xml_text(terminal_text(title));
    std::string out = "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
                      "<meta name=\"color-scheme\" content=\"light dark\">\n<title>" +
                      shown_title + "</title>\n<style>\n" + page_style +
                      "</style>\n</head>\n<body>\n<main>\n<h1>" + shown_title + "</h1>\n" +
                      verdict(summary);
    out += "<figure class=\"picture\">\n" + picture + "</figure>\n<div class=\"pair\">\n" +
           figures(summary) + "<figure>\n" + histogram(rows, summary, scale, unit) +
           "</figure>\n</div>\n" + table(*this, summary);
    out += "<h2>Provenance</h2>\n<dl class=\"provenance\">\n";
    for (const auto& [name, value] : provenance)
        out += "<div>" + element("dt", name) + element("dd", terminal_text(value)) + "</div>\n";
    return out + "</dl>\n</main>\n<script>\n" + page_script + "</script>\n</body>\n</html>\n";
}

} // namespace velm::inspect
