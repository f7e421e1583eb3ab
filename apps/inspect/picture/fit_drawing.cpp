#include "inspect/picture/fit_drawing.h"

#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"
#include "inspect/picture/palette.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>
#include <numeric>

namespace velm::inspect {
namespace {

using Anchor = SvgCanvas::Anchor;

constexpr double small = palette::text_size;
constexpr double turn = 2.0 * std::numbers::pi;
const std::string grid = svg_pen(palette::grid, 0.8);
const std::string datum = svg_pen(palette::ink, 1.4);
const std::string limit = svg_pen(palette::limit, 0.9);
const std::string soft = svg_fill(palette::soft);

std::string circle_path(const CanvasPoint& center, double r) {
    const std::string radius = svg_number(r);
    const std::string arc = "a" + radius + " " + radius + " 0 1 0 ";
    return "M" + svg_point({center.x - r, center.y}) + arc + svg_number(2.0 * r) + " 0" + arc +
           svg_number(-2.0 * r) + " 0z";
}

double angle_of(const ERPoint2D& place) {
    const double angle = std::atan2(place.y(), place.x());
    return angle < 0.0 ? angle + turn : angle;
}

double dot_radius(std::size_t count) { return count <= 60 ? 4.0 : count <= 600 ? 2.6 : 1.5; }

// Axes in the plane perpendicular to n: u as near as possible to the x axis, or to the y axis.
void axes_across(const ERVector3D& n, ERVector3D& u, ERVector3D& v) {
    const ERVector3D near(std::fabs(n.i()) < 0.9 ? Coord3D_X : Coord3D_Y);
    u = (near - n * (near * n)).getnormalized();
    v = n ^ u;
}

} // namespace

ERPoint2D place_in_drawing(const FittedEntity& entity, const ERPoint3D& measured) {
    const ERVector3D way(entity.point, measured);
    if (entity.kind == FitKind::line) return {way * entity.axis, 0.0};
    if (!entity.in_space) return {way.i(), way.j()};
    ERVector3D u, v;
    axes_across(entity.axis, u, v);
    return {way * u, way * v};
}

FitDrawing::FitDrawing(SvgCanvas& canvas, const CanvasBox& area, const FitHead& head,
                       std::span<const FitSpot> spots, std::span<const FitRow> worst,
                       const Look& look)
    : canvas_(canvas), area_(area), head_(head), entity_(head.entity), spots_(spots), worst_(worst),
      look_(look), step_(round_step_below(look.reference / 2.0)), labels_(area) {}

void FitDrawing::draw() {
    if (entity_.kind == FitKind::circle) draw_polar();
    if (entity_.kind == FitKind::line) draw_along();
    if (entity_.kind == FitKind::plane) draw_spots();
}

std::string FitDrawing::color_of(double residual) const {
    return "fill=\"" + std::string(DeviationScale::color(look_.scale.class_of(residual))) + "\"";
}

std::vector<std::size_t> FitDrawing::chosen() const {
    constexpr std::size_t most = 6000;
    std::vector<std::size_t> all(spots_.size());
    std::iota(all.begin(), all.end(), std::size_t{0});
    if (all.size() <= most) return all;
    // The least and the greatest of every cell: of the angle, of the length, or of the plane.
    const bool flat = entity_.kind == FitKind::plane;
    const bool round = entity_.kind == FitKind::circle;
    const double cells = flat ? 54.0 : 3000.0;
    ERPoint2D low(1e300, 1e300), high(-1e300, -1e300);
    for (const FitSpot& spot : spots_) {
        const ERPoint2D& p = spot.place;
        low = {std::min(low.x(), p.x()), std::min(low.y(), p.y())};
        high = {std::max(high.x(), p.x()), std::max(high.y(), p.y())};
    }
    const double wide = std::max(high.x() - low.x(), flat ? high.y() - low.y() : 0.0);
    std::map<std::pair<double, double>, std::pair<std::size_t, std::size_t>> extremes;
    for (const std::size_t n : all) {
        const ERPoint2D& p = spots_[n].place;
        const double x = round ? angle_of(p) / turn : (p.x() - low.x()) / wide;
        const double y = flat ? std::floor((p.y() - low.y()) / wide * cells) : 0.0;
        auto& [least, greatest] =
            extremes.try_emplace({std::floor(x * cells), y}, n, n).first->second;
        if (spots_[n].residual < spots_[least].residual) least = n;
        if (spots_[n].residual > spots_[greatest].residual) greatest = n;
    }
    std::vector<std::size_t> kept;
    for (const auto& [cell, pair] : extremes) {
        kept.push_back(pair.first);
        if (pair.second != pair.first) kept.push_back(pair.second);
    }
    return kept;
}

void FitDrawing::dot(const CanvasPoint& at, std::size_t index, double radius) {
    canvas_.path(circle_path(at, radius),
                 color_of(spots_[index].residual) + " " + svg_stroke(palette::paper, 0.4));
}

// `where` has the place of every point, `toward` the side for its label.
void FitDrawing::label_worst(const std::vector<CanvasPoint>& where,
                             const std::function<CanvasPoint(std::size_t)>& toward) {
    constexpr std::size_t most = 3, most_obstacles = 2000;
    for (std::size_t n = 0; n < where.size(); n += 1 + where.size() / most_obstacles)
        labels_.avoid(where[n]);
    for (const FitRow& row : worst_.first(std::min(most, worst_.size()))) {
        if (row.deviation == 0.0) continue;
        const auto n = static_cast<std::size_t>(row.index);
        const std::string content =
            clipped(terminal_text(row.id), 14) + "\u2002" + look_.unit.whole_text(row.deviation);
        labels_.draw(canvas_, where[n], toward(n), content, small);
    }
}

// A text that labels must not touch.
void FitDrawing::fixed_text(const CanvasPoint& at, const std::string& content, double size,
                            Anchor anchor, std::string_view attributes) {
    const double width = SvgCanvas::text_width(content, size);
    const double left = anchor == Anchor::middle ? width / 2.0
                        : anchor == Anchor::end  ? width
                                                 : 0.0;
    labels_.keep_free({at.x - left - 2.0, at.y - size, width + 4.0, size + 4.0});
    canvas_.text(at, content, size, anchor, attributes);
}

void FitDrawing::draw_polar() {
    const CanvasPoint center{area_.left + area_.width / 2.0, area_.top + area_.height / 2.0};
    const double half = std::min(area_.width, area_.height) / 2.0 - 26.0;
    const double base = 0.64 * half, amplitude = 0.34 * half;
    const auto radius = [&](double residual) {
        return base + amplitude * std::clamp(residual / look_.reference, -1.05, 1.05);
    };
    for (double k = -std::floor(look_.reference / step_); k * step_ <= look_.reference * 1.0001;
         k += 1.0)
        canvas_.path(circle_path(center, radius(k * step_)), grid);
    for (int k = 0; k < 12; ++k) {
        const double a = turn * k / 12.0, c = std::cos(a), s = std::sin(a);
        const double inner = base - amplitude, outer = base + amplitude;
        canvas_.line({center.x + inner * c, center.y - inner * s},
                     {center.x + outer * c, center.y - outer * s}, grid);
        fixed_text({center.x + (outer + 15.0) * c, center.y - (outer + 15.0) * s + 4.0},
                   std::to_string(30 * k) + "\u00b0", small, Anchor::middle, soft);
    }
    if (head_.tolerance) {
        for (const double value : {head_.tolerance->lower, head_.tolerance->upper})
            if (std::fabs(value) <= look_.reference)
                canvas_.path(circle_path(center, radius(value)),
                             limit + " stroke-dasharray=\"5 3\"");
    }
    canvas_.path(circle_path(center, base), datum);

    std::vector<std::size_t> order = chosen();
    std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        const double x = angle_of(spots_[a].place), y = angle_of(spots_[b].place);
        return x != y ? x < y : a < b;
    });
    std::vector<CanvasPoint> where(spots_.size());
    for (std::size_t n = 0; n < where.size(); ++n) {
        const double a = angle_of(spots_[n].place), r = radius(spots_[n].residual);
        where[n] = {center.x + r * std::cos(a), center.y - r * std::sin(a)};
    }
    // A line joins neighbours, unless there is a wide gap between them.
    constexpr double widest_gap = turn / 10.0;
    const bool joins = order.size() > 2 && order.size() == where.size();
    std::string path;
    for (std::size_t k = 0; k <= order.size() && joins; ++k) {
        const std::size_t n = order[k % order.size()],
                          before = order[(k + order.size() - 1) % order.size()];
        double gap = angle_of(spots_[n].place) - angle_of(spots_[before].place);
        if (gap < 0.0) gap += turn;
        path += (k == 0 || gap > widest_gap ? "M" : "L") + svg_point(where[n]);
    }
    if (!path.empty())
        canvas_.path(path, svg_pen(palette::trace, 0.8) + " stroke-linejoin=\"round\"");
    for (const std::size_t n : order)
        dot(where[n], n, dot_radius(order.size()));
    for (double k = -std::floor(look_.reference / step_); k * step_ <= look_.reference * 1.0001;
         k += 1.0)
        fixed_text({center.x + 4.0, center.y - radius(k * step_) - 3.0}, look_.unit.text(k * step_),
                   9.5, Anchor::start,
                   soft + " " + svg_stroke(palette::paper, 3.0) + " paint-order=\"stroke\"");
    fixed_text({center.x, center.y - 6.0}, "radius", small, Anchor::middle, soft);
    fixed_text({center.x, center.y + 14.0}, fixed(entity_.radius, look_.decimals), 15.0,
               Anchor::middle, palette::bold);
    // Beyond the line that joins the points.
    label_worst(where, [&](std::size_t n) {
        const double side = spots_[n].residual > 0.0 ? 1.0 : -1.0;
        return CanvasPoint{side * (where[n].x - center.x), side * (where[n].y - center.y)};
    });
}

void FitDrawing::draw_along() {
    const CanvasBox plot{area_.left + 64.0, area_.top + 16.0, area_.width - 74.0,
                         area_.height - 60.0};
    double low = 1e300, high = -1e300;
    for (const FitSpot& spot : spots_) {
        const ERPoint2D& p = spot.place;
        low = std::min(low, p.x());
        high = std::max(high, p.x());
    }
    const bool is_signed = !entity_.in_space; // distances have no sign
    const double bottom = is_signed ? -look_.reference * 1.05 : 0.0, top = look_.reference * 1.05;
    const auto y_of = [&](double residual) {
        return plot.bottom() -
               (std::clamp(residual, bottom, top) - bottom) / (top - bottom) * plot.height;
    };
    const auto x_of = [&](double place) {
        return plot.left + (place - low) / (high - low) * plot.width;
    };
    for (double k = std::ceil(bottom / step_); k * step_ <= top; k += 1.0) {
        const double y = y_of(k * step_);
        canvas_.line({plot.left, y}, {plot.right(), y}, grid);
        canvas_.text({plot.left - 6.0, y + 4.0}, look_.unit.text(k * step_), small, Anchor::end,
                     soft);
    }
    const double tick = round_step_below((high - low) / 5.0);
    const int decimals = std::min(decimals_for(tick, 1), 12);
    for (double k = 0.0; k * tick <= (high - low) * 1.0001; k += 1.0) {
        const double x = x_of(low + k * tick);
        canvas_.line({x, plot.top}, {x, plot.bottom() + 5.0}, grid);
        canvas_.text({x, plot.bottom() + 20.0}, fixed(k * tick, decimals), small, Anchor::middle,
                     soft);
    }
    canvas_.text({plot.right(), plot.bottom() + 38.0}, "along the line, from its start", small,
                 Anchor::end, soft);
    if (head_.tolerance)
        for (const double value : {head_.tolerance->lower, head_.tolerance->upper})
            if (value >= bottom && value <= top)
                canvas_.line({plot.left, y_of(value)}, {plot.right(), y_of(value)},
                             limit + " stroke-dasharray=\"5 3\"");
    canvas_.line({plot.left, y_of(0.0)}, {plot.right(), y_of(0.0)}, datum);

    std::vector<CanvasPoint> where(spots_.size());
    for (std::size_t n = 0; n < where.size(); ++n)
        where[n] = {x_of(spots_[n].place.x()), y_of(spots_[n].residual)};
    const std::vector<std::size_t> drawn = chosen();
    std::string stems;
    for (const std::size_t n : drawn)
        if (drawn.size() <= 600)
            stems += "M" + svg_point({where[n].x, y_of(0.0)}) + "V" + svg_number(where[n].y);
    if (!stems.empty()) canvas_.path(stems, svg_pen(palette::stem, 0.9));
    for (const std::size_t n : drawn)
        dot(where[n], n, dot_radius(drawn.size()));
    label_worst(where, [&](std::size_t n) {
        return CanvasPoint{0.0, spots_[n].residual < 0.0 ? 1.0 : -1.0};
    });
}

void FitDrawing::draw_spots() {
    ERPoint2D low(1e300, 1e300), high(-1e300, -1e300);
    for (const FitSpot& spot : spots_) {
        const ERPoint2D& p = spot.place;
        low = {std::min(low.x(), p.x()), std::min(low.y(), p.y())};
        high = {std::max(high.x(), p.x()), std::max(high.y(), p.y())};
    }
    constexpr double margin = 34.0;
    const double wide = high.x() - low.x(), tall = high.y() - low.y();
    const double factor = std::min((area_.width - 2.0 * margin) / std::max(wide, 1e-300),
                                   (area_.height - 2.0 * margin) / std::max(tall, 1e-300));
    const CanvasPoint corner{area_.left + (area_.width - wide * factor) / 2.0,
                             area_.top + (area_.height + tall * factor) / 2.0};
    canvas_.box({corner.x - 14.0, corner.y - tall * factor - 14.0, wide * factor + 28.0,
                 tall * factor + 28.0},
                svg_fill(palette::plot) + " " + svg_stroke(palette::rule, 1.0));
    const int decimals = std::min(decimals_for(std::max(wide, tall), 4), 12);
    canvas_.text({corner.x + wide * factor / 2.0, corner.y + 28.0}, fixed(wide, decimals), small,
                 Anchor::middle, soft);
    canvas_.text({corner.x - 20.0, corner.y - tall * factor / 2.0}, fixed(tall, decimals), small,
                 Anchor::middle,
                 soft + " transform=\"rotate(-90 " +
                     svg_point({corner.x - 20.0, corner.y - tall * factor / 2.0}) + ")\"");

    std::vector<CanvasPoint> where(spots_.size());
    for (std::size_t n = 0; n < where.size(); ++n)
        where[n] = {corner.x + (spots_[n].place.x() - low.x()) * factor,
                    corner.y - (spots_[n].place.y() - low.y()) * factor};
    std::vector<std::size_t> drawn = chosen();
    // The small ones last, on top of the large ones.
    std::stable_sort(drawn.begin(), drawn.end(), [&](std::size_t a, std::size_t b) {
        return std::fabs(spots_[a].residual) > std::fabs(spots_[b].residual);
    });
    const double largest = drawn.size() <= 60 ? 16.0 : drawn.size() <= 600 ? 8.0 : 4.0;
    for (const std::size_t n : drawn)
        dot(where[n], n,
            std::max(1.2, largest * std::sqrt(std::min(
                                        std::fabs(spots_[n].residual) / look_.reference, 1.0))));
    label_worst(where, [](std::size_t) { return CanvasPoint{1.0, -1.0}; });
}

} // namespace velm::inspect
