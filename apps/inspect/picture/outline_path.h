// outline_path.h: `OutlinePath`, a contour in the picture, its arcs as arcs.
#pragma once

#include "inspect/picture/svg_canvas.h"
#include "velm/planar/contour.h"

#include <functional>
#include <string>
#include <vector>

namespace velm::inspect {

/// A closed path without invisible details: vertices closer to the one before than `finest_detail`,
/// and arcs as flat as a line. Arcs are cut into pieces below half a turn, which are determined by
/// ends, radius and sense in spite of rounding.
class OutlinePath {
public:
    /// `place` maps a point into the picture, where a model unit is `unit` long.
    OutlinePath(const Contour& contour, const std::function<CanvasPoint(const ERPoint2D&)>& place,
                double unit);

    /// As path data.
    std::string data() const;
    /// Appends points along the path, about `step` apart.
    void sample(double step, std::vector<CanvasPoint>& points) const;

private:
    static constexpr double finest_detail = 0.12; // in picture units

    struct Piece {
        CanvasPoint to;
        double radius;      // 0 for a straight one
        CanvasPoint center; // of an arc
        bool is_clockwise;  // as seen
    };
    void go_round(const ERArc2D& arc, const ERPoint2D& end,
                  const std::function<CanvasPoint(const ERPoint2D&)>& place, double unit);
    void go_along(const CurveEdge& curve, const std::function<CanvasPoint(const ERPoint2D&)>& place,
                  double unit);
    void add(const Piece& piece, double length);

    CanvasPoint start_;
    std::vector<Piece> pieces_; // the closing one left out if it is straight
};

} // namespace velm::inspect
