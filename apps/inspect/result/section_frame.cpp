#include "inspect/result/section_frame.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "inspect/base/failure.h"
#include "velm/transforms/transformation_factories.h"

namespace velm::inspect {
namespace {

constexpr double least_angle = 1e-9; // radians between the normal and the first axis

[[noreturn]] void refuse(const std::string& why) {
    throw Failure(ExitCode::usage, "--frame: " + why);
}

// Of length 1; the largest component is brought near 1 first, so that no square leaves its range.
ERVector3D unit(const ERVector3D& v, const char* name) {
    const double largest = std::max({std::fabs(v.i()), std::fabs(v.j()), std::fabs(v.k())});
    if (largest == 0.0) refuse(std::string(name) + " has no length");
    const int power = -std::ilogb(largest);
    const ERVector3D scaled(std::ldexp(v.i(), power), std::ldexp(v.j(), power),
                            std::ldexp(v.k(), power));
    return scaled.getnormalized();
}

} // namespace

SectionFrame::SectionFrame(std::span<const double> n) {
    if (n.size() != 9)
        refuse("expected nine numbers, an origin, a normal and a first axis, found " +
               std::to_string(n.size()));
    std::copy(n.begin(), n.end(), numbers_.begin());
    const ERVector3D normal = unit({n[3], n[4], n[5]}, "the normal");
    const ERVector3D axis = unit({n[6], n[7], n[8]}, "the first axis");
    const ERVector3D second = normal ^ axis;
    if (!(second.norme() >= least_angle)) refuse("the first axis runs along the normal");
    frame_ = ERChgRepere3D(second ^ normal, second, ERPoint3D(n[0], n[1], n[2]));
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
