#include "inspect/picture/target_view.h"

#include <algorithm>

namespace velm::inspect {
namespace {

std::array<double, 3> coordinates(const ERPoint3D& p) { return {p.x(), p.y(), p.z()}; }

} // namespace

void TargetBox::add(const ERPoint3D& p) {
    const auto at = coordinates(p);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        low[axis] = std::min(low[axis], at[axis]);
        high[axis] = std::max(high[axis], at[axis]);
    }
}

TargetMeasures TargetMeasures::of(double width) {
    if (width < 520.0) return {44.0, 240.0, 440.0, 26.0, 4, ScaleBars::stacked, 64.0, 4.0};
    return {72.0, 280.0, 640.0, 42.0, 8, ScaleBars::beside, 40.0, 6.0};
}

TargetView::TargetView(const TargetBox& box, double width, const TargetMeasures& measures)
    : box_(box), width_(width) {
    const std::size_t thin = box.extent(2) <= std::min(box.extent(0), box.extent(1)) ? 2
                             : box.extent(1) <= box.extent(0)                        ? 1
                                                                                     : 0;
    across_ = thin == 0 ? 1 : 0;
    up_ = thin == 2 ? 1 : 2;
    const double around = 2.0 * measures.margin;
    const double room = measures.most_height - around - measures.footer;
    const double wide = box.extent(across_), tall = box.extent(up_);
    if (wide > 0.0) unit_ = (width - around) / wide;
    if (tall > 0.0) unit_ = std::min(wide > 0.0 ? unit_ : room, room / tall);
    drawn_ = std::max(measures.least_height - measures.footer, tall * unit_ + around);
}

TargetView TargetView::along_the_surface(const TargetMeasures& measures, double top) const {
    TargetView side = *this;
    side.up_ = 3 - across_ - up_;
    side.top_ = top;
    side.drawn_ = box_.extent(side.up_) * unit_ + 2.0 * measures.margin;
    return side;
}

CanvasPoint TargetView::place(const ERPoint3D& p) const {
    const auto at = coordinates(p);
    const auto off = [&](std::size_t axis) {
        return (at[axis] - box_.low[axis] / 2.0 - box_.high[axis] / 2.0) * unit_;
    };
    return {width_ / 2.0 + off(across_), top_ + drawn_ / 2.0 - off(up_)};
}

CanvasPoint TargetView::direction(const ERVector3D& v) const {
    const std::array<double, 3> all{v.i(), v.j(), v.k()};
    return {all[across_], -all[up_]};
}

std::string TargetView::axes() const {
    constexpr std::string_view names = "xyz";
    return std::string(1, names[across_]) + " to the right, " + names[up_] + " upwards";
}

} // namespace velm::inspect
