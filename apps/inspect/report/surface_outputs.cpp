#include "inspect/report/surface_outputs.h"

#include "inspect/base/number_text.h"
#include "inspect/report/report_page.h"
#include "velm/version.h"

#include <string_view>
#include <utility>

namespace velm::inspect {
namespace {

constexpr std::size_t most_faces = 40; // in the table for a terminal

ViewMesh view_of(const NominalMesh& mesh, const SurfaceHead& head) {
    ViewMesh view;
    for (const InspectedFace& face : head.faces)
        view.faces.push_back({face.path, face.surface});
    view.positions = mesh.positions;
    view.normals = mesh.normals;
    view.triangles = mesh.triangles;
    view.face_of_triangle = mesh.face_of_triangle;
    return view;
}

HeadLines provenance(const SurfaceHead& head) {
    return {{"Nominal", head.nominal},
            {"Faces", grouped(head.faces.size(), ",")},
            {"Measured", head.measured},
            {"A positive deviation", "outside of the material"},
            {"Made by", "velm-inspect " VELM_VERSION_STRING}};
}

std::optional<bool> is_in(const FaceFigures& face) {
    return face.out_of_tolerance ? std::optional(*face.out_of_tolerance == 0) : std::nullopt;
}

} // namespace

SurfaceOutputs::SurfaceOutputs(const SurfaceHead& head, const NominalMesh& mesh,
                               const OutputPaths& paths)
    : InspectionOutputs("surface", head, paths), mesh_(mesh), faces_(head.faces.size()),
      picture_(head.tolerance) {
    gathered().may_be_unassigned = true;
    if (head.has_face_limits()) gathered().has_row_limits = true;
    if (Output* const ply = set().add_if_asked(paths.ply)) ply_.emplace(*ply, this->head());
    if (Output* const vtp = set().add_if_asked(paths.vtp)) vtp_.emplace(*vtp, this->head(), mesh);
}

void SurfaceOutputs::take(const SurfaceRow& row) {
    faces_.add(row);
    if (row.found) ++places_[static_cast<std::size_t>(row.found->place)];
    if (ply_) ply_->add(row);
    if (vtp_) vtp_->add(row);
    if (!has_page()) return;
    page_rows_.add(row);
    picture_.add(
        view_point(row, tolerance_of(row, head()), row.found ? row.found->foot : row.measured,
                   row.found ? row.found->normal : ERVector3D(), row.found ? row.found->face : -1));
}

void SurfaceOutputs::finish_files() {
    if (ply_) ply_->finish(report_head());
    if (vtp_) vtp_->finish(report_head());
}

ReportHead SurfaceOutputs::report_head() const {
    ReportHead shown;
    shown.title = "Part against its surfaces";
    shown.subtitle = head().measured + " against " + head().nominal;
    shown.verdict = verdict_of(summary());
    shown.lines = head_lines(head(), summary());
    if (!head().left_out.empty())
        shown.lines.emplace_back("faces that could not be taken",
                                 grouped(head().left_out.size(), ","));
    if (head().alignment)
        for (auto& line : alignment_lines(*head().alignment, decimals()))
            shown.lines.push_back(std::move(line));
    return shown;
}

std::vector<FigureLine> SurfaceOutputs::figure_lines() const {
    return inspect::figure_lines(summary(), decimals(),
                                 {{"nearest inside of a face", places_[0]},
                                  {"nearest on an edge", places_[1]},
                                  {"nearest at a corner", places_[2]}});
}

std::string SurfaceOutputs::group_text() const {
    std::vector<FaceFigures> faces;
    std::size_t others = 0;
    for (const bool is_out : {true, false}) // out of tolerance first
        for (FaceFigures& face : faces_.figures(head())) {
            if (face.count == 0 || (is_in(face) == false) != is_out) continue;
            if (faces.size() < most_faces)
                faces.push_back(std::move(face));
            else
                ++others;
        }
    std::vector<Described> rows;
    for (const FaceFigures& face : faces)
        rows.push_back(describe(face));
    std::string text = rows_text(rows, decimals());
    if (others > 0) text += "(and " + grouped(others, ",") + " more faces with points)\n";
    return text.empty() ? text : text + "\n";
}

void SurfaceOutputs::add_lists(JsonReport& json) const {
    json.add_list("faces", faces_.figures(head()), true);
    if (head().skips_bad) json.add_list("left_out", skipped_faces(head()));
}

ReportPage::Points SurfaceOutputs::table_of_faces() const {
    ReportPage::Points table{"Faces", {}, {}, "face"};
    constexpr std::string_view left_out[] = {"face"};
    for (const FaceFigures& face : faces_.figures(head())) {
        if (face.count == 0) continue;
        const PageColumns columns(describe(face), "out_of_tolerance", left_out);
        if (table.columns.empty()) table.columns = columns.headings();
        table.rows.push_back({face.face, columns.cells(describe(face), decimals()), is_in(face)});
    }
    return table;
}

ReportPage::Points SurfaceOutputs::table_of_points(const std::vector<SurfaceRow>& rows) const {
    const SurfaceRow any;
    const PageColumns columns(describe(any, head()), "deviation", {});
    ReportPage::Points table{"Points", columns.headings(), {}};
    for (const SurfaceRow& row : rows)
        table.rows.push_back(
            {row.id, columns.cells(describe(row, head()), decimals()), row.in_tolerance});
    return table;
}

std::string SurfaceOutputs::page() const {
    ReportPage page;
    page.head = report_head();
    page.groups = group_tables();
    page.groups.push_back(table_of_faces());
    page.figures = inspect::figure_lines(summary(), decimals());
    page.pictures = picture_.page(view_of(mesh_, head()), decimals());
    page.count = summary().count();
    page.is_judged = summary().is_judged();
    page.tables.push_back(table_of_points(page_rows_.in_order()));
    page.provenance = provenance(head());
    return page.html();
}

} // namespace velm::inspect
