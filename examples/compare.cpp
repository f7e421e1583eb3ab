// Compares probed points with a nominal outline of lines and an arc: the foot, the side, and the
// deviation after the radius of the ball is taken off.
#include <velm/compare.h>

#include <cmath>
#include <cstdio>
#include <vector>

int main() {
    const double half_turn = 3.141592653589793;
    // A plate with a round end: the lower and the upper edge and the arc that joins them.
    ERSegment2D lower({0, 0}, {60, 0});
    ERSegment2D upper({60, 30}, {0, 30});
    const ERArc2D end({60, 15}, 15.0, ERRadian(-half_turn / 2), ERRadian(half_turn / 2));
    const double ball_radius = 1.0;

    for (const ERPoint2D& centre :
         {ERPoint2D(20, -1.01), ERPoint2D(76.02, 15), ERPoint2D(30, 31)}) {
        // The nearest of the three pieces.
        double best = 0.0, t = 0.0;
        lower.SignedMinimalDistance(centre, best, t);
        double distance = 0.0;
        upper.SignedMinimalDistance(centre, distance, t);
        if (std::abs(distance) < std::abs(best)) best = distance;
        const velm::ClosestPoint<ERPoint2D> foot = velm::closest_point(end, centre);
        const bool on_arc = foot.distance < std::abs(best);
        // The outline runs counter-clockwise: outside is on the right, where distances are
        // positive.
        const double outside = on_arc ? ERVector2D(ERPoint2D(60, 15), centre).norme() - 15.0 : best;
        std::printf("(%g, %g): %s, deviation %+.4f\n", centre.x(), centre.y(),
                    on_arc ? "on the arc" : "on an edge", outside - ball_radius);
    }
}
