#include "inspect/keep/section_record.h"

#include <cmath>

#include "inspect/base/number_text.h"
#include "inspect/keep/alignment_properties.h"
#include "inspect/result/frame_complaint.h"
#include "velm/inspection/section_result.h"
#include "velm/planar/outline_checks.h"
#include "velm/planar/outline_nesting.h"
#include "velm/wireframe/segment.h"

namespace velm::inspect {
namespace {

ERPoint2D point(const RecordFields& fields, RecordKey x, RecordKey y) {
    return {fields.number(x), fields.number(y)};
}

// The last inspections without these keys can't be reported.
void require_whole(const StoreReader& reader, const StoredInspection& inspection) {
    const RecordFields fields = inspection.fields(reader);
    if (fields.has(RecordKey::records)) return;
    if (fields.has(RecordKey::count))
        inspection.refuse(reader, "was kept by " + fields.optional_text(RecordKey::program) +
                                      ", which left out what a report needs; inspect it again "
                                      "with --store");
    inspection.refuse(reader, "was not finished: the program that kept it was stopped");
}

void read_place(const RecordFields& fields, SectionRow& row) {
    row.measured = point(fields, RecordKey::measured_x, RecordKey::measured_y);
    row.space.reset();
    if (!fields.has(RecordKey::height)) return;
    row.space =
        SpacePoint{{row.measured.x(), row.measured.y(), fields.number(RecordKey::measured_z)},
                   fields.number(RecordKey::height)};
    row.measured = point(fields, RecordKey::section_x, RecordKey::section_y);
}

OutlineComparison read_comparison(const RecordFields& fields, const Outline& outline) {
    OutlineComparison found;
    found.foot = point(fields, RecordKey::foot_x, RecordKey::foot_y);
    const std::uint64_t contour = fields.count(RecordKey::contour);
    const std::uint64_t edge = fields.count(RecordKey::edge);
    if (contour >= outline.contours.size() ||
        edge >= static_cast<std::uint64_t>(outline.contours[contour].size()))
        fields.refuse("its foot lies on an edge that the outline doesn't have");
    found.contour = static_cast<int>(contour);
    found.edge = static_cast<int>(edge);
    found.parameter = fields.number(RecordKey::parameter);
    found.distance = fields.number(RecordKey::distance);
    const std::uint64_t place = fields.count(RecordKey::place);
    if (place >= place_count) fields.refuse("the point's place is unknown");
    found.place = static_cast<OutlinePlace>(place);
    found.outward =
        ERVector2D(fields.number(RecordKey::outward_x), fields.number(RecordKey::outward_y));
    if (found.parameter < 0.0 || found.parameter > 1.0)
        fields.refuse("its foot lies beyond the ends of the edge");
    return found;
}

} // namespace

SectionRecord::SectionRecord(StoreReader& reader, const StoredInspection& inspection)
    : reader_(reader), inspection_(inspection) {
    require_whole(reader, inspection);
    const RecordFields fields = inspection_.fields(reader);
    count_ = fields.count(RecordKey::count);
    if (count_ == 0) fields.refuse("expected at least one point");
    read_head(fields);
    read_outline(fields);
}

void SectionRecord::read_head(const RecordFields& fields) {
    head_.nominal = fields.text(RecordKey::nominal);
    head_.measured = fields.text(RecordKey::measured);
    head_.tolerance = fields.tolerance();
    head_.max_height = fields.optional_number(RecordKey::max_height);
    head_.alignment = get_alignment(fields);
    if (!fields.has(RecordKey::frame_numbers)) return;
    std::vector<double> numbers;
    const std::string complaint = parse_numbers(fields.text(RecordKey::frame_numbers), numbers);
    if (!complaint.empty()) fields.refuse("frame: " + complaint);
    const FrameFault fault = head_.frame.emplace().set(numbers);
    if (fault != FrameFault::none) fields.refuse(std::string("frame: ") + frame_complaint(fault));
}

void SectionRecord::read_outline(const RecordFields& fields) {
    head_.title = fields.optional_text(RecordKey::title);
    const std::optional<OutlineForm> form = form_of_name(fields.text(RecordKey::form));
    if (!form) fields.refuse("the form of the outline is unknown");
    head_.form = *form;
    const std::uint64_t edges = fields.count(RecordKey::edge_count);
    head_.edges = edges;
    for (std::uint64_t edge = 0; edge < edges; ++edge) {
        const t_SmartPtr<ERDBObject> record = inspection_.part(
            reader_, count_ + edge, edge_kind, RecordKey::section, "edge " + std::to_string(edge));
        add_edge(RecordFields(*record, reader_.path()));
    }
    if (outline_.contours.size() != fields.count(RecordKey::contour_count))
        fields.refuse("the outline has another number of contours than it should");
    for (const Contour& contour : outline_.contours)
        if (!has_area(contour)) fields.refuse("a contour of the outline goes round no area");
    head_.contours = static_cast<int>(outline_.contours.size());
    if (outline_.contours.empty() || settle_areas(outline_))
        fields.refuse("two contours of the outline cross, or it has none");
}

void SectionRecord::add_edge(const RecordFields& fields) {
    std::vector<Contour>& contours = outline_.contours;
    const std::uint64_t at = fields.count(RecordKey::contour);
    if (at == contours.size()) contours.emplace_back();
    if (at + 1 != contours.size() ||
        fields.count(RecordKey::edge) != static_cast<std::uint64_t>(contours.back().size()))
        fields.refuse("the edge is not the next one of the outline");
    const t_SmartPtr<ERObject> entity = fields.record().object();
    if (const ERSegment2D* const segment = ERSegment2D::castdown(entity.get())) {
        contours.back().append(segment->getP1());
        return;
    }
    const auto vertex = [&] { return point(fields, RecordKey::vertex_x, RecordKey::vertex_y); };
    if (const ERCpoleNURBS2D* const curve = ERCpoleNURBS2D::castdown(entity.get())) {
        std::shared_ptr<const CurveEdge> edge = CurveEdge::make(*curve);
        if (!edge) fields.refuse("the edge is no curve that can be evaluated");
        contours.back().append(vertex(), std::move(edge));
        return;
    }
    const ERCircle2D* const circle = ERCircle2D::castdown(entity.get());
    const ERArc2D* arc = ERArc2D::castdown(entity.get());
    if (circle == nullptr && arc == nullptr)
        fields.refuse("the edge has lost its segment, arc, circle or curve");
    const ERArc2D turn = arc != nullptr ? *arc
                                        : ERArc2D(*circle, fields.number(RecordKey::start_angle),
                                                  fields.number(RecordKey::end_angle));
    if (!is_arc_of_circle(turn)) fields.refuse("the edge is no arc of a circle");
    contours.back().append(vertex(), turn);
}

// What was found follows from the distance, and each point has what the head announces.
void SectionRecord::require_consistent(const SectionRow& row, const RecordFields& fields) const {
    const bool is_followed = row.deviation == row.comparison.distance - row.diameter / 2.0 &&
                             std::fabs(row.deviation) <= largest_deviation;
    const bool same_judgement =
        !row.in_tolerance || *row.in_tolerance == (fields.count(RecordKey::within) != 0);
    if (!is_followed || !same_judgement)
        fields.refuse("what was found contradicts the distance of the point");
    if (row.space.has_value() != head_.frame.has_value())
        fields.refuse("expected the point's height where the section has a frame, and only there");
    const bool is_aligned = head_.alignment.has_value();
    if (row.aligned.has_value() != is_aligned || row.deviation_before.has_value() != is_aligned)
        fields.refuse("expected the moved point where there is an alignment, and only there");
    if (is_aligned && !std::isfinite(row.aligned->x() + row.aligned->y() + *row.deviation_before))
        fields.refuse("the moved point lies nowhere");
}

bool SectionRecord::next(SectionRow& row) {
    if (read_ == count_) return false;
    const t_SmartPtr<ERDBObject> record = inspection_.part(
        reader_, read_, point_kind, RecordKey::section, "point " + std::to_string(read_));
    const RecordFields fields(*record, reader_.path());
    if (fields.count(RecordKey::number) != read_) fields.refuse("the point is not the next one");
    row.index = read_++;
    row.id = fields.text(RecordKey::point_id);
    read_place(fields, row);
    get_aligned(fields, head_.alignment.has_value(), row);
    row.diameter = fields.number(RecordKey::diameter);
    row.comparison = read_comparison(fields, outline_);
    row.deviation = fields.number(RecordKey::deviation);
    judge(row, head_.tolerance);
    require_consistent(row, fields);
    return true;
}

} // namespace velm::inspect
