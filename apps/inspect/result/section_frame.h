// section_frame.h: `SectionFrame`, the plane of a section in the machine's coordinates.
#pragma once

#include <array>
#include <span>

#include "velm/frame/point.h"
#include "velm/frame/vector.h"
#include "velm/transforms/transformation_handle.h"

namespace velm::inspect {

/// Why numbers make no frame.
enum class FrameFault {
    none,
    not_nine,
    normal_without_length,
    axis_without_length,
    axis_along_normal
};

/// "the first axis runs along the normal"
const char* frame_complaint(FrameFault fault);

/// The section's own x and y lie in the plane, its z along the normal: a point's height.
class SectionFrame {
public:
    /// The plane z = 0.
    SectionFrame();
    /// Takes nine numbers: a point of the plane, which becomes the origin, the plane's normal and
    /// the direction of the first axis, both of any length; the axis is projected into the plane.
    /// Refuses a direction without length, and two that enclose less than 1e-9 radians; the frame
    /// is unchanged then.
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
    std::array<double, 9> numbers_{};
    ERPmIsometrie3D frame_;
};

} // namespace velm::inspect
