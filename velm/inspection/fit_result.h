// FitHead, FitRow: what the fit of a plane, line or circle found.
#pragma once

#include "velm/inspection/field.h"
#include "velm/inspection/inspection_head.h"
#include "velm/inspection/summary.h"
#include "velm/inspection/tolerance.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace velm {

/// The numbers of both are part of object files and archives: they never change.
enum class FitKind { plane = 0, line = 1, circle = 2 };
/// On which side of the material the probe's ball was: in a bore, or outside of a shaft.
enum class BallSide { unknown = 0, inside = 1, outside = 2 };

/// "plane", "line", "circle", by number.
VELM_API std::span<const std::string_view> choice_names(FitKind);
/// "unknown", "inside", "outside", by number.
VELM_API std::span<const std::string_view> choice_names(BallSide);
/// What the form of such an entity is called: "flatness", "straightness", "roundness".
VELM_API std::string_view form_name(FitKind kind);

/// The ball of the probe.
struct Ball {
    double diameter = 0.0; ///< 0 for none
    BallSide side = BallSide::unknown;
};
template <>
VELM_API std::span<const Field> fields_of<Ball>();

/// The fitted entity, corrected for the ball.
struct FittedEntity {
    FitKind kind = FitKind::plane;
    bool in_space = false;
    ERPoint3D point; ///< a point of the plane or line, the centre of the circle; z 0 in the plane
    ERVector3D axis; ///< the normal of the plane or circle, the direction of the line; unit
    double radius = 0.0;                ///< of a circle
    std::optional<double> flatness_rms; ///< of the points of a circle in space about its plane
    int steps = 0;                      ///< of the circle's iteration
    double last_step = 0.0;
};
template <>
VELM_API std::span<const Field> fields_of<FittedEntity>();

/// A characteristic of the fitted entity, held against its limits.
struct VELM_API Characteristic {
    std::string name; ///< "flatness", "straightness", "roundness", "diameter", "position"
    double value = 0.0;
    std::optional<double> nominal;  ///< of a size
    std::optional<ERPoint3D> place; ///< nominal, of a position; z 0 in the plane
    Tolerance limits;               ///< of the value
    bool in_tolerance = false;

    /// Judges the value, with limits widened by `slack`.
    void judge(double slack) { in_tolerance = limits.contains(value, slack); }
};
/// The same, each with keys of its own in files.
struct FormCharacteristic : Characteristic {};
struct SizeCharacteristic : Characteristic {};
struct PositionCharacteristic : Characteristic {};
template <>
VELM_API std::span<const Field> fields_of<FormCharacteristic>();
template <>
VELM_API std::span<const Field> fields_of<SizeCharacteristic>();
template <>
VELM_API std::span<const Field> fields_of<PositionCharacteristic>();

/// What was fitted, and how. The tolerance is the band of the residuals.
struct VELM_API FitHead : InspectionHead {
    std::string measured; ///< name of the file
    std::optional<Ball> ball;
    FittedEntity entity;
    /// Greatest residual less least, or twice the greatest distance from a line in space; the
    /// diameter of a circle; twice the distance of its axis from its nominal place.
    std::optional<FormCharacteristic> form;
    std::optional<SizeCharacteristic> size;
    std::optional<PositionCharacteristic> position;
    double largest_coordinate = 0.0; ///< of the points, for the slack of limits

    /// The three, null where one isn't judged.
    std::array<const Characteristic*, 3> characteristics() const;
    /// Whether every characteristic is within its limits.
    bool is_in_tolerance() const;
    /// The form by the residuals of all points.
    double peak_to_valley(const Summary& summary) const;
};
template <>
VELM_API std::span<const Field> fields_of<FitHead>();

/// One point; its deviation is the residual.
struct FitRow : Judged {
    using Head = FitHead;

    std::uint64_t index = 0; ///< from 0, in the order of the file
    ERPoint3D measured;      ///< z is 0 in the plane
};
template <>
VELM_API std::span<const Field> fields_of<FitRow>();

/// Sets what follows from the residual.
VELM_API void judge(FitRow& row, const FitHead& head);

} // namespace velm
