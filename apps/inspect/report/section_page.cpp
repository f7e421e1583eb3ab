#include "inspect/report/section_page.h"

#include <initializer_list>
#include <utility>

#include "inspect/base/number_text.h"
#include "inspect/report/alignment_report.h"
#include "inspect/report/report_page.h"
#include "inspect/report/summary_table.h"
#include "velm/version.h"

namespace velm::inspect {
namespace {

using Lines = std::vector<std::pair<std::string, std::string>>;

std::string counted(std::size_t count, const char* what) {
    return grouped(count, ",") + " " + what + (count == 1 ? "" : "s");
}

std::string outline_text(const Outline& outline) {
    std::size_t edges = 0, arcs = 0;
    for (const Contour& contour : outline.contours) {
        edges += static_cast<std::size_t>(contour.size());
        arcs += contour.arcs().size();
    }
    std::string text = counted(outline.contours.size(), "contour") + ", " + counted(edges, "edge");
    if (arcs > 0) text += ", of them " + counted(arcs, "arc");
    return text;
}

std::string triple(double a, double b, double c) {
    return shortest(a) + ", " + shortest(b) + ", " + shortest(c);
}

void append_frame(Lines& lines, const SectionFrame& frame) {
    const ERPoint3D origin = frame.origin();
    const ERVector3D normal = frame.normal(), axis = frame.first_axis();
    lines.emplace_back("Origin of the section", triple(origin.x(), origin.y(), origin.z()));
    lines.emplace_back("Normal of its plane", triple(normal.i(), normal.j(), normal.k()));
    lines.emplace_back("First axis", triple(axis.i(), axis.j(), axis.k()));
}

Lines provenance(const SectionHead& head, const Outline& outline) {
    Lines lines{
        {"Nominal", head.nominal}, {"Outline", outline_text(outline)}, {"Measured", head.measured}};
    if (head.frame) append_frame(lines, *head.frame);
    if (head.max_height)
        lines.emplace_back("Greatest height off the plane", shortest(*head.max_height));
    lines.emplace_back("A positive deviation", "outside of the material");
    if (head.alignment)
        for (auto& line : alignment_lines(*head.alignment))
            lines.push_back(std::move(line));
    lines.emplace_back("Made by", "velm-inspect " VELM_VERSION_STRING);
    return lines;
}

std::vector<std::string> columns(const SectionHead& head, bool has_holes) {
    std::vector<std::string> columns{"deviation", "x", "y"};
    if (head.frame) columns.insert(columns.end(), {"z", "height"});
    if (head.alignment) columns.insert(columns.end(), {"aligned x", "aligned y"});
    columns.insert(columns.end(), {"foot x", "foot y"});
    if (has_holes) columns.push_back("contour");
    columns.push_back("distance");
    if (head.alignment) columns.push_back("before");
    return columns;
}

ReportPage::Row page_row(const SectionRow& row, int decimals, bool has_holes) {
    const OutlineComparison& found = row.comparison;
    ReportPage::Row shown{row.id, {}, row.in_tolerance};
    const auto add = [&](std::initializer_list<double> values) {
        for (const double value : values)
            shown.cells.push_back(fixed(value, decimals));
    };
    if (row.space) {
        const ERPoint3D& p = row.space->measured;
        add({row.deviation, p.x(), p.y(), p.z(), row.space->height});
    } else {
        add({row.deviation, row.measured.x(), row.measured.y()});
    }
    if (row.aligned) add({row.aligned->x(), row.aligned->y()});
    add({found.foot.x(), found.foot.y()});
    if (has_holes) shown.cells.push_back(std::to_string(found.contour));
    add({found.distance});
    if (row.deviation_before) add({*row.deviation_before});
    return shown;
}

} // namespace

std::string SectionPage::html(const Summary& summary, const SectionPicture& picture,
                              const std::vector<SectionRow>& worst) const {
    const int decimals = table_decimals(summary);
    const bool has_holes = outline_.contours.size() > 1;
    ReportPage page;
    page.title = head_.title.empty() ? "Section" : head_.title;
    page.subtitle = head_.measured + " against " + head_.nominal;
    page.pictures = picture.page(worst);
    page.columns = columns(head_, has_holes);
    for (const SectionRow& row : rows_.in_order())
        page.rows.push_back(page_row(row, decimals, has_holes));
    page.provenance = provenance(head_, outline_);
    return page.html(summary);
}

} // namespace velm::inspect
