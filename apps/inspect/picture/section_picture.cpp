#include "inspect/picture/section_picture.h"

#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"
#include "inspect/picture/palette.h"

#include <algorithm>
#include <cmath>

namespace velm::inspect {
namespace {

using palette::border;

// The places of the parts of the page: a flat section is above its figures, an upright one beside
// them.
struct Layout {
    CanvasBox drawing, figures, histogram, legend;
};

Layout lay_out(const Outline& outline, double below_header) {
    const ERMinimax2D box = outline.box();
    const double bottom = SvgCanvas::height - palette::foot;
    if (box.ylength() > 0.55 * box.xlength()) {
        constexpr double left = palette::column_left, wide = SvgCanvas::width - border - left;
        // The legend is highest; the distribution has what is left.
        constexpr double figures = 236.0, legend = 216.0, gap = 10.0;
        const double legend_top = bottom - legend;
        return {{border, below_header, left - border - palette::column_gap, bottom - below_header},
                {left, below_header, wide, figures},
                {left, below_header + figures + gap, wide,
                 legend_top - 2.0 * gap - below_header - figures},
                {left, legend_top, wide, legend}};
    }
    const double wide = SvgCanvas::width - 2.0 * border;
    const double needed = SectionDrawing::height_for(box, wide);
    const double top = std::clamp(below_header + needed + 22.0, 444.0,
                                  532.0 + (below_header - palette::below_header) / 4.0);
    const double high = bottom - top;
    return {{border, below_header, wide, top - 22.0 - below_header},
            {border, top, 270.0, high},
            {border + 318.0, top, 420.0, high},
            {border + 786.0, top, wide - 786.0, high}};
}

} // namespace

SectionPicture::SectionPicture(const SectionHead& head, const Outline& outline)
    : head_(head), outline_(outline), tolerance_(head.tolerance), envelope_(outline) {
    notes_.has_tolerance = head.is_judged();
}

void SectionPicture::add(const SectionRow& row) {
    if (!row.is_assigned) return;
    const bool out = row.in_tolerance == false;
    if (out) {
        const std::optional<Tolerance>& band = row.limits ? row.limits : tolerance_;
        ++(row.deviation > band->upper ? notes_.above : notes_.below);
    }
    envelope_.add(row);
    histogram_.add(row.deviation);
    if (count_ < most_whiskers || (out && !has_too_many_out_)) {
        points_.push_back({row, row.comparison.foot, row.comparison.outward});
        if (count_ >= most_named) points_.back().id = {};
    }
    ++count_;
    if (count_ == most_named + 1)
        for (DrawnPoint& point : points_)
            point.id = {};
    if (count_ == most_whiskers + 1)
        std::erase_if(points_, [](const DrawnPoint& point) { return point.in_tolerance != false; });
    if (count_ > most_whiskers && points_.size() > most_whiskers) {
        has_too_many_out_ = true;
        points_ = {};
    }
}

std::vector<SectionRow> SectionPicture::rows_to_name(const std::vector<SectionRow>& worst) const {
    std::vector<SectionRow> rows;
    for (const SectionRow& row : worst)
        if (row.is_assigned && row.in_tolerance != true && row.deviation != 0.0)
            rows.push_back(row);
    return rows;
}

PictureLook SectionPicture::look(int decimals) const {
    std::vector<DeviationHistogram::Cell> cells = histogram_.cells();
    const double reference = reference_deviation(cells, tolerance_);
    return {std::move(cells), reference, tolerance_, decimals};
}

std::string SectionPicture::title() const {
    return head_.title.empty() ? "Section" : terminal_text(head_.title);
}

LegendNotes SectionPicture::draw(SvgCanvas& canvas, const CanvasBox& area, const PictureLook& look,
                                 const std::vector<SectionRow>& worst,
                                 std::string_view name_prefix) const {
    SectionDrawing drawing(canvas, area, outline_, look.scale, tolerance_, look.reference,
                           name_prefix);
    LegendNotes notes = notes_;
    notes.shows_envelope = count_ > most_whiskers;
    drawing.draw_outline();
    if (notes.shows_envelope) drawing.draw_envelope(envelope_);
    if (has_too_many_out_)
        drawing.draw_extremes(envelope_);
    else
        drawing.draw_whiskers(points_, notes.shows_envelope);
    drawing.draw_labels(rows_to_name(worst), tolerance_ ? 6 : 3, look.unit);
    drawing.draw_bars();
    notes.cut_whiskers = drawing.cut_whiskers();
    notes.shows_band = drawing.shows_band();
    return notes;
}

std::string SectionPicture::svg(const ReportHead& head, const Summary& summary, int decimals,
                                const std::vector<SectionRow>& worst) const {
    const PictureLook look = this->look(decimals);
    SvgCanvas canvas(head.title, "Deviations of " + head.subtitle);
    const Layout layout = lay_out(outline_, draw_header(canvas, head));
    const LegendNotes notes = draw(canvas, layout.drawing, look, worst, "");
    draw_figures(canvas, layout.figures, figure_lines(summary, decimals));
    draw_histogram(canvas, layout.histogram, look.cells, look.scale, tolerance_.has_value(),
                   look.unit);
    draw_legend(canvas, layout.legend, look.scale, notes, look.unit);
    return canvas.finish();
}

PagePictures::Drawing SectionPicture::page_drawing(double width, const PictureLook& look,
                                                   const std::vector<SectionRow>& worst,
                                                   std::string_view name_prefix) const {
    constexpr double side = 12.0, most_high = 0.8; // of the width
    const double inner = width - 2.0 * side;
    const double high = std::min(SectionDrawing::height_for(outline_.box(), inner),
                                 std::max(most_high * width, 380.0));
    SvgCanvas canvas("Deviations along the outline of " + title(), width, high + 2.0 * side);
    const LegendNotes notes = draw(canvas, {side, side, inner, high}, look, worst, name_prefix);
    return {canvas.finish(), page_legend(look.scale, notes, look.unit)};
}

PagePictures SectionPicture::page(int decimals, const std::vector<SectionRow>& worst) const {
    const PictureLook look = this->look(decimals);
    return {page_drawing(PagePictures::wide_width, look, worst, "wide-"),
            page_drawing(PagePictures::narrow_width, look, worst, "narrow-"),
            page_distribution(look.cells, look.scale, tolerance_.has_value(), look.unit)};
}

} // namespace velm::inspect
