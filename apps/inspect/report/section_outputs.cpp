#include "inspect/report/section_outputs.h"

#include "inspect/base/number_text.h"
#include "inspect/report/alignment_report.h"
#include "inspect/report/report_page.h"
#include "velm/version.h"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace velm::inspect {
namespace {

using Lines = std::vector<std::pair<std::string, std::string>>;

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

} // namespace

SectionOutputs::SectionOutputs(const SectionHead& head, const Outline& outline,
                               const OutputPaths& paths)
    : InspectionOutputs("section", head, paths), outline_(outline), picture_(head, outline) {}

void SectionOutputs::take(const SectionRow& row) {
    ++places_[static_cast<std::size_t>(row.comparison.place)];
    if (has_page()) page_rows_.add(row);
    if (has_picture()) picture_.add(row);
}

std::string SectionOutputs::svg() const { return picture_.svg(summary(), rows().worst()); }

std::string SectionOutputs::page() const {
    std::vector<std::string_view> left_out;
    if (outline_.contours.size() == 1) left_out.push_back("contour");
    const SectionRow any;
    const PageColumns columns(describe(any, head()), "deviation", left_out);
    ReportPage page;
    page.title = head().title.empty() ? "Section" : head().title;
    page.subtitle = head().measured + " against " + head().nominal;
    page.pictures = picture_.page(rows().worst());
    page.columns = columns.headings();
    for (const SectionRow& row : page_rows_.in_order())
        page.rows.push_back(
            {row.id, columns.cells(describe(row, head()), decimals()), row.in_tolerance});
    page.provenance = provenance(head(), outline_);
    return page.html(summary());
}

std::string SectionOutputs::text_below() const {
    const auto count = [&](OutlinePlace place) { return places_[static_cast<std::size_t>(place)]; };
    std::string text = summary_text(
        summary(), rows().shows_worst() ? rows().worst().size() : 0,
        head().measured + " against " + head().nominal,
        {{"inside the material", count(OutlinePlace::inside)},
         {"on the outline", count(OutlinePlace::on_edge) + count(OutlinePlace::on_vertex)},
         {"outside of it", count(OutlinePlace::outside)}});
    if (head().alignment) text += alignment_text(*head().alignment);
    return text;
}

} // namespace velm::inspect
