// SectionHead, SectionRow: what the inspection of a section found; OutlineForm.
//
// A section is a planar cut of a part: measured points are compared with a nominal outline, in its
// plane. The deviation of a point is its distance from the outline less half the ball's diameter,
// positive outside the material.
//
//     velm::SectionRow row;
//     row.measured = ERPoint2D(x, y);
//     row.comparison = profile.compare(row.placed());
//     row.deviation = row.comparison.distance - row.diameter / 2;
//     velm::judge(row, head);
#pragma once

#include "velm/inspection/applied_alignment.h"
#include "velm/inspection/inspection_head.h"
#include "velm/inspection/section_frame.h"
#include "velm/inspection/tolerance.h"
#include "velm/planar/profile.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace velm {

/// How the lines of a nominal file made contours. Files keep the names, and the option that asks
/// for a form has the same ones.
enum class OutlineForm {
    automatic, ///< to be recognised by the first line of data
    contours,  ///< a blank line between contours, the first outer, the others holes
    round,     ///< one run round the profile, blank lines without meaning
    runs,      ///< a line of two counts, then an upper and a lower run from the same end
    arcs,      ///< lines and arcs: a letter and its numbers a line
    pieces,    ///< loose pieces in any order and direction, x1 y1 x2 y2 a line
    dxf,       ///< a drawing
};
/// "auto", "contours", "round", "runs", "arcs", "pieces", "dxf", by number.
VELM_API std::span<const std::string_view> choice_names(OutlineForm);

/// The form of a name; none for a text that is no name.
VELM_API std::optional<OutlineForm> form_of_name(std::string_view name);
inline std::string_view name_of_form(OutlineForm form) {
    return choice_names(form)[static_cast<std::size_t>(form)];
}

/// What was inspected, and how.
struct SectionHead : InspectionHead {
    std::string nominal, measured; ///< names of the files
    std::optional<SectionFrame> frame;
    std::optional<double> max_height; ///< how far off the plane a point may lie
    /// The greatest angle, in degrees, between the direction of a point and the outward normal of
    /// its place; none where no point has a direction.
    std::optional<double> max_angle;
    std::string title; ///< of the outline; may be empty
    OutlineForm form = OutlineForm::contours;
    int contours = 0;                          ///< of the outline
    std::uint64_t edges = 0;                   ///< of all its contours
    std::optional<AppliedAlignment> alignment; ///< within the plane of the section
};
template <>
VELM_API std::span<const Field> fields_of<SectionHead>();

/// A point as it was measured in space.
struct SpacePoint {
    ERPoint3D measured;  ///< in the machine's coordinates
    double height = 0.0; ///< above the plane of the section, along its normal
};

/// One measured point.
struct SectionRow : Judged {
    using Head = SectionHead;

    std::uint64_t index = 0;          ///< from 0, in the order of the file
    ERPoint2D measured;               ///< in the section
    std::optional<ERPoint2D> aligned; ///< where an alignment has moved it
    std::optional<SpacePoint> space;  ///< where the section has a frame
    double diameter = 0.0;            ///< of the probe's ball
    /// Out of the material: the part in the section of a unit vector. Not kept.
    std::optional<ERVector2D> direction;
    /// Of the moved point, if it was moved. Of a point to which no place belongs, the nearest one.
    OutlineComparison comparison;

    /// What was compared.
    const ERPoint2D& placed() const { return aligned ? *aligned : measured; }
};
template <>
VELM_API std::span<const Field> fields_of<SectionRow>();

/// Sets what follows from the deviation and from whether the point has a place.
VELM_API void judge(SectionRow& row, const SectionHead& head);

/// How many points lie in each place, by its number.
using PlaceCounts = std::array<std::uint64_t, place_count>;

} // namespace velm
