#include "inspect/result/section_frame.h"

#include <algorithm>
#include <cmath>

#include "velm/transforms/transformation_factories.h"

namespace velm::inspect {
namespace {

constexpr double least_angle = 1e-9; // radians between the normal and the first axis

// Of length 1, or zero; the largest component is brought near 1 first, so that no square leaves its
// range.
ERVector3D unit(const ERVector3D& v) {
    const double largest = std::max({std::fabs(v.i()), std::fabs(v.j()), std::fabs(v.k())});
    if (largest == 0.0) return {};
    const int power = -std::ilogb(largest);
    const ERVector3D scaled(std::ldexp(v.i(), power), std::ldexp(v.j(), power),
                            std::ldexp(v.k(), power));
    return scaled.getnormalized();
}

} // namespace

const char* frame_complaint(FrameFault fault) {
    switch (fault) {
    case FrameFault::not_nine:
        return "expected nine numbers, an origin, a normal and a first axis";
    case FrameFault::normal_without_length:
        return "the normal has no length";
    case FrameFault::axis_without_length:
        return "the first axis has no length";
    case FrameFault::axis_along_normal:
        return "the first axis runs along the normal";
    default:
        return "";
    }
}

SectionFrame::SectionFrame() { set(std::array<double, 9>{0, 0, 0, 0, 0, 1, 1, 0, 0}); }

FrameFault SectionFrame::set(std::span<const double> n) {
    if (n.size() != numbers_.size()) return FrameFault::not_nine;
    const ERVector3D normal = unit({n[3], n[4], n[5]}), axis = unit({n[6], n[7], n[8]});
    if (normal.norme2() == 0.0) return FrameFault::normal_without_length;
    if (axis.norme2() == 0.0) return FrameFault::axis_without_length;
    const ERVector3D second = normal ^ axis;
    if (!(second.norme() >= least_angle)) return FrameFault::axis_along_normal;
    std::copy(n.begin(), n.end(), numbers_.begin());
    frame_ = ERChgRepere3D(second ^ normal, second, ERPoint3D(n[0], n[1], n[2]));
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

} // namespace velm::inspect
