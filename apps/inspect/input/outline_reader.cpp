#include "inspect/input/outline_reader.h"

#include "inspect/base/number_text.h"
#include "inspect/input/dxf_outline.h"
#include "inspect/input/outline_checks.h"
#include "inspect/input/outline_commands.h"
#include "inspect/input/outline_lines.h"
#include "inspect/input/outline_pieces.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <string_view>
#include <utility>

namespace velm::inspect {
namespace {

struct Vertex {
    double x, y;
    std::size_t line;
    bool starts_block; // the first data line, or the first one after a blank line
};

using Run = std::vector<Vertex>;

bool same_place(const Vertex& a, const Vertex& b) { return a.x == b.x && a.y == b.y; }

[[noreturn]] void refuse_vertex(const TextSource& source, const OutlineLine& line) {
    if (line.count == 2)
        for (const std::string_view field : {line.field[0], line.field[1]})
            if (const ParsedNumber number = parse_number(field); !number)
                source.refuse(number_complaint(field, number.fault));
    source.refuse("expected two numbers, x and y, found " + line.shown());
}

// Two fields that are numbers in form; one that is not finite or beyond a double is damaged data
// and never a title.
bool is_vertex(const OutlineLine& line) {
    return line.count == 2 && parse_number(line.field[0]).fault != NumberFault::not_a_number &&
           parse_number(line.field[1]).fault != NumberFault::not_a_number;
}

Vertex read_vertex(const TextSource& source, const OutlineLine& line) {
    const ParsedNumber x = parse_number(line.field[0]);
    const ParsedNumber y = parse_number(line.field[1]);
    if (line.count != 2 || !x || !y) refuse_vertex(source, line);
    return {x.value, y.value, line.number, line.starts_block};
}

std::string trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t");
    return std::string(text.substr(first, text.find_last_not_of(" \t") + 1 - first));
}

bool is_count(double value) { return value >= 1.0 && value <= 1e9 && value == std::floor(value); }

bool announces_runs(const Run& vertices) {
    return !vertices.empty() && is_count(vertices[0].x) && is_count(vertices[0].y) &&
           vertices[0].x + vertices[0].y == static_cast<double>(vertices.size() - 1);
}

// Joins the two runs at their common end: upper run backwards, then the lower one.
Run join_runs(const TextSource& source, const Run& vertices) {
    if (vertices.empty()) source.refuse_whole("no vertices; expected a line of two counts");
    if (!announces_runs(vertices))
        source.refuse_at(vertices[0].line,
                         "expected the counts of an upper and a lower run that sum up to the " +
                             std::to_string(vertices.size() - 1) + " vertices that follow");
    const auto middle = vertices.begin() + 1 + static_cast<std::ptrdiff_t>(vertices[0].x);
    Run outline(vertices.begin() + 1, middle);
    const Run lower(middle, vertices.end());
    const auto gap = [&](const Vertex& v) {
        return std::hypot(v.x - lower.front().x, v.y - lower.front().y);
    };
    if (gap(outline.front()) <= gap(outline.back())) std::reverse(outline.begin(), outline.end());
    outline.insert(outline.end(), lower.begin(), lower.end());
    return outline;
}

Contour make_contour(const TextSource& source, Run run) {
    const std::size_t line = run.front().line;
    run.erase(std::unique(run.begin(), run.end(), same_place), run.end());
    while (run.size() > 1 && same_place(run.front(), run.back()))
        run.pop_back();
    Polygon polygon(static_cast<int>(run.size()));
    for (std::size_t i = 0; i < run.size(); ++i)
        polygon[static_cast<int>(i)] = ERPoint2D(run[i].x, run[i].y);
    Contour contour(polygon);
    require_area(source, line, contour);
    return contour;
}

std::vector<LocatedContour> make_contours(const TextSource& source, Run vertices,
                                          NominalOutline& outline) {
    std::vector<LocatedContour> contours;
    if (outline.form == OutlineForm::automatic)
        outline.form = announces_runs(vertices) ? OutlineForm::runs : OutlineForm::contours;
    if (outline.form == OutlineForm::runs) vertices = join_runs(source, vertices);
    for (auto begin = vertices.begin(); begin != vertices.end();) {
        auto end = vertices.end();
        if (outline.form == OutlineForm::contours)
            end = std::find_if(begin + 1, end, [](const Vertex& v) { return v.starts_block; });
        contours.push_back({make_contour(source, Run(begin, end)), begin->line});
        begin = end;
    }
    return contours;
}

// Skips the title and gives the first line of data; false if there is none. Chooses the form by
// that line, if it isn't given.
bool find_data(OutlineLines& lines, OutlineLine& line, NominalOutline& outline) {
    bool has_title = false;
    while (lines.next(line)) {
        const bool may_be_arcs =
            outline.form == OutlineForm::automatic || outline.form == OutlineForm::arcs;
        if (may_be_arcs && (has_title ? starts_like_command(line) : is_command(line))) {
            outline.form = OutlineForm::arcs;
            return true;
        }
        const bool may_be_pieces =
            outline.form == OutlineForm::automatic || outline.form == OutlineForm::pieces;
        if (may_be_pieces && is_piece(line)) {
            outline.form = OutlineForm::pieces;
            return true;
        }
        const bool has_vertices =
            outline.form != OutlineForm::arcs && outline.form != OutlineForm::pieces;
        if (has_title || (has_vertices && is_vertex(line))) return true;
        if (line.is_damaged_vertex()) return true; // to be refused as what it should be
        outline.title = trimmed(line.content);
        has_title = true;
    }
    return false;
}

// The contours of a text of lines, and its title and form into `outline`.
std::vector<LocatedContour> read_lines(TextSource& source, double chain_tolerance,
                                       NominalOutline& outline) {
    OutlineLines lines(source);
    OutlineLine line;
    Run vertices;
    CommandReader commands(source);
    PieceReader pieces(source, chain_tolerance);
    for (bool more = find_data(lines, line, outline); more; more = lines.next(line)) {
        if (outline.form == OutlineForm::arcs)
            commands.take(line);
        else if (outline.form == OutlineForm::pieces)
            pieces.take(line);
        else
            vertices.push_back(read_vertex(source, line));
    }
    if (source.bytes_read() == 0) source.refuse_whole("the file is empty; expected an outline");
    std::vector<LocatedContour> contours =
        outline.form == OutlineForm::arcs     ? commands.finish()
        : outline.form == OutlineForm::pieces ? pieces.finish()
                                              : make_contours(source, std::move(vertices), outline);
    if (contours.empty())
        source.refuse_whole(outline.form == OutlineForm::arcs
                                ? "no contour; expected lines of M, L, A, N, Z or C"
                            : outline.form == OutlineForm::pieces
                                ? "no pieces; expected lines of four numbers, x1 y1 x2 y2"
                                : "no vertices; expected lines of two numbers, x and y");
    return contours;
}

std::vector<LocatedContour> read_drawing(TextSource& source, double chain_tolerance,
                                         const DxfOptions& options, NominalOutline& outline) {
    const Drawing drawing = read_dxf(source, options);
    outline.notes = notes_about_drawing(drawing);
    if (drawing.pieces.empty()) {
        std::string layers;
        for (const std::string& layer : drawing.layers)
            layers += (layers.empty() ? "" : ", ") + layer;
        source.refuse_whole("no LINE, ARC, CIRCLE, ELLIPSE, LWPOLYLINE, POLYLINE or SPLINE" +
                            (layers.empty() ? std::string(" in the drawing")
                                            : "; the drawing's layers are " + layers));
    }
    return contours_of_drawing(source, drawing, chain_tolerance);
}

} // namespace

NominalOutline read_outline(TextSource& source, OutlineForm form, double chain_tolerance,
                            const DxfOptions& drawing) {
    NominalOutline outline;
    outline.form = form;
    if (form == OutlineForm::automatic && starts_like_dxf(source.ahead()))
        outline.form = OutlineForm::dxf;
    std::vector<LocatedContour> contours;
    if (outline.form == OutlineForm::dxf) {
        contours = read_drawing(source, chain_tolerance, drawing, outline);
    } else {
        if (!drawing.layers.empty()) source.refuse_whole("only a drawing (DXF) has layers");
        contours = read_lines(source, chain_tolerance, outline);
        if (drawing.millimetres)
            for (LocatedContour& located : contours)
                located.contour = located.contour.scaled(*drawing.millimetres);
    }
    require_areas(source, std::move(contours), outline);
    return outline;
}

} // namespace velm::inspect
