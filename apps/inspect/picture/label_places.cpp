#include "inspect/picture/label_places.h"

#include "inspect/picture/palette.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace velm::inspect {

std::optional<CanvasBox> LabelPlaces::find(const CanvasPoint& at, const CanvasPoint& toward,
                                           double width, double height) {
    std::optional<CanvasBox> best;
    auto fewest = std::numeric_limits<std::ptrdiff_t>::max();
    const double ahead = std::atan2(toward.y, toward.x);
    for (const double reach : {12.0, 22.0, 34.0, 50.0, 70.0}) {
        for (const double turn : {0.0, 0.4, -0.4, 0.8, -0.8, 1.3, -1.3, 2.0, -2.0, 2.7, -2.7}) {
            const double x = std::cos(ahead + turn), y = std::sin(ahead + turn);
            const CanvasPoint middle{at.x + x * (reach + width / 2.0),
                                     at.y + y * (reach + height / 2.0)};
            const CanvasBox box{middle.x - width / 2.0, middle.y - height / 2.0, width, height};
            const auto hits = [&](const CanvasBox& other) { return box.overlaps(other); };
            if (!allowed_.contains(box) || std::any_of(taken_.begin(), taken_.end(), hits))
                continue;
            const auto hidden =
                std::count_if(obstacles_.begin(), obstacles_.end(), [&](const CanvasPoint& p) {
                    return box.contains({p.x, p.y, 0.0, 0.0});
                });
            if (hidden >= fewest) continue;
            fewest = hidden;
            best = box;
            if (hidden == 0) break;
        }
        if (fewest == 0) break;
    }
    if (best) taken_.push_back(*best);
    return best;
}

bool LabelPlaces::draw(SvgCanvas& canvas, const CanvasPoint& at, const CanvasPoint& toward,
                       const std::string& content, double size) {
    constexpr double bold = 1.12; // wider than the usual letters
    const double width = bold * SvgCanvas::text_width(content, size) + 4.0;
    const std::optional<CanvasBox> box = find(at, toward, width, size + 4.0);
    if (!box) return false;
    const CanvasPoint near{std::clamp(at.x, box->left, box->right()),
                           std::clamp(at.y, box->top, box->bottom())};
    canvas.line(at, near, svg_stroke(palette::soft, 0.7));
    canvas.text({box->left + box->width / 2.0, box->bottom() - 4.0}, content, size,
                SvgCanvas::Anchor::middle,
                std::string(palette::bold) + " paint-order=\"stroke\" " +
                    svg_stroke(palette::paper, 3.0) + " stroke-linejoin=\"round\"");
    return true;
}

} // namespace velm::inspect
