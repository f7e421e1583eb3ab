#include "velm/inspection/kept_fit.h"

#include "velm/inspection/detail/archive_fields.h"
#include "velm/inspection/detail/record_fields.h"
#include "velm/surfaces/plane.h"
#include "velm/wireframe/circle.h"
#include "velm/wireframe/circle_in_space.h"
#include "velm/wireframe/line.h"

#include <cmath>

namespace velm {

using detail::RecordProperties;
using detail::require;

namespace {

t_SmartPtr<ERObject> object_of(const FittedEntity& entity) {
    const ERPoint3D& p = entity.point;
    const ERVector3D& axis = entity.axis;
    const ERPoint2D flat(p.x(), p.y());
    if (entity.kind == FitKind::plane) return t_SmartPtr<ERObject>(new ERPlane(p, axis));
    if (entity.kind == FitKind::line)
        return entity.in_space
                   ? t_SmartPtr<ERObject>(new ERInfLine3D(axis, p))
                   : t_SmartPtr<ERObject>(new ERInfLine2D(ERVector2D(axis.i(), axis.j()), flat));
    return entity.in_space ? t_SmartPtr<ERObject>(new ERCircle3D(p, axis, entity.radius))
                           : t_SmartPtr<ERObject>(new ERCircle2D(flat, entity.radius));
}

// How far the ball moved the entity along its normal, or its circle outwards.
double ball_shift(const FitHead& head) {
    if (!head.ball || head.ball->side == BallSide::unknown) return 0.0;
    return (head.ball->side == BallSide::inside ? 0.5 : -0.5) * head.ball->diameter;
}

// The residual of a point, except for roundings.
double residual_of(const FitHead& head, const ERPoint3D& p) {
    const FittedEntity& entity = head.entity;
    const ERVector3D way(entity.point, p);
    const double along = way * entity.axis;
    const ERVector3D across = way - entity.axis * along;
    if (entity.kind == FitKind::plane) return along + ball_shift(head);
    if (entity.kind == FitKind::circle) return across.norme() - entity.radius + ball_shift(head);
    if (entity.in_space) return across.norme();
    const ERVector3D right(entity.axis.j(), -entity.axis.i(), 0.0);
    const double sense = right[static_cast<int>(right.axeOptimum())] < 0.0 ? -1.0 : 1.0;
    return sense * (way * right) + ball_shift(head);
}

// What no field says alone; null for what can be.
const char* fault_of(const FitHead& head) {
    constexpr double rounding_part = 1e-9;
    if (!(std::fabs(head.entity.axis.norme() - 1.0) <= rounding_part))
        return "the axis of the fit is not of length 1";
    if (head.entity.kind == FitKind::circle && !(head.entity.radius > 0.0))
        return "the radius of the fit is not above 0";
    if (head.tolerance && head.tolerance->lower > head.tolerance->upper)
        return "the upper limit is below the lower one";
    for (const Characteristic* const one : head.characteristics()) {
        if (one == nullptr) continue;
        Characteristic again = *one;
        again.judge(head.slack(head.largest_coordinate));
        if (again.in_tolerance != one->in_tolerance)
            return "the judgement of a characteristic contradicts its value";
    }
    return nullptr;
}

const char* fault_of(const FitRow& row, const FitHead& head) {
    constexpr double rounding_part = 1e-9; // of the coordinates; far below what a report shows
    const double size = head.largest_coordinate + head.entity.radius;
    if (!(std::fabs(row.deviation) <= largest_deviation)) return "the residual is too large";
    if (!(std::fabs(row.deviation - residual_of(head, row.measured)) <= rounding_part * size))
        return "the residual is not that of the point";
    return nullptr;
}

const detail::ArchiveForm& row_form(int version) {
    static const auto forms = detail::forms_of_versions(
        [](int each) { return detail::ArchiveForm(fields_of<FitRow>(), each); });
    return forms[static_cast<std::size_t>(version - 1)];
}

} // namespace

FitRecordWriter::FitRecordWriter(ERDataBase& data, std::string_view program, const FitHead& head)
    : InspectionRecordWriter(data, program, fit_kind), described_(head) {
    this->head().name(head.measured.c_str());
    this->head().object(object_of(head.entity));
    detail::put_subject(this->head(), described_);
    save_head();
}

void FitRecordWriter::add(const FitRow& row) {
    const t_SmartPtr<ERDBObject> record = detail::new_record(fitted_point_kind);
    detail::put(*record, RecordKey::fit, head().getObjectID());
    detail::put_fields(*record, describe(row, described_));
    save(record);
}

FitRecordReader::FitRecordReader(InspectionRecords& file, const StoredInspection& inspection)
    : InspectionRecordReader(file, inspection) {
    const RecordProperties properties(head_record());
    head_.rule.reset();
    detail::get_subject(properties, head_);
    if (const char* const fault = fault_of(head_)) properties.refuse(fault);
}

bool FitRecordReader::next(FitRow& row) {
    const t_SmartPtr<ERDBObject> record = next_point(fitted_point_kind, RecordKey::fit);
    if (!record) return false;
    const RecordProperties properties(*record);
    detail::get_point(properties, row, head_, read_++);
    if (const char* const fault = fault_of(row, head_)) properties.refuse(fault);
    const std::optional<bool> by_the_run = row.in_tolerance;
    judge(row, head_);
    if (row.in_tolerance != by_the_run)
        properties.refuse("what was found contradicts the residual");
    return true;
}

FitArchiveWriter::FitArchiveWriter(const std::string& path, std::string_view program,
                                   const FitHead& head)
    : InspectionArchiveWriter(path, program, ArchivedKind::fit), head_(head) {
    detail::store_subject(archive(), head_);
}

void FitArchiveWriter::add(const FitRow& row) {
    announce(row);
    row_form(detail::newest_archive).store(archive(), describe(row, head_));
}

FitArchiveReader::FitArchiveReader(InspectionArchiveReader& document) : document_(document) {
    document_.load_head(head_);
    require(document_.archive_, fault_of(head_) == nullptr);
}

bool FitArchiveReader::next(FitRow& row) {
    if (!document_.next()) return false;
    row = FitRow();
    row.index = count_++;
    row_form(document_.version_).load(document_.archive_, &row, &head_);
    require(document_.archive_, fault_of(row, head_) == nullptr);
    judge(row, head_);
    document_.take(row);
    return true;
}

} // namespace velm
