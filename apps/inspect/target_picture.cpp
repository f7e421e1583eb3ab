#include "inspect/target_picture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "inspect/number_text.h"
#include "inspect/svg_canvas.h"
#include "inspect/text_escape.h"

namespace velm::inspect {
namespace {

constexpr double width = 760.0, margin = 44.0, footer = 30.0;
constexpr double least_height = 200.0, most_height = 560.0;
constexpr double usual_whisker = 42.0;
constexpr std::size_t most_points = 5000;

std::array<double, 3> coordinates(const ERPoint3D& p) { return {p.x(), p.y(), p.z()}; }

// Two axes of space on the picture, the third one towards the eye.
struct View {
    std::size_t across = 0, up = 1;
    std::array<double, 3> low{}, high{};
    double unit = 1.0; // of the picture, for one of the model
    double height = least_height;

    explicit View(std::span<const TargetRow> rows) {
        low.fill(std::numeric_limits<double>::infinity());
        high.fill(-std::numeric_limits<double>::infinity());
        for (const TargetRow& row : rows)
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const double at = coordinates(row.target.target_point())[axis];
                low[axis] = std::min(low[axis], at);
                high[axis] = std::max(high[axis], at);
            }
        const auto extent = [&](std::size_t axis) { return high[axis] - low[axis]; };
        const std::size_t thin = extent(2) <= std::min(extent(0), extent(1)) ? 2
                                 : extent(1) <= extent(0)                    ? 1
                                                                             : 0;
        across = thin == 0 ? 1 : 0;
        up = thin == 2 ? 1 : 2;
        if (extent(across) > 0.0) unit = (width - 2.0 * margin) / extent(across);
        if (extent(up) > 0.0)
            unit = std::min(extent(across) > 0.0 ? unit : most_height,
                            (most_height - 2.0 * margin - footer) / extent(up));
        height = std::max(least_height, extent(up) * unit + 2.0 * margin + footer);
    }

    CanvasPoint place(const ERPoint3D& p) const {
        const auto at = coordinates(p);
        const double middle = (height - footer) / 2.0;
        return {width / 2.0 + (at[across] - low[across] / 2.0 - high[across] / 2.0) * unit,
                middle - (at[up] - low[up] / 2.0 - high[up] / 2.0) * unit};
    }
    CanvasPoint direction(const ERVector3D& v) const {
        const std::array<double, 3> all{v.i(), v.j(), v.k()};
        return {all[across], -all[up]};
    }
    std::string name() const {
        constexpr std::string_view axes = "xyz";
        return std::string(1, axes[across]) + " to the right, " + axes[up] + " upwards";
    }
};

} // namespace

std::string target_picture(std::span<const TargetRow> rows, const DeviationScale& scale,
                           const DeviationUnit& unit) {
    const View view(rows);
    SvgCanvas canvas("Deviations at their nominal points", width, view.height);
    const double reference = std::max(std::fabs(scale.lower()), std::fabs(scale.upper()));
    const bool shows_all = rows.size() <= most_points;
    std::size_t shown = 0;
    const auto draw = [&](const TargetRow& row) {
        if ((!shows_all && row.in_tolerance != false) || shown == most_points) return;
        ++shown;
        const CanvasPoint at = view.place(row.target.target_point());
        const std::string color(DeviationScale::color(scale.class_of(row.deviation)));
        std::string markup =
            "<g><title>" +
            xml_text(terminal_text(row.id) + ": " + unit.whole_text(row.deviation, 1)) + "</title>";
        ERVector3D normal;
        if (row.target.get_surface_normal(normal) != 0 && reference > 0.0) {
            const CanvasPoint along = view.direction(normal);
            const double length = std::clamp(row.deviation / reference, -2.5, 2.5) * usual_whisker;
            markup += "<path d=\"M" + svg_point(at) + "l" +
                      svg_point({along.x * length, along.y * length}) + "\" stroke=\"" + color +
                      "\" stroke-width=\"2\"/>";
        }
        markup += "<circle cx=\"" + svg_number(at.x) + "\" cy=\"" + svg_number(at.y) + "\" r=\"" +
                  (row.in_tolerance == false ? "5" : "3.5") + "\" fill=\"" + color +
                  "\" stroke=\"#fff\" stroke-width=\"0.8\"/></g>\n";
        canvas.raw(markup);
    };
    for (const TargetRow& row : rows) // those out of tolerance stand above the others
        if (row.in_tolerance != false) draw(row);
    for (const TargetRow& row : rows)
        if (row.in_tolerance == false) draw(row);
    std::string note = view.name() + "; whiskers along the normals, magnified";
    if (shown < rows.size())
        note += "; " + grouped(shown, ",") + " of " + grouped(rows.size(), ",") + " points";
    canvas.text({width / 2.0, view.height - 10.0}, note, 16.0, SvgCanvas::Anchor::middle,
                "fill=\"#52606d\"");
    return canvas.finish();
}

} // namespace velm::inspect
