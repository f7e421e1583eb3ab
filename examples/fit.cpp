// Fits a plane through probed points and reports its flatness; then a circle through a bore.
#include <velm/fit.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

int main() {
    // A surface plate, probed on a grid; one corner is 0.02 high.
    std::vector<ERPoint3D> plate;
    for (int i = 0; i < 5; ++i)
        for (int j = 0; j < 5; ++j)
            plate.emplace_back(50.0 * i, 40.0 * j, i == 4 && j == 4 ? 0.02 : 0.0);

    const velm::PlaneFit plane = velm::fit_plane(plate);
    if (plane.outcome != velm::FitOutcome::fitted) return 1;
    double lowest = 0.0, highest = 0.0;
    for (const ERPoint3D& p : plate) {
        lowest = std::min(lowest, plane.residual(p));
        highest = std::max(highest, plane.residual(p));
    }
    std::printf("plane: rms %.5f, flatness %.5f\n", plane.rms, highest - lowest);

    // A bore of radius 12 about (80, 30), probed at eight places.
    std::vector<ERPoint2D> bore;
    for (int i = 0; i < 8; ++i)
        bore.emplace_back(80.0 + 12.0 * std::cos(0.7 * i), 30.0 + 12.0 * std::sin(0.7 * i));
    const velm::CircleFit2D circle = velm::fit_circle(bore);
    if (circle.outcome != velm::FitOutcome::fitted) return 1;
    std::printf("bore: diameter %.4f, rms %.4f\n", 2.0 * circle.radius, std::abs(circle.rms));
}
