// fit_drawing.h: `FitDrawing`, the residuals of a circle, a line or a plane in an area of a page.
#pragma once

#include "inspect/picture/deviation_scale.h"
#include "inspect/picture/label_places.h"
#include "inspect/picture/svg_canvas.h"
#include "velm/inspection/fit_result.h"

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace velm::inspect {

/// A point of a fit: its place in the plane of the entity, along the line (x), or from the centre
/// of the circle, and its residual.
struct FitSpot {
    ERPoint2D place;
    double residual = 0.0;
};
ERPoint2D place_in_drawing(const FittedEntity& entity, const ERPoint3D& measured);

class FitDrawing {
public:
    /// How residuals are shown. Those up to `reference` fit in; longer ones end at the edge.
    struct Look {
        const DeviationScale& scale;
        const DeviationUnit& unit;
        double reference;
        int decimals;
    };
    /// `worst` are the rows to be named, the worst first.
    FitDrawing(SvgCanvas& canvas, const CanvasBox& area, const FitHead& head,
               std::span<const FitSpot> spots, std::span<const FitRow> worst, const Look& look);

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
    const FitHead& head_;
    const FittedEntity& entity_;
    std::span<const FitSpot> spots_;
    std::span<const FitRow> worst_;
    Look look_;
    double step_; // between the lines of the grid
    LabelPlaces labels_;
};

} // namespace velm::inspect
