#include "velm/inspection/fit_result.h"

#include "velm/inspection/detail/head_fields.h"

namespace velm {

std::span<const std::string_view> choice_names(FitKind) {
    static constexpr std::string_view names[] = {"plane", "line", "circle"};
    return names;
}

std::span<const std::string_view> choice_names(BallSide) {
    static constexpr std::string_view names[] = {"unknown", "inside", "outside"};
    return names;
}

std::string_view form_name(FitKind kind) {
    static constexpr std::string_view names[] = {"flatness", "straightness", "roundness"};
    return names[static_cast<std::size_t>(kind)];
}

template <>
std::span<const Field> fields_of<Ball>() {
    using F = detail::FieldList<Ball>;
    static constexpr Field fields[] = {
        F::field<&Ball::diameter>("diameter", {.unit = FieldUnit::length,
                                               .shown = Shown::in_data,
                                               .key = RecordKey::diameter,
                                               .archive = 1}),
        F::derived<FieldType::text>("side", {.shown = Shown::in_data},
                                    [](const Ball& ball) -> FieldValue {
                                        if (ball.side == BallSide::unknown) return {};
                                        return choice_names(
                                            ball.side)[static_cast<std::size_t>(ball.side)];
                                    }),
        F::field<&Ball::side>("kept_side", {.key = RecordKey::ball_side, .archive = 2}),
    };
    return fields;
}

namespace {

// Without the third coordinate in the plane.
template <class Triple>
Coordinates coordinates_of(const Triple& t, bool in_space) {
    return {{t[0], t[1], t[2]}, in_space ? 3 : 2};
}

template <FitKind... Kinds>
bool is_kind(const void* entity) {
    return ((static_cast<const FittedEntity*>(entity)->kind == Kinds) || ...);
}

} // namespace

template <>
std::span<const Field> fields_of<FittedEntity>() {
    using Entity = FittedEntity;
    using F = detail::FieldList<Entity>;
    constexpr FieldTraits shown{.shown = Shown::in_data};
    constexpr FieldTraits length{.unit = FieldUnit::length, .shown = Shown::in_data};
    static constexpr auto place = [](const Entity& entity) {
        return coordinates_of(entity.point, entity.in_space);
    };
    static constexpr auto is_circle = is_kind<FitKind::circle>;
    // Point and axis are kept as three coordinates, and shown by what they are.
    static constexpr Field fields[] = {
        F::field<&Entity::kind>(
            "kind", {.shown = Shown::in_data, .key = RecordKey::fitted_form, .archive = 1}),
        F::field<&Entity::in_space>("in_space", {.key = RecordKey::in_space, .archive = 2}),
        F::field<&Entity::point>("kept_point", {.key = RecordKey::fitted_x, .archive = 3}),
        F::field<&Entity::axis>("axis", {.key = RecordKey::axis_i, .archive = 4}),
        F::derived<FieldType::point3>("point", length, place,
                                      is_kind<FitKind::plane, FitKind::line>),
        F::derived<FieldType::point3>("centre", length, place, is_circle),
        F::derived<FieldType::vector3>(
            "normal", shown, [](const Entity& entity) { return entity.axis; },
            is_kind<FitKind::plane, FitKind::circle>),
        F::derived<FieldType::vector3>(
            "direction", shown,
            [](const Entity& entity) { return coordinates_of(entity.axis, entity.in_space); },
            is_kind<FitKind::line>),
        F::field<&Entity::radius>("radius",
                                  {.unit = FieldUnit::length,
                                   .shown = Shown::in_data,
                                   .key = RecordKey::radius,
                                   .archive = 5},
                                  is_circle),
        F::field<&Entity::flatness_rms>("plane_rms",
                                        {.unit = FieldUnit::length,
                                         .shown = Shown::in_data,
                                         .absent = Absent::omitted,
                                         .sometimes = true,
                                         .key = RecordKey::plane_rms,
                                         .archive = 6},
                                        is_circle),
        F::field<&Entity::steps>(
            "iterations", {.shown = Shown::in_data, .key = RecordKey::fit_steps, .archive = 7},
            is_circle),
        F::field<&Entity::last_step>(
            "last_step", {.shown = Shown::in_data, .key = RecordKey::fit_last_step, .archive = 8},
            is_circle),
    };
    return fields;
}

namespace {

// The fields of a characteristic, whose first key in an object file is that of its name.
template <class Subject, RecordKey First>
std::span<const Field> characteristic_fields() {
    using F = detail::FieldList<Subject>;
    using C = Characteristic;
    constexpr auto traits = [](int place, Absent absent = Absent::null) {
        return FieldTraits{.unit = FieldUnit::length,
                           .shown = Shown::in_data,
                           .absent = absent,
                           .key = static_cast<RecordKey>(static_cast<long>(First) + place - 1),
                           .archive = place};
    };
    constexpr auto without_unit = [=](int place) {
        FieldTraits same = traits(place);
        same.unit = FieldUnit::none;
        return same;
    };
    static constexpr Field fields[] = {
        F::template field<&C::name>("name", without_unit(1)),
        F::template field<&C::value>("value", traits(2)),
        F::template field<&C::nominal>("nominal", traits(6, Absent::omitted)),
        F::template field<&C::place>("place", traits(7, Absent::omitted)),
        F::template field<&C::limits, &Tolerance::lower>("lower", traits(3)),
        F::template field<&C::limits, &Tolerance::upper>("upper", traits(4)),
        F::template field<&C::in_tolerance>("in_tolerance", without_unit(5)),
    };
    return fields;
}

} // namespace

template <>
std::span<const Field> fields_of<FormCharacteristic>() {
    return characteristic_fields<FormCharacteristic, RecordKey::form_limits>();
}
template <>
std::span<const Field> fields_of<SizeCharacteristic>() {
    return characteristic_fields<SizeCharacteristic, RecordKey::size_limits>();
}
template <>
std::span<const Field> fields_of<PositionCharacteristic>() {
    return characteristic_fields<PositionCharacteristic, RecordKey::position_limits>();
}

std::array<const Characteristic*, 3> FitHead::characteristics() const {
    return {form ? &*form : nullptr, size ? &*size : nullptr, position ? &*position : nullptr};
}

bool FitHead::is_in_tolerance() const {
    for (const Characteristic* const one : characteristics())
        if (one != nullptr && !one->in_tolerance) return false;
    return true;
}

double FitHead::peak_to_valley(const Summary& summary) const {
    const RunningStatistics& residuals = summary.signed_deviations;
    return entity.kind == FitKind::line && entity.in_space
               ? 2.0 * residuals.maximum()
               : residuals.maximum() - residuals.minimum();
}

template <>
std::span<const Field> fields_of<FitHead>() {
    using Head = FitHead;
    using F = detail::FieldList<Head>;
    using All = detail::HeadFields<Head, 8>;
    constexpr auto kept = [](RecordKey key, int place) {
        return FieldTraits{.shown = Shown::in_data, .key = key, .archive = place};
    };
    constexpr auto judged = [](RecordKey key, int place) {
        return FieldTraits{.shown = Shown::in_data,
                           .absent = Absent::omitted,
                           .new_line = true,
                           .key = key,
                           .archive = place};
    };
    static constexpr auto fields = All::with_end({
        All::info(),
        All::unit(),
        F::field<&Head::measured>("measured", kept(RecordKey::measured, 1)),
        F::field<&Head::tolerance>("tolerance", kept(RecordKey::tolerance_lower, 2)),
        F::field<&Head::ball>("ball", kept(RecordKey::diameter, 3)),
        F::field<&Head::entity>("entity", {.shown = Shown::in_data,
                                           .new_line = true,
                                           .key = RecordKey::fitted_form,
                                           .archive = 4}),
        F::field<&Head::form>("form", judged(RecordKey::form_limits, 5)),
        F::field<&Head::size>("size", judged(RecordKey::size_limits, 6)),
        F::field<&Head::position>("position", judged(RecordKey::position_limits, 7)),
        F::field<&Head::largest_coordinate>("largest_coordinate",
                                            {.key = RecordKey::largest_coordinate, .archive = 8}),
    });
    return fields;
}

template <>
std::span<const Field> fields_of<FitRow>() {
    using Row = FitRow;
    using F = detail::FieldList<Row>;
    constexpr FieldTraits measured{
        .unit = FieldUnit::length, .shown = Shown::in_tables, .heading = "", .column = ""};
    static constexpr auto in_space = [](const void* head) {
        return static_cast<const FitHead*>(head)->entity.in_space;
    };
    static constexpr auto in_plane = [](const void* head) { return !in_space(head); };
    static constexpr Field fields[] = {
        F::field<&Row::index>("number", {.key = RecordKey::number}),
        F::field<&Row::id>("id",
                           {.shown = Shown::in_tables, .key = RecordKey::point_id, .archive = 1}),
        F::field<&Row::measured>(
            "kept_measured",
            {.key = RecordKey::measured_x, .third_key = RecordKey::measured_z, .archive = 2}),
        F::field<&Row::measured>("measured", measured, in_space),
        F::derived<FieldType::point2>(
            "measured", measured,
            [](const Row& row) { return coordinates_of(row.measured, false); }, in_plane),
        F::field<&Row::deviation>("residual", {.unit = FieldUnit::length,
                                               .shown = Shown::in_tables,
                                               .key = RecordKey::deviation,
                                               .archive = 3}),
        F::field<&Row::in_tolerance>(
            "in_tolerance",
            {.shown = Shown::in_tables, .key = RecordKey::within, .heading = "tolerance"}),
    };
    return fields;
}

void judge(FitRow& row, const FitHead& head) {
    judge(row, head.tolerance, Limits::both, head.slack(head.largest_coordinate));
}

} // namespace velm
