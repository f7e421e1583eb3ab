// section_drawing.h: `SectionDrawing`, the outline of a section with its deviations, to scale.
#pragma once

#include "inspect/picture/deviation_envelope.h"
#include "inspect/picture/deviation_scale.h"
#include "inspect/picture/label_places.h"
#include "inspect/picture/outline_path.h"
#include "inspect/picture/svg_canvas.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velm::inspect {

/// A point that is drawn separately.
struct DrawnPoint : Judged { ///< without an id if there are too many points to name them
    ERPoint2D foot;
    ERVector2D outward;
};

/// Draws into one area of the canvas: the material, the tolerance band, whiskers from the outline,
/// outwards for positive deviations, magnified by one round factor. The factor is chosen so that
/// `reference`, a usual large deviation, is clearly visible; whiskers that are too long are cut and
/// marked. A narrow area has shorter whiskers and a smaller margin.
class SectionDrawing {
public:
    /// `name_prefix` distinguishes the names of the picture's parts from those of another one on
    /// the same page.
    SectionDrawing(SvgCanvas& canvas, const CanvasBox& area, const Outline& outline,
                   const DeviationScale& scale, const std::optional<Tolerance>& tolerance,
                   double reference, std::string_view name_prefix = "");

    void draw_outline();
    /// With `only_excess`, for points out of tolerance over an envelope, from the limit on.
    void draw_whiskers(const std::vector<DrawnPoint>& points, bool only_excess);
    void draw_envelope(const DeviationEnvelope& envelope);
    /// Marks of those of its extremes that are out of tolerance.
    void draw_extremes(const DeviationEnvelope& envelope);
    /// Names up to `most` of the rows in the order given, but none close to one named already, each
    /// at the place where it hides least, with a line to its point.
    void draw_labels(const std::vector<SectionRow>& rows, std::size_t most,
                     const DeviationUnit& unit);
    /// The bars for lengths of the part and for deviations, below the drawing.
    void draw_bars();

    /// The height that an area of this width needs for an outline with this box.
    static double height_for(const ERMinimax2D& box, double width);
    int cut_whiskers() const { return cut_; }
    bool shows_band() const { return shows_band_; }

private:
    // The measures that depend on the width of an area, in picture units.
    struct Measures {
        double longest;     // whisker
        double margin;      // round the outline, for whiskers and labels
        double bars_height; // below the drawing
        bool narrow;
    };
    static Measures measures_for(double width);
    double usual_length(const Outline& outline) const;
    CanvasPoint place(const ERPoint2D& p) const;
    CanvasPoint tip(const ERPoint2D& foot, const ERVector2D& outward, double deviation) const;
    double length(double deviation) const;
    std::string use_outline(const std::string& attributes) const;
    void draw_band();
    CanvasPoint start(const DrawnPoint& point) const;
    void draw_whisker_groups(const std::vector<const DrawnPoint*>& points);
    void draw_named_whiskers(const std::vector<const DrawnPoint*>& points);
    void draw_markers(const std::vector<const DrawnPoint*>& points);
    void mark_cut(const CanvasPoint& foot, const CanvasPoint& end, std::string& marks);

    SvgCanvas& canvas_;
    CanvasBox area_;
    Measures measures_;
    std::string name_prefix_;
    const DeviationScale& scale_;
    std::optional<Tolerance> tolerance_;
    std::vector<OutlinePath> contours_;
    CanvasBox drawn_;   // the box of the outline
    double unit_ = 1.0; // picture units per model unit
    double left_ = 0.0, bottom_ = 0.0;
    double model_left_ = 0.0, model_bottom_ = 0.0;
    double magnification_ = 1.0;
    bool only_excess_ = false;
    bool shows_band_ = false;
    int cut_ = 0;
    LabelPlaces labels_;
};

} // namespace velm::inspect
