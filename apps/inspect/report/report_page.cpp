#include "inspect/report/report_page.h"

#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"
#include "inspect/report/report_page_style.h"
#include "inspect/report/summary_table.h"

#include <algorithm>
#include <cstdint>

namespace velm::inspect {
namespace {

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
    add_number("Root mean square", deviations.rms());
    add("Worst", fixed(summary.worst_deviation, decimals) + ", id " +
                     clipped(terminal_text(summary.worst_id), 40));
    return out + "</dl>\n";
}

// Pressed one at a time, by the script.
std::string filter(const std::vector<ReportPage::Row>& rows) {
    const auto out = static_cast<std::uint64_t>(
        std::count_if(rows.begin(), rows.end(),
                      [](const ReportPage::Row& row) { return row.in_tolerance == false; }));
    std::string markup = "<p class=\"filter\" role=\"group\" aria-label=\"Rows to show\" hidden>";
    const auto button = [&](const char* show, const char* name, std::uint64_t count) {
        markup += "<button type=\"button\" data-show=\"" + std::string(show) +
                  "\" aria-pressed=\"" + (*show == '\0' ? "true" : "false") + "\">" + name + " (" +
                  grouped(count, ",") + ")</button>\n";
    };
    button("", "all", rows.size());
    button("out", "out of tolerance", out);
    button("in", "in tolerance", rows.size() - out);
    return markup + "</p>\n";
}

std::string table_head(const ReportPage& page, bool judged) {
    std::string out = "<thead><tr><th scope=\"col\">id</th>";
    for (const std::string& column : page.columns) {
        out += element("th", column, "scope=\"col\"");
        if (judged && &column == &page.columns.front()) out += "<th scope=\"col\">tolerance</th>";
    }
    return out + "</tr></thead>\n";
}

std::string table(const ReportPage& page, const Summary& summary) {
    const bool judged = summary.tolerance.has_value();
    const std::uint64_t count = summary.deviations.count();
    std::string out = "<h2>Points</h2>\n";
    if (page.rows.size() < count)
        out += "<p>The " + grouped(page.rows.size(), ",") + " worst of " + grouped(count, ",") +
               " points.</p>\n";
    if (judged) out += filter(page.rows);
    out += "<div class=\"scroll\" tabindex=\"0\" role=\"region\" aria-label=\"Table of the "
           "points\"><table>" +
           table_head(page, judged) + "<tbody>\n";
    for (const ReportPage::Row& row : page.rows) {
        const char* const word = !row.in_tolerance ? "" : *row.in_tolerance ? "in" : "out";
        out += judged ? "<tr class=\"" + std::string(word) + "\">" : "<tr>";
        out += element("th", terminal_text(row.id), "scope=\"row\"");
        for (const std::string& cell : row.cells) {
            out += element("td", cell);
            if (judged && &cell == &row.cells.front()) out += element("td", word);
        }
        out += "</tr>\n";
    }
    return out + "</tbody></table></div>\n";
}

// The drawing, and beside each other its legend, the distribution and the figures.
std::string drawings(const PagePictures& pictures, const Summary& summary) {
    const auto both = [](const std::string& wide, const std::string& narrow) {
        return "<div class=\"wide\">" + wide + "</div>\n<div class=\"narrow\">" + narrow +
               "</div>\n";
    };
    return "<figure class=\"drawing\">\n" + both(pictures.wide.picture, pictures.narrow.picture) +
           "</figure>\n<div class=\"beside\">\n<figure>\n" +
           both(pictures.wide.legend, pictures.narrow.legend) + "</figure>\n<figure>\n" +
           pictures.distribution + "</figure>\n" + figures(summary) + "</div>\n";
}

} // namespace

std::string ReportPage::html(const Summary& summary) const {
    const std::string shown_title = xml_text(terminal_text(title));
    std::string out = "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
                      "<meta name=\"color-scheme\" content=\"light dark\">\n<title>" +
                      shown_title + "</title>\n<style>\n" + page_style +
                      "</style>\n</head>\n<body>\n<main>\n<h1>" + shown_title + "</h1>\n" +
                      element("p", terminal_text(subtitle), "class=\"subtitle\"") + "\n" +
                      verdict(summary) + drawings(pictures, summary) + table(*this, summary);
    out += "<h2>Provenance</h2>\n<dl class=\"provenance\">\n";
    for (const auto& [name, value] : provenance)
        out += "<div>" + element("dt", name) + element("dd", terminal_text(value)) + "</div>\n";
    return out + "</dl>\n</main>\n<script>\n" + page_script + "</script>\n</body>\n</html>\n";
}

} // namespace velm::inspect
