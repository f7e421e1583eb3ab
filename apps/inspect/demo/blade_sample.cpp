// A blade section and its simulated probing.
//
// The section is of the NACA four-digit series (Jacobs, Ward and Pinkerton, NACA Report 460, 1933),
// with the last thickness coefficient that closes the trailing edge. Writes blade.dat, the nominal
// outline, and probed.csv, centres of a ball that touches a blade with a bow, a dent and some
// roughness. The same numbers at every run.
#include <fstream>
#include <numbers>
#include <vector>

#include "sample_tools.h"

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
            << number(-normal.x, 6) << ',' << number(-normal.y, 6) << ",0," << number(ball, 1)
            << '\n';
    }
}

} // namespace

void write_blade(const std::string& folder) {
    std::ofstream nominal(folder + "/blade.dat"), probing(folder + "/probed.csv");
    write_nominal(nominal);
    write_probing(probing);
    nominal.close();
    probing.close();
    if (!nominal || !probing) throw std::ios_base::failure("can't write");
}

} // namespace demo
