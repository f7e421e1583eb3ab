// EdgePlace, EdgeSummary, IdentifierNames: what the record of an edge holds beside its entity,
// described as heads and rows are.
#pragma once

#include "velm/inspection/field.h"
#include "velm/inspection/tolerance.h"
#include "velm/measure/cad_object_id.h"
#include "velm/planar/contour.h"

#include <optional>
#include <string>

namespace velm {
namespace detail {

/// An edge of an outline, and what its entity doesn't hold: the vertex beside an arc or a curve,
/// and where a whole circle begins.
struct EdgePlace {
    int contour = 0, edge = 0;
    std::optional<ERPoint2D> vertex;
    std::optional<double> start_angle, end_angle;

    EdgePlace() = default;
    EdgePlace(const Outline& outline, int contour, int edge);
};

/// Path, type and name space of a named object, whose numbers are stored elsewhere.
struct IdentifierNames {
    std::string group_path, type, name_space;

    explicit IdentifierNames(const CADObjectID& identifier);
};

/// What was found on an edge. There are no limits without a point, no judgement without a
/// tolerance.
struct EdgeSummary {
    std::optional<Tolerance> tolerance;
    std::uint64_t count = 0;
    std::optional<std::uint64_t> in_tolerance, out_of_tolerance;
    std::optional<double> minimum, maximum;
};

} // namespace detail

template <>
std::span<const Field> fields_of<detail::EdgePlace>();
template <>
std::span<const Field> fields_of<detail::IdentifierNames>();
template <>
std::span<const Field> fields_of<detail::EdgeSummary>();

} // namespace velm
