#include "inspect/input/dxf_drawing.h"

#include "inspect/base/number_text.h"
#include "inspect/input/dxf_groups.h"
#include "inspect/input/plane_map.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <numbers>
#include <set>
#include <utility>

namespace velm::inspect {
namespace {

constexpr double whole_turn = 2.0 * std::numbers::pi;
constexpr double degree_of_angle = std::numbers::pi / 180.0;
constexpr int deepest_block = 16;                      // nested INSERTs
constexpr std::size_t most_pieces = 4'000'000;         // after all blocks are inserted
constexpr std::size_t most_insertions = 1'000'000;     // of blocks, nested or not
constexpr double least_component_along_z = 1.0 - 1e-9; // of an extrusion: cos of 4.5e-5 radians

// The units that a header can name ($INSUNITS), with their lengths in millimetres.
struct LengthUnit {
    int code;
    const char* name;
    double millimetres;
};
constexpr LengthUnit length_units[] = {
    {1, "inch", 25.4},  {2, "foot", 304.8},  {3, "mile", 1609344.0}, {4, "mm", 1.0},
    {5, "cm", 10.0},    {6, "m", 1000.0},    {7, "km", 1e6},         {8, "microinch", 2.54e-5},
    {9, "mil", 0.0254}, {10, "yard", 914.4}, {11, "angstrom", 1e-7}, {12, "nm", 1e-6},
    {13, "um", 1e-3},   {14, "dm", 100.0},   {15, "dam", 1e4},       {16, "hm", 1e5},
};

// The direction of an entity's own plane: code 210 and the two after it.
enum class Facing { up, down, elsewhere };

// The arc with its ends evaluated.
DrawnArc with_ends(DrawnArc arc) {
    const auto at = [&](double t) {
        return arc.centre + arc.u * std::cos(t) + arc.v * std::sin(t);
    };
    arc.start = at(arc.from);
    arc.end = arc.is_closed() ? arc.start : at(arc.to);
    return arc;
}

using Shape = std::variant<DrawnSegment, DrawnArc, DrawnSpline>;

Shape mapped(const PlaneMap& map, const DrawnSegment& segment) {
    return DrawnSegment{map(segment.start), map(segment.end)};
}
Shape mapped(const PlaneMap& map, const DrawnArc& arc) {
    return DrawnArc{map(arc.centre), map(arc.u),     map(arc.v),  arc.from,
                    arc.to,          map(arc.start), map(arc.end)};
}
Shape mapped(const PlaneMap& map, DrawnSpline spline) {
    for (ERPoint2D& pole : spline.poles)
        pole = map(pole);
    return spline;
}

class DrawingReader {
public:
    DrawingReader(TextSource& source, const DxfOptions& options)
        : source_(source), groups_(source), options_(options) {}
    Drawing read();

private:
    struct Block {
        ERPoint2D base;
        std::vector<DxfEntity> entities;
    };
    // The place where an entity is drawn: the map, the layer if its own is "0", the number of
    // blocks around it.
    struct Place {
        PlaneMap map;
        std::string layer;
        int depth = 0;
    };

    void read_sections();
    void read_header(const DxfEntity& section);
    void read_blocks();
    bool read_entity(std::vector<DxfEntity>& into, DxfEntity& entity);

    void draw_all(const std::vector<DxfEntity>& entities, const Place& place);
    void draw(const std::vector<DxfEntity>& entities, std::size_t& at, const Place& place);
    void draw_line(const DxfEntity& entity, const Place& place);
    void draw_arc(const DxfEntity& entity, const Place& place);
    void draw_ellipse(const DxfEntity& entity, const Place& place);
    void draw_light_polyline(const DxfEntity& entity, const Place& place);
    void draw_polyline(const std::vector<DxfEntity>& entities, std::size_t& at, const Place& place);
    void draw_spline(const DxfEntity& entity, const Place& place);
    void insert_block(const DxfEntity& entity, const Place& place);

    struct Corner {
        ERPoint2D p;
        double bulge = 0.0;
    };
    void draw_corners(const DxfEntity& entity, const std::vector<Corner>& corners, bool closed,
                      const Place& place);

    Facing facing(const DxfEntity& entity) const;
    Place in_own_plane(const DxfEntity& entity, Place place) const;
    bool is_planar(const DxfEntity& entity);
    std::string layer_of(const DxfEntity& entity, const Place& place) const;
    void add(const DxfEntity& entity, const Place& place, const Shape& shape);
    void leave_out(const DxfEntity& entity, const char* why);
    ERPoint2D point(const DxfEntity& entity, int x_code) const {
        return {groups_.required(entity, x_code), groups_.required(entity, x_code + 10)};
    }

    TextSource& source_;
    DxfGroups groups_;
    const DxfOptions& options_;
    Drawing drawing_;
    std::map<std::string, Block, std::less<>> blocks_;
    std::vector<DxfEntity> entities_;
    std::set<std::string> layers_;
    std::size_t insertions_ = 0;
    bool has_sections_ = false;
};

Drawing DrawingReader::read() {
    read_sections();
    if (!has_sections_)
        source_.refuse_whole("no section of a DXF file; expected 0, SECTION, 2, ENTITIES");
    if (options_.millimetres) drawing_.millimetres = *options_.millimetres;
    draw_all(entities_, {PlaneMap::scaling(drawing_.millimetres, drawing_.millimetres), "0", 0});
    drawing_.layers.assign(layers_.begin(), layers_.end());
    return std::move(drawing_);
}

void DrawingReader::read_sections() {
    DxfEntity entity;
    while (groups_.next(entity) && entity.type != "EOF") {
        if (entity.type != "SECTION") continue;
        has_sections_ = true;
        const std::string name(entity.text(2));
        if (name == "HEADER")
            read_header(entity);
        else if (name == "BLOCKS")
            read_blocks();
        else if (name == "ENTITIES")
            while (read_entity(entities_, entity)) {
            }
    }
}

// All variables of the header are groups of its section mark: code 9 names one, its values follow.
void DrawingReader::read_header(const DxfEntity& section) {
    for (std::size_t i = 0; i + 1 < section.groups.size(); ++i) {
        if (section.groups[i].code != 9 || section.groups[i].text != "$INSUNITS") continue;
        const double code = groups_.number(section, section.groups[i + 1]);
        for (const LengthUnit& unit : length_units) {
            if (code != unit.code) continue;
            drawing_.unit = unit.name;
            drawing_.millimetres = unit.millimetres;
        }
    }
}

// Takes the next entity of a section or block into the list; false at its end.
bool DrawingReader::read_entity(std::vector<DxfEntity>& into, DxfEntity& entity) {
    if (!groups_.next(entity) || entity.type == "ENDSEC" || entity.type == "ENDBLK") return false;
    into.push_back(entity);
    return true;
}

void DrawingReader::read_blocks() {
    DxfEntity entity;
    while (groups_.next(entity) && entity.type != "ENDSEC") {
        if (entity.type != "BLOCK") continue;
        Block& block = blocks_[std::string(entity.text(2))];
        block.base = {groups_.number(entity, 10, 0.0), groups_.number(entity, 20, 0.0)};
        block.entities.clear();
        while (read_entity(block.entities, entity)) {
        }
        if (entity.type == "ENDSEC") return;
    }
}

void DrawingReader::draw_all(const std::vector<DxfEntity>& entities, const Place& place) {
    for (std::size_t at = 0; at < entities.size(); ++at)
        draw(entities, at, place);
}

void DrawingReader::draw(const std::vector<DxfEntity>& entities, std::size_t& at,
                         const Place& place) {
    const DxfEntity& entity = entities[at];
    if (entity.type == "POLYLINE") return draw_polyline(entities, at, place);
    if (entity.type == "VERTEX" || entity.type == "SEQEND" || entity.type == "ATTRIB") return;
    if (groups_.count(entity, 67, 0) == 1) return leave_out(entity, "on paper");
    if (entity.type == "LINE") return draw_line(entity, place);
    if (entity.type == "ARC" || entity.type == "CIRCLE") return draw_arc(entity, place);
    if (entity.type == "ELLIPSE") return draw_ellipse(entity, place);
    if (entity.type == "LWPOLYLINE") return draw_light_polyline(entity, place);
    if (entity.type == "SPLINE") return draw_spline(entity, place);
    if (entity.type == "INSERT") return insert_block(entity, place);
    leave_out(entity, "not a curve of an outline");
}

Facing DrawingReader::facing(const DxfEntity& entity) const {
    const double x = groups_.number(entity, 210, 0.0), y = groups_.number(entity, 220, 0.0),
                 z = groups_.number(entity, 230, 1.0);
    const double along = z / std::hypot(x, y, z);
    if (along >= least_component_along_z) return Facing::up;
    return along <= -least_component_along_z ? Facing::down : Facing::elsewhere;
}

// The axes of a plane that faces down: x is mirrored, y stays (the arbitrary-axis rule of the
// format, for the normal (0, 0, -1)).
DrawingReader::Place DrawingReader::in_own_plane(const DxfEntity& entity, Place place) const {
    if (facing(entity) == Facing::down) place.map = place.map * PlaneMap::scaling(-1.0, 1.0);
    return place;
}

bool DrawingReader::is_planar(const DxfEntity& entity) {
    if (facing(entity) != Facing::elsewhere) return true;
    leave_out(entity, "not in the drawing plane");
    return false;
}

void DrawingReader::draw_line(const DxfEntity& entity, const Place& place) {
    const ERPoint2D a = point(entity, 10), b = point(entity, 11);
    if (groups_.number(entity, 30, 0.0) != groups_.number(entity, 31, 0.0))
        return leave_out(entity, "not in the drawing plane");
    if (a.x() == b.x() && a.y() == b.y()) return leave_out(entity, "without length");
    add(entity, place, DrawnSegment{a, b});
}

void DrawingReader::draw_arc(const DxfEntity& entity, const Place& place) {
    if (!is_planar(entity)) return;
    const double radius = groups_.required(entity, 40);
    if (!(radius > 0.0)) return leave_out(entity, "without length");
    DrawnArc arc{point(entity, 10), {radius, 0.0}, {0.0, radius}, 0.0, whole_turn, {}, {}};
    if (entity.type == "ARC") {
        const double from = groups_.required(entity, 50), to = groups_.required(entity, 51);
        const double sweep = std::fmod(std::fmod(to - from, 360.0) + 360.0, 360.0);
        arc.from = from * degree_of_angle;
        arc.to = arc.from + (sweep > 0.0 ? sweep : 360.0) * degree_of_angle;
    }
    add(entity, in_own_plane(entity, place), with_ends(arc));
}

// Centre and axis of an ellipse are places of the drawing, not of a plane of its own.
void DrawingReader::draw_ellipse(const DxfEntity& entity, const Place& place) {
    if (!is_planar(entity)) return;
    const ERVector2D axis(groups_.required(entity, 11), groups_.required(entity, 21));
    const double ratio = groups_.required(entity, 40);
    if (!(axis.norme() > 0.0) || !(ratio > 0.0)) return leave_out(entity, "without length");
    const double side = facing(entity) == Facing::down ? -ratio : ratio;
    DrawnArc arc{point(entity, 10), axis, {-side * axis.j(), side * axis.i()}, 0.0, 0.0, {}, {}};
    arc.from = groups_.number(entity, 41, 0.0);
    arc.to = groups_.number(entity, 42, whole_turn);
    const double sweep = std::fmod(arc.to - arc.from, whole_turn);
    if (arc.to - arc.from != whole_turn)
        arc.to = arc.from + (sweep > 0.0 ? sweep : sweep + whole_turn);
    add(entity, place, with_ends(arc));
}

void DrawingReader::draw_light_polyline(const DxfEntity& entity, const Place& place) {
    if (!is_planar(entity)) return;
    std::vector<Corner> corners;
    for (const DxfGroup& group : entity.groups) {
        if (group.code == 10) corners.push_back({{groups_.number(entity, group), 0.0}});
        if (corners.empty()) continue;
        if (group.code == 20) corners.back().p.y() = groups_.number(entity, group);
        if (group.code == 42) corners.back().bulge = groups_.number(entity, group);
    }
    draw_corners(entity, corners, (groups_.count(entity, 70, 0) & 1) != 0,
                 in_own_plane(entity, place));
}

void DrawingReader::draw_polyline(const std::vector<DxfEntity>& entities, std::size_t& at,
                                  const Place& place) {
    constexpr int closed_bit = 1, in_space_or_mesh = 8 | 16 | 64, frame_of_spline = 16;
    const DxfEntity& entity = entities[at];
    std::vector<Corner> corners;
    while (at + 1 < entities.size() && entities[at + 1].type == "VERTEX") {
        const DxfEntity& vertex = entities[++at];
        if (groups_.count(vertex, 70, 0) & frame_of_spline) continue;
        corners.push_back({point(vertex, 10), groups_.number(vertex, 42, 0.0)});
    }
    const int flags = groups_.count(entity, 70, 0);
    if (groups_.count(entity, 67, 0) == 1) return leave_out(entity, "on paper");
    if (flags & in_space_or_mesh) return leave_out(entity, "not in the drawing plane");
    if (is_planar(entity))
        draw_corners(entity, corners, (flags & closed_bit) != 0, in_own_plane(entity, place));
}

// A bulge is the tangent of a quarter of the arc's angle, positive for an arc that turns left; with
// the chord d and the normal n on its left, the centre is at the middle of the chord plus
// n (1 - b^2) / (4 b).
void DrawingReader::draw_corners(const DxfEntity& entity, const std::vector<Corner>& corners,
                                 bool closed, const Place& place) {
    const std::size_t edges = corners.empty() ? 0 : corners.size() - (closed ? 0 : 1);
    if (edges == 0) return leave_out(entity, "without length");
    for (std::size_t i = 0; i < edges; ++i) {
        const ERPoint2D &a = corners[i].p, &b = corners[(i + 1) % corners.size()].p;
        const double bulge = corners[i].bulge;
        if (a.x() == b.x() && a.y() == b.y()) continue;
        if (bulge == 0.0) {
            add(entity, place, DrawnSegment{a, b});
            continue;
        }
        const ERVector2D chord(a, b), normal(-chord.j(), chord.i());
        const ERPoint2D middle(0.5 * (a.x() + b.x()), 0.5 * (a.y() + b.y()));
        const ERPoint2D centre = middle + normal * ((1.0 - bulge * bulge) / (4.0 * bulge));
        const ERVector2D u(centre, a);
        const double side = bulge > 0.0 ? 1.0 : -1.0;
        add(entity, place,
            DrawnArc{centre,
                     u,
                     {-side * u.j(), side * u.i()},
                     0.0,
                     4.0 * std::atan(std::fabs(bulge)),
                     a,
                     b});
    }
}

void DrawingReader::draw_spline(const DxfEntity& entity, const Place& place) {
    DrawnSpline spline;
    spline.degree = groups_.count(entity, 71, 0);
    double z = 0.0;
    bool is_flat = true;
    for (const DxfGroup& group : entity.groups) {
        const auto value = [&] { return groups_.number(entity, group); };
        if (group.code == 40) spline.knots.push_back(value());
        if (group.code == 41) spline.weights.push_back(value());
        if (group.code == 10) spline.poles.emplace_back(value(), 0.0);
        if (spline.poles.empty()) continue;
        if (group.code == 20) spline.poles.back().y() = value();
        if (group.code != 30) continue;
        if (spline.poles.size() == 1) z = value();
        is_flat = is_flat && value() == z;
    }
    if (spline.poles.empty()) return leave_out(entity, "with fit points only, without poles");
    if (!is_flat) return leave_out(entity, "not in the drawing plane");
    if (spline.weights.empty()) spline.weights.assign(spline.poles.size(), 1.0);
    if (const char* const fault = fault_of(spline))
        groups_.refuse(entity, "SPLINE of degree " + std::to_string(spline.degree) + " with " +
                                   std::to_string(spline.poles.size()) + " poles, " +
                                   std::to_string(spline.knots.size()) + " knots and " +
                                   std::to_string(spline.weights.size()) + " weights: " + fault);
    add(entity, place, std::move(spline));
}

void DrawingReader::insert_block(const DxfEntity& entity, const Place& place) {
    const std::string name(entity.text(2));
    const auto found = blocks_.find(name);
    if (found == blocks_.end()) return leave_out(entity, "of a block that the file doesn't have");
    if (!is_planar(entity)) return;
    if (place.depth >= deepest_block)
        groups_.refuse(entity, "blocks are nested more than " + std::to_string(deepest_block) +
                                   " deep at INSERT of '" + name + "'");
    const PlaneMap turned = PlaneMap::rotation(groups_.number(entity, 50, 0.0) * degree_of_angle);
    const PlaneMap scaled =
        PlaneMap::scaling(groups_.number(entity, 41, 1.0), groups_.number(entity, 42, 1.0));
    if (scaled.determinant() == 0.0) return leave_out(entity, "scaled to nothing");
    const ERPoint2D at = point(entity, 10), base = found->second.base;
    const int columns = std::max(groups_.count(entity, 70, 1), 1);
    const int rows = std::max(groups_.count(entity, 71, 1), 1);
    const double column = groups_.number(entity, 44, 0.0), row = groups_.number(entity, 45, 0.0);
    const Place plane = in_own_plane(entity, place);
    for (int i = 0; i < rows; ++i) {
        for (int j = 0; j < columns; ++j) {
            if (++insertions_ > most_insertions)
                groups_.refuse(entity, "more than " + grouped(most_insertions, ",") +
                                           " blocks are inserted; the last was '" + name + "'");
            Place inner = plane;
            inner.map = plane.map * PlaneMap::translation(at.x(), at.y()) * turned *
                        PlaneMap::translation(j * column, i * row) * scaled *
                        PlaneMap::translation(-base.x(), -base.y());
            inner.layer = layer_of(entity, place);
            inner.depth = place.depth + 1;
            draw_all(found->second.entities, inner);
        }
    }
}

std::string DrawingReader::layer_of(const DxfEntity& entity, const Place& place) const {
    const std::string_view own = entity.text(8, "0");
    return own == "0" ? place.layer : std::string(own);
}

void DrawingReader::add(const DxfEntity& entity, const Place& place, const Shape& shape) {
    const std::string layer = layer_of(entity, place);
    layers_.insert(layer);
    const auto& wanted = options_.layers;
    if (!wanted.empty() && std::find(wanted.begin(), wanted.end(), layer) == wanted.end()) return;
    if (drawing_.pieces.size() >= most_pieces)
        groups_.refuse(entity,
                       "the drawing has more than " + grouped(most_pieces, ",") + " pieces");
    drawing_.pieces.push_back(
        {std::visit([&](const auto& own) { return mapped(place.map, own); }, shape), layer,
         entity.line});
}

void DrawingReader::leave_out(const DxfEntity& entity, const char* why) {
    auto& all = drawing_.left_out;
    auto same = std::find_if(all.begin(), all.end(), [&](const LeftOut& one) {
        return one.type == entity.type && one.why == why;
    });
    if (same == all.end()) same = all.insert(all.end(), {entity.type, why, 0, entity.line});
    ++same->count;
}

} // namespace

std::optional<double> millimetres_of_unit(std::string_view name) {
    for (const LengthUnit& unit : length_units)
        if (name == unit.name) return unit.millimetres;
    return std::nullopt;
}

bool starts_like_dxf(std::string_view text) {
    const auto next = [&text] {
        const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + (text.substr(end, 2) == "\r\n" ? 2 : 1), text.size()));
        const std::size_t first = std::min(line.find_first_not_of(" \t"), line.size());
        return line.substr(first, line.find_last_not_of(" \t") + 1 - first);
    };
    const std::string_view code = next();
    return code == "999" || (code == "0" && next() == "SECTION");
}

Drawing read_dxf(TextSource& source, const DxfOptions& options) {
    return DrawingReader(source, options).read();
}

} // namespace velm::inspect
