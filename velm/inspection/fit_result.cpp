#include "velm/inspection/fit_result.h"

#include "velm/inspection/detail/head_fields.h"

namespace velm {

std::span<const std::string_view> choice_names(FitKind) {
    static constexpr std::string_view names[] = {"plane", "line", "circle"};
    return names;
}

template <>
std::span<const Field> fields_of<Ball>() {
    using F = detail::FieldList<Ball>;
    static constexpr Field fields[] = {
        F::field<&Ball::diameter>("diameter", {.unit = FieldUnit::length, .shown = Shown::in_data}),
        F::derived<FieldType::text>("side", {.shown = Shown::in_data},
                                    [](const Ball& ball) -> FieldValue {
                                        if (ball.side == BallSide::unknown) return {};
                                        return std::string_view(
                                            ball.side == BallSide::inside ? "inside" : "outside");
                                    }),
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
    static constexpr Field fields[] = {
        F::field<&Entity::kind>("kind", shown),
        F::derived<FieldType::point3>("point", length, place,
                                      is_kind<FitKind::plane, FitKind::line>),
        F::derived<FieldType::point3>("centre", length, place, is_circle),
        F::field<&Entity::axis>("normal", shown, is_kind<FitKind::plane, FitKind::circle>),
        F::derived<FieldType::vector3>(
            "direction", shown,
            [](const Entity& entity) { return coordinates_of(entity.axis, entity.in_space); },
            is_kind<FitKind::line>),
        F::field<&Entity::radius>("radius", length, is_circle),
        F::field<&Entity::flatness_rms>(
            "plane_rms",
            {.unit = FieldUnit::length, .shown = Shown::in_data, .absent = Absent::omitted},
            is_circle),
        F::field<&Entity::steps>("iterations", shown, is_circle),
        F::field<&Entity::last_step>("last_step", shown, is_circle),
    };
    return fields;
}

template <>
std::span<const Field> fields_of<Characteristic>() {
    using F = detail::FieldList<Characteristic>;
    using C = Characteristic;
    constexpr FieldTraits shown{.shown = Shown::in_data};
    constexpr FieldTraits length{.unit = FieldUnit::length, .shown = Shown::in_data};
    constexpr FieldTraits given{
        .unit = FieldUnit::length, .shown = Shown::in_data, .absent = Absent::omitted};
    static constexpr Field fields[] = {
        F::field<&C::name>("name", shown),
        F::field<&C::value>("value", length),
        F::field<&C::nominal>("nominal", given),
        F::field<&C::place>("place", given),
        F::field<&C::limits, &Tolerance::lower>("lower", length),
        F::field<&C::limits, &Tolerance::upper>("upper", length),
        F::field<&C::in_tolerance>("in_tolerance", shown),
    };
    return fields;
}

bool FitHead::is_in_tolerance() const {
    const auto is_out = [](const std::optional<Characteristic>& one) {
        return one && !one->in_tolerance;
    };
    return !is_out(form) && !is_out(size) && !is_out(position);
}

template <>
std::span<const Field> fields_of<FitHead>() {
    using Head = FitHead;
    using F = detail::FieldList<Head>;
    using All = detail::HeadFields<Head, 0>;
    constexpr FieldTraits judged{
        .shown = Shown::in_data, .absent = Absent::omitted, .new_line = true};
    static constexpr Field fields[] = {
        All::info(),
        All::unit(),
        F::field<&Head::measured>("measured", {.shown = Shown::in_data}),
        F::field<&Head::tolerance>("tolerance", {.shown = Shown::in_data}),
        F::field<&Head::ball>("ball", {.shown = Shown::in_data}),
        F::field<&Head::entity>("entity", {.shown = Shown::in_data, .new_line = true}),
        F::field<&Head::form>("form", judged),
        F::field<&Head::size>("size", judged),
        F::field<&Head::position>("position", judged),
        All::ignored_columns(),
    };
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
        F::field<&Row::id>("id", {.shown = Shown::in_tables}),
        F::field<&Row::measured>("measured", measured, in_space),
        F::derived<FieldType::point2>(
            "measured", measured,
            [](const Row& row) { return coordinates_of(row.measured, false); }, in_plane),
        F::field<&Row::deviation>("residual",
                                  {.unit = FieldUnit::length, .shown = Shown::in_tables}),
        F::field<&Row::in_tolerance>("in_tolerance",
                                     {.shown = Shown::in_tables, .heading = "tolerance"}),
    };
    return fields;
}

} // namespace velm
