// fit_drawing.h: `FitDrawing`, the residuals of a circle, a line or a plane in an area of a page.
#pragma once

#include "inspect/picture/deviation_scale.h"
#include "inspect/picture/label_places.h"
#include "inspect/picture/svg_canvas.h"
#include "inspect/result/fit_result.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace velm::inspect {

class FitDrawing {
public:
    /// Residuals up to `reference` fit in; longer ones end at the edge.
    FitDrawing(SvgCanvas& canvas, const CanvasBox& area, const FitResult& result,
               const FitPoints& points, const DeviationScale& scale, const DeviationUnit& unit,
               double reference);

    void draw();

private:
    void draw_polar();
    void draw_along();
    void draw_spots();
    /// The points to draw: all, or those that stand out in their neighbourhood.
    std::vector<std::size_t> chosen() const;
    void dot(const CanvasPoint& at, std::size_t index, double radius);
    void label_worst(const std::vector<CanvasPoint>& where,
                     const std::function<CanvasPoint(std::size_t)>& toward);
    void fixed_text(const CanvasPoint& at, const std::string& content, double size,
                    SvgCanvas::Anchor anchor, std::string_view attributes);
    std::string color_of(double residual) const;

    SvgCanvas& canvas_;
    CanvasBox area_;
    const FitResult& result_;
    const FitPoints& points_;
    const DeviationScale& scale_;
    const DeviationUnit& unit_;
    double reference_;
    double step_; // between the lines of the grid
    LabelPlaces labels_;
};

} // namespace velm::inspect
