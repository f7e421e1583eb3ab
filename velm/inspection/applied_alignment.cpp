#include "velm/inspection/applied_alignment.h"

#include "velm/inspection/detail/field_list.h"
#include "velm/transforms/transformed_values.h"

#include <cmath>

namespace velm {
namespace {

// The sine of the angle times the axis, from the antisymmetric part of the matrix.
ERVector3D turning(const ERVector3D (&rotation)[3]) {
    return ERVector3D(rotation[2].j() - rotation[1].k(), rotation[0].k() - rotation[2].i(),
                      rotation[1].i() - rotation[0].j()) *
           0.5;
}

double cosine(const ERVector3D (&rotation)[3]) {
    return (rotation[0].i() + rotation[1].j() + rotation[2].k() - 1.0) / 2.0;
}

AppliedAlignment with_report(const AlignmentReport& found, const AlignmentOptions& options) {
    AppliedAlignment result;
    result.iterations = found.iterations;
    result.threshold = options.threshold;
    result.last_step = found.last_step;
    for (const HeldFreedom& freedom : found.held)
        result.held.push_back(freedom.name());
    return result;
}

} // namespace

DeviationSpread spread_of(const RunningStatistics& deviations) {
    return {deviations.rms(), deviations.minimum(), deviations.maximum()};
}

double AppliedAlignment::angle() const {
    const ERVector3D turn = turning(rotation);
    return std::atan2(in_plane ? turn.k() : turn.norme(), cosine(rotation));
}

ERVector3D AppliedAlignment::axis() const {
    const ERVector3D turn = turning(rotation);
    if (turn.norme2() == 0.0 && cosine(rotation) > 0.0) return {};
    if (cosine(rotation) > 0.0) return turn.getnormalized();
    // Near a half turn the antisymmetric part vanishes. There the symmetric part less the cosine is
    // (1 - cosine) times the products of the axis' components, and its longest row gives the axis.
    ERVector3D longest;
    for (int row = 0; row < 3; ++row) {
        ERVector3D products = rotation[row];
        for (int column = 0; column < 3; ++column)
            products[column] = (rotation[row][column] + rotation[column][row]) / 2.0;
        products[row] -= cosine(rotation);
        if (products.norme2() > longest.norme2()) longest = products;
    }
    return longest.getnormalized() * (longest * turn < 0.0 ? -1.0 : 1.0);
}

ERPoint2D AppliedAlignment::moved(const ERPoint2D& p) const {
    return {rotation[0].i() * p.x() + rotation[0].j() * p.y() + translation.x(),
            rotation[1].i() * p.x() + rotation[1].j() * p.y() + translation.y()};
}

ERVector3D AppliedAlignment::turned(const ERVector3D& v) const {
    return {rotation[0] * v, rotation[1] * v, rotation[2] * v};
}

ERPoint3D AppliedAlignment::moved(const ERPoint3D& p) const {
    return translation + turned(p.asVector3D());
}

std::span<const std::string_view> choice_names(AlignmentMethod) {
    static constexpr std::string_view names[] = {"bestfit", "rps"};
    return names;
}

AppliedAlignment applied(const Alignment& found, const AlignmentOptions& options) {
    AppliedAlignment result = with_report(found, options);
    for (int column = 0; column < 3; ++column) {
        const ERVector3D image = found.motion >> ERVector3D(static_cast<Coord3D>(column));
        for (int row = 0; row < 3; ++row)
            result.rotation[row][column] = image[row];
    }
    result.translation = found.motion >> ERPoint3D(0, 0, 0);
    return result;
}

AppliedAlignment applied(const Alignment2D& found, const AlignmentOptions& options) {
    AppliedAlignment result = with_report(found, options);
    result.in_plane = true;
    const ERVector2D x = found.motion >> ERVector2D(1, 0), y = found.motion >> ERVector2D(0, 1);
    result.rotation[0] = ERVector3D(x.i(), y.i(), 0);
    result.rotation[1] = ERVector3D(x.j(), y.j(), 0);
    const ERPoint2D origin = found.motion >> ERPoint2D(0, 0);
    result.translation = ERPoint3D(origin.x(), origin.y(), 0);
    return result;
}

namespace {

using F = detail::FieldList<AppliedAlignment>;

Matrix matrix_of(const AppliedAlignment& alignment, int size) {
    Matrix matrix{{}, size};
    for (int row = 0; row < size; ++row)
        for (int column = 0; column < size; ++column)
            matrix.rows[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)] =
                alignment.rotation[row][column];
    return matrix;
}

bool assign_rotation(AppliedAlignment& alignment, const FieldValue& value) {
    const Matrix* const matrix = std::get_if<Matrix>(&value);
    if (matrix == nullptr || matrix->size != 3) return false;
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column)
            alignment.rotation[row][column] =
                matrix->rows[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)];
    return true;
}

template <DeviationSpread AppliedAlignment::*Spread, double DeviationSpread::*Value>
constexpr Field spread(std::string_view name, RecordKey key, int archive) {
    return F::field<Spread, Value>(
        name, {.unit = FieldUnit::length, .shown = Shown::in_data, .key = key, .archive = archive});
}

constexpr auto before = &AppliedAlignment::before;
constexpr auto after = &AppliedAlignment::after;

} // namespace

template <>
std::span<const Field> fields_of<AppliedAlignment>() {
    using Applied = AppliedAlignment;
    static constexpr auto in_space = [](const void* alignment) {
        return !static_cast<const Applied*>(alignment)->in_plane;
    };
    static constexpr Field fields[] = {
        F::field<&Applied::in_plane>("in_plane",
                                     {.key = RecordKey::alignment_in_plane, .archive = 1}),
        F::field<&Applied::method>("method", {.shown = Shown::in_data,
                                              .key = RecordKey::alignment_method,
                                              .archive = 14,
                                              .since = 3}),
        F::field<&Applied::iterations>(
            "iterations",
            {.shown = Shown::in_data, .key = RecordKey::alignment_iterations, .archive = 4}),
        F::field<&Applied::threshold>("threshold", {.unit = FieldUnit::part,
                                                    .shown = Shown::in_data,
                                                    .key = RecordKey::alignment_threshold,
                                                    .archive = 5}),
        F::field<&Applied::last_step>("last_step", {.unit = FieldUnit::part,
                                                    .shown = Shown::in_data,
                                                    .key = RecordKey::alignment_last_step,
                                                    .archive = 6}),
        F::derived<FieldType::number>("angle", {.unit = FieldUnit::angle, .shown = Shown::in_data},
                                      [](const Applied& alignment) { return alignment.angle(); }),
        F::derived<FieldType::vector3>(
            "axis", {.shown = Shown::in_data},
            [](const Applied& alignment) { return alignment.axis(); }, in_space),
        // Kept in space; shown with the rows and columns of the plane alone.
        F::property<FieldType::matrix>(
            "kept_rotation", {.key = RecordKey::alignment_rotation, .archive = 2},
            [](const Applied& alignment) { return matrix_of(alignment, 3); },
            [](Applied& alignment, const FieldValue& value) {
                return assign_rotation(alignment, value);
            }),
        F::field<&Applied::translation>(
            "kept_translation",
            {.unit = FieldUnit::length, .key = RecordKey::alignment_translation, .archive = 3}),
        F::derived<FieldType::matrix>("rotation", {.shown = Shown::in_data},
                                      [](const Applied& alignment) {
                                          return matrix_of(alignment, alignment.in_plane ? 2 : 3);
                                      }),
        F::derived<FieldType::point3>(
            "translation", {.unit = FieldUnit::length, .shown = Shown::in_data},
            [](const Applied& alignment) {
                const ERPoint3D& t = alignment.translation;
                return Coordinates{{t.x(), t.y(), t.z()}, alignment.in_plane ? 2 : 3};
            }),
        spread<before, &DeviationSpread::rms>("rms_before", RecordKey::rms_before, 7),
        spread<after, &DeviationSpread::rms>("rms_after", RecordKey::rms_after, 10),
        spread<before, &DeviationSpread::minimum>("minimum_before", RecordKey::minimum_before, 8),
        spread<after, &DeviationSpread::minimum>("minimum_after", RecordKey::minimum_after, 11),
        spread<before, &DeviationSpread::maximum>("maximum_before", RecordKey::maximum_before, 9),
        spread<after, &DeviationSpread::maximum>("maximum_after", RecordKey::maximum_after, 12),
        F::field<&Applied::held>(
            "held", {.shown = Shown::in_data, .key = RecordKey::alignment_held, .archive = 13}),
    };
    return fields;
}

} // namespace velm
