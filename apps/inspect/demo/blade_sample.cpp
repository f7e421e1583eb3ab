// A blade section and its simulated probing.
//
// The section is of the NACA four-digit series (Jacobs, Ward and Pinkerton, NACA Report 460, 1933),
// with the last thickness coefficient that closes the trailing edge. Writes blade.dat, the nominal
// outline, and probed.csv, centres of a ball that touches a blade with a bow, a dent and some
// roughness; then blade_curve.txt, a NURBS curve through a part of the same points, and curve.csv,
// centres of a ball that touches a blade off that curve by the numbers of the column `displaced`.
// The same numbers at every run.
#include "sample_tools.h"
#include "velm/curves/arc_length.h"
#include "velm/curves/nurbs_fit.h"
#include "velm/curves/prepare.h"

#include <fstream>
#include <numbers>
#include <vector>

namespace demo {
namespace {

constexpr double chord = 160.0;
constexpr double camber = 0.04, camber_place = 0.4, thickness = 0.12; // 4412
constexpr double ball = 2.0;
constexpr int vertices_a_side = 120;
constexpr int probed_points = 420;

constexpr double bow = 0.035; // the blade's middle lies higher by this
constexpr double dent_depth = 0.13, dent_place = 0.31, dent_width = 0.018; // parts of the way round
constexpr double roughness = 0.0055;                                       // one standard deviation

constexpr int curve_degree = 3;
constexpr int interpolated_points = 61; // both ends are the trailing edge
constexpr int touched_points = 300;
constexpr double wear_depth = 0.09, wear_width = 0.035; // of the leading edge, parts of the way
constexpr double step_height = 0.07, step_begin = 0.86; // of the lower side before the end

// A point of the outline: `turn` runs from 0 at the trailing edge over the upper side, 0.5 at the
// leading edge, to 1 at the trailing edge.
Point on_blade(double turn) {
    const double x = 0.5 * (1.0 + std::cos(2.0 * std::numbers::pi * turn));
    const double half =
        5.0 * thickness *
        (0.2969 * std::sqrt(x) + x * (-0.1260 + x * (-0.3516 + x * (0.2843 - x * 0.1036))));
    const bool front = x < camber_place;
    const double run = front ? camber_place : 1.0 - camber_place;
    const double offset = front ? 0.0 : 1.0 - 2.0 * camber_place;
    const double line = camber / (run * run) * (offset + 2.0 * camber_place * x - x * x);
    const double slope = std::atan(2.0 * camber / (run * run) * (camber_place - x));
    const double side = turn < 0.5 ? 1.0 : -1.0;
    return {chord * (x - side * half * std::sin(slope)),
            chord * (line + side * half * std::cos(slope))};
}

void write_nominal(std::ofstream& out) {
    out << "Blade section, four-digit series 4412, chord 160 mm\n";
    for (int i = 0; i < 2 * vertices_a_side; ++i) {
        const Point p = on_blade(i / (2.0 * vertices_a_side));
        out << number(p.x, 6) << ' ' << number(p.y, 6) << '\n';
    }
}

// The way along the blade for equal steps: turns at equal arc lengths.
std::vector<double> equal_steps(int count) {
    constexpr int fine = 20000;
    std::vector<double> way{0.0};
    for (int i = 1; i <= fine; ++i) {
        const Point a = on_blade((i - 1.0) / fine), b = on_blade(double(i) / fine);
        way.push_back(way.back() + std::hypot(b.x - a.x, b.y - a.y));
    }
    std::vector<double> turns;
    for (int i = 0, at = 0; i < count; ++i) {
        const double wanted = way.back() * (i + 0.5) / count;
        while (way[static_cast<std::size_t>(at)] < wanted)
            ++at;
        turns.push_back(double(at) / fine);
    }
    return turns;
}

void write_probing(std::ofstream& out) {
    Noise noise(412);
    out << "id,x,y,z,i,j,k,diameter\n";
    int count = 0;
    for (const double turn : equal_steps(probed_points)) {
        const Point before = on_blade(turn - 1e-6), after = on_blade(turn + 1e-6);
        const double length = std::hypot(after.x - before.x, after.y - before.y);
        const Point normal{(after.y - before.y) / length, (before.x - after.x) / length};
        const Point p = on_blade(turn);
        const double along = p.x / chord;
        const double from_dent = (turn - dent_place) / dent_width;
        const double off = ball / 2.0 + roughness * noise.next() -
                           dent_depth * std::exp(-0.5 * from_dent * from_dent);
        const Point centre{p.x + normal.x * off,
                           p.y + normal.y * off + bow * 4.0 * along * (1.0 - along)};
        const std::string digits = std::to_string(1000 + ++count).substr(1);
        out << 'P' << digits << ',' << number(centre.x, 5) << ',' << number(centre.y, 5) << ",40,"
            << number(normal.x, 6) << ',' << number(normal.y, 6) << ",0," << number(ball, 1)
            << '\n';
    }
}

ERCpoleNURBS2D blade_curve() {
    std::vector<ERPoint2D> points;
    for (int i = 0; i < interpolated_points; ++i) {
        const Point p = on_blade(i / (interpolated_points - 1.0));
        points.emplace_back(p.x, p.y);
    }
    points.back() = points.front();
    return velm::interpolate(points, curve_degree).value();
}

void write_curve(std::ofstream& out, const ERCpoleNURBS2D& curve) {
    out << "Blade section, one NURBS curve of degree " << curve_degree << "\nN " << curve_degree
        << " knots";
    for (int i = 0; i < curve.getKnots().length(); ++i)
        out << ' ' << shortest(curve.getKnots()[i]);
    out << " poles";
    for (const ERPole2DH& pole : curve.getPoles())
        out << ' ' << shortest(pole.x()) << ' ' << shortest(pole.y()) << ' '
            << shortest(pole.weigth());
    out << '\n';
}

// How far the blade is off its curve at a part of the way round: worn at the leading edge, a step
// on the lower side where a second cut ends. In whole hundredths of a micrometre, so that the text
// of it is exact.
double displacement(double part, Noise& noise) {
    const double from_edge = (part - 0.5) / wear_width;
    const double wear = wear_depth * std::exp(-0.5 * from_edge * from_edge);
    const double step = part > step_begin ? step_height * (1.0 - part) / (1.0 - step_begin) : 0.0;
    return std::round((step - wear + roughness * noise.next()) * 1e5) * 1e-5;
}

void write_curve_probing(std::ofstream& out, const ERCpoleNURBS2D& given) {
    Noise noise(4412);
    const velm::PreparedCurve<2> curve = velm::prepare(given).value();
    const velm::ArcLengthTable<2> way(curve, 1e-6);
    const double length = way.total().value;
    out << "id,x,y,diameter,displaced\n";
    for (int i = 0; i < touched_points; ++i) {
        const double part = (i + 0.5) / touched_points;
        const auto at = curve.point_at(way.parameter_at(part * length));
        const ERVector2D along = at.tangente();
        // The curve runs counterclockwise: outside is on the right.
        const double scale = 1.0 / std::hypot(along.i(), along.j());
        const double off = displacement(part, noise), reach = (ball / 2.0 + off) * scale;
        out << 'C' << std::to_string(1001 + i).substr(1) << ','
            << number(at.point().x() + along.j() * reach, 10) << ','
            << number(at.point().y() - along.i() * reach, 10) << ',' << number(ball, 1) << ','
            << number(off, 5) << '\n';
    }
}

} // namespace

void write_blade(const std::string& folder) {
    std::ofstream nominal(folder + "/blade.dat"), probing(folder + "/probed.csv"),
        curve(folder + "/blade_curve.txt"), displaced(folder + "/curve.csv");
    const ERCpoleNURBS2D interpolated = blade_curve();
    write_nominal(nominal);
    write_probing(probing);
    write_curve(curve, interpolated);
    write_curve_probing(displaced, interpolated);
    for (std::ofstream* const file : {&nominal, &probing, &curve, &displaced}) {
        file->close();
        if (!*file) throw std::ios_base::failure("can't write");
    }
}

} // namespace demo
