// The records of each kind of inspection, written.
#include "velm/frame/point23_list.h"
#include "velm/inspection/detail/edge_record.h"
#include "velm/inspection/detail/mesh_of_face.h"
#include "velm/inspection/detail/record_fields.h"
#include "velm/inspection/inspection_records.h"
#include "velm/inspection/section_target.h"
#include "velm/inspection/surface_target.h"
#include "velm/platform/file_exception.h"

#include <algorithm>

namespace velm {

using detail::new_record;
using detail::put;

namespace {

// A palette number as CAD systems have it, and red, green, blue.
struct Color {
    int number;
    unsigned long rgb;
};
constexpr Color red{1, 0x7F0012}, green{3, 0x2E7D32}, dark{7, 0x22303C};

// Green in tolerance, red out of it, dark without a judgement.
void put_color(ERDBObject& record, const std::optional<bool>& in_tolerance) {
    const Color& color = !in_tolerance ? dark : *in_tolerance ? green : red;
    record.color(color.number);
    record.color_rgb(color.rgb);
}

} // namespace

InspectionRecordWriter::InspectionRecordWriter(ERDataBase& data, std::string_view program,
                                               const char* kind)
    : data_(data), head_(new_record(kind)) {
    put(*head_, RecordKey::program, program);
}

void InspectionRecordWriter::save_object(ERDBObject& record) {
    const gmErrorCode code = data_.save(t_SmartPtr<ERObject>(&record));
    if (code != gmSuccess) // the codes are the causes of file exceptions
        AfxThrowFileException(code == gmFileRefused ? gmInvalidFile : code, -1, nullptr);
}

void InspectionRecordWriter::save_head() { save_object(*head_); }

void InspectionRecordWriter::save(const t_SmartPtr<ERDBObject>& record) {
    save_object(*record);
    ++records_;
}

void InspectionRecordWriter::finish_head(const Summary& summary) {
    detail::put_subject(*head_, summary.figures());
    detail::put_total(*head_, RecordKey::records, records_);
    if (!head_->Save(nullptr)) AfxThrowFileException(CFileException::genericException, -1, nullptr);
}

void SectionRecordWriter::EdgeFigures::add(const SectionRow& row) {
    if (!row.is_assigned) return;
    minimum = count == 0 ? row.deviation : std::min(minimum, row.deviation);
    maximum = count == 0 ? row.deviation : std::max(maximum, row.deviation);
    ++count;
    if (row.in_tolerance == false) ++out_of_tolerance;
}

SectionRecordWriter::SectionRecordWriter(ERDataBase& data, std::string_view program,
                                         const SectionHead& head, const Outline& outline)
    : InspectionRecordWriter(data, program, section_kind), described_(head), outline_(outline),
      entities_(outline, head.title, head.nominal) {
    for (const Contour& contour : outline.contours)
        figures_.emplace_back(static_cast<std::size_t>(contour.size()));
    described_.contours = static_cast<int>(outline.contours.size());
    described_.edges = outline.edge_count();
    this->head().name(head.title.empty() ? head.nominal.c_str() : head.title.c_str());
    detail::put_subject(this->head(), described_);
    save_head();
}

void SectionRecordWriter::add(const SectionRow& row) {
    const OutlineComparison& found = row.comparison;
    figures_[static_cast<std::size_t>(found.contour)][static_cast<std::size_t>(found.edge)].add(
        row);
    const t_SmartPtr<ERDBObject> point = new_record(point_kind);
    const gmTargetPoint target = section_target(row, described_.frame);
    point->object(t_SmartPtr<ERObject>(new gmTargetPoint(target)));
    put(*point, RecordKey::section, head().getObjectID());
    detail::put_fields(*point, describe(row, described_));
    save(point);
}

void SectionRecordWriter::save_edge(int contour, int edge, const EdgeFigures& found) {
    const t_SmartPtr<ERDBObject> record = new_record(edge_kind);
    record->object(entities_.entity(contour, edge));
    record->name(("contour " + std::to_string(contour) + " edge " + std::to_string(edge)).c_str());
    record->level(contour);
    record->level_name(outline_.is_hole[static_cast<std::size_t>(contour)] ? "hole" : "outer");
    const std::optional<Tolerance>& tolerance = described_.tolerance;
    std::optional<bool> in_tolerance;
    if (described_.is_judged() && found.count > 0) in_tolerance = found.out_of_tolerance == 0;
    put_color(*record, in_tolerance);
    put(*record, RecordKey::section, head().getObjectID());
    detail::put_subject(*record, detail::EdgePlace(outline_, contour, edge));
    detail::put_subject(*record, detail::IdentifierNames(entities_.identifier(contour, edge)));
    detail::EdgeSummary figures{tolerance, found.count, {}, {}, {}, {}};
    if (described_.is_judged()) {
        figures.in_tolerance = found.count - found.out_of_tolerance;
        figures.out_of_tolerance = found.out_of_tolerance;
    }
    if (found.count > 0) {
        figures.minimum = found.minimum;
        figures.maximum = found.maximum;
    }
    detail::put_subject(*record, figures);
    save(record);
}

void SectionRecordWriter::finish(const Summary& summary) {
    for (std::size_t contour = 0; contour < figures_.size(); ++contour)
        for (std::size_t edge = 0; edge < figures_[contour].size(); ++edge)
            save_edge(static_cast<int>(contour), static_cast<int>(edge), figures_[contour][edge]);
    finish_head(summary);
}

TargetRecordWriter::TargetRecordWriter(ERDataBase& data, std::string_view program,
                                       const TargetHead& head)
    : InspectionRecordWriter(data, program, targets_kind), described_(head) {
    this->head().name(head.table_name().c_str());
    detail::put_subject(this->head(), described_);
    detail::put_subject(this->head(), detail::IdentifierNames(nominal_point(head, 0)));
    save_head();
}

void TargetRecordWriter::add(const TargetRow& row) {
    const t_SmartPtr<ERDBObject> record = new_record(target_kind);
    record->object(t_SmartPtr<ERObject>(row.target.getCopy()));
    put_color(*record, row.in_tolerance);
    put(*record, RecordKey::targets, head().getObjectID());
    detail::put_fields(*record, describe(row, described_));
    save(record);
}

SurfaceRecordWriter::SurfaceRecordWriter(ERDataBase& data, std::string_view program,
                                         const SurfaceHead& head, const NominalMesh& mesh)
    : InspectionRecordWriter(data, program, surfaces_kind), described_(head), mesh_(mesh),
      figures_(head.faces.size()) {
    described_.face_count = static_cast<int>(head.faces.size());
    this->head().name(head.nominal.c_str());
    detail::put_subject(this->head(), described_);
    save_head();
}

void SurfaceRecordWriter::add(const SurfaceRow& row) {
    figures_.add(row);
    const t_SmartPtr<ERDBObject> record = new_record(surface_point_kind);
    record->object(t_SmartPtr<ERObject>(new gmTargetPoint(surface_target(row))));
    put_color(*record, row.in_tolerance);
    put(*record, RecordKey::surfaces, head().getObjectID());
    detail::put_fields(*record, describe(row, described_));
    save(record);
}

namespace {

// The corners, then their normals, each with the parameters 0.
t_SmartPtr<ERObject> stored_corners(const detail::FaceMesh& mesh) {
    ERVec<ERPoint3D> points;
    for (const ERPoint3D& p : mesh.positions)
        points.push_back(p);
    for (const ERVector3D& normal : mesh.normals)
        points.push_back(ERPoint3D(normal));
    ERVec<ERPoint2D> parameters;
    for (int i = 0; i < points.size(); ++i)
        parameters.push_back(ERPoint2D(0, 0));
    return t_SmartPtr<ERObject>(new ERVecPoint23(points, parameters));
}

std::string corners_text(const detail::FaceMesh& mesh) {
    std::string text;
    for (const int corner : mesh.corners)
        text += (text.empty() ? "" : " ") + std::to_string(corner);
    return text;
}

} // namespace

void SurfaceRecordWriter::finish(const Summary& summary) {
    const std::vector<detail::FaceMesh> meshes =
        detail::face_meshes(mesh_, described_.faces.size());
    const std::vector<FaceFigures> figures = figures_.figures(described_);
    for (std::size_t f = 0; f < meshes.size(); ++f) {
        const FaceFigures& found = figures[f];
        const t_SmartPtr<ERDBObject> record = new_record(surface_face_kind);
        record->object(stored_corners(meshes[f]));
        record->name(found.face.c_str());
        put_color(*record, found.out_of_tolerance ? std::optional(*found.out_of_tolerance == 0)
                                                  : std::nullopt);
        put(*record, RecordKey::surfaces, head().getObjectID());
        detail::put_subject(*record, described_.faces[f]);
        std::optional<std::uint64_t> in;
        if (found.out_of_tolerance) in = found.count - *found.out_of_tolerance;
        detail::put_subject(
            *record,
            detail::EdgeSummary{
                {}, found.count, in, found.out_of_tolerance, found.minimum, found.maximum});
        put(*record, RecordKey::triangles, corners_text(meshes[f]));
        save(record);
    }
    finish_head(summary);
}

} // namespace velm
