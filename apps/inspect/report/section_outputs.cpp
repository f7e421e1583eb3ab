#include "inspect/report/section_outputs.h"

#include "inspect/base/number_text.h"
#include "inspect/report/report_page.h"
#include "velm/version.h"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace velm::inspect {
namespace {

std::string counted(std::size_t count, const char* what) {
    return grouped(count, ",") + " " + what + (count == 1 ? "" : "s");
}

std::string outline_text(const Outline& outline) {
    std::size_t edges = 0, arcs = 0, curves = 0;
    for (const Contour& contour : outline.contours) {
        edges += static_cast<std::size_t>(contour.size());
        arcs += contour.arcs().size();
        curves += contour.curves().size();
    }
    std::string text = counted(outline.contours.size(), "contour") + ", " + counted(edges, "edge");
    if (arcs > 0) text += ", of them " + counted(arcs, "arc");
    if (curves > 0) text += ", of them " + counted(curves, "curve");
    return text;
}

std::string triple(double a, double b, double c) {
    return shortest(a) + ", " + shortest(b) + ", " + shortest(c);
}

void append_frame(HeadLines& lines, const SectionFrame& frame) {
    const ERPoint3D origin = frame.origin();
    const ERVector3D normal = frame.normal(), axis = frame.first_axis();
    lines.emplace_back("Origin of the section", triple(origin.x(), origin.y(), origin.z()));
    lines.emplace_back("Normal of its plane", triple(normal.i(), normal.j(), normal.k()));
    lines.emplace_back("First axis", triple(axis.i(), axis.j(), axis.k()));
}

HeadLines provenance(const SectionHead& head, const Outline& outline) {
    HeadLines lines{
        {"Nominal", head.nominal}, {"Outline", outline_text(outline)}, {"Measured", head.measured}};
    if (head.frame) append_frame(lines, *head.frame);
    if (head.max_height)
        lines.emplace_back("Greatest height off the plane", shortest(*head.max_height));
    lines.emplace_back("A positive deviation", "outside of the material");
    lines.emplace_back("Made by", "velm-inspect " VELM_VERSION_STRING);
    return lines;
}

} // namespace

SectionOutputs::SectionOutputs(const SectionHead& head, const Outline& outline,
                               const OutputPaths& paths)
    : InspectionOutputs("section", head, paths), outline_(outline), picture_(head, outline) {
    gathered().may_be_unassigned = head.max_angle.has_value();
}

void SectionOutputs::take(const SectionRow& row) {
    ++places_[static_cast<std::size_t>(row.comparison.place)];
    if (has_page()) page_rows_.add(row);
    if (has_picture()) picture_.add(row);
}

ReportHead SectionOutputs::report_head() const {
    ReportHead shown;
    shown.title = head().title.empty() ? "Section" : head().title;
    shown.subtitle = head().measured + " against " + head().nominal;
    shown.verdict = verdict_of(summary());
    shown.lines = head_lines(head(), summary());
    if (head().alignment)
        for (auto& line : alignment_lines(*head().alignment, decimals()))
            shown.lines.push_back(std::move(line));
    return shown;
}

std::vector<FigureLine> SectionOutputs::figure_lines() const {
    const auto count = [&](OutlinePlace place) { return places_[static_cast<std::size_t>(place)]; };
    return inspect::figure_lines(
        summary(), decimals(),
        {{"inside the material", count(OutlinePlace::inside)},
         {"on the outline", count(OutlinePlace::on_edge) + count(OutlinePlace::on_vertex)},
         {"outside of it", count(OutlinePlace::outside)}});
}

std::string SectionOutputs::svg() const {
    return picture_.svg(report_head(), summary(), decimals(), rows().worst());
}

std::string SectionOutputs::page() const {
    std::vector<std::string_view> left_out;
    if (outline_.contours.size() == 1) left_out.push_back("contour");
    const SectionRow any;
    const PageColumns columns(describe(any, head()), "deviation", left_out);
    ReportPage page;
    page.head = report_head();
    page.groups = group_tables();
    page.figures = inspect::figure_lines(summary(), decimals());
    page.pictures = picture_.page(decimals(), rows().worst());
    page.count = summary().count();
    page.is_judged = summary().is_judged();
    ReportPage::Points points{"Points", columns.headings(), {}};
    for (const SectionRow& row : page_rows_.in_order())
        points.rows.push_back(
            {row.id, columns.cells(describe(row, head()), decimals()), row.in_tolerance});
    page.tables.push_back(std::move(points));
    page.provenance = provenance(head(), outline_);
    return page.html();
}

} // namespace velm::inspect
