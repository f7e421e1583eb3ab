// SurfaceHead, SurfaceRow: what the inspection of a part's surfaces found; FaceSummary: the figures
// of each face.
//
// Measured points are compared with the faces of a nominal part. The deviation of a point is its
// distance from the nearest place of the part less half the ball's diameter, along the normal of
// the surface, positive outside of the material.
//
//     velm::SurfaceRow row;
//     row.measured = ERPoint3D(x, y, z);
//     row.found = velm::SurfaceFind{foot, normal, face, velm::SurfacePlace::interior, distance};
//     row.deviation = distance - row.diameter / 2;
//     velm::judge(row, head);
#pragma once

#include "velm/inspection/applied_alignment.h"
#include "velm/inspection/inspection_head.h"
#include "velm/inspection/tolerance.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace velm {

/// Where on its face a foot is. The numbers are part of object files and archives.
enum class SurfacePlace {
    interior, ///< the point is along the normal from it
    edge,     ///< on the trim of its face, or where two faces meet
    corner,   ///< where edges meet
};
/// "interior", "edge", "corner", by number.
VELM_API std::span<const std::string_view> choice_names(SurfacePlace);

/// A face of the nominal part.
struct InspectedFace {
    std::string path;                   ///< the groups from the top: "/bracket/plate/face 3"
    std::string surface;                ///< the kind of its surface: "plane", "cylinder", ...
    std::optional<Tolerance> tolerance; ///< of its points, which beats that of all
};
template <>
VELM_API std::span<const Field> fields_of<InspectedFace>();

/// What was inspected, and how.
struct SurfaceHead : InspectionHead {
    std::string nominal, measured; ///< names of the files
    std::optional<AppliedAlignment> alignment;
    /// The greatest angle, in degrees, between the direction of a point and the outward normal of
    /// its place; none where no point has a direction.
    std::optional<double> max_angle;
    std::optional<double> max_distance; ///< of a place from the ball of its point
    bool skips_bad = false;             ///< faces that could not be taken were to be left out
    std::vector<NamedText> left_out;    ///< of these, their numbers in the CAD file and the reasons
    int face_count = 0;                 ///< of `faces`, which files keep by themselves
    std::vector<InspectedFace> faces;   ///< those that were inspected

    bool has_face_limits() const;
    /// Whether any row is judged.
    bool is_judged() const { return InspectionHead::is_judged() || has_face_limits(); }
};
template <>
VELM_API std::span<const Field> fields_of<SurfaceHead>();

/// The place of a point on the part.
struct SurfaceFind {
    ERPoint3D foot;
    ERVector3D normal; ///< unit, out of the material
    int face = 0;      ///< of the head's faces
    SurfacePlace place = SurfacePlace::interior;
    double distance = 0.0; ///< of the ball's centre, positive outside of the material
};

/// One measured point.
struct SurfaceRow : Judged {
    using Head = SurfaceHead;

    std::uint64_t index = 0;              ///< from 0, in the order of the file
    ERPoint3D measured;                   ///< the ball's centre, where an alignment has moved it
    std::optional<ERPoint3D> as_measured; ///< before that
    double diameter = 0.0;                ///< of the probe's ball
    /// Out of the material, unit. Not kept.
    std::optional<ERVector3D> direction;
    std::optional<SurfaceFind> found; ///< none: no place belongs to the point
};
template <>
VELM_API std::span<const Field> fields_of<SurfaceRow>();

/// The limits of a row without its own: those of its face, or of the head.
VELM_API const std::optional<Tolerance>& tolerance_of(const SurfaceRow& row,
                                                      const SurfaceHead& head);

/// Sets what follows from the deviation and from whether the point has a place. Limits of the row
/// beat those of its face, which beat those of the head.
VELM_API void judge(SurfaceRow& row, const SurfaceHead& head);

/// A face of the CAD file that could not be taken.
struct SkippedFace {
    std::uint64_t entity = 0; ///< its number there
    std::string reason;
};
template <>
VELM_API std::span<const Field> fields_of<SkippedFace>();
/// Those of the head.
VELM_API std::vector<SkippedFace> skipped_faces(const SurfaceHead& head);

/// The figures of one face; none of its points' deviations where it has no point.
struct FaceFigures {
    std::string face, surface;
    std::uint64_t count = 0;
    std::optional<std::uint64_t> out_of_tolerance;
    std::optional<double> minimum, maximum, mean, rms;
};
template <>
VELM_API std::span<const Field> fields_of<FaceFigures>();

/// Gathers the points by their faces.
class VELM_API FaceSummary {
public:
    explicit FaceSummary(std::size_t faces) : groups_(faces) {}

    void add(const SurfaceRow& row);
    /// In the order of the head's faces.
    std::vector<FaceFigures> figures(const SurfaceHead& head) const;

private:
    struct Group {
        RunningStatistics deviations;
        std::uint64_t judged = 0, out_of_tolerance = 0;
    };
    std::vector<Group> groups_;
};

} // namespace velm
