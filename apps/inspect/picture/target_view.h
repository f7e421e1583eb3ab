// target_view.h: `TargetView`, two axes of space on a picture of targets, and `TargetMeasures`.
#pragma once

#include "inspect/picture/scale_bars.h"
#include "inspect/picture/svg_canvas.h"
#include "velm/frame/point.h"
#include "velm/frame/vector.h"

#include <array>
#include <cstddef>
#include <limits>
#include <string>

namespace velm::inspect {

/// The box of the nominal points.
struct TargetBox {
    std::array<double, 3> low, high;

    TargetBox() {
        low.fill(std::numeric_limits<double>::infinity());
        high.fill(-std::numeric_limits<double>::infinity());
    }
    void add(const ERPoint3D& p);
    double extent(std::size_t axis) const { return high[axis] - low[axis]; }
};

/// The measures that depend on the width of a drawing, in its units.
struct TargetMeasures {
    double margin;                    // around the points, for whiskers and labels
    double least_height, most_height; // of the first view with the footer
    double whisker;                   // of a deviation at the end of the scale, at most
    std::size_t most_named;
    ScaleBars bars;
    double footer; // for the bars and the axes
    double cell;   // of very many points

    static TargetMeasures of(double width);
};

/// Two axes of space on the picture, the third one towards the eye, both at the same scale.
class TargetView {
public:
    /// Along the axis that shows most of the points, from the top of the picture.
    TargetView(const TargetBox& box, double width, const TargetMeasures& measures);
    /// The same seen along the surface: that axis upwards. `top` is where the view begins.
    TargetView along_the_surface(const TargetMeasures& measures, double top) const;

    double unit() const { return unit_; } ///< of the picture, per unit of the model
    double top() const { return top_; }
    double height() const { return drawn_; }
    CanvasPoint place(const ERPoint3D& p) const;
    CanvasPoint direction(const ERVector3D& v) const;
    /// "x to the right, y upwards"
    std::string axes() const;

private:
    TargetBox box_;
    double width_;
    std::size_t across_ = 0, up_ = 1;
    double unit_ = 1.0;
    double top_ = 0.0;
    double drawn_ = 0.0;
};

} // namespace velm::inspect
