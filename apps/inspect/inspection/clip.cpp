#include "inspect/inspection/clip.h"

#include "inspect/base/number_text.h"
#include "inspect/base/output_set.h"
#include "inspect/input/polyline_reader.h"
#include "inspect/picture/clip_picture.h"
#include "inspect/report/clip_reports.h"
#include "velm/frame/point_functions.h"
#include "velm/frame/val_vector.h"
#include "velm/planar/contour_curve.h"
#include "velm/planar/region.h"

#include <algorithm>
#include <cmath>
#include <deque>

namespace velm::inspect {
namespace {

// Largest coordinates between these suit a region as they are.
constexpr double smallest_unscaled = 0.5;
constexpr double largest_unscaled = 1e10;

double length_of(const Polygon& line) {
    double sum = 0.0;
    for (int i = 1; i < line.size(); ++i)
        sum += distance(line.data()[i - 1], line.data()[i]);
    return sum;
}

double scale_for(const Outline& region, const std::vector<Polygon>& polylines) {
    double largest = 0.0;
    const auto note = [&largest](const Polygon& points) {
        for (const ERPoint2D& p : points.view())
            largest = std::max({largest, std::fabs(p.x()), std::fabs(p.y())});
    };
    for (const Contour& contour : region.contours)
        largest = std::max(largest, contour.magnitude());
    for (const Polygon& line : polylines)
        note(line);
    if (largest >= smallest_unscaled && largest <= largest_unscaled) return 1.0;
    return std::ldexp(1.0, std::clamp(10 - std::ilogb(largest), -1000, 1000));
}

Polygon scaled(Polygon points, double factor) {
    if (factor != 1.0) {
        for (ERPoint2D& p : points)
            p *= factor;
    }
    return points;
}

// One area of the region, and the place of its pieces on their way.
class AreaClipper : private ERDebugIntersect {
public:
    AreaClipper(const std::vector<Polygon>& contours, const OutlineArea& area)
        : domain_(1 + static_cast<int>(area.holes.size()), 1) {
        domain_.Add(contours[static_cast<std::size_t>(area.outer)]);
        for (const int hole : area.holes)
            domain_.Add(contours[static_cast<std::size_t>(hole)]);
    }

    struct Piece {
        double start; // the place on the polyline: the number of a point, and parts between two
        Polygon points;
    };
    void append_pieces(const Polygon& polyline, std::vector<Piece>& pieces) {
        ERTValVector<Polygon> found;
        stops_.clear();
        domain_.Intersect(polyline, found, this);
        // A piece is a run of stops; if the way repeats itself, the first run not passed yet.
        auto at = stops_.begin();
        for (const Polygon& piece : found) {
            const auto points = piece.view();
            const auto run =
                std::search(at, stops_.end(), points.begin(), points.end(),
                            [](const Stop& stop, const ERPoint2D& p) { return stop.point == p; });
            pieces.push_back({run == stops_.end() ? 0.0 : run->parameter, piece});
            if (run != stops_.end()) at = run + (piece.size() - 1);
        }
    }

private:
    struct Stop {
        double parameter;
        ERPoint2D point;
    };
    void onIntersect(_Intersect const* stop) override {
        stops_.push_back({stop->parameter, stop->point});
    }

    ERRegion2D domain_;
    std::vector<Stop> stops_;
};

bool is_straight(const Outline& region) {
    return std::all_of(region.contours.begin(), region.contours.end(),
                       [](const Contour& contour) { return contour.is_polygon(); });
}

} // namespace

std::optional<ClipResult> clip(const Outline& region, const std::vector<Polygon>& polylines,
                               double chord_error) {
    const double factor = scale_for(region, polylines);
    std::vector<Polygon> contours;
    for (const Contour& contour : region.contours) {
        contours.push_back(polygon_within(contour.scaled(factor), chord_error * factor));
        if (contours.back().empty()) return std::nullopt;
    }
    std::deque<AreaClipper> areas; // whose elements never move
    for (const OutlineArea& area : region.areas)
        areas.emplace_back(contours, area);
    ClipResult result;
    result.figures.polylines = polylines.size();
    result.figures.chord_error = is_straight(region) ? 0.0 : chord_error;
    for (std::size_t i = 0; i < polylines.size(); ++i) {
        std::vector<AreaClipper::Piece> pieces;
        for (AreaClipper& area : areas)
            area.append_pieces(scaled(polylines[i], factor), pieces);
        std::stable_sort(pieces.begin(), pieces.end(),
                         [](const auto& a, const auto& b) { return a.start < b.start; });
        result.figures.length += length_of(polylines[i]);
        for (const AreaClipper::Piece& piece : pieces) {
            const Polygon points = scaled(piece.points, 1.0 / factor);
            result.pieces.push_back({static_cast<int>(i), points, length_of(points)});
            result.figures.length_inside += result.pieces.back().length;
        }
    }
    result.figures.pieces = result.pieces.size();
    return result;
}

void clip_polylines(const ClipOptions& options) {
    TextSource region_file(options.region);
    const NominalOutline region = read_outline(region_file, options.form, options.chain_tolerance);
    TextSource polyline_file(options.polyline);
    const Polylines polylines = read_polylines(polyline_file);

    OutputSet outputs;
    Output* const json = outputs.add_if_asked(options.paths.json);
    Output* const svg = outputs.add_if_asked(options.paths.svg);
    const ERMinimax2D box = region.box();
    const double chord_error =
        options.chord_error.value_or(default_chord_part * std::hypot(box.xlength(), box.ylength()));
    std::optional<ClipResult> result = clip(region, polylines.lines, chord_error);
    if (!result)
        region_file.refuse_whole("the arcs and curves need too many chords to stay within " +
                                 shortest(chord_error));
    result->head = {options.region, options.polyline};
    if (json != nullptr) write_clip_json(*json, *result);
    if (svg != nullptr) svg->write(clip_picture(region, polylines, *result));
    if (Output* const text = outputs.add_text(options.paths.quiet)) write_clip_text(*text, *result);
    outputs.commit();
}

} // namespace velm::inspect
