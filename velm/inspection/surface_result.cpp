#include "velm/inspection/surface_result.h"

#include "velm/inspection/detail/head_fields.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace velm {

std::span<const std::string_view> choice_names(SurfacePlace) {
    static constexpr std::string_view names[] = {"interior", "edge", "corner"};
    return names;
}

bool SurfaceHead::has_face_limits() const {
    return std::any_of(faces.begin(), faces.end(),
                       [](const InspectedFace& face) { return face.tolerance.has_value(); });
}

template <>
std::span<const Field> fields_of<InspectedFace>() {
    using All = InspectedFace;
    using F = detail::FieldList<All>;
    static constexpr Field fields[] = {
        F::field<&All::path>("face", {.key = RecordKey::face_path, .archive = 1}),
        F::field<&All::surface>("surface", {.key = RecordKey::face_surface, .archive = 2}),
        F::field<&All::tolerance>("tolerance", {.key = RecordKey::tolerance_lower, .archive = 3}),
    };
    return fields;
}

template <>
std::span<const Field> fields_of<SurfaceHead>() {
    using Head = SurfaceHead;
    using F = detail::FieldList<Head>;
    using All = detail::HeadFields<Head, 9>;
    constexpr auto shown_if_there = [](RecordKey key, int archive) {
        return FieldTraits{.shown = Shown::in_data,
                           .absent = Absent::omitted,
                           .new_line = true,
                           .key = key,
                           .archive = archive};
    };
    static constexpr auto fields = All::with_end({
        F::field<&Head::nominal>(
            "nominal", {.shown = Shown::in_data, .key = RecordKey::nominal, .archive = 1}),
        F::field<&Head::measured>(
            "measured", {.shown = Shown::in_data, .key = RecordKey::measured, .archive = 2}),
        All::unit(),
        F::field<&Head::tolerance>(
            "tolerance",
            {.shown = Shown::in_data, .key = RecordKey::tolerance_lower, .archive = 3}),
        F::field<&Head::alignment>(
            "alignment",
            {.shown = Shown::in_data, .key = RecordKey::alignment_iterations, .archive = 4}),
        F::field<&Head::max_angle>("max_angle", shown_if_there(RecordKey::max_angle, 5)),
        F::field<&Head::max_distance>("max_distance", shown_if_there(RecordKey::max_distance, 6)),
        F::field<&Head::skips_bad>("skips_bad", {.key = RecordKey::skips_bad, .archive = 7}),
        F::field<&Head::left_out>("left_out_faces",
                                  {.sometimes = true, .key = RecordKey::left_out, .archive = 8}),
        F::field<&Head::face_count>("face_count", {.key = RecordKey::face_count, .archive = 9}),
        All::info(),
    });
    return fields;
}

namespace {

constexpr auto found = &SurfaceRow::found;

// A part of what was found: nothing for a point without a place.
constexpr FieldTraits part_of_find(FieldTraits traits) {
    traits.sometimes = true;
    return traits;
}

} // namespace

template <>
std::span<const Field> fields_of<SurfaceRow>() {
    using Row = SurfaceRow;
    using Find = SurfaceFind;
    using F = detail::FieldList<Row>;
    static constexpr auto if_aligned = F::given<&SurfaceHead::alignment>;
    using Own = detail::RowFields<Row, 11>;
    static constexpr Field fields[] = {
        F::field<&Row::index>("number", {.key = RecordKey::number}),
        F::field<&Row::id>("id",
                           {.shown = Shown::in_tables, .key = RecordKey::point_id, .archive = 1}),
        F::field<&Row::measured>("measured", {.unit = FieldUnit::length,
                                              .shown = Shown::in_tables,
                                              .key = RecordKey::measured_x,
                                              .third_key = RecordKey::measured_z,
                                              .archive = 3,
                                              .heading = ""}),
        F::field<found, &Find::foot>("foot", part_of_find({.unit = FieldUnit::length,
                                                           .shown = Shown::in_data,
                                                           .key = RecordKey::foot_x,
                                                           .third_key = RecordKey::foot_z,
                                                           .archive = 4})),
        F::field<found, &Find::normal>("normal", part_of_find({.shown = Shown::in_data,
                                                               .key = RecordKey::outward_x,
                                                               .third_key = RecordKey::outward_z,
                                                               .archive = 5})),
        F::derived<FieldType::text>("face", {.shown = Shown::in_tables},
                                    [](const Row& row, const SurfaceHead& head) -> FieldValue {
                                        if (!row.found) return {};
                                        const auto at = static_cast<std::size_t>(row.found->face);
                                        return std::string_view(head.faces[at].path);
                                    }),
        F::field<found, &Find::face>("face_number",
                                     part_of_find({.key = RecordKey::face, .archive = 6})),
        F::field<found, &Find::place>("kind", part_of_find({.shown = Shown::in_tables,
                                                            .key = RecordKey::surface_place,
                                                            .archive = 7})),
        F::field<found, &Find::distance>("distance", part_of_find({.unit = FieldUnit::length,
                                                                   .shown = Shown::in_tables,
                                                                   .key = RecordKey::distance,
                                                                   .archive = 8})),
        F::property<FieldType::number>(
            "deviation",
            part_of_find({.unit = FieldUnit::length,
                          .shown = Shown::in_tables,
                          .key = RecordKey::deviation,
                          .archive = 9}),
            [](const Row& row) { return row.found ? std::optional(row.deviation) : std::nullopt; },
            [](Row& row, const FieldValue& value) {
                return detail::ValueForm<double>::assign(row.deviation, value);
            }),
        F::field<&Row::in_tolerance>(
            "in_tolerance",
            {.shown = Shown::in_tables, .key = RecordKey::within, .heading = "tolerance"}),
        F::field<&Row::as_measured>("as_measured",
                                    {.unit = FieldUnit::length,
                                     .shown = Shown::in_data,
                                     .late = true,
                                     .key = RecordKey::as_measured_x,
                                     .archive = 10},
                                    if_aligned),
        F::field<&Row::deviation_before>("deviation_before",
                                         {.unit = FieldUnit::length,
                                          .shown = Shown::in_tables,
                                          .late = true,
                                          .sometimes = true,
                                          .key = RecordKey::deviation_before,
                                          .archive = 11,
                                          .heading = "before"},
                                         if_aligned),
        F::field<&Row::diameter>("ball_diameter", {.key = RecordKey::diameter}),
        Own::lower(),
        Own::upper(),
        Own::feature(),
        Own::part(),
    };
    return fields;
}

const std::optional<Tolerance>& tolerance_of(const SurfaceRow& row, const SurfaceHead& head) {
    if (!row.found) return head.tolerance;
    const InspectedFace& face = head.faces[static_cast<std::size_t>(row.found->face)];
    return face.tolerance ? face.tolerance : head.tolerance;
}

void judge(SurfaceRow& row, const SurfaceHead& head) {
    row.is_assigned = row.found.has_value();
    double largest = row.diameter;
    const auto note = [&largest](const ERPoint3D& p) {
        largest = std::max({largest, std::fabs(p.x()), std::fabs(p.y()), std::fabs(p.z())});
    };
    note(row.measured);
    if (row.as_measured) note(*row.as_measured);
    if (row.found) note(row.found->foot);
    judge(row, tolerance_of(row, head), Limits::both, head.slack(largest));
}

template <>
std::span<const Field> fields_of<SkippedFace>() {
    using All = SkippedFace;
    using F = detail::FieldList<All>;
    static constexpr Field fields[] = {
        F::field<&All::entity>("entity", {.shown = Shown::in_tables}),
        F::field<&All::reason>("reason", {.shown = Shown::in_tables}),
    };
    return fields;
}

std::vector<SkippedFace> skipped_faces(const SurfaceHead& head) {
    std::vector<SkippedFace> faces;
    for (const NamedText& left_out : head.left_out) {
        SkippedFace& face = faces.emplace_back(SkippedFace{0, left_out.text});
        const std::string& number = left_out.name;
        std::from_chars(number.data(), number.data() + number.size(), face.entity);
    }
    return faces;
}

template <>
std::span<const Field> fields_of<FaceFigures>() {
    using All = FaceFigures;
    using F = detail::FieldList<All>;
    constexpr FieldTraits shown{.shown = Shown::in_tables};
    constexpr FieldTraits length{.unit = FieldUnit::length, .shown = Shown::in_tables};
    static constexpr Field fields[] = {
        F::field<&All::face>("face", shown),
        F::field<&All::surface>("surface", shown),
        F::field<&All::count>("count", shown),
        F::field<&All::out_of_tolerance>(
            "out_of_tolerance", {.shown = Shown::in_tables, .heading = "out of tolerance"}),
        F::field<&All::minimum>("minimum", length),
        F::field<&All::maximum>("maximum", length),
        F::field<&All::mean>("mean", length),
        F::field<&All::rms>("rms", length),
    };
    return fields;
}

void FaceSummary::add(const SurfaceRow& row) {
    if (!row.found) return;
    Group& group = groups_[static_cast<std::size_t>(row.found->face)];
    group.deviations.add(row.deviation);
    if (row.in_tolerance) ++group.judged;
    if (row.in_tolerance == false) ++group.out_of_tolerance;
}

std::vector<FaceFigures> FaceSummary::figures(const SurfaceHead& head) const {
    std::vector<FaceFigures> figures;
    for (std::size_t f = 0; f < groups_.size(); ++f) {
        const Group& group = groups_[f];
        const RunningStatistics& values = group.deviations;
        FaceFigures& one = figures.emplace_back();
        one.face = head.faces[f].path;
        one.surface = head.faces[f].surface;
        one.count = values.count();
        if (group.judged > 0) one.out_of_tolerance = group.out_of_tolerance;
        if (one.count == 0) continue;
        one.minimum = values.minimum();
        one.maximum = values.maximum();
        one.mean = values.mean();
        one.rms = values.rms();
    }
    return figures;
}

} // namespace velm
