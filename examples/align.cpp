// Brings measured points onto their nominal by the best rigid motion and reports the deviations.
#include <velm/align.h>

#include <cmath>
#include <cstdio>
#include <vector>

int main() {
    // Six places of a block: three on its top, two on its front, one on its side; each with the
    // normal of the surface. The part was set down 0.3 and 0.2 off its place; the last point of the
    // top is 0.05 high.
    struct Place {
        ERPoint3D nominal;
        ERVector3D normal;
        double fault;
    };
    const std::vector<Place> places{
        {{10, 10, 20}, {0, 0, 1}, 0.0},  {{90, 10, 20}, {0, 0, 1}, 0.0},
        {{50, 60, 20}, {0, 0, 1}, 0.0},  {{20, 0, 10}, {0, -1, 0}, 0.0},
        {{80, 0, 10}, {0, -1, 0}, 0.0},  {{0, 30, 10}, {-1, 0, 0}, 0.0},
        {{50, 30, 20}, {0, 0, 1}, 0.05},
    };
    const ERVector3D shift(0.3, 0.2, 0.0);
    std::vector<gmTargetPoint> targets;
    for (const Place& place : places) {
        const ERPoint3D measured = place.nominal + shift + place.normal * place.fault;
        targets.emplace_back(place.nominal, ERCMMPointWithDiameter(measured, place.normal, 0.0, 0),
                             place.normal);
    }

    const velm::Alignment found = velm::align(targets);
    std::printf("%s after %d steps, sum of squares %.4f before, %.6f after\n",
                found.converged ? "converged" : "not converged", found.iterations,
                found.squares_before, found.squares_after);
    for (gmTargetPoint& target : targets) {
        const ERPoint3D nominal = target.target_point();
        const ERPoint3D moved = found.apply(target.measured_point().probe_center());
        ERVector3D normal;
        target.get_surface_normal(normal);
        const double deviation = ERVector3D(nominal, moved) * normal;
        std::printf("(%g, %g, %g): %+.1f um\n", nominal.x(), nominal.y(), nominal.z(),
                    std::round(1e4 * deviation) / 10.0 + 0.0);
    }
}
