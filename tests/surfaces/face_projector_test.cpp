// Face projectors: nearest points of trimmed faces, their trims and corners included.
#include "velm/surfaces/face_projector.h"

#include "support/random.h"
#include "support/test.h"
#include "velm/frame/point_functions.h"
#include "velm/surfaces/bounded_plane.h"
#include "velm/surfaces/prepared_part.h"
#include "velm/surfaces/trimmed_surface.h"
#include "velm/transforms/transformation_factories.h"
#include "velm/wireframe/arc.h"
#include "velm/wireframe/polyline.h"

namespace {

using namespace velm_test;
using std::numbers::pi;
using Boundary = ERSurfaceBoundary;

Random draw{519};

ERPolygone2D rectangle(double u0, double u1, double v0, double v1) {
    return {{{u0, v0}, {u1, v0}, {u1, v1}, {u0, v1}}};
}

TEST(FaceProjector, PlaneWithABore) {
    ERTrimmedSurface trimmed(ERBoundedPlane(ERIdentity3D(), {-10, 10}, {-10, 10}));
    trimmed.addBound(rectangle(-4, 6, -5, 5), Boundary::outer);
    trimmed.addBound(ERArc2D({1, 2}, 2, 0, 2 * pi), Boundary::inner);
    const auto projector = velm::FaceProjector::on(*velm::prepare_face(trimmed));
    ASSERT_TRUE(projector);
    for (int i = 0; i < 2000; ++i) {
        const ERPoint3D p(draw.uniform(-12, 12), draw.uniform(-12, 12), draw.uniform(-5, 5));
        const double x = std::clamp(p.x(), -4.0, 6.0), y = std::clamp(p.y(), -5.0, 5.0);
        const double to_bore = std::hypot(p.x() - 1, p.y() - 2);
        double expected = std::hypot(p.x() - x, p.y() - y);
        if (to_bore < 2) expected = 2 - to_bore;
        const velm::FaceFoot foot = projector->nearest(p);
        EXPECT_NEAR(foot.distance, std::hypot(expected, p.z()), 1e-12) << p;
        EXPECT_EQ(foot.loop, expected == 0 ? -1 : to_bore < 2 ? 1 : 0) << p;
    }
}

} // namespace
