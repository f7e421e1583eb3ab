#include "inspect/keep/section_store.h"

#include <algorithm>

#include "inspect/base/number_text.h"
#include "inspect/keep/alignment_properties.h"
#include "inspect/keep/record_colour.h"
#include "inspect/keep/record_properties.h"
#include "velm/inspection/section_result.h"
#include "velm/inspection/section_target.h"
#include "velm/version.h"

namespace velm::inspect {
namespace {

void put_frame(ERDBObject& record, const SectionFrame& frame) {
    const ERPoint3D origin = frame.origin();
    put(record, RecordKey::frame_origin_x, origin.x());
    put(record, RecordKey::frame_origin_y, origin.y());
    put(record, RecordKey::frame_origin_z, origin.z());
    const ERVector3D normal = frame.normal();
    put(record, RecordKey::frame_normal_x, normal.i());
    put(record, RecordKey::frame_normal_y, normal.j());
    put(record, RecordKey::frame_normal_z, normal.k());
    const ERVector3D axis = frame.first_axis();
    put(record, RecordKey::frame_axis_x, axis.i());
    put(record, RecordKey::frame_axis_y, axis.j());
    put(record, RecordKey::frame_axis_z, axis.k());
    std::string numbers;
    for (const double number : frame.numbers())
        numbers += (numbers.empty() ? "" : " ") + shortest(number);
    put(record, RecordKey::frame_numbers, numbers);
}

void put_outline(ERDBObject& record, const SectionHead& head) {
    if (!head.title.empty()) put(record, RecordKey::title, head.title);
    put(record, RecordKey::form, std::string(name_of_form(head.form)));
    put_count(record, RecordKey::contour_count, static_cast<std::uint64_t>(head.contours));
    put_count(record, RecordKey::edge_count, head.edges);
}

void put_measured(ERDBObject& record, const SectionRow& row) {
    if (!row.space) {
        put(record, RecordKey::measured_x, row.measured.x());
        put(record, RecordKey::measured_y, row.measured.y());
        return;
    }
    put(record, RecordKey::measured_x, row.space->measured.x());
    put(record, RecordKey::measured_y, row.space->measured.y());
    put(record, RecordKey::measured_z, row.space->measured.z());
    put(record, RecordKey::height, row.space->height);
    put(record, RecordKey::section_x, row.measured.x());
    put(record, RecordKey::section_y, row.measured.y());
}

// What an edge's entity doesn't hold: the vertex beside an arc or a curve, where a circle begins.
void put_edge(ERDBObject& record, const Contour& contour, int edge) {
    if (contour.is_straight(edge)) return;
    put(record, RecordKey::vertex_x, contour[edge].x());
    put(record, RecordKey::vertex_y, contour[edge].y());
    const ERArc2D* const arc = contour.arc(edge);
    if (arc == nullptr || contour.size() > 1) return;
    put(record, RecordKey::start_angle, double(arc->startAngle()));
    put(record, RecordKey::end_angle, double(arc->endAngle()));
}

} // namespace

void SectionStore::EdgeFigures::add(const SectionRow& row) {
    minimum = count == 0 ? row.deviation : std::min(minimum, row.deviation);
    maximum = count == 0 ? row.deviation : std::max(maximum, row.deviation);
    ++count;
    if (row.in_tolerance == false) ++out_of_tolerance;
}

SectionStore::SectionStore(OutputSet& outputs, const std::string& path, const Outline& outline,
                           const SectionHead& head, bool sync)
    : file_(outputs, path, sync), outline_(outline), entities_(outline, head.title, head.nominal),
      tolerance_(head.tolerance), frame_(head.frame) {
    for (const Contour& contour : outline.contours)
        figures_.emplace_back(static_cast<std::size_t>(contour.size()));
    section_ = new_record(section_kind);
    section_->name(head.title.empty() ? head.nominal.c_str() : head.title.c_str());
    put(*section_, RecordKey::program, std::string("velm-inspect " VELM_VERSION_STRING));
    put(*section_, RecordKey::nominal, head.nominal);
    put(*section_, RecordKey::measured, head.measured);
    put_tolerance(*section_, head.tolerance);
    if (head.frame) put_frame(*section_, *head.frame);
    if (head.max_height) put(*section_, RecordKey::max_height, *head.max_height);
    put_outline(*section_, head);
    put_alignment(*section_, head.alignment);
    file_.save(section_);
}

void SectionStore::add(const SectionRow& row) {
    const OutlineComparison& found = row.comparison;
    figures_[static_cast<std::size_t>(found.contour)][static_cast<std::size_t>(found.edge)].add(
        row);
    const t_SmartPtr<ERDBObject> point = new_record(point_kind);
    point->object(t_SmartPtr<ERObject>(new gmTargetPoint(section_target(row, frame_))));
    put(*point, RecordKey::section, section_->getObjectID());
    put_count(*point, RecordKey::number, row.index);
    put(*point, RecordKey::point_id, row.id);
    put_measured(*point, row);
    put_aligned(*point, row);
    put(*point, RecordKey::foot_x, found.foot.x());
    put(*point, RecordKey::foot_y, found.foot.y());
    put(*point, RecordKey::contour, found.contour);
    put(*point, RecordKey::edge, found.edge);
    put(*point, RecordKey::parameter, found.parameter);
    put(*point, RecordKey::outward_x, found.outward.i());
    put(*point, RecordKey::outward_y, found.outward.j());
    put(*point, RecordKey::diameter, row.diameter);
    put(*point, RecordKey::place, static_cast<int>(found.place));
    put(*point, RecordKey::distance, found.distance);
    put(*point, RecordKey::deviation, row.deviation);
    if (row.in_tolerance) put(*point, RecordKey::within, *row.in_tolerance ? 1 : 0);
    file_.save(point);
    ++points_;
}

void SectionStore::save_edge(int contour, int edge, const EdgeFigures& figures) {
    const t_SmartPtr<ERDBObject> record = new_record(edge_kind);
    record->object(entities_.entity(contour, edge));
    record->name(("contour " + std::to_string(contour) + " edge " + std::to_string(edge)).c_str());
    record->level(contour);
    record->level_name(outline_.is_hole[static_cast<std::size_t>(contour)] ? "hole" : "outer");
    std::optional<bool> in_tolerance;
    if (tolerance_ && figures.count > 0) in_tolerance = figures.out_of_tolerance == 0;
    put_colour(*record, in_tolerance);
    put(*record, RecordKey::section, section_->getObjectID());
    put(*record, RecordKey::contour, contour);
    put(*record, RecordKey::edge, edge);
    put_edge(*record, outline_.contours[static_cast<std::size_t>(contour)], edge);
    put_identifier(*record, entities_.identifier(contour, edge));
    put_tolerance(*record, tolerance_);
    put_count(*record, RecordKey::count, figures.count);
    if (tolerance_) {
        put_count(*record, RecordKey::in_tolerance, figures.count - figures.out_of_tolerance);
        put_count(*record, RecordKey::out_of_tolerance, figures.out_of_tolerance);
    }
    if (figures.count > 0) {
        put(*record, RecordKey::minimum, figures.minimum);
        put(*record, RecordKey::maximum, figures.maximum);
    }
    file_.save(record);
}

void SectionStore::finish(const Summary& summary) {
    for (std::size_t contour = 0; contour < figures_.size(); ++contour)
        for (std::size_t edge = 0; edge < figures_[contour].size(); ++edge)
            save_edge(static_cast<int>(contour), static_cast<int>(edge), figures_[contour][edge]);
    put_summary(*section_, summary);
    put_count(*section_, RecordKey::records, points_ + outline_.edge_count());
    file_.save_again(*section_);
    file_.close();
}

} // namespace velm::inspect
