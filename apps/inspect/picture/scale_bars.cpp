#include "inspect/picture/scale_bars.h"

#include "inspect/base/number_text.h"
#include "inspect/picture/deviation_scale.h"
#include "inspect/picture/palette.h"

namespace velm::inspect {
namespace {

std::string length_text(double value) {
    return value >= 1.0 && value < 1e10 ? grouped(static_cast<std::uint64_t>(value), ",")
                                        : shortest(value);
}

std::string factor_text(double factor) {
    return factor >= 1000.0 && factor < 1e15 ? grouped(static_cast<std::uint64_t>(factor), ",")
                                             : shortest(factor);
}

} // namespace

void draw_scale_bars(SvgCanvas& canvas, CanvasPoint at, ScaleBars form, std::string_view part,
                     double unit, double magnification) {
    using palette::text_size;
    const auto draw_bar = [&](double wanted, double unit_of_bar, const std::string& what) {
        const double value = round_step_below(wanted / unit_of_bar);
        const double size = value * unit_of_bar;
        canvas.path("M" + svg_point({at.x, at.y - 4.0}) + "v8M" + svg_point(at) + "h" +
                        svg_number(size) + "m0 -4v8",
                    svg_pen(palette::ink, 1.2));
        const std::string content = what + length_text(value);
        canvas.text({at.x + size + 8.0, at.y + 4.0}, content, text_size);
        if (form == ScaleBars::stacked)
            at.y += 18.0;
        else
            at.x += size + 8.0 + SvgCanvas::text_width(content, text_size) + 36.0;
    };
    draw_bar(150.0, unit, std::string(part) + ": ");
    draw_bar(90.0, unit * magnification,
             "deviation, magnified \u00d7" + factor_text(magnification) + ": ");
}

} // namespace velm::inspect
