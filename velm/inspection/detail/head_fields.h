// HeadFields, RowFields: the fields that the heads, or the rows, of all kinds of inspections share.
#pragma once

#include "velm/inspection/detail/field_list.h"
#include "velm/inspection/inspection_head.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace velm::detail {

/// The version of the archive that brought these fields.
inline constexpr int since_heads = 2;

/// The fields of a head. In an archive they follow those of its kind: `Last` is the last place of
/// these.
template <class Head, int Last>
struct HeadFields {
    using F = FieldList<Head>;

    static constexpr Field info() {
        return F::template field<&InspectionHead::info>("info",
                                                        kept(RecordKey::info, 1, Shown::in_data));
    }
    static constexpr Field unit() {
        return F::template field<&InspectionHead::unit>("unit",
                                                        kept(RecordKey::unit, 2, Shown::in_data));
    }
    /// The kind's own fields, and those with which all heads end.
    template <std::size_t N>
    static consteval std::array<Field, N + 7> with_end(const Field (&own)[N]) {
        const Field end[] = {
            F::template field<&InspectionHead::ignored_columns>(
                "ignored_columns", kept(RecordKey::ignored_columns, 3, Shown::in_data)),
            F::template field<&InspectionHead::read_as>("read_as", kept(RecordKey::read_as, 4)),
            F::template field<&InspectionHead::rule>("rule", kept(RecordKey::limit_rule, 5)),
            F::template field<&InspectionHead::decimals>("decimals", kept(RecordKey::decimals, 6)),
            F::template field<&InspectionHead::has_row_limits>("row_limits",
                                                               kept(RecordKey::row_limits, 7)),
            F::template field<&InspectionHead::has_features>("features",
                                                             kept(RecordKey::features, 8)),
            F::template field<&InspectionHead::has_parts>("parts", kept(RecordKey::parts, 9)),
        };
        std::array<Field, N + std::size(end)> all;
        std::copy(std::begin(end), std::end(end), std::copy(own, own + N, all.begin()));
        return all;
    }

private:
    static constexpr FieldTraits kept(RecordKey key, int place, Shown shown = Shown::nowhere) {
        return {.shown = shown, .key = key, .archive = Last + place, .since = since_heads};
    }
};

/// The fields of a row, after the last place of its kind.
template <class Row, int Last>
struct RowFields {
    using F = FieldList<Row>;
    using Head = typename Row::Head;

    template <bool InspectionHead::*Flag>
    static bool has(const void* head) {
        return static_cast<const Head*>(head)->*Flag;
    }
    static constexpr Field lower() {
        return F::template field<&Judged::limits, &Tolerance::lower>(
            "lower", limit(RecordKey::row_lower, 1), has<&InspectionHead::has_row_limits>);
    }
    static constexpr Field upper() {
        return F::template field<&Judged::limits, &Tolerance::upper>(
            "upper", limit(RecordKey::row_upper, 2), has<&InspectionHead::has_row_limits>);
    }
    static constexpr Field feature() {
        return F::template field<&Judged::feature>("feature", name(RecordKey::feature, 3),
                                                   has<&InspectionHead::has_features>);
    }
    static constexpr Field part() {
        return F::template field<&Judged::part>("part", name(RecordKey::part, 4),
                                                has<&InspectionHead::has_parts>);
    }

private:
    static constexpr FieldTraits limit(RecordKey key, int place) {
        return {.unit = FieldUnit::length,
                .shown = Shown::in_tables,
                .late = true,
                .sometimes = true,
                .key = key,
                .archive = Last + place,
                .since = since_heads};
    }
    static constexpr FieldTraits name(RecordKey key, int place) {
        return {.shown = Shown::in_tables,
                .late = true,
                .key = key,
                .archive = Last + place,
                .since = since_heads};
    }
};

} // namespace velm::detail
