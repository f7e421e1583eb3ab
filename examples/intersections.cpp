// Finds where curves meet: a spline and an outline of segments and arcs, the gap between two parts,
// and a pipe's axis near another one in space.
#include <velm/velm.h>

#include <cstdio>

int main() {
    // A slot of two arcs and two sides, and a wave through it.
    ERCompCurve2D slot = ERRoundedSlot2D({-20, 0}, {20, 0}, 10).composite_curve();
    const ERCpoleNURBS2D wave({{-40, -30, 1}, {-10, 90, 1}, {10, -90, 1}, {40, 30, 1}},
                              ERKnotVector(3, {0, 0, 0, 0, 1, 1, 1, 1}));
    const auto a = velm::prepare(wave);
    const auto b = velm::prepare(slot);
    if (!a || !b) return 1;
    const char* const kinds[] = {"crosses", "touches", "ends on", "runs along", "may meet"};
    for (const velm::CurveIntersection& i : velm::intersections(*a, *b))
        std::printf("the wave %s the slot at (%.4f, %.4f)\n", kinds[static_cast<int>(i.kind)],
                    i.point.x(), i.point.y());
    std::printf("the wave meets itself %zu times\n", velm::self_intersections(*a).size());

    // The certified gap to a round part beside the slot.
    const auto part = velm::prepare(ERCircle2D({45, 20}, 12));
    const velm::NearestPoints<2> gap = velm::nearest_points(*b, *part);
    std::printf("gap %.6f%s\n", gap.distance, gap.certified ? ", certified" : "");

    // Two axes in space that miss each other by 0.2.
    const auto first = velm::prepare(ERSegment3D({0, 10, 0}, {100, 10, 0}));
    const auto second = velm::prepare(ERSegment3D({50, -50, 0.2}, {50, 70, 0.2}));
    velm::SpaceIntersectionOptions options;
    options.tolerance = 0.5;
    std::vector<velm::SpaceIntersection> found;
    if (!velm::intersections(*first, *second, found, options)) return 1;
    for (const velm::SpaceIntersection& i : found)
        std::printf("the axes pass at (%.2f, %.2f, %.2f), %.2f apart\n", i.point.x(), i.point.y(),
                    i.point.z(), i.distance);
}
