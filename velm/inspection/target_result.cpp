#include "velm/inspection/target_result.h"

#include "velm/inspection/detail/head_fields.h"

#include <algorithm>
#include <cmath>

namespace velm {

double deviation_of(const gmTargetPoint& target) {
    double along_normal = 0.0;
    return target.get_distance_to_plane(along_normal) != 0 ? along_normal
                                                           : target.distance_to_point();
}

bool is_comparable(const gmTargetPoint& target) {
    return target.distance_to_point() <= largest_deviation;
}

void judge(TargetRow& row, const TargetHead& head) {
    row.deviation = deviation_of(row.target);
    row.is_distance = row.target.is_compensated() == 0;
    const ERPoint3D &nominal = row.target.target_point(),
                    &measured = row.target.measured_point().point;
    double largest = row.target.measured_point().diameter;
    for (const ERPoint3D& p : {nominal, measured})
        largest = std::max({largest, std::fabs(p.x()), std::fabs(p.y()), std::fabs(p.z())});
    judge(row, head.tolerance, row.is_distance ? Limits::upper : Limits::both, head.slack(largest));
}

template <>
std::span<const Field> fields_of<TargetHead>() {
    using Head = TargetHead;
    using F = detail::FieldList<Head>;
    using All = detail::HeadFields<Head, 4>;
    static constexpr auto fields = All::with_end({
        All::info(),
        All::unit(),
        F::field<&Head::table>("table",
                               {.shown = Shown::in_data, .key = RecordKey::table, .archive = 1}),
        F::field<&Head::tolerance>(
            "tolerance",
            {.shown = Shown::in_data, .key = RecordKey::tolerance_lower, .archive = 2}),
        F::field<&Head::alignment>("alignment", {.shown = Shown::in_data,
                                                 .absent = Absent::omitted,
                                                 .new_line = true,
                                                 .key = RecordKey::alignment_iterations,
                                                 .archive = 3}),
        F::field<&Head::skipped>("skipped", {.shown = Shown::in_data,
                                             .absent = Absent::omitted,
                                             .late = true,
                                             .new_line = true,
                                             .key = RecordKey::skipped,
                                             .archive = 4}),
    });
    return fields;
}

namespace {

using F = detail::FieldList<TargetRow>;

template <class Get>
constexpr Field point(std::string_view name, Shown shown, Get get, const char* heading = nullptr) {
    return F::derived<FieldType::point3>(
        name, {.unit = FieldUnit::length, .shown = shown, .heading = heading}, get);
}

// Nothing of a direct target, which has no normal.
constexpr auto if_normal = [](const TargetRow& row, auto value) {
    return row.target.is_compensated() != 0 ? std::optional(value) : std::nullopt;
};

} // namespace

template <>
std::span<const Field> fields_of<TargetRow>() {
    using Row = TargetRow;
    using Own = detail::RowFields<Row, 3>;
    static constexpr Field fields[] = {
        F::field<&Row::id>("id",
                           {.shown = Shown::in_tables, .key = RecordKey::point_id, .archive = 1}),
        point(
            "target", Shown::in_tables, [](const Row& row) { return row.target.target_point(); },
            ""),
        point("measured", Shown::in_data,
              [](const Row& row) { return row.target.measured_point().probe_center(); }),
        point("calculated", Shown::in_data,
              [](const Row& row) { return row.target.calculated_point(); }),
        F::derived<FieldType::vector3>("normal", {.shown = Shown::in_data},
                                       [](const Row& row) {
                                           ERVector3D normal;
                                           row.target.get_surface_normal(normal);
                                           return if_normal(row, normal);
                                       }),
        F::derived<FieldType::number>(
            "deviation",
            {.unit = FieldUnit::length, .shown = Shown::in_tables, .key = RecordKey::deviation},
            [](const Row& row) { return if_normal(row, row.deviation); }),
        F::derived<FieldType::number>(
            "distance_on_plane",
            {.unit = FieldUnit::length,
             .shown = Shown::in_tables,
             .key = RecordKey::distance_on_plane,
             .heading = "on plane"},
            [](const Row& row) { return if_normal(row, row.target.distance_on_plane()); }),
        F::derived<FieldType::number>(
            "distance",
            {.unit = FieldUnit::length, .shown = Shown::in_tables, .key = RecordKey::distance},
            [](const Row& row) { return row.target.distance_to_point(); }),
        F::field<&Row::deviation_before>("deviation_before",
                                         {.unit = FieldUnit::length,
                                          .shown = Shown::in_tables,
                                          .late = true,
                                          .key = RecordKey::deviation_before,
                                          .archive = 3,
                                          .heading = "before"},
                                         F::given<&TargetHead::alignment>),
        F::field<&Row::in_tolerance>(
            "in_tolerance",
            {.shown = Shown::in_tables, .key = RecordKey::within, .heading = "tolerance"}),
        // The record of a target in an object file has no place for its ball.
        F::property<FieldType::number>(
            "ball_diameter",
            {.unit = FieldUnit::length,
             .shown = Shown::in_data,
             .late = true,
             .key = RecordKey::diameter},
            [](const Row& row) { return row.target.measured_point().probe_diameter(); },
            [](Row& row, const FieldValue& value) {
                const double* const diameter = std::get_if<double>(&value);
                if (diameter != nullptr) row.target.probe_diameter(*diameter);
                return diameter != nullptr;
            }),
        Own::lower(),
        Own::upper(),
        Own::feature(),
        Own::part(),
    };
    return fields;
}

} // namespace velm
