// HeadFields, RowFields: the fields that the heads, or the rows, of all kinds of inspections share.
#pragma once

#include "velm/inspection/detail/field_list.h"
#include "velm/inspection/inspection_head.h"

namespace velm::detail {

/// The version of the archive that brought these fields.
inline constexpr int since_heads = 2;

/// The fields of a head. In an archive they follow those of its kind: `Last` is the last place of
/// these.
template <class Head, int Last>
struct HeadFields {
    using F = FieldList<Head>;

    static constexpr Field info() {
        return F::template field<&InspectionHead::info>("info", {.shown = Shown::in_data,
                                                                 .key = RecordKey::info,
                                                                 .archive = Last + 1,
                                                                 .since = since_heads});
    }
    static constexpr Field unit() {
        return F::template field<&InspectionHead::unit>("unit", {.shown = Shown::in_data,
                                                                 .key = RecordKey::unit,
                                                                 .archive = Last + 2,
                                                                 .since = since_heads});
    }
    static constexpr Field ignored_columns() {
        return F::template field<&InspectionHead::ignored_columns>(
            "ignored_columns", {.shown = Shown::in_data,
                                .key = RecordKey::ignored_columns,
                                .archive = Last + 3,
                                .since = since_heads});
    }
    static constexpr Field read_as() {
        return F::template field<&InspectionHead::read_as>(
            "read_as", {.key = RecordKey::read_as, .archive = Last + 4, .since = since_heads});
    }
    static constexpr Field rule() {
        return F::template field<&InspectionHead::rule>(
            "rule", {.key = RecordKey::limit_rule, .archive = Last + 5, .since = since_heads});
    }
    static constexpr Field decimals() {
        return F::template field<&InspectionHead::decimals>(
            "decimals", {.key = RecordKey::decimals, .archive = Last + 6, .since = since_heads});
    }
    static constexpr Field row_limits() {
        return F::template field<&InspectionHead::has_row_limits>(
            "row_limits",
            {.key = RecordKey::row_limits, .archive = Last + 7, .since = since_heads});
    }
    static constexpr Field features() {
        return F::template field<&InspectionHead::has_features>(
            "features", {.key = RecordKey::features, .archive = Last + 8, .since = since_heads});
    }
    static constexpr Field parts() {
        return F::template field<&InspectionHead::has_parts>(
            "parts", {.key = RecordKey::parts, .archive = Last + 9, .since = since_heads});
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
