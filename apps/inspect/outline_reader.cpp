#include "inspect/outline_reader.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <string_view>

#include "inspect/number_text.h"
#include "inspect/text_escape.h"
#include "velm/frame/vector.h"

namespace velm::inspect {
namespace {

struct Vertex {
    double x, y;
    std::size_t line;
    bool starts_block; // the first data line, or the first one behind a blank line
};

using Run = std::vector<Vertex>;

bool same_place(const Vertex& a, const Vertex& b) { return a.x == b.x && a.y == b.y; }

struct Fields {
    std::array<std::string_view, 3> text; // the first three; more are only counted
    std::size_t count = 0;
};

// Blanks and tabs part fields, and so does one comma with blanks round it.
Fields split(std::string_view line) {
    constexpr std::string_view blanks = " \t\v\f";
    Fields fields;
    std::size_t at = line.find_first_not_of(blanks);
    bool after_comma = true;
    while (at != std::string_view::npos) {
        if (line[at] == ',') {
            if (after_comma) ++fields.count; // an empty field
            after_comma = true;
            at = line.find_first_not_of(blanks, at + 1);
            continue;
        }
        const std::size_t end = std::min(line.find_first_of(" \t\v\f,", at), line.size());
        if (fields.count < fields.text.size())
            fields.text[fields.count] = line.substr(at, end - at);
        ++fields.count;
        after_comma = false;
        at = line.find_first_not_of(blanks, end);
    }
    return fields;
}

[[noreturn]] void refuse_line(const TextSource& source, std::string_view line,
                              const Fields& fields) {
    if (fields.count == 2)
        for (const std::string_view field : {fields.text[0], fields.text[1]})
            if (const ParsedNumber number = parse_number(field); !number)
                source.refuse(number_complaint(field, number.fault));
    source.refuse("expected two numbers, x and y, found '" + clipped(line, 40) + "'");
}

// A line of two fields that are numbers in form, but not finite or beyond a double, is damaged data
// and never a title.
bool is_damaged_vertex(const Fields& fields, const ParsedNumber& x, const ParsedNumber& y) {
    return fields.count == 2 && x.fault != NumberFault::not_a_number &&
           y.fault != NumberFault::not_a_number;
}

Run read_lines(TextSource& source, std::string& title) {
    Run vertices;
    std::string_view line;
    bool has_title = false;
    bool starts_block = true;
    while (source.next_line(line)) {
        const bool is_comment = line.find('#') != std::string_view::npos;
        const std::string_view content = line.substr(0, line.find('#'));
        const Fields fields = split(content);
        if (fields.count == 0) {
            if (!is_comment) starts_block = true;
            continue;
        }
        const ParsedNumber x = parse_number(fields.text[0]);
        const ParsedNumber y = parse_number(fields.text[1]);
        if (fields.count == 2 && x && y) {
            vertices.push_back({x.value, y.value, source.line_number(), starts_block});
            starts_block = false;
        } else if (!has_title && vertices.empty() && !is_damaged_vertex(fields, x, y)) {
            const std::size_t first = content.find_first_not_of(" \t");
            title = content.substr(first, content.find_last_not_of(" \t") + 1 - first);
            has_title = true;
        } else {
            refuse_line(source, content, fields);
        }
    }
    return vertices;
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

// Whether all vertices lie on the line through the first and the one farthest from it, exactly; the
// scaling by a power of two keeps the products from leaving the range.
bool is_flat(const Run& run) {
    const Vertex& a = run[0];
    const auto reach = [&](const Vertex& v) { return std::hypot(v.x - a.x, v.y - a.y); };
    const auto farthest =
        std::max_element(run.begin(), run.end(),
                         [&](const Vertex& v, const Vertex& w) { return reach(v) < reach(w); });
    const int power = std::clamp(-std::ilogb(reach(*farthest)), -1000, 1000);
    const auto offset = [&](const Vertex& v) {
        return ERVector2D(std::ldexp(v.x - a.x, power), std::ldexp(v.y - a.y, power));
    };
    const ERVector2D along = offset(*farthest);
    return std::all_of(run.begin(), run.end(), [&](const Vertex& v) {
        const ERVector2D to = offset(v);
        return along.i() * to.j() == along.j() * to.i();
    });
}

Polygon make_contour(const TextSource& source, Run run) {
    const std::size_t line = run.front().line;
    run.erase(std::unique(run.begin(), run.end(), same_place), run.end());
    while (run.size() > 1 && same_place(run.front(), run.back()))
        run.pop_back();
    if (run.size() < 3)
        source.refuse_at(line, "the contour that starts here has " + std::to_string(run.size()) +
                                   (run.size() == 1 ? " different vertex" : " different vertices") +
                                   "; expected at least three");
    if (is_flat(run))
        source.refuse_at(line, "the vertices of the contour that starts here lie on one line; "
                               "expected an outline round an area");
    Polygon contour(static_cast<int>(run.size()));
    for (std::size_t i = 0; i < run.size(); ++i)
        contour[static_cast<int>(i)] = ERPoint2D(run[i].x, run[i].y);
    return contour;
}

} // namespace

Outline read_outline(TextSource& source, OutlineForm form) {
    Outline outline;
    Run vertices = read_lines(source, outline.title);
    if (source.bytes_read() == 0) source.refuse_whole("the file is empty; expected an outline");
    if (form == OutlineForm::automatic)
        form = announces_runs(vertices) ? OutlineForm::runs : OutlineForm::contours;
    outline.form = form;
    if (form == OutlineForm::runs) vertices = join_runs(source, vertices);
    if (vertices.empty())
        source.refuse_whole("no vertices; expected lines of two numbers, x and y");

    for (auto begin = vertices.begin(); begin != vertices.end();) {
        auto end = vertices.end();
        if (form == OutlineForm::contours)
            end = std::find_if(begin + 1, end, [](const Vertex& v) { return v.starts_block; });
        outline.contours.push_back(make_contour(source, Run(begin, end)));
        begin = end;
    }
    return outline;
}

} // namespace velm::inspect
