#include "velm/inspection/section_result.h"

#include "velm/inspection/detail/head_fields.h"

#include <algorithm>
#include <cmath>

namespace velm {

std::span<const std::string_view> choice_names(OutlineForm) {
    static constexpr std::string_view names[] = {"auto", "contours", "round", "runs",
                                                 "arcs", "pieces",   "dxf"};
    return names;
}

std::optional<OutlineForm> form_of_name(std::string_view name) {
    const auto names = choice_names(OutlineForm());
    const auto at = std::find(names.begin(), names.end(), name);
    if (at == names.end()) return std::nullopt;
    return static_cast<OutlineForm>(at - names.begin());
}

template <>
std::span<const Field> fields_of<SectionHead>() {
    using Head = SectionHead;
    using F = detail::FieldList<Head>;
    using All = detail::HeadFields<Head, 9>;
    static constexpr auto fields = All::with_end({
        All::info(),
        All::unit(),
        F::field<&Head::nominal>(
            "nominal", {.shown = Shown::in_data, .key = RecordKey::nominal, .archive = 1}),
        F::field<&Head::measured>(
            "measured", {.shown = Shown::in_data, .key = RecordKey::measured, .archive = 2}),
        F::field<&Head::tolerance>(
            "tolerance",
            {.shown = Shown::in_data, .key = RecordKey::tolerance_lower, .archive = 3}),
        F::field<&Head::frame>("frame", {.shown = Shown::in_data,
                                         .absent = Absent::omitted,
                                         .new_line = true,
                                         .key = RecordKey::frame_numbers,
                                         .archive = 4}),
        F::field<&Head::max_height>("max_height", {.unit = FieldUnit::length,
                                                   .shown = Shown::in_data,
                                                   .absent = Absent::omitted,
                                                   .new_line = true,
                                                   .key = RecordKey::max_height,
                                                   .archive = 5}),
        // An outline without a title has none in its record, and an empty one in an archive.
        F::property<FieldType::text>(
            "title",
            {.shown = Shown::in_data,
             .absent = Absent::omitted,
             .new_line = true,
             .key = RecordKey::title,
             .archive = 7},
            [](const Head& head) -> FieldValue {
                if (head.title.empty()) return {};
                return std::string_view(head.title);
            },
            [](Head& head, const FieldValue& value) {
                return detail::ValueForm<std::string>::assign(head.title, value);
            }),
        // Kept by its name.
        F::property<FieldType::text>(
            "form", {.key = RecordKey::form, .archive = 8},
            [](const Head& head) { return name_of_form(head.form); },
            [](Head& head, const FieldValue& value) {
                const auto* const name = std::get_if<std::string_view>(&value);
                const auto form = name != nullptr ? form_of_name(*name) : std::nullopt;
                if (form) head.form = *form;
                return form.has_value();
            }),
        F::field<&Head::contours>("contours", {.key = RecordKey::contour_count, .archive = 9}),
        F::field<&Head::edges>("edges", {.key = RecordKey::edge_count}),
        F::field<&Head::alignment>("alignment", {.shown = Shown::in_data,
                                                 .absent = Absent::omitted,
                                                 .new_line = true,
                                                 .key = RecordKey::alignment_iterations,
                                                 .archive = 6}),
        F::field<&Head::max_angle>("max_angle", {.shown = Shown::in_data,
                                                 .absent = Absent::omitted,
                                                 .new_line = true,
                                                 .key = RecordKey::max_angle,
                                                 .archive = 19,
                                                 .since = 2}),
    });
    return fields;
}

template <>
std::span<const Field> fields_of<SectionRow>() {
    using Row = SectionRow;
    using Found = OutlineComparison;
    using F = detail::FieldList<Row>;
    static constexpr auto in_frame = F::given<&SectionHead::frame>;
    static constexpr auto without_frame = F::lacking<&SectionHead::frame>;
    static constexpr auto if_aligned = F::given<&SectionHead::alignment>;
    static constexpr auto is_unassigned = [](const Row& row) { return !row.is_assigned; };
    const auto of_place = [](Field field) consteval { return F::unless(field, is_unassigned); };
    using Own = detail::RowFields<Row, 15>;
    static constexpr Field fields[] = {
        F::field<&Row::index>("number", {.key = RecordKey::number}),
        F::field<&Row::id>("id",
                           {.shown = Shown::in_tables, .key = RecordKey::point_id, .archive = 1}),
        F::field<&Row::measured>("measured",
                                 {.unit = FieldUnit::length,
                                  .shown = Shown::in_tables,
                                  .key = RecordKey::measured_x,
                                  .archive = 10,
                                  .heading = ""},
                                 without_frame),
        F::field<&Row::space, &SpacePoint::measured>("measured",
                                                     {.unit = FieldUnit::length,
                                                      .shown = Shown::in_tables,
                                                      .key = RecordKey::measured_x,
                                                      .third_key = RecordKey::measured_z,
                                                      .archive = 12,
                                                      .heading = ""},
                                                     in_frame),
        F::field<&Row::space, &SpacePoint::height>("height",
                                                   {.unit = FieldUnit::length,
                                                    .shown = Shown::in_tables,
                                                    .key = RecordKey::height,
                                                    .archive = 13},
                                                   in_frame),
        F::field<&Row::measured>(
            "section", {.unit = FieldUnit::length, .key = RecordKey::section_x, .archive = 10},
            in_frame),
        F::field<&Row::aligned>("aligned",
                                {.unit = FieldUnit::length,
                                 .shown = Shown::in_tables,
                                 .late = true,
                                 .key = RecordKey::aligned_x,
                                 .archive = 14},
                                if_aligned),
        of_place(F::field<&Row::comparison, &Found::foot>("foot", {.unit = FieldUnit::length,
                                                                   .shown = Shown::in_tables,
                                                                   .key = RecordKey::foot_x,
                                                                   .archive = 6})),
        of_place(F::field<&Row::comparison, &Found::contour>(
            "contour", {.shown = Shown::in_tables, .key = RecordKey::contour, .archive = 3})),
        of_place(
            F::field<&Row::comparison, &Found::distance>("distance", {.unit = FieldUnit::length,
                                                                      .shown = Shown::in_tables,
                                                                      .key = RecordKey::distance,
                                                                      .archive = 8})),
        of_place(F::field<&Row::deviation>("deviation", {.unit = FieldUnit::length,
                                                         .shown = Shown::in_tables,
                                                         .key = RecordKey::deviation,
                                                         .archive = 9})),
        F::field<&Row::deviation_before>("deviation_before",
                                         {.unit = FieldUnit::length,
                                          .shown = Shown::in_tables,
                                          .late = true,
                                          .key = RecordKey::deviation_before,
                                          .record_order = -1,
                                          .archive = 15,
                                          .heading = "before"},
                                         if_aligned),
        F::field<&Row::in_tolerance>(
            "in_tolerance",
            {.shown = Shown::in_tables, .key = RecordKey::within, .heading = "tolerance"}),
        F::field<&Row::comparison, &Found::place>("place", {.shown = Shown::in_tables,
                                                            .late = true,
                                                            .key = RecordKey::place,
                                                            .record_order = 1,
                                                            .archive = 11}),
        of_place(F::field<&Row::comparison, &Found::edge>(
            "edge", {.shown = Shown::in_data, .late = true, .key = RecordKey::edge, .archive = 4})),
        of_place(
            F::field<&Row::comparison, &Found::parameter>("parameter", {.unit = FieldUnit::part,
                                                                        .shown = Shown::in_data,
                                                                        .late = true,
                                                                        .key = RecordKey::parameter,
                                                                        .archive = 5})),
        F::field<&Row::comparison, &Found::outward>("outward",
                                                    {.key = RecordKey::outward_x, .archive = 7}),
        F::field<&Row::diameter>("ball_diameter", {.unit = FieldUnit::length,
                                                   .shown = Shown::in_data,
                                                   .late = true,
                                                   .key = RecordKey::diameter}),
        Own::lower(),
        Own::upper(),
        Own::feature(),
        Own::part(),
    };
    return fields;
}

void judge(SectionRow& row, const SectionHead& head) {
    row.is_assigned = row.comparison.place != OutlinePlace::unassigned;
    double largest = row.diameter;
    const auto note = [&largest](double coordinate) {
        largest = std::max(largest, std::fabs(coordinate));
    };
    for (const ERPoint2D& p : {row.measured, row.placed(), row.comparison.foot}) {
        note(p.x());
        note(p.y());
    }
    if (row.space) {
        const ERPoint3D& p = row.space->measured;
        for (const double coordinate : {p.x(), p.y(), p.z()})
            note(coordinate);
    }
    judge(row, head.tolerance, Limits::both, head.slack(largest));
}

} // namespace velm
