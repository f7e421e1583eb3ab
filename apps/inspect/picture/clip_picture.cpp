#include "inspect/picture/clip_picture.h"

#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"
#include "inspect/picture/deviation_scale.h"
#include "inspect/picture/outline_path.h"
#include "inspect/picture/palette.h"
#include "inspect/picture/svg_canvas.h"

#include <algorithm>
#include <cmath>

namespace velm::inspect {
namespace {

using palette::border;

constexpr CanvasBox drawing{border, 100.0, SvgCanvas::width - 2.0 * border, 620.0};
constexpr double least_step = 0.3; // of drawn lines, in picture units
constexpr std::size_t most_dots = 2000;

// From the model to the page.
class Placement {
public:
    explicit Placement(const ERMinimax2D& box) {
        const double width = std::max(box.xmax - box.xmin, 0.0);
        const double height = std::max(box.ymax - box.ymin, 0.0);
        unit_ = std::min(width > 0.0 ? drawing.width / width : 1e300,
                         height > 0.0 ? drawing.height / height : 1e300);
        x_ = box.xmin + width / 2.0;
        y_ = box.ymin + height / 2.0;
    }
    CanvasPoint operator()(const ERPoint2D& p) const {
        return {drawing.left + drawing.width / 2.0 + (p.x() - x_) * unit_,
                drawing.top + drawing.height / 2.0 - (p.y() - y_) * unit_};
    }
    double unit() const { return unit_; }

private:
    double unit_, x_, y_;
};

// Path data of a line; points that coincide with the one before are left out, except the last.
std::string path_of(const Polygon& points, const Placement& place) {
    std::string data;
    CanvasPoint last;
    const int count = points.size();
    for (int i = 0; i < count; ++i) {
        const CanvasPoint p = place(points.data()[i]);
        if (i > 0 && i + 1 < count && std::hypot(p.x - last.x, p.y - last.y) < least_step) continue;
        data += (i == 0 ? "M" : "L") + svg_point(p);
        last = p;
    }
    return data;
}

void draw_bar(SvgCanvas& canvas, const Placement& place) {
    const double length = round_step_below(120.0 / place.unit());
    const double right = border + length * place.unit(), at = SvgCanvas::height - 30.0;
    canvas.path("M" + svg_point({border, at - 5.0}) + "V" + svg_number(at) + "H" +
                    svg_number(right) + "V" + svg_number(at - 5.0),
                svg_pen(palette::ink, 1.2));
    canvas.text({right + 8.0, at + 1.0}, shortest(length), palette::text_size);
}

void draw_legend(SvgCanvas& canvas, const ClipResult& result) {
    const double at = SvgCanvas::height - 30.0;
    const double share = result.figures.length > 0.0
                             ? 100.0 * result.figures.length_inside / result.figures.length
                             : 0.0;
    const int decimals = decimals_for(result.figures.length, 6);
    canvas.line({420.0, at - 4.0}, {460.0, at - 4.0}, svg_stroke(palette::piece, 2.6));
    canvas.text({468.0, at},
                "in the region: " + fixed(result.figures.length_inside, decimals) + " (" +
                    fixed(share, 2) + " %)",
                palette::subtitle_size);
    canvas.line({760.0, at - 4.0}, {800.0, at - 4.0}, svg_stroke(palette::stem, 1.0));
    canvas.text({808.0, at}, "polylines: " + fixed(result.figures.length, decimals),
                palette::subtitle_size);
}

} // namespace

std::string clip_picture(const NominalOutline& region, const Polylines& polylines,
                         const ClipResult& result) {
    ERMinimax2D box = region.box();
    for (const Polygon& line : polylines.lines)
        box.Update(line);
    const Placement place(box);
    const std::string files = result.head.polyline + " in " + result.head.region;
    const std::string title = region.title.empty() ? "Clipped polylines" : region.title;
    SvgCanvas canvas(title, files);
    canvas.text({border, palette::title_line}, clipped(terminal_text(title), 64),
                palette::title_size, SvgCanvas::Anchor::start, palette::bold);
    canvas.text({border, palette::subtitle_line}, clipped(terminal_text(files), 130),
                palette::subtitle_size, SvgCanvas::Anchor::start, svg_fill(palette::soft));
    const std::size_t count = result.pieces.size();
    canvas.text({SvgCanvas::width - border, palette::title_line},
                grouped(count, ",") + (count == 1 ? " piece" : " pieces"), palette::verdict_size,
                SvgCanvas::Anchor::end, palette::bold);

    std::string outline, whole, inside, dots;
    for (const Contour& contour : region.contours)
        outline += contour.is_polygon() ? path_of(contour.vertices(), place) + "Z"
                                        : OutlinePath(contour, place, place.unit()).data();
    for (const Polygon& line : polylines.lines)
        whole += path_of(line, place);
    for (const ClipPiece& piece : result.pieces) {
        inside += path_of(piece.points, place);
        if (count > most_dots) continue;
        for (const ERPoint2D& end : {piece.points.front(), piece.points.back()})
            dots += "M" + svg_point(place(end)) + "h0";
    }
    canvas.path(outline, svg_fill(palette::region) + " fill-rule=\"evenodd\" " +
                             svg_stroke(palette::soft, 1.2) + " stroke-linejoin=\"round\"");
    canvas.path(whole, svg_pen(palette::stem, 1.0));
    canvas.path(inside, svg_pen(palette::piece, 2.6) + " stroke-linejoin=\"round\"");
    canvas.path(dots, svg_pen(palette::piece, 6.0) + " stroke-linecap=\"round\"");
    draw_bar(canvas, place);
    draw_legend(canvas, result);
    return canvas.finish();
}

} // namespace velm::inspect
