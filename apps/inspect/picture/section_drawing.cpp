#include "inspect/picture/section_drawing.h"

#include "inspect/base/text_escape.h"
#include "inspect/picture/palette.h"
#include "inspect/picture/scale_bars.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <set>

namespace velm::inspect {
namespace {

constexpr std::ptrdiff_t some_marks = 100, many_marks = 600; // too close for large ones
constexpr std::size_t most_obstacles = 6000;

CanvasPoint between(const CanvasPoint& a, const CanvasPoint& b, double part) {
    return {a.x + (b.x - a.x) * part, a.y + (b.y - a.y) * part};
}

std::string closed_path(const std::vector<CanvasPoint>& line) {
    std::string data;
    for (std::size_t i = 0; i < line.size(); ++i)
        data += (i == 0 ? "M" : "L") + svg_point(line[i]);
    return data + "Z";
}

// Labels may reach a little beyond the drawing.
CanvasBox label_area(const SvgCanvas& canvas, const CanvasBox& area) {
    const double left = std::max(area.left - 16.0, 2.0);
    const double right = std::min(area.right() + 24.0, canvas.own_width() - 2.0);
    return {left, area.top, right - left, area.height};
}

} // namespace

SectionDrawing::SectionDrawing(SvgCanvas& canvas, const CanvasBox& area, const Outline& outline,
                               const DeviationScale& scale,
                               const std::optional<Tolerance>& tolerance, double reference,
                               std::string_view name_prefix)
    : canvas_(canvas), area_(area), measures_(measures_for(area.width)), name_prefix_(name_prefix),
      scale_(scale), tolerance_(tolerance), labels_(label_area(canvas, area)) {
    const ERMinimax2D box = outline.box();
    const double width = box.xlength(), height = box.ylength();
    const double room = area.height - measures_.bars_height;
    const double margin = measures_.margin, longest = measures_.longest;
    unit_ = std::min((area.width - 2.0 * margin) / width, (room - 2.0 * margin) / height);
    model_left_ = box.xmin;
    model_bottom_ = box.ymin;
    drawn_ = {area.left + (area.width - width * unit_) / 2.0,
              area.top + (room - height * unit_) / 2.0, width * unit_, height * unit_};
    left_ = drawn_.left;
    bottom_ = drawn_.bottom();

    const double wanted = usual_length(outline);
    if (reference > 0.0) magnification_ = fine_step_below(wanted / (reference * unit_));
    for (const Contour& contour : outline.contours)
        contours_.emplace_back(
            contour, [this](const ERPoint2D& p) { return place(p); }, unit_);
    shows_band_ = tolerance && length(tolerance->lower) >= -longest &&
                  length(tolerance->upper) <= longest && length(tolerance->lower) <= longest &&
                  length(tolerance->upper) >= -longest;
}

SectionDrawing::Measures SectionDrawing::measures_for(double width) {
    constexpr double narrow_below = 520.0;
    if (width < narrow_below) return {38.0, 46.0, 52.0, true};
    return {60.0, 68.0, 34.0, false};
}

// The whisker of a usual large deviation: a part of the outline's size, and less if that would fill
// a small hole.
double SectionDrawing::usual_length(const Outline& outline) const {
    constexpr double part = 0.32;
    const double most = measures_.longest / 1.5;
    double length = std::clamp(part * std::min(drawn_.width, drawn_.height), 0.65 * most, most);
    for (std::size_t hole = 0; hole < outline.contours.size(); ++hole) {
        if (!outline.is_hole[hole]) continue;
        const ERMinimax2D box = outline.contours[hole].box();
        const double size = std::min(box.xlength(), box.ylength()) * unit_;
        length = std::min(length, std::max(part * size, 16.0));
    }
    return length;
}

CanvasPoint SectionDrawing::place(const ERPoint2D& p) const {
    return {left_ + (p.x() - model_left_) * unit_, bottom_ - (p.y() - model_bottom_) * unit_};
}

double SectionDrawing::height_for(const ERMinimax2D& box, double width) {
    const Measures measures = measures_for(width);
    const double unit = (width - 2.0 * measures.margin) / box.xlength();
    return box.ylength() * unit + 2.0 * measures.margin + measures.bars_height;
}

double SectionDrawing::length(double deviation) const { return deviation * magnification_ * unit_; }

CanvasPoint SectionDrawing::tip(const ERPoint2D& foot, const ERVector2D& outward,
                                double deviation) const {
    const double reach = std::clamp(length(deviation), -measures_.longest, measures_.longest);
    const CanvasPoint at = place(foot);
    return {at.x + outward.i() * reach, at.y - outward.j() * reach};
}

void SectionDrawing::draw_outline() {
    std::string data;
    for (const OutlinePath& contour : contours_) {
        data += contour.data();
        contour.sample(4.0, labels_.obstacles());
    }
    const std::string outside = "M0 0H" + svg_number(canvas_.own_width()) + "V" +
                                svg_number(canvas_.own_height()) + "H0Z" + data;
    canvas_.raw("<defs>\n<path id=\"" + name_prefix_ +
                "outline\" fill-rule=\"evenodd\" clip-rule=\"evenodd\" d=\"" + data +
                "\"/>\n<clipPath id=\"" + name_prefix_ + "inside\">" + use_outline("") +
                "</clipPath>\n<clipPath id=\"" + name_prefix_ +
                "outside\"><path clip-rule=\"evenodd\" d=\"" + outside +
                "\"/></clipPath>\n</defs>\n");
    canvas_.raw(use_outline(" " + svg_fill(palette::material)) + "\n");
    if (shows_band_) draw_band();
    canvas_.raw(use_outline(" " + svg_pen(palette::ink, 1.0) + " stroke-linejoin=\"round\"") +
                "\n");
}

std::string SectionDrawing::use_outline(const std::string& attributes) const {
    const std::string name = "#" + name_prefix_ + "outline";
    return "<use href=\"" + name + "\" xlink:href=\"" + name + "\"" + attributes + "/>";
}

// Each side of the band is a stroke of the outline, twice as wide as the limit's distance and
// clipped to that side; the limit's line is a slightly wider stroke below it. A band that doesn't
// reach the outline is painted over up to its nearer limit.
void SectionDrawing::draw_band() {
    constexpr double line = 0.9;
    const auto draw_side = [&](const char* side, std::string_view ground, double near, double far) {
        if (far <= 0.0) return;
        canvas_.open_group("clip-path=\"url(#" + name_prefix_ + side +
                           ")\" fill=\"none\" stroke-linejoin=\"round\"");
        const auto layer = [&](std::string_view color, double reach) {
            canvas_.raw(use_outline(" " + svg_stroke(color, 2.0 * reach)) + "\n");
        };
        layer(palette::limit, far + line / 2.0);
        layer(palette::band, far - line / 2.0);
        if (near > 0.0) {
            layer(palette::limit, near + line / 2.0);
            layer(ground, near - line / 2.0);
        }
        canvas_.close_group();
    };
    const double lower = length(tolerance_->lower), upper = length(tolerance_->upper);
    draw_side("outside", palette::paper, lower, upper);
    draw_side("inside", palette::material, -upper, -lower);
}

void SectionDrawing::mark_cut(const CanvasPoint& foot, const CanvasPoint& end, std::string& marks) {
    const double size = std::hypot(end.x - foot.x, end.y - foot.y);
    const CanvasPoint across{-(end.y - foot.y) / size * 3.5, (end.x - foot.x) / size * 3.5};
    for (const double part : {0.80, 0.86}) {
        const CanvasPoint at = between(foot, end, part);
        marks += "M" + svg_point({at.x - across.x, at.y - across.y}) + "L" +
                 svg_point({at.x + across.x, at.y + across.y});
    }
}

// The start of a whisker: its foot, or the limit that it exceeds.
CanvasPoint SectionDrawing::start(const DrawnPoint& point) const {
    const std::optional<Tolerance>& band = point.limits ? point.limits : tolerance_;
    const double from =
        only_excess_ && band ? std::clamp(point.deviation, band->lower, band->upper) : 0.0;
    return tip(point.foot, point.outward, from);
}

void SectionDrawing::draw_whiskers(const std::vector<DrawnPoint>& points, bool only_excess) {
    only_excess_ = only_excess;
    // Points that the eye can't distinguish are drawn once.
    const double grain = points.size() > 20000 ? 0.5 : 0.1;
    std::vector<const DrawnPoint*> drawn;
    std::set<std::array<long, 4>> seen;
    std::string cuts;
    for (const DrawnPoint& point : points) {
        const CanvasPoint foot = start(point);
        const CanvasPoint end = tip(point.foot, point.outward, point.deviation);
        const auto grains = [&](double value) { return std::lround(value / grain); };
        const bool is_new =
            seen.insert({grains(foot.x), grains(foot.y), grains(end.x), grains(end.y)}).second;
        const bool is_cut = std::fabs(length(point.deviation)) > measures_.longest;
        if (is_cut) ++cut_;
        if (!is_new && point.id.empty()) continue;
        if (is_cut) mark_cut(place(point.foot), end, cuts);
        drawn.push_back(&point);
        for (const double part : {0.0, 0.5, 1.0})
            if (drawn.size() < most_obstacles) labels_.avoid(between(foot, end, part));
    }
    canvas_.open_group("fill=\"none\" stroke-linecap=\"round\"");
    const auto is_named = [](const DrawnPoint* point) { return !point->id.empty(); };
    if (std::any_of(drawn.begin(), drawn.end(), is_named))
        draw_named_whiskers(drawn);
    else
        draw_whisker_groups(drawn);
    if (!cuts.empty()) canvas_.path(cuts, svg_stroke(palette::ink, 1.0));
    canvas_.close_group();
    draw_markers(drawn);
}

void SectionDrawing::draw_named_whiskers(const std::vector<const DrawnPoint*>& points) {
    const double wide = std::clamp(60.0 / static_cast<double>(points.size()), 1.25, 2.4);
    for (int number = 0; number < DeviationScale::classes; ++number) {
        const bool out =
            tolerance_ && (number == DeviationScale::below || number == DeviationScale::above);
        canvas_.open_group(svg_stroke(DeviationScale::color(number), out ? wide + 0.55 : wide));
        for (const DrawnPoint* point : points) {
            if (scale_.class_of(*point) != number) continue;
            const DeviationUnit unit(std::fabs(point->deviation)); // the note's own, in full
            canvas_.raw("<path d=\"M" + svg_point(start(*point)) + "L" +
                        svg_point(tip(point->foot, point->outward, point->deviation)) +
                        "\"><title>" + xml_text(clipped(point->id, 60)) + ": " +
                        unit.whole_text(point->deviation, 2) + "</title></path>\n");
        }
        canvas_.close_group();
    }
}

void SectionDrawing::draw_whisker_groups(const std::vector<const DrawnPoint*>& points) {
    std::array<std::string, DeviationScale::classes> paths;
    for (const DrawnPoint* point : points)
        paths[static_cast<std::size_t>(scale_.class_of(*point))] +=
            "M" + svg_point(start(*point)) + "L" +
            svg_point(tip(point->foot, point->outward, point->deviation));
    const double thin = std::clamp(2000.0 / static_cast<double>(points.size() + 1), 0.5, 1.25);
    for (int number = 0; number < DeviationScale::classes; ++number)
        if (const std::string& data = paths[static_cast<std::size_t>(number)]; !data.empty())
            canvas_.path(data, svg_stroke(DeviationScale::color(number), thin));
}

// A triangle at the tip of each whisker that is out of tolerance: upwards above the upper limit,
// downwards below the lower one, so that the shape says it without the colour.
void SectionDrawing::draw_markers(const std::vector<const DrawnPoint*>& points) {
    std::array<std::string, 2> shapes;
    const auto is_out = [&](const DrawnPoint* point) { return point->in_tolerance == false; };
    const auto count = std::count_if(points.begin(), points.end(), is_out);
    const double size = count > many_marks ? 0.55 : count > some_marks ? 0.75 : 1.0;
    const double half = 4.2 * size, high = 7.2 * size;
    for (const DrawnPoint* point : points) {
        if (!is_out(point)) continue;
        const bool up = scale_.class_of(*point) == DeviationScale::above;
        const double sign = up ? 1.0 : -1.0;
        const CanvasPoint at = tip(point->foot, point->outward, point->deviation);
        shapes[up ? 1 : 0] += "M" + svg_point({at.x, at.y - sign * high * 0.6}) + "l" +
                              svg_point({half, sign * high}) + "h" + svg_number(-2.0 * half) + "z";
    }
    for (const int side : {0, 1})
        if (!shapes[static_cast<std::size_t>(side)].empty())
            canvas_.path(shapes[static_cast<std::size_t>(side)],
                         "fill=\"" +
                             std::string(DeviationScale::color(side == 1 ? DeviationScale::above
                                                                         : DeviationScale::below)) +
                             (size < 1.0 ? "\"" : "\" " + svg_stroke(palette::paper, 0.8)));
}

void SectionDrawing::draw_envelope(const DeviationEnvelope& envelope) {
    using Stretch = DeviationEnvelope::Stretch;
    const auto end_of = [&](const DeviationEnvelope::Extreme& extreme) {
        return tip(extreme.foot, extreme.outward, extreme.deviation);
    };
    std::array<std::string, DeviationScale::classes> fills;
    std::string borders;
    for (const auto& stretches : envelope.contours()) {
        std::vector<const Stretch*> met;
        for (const Stretch& stretch : stretches)
            if (stretch.count > 0) met.push_back(&stretch);
        // Neighbours with points are joined over gaps of up to four stretches.
        for (std::size_t i = 0; i < met.size(); ++i) {
            const Stretch& a = *met[i];
            const Stretch& b = *met[(i + 1) % met.size()];
            const auto apart = (&b - &a + static_cast<std::ptrdiff_t>(stretches.size())) %
                               static_cast<std::ptrdiff_t>(stretches.size());
            const CanvasPoint a_low = end_of(a.least), a_high = end_of(a.greatest);
            const CanvasPoint b_low = end_of(b.least), b_high = end_of(b.greatest);
            if (apart > 5 || apart == 0) {
                borders += "M" + svg_point(a_low) + "L" + svg_point(a_high);
                continue;
            }
            fills[static_cast<std::size_t>(scale_.class_of(a.mean()))] +=
                closed_path({a_low, a_high, b_high, b_low});
            borders += "M" + svg_point(a_low) + "L" + svg_point(b_low) + "M" + svg_point(a_high) +
                       "L" + svg_point(b_high);
            labels_.avoid(a_low);
            labels_.avoid(a_high);
        }
    }
    canvas_.open_group("fill-opacity=\"0.75\"");
    for (int number = 0; number < DeviationScale::classes; ++number)
        if (const std::string& data = fills[static_cast<std::size_t>(number)]; !data.empty())
            canvas_.path(data, "fill=\"" + std::string(DeviationScale::color(number)) + "\"");
    canvas_.close_group();
    canvas_.path(borders, svg_pen(palette::envelope_edge, 0.7));
}

void SectionDrawing::draw_extremes(const DeviationEnvelope& envelope) {
    std::vector<DrawnPoint> points;
    for (const auto& stretches : envelope.contours())
        for (const DeviationEnvelope::Stretch& stretch : stretches)
            for (const DeviationEnvelope::Extreme* const extreme :
                 {&stretch.least, &stretch.greatest}) {
                if (stretch.count == 0 || !extreme->is_out) continue;
                DrawnPoint& point = points.emplace_back();
                point.foot = extreme->foot;
                point.outward = extreme->outward;
                point.deviation = extreme->deviation;
                point.in_tolerance = false;
            }
    std::vector<const DrawnPoint*> all;
    for (const DrawnPoint& point : points)
        all.push_back(&point);
    draw_markers(all);
}

void SectionDrawing::draw_labels(const std::vector<SectionRow>& rows, std::size_t most,
                                 const DeviationUnit& unit) {
    constexpr double size = palette::text_size, apart = 36.0;
    std::vector<CanvasPoint> named;
    for (const SectionRow& row : rows) {
        if (named.size() == most) return;
        const OutlineComparison& found = row.comparison;
        const CanvasPoint foot = place(found.foot);
        const CanvasPoint at = tip(found.foot, found.outward, row.deviation);
        const auto is_near = [&](const CanvasPoint& other) {
            return std::hypot(at.x - other.x, at.y - other.y) < apart;
        };
        if (std::any_of(named.begin(), named.end(), is_near)) continue;
        const std::string content =
            clipped(terminal_text(row.id), 18) + "\u2002" + unit.whole_text(row.deviation);
        if (labels_.draw(canvas_, at, {at.x - foot.x, at.y - foot.y}, content, size))
            named.push_back(at);
    }
}

void SectionDrawing::draw_bars() {
    draw_scale_bars(canvas_, {area_.left, area_.bottom() - (measures_.narrow ? 26.0 : 8.0)},
                    measures_.narrow ? ScaleBars::stacked : ScaleBars::beside, "outline", unit_,
                    magnification_);
}

} // namespace velm::inspect
