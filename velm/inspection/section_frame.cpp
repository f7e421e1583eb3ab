#include "velm/inspection/section_frame.h"

#include "velm/inspection/detail/field_list.h"
#include "velm/transforms/transformation_factories.h"

#include <algorithm>
#include <cmath>

namespace velm {
namespace {

constexpr double least_angle = 1e-9; // radians between the normal and the first axis

// Of length 1, or 0 for a vector of no length. The largest component is brought near 1 by a power
// of two first, which is exact, so that no square leaves its range.
ERVector3D unit(const ERVector3D& v) {
    const double largest = std::max({std::fabs(v.i()), std::fabs(v.j()), std::fabs(v.k())});
    if (largest == 0.0) return {};
    const int power = -std::ilogb(largest);
    const ERVector3D scaled(std::ldexp(v.i(), power), std::ldexp(v.j(), power),
                            std::ldexp(v.k(), power));
    return scaled.getnormalized();
}

} // namespace

SectionFrame::SectionFrame()
    : frame_(ERChgRepere3D(ERVector3D(1, 0, 0), ERVector3D(0, 1, 0), ERPoint3D(0, 0, 0))) {}

FrameFault SectionFrame::set(std::span<const double> n) {
    if (n.size() != numbers_.size()) return FrameFault::not_nine;
    const ERVector3D normal = unit({n[3], n[4], n[5]}), axis = unit({n[6], n[7], n[8]});
    if (normal.norme2() == 0.0) return FrameFault::normal_without_length;
    if (axis.norme2() == 0.0) return FrameFault::axis_without_length;
    const ERVector3D second = normal ^ axis;
    if (!(second.norme() >= least_angle)) return FrameFault::axis_along_normal;
    frame_ = ERChgRepere3D(second ^ normal, second, ERPoint3D(n[0], n[1], n[2]));
    std::copy(n.begin(), n.end(), numbers_.begin());
    return FrameFault::none;
}

ERPoint3D SectionFrame::to_section(const ERPoint3D& p) const {
    ERPoint3D local = p;
    return frame_.TransTo(local);
}

ERPoint3D SectionFrame::to_machine(const ERPoint3D& p) const {
    ERPoint3D placed = p;
    return frame_.TransFrom(placed);
}

ERVector3D SectionFrame::to_machine(const ERVector3D& v) const {
    ERVector3D placed = v;
    return frame_.TransFrom(placed);
}

template <>
std::span<const Field> fields_of<SectionFrame>() {
    using F = detail::FieldList<SectionFrame>;
    static constexpr Field fields[] = {
        F::derived<FieldType::point3>(
            "origin",
            {.unit = FieldUnit::length, .shown = Shown::in_data, .key = RecordKey::frame_origin_x},
            [](const SectionFrame& frame) { return frame.origin(); }),
        F::derived<FieldType::vector3>("normal",
                                       {.shown = Shown::in_data, .key = RecordKey::frame_normal_x},
                                       [](const SectionFrame& frame) { return frame.normal(); }),
        F::derived<FieldType::vector3>(
            "first_axis", {.shown = Shown::in_data, .key = RecordKey::frame_axis_x},
            [](const SectionFrame& frame) { return frame.first_axis(); }),
        F::property<FieldType::numbers>(
            "frame_numbers", {.key = RecordKey::frame_numbers, .archive = 1},
            [](const SectionFrame& frame) { return frame.numbers(); },
            [](SectionFrame& frame, const FieldValue& value) {
                const auto* const numbers = std::get_if<std::span<const double>>(&value);
                return numbers != nullptr && frame.set(*numbers) == FrameFault::none;
            }),
    };
    return fields;
}

} // namespace velm
