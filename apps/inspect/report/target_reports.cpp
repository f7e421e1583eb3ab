#include "inspect/report/target_reports.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "inspect/base/number_text.h"
#include "inspect/base/table.h"
#include "inspect/base/text_escape.h"
#include "inspect/base/worst_rows.h"
#include "inspect/picture/target_picture.h"
#include "inspect/report/alignment_report.h"
#include "inspect/report/report_json.h"
#include "inspect/report/report_page.h"
#include "inspect/report/summary_table.h"
#include "velm/version.h"

namespace velm::inspect {
namespace {

void append_point(std::string& out, const char* name, const ERPoint3D& p) {
    out += std::string(",\"") + name + "\":";
    append_list(out, {p.x(), p.y(), p.z()});
}

void append_value(std::string& out, const char* name, double value) {
    out += std::string(",\"") + name + "\":";
    append_number(out, value);
}

} // namespace

TargetJson::TargetJson(Output& output, const TargetHead& head)
    : output_(output), skipped_(head.skipped), ascii_(output.is_terminal()) {
    text_ = "{\"velm\":\"" VELM_VERSION_STRING "\",\"command\":\"targets\",\"table\":";
    append_json_string(text_, head.table, ascii_);
    append_tolerance(text_, head.tolerance);
    if (head.alignment) append_alignment(text_, *head.alignment);
    text_ += ",\n \"points\":[";
    output_.write(text_);
}

void TargetJson::add(const TargetRow& row) {
    const gmTargetPoint& target = row.target;
    text_ = std::exchange(first_, false) ? "\n  {\"id\":" : ",\n  {\"id\":";
    append_json_string(text_, row.id, ascii_);
    append_point(text_, "target", target.target_point());
    append_point(text_, "measured", target.measured_point().probe_center());
    append_point(text_, "calculated", target.calculated_point());
    ERVector3D normal;
    if (target.get_surface_normal(normal) != 0) {
        text_ += ",\"normal\":";
        append_list(text_, {normal.i(), normal.j(), normal.k()});
        append_value(text_, "deviation", row.deviation);
        append_value(text_, "distance_on_plane", target.distance_on_plane());
    } else {
        text_ += ",\"normal\":null,\"deviation\":null,\"distance_on_plane\":null";
    }
    append_value(text_, "distance", target.distance_to_point());
    if (row.deviation_before) append_value(text_, "deviation_before", *row.deviation_before);
    text_ += std::string(",\"in_tolerance\":") + truth_text(row.in_tolerance, "null") + "}";
    output_.write(text_);
}

void TargetJson::finish(const Summary& summary) {
    text_ = "],\n";
    append_summary(text_, summary, ascii_);
    if (skipped_) text_ += ",\n \"skipped\":" + std::to_string(*skipped_);
    text_ += "}\n";
    output_.write(text_);
}

TargetCsv::TargetCsv(Output& output, bool is_aligned)
    : output_(output), on_terminal_(output.is_terminal()) {
    output_.write(
        std::string("id,target_x,target_y,target_z,measured_x,measured_y,measured_z,calculated_x,"
                    "calculated_y,calculated_z,normal_i,normal_j,normal_k,deviation,"
                    "distance_on_plane,distance,in_tolerance") +
        (is_aligned ? ",deviation_before\n" : "\n"));
}

void TargetCsv::add(const TargetRow& row) {
    const gmTargetPoint& target = row.target;
    text_.clear();
    append_csv_field(text_, on_terminal_ ? terminal_text(row.id) : row.id);
    for (const ERPoint3D& p :
         {target.target_point(), target.measured_point().probe_center(), target.calculated_point()})
        append_csv_numbers(text_, {p.x(), p.y(), p.z()});
    ERVector3D normal;
    if (target.get_surface_normal(normal) != 0)
        append_csv_numbers(
            text_, {normal.i(), normal.j(), normal.k(), row.deviation, target.distance_on_plane()});
    else
        text_ += ",,,,,";
    append_csv_numbers(text_, {target.distance_to_point()});
    text_ += std::string(",") + truth_text(row.in_tolerance, "");
    if (row.deviation_before) append_csv_numbers(text_, {*row.deviation_before});
    text_ += '\n';
    output_.write(text_);
}

std::string target_table(const KeptRows<TargetRow>& rows, const Summary& summary,
                         const TargetHead& head) {
    std::vector<Table::Column> columns{{"id", false}, {"x"},        {"y"},       {"z"},
                                       {"deviation"}, {"on plane"}, {"distance"}};
    if (head.alignment) columns.push_back({"before"});
    if (summary.tolerance) columns.push_back({"tolerance", false});
    const int decimals = table_decimals(summary);
    Table table(std::move(columns));
    for (const TargetRow& row : rows.shown()) {
        const ERPoint3D& p = row.target.target_point();
        std::vector<std::string> cells{row.id, fixed(p.x(), decimals), fixed(p.y(), decimals),
                                       fixed(p.z(), decimals)};
        double on_plane = 0.0;
        const bool has_normal = row.target.get_distance_on_plane(on_plane) != 0;
        cells.push_back(has_normal ? fixed(row.deviation, decimals) : "");
        cells.push_back(has_normal ? fixed(on_plane, decimals) : "");
        cells.push_back(fixed(row.target.distance_to_point(), decimals));
        if (row.deviation_before) cells.push_back(fixed(*row.deviation_before, decimals));
        if (row.in_tolerance) cells.push_back(*row.in_tolerance ? "in" : "OUT");
        table.add(std::move(cells));
    }
    std::string out =
        table.text() + summary_text(summary, rows.shows_worst() ? rows.worst().size() : 0,
                                    head.table_name() + ", each point against its nominal");
    return head.alignment ? out + alignment_text(*head.alignment) : out;
}

namespace {

// What is judged stands first; columns that would all be empty are left out.
ReportPage::Row page_row(const TargetRow& row, int decimals, bool has_normals) {
    const auto number = [&](double value) { return fixed(value, decimals); };
    const ERPoint3D& p = row.target.target_point();
    const std::string distance = number(row.target.distance_to_point());
    ReportPage::Row shown{row.id, {number(p.x()), number(p.y()), number(p.z())}, row.in_tolerance};
    std::vector<std::string>& cells = shown.cells;
    if (has_normals) {
        double on_plane = 0.0;
        const bool has_normal = row.target.get_distance_on_plane(on_plane) != 0;
        cells.insert(cells.begin(), has_normal ? number(row.deviation) : "");
        cells.push_back(has_normal ? number(on_plane) : "");
        cells.push_back(distance);
    } else {
        cells.insert(cells.begin(), distance);
    }
    if (row.deviation_before) cells.push_back(number(*row.deviation_before));
    return shown;
}

} // namespace

std::string target_page(std::span<const TargetRow> rows, const Summary& summary,
                        const TargetHead& head) {
    const int decimals = table_decimals(summary);
    WorstRows<TargetRow> worst;
    bool has_normals = false;
    for (const TargetRow& row : rows) {
        worst.add(row);
        has_normals |= row.target.is_compensated() != 0;
    }
    ReportPage page;
    page.title = "Points against their nominal";
    page.subtitle = head.table_name();
    page.pictures = target_pictures(rows, summary.tolerance);
    page.columns = {has_normals ? "deviation" : "distance", "nominal x", "y", "z"};
    if (has_normals) page.columns.insert(page.columns.end(), {"on plane", "distance"});
    if (head.alignment) page.columns.push_back("before");
    for (const TargetRow& row : worst.in_order())
        page.rows.push_back(page_row(row, decimals, has_normals));
    page.provenance = {{"Table", head.table_name()},
                       {"Made by", "velm-inspect " VELM_VERSION_STRING}};
    if (const std::uint64_t skipped = head.skipped.value_or(0); skipped > 0)
        page.provenance.emplace_back("Rows that could not be used", std::to_string(skipped));
    if (head.alignment)
        for (auto& line : alignment_lines(*head.alignment))
            page.provenance.push_back(std::move(line));
    return page.html(summary);
}

} // namespace velm::inspect
