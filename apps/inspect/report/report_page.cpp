#include "inspect/report/report_page.h"

#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"
#include "inspect/report/report_page_style.h"

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

std::string definitions(std::string_view name, const HeadLines& lines) {
    if (lines.empty()) return {};
    std::string out = "<dl class=\"" + std::string(name) + "\">\n";
    for (const auto& [term, value] : lines)
        out += "<div>" + element("dt", capitalised(terminal_text(term))) +
               element("dd", terminal_text(value)) + "</div>\n";
    return out + "</dl>\n";
}

std::string verdict(const Verdict& verdict) {
    const char* const kind = verdict.kind == Verdict::none   ? "verdict"
                             : verdict.kind == Verdict::good ? "verdict good"
                                                             : "verdict bad";
    return element("p", verdict.sentence, "class=\"" + std::string(kind) + "\"") + "\n";
}

std::string figures(const std::vector<FigureLine>& lines) {
    HeadLines shown;
    for (const FigureLine& line : lines) {
        const bool is_id = line.note.starts_with("id ");
        const std::string note = is_id               ? ", " + clipped(terminal_text(line.note), 43)
                                 : line.note.empty() ? ""
                                                     : " (" + line.note + ")";
        shown.emplace_back(line.name, line.value + note);
    }
    return definitions("figures", shown);
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
    const auto in = static_cast<std::uint64_t>(
        std::count_if(rows.begin(), rows.end(),
                      [](const ReportPage::Row& row) { return row.in_tolerance == true; }));
    button("in", "in tolerance", in);
    return markup + "</p>\n";
}

// An id with places where a long path may continue on the next line.
std::string id_cell(std::string_view id) {
    const std::string shown = xml_text(terminal_text(id));
    std::string out = "<th scope=\"row\">";
    for (std::size_t at = 0; at < shown.size(); ++at)
        out += at > 0 && shown[at] == '/' ? "<wbr>/" : std::string(1, shown[at]);
    return out + "</th>";
}

std::string table_head(const ReportPage::Points& points, bool judged) {
    std::string out = "<thead><tr>" + element("th", points.name, "scope=\"col\"");
    for (const std::string& column : points.columns) {
        out += element("th", column, "scope=\"col\"");
        if (judged && &column == &points.columns.front()) out += "<th scope=\"col\">tolerance</th>";
    }
    return out + "</tr></thead>\n";
}

// Beside the head of the page.
bool is_short(const ReportPage::Points& points) { return points.columns.size() <= 2; }

// Ids that stay on one line.
bool has_short_ids(const ReportPage::Points& points) {
    constexpr std::size_t most = 20;
    return std::all_of(points.rows.begin(), points.rows.end(), [](const ReportPage::Row& row) {
        return display_width(terminal_text(row.id)) <= most;
    });
}

std::string table(const ReportPage::Points& points, bool judged, const std::string& above) {
    std::string out = element("h2", points.heading) + "\n" + above;
    out += std::string("<div class=\"scroll") + (has_short_ids(points) ? " one-line" : "") +
           "\" tabindex=\"0\" role=\"region\" aria-label=\"" + points.heading + "\"><table>" +
           table_head(points, judged) + "<tbody>\n";
    std::vector<const ReportPage::Row*> rows; // out of tolerance first
    for (const ReportPage::Row& row : points.rows)
        rows.push_back(&row);
    std::stable_partition(rows.begin(), rows.end(),
                          [](const ReportPage::Row* row) { return row->in_tolerance == false; });
    for (const ReportPage::Row* const shown : rows) {
        const ReportPage::Row& row = *shown;
        const char* const word = !row.in_tolerance ? "" : *row.in_tolerance ? "in" : "out";
        out += judged ? "<tr class=\"" + std::string(word) + "\">" : "<tr>";
        out += id_cell(row.id);
        for (const std::string& cell : row.cells) {
            out += element("td", cell);
            if (judged && &cell == &row.cells.front()) out += element("td", word);
        }
        out += "</tr>\n";
    }
    return out + "</tbody></table></div>\n";
}

// At the foot of each sheet of paper what the sheet belongs to.
std::string foot_style(const ReportHead& head) {
    const std::string text = clipped(terminal_text(head.title + ", " + head.subtitle), 90);
    std::string quoted;
    for (const char c : text) // nothing ends the string or the element
        quoted += c == '"'    ? "\\22 "
                  : c == '\\' ? "\\5c "
                  : c == '<'  ? "\\3c "
                  : c == '&'  ? "\\26 "
                              : std::string(1, c);
    return "@page{@bottom-left{content:\"" + quoted + "\"}}\n";
}

// The drawing, and beside each other its legend, the distribution and the figures.
std::string drawings(const ReportPage& page) {
    const PagePictures& pictures = page.pictures;
    const auto both = [](const std::string& wide, const std::string& narrow) {
        return "<div class=\"wide\">" + wide + "</div>\n<div class=\"narrow\">" + narrow +
               "</div>\n";
    };
    const std::string drawing = !pictures.view.markup.empty()
                                    ? pictures.view.markup
                                    : "<figure class=\"drawing\">\n" +
                                          both(pictures.wide.picture, pictures.narrow.picture) +
                                          "</figure>\n";
    return drawing + "<div class=\"beside\">\n<figure>\n" +
           both(pictures.wide.legend, pictures.narrow.legend) + "</figure>\n<figure>\n" +
           pictures.distribution + "</figure>\n" + figures(page.figures) + "</div>\n";
}

} // namespace

std::string ReportPage::html() const {
    const std::string shown_title = xml_text(terminal_text(head.title));
    std::string out =
        "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
        "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
        "<meta name=\"color-scheme\" content=\"light dark\">\n<title>" +
        shown_title + "</title>\n<style>\n" + page_style + foot_style(head) + pictures.view.style +
        "</style>\n</head>\n<body>\n<main>\n<h1>" + shown_title + "</h1>\n" +
        element("p", terminal_text(head.subtitle), "class=\"subtitle\"") + "\n" +
        verdict(head.verdict) + "<div class=\"top\">\n" + definitions("head", head.lines);
    std::string group_tables;
    for (const Points& group : groups)
        if (is_short(group))
            out += "<section>" + table(group, is_judged, "") + "</section>\n";
        else
            group_tables += table(group, is_judged, "");
    out += "</div>\n";
    const bool has_view = !pictures.view.markup.empty(); // what shows the part before its faces
    out += has_view ? drawings(*this) + group_tables : group_tables + drawings(*this);
    std::uint64_t shown = 0;
    for (const Points& points : tables)
        shown += points.rows.size();
    const std::string partial = shown == count ? ""
                                               : "<p>The " + grouped(shown, ",") + " worst of " +
                                                     grouped(count, ",") + " points.</p>\n";
    for (const Points& points : tables)
        out += table(points, is_judged,
                     (&points == &tables.front() ? partial : "") +
                         (is_judged ? filter(points.rows) : ""));
    out += "<h2>Provenance</h2>\n" + definitions("provenance", provenance);
    return out + "</main>\n" + pictures.view.data + "<script>\n" + page_script +
           pictures.view.script + "</script>\n" + pictures.view.further_data + "</body>\n</html>\n";
}

} // namespace velm::inspect
