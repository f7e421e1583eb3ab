#include "inspect/section_picture.h"

#include <algorithm>
#include <cmath>

#include "inspect/number_text.h"
#include "inspect/text_escape.h"

namespace velm::inspect {
namespace {

constexpr double border = 40.0;
constexpr double below_header = 92.0;

// Where the parts of the page stand: a flat section above its figures, an upright one beside them.
struct Layout {
    CanvasBox drawing, figures, histogram, legend;
};

Layout lay_out(const Outline& outline) {
    const ERMinimax2D box = outline.box();
    const double bottom = SvgCanvas::height - 28.0;
    if (box.ylength() > 0.55 * box.xlength()) {
        constexpr double left = 742.0, wide = SvgCanvas::width - border - left;
        return {{border, below_header, left - border - 36.0, bottom - below_header},
                {left, below_header, wide, 236.0},
                {left, below_header + 246.0, wide, 192.0},
                {left, below_header + 458.0, wide, bottom - below_header - 458.0}};
    }
    const double wide = SvgCanvas::width - 2.0 * border;
    const double needed = SectionDrawing::height_for(box, wide);
    const double top = std::clamp(below_header + needed + 22.0, 444.0, 532.0);
    const double high = bottom - top;
    return {{border, below_header, wide, top - 22.0 - below_header},
            {border, top, 270.0, high},
            {border + 318.0, top, 420.0, high},
            {border + 786.0, top, wide - 786.0, high}};
}

// A usual large deviation: of the rarest two in a hundred, but at least the tolerance where that is
// of the same size.
double reference_deviation(const std::vector<DeviationHistogram::Cell>& cells,
                           const std::optional<Tolerance>& tolerance) {
    double usual = std::max(std::fabs(DeviationHistogram::quantile(cells, 0.01)),
                            std::fabs(DeviationHistogram::quantile(cells, 0.99)));
    if (usual == 0.0) // all but a few are perfect
        usual = std::max(std::fabs(cells.front().value), std::fabs(cells.back().value));
    if (!tolerance) return usual;
    const double limit = std::max(std::fabs(tolerance->lower), std::fabs(tolerance->upper));
    return usual > 0.0 ? std::clamp(limit, usual, 3.0 * usual) : limit;
}

} // namespace

SectionPicture::SectionPicture(const Outline& outline, const std::optional<Tolerance>& tolerance)
    : outline_(outline), tolerance_(tolerance), envelope_(outline) {
    notes_.has_tolerance = tolerance.has_value();
}

void SectionPicture::add(const SectionRow& row) {
    const bool out = row.in_tolerance == false;
    if (out) ++(row.deviation > tolerance_->upper ? notes_.above : notes_.below);
    envelope_.add(row);
    histogram_.add(row.deviation);
    if (count_ < most_whiskers || out)
        points_.push_back({count_ < most_named ? row.id : std::string(), row.comparison.foot,
                           row.comparison.outward, row.deviation});
    ++count_;
    if (count_ == most_named + 1)
        for (DrawnPoint& point : points_)
            point.id = {};
    if (count_ == most_whiskers + 1)
        std::erase_if(points_, [&](const DrawnPoint& point) {
            return !tolerance_ || tolerance_->contains(point.deviation);
        });
}

std::vector<SectionRow> SectionPicture::rows_to_name(const std::vector<SectionRow>& worst) const {
    std::vector<SectionRow> rows;
    for (const SectionRow& row : worst)
        if (row.in_tolerance != true && row.deviation != 0.0) rows.push_back(row);
    return rows;
}

std::string SectionPicture::svg(const Summary& summary, const std::vector<SectionRow>& worst,
                                const std::string& nominal, const std::string& measured) const {
    const std::vector<DeviationHistogram::Cell> cells = histogram_.cells();
    const double reference = reference_deviation(cells, tolerance_);
    const DeviationScale scale(tolerance_, reference);
    const double largest =
        std::max({std::fabs(scale.lower()), std::fabs(scale.upper()), reference});
    const DeviationUnit unit(largest);

    const Layout layout = lay_out(outline_);
    SvgCanvas canvas(outline_.title.empty() ? "Section" : outline_.title,
                     "Deviations of " + measured + " from " + nominal);
    draw_header(canvas, outline_.title.empty() ? "Section" : terminal_text(outline_.title),
                shown_path(measured) + " against " + shown_path(nominal), summary);

    SectionDrawing drawing(canvas, layout.drawing, outline_, scale, tolerance_, reference);
    LegendNotes notes = notes_;
    notes.shows_envelope = count_ > most_whiskers;
    drawing.draw_outline();
    if (notes.shows_envelope) drawing.draw_envelope(envelope_);
    drawing.draw_whiskers(points_, notes.shows_envelope);
    drawing.draw_labels(rows_to_name(worst), tolerance_ ? 6 : 3, unit);
    drawing.draw_bars();

    notes.cut_whiskers = drawing.cut_whiskers();
    notes.shows_band = drawing.shows_band();
    draw_figures(canvas, layout.figures, summary, unit);
    draw_histogram(canvas, layout.histogram, cells, scale, tolerance_.has_value(), unit);
    draw_legend(canvas, layout.legend, scale, notes, unit);
    return canvas.finish();
}

} // namespace velm::inspect
