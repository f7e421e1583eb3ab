// A link of lines and arcs: two round ends, waisted between them, with a bore in each and a slot.
// Writes link.txt, the nominal outline, link.csv, centres of a ball in the coordinates of a machine
// in whose space the link lies tilted, and bore.csv, those of the small bore alone. The small bore
// sits off its place, the large end is too large, and all is a little rough.
#include "sample_tools.h"

#include <fstream>
#include <numbers>
#include <vector>

namespace demo {
namespace {

constexpr double pi = std::numbers::pi;
constexpr double large_end = 24.0, small_end = 15.0, apart = 90.0, waist = 120.0; // radii, centres
constexpr double large_bore = 13.0, small_bore = 7.0;
constexpr double slot_begin = 33.0, slot_end = 62.0, slot_half = 5.0;
constexpr double ball = 3.0;
constexpr double step = 2.4; // between probed points, at the least
constexpr double roughness = 0.004, excess = 0.035, height_spread = 0.01; // standard deviations
constexpr Point bore_shift{0.045, -0.03};

// The plane of the section in the machine: the frame that demo.sh gives.
constexpr double origin[3] = {412.5, 230.0, 95.0}, normal[3] = {0.02, -0.01, 1.0};
constexpr double first_axis[3] = {4.0, 3.0, 0.0};

// An edge with the material on its left.
struct Edge {
    Point from, to;
    Point centre;        // of an arc
    double radius = 0.0; // 0 for a straight one
    double start = 0.0, sweep = 0.0;
    double growth = 0.0;   // simulated: material in excess
    Point shift{0.0, 0.0}; // simulated: out of place

    double length() const {
        return radius > 0.0 ? radius * std::fabs(sweep) : std::hypot(to.x - from.x, to.y - from.y);
    }
};

Edge line(Point from, Point to) {
    Edge edge;
    edge.from = from;
    edge.to = to;
    return edge;
}

Edge arc(Point centre, double radius, double start, double end) {
    Edge edge;
    edge.centre = centre;
    edge.radius = radius;
    edge.start = start;
    edge.sweep = end - start;
    edge.from = {centre.x + radius * std::cos(start), centre.y + radius * std::sin(start)};
    edge.to = {centre.x + radius * std::cos(end), centre.y + radius * std::sin(end)};
    return edge;
}

// The waist's arcs touch both ends from outside: their centres lie a sum of radii from both.
std::vector<Edge> outer_edges() {
    const double to_large = waist + large_end, to_small = waist + small_end;
    const double x = (to_large * to_large - to_small * to_small + apart * apart) / (2.0 * apart);
    const double y = std::sqrt(to_large * to_large - x * x);
    const double at_large = std::atan2(y, x), at_small = std::atan2(y, x - apart);
    std::vector<Edge> edges{arc({0.0, 0.0}, large_end, at_large, 2.0 * pi - at_large),
                            arc({x, -y}, waist, pi - at_large, pi - at_small),
                            arc({apart, 0.0}, small_end, -at_small, at_small),
                            arc({x, y}, waist, at_small - pi, at_large - pi)};
    edges[0].growth = excess;
    return edges;
}

std::vector<Edge> slot_edges() {
    return {line({slot_begin, slot_half}, {slot_end, slot_half}),
            arc({slot_end, 0.0}, slot_half, pi / 2.0, -pi / 2.0),
            line({slot_end, -slot_half}, {slot_begin, -slot_half}),
            arc({slot_begin, 0.0}, slot_half, 1.5 * pi, 0.5 * pi)};
}

std::vector<Edge> bore(Point centre, double radius, Point shift) {
    std::vector<Edge> edges{arc(centre, radius, 2.0 * pi, 0.0)};
    edges[0].shift = shift;
    return edges;
}

std::string pair(Point p) { return number(p.x, 9) + ' ' + number(p.y, 9); }

void write_contour(std::ofstream& out, const std::vector<Edge>& edges) {
    out << "M " << pair(edges[0].from) << '\n';
    for (const Edge& edge : edges) {
        if (edge.radius > 0.0)
            out << "A " << pair(edge.to) << ' ' << pair(edge.centre)
                << (edge.sweep > 0.0 ? " ccw\n" : " cw\n");
        else
            out << "L " << pair(edge.to) << '\n';
    }
    out << "Z\n";
}

void write_nominal(std::ofstream& out) {
    out << "Link, centres 90 mm apart, of lines and arcs\n";
    write_contour(out, outer_edges());
    out << "C 0 0 " << number(large_bore, 0) << "\nC " << number(apart, 0) << " 0 "
        << number(small_bore, 0) << '\n';
    write_contour(out, slot_edges());
}

struct Place {
    Point p, outward;
};

Place place_on(const Edge& edge, double part) {
    if (edge.radius == 0.0) {
        const double x = edge.to.x - edge.from.x, y = edge.to.y - edge.from.y;
        const double length = std::hypot(x, y);
        return {{edge.from.x + x * part, edge.from.y + y * part}, {y / length, -x / length}};
    }
    const double angle = edge.start + edge.sweep * part, side = edge.sweep > 0.0 ? 1.0 : -1.0;
    const double x = std::cos(angle), y = std::sin(angle);
    return {{edge.centre.x + edge.radius * x, edge.centre.y + edge.radius * y},
            {side * x, side * y}};
}

// The axes of the section's frame as unit vectors.
struct Axes {
    double x[3], y[3], z[3];
};

Axes frame_axes() {
    Axes axes{};
    const auto normalise = [](double* v) {
        const double length = std::hypot(v[0], v[1], v[2]);
        for (int i = 0; i < 3; ++i)
            v[i] /= length;
    };
    double along = 0.0;
    std::copy(normal, normal + 3, axes.z);
    normalise(axes.z);
    for (int i = 0; i < 3; ++i)
        along += first_axis[i] * axes.z[i];
    for (int i = 0; i < 3; ++i)
        axes.x[i] = first_axis[i] - along * axes.z[i];
    normalise(axes.x);
    for (int i = 0; i < 3; ++i)
        axes.y[i] =
            axes.z[(i + 1) % 3] * axes.x[(i + 2) % 3] - axes.z[(i + 2) % 3] * axes.x[(i + 1) % 3];
    return axes;
}

class Probing {
public:
    void probe(std::ofstream& out, const std::vector<Edge>& edges, const std::string& name) {
        int count = 0;
        for (const Edge& edge : edges) {
            const int points = static_cast<int>(edge.length() / step);
            for (int i = 0; i < points; ++i) {
                const Place at = place_on(edge, (i + 0.5) / points);
                const double off = ball / 2.0 + edge.growth + roughness * noise_.next();
                write(out, name + std::to_string(++count),
                      {at.p.x + at.outward.x * off + edge.shift.x,
                       at.p.y + at.outward.y * off + edge.shift.y},
                      height_spread * noise_.next());
            }
        }
    }

private:
    void write(std::ofstream& out, const std::string& id, Point centre, double height) {
        out << id;
        for (int i = 0; i < 3; ++i)
            out << ','
                << number(origin[i] + centre.x * axes_.x[i] + centre.y * axes_.y[i] +
                              height * axes_.z[i],
                          5);
        out << ',' << number(ball, 1) << '\n';
    }

    Noise noise_{90};
    Axes axes_ = frame_axes();
};

} // namespace

void write_link(const std::string& folder) {
    constexpr const char* header = "id,x,y,z,diameter\n";
    std::ofstream nominal(folder + "/link.txt"), probed(folder + "/link.csv");
    write_nominal(nominal);
    Probing probing;
    probed << header;
    probing.probe(probed, outer_edges(), "outer ");
    probing.probe(probed, bore({0.0, 0.0}, large_bore, {0.0, 0.0}), "bore ");
    const Probing before_bore = probing;
    const std::vector<Edge> small = bore({apart, 0.0}, small_bore, bore_shift);
    probing.probe(probed, small, "small bore ");
    probing.probe(probed, slot_edges(), "slot ");
    std::ofstream alone(folder + "/bore.csv");
    alone << header;
    Probing(before_bore).probe(alone, small, "small bore ");
    for (std::ofstream* const file : {&nominal, &probed, &alone}) {
        file->close();
        if (!*file) throw std::ios_base::failure("can't write");
    }
}

} // namespace demo
