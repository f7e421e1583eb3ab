// The records of each kind of inspection, read.
#include "velm/frame/point23_list.h"
#include "velm/inspection/detail/edge_record.h"
#include "velm/inspection/detail/mesh_of_face.h"
#include "velm/inspection/detail/record_fields.h"
#include "velm/inspection/inspection_records.h"
#include "velm/planar/outline_checks.h"
#include "velm/planar/outline_nesting.h"
#include "velm/wireframe/segment.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace velm {

using detail::RecordProperties;

namespace {

void require_ascending(const RecordProperties& properties,
                       const std::optional<Tolerance>& tolerance) {
    if (tolerance && tolerance->lower > tolerance->upper)
        properties.refuse_key(static_cast<long>(RecordKey::tolerance_upper), "upper",
                              "a limit that is not below the lower one");
}

template <class Head>
void read_head(const RecordProperties& properties, Head& head) {
    head.rule.reset();
    detail::get_subject(properties, head);
    require_ascending(properties, head.tolerance);
}

// Judges a row that was read and has its judgement by the run.
template <class Row>
void judge_again(const RecordProperties& properties, Row& row, const typename Row::Head& head,
                 const char* complaint) {
    const std::optional<bool> by_the_run = row.in_tolerance;
    if (row.limits && row.limits->lower > row.limits->upper)
        properties.refuse("its lower limit is above the upper one");
    judge(row, head);
    if (row.in_tolerance && row.in_tolerance != by_the_run) properties.refuse(complaint);
}

double largest_coordinate(const ERPoint3D& p) {
    return std::max({std::fabs(p.x()), std::fabs(p.y()), std::fabs(p.z())});
}

constexpr const char* another_distance = "what was found contradicts the distance of the point";
constexpr const char* another_target = "what was found contradicts the target";

// Points near enough to be compared; a normal of length 1 if the record has a deviation along it.
bool is_sound(const gmTargetPoint& target, const RecordProperties& properties) {
    ERVector3D normal;
    if (!is_comparable(target)) return false;
    if (target.get_surface_normal(normal) == 0) return !properties.has(RecordKey::deviation);
    return std::fabs(normal.norme2() - 1.0) <= 1e-9;
}

// The deviation, found again from the target, is what the record says, except for roundings of a
// program of another version: a few of the largest coordinate, and of their differences.
void require_same(const TargetRow& row, const RecordProperties& properties) {
    const gmTargetPoint& target = row.target;
    const RecordKey key = target.is_compensated() != 0 ? RecordKey::deviation : RecordKey::distance;
    const double kept = properties.number(static_cast<long>(key), "deviation");
    const double size =
        largest_coordinate(target.target_point()) + largest_coordinate(target.calculated_point());
    if (!(std::fabs(kept - row.deviation) <= 1e-12 * size)) properties.refuse(another_target);
}

// What no field says alone.
void require_sound(const SectionRow& row, const SectionHead& head, const Outline& outline,
                   const RecordProperties& properties) {
    const OutlineComparison& found = row.comparison;
    const auto contour = static_cast<std::size_t>(found.contour);
    if (contour >= outline.contours.size() || found.edge >= outline.contours[contour].size())
        properties.refuse("its foot lies on an edge that the outline doesn't have");
    if (found.parameter < 0.0 || found.parameter > 1.0)
        properties.refuse("its foot lies beyond the ends of the edge");
    if (row.deviation != found.distance - row.diameter / 2.0 ||
        !(std::fabs(row.deviation) <= largest_deviation))
        properties.refuse(another_distance);
    if (head.alignment &&
        !std::isfinite(row.aligned->x() + row.aligned->y() + *row.deviation_before))
        properties.refuse("the moved point lies nowhere");
}

} // namespace

InspectionRecordReader::InspectionRecordReader(InspectionRecords& file,
                                               const StoredInspection& inspection)
    : file_(file), inspection_(inspection) {
    const RecordProperties properties(head_record());
    if (!properties.has(RecordKey::records)) {
        if (properties.has(RecordKey::count))
            inspection_.refuse("was kept by " + properties.text_or_empty(RecordKey::program) +
                                   ", which left out what a report needs",
                               RecordFault::Reason::outdated);
        inspection_.refuse("was not finished: the program that kept it was stopped",
                           RecordFault::Reason::unfinished);
    }
    count_ = properties.count(RecordKey::count);
    if (count_ == 0) properties.refuse("expected at least one point");
}

t_SmartPtr<ERDBObject> InspectionRecordReader::part(std::uint64_t place, const char* kind,
                                                    RecordKey owner, const std::string& what) {
    t_SmartPtr<ERDBObject> record;
    if (place < static_cast<std::uint64_t>(file_.size() - inspection_.index - 1))
        record = file_.record(inspection_.index + 1 + static_cast<long>(place));
    if (!record) inspection_.refuse("the record of " + what + " is lost");
    const RecordProperties properties(*record);
    if (properties.kind() != kind ||
        properties.count(owner) != static_cast<std::uint64_t>(head_record().getObjectID()))
        properties.refuse("expected a record of kind \"" + std::string(kind) +
                          "\" that belongs to inspection " + std::to_string(inspection_.number));
    return record;
}

t_SmartPtr<ERDBObject> InspectionRecordReader::next_point(const char* kind, RecordKey owner) {
    if (read_ == count_) return nullptr;
    return part(read_, kind, owner, "point " + std::to_string(read_));
}

SectionRecordReader::SectionRecordReader(InspectionRecords& file,
                                         const StoredInspection& inspection)
    : InspectionRecordReader(file, inspection) {
    read_head(RecordProperties(head_record()), head_);
    read_outline();
}

void SectionRecordReader::read_outline() {
    for (std::uint64_t edge = 0; edge < head_.edges; ++edge)
        read_edge(
            *part(count_ + edge, edge_kind, RecordKey::section, "edge " + std::to_string(edge)));
    const RecordProperties properties(head_record());
    if (outline_.contours.size() != static_cast<std::size_t>(head_.contours))
        properties.refuse("the outline has another number of contours than it should");
    for (const Contour& contour : outline_.contours)
        if (!has_area(contour)) properties.refuse("a contour of the outline encloses no area");
    if (outline_.contours.empty() || settle_areas(outline_))
        properties.refuse("two contours of the outline cross, or it has none");
}

void SectionRecordReader::read_edge(const ERDBObject& record) {
    const RecordProperties properties(record);
    detail::EdgePlace place;
    detail::get_subject(properties, place);
    std::vector<Contour>& contours = outline_.contours;
    const auto at = static_cast<std::size_t>(place.contour);
    if (at == contours.size()) contours.emplace_back();
    if (at + 1 != contours.size() || place.edge != contours.back().size())
        properties.refuse("the edge is not the next one of the outline");
    const t_SmartPtr<ERObject> entity = record.object();
    if (const ERSegment2D* const segment = ERSegment2D::castdown(entity.get()))
        return contours.back().append(segment->getP1());
    const ERCpoleNURBS2D* const curve = ERCpoleNURBS2D::castdown(entity.get());
    const ERCircle2D* const circle = ERCircle2D::castdown(entity.get());
    const ERArc2D* const arc = ERArc2D::castdown(entity.get());
    if (curve == nullptr && circle == nullptr && arc == nullptr)
        properties.refuse("the edge has lost its segment, arc, circle or curve");
    const auto require_field = [&](bool is_there, RecordKey key, const char* name) {
        if (!is_there) properties.refuse_key(static_cast<long>(key), name, "a number");
    };
    require_field(place.vertex.has_value(), RecordKey::vertex_x, "vertex");
    if (curve != nullptr) {
        std::shared_ptr<const CurveEdge> edge = CurveEdge::make(*curve);
        if (!edge) properties.refuse("the edge is no curve that can be evaluated");
        return contours.back().append(*place.vertex, std::move(edge));
    }
    if (arc == nullptr) {
        require_field(place.start_angle.has_value(), RecordKey::start_angle, "start_angle");
        require_field(place.end_angle.has_value(), RecordKey::end_angle, "end_angle");
    }
    const ERArc2D turn =
        arc != nullptr ? *arc : ERArc2D(*circle, *place.start_angle, *place.end_angle);
    if (!is_arc_of_circle(turn)) properties.refuse("the edge is no arc of a circle");
    contours.back().append(*place.vertex, turn);
}

bool SectionRecordReader::next(SectionRow& row) {
    const t_SmartPtr<ERDBObject> record = next_point(point_kind, RecordKey::section);
    if (!record) return false;
    const RecordProperties properties(*record);
    detail::get_point(properties, row, head_, read_++);
    require_sound(row, head_, outline_, properties);
    judge_again(properties, row, head_, another_distance);
    return true;
}

TargetRecordReader::TargetRecordReader(InspectionRecords& file, const StoredInspection& inspection)
    : InspectionRecordReader(file, inspection) {
    read_head(RecordProperties(head_record()), head_);
}

bool TargetRecordReader::next(TargetRow& row) {
    if (read_ == count_) return false;
    const t_SmartPtr<ERDBObject> record =
        part(read_, target_kind, RecordKey::targets, "row " + std::to_string(read_ + 1));
    const RecordProperties properties(*record);
    const t_SmartPtr<ERObject> object = record->object();
    const gmTargetPoint* const target = gmTargetPoint::castdown(object.get());
    if (target == nullptr || !is_sound(*target, properties))
        properties.refuse("expected a target whose points can be compared");
    if (static_cast<std::uint64_t>(target->measured_point().id()) != ++read_)
        properties.refuse("the target is not the next one");
    row = TargetRow();
    row.target = *target; // without its ball, which is a field
    detail::get_fields(properties, &row, &head_, fields_of<TargetRow>());
    judge_again(properties, row, head_, another_target);
    require_same(row, properties);
    return true;
}

namespace {

// Whole numbers with a blank between two; false for a text that is something else.
bool split_corners(const std::string& text, std::vector<int>& corners) {
    const char *at = text.data(), *const end = at + text.size();
    while (at < end) {
        int corner = 0;
        const auto [after, fault] = std::from_chars(at, end, corner);
        if (fault != std::errc() || (after != end && *after != ' ')) return false;
        corners.push_back(corner);
        at = after == end ? end : after + 1;
    }
    return true;
}

detail::FaceMesh mesh_of(const ERDBObject& record, const RecordProperties& properties) {
    detail::FaceMesh mesh;
    const t_SmartPtr<ERObject> object = record.object();
    const ERVecPoint23* const points = ERVecPoint23::castdown(object.get());
    if (points == nullptr) properties.refuse("the face has lost the corners of its triangles");
    const int half = points->entries() / 2;
    for (int i = 0; i < points->entries(); ++i) {
        const ERPoint3D& p = points->toVec()[i];
        if (!std::isfinite(p.x()) || !std::isfinite(p.y()) || !std::isfinite(p.z()))
            properties.refuse("a corner of its triangles is nowhere");
        if (i < half)
            mesh.positions.push_back(p);
        else
            mesh.normals.push_back(p.asVector3D());
    }
    const std::string text = properties.text(static_cast<long>(RecordKey::triangles), "triangles");
    if (!split_corners(text, mesh.corners) || !mesh.is_sound())
        properties.refuse("its triangles have corners that there are not");
    return mesh;
}

// What no field says alone. All parts of what was found are there, or none.
void require_sound(const SurfaceRow& row, const SurfaceHead& head,
                   const RecordProperties& properties) {
    if (row.found) {
        for (const RecordKey key :
             {RecordKey::foot_x, RecordKey::outward_x, RecordKey::face, RecordKey::surface_place,
              RecordKey::distance, RecordKey::deviation})
            properties.require(key);
        if (static_cast<std::size_t>(row.found->face) >= head.faces.size())
            properties.refuse("its foot lies on a face that there is not");
        if (row.deviation != row.found->distance - row.diameter / 2.0 ||
            !(std::fabs(row.deviation) <= largest_deviation))
            properties.refuse(another_distance);
    }
}

} // namespace

SurfaceRecordReader::SurfaceRecordReader(InspectionRecords& file,
                                         const StoredInspection& inspection)
    : InspectionRecordReader(file, inspection) {
    read_head(RecordProperties(head_record()), head_);
    for (int f = 0; f < head_.face_count; ++f) {
        const t_SmartPtr<ERDBObject> record =
            part(count_ + static_cast<std::uint64_t>(f), surface_face_kind, RecordKey::surfaces,
                 "face " + std::to_string(f));
        const RecordProperties of_face(*record);
        InspectedFace& face = head_.faces.emplace_back();
        detail::get_subject(of_face, face);
        require_ascending(of_face, face.tolerance);
        detail::append(mesh_, mesh_of(*record, of_face), f);
    }
}

bool SurfaceRecordReader::next(SurfaceRow& row) {
    const t_SmartPtr<ERDBObject> record = next_point(surface_point_kind, RecordKey::surfaces);
    if (!record) return false;
    const RecordProperties properties(*record);
    detail::get_point(properties, row, head_, read_++);
    require_sound(row, head_, properties);
    judge_again(properties, row, head_, another_distance);
    return true;
}

} // namespace velm
