// SectionFrame: the plane of a section in the coordinates of the machine.
//
//     velm::SectionFrame frame;
//     if (frame.set(nine_numbers) != velm::FrameFault::none) return; // frame is unchanged
//     const ERPoint3D in_section = frame.to_section(measured); // z is the height above the plane
#pragma once

#include "velm/export.h"
#include "velm/frame/point.h"
#include "velm/frame/vector.h"
#include "velm/inspection/field.h"
#include "velm/transforms/transformation_handle.h"

#include <array>
#include <span>

namespace velm {

/// Why nine numbers make no frame.
enum class FrameFault {
    none,
    not_nine,              ///< they aren't nine
    normal_without_length, ///< the normal has no length
    axis_without_length,   ///< the first axis has no length
    axis_along_normal,     ///< the two enclose less than 1e-9 radians
};

/// The section's own x and y lie in the plane, its z along the normal: a point's height.
class VELM_API SectionFrame {
public:
    /// The machine's own x and y.
    SectionFrame();

    /// From nine numbers: a point of the plane, which becomes the origin, the plane's normal and
    /// the direction of the first axis, both of any length; the axis is projected into the plane.
    /// The frame is unchanged where they make none.
    FrameFault set(std::span<const double> numbers);

    /// A point of the machine as the section's x and y, and its height.
    ERPoint3D to_section(const ERPoint3D& p) const;
    /// A point or a direction of the section, z along the normal, as the machine's.
    ERPoint3D to_machine(const ERPoint3D& p) const;
    ERVector3D to_machine(const ERVector3D& v) const;

    ERPoint3D origin() const { return frame_.origine(); }
    /// Unit vectors.
    ERVector3D normal() const { return frame_.getVector(Coord3D_Z); }
    ERVector3D first_axis() const { return frame_.getVector(Coord3D_X); }

    /// The numbers that it was made of: a frame made of them again is the same to the last bit.
    std::span<const double> numbers() const { return numbers_; }

private:
    std::array<double, 9> numbers_{0, 0, 0, 0, 0, 1, 1, 0, 0};
    ERPmIsometrie3D frame_;
};
template <>
VELM_API std::span<const Field> fields_of<SectionFrame>();

} // namespace velm
