// A pressed panel, curved both ways, with a hole. Writes panel.csv: for each point its nominal with
// the normal of the sheet and the centre of the ball that touched it, and for the edge of the hole
// the nominal points alone with the points of the edge. The panel lies a little off its place,
// waves a little, has one dent and a burr on the hole, and all is a little rough.
#include "sample_tools.h"

#include <fstream>
#include <numbers>

namespace demo {
namespace {

constexpr double half_length = 200.0, half_width = 120.0;
constexpr double along_radius = 900.0, across_radius = 400.0; // of curvature in the middle
constexpr double twist = 1.2e-4;
constexpr int columns = 13, rows = 8;
constexpr double ball = 4.0;

constexpr double wave = 0.05, wave_length = 260.0, roughness = 0.008;
constexpr double dent_depth = 0.5, dent_width = 32.0;
constexpr double dent_x = 88.0, dent_y = 45.0;
constexpr double turn = 0.0021, tilt = 0.0009; // radians, about z and then x
constexpr double shift[3] = {0.62, -0.38, 0.27};

constexpr double hole_x = -70.0, hole_y = -20.0, hole_radius = 14.0;
constexpr int hole_points = 8, burr_point = 2;
constexpr double hole_shift[2] = {0.07, -0.05}, burr = 0.26;

struct Place {
    double p[3], normal[3];
};

Place place_on_sheet(double x, double y) {
    const double z = -x * x / (2.0 * along_radius) - y * y / (2.0 * across_radius) + twist * x * y;
    const double along = -x / along_radius + twist * y, across = -y / across_radius + twist * x;
    const double length = std::hypot(along, across, 1.0);
    return {{x, y, z}, {-along / length, -across / length, 1.0 / length}};
}

class Panel {
public:
    explicit Panel(std::ofstream& out) : out_(out) {
        out_ << "id,nom_x,nom_y,nom_z,nom_i,nom_j,nom_k,x,y,z,diameter,act_x,act_y,act_z\n";
    }

    void probe_sheet() {
        for (int row = 0; row < rows; ++row)
            for (int column = 0; column < columns; ++column) {
                const double x = half_length * (2.0 * column / (columns - 1.0) - 1.0);
                const double y = half_width * (2.0 * row / (rows - 1.0) - 1.0);
                if (std::hypot(x - hole_x, y - hole_y) < hole_radius + ball) continue;
                const Place at = place_on_sheet(x, y);
                const double off = ball / 2.0 + form_error(x, y);
                double centre[3];
                for (int i = 0; i < 3; ++i)
                    centre[i] = at.p[i] + off * at.normal[i];
                const char letter = static_cast<char>('A' + row);
                begin(letter + std::to_string(column + 1), at.p);
                triple(at.normal, 9);
                moved(centre);
                out_ << ',' << number(ball, 1) << ",,,\n";
            }
    }

    void probe_hole() {
        for (int i = 0; i < hole_points; ++i) {
            const double angle = 2.0 * std::numbers::pi * i / hole_points;
            const double cosine = std::cos(angle), sine = std::sin(angle);
            const Place nominal =
                place_on_sheet(hole_x + hole_radius * cosine, hole_y + hole_radius * sine);
            const double inward = (i == burr_point ? burr : 0.0) + roughness * noise_.next();
            const Place edge = place_on_sheet(nominal.p[0] + hole_shift[0] - inward * cosine,
                                              nominal.p[1] + hole_shift[1] - inward * sine);
            begin("hole " + std::to_string(i + 1), nominal.p);
            out_ << ",,,,,,,";
            moved(edge.p);
            out_ << '\n';
        }
    }

private:
    double form_error(double x, double y) {
        const double from_dent = std::hypot(x - dent_x, y - dent_y) / dent_width;
        return wave * std::sin(2.0 * std::numbers::pi * (x + y) / wave_length) +
               roughness * noise_.next() - dent_depth * std::exp(-0.5 * from_dent * from_dent);
    }

    void begin(const std::string& id, const double (&nominal)[3]) {
        out_ << id;
        triple(nominal, 9);
    }

    void triple(const double (&v)[3], int decimals) {
        for (const double value : v)
            out_ << ',' << number(value, decimals);
    }

    // Where the machine finds a point of the panel.
    void moved(const double (&p)[3]) {
        const double x = std::cos(turn) * p[0] - std::sin(turn) * p[1];
        const double y = std::sin(turn) * p[0] + std::cos(turn) * p[1];
        triple({x + shift[0], std::cos(tilt) * y - std::sin(tilt) * p[2] + shift[1],
                std::sin(tilt) * y + std::cos(tilt) * p[2] + shift[2]},
               5);
    }

    std::ofstream& out_;
    Noise noise_{77};
};

} // namespace

void write_panel(const std::string& folder) {
    std::ofstream out(folder + "/panel.csv");
    Panel panel(out);
    panel.probe_sheet();
    panel.probe_hole();
    out.close();
    if (!out) throw std::ios_base::failure("can't write");
}

} // namespace demo
