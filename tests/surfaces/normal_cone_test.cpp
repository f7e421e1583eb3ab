// Cones of normals: of the leaves of random surfaces against normals at dense places, and how many
// leaves a search by a direction has to look at.
#include "support/surfaces.h"
#include "velm/surfaces/detail/normal_cone.h"
#include "velm/surfaces/prepared_part.h"

namespace {

using velm::detail::NormalCone;
using velm::detail::SurfaceLeaf;
using velm::detail::SurfaceLeaves;
using velm_test::Random;

enum Kind { gentle, waved, heavy, high, collapsed, next_to_collapsed, sliver, kinds };

ERSpoleNURBS3D net_of(Random& random, int kind) {
    const int p = kind == high ? 6 : 1 + random.below(4), q = 1 + random.below(4), n = p + 2,
              m = q + 2;
    const double spread = kind == heavy ? 8.0 : 1.0;
    auto poles = velm_test::waved_net(random, n, m, 0.12, {1.0 / spread, spread});
    for (int k = 0; k < n * m; ++k) {
        ERPole3DH& pole = poles(k / n, k % n);
        if (kind == waved) pole.z() *= 8.0;
        if (kind == sliver) pole.y() *= 1e-4;
        const double along = kind == collapsed ? 0.0 : 1e-7;
        if (kind >= collapsed && kind <= next_to_collapsed && k < n)
            pole = ERPole3DH(0.5 * n + along * pole.x(), 0, along * pole.z(), 1);
    }
    return {poles, ERKnotVector(p, n, {0, 1}), ERKnotVector(q, m, {0, 1})};
}

double angle_between(const ERVector3D& a, const ERVector3D& b) {
    return std::atan2((a ^ b).norme(), a * b);
}

// The normals of a leaf are in its cone, and in that of the surface, by the surface's own
// derivatives; where they cancel, to what those leave.
void expect_inside(const velm::PreparedSurface& surface, const SurfaceLeaves& leaves,
                   const SurfaceLeaf& leaf, const NormalCone& own, const NormalCone& all) {
    constexpr double places[] = {-1 + 1e-6, -0.6, 0.1, 0.7, 1 - 1e-6}; // on this side of creases
    const double size = surface.box().diagonal();
    for (const double s : places)
        for (const double t : places) {
            const velm::SurfaceJet jet = surface.jet(leaves.u_at(leaf, s), leaves.v_at(leaf, t));
            const ERVector3D normal = jet.du ^ jet.dv;
            const double length = normal.norme();
            const double rounding = 1e-14 * size * (jet.du.norme() + jet.dv.norme()) / length;
            if (!(rounding < 1e-4)) continue;
            const double back[3] = {-normal.i() / length, -normal.j() / length,
                                    -normal.k() / length};
            for (const NormalCone* cone : {&own, &all}) {
                const ERVector3D axis(cone->axis[0], cone->axis[1], cone->axis[2]);
                ASSERT_LE(angle_between(axis, normal), cone->angle + rounding) << s << " " << t;
                ASSERT_TRUE(cone->may_reach(back, -1, rounding)) << s << " " << t;
            }
        }
}

TEST(NormalCone, HoldsTheNormalsOfItsLeavesAndLeavesOtherDirectionsOut) {
    Random random(211);
    for (int round = 0; round < 2 * kinds; ++round) {
        const int kind = round % kinds;
        const std::string what = std::to_string(kind) + " " + std::to_string(round);
        const ERSpoleNURBS3D given = net_of(random, kind);
        const auto surface = velm::prepare(given);
        ASSERT_TRUE(surface) << what;
        SurfaceLeaves leaves;
        std::vector<velm::detail::OrientedBox> boxes;
        leaves.build(*surface, velm::detail::leaf_frame(surface->box()), boxes);
        std::vector<NormalCone> cones;
        for (const SurfaceLeaf& leaf : leaves.leaves)
            cones.push_back(normal_cone(leaves, leaf));
        NormalCone all = cones[0];
        for (const NormalCone& cone : cones)
            all.join(cone);
        for (std::size_t k = 0; k < cones.size(); ++k)
            ASSERT_NO_FATAL_FAILURE(
                expect_inside(*surface, leaves, leaves.leaves[k], cones[k], all))
                << what;
        // A search for a direction that no normal is near to looks at no leaf, and where normals
        // vanish or turn fast at few.
        constexpr double down[3] = {0, 0, -1}, reach = 0.1;
        const auto looked_at = static_cast<std::size_t>(
            std::count_if(cones.begin(), cones.end(),
                          [&](const auto& cone) { return cone.may_reach(down, 1, reach); }));
        const bool is_level = kind == gentle || kind == high;
        EXPECT_LE(looked_at, is_level ? 0 : cones.size() / 5) << what << " of " << cones.size();
        if (!is_level) continue;
        const auto part = velm::PreparedPart::of({{*velm::prepare_face(given), 1}}, 1e-6);
        velm::PartSearch search;
        search.direction = ERVector3D(0, 0, -1);
        search.max_angle = reach;
        EXPECT_EQ(part->nearest(ERPoint3D(1, 1, 3), search).face, -1) << what;
        search.direction = ERVector3D(0, 0, 1);
        search.max_angle = 1.5;
        EXPECT_EQ(part->nearest(ERPoint3D(1, 1, 3), search).face, 0) << what;
    }
}

} // namespace
