#include "inspect/keep/target_record.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "inspect/keep/alignment_properties.h"

namespace velm::inspect {
namespace {

TargetHead head_of(const RecordFields& fields) {
    TargetHead head;
    head.table = fields.text(RecordKey::table);
    head.tolerance = fields.tolerance();
    head.alignment = get_alignment(fields);
    if (fields.has(RecordKey::skipped)) head.skipped = fields.count(RecordKey::skipped);
    return head;
}

double largest_coordinate(const ERPoint3D& p) {
    return std::max({std::fabs(p.x()), std::fabs(p.y()), std::fabs(p.z())});
}

// Points near enough to be compared; a normal of length 1 where the record has a deviation along
// it.
bool is_sound(const gmTargetPoint& target, const RecordFields& fields) {
    ERVector3D normal;
    if (!is_comparable(target)) return false;
    if (target.get_surface_normal(normal) == 0) return !fields.has(RecordKey::deviation);
    return std::fabs(normal.norme2() - 1.0) <= 1e-9;
}

// What was found has been found again from the target, and must be what the record says, but for
// roundings of a program of another version.
void require_same(const TargetRow& row, const RecordFields& fields) {
    const gmTargetPoint& target = row.target;
    const bool has_normal = target.is_compensated() != 0;
    const double told = fields.number(has_normal ? RecordKey::deviation : RecordKey::distance);
    const double size =
        largest_coordinate(target.target_point()) + largest_coordinate(target.calculated_point());
    const bool same_judgement =
        !row.in_tolerance || *row.in_tolerance == (fields.count(RecordKey::within) != 0);
    if (!(std::fabs(told - row.deviation) <= 1e-12 * size) || !same_judgement)
        fields.refuse("what was found contradicts the target");
}

} // namespace

TargetRecord::TargetRecord(StoreReader& reader, const StoredInspection& inspection)
    : reader_(reader), inspection_(inspection) {
    const RecordFields fields = inspection_.fields(reader);
    if (!fields.has(RecordKey::records))
        inspection_.refuse(reader, "was not finished: the program that kept it was stopped");
    head_ = head_of(fields);
    count_ = fields.count(RecordKey::count);
    if (count_ == 0) fields.refuse("expected at least one target");
}

bool TargetRecord::next(TargetRow& row) {
    if (read_ == count_) return false;
    const t_SmartPtr<ERDBObject> record = inspection_.part(
        reader_, read_, target_kind, RecordKey::targets, "row " + std::to_string(read_ + 1));
    const RecordFields fields(*record, reader_.path());
    const t_SmartPtr<ERObject> object = record->object();
    const gmTargetPoint* const target = gmTargetPoint::castdown(object.get());
    if (target == nullptr || !is_sound(*target, fields))
        fields.refuse("expected a target whose points can be compared");
    if (static_cast<std::uint64_t>(target->measured_point().id()) != ++read_)
        fields.refuse("the target is not the next one");
    row.id = fields.text(RecordKey::point_id);
    row.target = *target;
    row.diameter = fields.optional_number(RecordKey::diameter).value_or(0.0);
    get_deviation_before(fields, head_.alignment.has_value(), row);
    judge(row, head_.tolerance);
    require_same(row, fields);
    return true;
}

} // namespace velm::inspect
