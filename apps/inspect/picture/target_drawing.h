// target_drawing.h: `TargetDrawing`, targets drawn from two sides in a picture of their own.
#pragma once

#include "inspect/picture/deviation_scale.h"
#include "inspect/picture/label_places.h"
#include "inspect/picture/svg_canvas.h"
#include "inspect/picture/target_view.h"
#include "velm/inspection/target_result.h"

#include <span>
#include <string>
#include <vector>

namespace velm::inspect {

/// A target in 32 bytes, so that a picture can hold very many.
struct TargetSpot {
    ERPoint3D nominal;
    float deviation = 0.0F;
    signed char beyond = 0; ///< 1 above the upper limit, -1 below the lower one
};

class TargetDrawing {
public:
    /// How deviations are shown.
    struct Look {
        const DeviationScale& scale;
        const DeviationUnit& unit;
        double reference;
    };
    TargetDrawing(const TargetBox& box, double width, const Look& look);

    /// Each row a dot with its whisker, or out of tolerance a triangle that points to the side of
    /// the limit. The worst come last.
    void draw_points(const std::vector<const TargetRow*>& rising);
    /// Very many: squares coloured by the mean deviation of their points, those with the worst
    /// points marked.
    void draw_cells(std::span<const TargetSpot> spots);
    /// Names of the worst, no two close to each other. `worst` come first.
    void name_worst(std::span<const TargetRow> worst);
    void draw_footer();
    std::string finish() const { return canvas_.finish(); }

private:
    CanvasPoint whisker(const TargetView& view, const TargetRow& row) const;
    void draw_point(const TargetView& view, const TargetRow& row, bool has_note);
    std::size_t draw_cells(const TargetView& view, std::span<const TargetSpot> spots);

    TargetMeasures measures_;
    TargetView front_, side_;
    Look look_;
    SvgCanvas canvas_;
    LabelPlaces labels_;
    double magnification_ = 1.0;
    std::size_t cells_ = 0, points_ = 0; // of very many points in the first view
};

} // namespace velm::inspect
