// Targets: their measures and texts, their record and archive forms, and how they move.
#include "velm/measure/target_point.h"

#include "support/archives.h"
#include "support/geometry.h"
#include "support/temporary_folder.h"
#include "velm/frame/radian.h"
#include "velm/store/database.h"

namespace {

using namespace velm_test;

const ERPoint3D nominal(1, 2, 3);
const ERCMMPointWithDiameter ball(ERPoint3D(1.5, 2, 5), ERPoint3D(1, 2, 9), 2, 7);
const gmTargetPoint direct_target(nominal, ball);
const gmTargetPoint plane_target(nominal, ball, ERVector3D(0, 0, 8));

const double direct_numbers[] = {1.5, 2, 5, 0, 0, 0};
const double plane_numbers[] = {1.5, 2, 4, 0, 0, 1};

TEST(TargetPoint, Measures) {
    double to_plane = -7, on_plane = -7;
    ERVector3D normal(7, 7, 7);
    EXPECT_FALSE(direct_target.is_compensated() || direct_target.get_surface_normal(normal) ||
                 direct_target.get_distance_to_plane(to_plane) ||
                 direct_target.get_distance_on_plane(on_plane));
    EXPECT_TRUE(to_plane == -7 && on_plane == -7 && normal == ERVector3D(7, 7, 7));
    EXPECT_EQ(direct_target.acceptance_distance(), std::sqrt(0.25 + 4));
    EXPECT_EQ(gmTargetPoint(nominal, {nominal, nominal, 3, 1}).acceptance_distance(), 0);

    // The ball of 2 touches one below its centre; a deviation along the normal is not one on the
    // plane.
    EXPECT_EQ(plane_target.calculated_point(), ERPoint3D(1.5, 2, 4));
    EXPECT_TRUE(plane_target.get_distance_to_plane(to_plane) &&
                plane_target.get_distance_on_plane(on_plane) &&
                plane_target.get_surface_normal(normal));
    EXPECT_TRUE(to_plane == 1 && on_plane == 0.5 && normal == ERVector3D(0, 0, 1));
    EXPECT_EQ(plane_target.acceptance_distance(), 0.5);
    EXPECT_EQ(plane_target.distance_to_point(), std::sqrt(0.25 + 1));
    const gmTargetPoint below(nominal, {ERPoint3D(1, 2, 1), nominal, 0, 1}, ERVector3D(0, 0, 1));
    EXPECT_EQ(below.distance_to_plane(), -2);

    EXPECT_EQ(text_of(direct_target), "gmTargetPoint {\n  DIRECT\n  Target:   [1,2,3]\n"
                                      "  Point:    CMM Point  [1.5,2,5] pretouch=[1,2,9]\n"
                                      "  Calc:     [1.5,2,5]\n  Distance: 2.06155\n}\n");
    EXPECT_EQ(text_of(plane_target),
              "gmTargetPoint {\n  ON PLANE\n  Target:        [1,2,3]\n"
              "  Point:         CMM Point  [1.5,2,5] pretouch=[1,2,9]\n"
              "  Calc:          [1.5,2,4]\n  Distance:      1.11803\n  Normal:        <0,0,1>\n"
              "  Dist to plane: 1\n  Dist on plane: 0.5\n}\n");
}

TEST(TargetPoint, RecordsAndArchives) {
    const double places[] = {1.5, 2, 5, 1, 2, 9}, directions[] = {1.5, 2, 5, -0.5, 0, 4};
    const auto serialize = [](CArchive& archive, gmTargetPoint& target) {
        archive.IsStoring() ? archive << target : archive >> target;
    };
    const auto serialize_old = [](CArchive& archive, gmTargetPoint& target) {
        archive.IsStoring() ? target.write_serialize(archive) : target.read_serialize_old(archive);
    };
    for (const gmTargetPoint* target : {&direct_target, &plane_target}) {
        const BYTE mode = target == &plane_target;
        const double(&numbers)[6] = mode != 0 ? plane_numbers : direct_numbers;
        const std::string record = record_of(*target);
        EXPECT_EQ(record, bytes_of(mode, nominal, 7, places, numbers));
        gmTargetPoint back;
        restore(back, record);
        EXPECT_EQ(text_of(back), text_of(*target));
        EXPECT_EQ(back.measured_point().diameter, 0) << "the record has no place for it";

        const std::string bytes = bytes_of(mode, nominal, WORD{7}, directions, 2.0, numbers);
        EXPECT_EQ(archived([&](CArchive& archive) { archive << *target; }), bytes);
        expect_loaded(bytes, back, serialize);
        EXPECT_TRUE(text_of(back) == text_of(*target) && back.measured_point().diameter == 2);
        expect_loaded(bytes_of(mode, nominal, numbers), back, serialize_old);
        const ERCMMPointWithDiameter& measured = back.measured_point();
        EXPECT_EQ(measured.point, target->calculated_point());
        EXPECT_EQ(measured.pretouch, measured.point + ERPoint3D(0, 0, 1));
        EXPECT_TRUE(measured.id() == 0 && measured.diameter == 0);
    }
    // A target's form in a store is not its form in an archive.
    const TemporaryFolder folder;
    ERDataBase store;
    ASSERT_EQ(store.Open(folder.path("s").c_str(), 0), gmSuccess);
    const t_SmartPtr<ERObject> kept(new gmTargetPoint);
    ASSERT_EQ(store.save(kept), gmSuccess);
    const long place = kept->getObjectID();
    const std::string old = bytes_of(BYTE{1}, nominal, plane_numbers);
    const auto load_old = [&](CArchive& archive) {
        gmTargetPoint::castdown(*kept).read_serialize_old(archive);
    };
    EXPECT_TRUE(load_cause(old, load_old) == 0 && kept->getObjectID() == place && place > 0);
    EXPECT_TRUE(kept->Save(nullptr) != 0 && kept->getObjectID() == place);
    EXPECT_EQ(store.Close(), gmSuccess);
    // A mode of neither kind is kept, and its distance is never accepted.
    gmTargetPoint odd;
    expect_loaded(bytes_of(BYTE{9}, nominal, direct_numbers), odd, serialize_old);
    EXPECT_EQ(odd.acceptance_distance(), std::numeric_limits<double>::max());
    EXPECT_EQ(text_of(odd), "gmTargetPoint {\n}\n");
}

TEST(TargetPoint, Moves) {
    const ERPmIsometrie3D turn = ERTranslation3D(ERVector3D(5, 0, 0)) *
                                 ERRotation3D(ERVector3D(1, 0, 0), ERRadian(M_PI / 2));
    const ERPmSimilitude3D mirror = ERScaling3D(-2);
    // Expected: the nominal, the centre of the ball, its place before, the diameter, the normal.
    const auto expect = [](const gmTargetPoint& target, const ERPoint3D& place,
                           const ERPoint3D& centre, const ERPoint3D& before, double diameter,
                           const ERVector3D& normal) {
        const gmTargetPoint wanted(place, {centre, before, diameter, 7}, normal);
        ERVector3D actual;
        target.get_surface_normal(actual);
        EXPECT_LT(distance(target.target_point(), place) + (actual - normal).norme() +
                      distance(target.calculated_point(), wanted.calculated_point()) +
                      distance(target.measured_point().point, centre) +
                      distance(target.measured_point().pretouch, before) +
                      std::fabs(target.measured_point().diameter - diameter),
                  1e-14);
    };
    const gmTargetPoint turned = turn >> plane_target;
    expect(turned, {6, -3, 2}, {6.5, -5, 2}, {6, -9, 2}, 2, {0, -1, 0});
    expect(turn << turned, nominal, ball.point, ball.pretouch, 2, {0, 0, 1});
    gmTargetPoint scaled(plane_target), moved(plane_target);
    scaled.transformFrom(mirror);
    expect(scaled, {-2, -4, -6}, {-3, -4, -10}, {-2, -4, -18}, 4, {0, 0, -1});
    scaled.transformTo(mirror);
    EXPECT_EQ(scaled.measured_point().diameter, 8) << "multiplied in both directions";
    EXPECT_EQ(scaled.calculated_point(), plane_target.calculated_point());
    moved.scale(2);
    moved.translate(moved.target_point());
    expect(moved, {4, 8, 12}, {5, 8, 16}, {4, 8, 24}, 4, {0, 0, 1});
}

} // namespace
