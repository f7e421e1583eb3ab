#include "velm/inspection/summary.h"

#include "velm/inspection/detail/field_list.h"

namespace velm {

std::span<const std::string_view> choice_names(LimitRule) {
    static constexpr std::string_view names[] = {"exact", "rounded"};
    return names;
}

void Summary::add(const Judged& point) {
    if (!point.is_assigned) {
        ++unassigned;
        return;
    }
    (point.is_distance ? distances : signed_deviations).add(point.deviation);
    if (point.in_tolerance) ++(*point.in_tolerance ? in_tolerance : out_of_tolerance);
    if (point.severity > worst_severity) {
        worst_severity = point.severity;
        worst_deviation = point.deviation;
        worst_id = point.id;
    }
}

Figures Summary::figures() const {
    const RunningStatistics& shown = deviations();
    Figures figures{is_judged(),
                    count(),
                    in_tolerance,
                    out_of_tolerance,
                    shown.minimum(),
                    shown.maximum(),
                    shown.mean(),
                    shown.standard_deviation(),
                    shown.rms(),
                    std::nullopt,
                    {worst_id, worst_deviation},
                    std::nullopt,
                    std::nullopt};
    if (may_be_unassigned) figures.unassigned = unassigned;
    if (is_mixed())
        figures.distances = DistanceFigures{distances.count(),
                                            distances.minimum(),
                                            distances.maximum(),
                                            distances.mean(),
                                            distances.standard_deviation(),
                                            distances.rms()};
    return figures;
}

template <>
std::span<const Field> fields_of<DistanceFigures>() {
    using All = DistanceFigures;
    using F = detail::FieldList<All>;
    constexpr auto traits = [](RecordKey key, int place) {
        return FieldTraits{
            .unit = FieldUnit::length, .shown = Shown::in_data, .key = key, .archive = place};
    };
    static constexpr Field fields[] = {
        F::field<&All::count>(
            "count", {.shown = Shown::in_data, .key = RecordKey::distances_count, .archive = 1}),
        F::field<&All::minimum>("minimum", traits(RecordKey::distances_minimum, 2)),
        F::field<&All::maximum>("maximum", traits(RecordKey::distances_maximum, 3)),
        F::field<&All::mean>("mean", traits(RecordKey::distances_mean, 4)),
        F::field<&All::standard_deviation>("standard_deviation",
                                           traits(RecordKey::distances_deviation, 5)),
        F::field<&All::rms>("rms", traits(RecordKey::distances_rms, 6)),
    };
    return fields;
}

template <>
std::span<const Field> fields_of<Tolerance>() {
    using F = detail::FieldList<Tolerance>;
    static constexpr Field fields[] = {
        F::field<&Tolerance::lower>("lower", {.unit = FieldUnit::length,
                                              .shown = Shown::in_data,
                                              .key = RecordKey::tolerance_lower,
                                              .archive = 1}),
        F::field<&Tolerance::upper>("upper", {.unit = FieldUnit::length,
                                              .shown = Shown::in_data,
                                              .key = RecordKey::tolerance_upper,
                                              .archive = 2}),
    };
    return fields;
}

template <>
std::span<const Field> fields_of<WorstPoint>() {
    using F = detail::FieldList<WorstPoint>;
    static constexpr Field fields[] = {
        F::field<&WorstPoint::id>(
            "id", {.shown = Shown::in_data, .key = RecordKey::worst_id, .archive = 1}),
        F::field<&WorstPoint::deviation>("deviation", {.unit = FieldUnit::length,
                                                       .shown = Shown::in_data,
                                                       .key = RecordKey::worst_deviation,
                                                       .archive = 2}),
    };
    return fields;
}

namespace {

// A count of points by the tolerance, which has no value without one.
template <std::uint64_t Figures::*Count>
constexpr Field judged_count(std::string_view name, RecordKey key, int archive) {
    using F = detail::FieldList<Figures>;
    return F::property<FieldType::total>(
        name, {.shown = Shown::in_data, .key = key, .archive = archive},
        [](const Figures& figures) {
            return figures.has_tolerance ? std::optional(figures.*Count) : std::nullopt;
        },
        [](Figures& figures, const FieldValue& value) {
            return detail::ValueForm<std::uint64_t>::assign(figures.*Count, value);
        });
}

template <double Figures::*Value>
constexpr Field figure(std::string_view name, RecordKey key, int archive, bool new_line = false) {
    return detail::FieldList<Figures>::field<Value>(name, {.unit = FieldUnit::length,
                                                           .shown = Shown::in_data,
                                                           .new_line = new_line,
                                                           .key = key,
                                                           .archive = archive});
}

} // namespace

template <>
std::span<const Field> fields_of<Figures>() {
    using F = detail::FieldList<Figures>;
    static constexpr Field fields[] = {
        F::field<&Figures::count>("count",
                                  {.shown = Shown::in_data, .key = RecordKey::count, .archive = 1}),
        judged_count<&Figures::in_tolerance>("in_tolerance", RecordKey::in_tolerance, 2),
        judged_count<&Figures::out_of_tolerance>("out_of_tolerance", RecordKey::out_of_tolerance,
                                                 3),
        figure<&Figures::minimum>("minimum", RecordKey::minimum, 4),
        figure<&Figures::maximum>("maximum", RecordKey::maximum, 5),
        figure<&Figures::mean>("mean", RecordKey::mean, 6),
        figure<&Figures::standard_deviation>("standard_deviation", RecordKey::standard_deviation, 7,
                                             true),
        figure<&Figures::rms>("rms", RecordKey::rms, 8),
        F::field<&Figures::peak_to_valley>(
            "peak_to_valley",
            {.unit = FieldUnit::length, .shown = Shown::in_data, .absent = Absent::omitted}),
        F::field<&Figures::worst>(
            "worst", {.shown = Shown::in_data, .key = RecordKey::worst_id, .archive = 9}),
        F::field<&Figures::unassigned>("unassigned", {.shown = Shown::in_data,
                                                      .absent = Absent::omitted,
                                                      .key = RecordKey::unassigned,
                                                      .archive = 10,
                                                      .since = 2}),
        F::field<&Figures::distances>("distances", {.shown = Shown::in_data,
                                                    .absent = Absent::omitted,
                                                    .new_line = true,
                                                    .key = RecordKey::distances_count,
                                                    .archive = 11,
                                                    .since = 2}),
    };
    return fields;
}

} // namespace velm
