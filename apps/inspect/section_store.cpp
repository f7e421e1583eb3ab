#include "inspect/section_store.h"

#include <algorithm>

#include "inspect/record_properties.h"
#include "velm/version.h"

namespace velm::inspect {
namespace {

// The colours of an edge: a palette number as CAD systems have it, and red, green, blue.
struct Colour {
    int number;
    unsigned long rgb;
};
constexpr Colour out_of_tolerance{1, 0x7F0012};
constexpr Colour in_tolerance{3, 0x2E7D32};
constexpr Colour not_judged{7, 0x22303C};

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

} // namespace

void SectionStore::EdgeFigures::add(const SectionRow& row) {
    minimum = count == 0 ? row.deviation : std::min(minimum, row.deviation);
    maximum = count == 0 ? row.deviation : std::max(maximum, row.deviation);
    ++count;
    if (row.in_tolerance == false) ++out_of_tolerance;
}

SectionStore::SectionStore(OutputSet& outputs, const std::string& path, const Outline& outline,
                           const SectionHead& head)
    : file_(outputs, path), entities_(outline, head.nominal), tolerance_(head.tolerance) {
    for (const Contour& contour : outline.contours)
        figures_.emplace_back(static_cast<std::size_t>(contour.size()));
    section_ = new_record(section_kind);
    section_->name(outline.title.empty() ? head.nominal.c_str() : outline.title.c_str());
    put(*section_, RecordKey::program, std::string("velm-inspect " VELM_VERSION_STRING));
    put(*section_, RecordKey::nominal, head.nominal);
    put(*section_, RecordKey::measured, head.measured);
    put_tolerance(*section_, head.tolerance);
    if (head.frame) put_frame(*section_, *head.frame);
    if (head.max_height) put(*section_, RecordKey::max_height, *head.max_height);
    file_.save(section_);
}

void SectionStore::add(const SectionRow& row) {
    const Comparison& found = row.comparison;
    figures_[static_cast<std::size_t>(found.contour)][static_cast<std::size_t>(found.edge)].add(
        row);
    const t_SmartPtr<ERDBObject> point = new_record(point_kind);
    put(*point, RecordKey::section, section_->getObjectID());
    put(*point, RecordKey::point_id, row.id);
    put_measured(*point, row);
    put(*point, RecordKey::foot_x, found.foot.x());
    put(*point, RecordKey::foot_y, found.foot.y());
    put(*point, RecordKey::contour, found.contour);
    put(*point, RecordKey::edge, found.edge);
    put(*point, RecordKey::distance, found.distance);
    put(*point, RecordKey::deviation, row.deviation);
    if (row.in_tolerance) put(*point, RecordKey::within, *row.in_tolerance ? 1 : 0);
    file_.save(point);
}

void SectionStore::save_edge(int contour, int edge, const EdgeFigures& figures) {
    const t_SmartPtr<ERDBObject> record = new_record(edge_kind);
    record->object(entities_.entity(contour, edge));
    record->name(("contour " + std::to_string(contour) + " edge " + std::to_string(edge)).c_str());
    record->level(contour);
    record->level_name(contour == 0 ? "outer" : "hole");
    const Colour colour = !tolerance_ || figures.count == 0 ? not_judged
                          : figures.out_of_tolerance > 0    ? out_of_tolerance
                                                            : in_tolerance;
    record->color(colour.number);
    record->color_rgb(colour.rgb);
    put(*record, RecordKey::section, section_->getObjectID());
    put(*record, RecordKey::contour, contour);
    put(*record, RecordKey::edge, edge);
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
    file_.save_again(*section_);
    file_.close();
}

} // namespace velm::inspect
