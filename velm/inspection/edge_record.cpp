#include "velm/inspection/detail/edge_record.h"

#include "velm/inspection/detail/field_list.h"
#include "velm/inspection/summary.h"

namespace velm {

detail::EdgePlace::EdgePlace(const Outline& outline, int contour_number, int edge_number)
    : contour(contour_number), edge(edge_number) {
    const Contour& of = outline.contours[static_cast<std::size_t>(contour)];
    if (of.is_straight(edge)) return;
    vertex = of[edge];
    const ERArc2D* const arc = of.arc(edge);
    if (arc == nullptr || of.size() > 1) return;
    start_angle = arc->startAngle();
    end_angle = arc->endAngle();
}

detail::IdentifierNames::IdentifierNames(const CADObjectID& identifier)
    : group_path(identifier.group_structure().path().view()), type(identifier.type().view()),
      name_space(identifier.name_space().name().view()) {}

template <>
std::span<const Field> fields_of<detail::EdgePlace>() {
    using Place = detail::EdgePlace;
    using F = detail::FieldList<Place>;
    static constexpr Field fields[] = {
        F::field<&Place::contour>("contour", {.key = RecordKey::contour}),
        F::field<&Place::edge>("edge", {.key = RecordKey::edge}),
        F::field<&Place::vertex>("vertex", {.key = RecordKey::vertex_x}),
        F::field<&Place::start_angle>("start_angle", {.key = RecordKey::start_angle}),
        F::field<&Place::end_angle>("end_angle", {.key = RecordKey::end_angle}),
    };
    return fields;
}

template <>
std::span<const Field> fields_of<detail::IdentifierNames>() {
    using Names = detail::IdentifierNames;
    using F = detail::FieldList<Names>;
    static constexpr Field fields[] = {
        F::field<&Names::group_path>("group_path", {.key = RecordKey::group_path}),
        F::field<&Names::type>("type", {.key = RecordKey::type}),
        F::field<&Names::name_space>("name_space", {.key = RecordKey::name_space}),
    };
    return fields;
}

template <>
std::span<const Field> fields_of<detail::EdgeSummary>() {
    using All = detail::EdgeSummary;
    using F = detail::FieldList<All>;
    static constexpr Field fields[] = {
        F::field<&All::tolerance>("tolerance", {.key = RecordKey::tolerance_lower}),
        F::field<&All::count>("count", {.key = RecordKey::count}),
        F::field<&All::in_tolerance>("in_tolerance", {.key = RecordKey::in_tolerance}),
        F::field<&All::out_of_tolerance>("out_of_tolerance", {.key = RecordKey::out_of_tolerance}),
        F::field<&All::minimum>("minimum", {.key = RecordKey::minimum}),
        F::field<&All::maximum>("maximum", {.key = RecordKey::maximum}),
    };
    return fields;
}

} // namespace velm
