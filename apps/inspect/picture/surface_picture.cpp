#include "inspect/picture/surface_picture.h"

#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"
#include "inspect/picture/palette.h"
#include "inspect/picture/surface_assets.h"
#include "inspect/picture/surface_data.h"
#include "inspect/picture/surface_raster.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace velm::inspect {
namespace {

constexpr double reference_part = 0.04; // of the part's size: a usual large whisker
constexpr double longest_part = 0.12;
constexpr double still_width = 860.0;        // pixels across the part's longest side
constexpr double sign_pixels = 14.0;         // room for the signs of points out of tolerance
constexpr std::size_t most_whiskers = 30000; // beyond it they hide the colours
constexpr int pixels_shown_as_one = 2; // so that stills are sharp in print and on fine screens

// Text for a script element: nothing in it ends the element.
std::string json_string(std::string_view text) {
    std::string quoted, out;
    append_json_string(quoted, text, true);
    for (const char c : quoted)
        out += c == '<' ? std::string("\\u003c") : std::string(1, c);
    return out;
}

std::string json_list(std::span<const double> values) {
    std::string out = "[";
    for (const double value : values)
        out += (out.size() > 1 ? "," : "") + shortest(value);
    return out + "]";
}

std::string cube_json(const PackedCube& cube) {
    return "{\"low\":" + json_list(cube.low) + ",\"side\":" + shortest(cube.side) + "}";
}

std::string data_element(const char* id, const PackedPlaces& places) {
    return "<script type=\"text/plain\" id=\"" + std::string(id) + "\">" + base64(places.bytes) +
           "</script>\n";
}

// What the pictures of one page share.
struct Look {
    DeviationScale colors;
    StillScale scale;
    bool has_unassigned = false;
    bool shows_whiskers = true; // of all points, else of those out of tolerance
    std::uint64_t out = 0;
    int decimals = 3;
};

std::string faces_json(const ViewMesh& mesh, const ColoredMesh& colored) {
    std::string out = "[";
    for (std::size_t i = 0; i < colored.faces.size(); ++i) {
        const ColoredMesh::Face& face = colored.faces[i];
        out += (i > 0 ? ",\n" : "") + std::string("{\"path\":") +
               json_string(terminal_text(mesh.faces[i].path)) +
               ",\"kind\":" + json_string(mesh.faces[i].kind) +
               ",\"vertices\":" + std::to_string(face.vertices) +
               ",\"triangles\":" + std::to_string(face.triangles) +
               ",\"points\":" + std::to_string(face.points) +
               ",\"out\":" + std::to_string(face.points_out) + "}";
    }
    return out + "]";
}

std::array<double, 3> box_of(const ColoredMesh& mesh) { // about its origin
    std::array<double, 3> box{};
    for (const ColoredMesh::Vertex& vertex : mesh.vertices)
        for (std::size_t i = 0; i < 3; ++i)
            box[i] = std::max(box[i], 2.0 * std::fabs(double(vertex.position[i])));
    return box;
}

// The head and the mesh, and the points.
std::pair<std::string, std::string> view_data(const ViewMesh& mesh, const ColoredMesh& colored,
                                              std::span<const ViewPoint> points, const Look& look) {
    const double unit = half_unit(points);
    const PackedPlaces packed = pack_mesh(colored, unit);
    static constexpr std::pair<const char*, PointGroup> groups[] = {
        {"within", PointGroup::within},
        {"out", PointGroup::out},
        {"unassigned", PointGroup::unassigned}};
    const double limits[] = {look.colors.lower(), look.colors.upper()};
    std::string head =
        "{\"size\":" + shortest(colored.size) + ",\"box\":" + json_list(box_of(colored)) +
        ",\"unit\":" + shortest(unit) + ",\"limits\":" + json_list(limits) +
        ",\"judged\":" + (look.scale.is_judged ? "true" : "false") +
        ",\"decimals\":" + std::to_string(look.decimals) +
        ",\"magnification\":" + shortest(look.scale.magnification) +
        ",\"longest\":" + shortest(look.scale.longest_whisker) +
        ",\"edges\":" + std::to_string(colored.edges.size()) +
        ",\"mesh\":" + cube_json(packed.cube) + ",\n\"faces\":" + faces_json(mesh, colored);
    std::string all_points;
    for (const auto& [name, group] : groups) {
        const PackedPlaces places = pack_points(colored, points, group, unit, look.colors);
        head += ",\"" + std::string(name) + "\":" + cube_json(places.cube);
        all_points += data_element(("view-" + std::string(name)).c_str(), places);
    }
    return {"<script type=\"application/json\" id=\"view-head\">" + head + "}</script>\n" +
                data_element("view-mesh", packed),
            std::move(all_points)};
}

std::string stills(const ColoredMesh& colored, std::span<const ViewPoint> points,
                   const Look& look) {
    std::string out = "<div class=\"stills\">\n";
    double widest = 1.0;
    std::array<IndexedImage, 6> images;
    const auto views = standard_views();
    for (std::size_t i = 0; i < images.size(); ++i) {
        images[i] = draw_still(colored, points, views[i], look.scale, look.colors);
        widest = std::max(widest, double(images[i].width));
    }
    for (std::size_t i = 0; i < images.size(); ++i) {
        const std::string png = images[i].png();
        const std::span bytes(reinterpret_cast<const std::uint8_t*>(png.data()), png.size());
        const std::string name(views[i].name);
        // All in one scale.
        out += "<figure><img alt=\"" + name + " view of the part\" width=\"" +
               std::to_string(images[i].width / pixels_shown_as_one) + "\" height=\"" +
               std::to_string(images[i].height / pixels_shown_as_one) +
               "\" style=\"width:" + fixed(100.0 * images[i].width / widest, 2) +
               "%\" src=\"data:image/png;base64," + base64(bytes) + "\"><figcaption>" + name +
               "</figcaption></figure>\n";
    }
    return out + "</div>\n";
}

std::string button(const char* attribute, const char* value, const char* name, bool is_switch,
                   bool is_on = false) {
    return "<button type=\"button\" " + std::string(attribute) + "=\"" + value + "\"" +
           (is_switch ? std::string(" aria-pressed=\"") + (is_on ? "true" : "false") + "\"" : "") +
           ">" + name + "</button>";
}

std::string tools(const Look& look) {
    std::string out = "<div class=\"tools\">\n<div role=\"group\" aria-label=\"Views\">";
    out += button("data-view", "space", "3D", false);
    for (const StillView& view : standard_views()) {
        std::string id(view.name);
        id[0] = static_cast<char>(id[0] - 'A' + 'a');
        out += button("data-view", id.c_str(), std::string(view.name).c_str(), false);
    }
    out += "</div>\n<div role=\"group\" aria-label=\"What is drawn\">" +
           button("data-show", "points", "points", true, true) +
           button("data-show", "whiskers", "all whiskers", true, look.shows_whiskers);
    if (look.out > 0) out += button("data-show", "out", "only out of tolerance", true);
    out += button("data-show", "glass", "see through", true) + "</div>\n<label>deviations <select>";
    for (const double strength : {0.0, 0.25, 0.5, 1.0, 2.0, 4.0}) {
        const double factor = strength * look.scale.magnification;
        out += "<option value=\"" + shortest(strength) + "\"" +
               (strength == 1.0 ? " selected" : "") + ">" +
               (factor > 0.0 ? "\u00d7 " + shortest(factor) : "not drawn") + "</option>";
    }
    return out + "</select></label>\n</div>\n";
}

// The colours as the page shows them, for the script.
std::string swatches() {
    std::string out = "<svg class=\"swatches\" width=\"0\" height=\"0\" aria-hidden=\"true\" "
                      "style=\"position:absolute;width:0;height:0\">";
    const auto add = [&](std::string_view color) {
        out += "<rect fill=\"" + std::string(color) + "\"/>";
    };
    for (const std::string_view color : palette::deviations)
        add(color);
    add(palette::material);
    add(palette::ink);
    return out + "</svg>\n";
}

std::string axes() {
    std::string out = "<svg class=\"axes\" viewBox=\"0 0 80 80\" aria-hidden=\"true\">";
    for (const char* const name : {"x", "y", "z"})
        out += "<line x1=\"40\" y1=\"40\" x2=\"40\" y2=\"40\" stroke=\"#1f2933\" "
               "stroke-width=\"1.6\"/><text font-size=\"13\" text-anchor=\"middle\" "
               "font-family=\"sans-serif\">" +
               std::string(name) + "</text>";
    return out + "</svg>\n";
}

std::string caption(const Look& look) {
    std::string out = "<figcaption>The surface has the colour of the mean deviation of the points "
                      "near it; each point is at the tip of a whisker along the normal, its "
                      "deviation magnified " +
                      shortest(look.scale.magnification) + " times.";
    if (look.scale.is_judged)
        out += " Out of tolerance: striped surfaces, \u25b2 above and \u25bc below, an outline "
               "where the part hides the point.";
    if (look.has_unassigned) out += " \u00d7: a point that is assigned to no face.";
    return out + "</figcaption>\n<p class=\"help\">Drag to turn, with Shift or two fingers to "
                 "move; pinch, or click and use the wheel, to zoom. Keys: arrows, + and \u2212, 0 "
                 "to 6 for the views, n and p for the next and the previous face.</p>\n";
}

std::string view_markup(const ColoredMesh& colored, std::span<const ViewPoint> points,
                        const Look& look) {
    return "<figure class=\"view\" id=\"view\">\n<div class=\"stage\" hidden>\n<div "
           "class=\"canvas\"><canvas tabindex=\"0\" role=\"img\" aria-label=\"The part in the "
           "colours of the deviations; the arrow keys turn it\"></canvas>\n" +
           axes() + swatches() + "<p class=\"picked\" role=\"status\"></p></div>\n" + tools(look) +
           "</div>\n" + stills(colored, points, look) + caption(look) + "</figure>\n";
}

} // namespace

void SurfacePicture::add(const ViewPoint& point) {
    points_.push_back(point);
    if (point.state != PointState::unassigned) histogram_.add(double(point.deviation));
}

LegendNotes SurfacePicture::notes() const {
    LegendNotes notes;
    notes.has_tolerance = tolerance_.has_value();
    for (const ViewPoint& point : points_) {
        if (point.state == PointState::above) ++notes.above;
        if (point.state == PointState::below) ++notes.below;
        notes.has_tolerance |= point.state >= PointState::in;
    }
    notes.outwards = "along the normals, magnified";
    return notes;
}

PagePictures SurfacePicture::page(const ViewMesh& mesh, int decimals) const {
    std::vector<DeviationHistogram::Cell> cells = histogram_.cells();
    if (cells.empty()) cells.push_back({0.0, 0});
    const double reference = reference_deviation(cells, tolerance_);
    const DeviationScale scale(tolerance_, reference);
    const DeviationUnit unit(
        std::max({std::fabs(scale.lower()), std::fabs(scale.upper()), reference}), decimals);
    const LegendNotes notes = this->notes();
    const ColoredMesh colored = color_mesh(mesh, points_);

    Look look{scale,   {}, false, points_.size() <= most_whiskers, notes.above + notes.below,
              decimals};
    const std::array<double, 3> box = box_of(colored);
    const double longest = *std::max_element(box.begin(), box.end());
    look.scale.pixels_of_unit = longest > 0.0 ? still_width / longest : 1.0;
    look.scale.magnification =
        reference > 0.0 ? fine_step_below(reference_part * colored.size / reference) : 1.0;
    look.scale.longest_whisker = longest_part * colored.size;
    look.scale.border =
        std::min(look.scale.longest_whisker,
                 look.scale.magnification *
                     std::max(std::fabs(cells.front().value), std::fabs(cells.back().value))) +
        sign_pixels / look.scale.pixels_of_unit;
    look.scale.is_judged = notes.has_tolerance;
    look.scale.shows_whiskers = look.shows_whiskers;
    look.has_unassigned = std::any_of(points_.begin(), points_.end(), [](const ViewPoint& p) {
        return p.state == PointState::unassigned;
    });

    PagePictures pictures;
    pictures.wide.legend = pictures.narrow.legend = page_legend(scale, notes, unit);
    pictures.distribution = page_distribution(cells, scale, tolerance_.has_value(), unit);
    auto [data, further_data] = view_data(mesh, colored, points_, look);
    pictures.view = {view_markup(colored, points_, look), surface_view_style, surface_view_script,
                     std::move(data), std::move(further_data)};
    return pictures;
}

} // namespace velm::inspect
