#include "velm/inspection/clip_result.h"

#include "velm/inspection/detail/field_list.h"

namespace velm {

template <>
std::span<const Field> fields_of<ClipHead>() {
    using F = detail::FieldList<ClipHead>;
    static constexpr Field fields[] = {
        F::field<&ClipHead::region>("region", {.shown = Shown::in_data}),
        F::field<&ClipHead::polyline>("polyline", {.shown = Shown::in_data}),
    };
    return fields;
}

template <>
std::span<const Field> fields_of<ClipPiece>() {
    using F = detail::FieldList<ClipPiece>;
    static constexpr Field fields[] = {
        F::field<&ClipPiece::polyline>("polyline", {.shown = Shown::in_data}),
        F::field<&ClipPiece::length>("length",
                                     {.unit = FieldUnit::length, .shown = Shown::in_data}),
        F::derived<FieldType::path>("points", {.unit = FieldUnit::length, .shown = Shown::in_data},
                                    [](const ClipPiece& piece) { return piece.points.view(); }),
    };
    return fields;
}

template <>
std::span<const Field> fields_of<ClipFigures>() {
    using All = ClipFigures;
    using F = detail::FieldList<All>;
    static constexpr Field fields[] = {
        F::field<&All::polylines>("polylines", {.shown = Shown::in_data}),
        F::field<&All::pieces>("pieces", {.shown = Shown::in_data}),
        F::field<&All::length_inside>("length_inside",
                                      {.unit = FieldUnit::length, .shown = Shown::in_data}),
        F::field<&All::length>("length", {.unit = FieldUnit::length, .shown = Shown::in_data}),
        F::field<&All::chord_error>("chord_error",
                                    {.unit = FieldUnit::length, .shown = Shown::in_data}),
    };
    return fields;
}

} // namespace velm
