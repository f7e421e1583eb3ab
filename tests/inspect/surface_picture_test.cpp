// The pictures of an inspected part: which face shows which colour from where, and the data of the
// page's view read back as its script reads it.
#include "inspect/picture/surface_data.h"
#include "inspect/picture/surface_raster.h"
#include "support/test.h"

namespace {

using namespace velm::inspect;
using velm_test::Random;

// A box of 40, 20 and 10 away from the origin: faces -x, +x, -y, +y, -z, +z, two triangles each,
// which share the corners of the box.
ViewMesh box_mesh() {
    ViewMesh mesh;
    const ERPoint3D low(500, -30, 7);
    for (int i = 0; i < 8; ++i)
        mesh.positions.push_back(low +
                                 ERVector3D(40.0 * (i & 1), 20.0 * (i >> 1 & 1), 10.0 * (i >> 2)));
    mesh.normals.assign(8, ERVector3D(0, 0, 1));
    const int corners[6][4] = {{0, 4, 6, 2}, {1, 3, 7, 5}, {0, 1, 5, 4},
                               {2, 6, 7, 3}, {0, 2, 3, 1}, {4, 5, 7, 6}};
    for (int face = 5; face >= 0; --face) { // in no order
        const int* const c = corners[face];
        mesh.triangles.push_back({c[0], c[1], c[2]});
        mesh.triangles.push_back({c[0], c[2], c[3]});
        mesh.face_of_triangle.insert(mesh.face_of_triangle.end(), 2, face);
    }
    for (int face = 0; face < 6; ++face)
        mesh.faces.push_back({"/box/" + std::to_string(face), "plane"});
    return mesh;
}

ViewPoint point_at(double x, double y, double z, const ERVector3D& outward, int face,
                   double deviation, PointState state) {
    ViewPoint point;
    point.foot = ERPoint3D(500 + x, -30 + y, 7 + z);
    point.outward = {float(outward.i()), float(outward.j()), float(outward.k())};
    point.deviation = float(deviation);
    point.face = face;
    point.state = state;
    return point;
}

// On the top deviations that rise with x, on +x some above the limit, and one without a face.
std::vector<ViewPoint> some_points() {
    std::vector<ViewPoint> points;
    for (int i = 0; i < 40; ++i)
        for (int j = 0; j < 20; ++j)
            points.push_back(point_at(i + 0.5, j + 0.5, 10, {0, 0, 1}, 5, 0.002 * (i + 0.5) - 0.04,
                                      PointState::in));
    for (int j = 0; j < 20; ++j)
        for (int k = 0; k < 10; ++k)
            points.push_back(point_at(40, j + 0.5, k + 0.5, {1, 0, 0}, 1, 0.2, PointState::above));
    points.push_back(point_at(70, 10, 5, {0, 0, 0}, -1, 0.0, PointState::unassigned));
    return points;
}

TEST(SurfacePicture, VerticesHaveTheDeviationOfThePointsOfTheirFace) {
    const auto points = some_points();
    const ColoredMesh mesh = color_mesh(box_mesh(), points);
    ASSERT_EQ(mesh.faces.size(), 6u);
    EXPECT_EQ(mesh.edges.size(), 24u); // four on each face
    EXPECT_DOUBLE_EQ(mesh.origin.x(), 520.0);
    std::size_t first = 0;
    for (int face = 0; face < 6; ++face) {
        const std::size_t count = mesh.faces[std::size_t(face)].vertices;
        EXPECT_EQ(mesh.faces[std::size_t(face)].points, face == 5 ? 800u : face == 1 ? 200u : 0u);
        EXPECT_EQ(mesh.faces[std::size_t(face)].points_out, face == 1 ? 200u : 0u);
        for (std::size_t i = first; i < first + count; ++i) {
            const ColoredMesh::Vertex& vertex = mesh.vertices[i];
            EXPECT_EQ(vertex.cover, face == 5 || face == 1 ? 1.0F : 0.0F) << face;
            EXPECT_NEAR(vertex.out, face == 1 ? 1.0F : 0.0F, 1e-6F);
            // A mean about a place is the value there, except at the border.
            const bool is_within = std::fabs(vertex.position[0]) < 18.0F;
            if (face == 5 && is_within) {
                EXPECT_NEAR(vertex.deviation, 0.002F * vertex.position[0], 6e-4F);
            } else if (face == 1) {
                EXPECT_NEAR(vertex.deviation, 0.2F, 1e-6F);
            }
        }
        first += count;
    }
    EXPECT_EQ(first, mesh.vertices.size());
    EXPECT_GT(mesh.faces[5].vertices, 800u);
    EXPECT_EQ(mesh.faces[0].vertices, 4u);
    // Refined without gaps: the triangles still fill the faces.
    double area = 0.0;
    for (const auto& t : mesh.triangles) {
        const auto at = [&](int k) {
            const auto& p = mesh.vertices[t[std::size_t(k)]].position;
            return ERPoint3D(p[0], p[1], p[2]);
        };
        area += 0.5 * (ERVector3D(at(0), at(1)) ^ ERVector3D(at(0), at(2))).norme();
    }
    EXPECT_NEAR(area, 2.0 * (40 * 20 + 40 * 10 + 20 * 10), 1e-2);
    EXPECT_LE(color_mesh(box_mesh(), points, 100).vertices.size(), 400u);
}

// A still shows each face from its side only, in its colour; the part fills its outline.
// A strip of triangles 200 long and 0.5 wide is cut across, not into threads, and has no gaps.
TEST(SurfacePicture, ThinTrianglesAreCutWithinTheRoom) {
    ViewMesh mesh{{{"/strip", "plane"}}, {}, {}, {}, {}};
    for (int i = 0; i <= 60; ++i)
        for (const double y : {0.0, 200.0})
            mesh.positions.emplace_back(0.5 * i, y, 0.0);
    mesh.normals.assign(mesh.positions.size(), ERVector3D(0, 0, 1));
    for (int i = 0; i < 120; ++i)
        mesh.triangles.push_back(i % 2 ? std::array{i, i + 1, i + 2} : std::array{i, i + 2, i + 1});
    mesh.face_of_triangle.assign(120, 0);
    std::vector<ViewPoint> points;
    for (int i = 0; i < 20000; ++i)
        points.push_back(
            point_at(i % 100 * 0.3 - 500, i / 100 + 30.5, -7, {0, 0, 1}, 0, 0.01, PointState::in));
    for (const std::size_t room : {2000u, 10000u}) {
        const ColoredMesh cut = color_mesh(mesh, points, room);
        EXPECT_LE(cut.vertices.size(), room);
        EXPECT_GT(cut.vertices.size(), room / 3);
        std::map<std::pair<std::uint32_t, std::uint32_t>, double> open; // sides without a neighbour
        double area = 0.0, longest = 0.0;
        for (const auto& t : cut.triangles) {
            std::array<std::array<double, 2>, 3> p{};
            for (std::size_t k = 0; k < 3; ++k)
                p[k] = {cut.vertices[t[k]].position[0], cut.vertices[t[k]].position[1]};
            area += 0.5 * ((p[1][0] - p[0][0]) * (p[2][1] - p[0][1]) -
                           (p[2][0] - p[0][0]) * (p[1][1] - p[0][1]));
            for (std::size_t k = 0; k < 3; ++k) {
                const auto& [x, y] = p[(k + 1) % 3];
                const double length = std::hypot(x - p[k][0], y - p[k][1]);
                longest = std::max(longest, length);
                if (open.erase({t[(k + 1) % 3], t[k]}) == 0) open[{t[k], t[(k + 1) % 3]}] = length;
            }
        }
        double border = 0.0;
        for (const auto& [side, length] : open)
            border += length;
        EXPECT_NEAR(area, 6000.0, 1e-2);
        EXPECT_NEAR(border, 460.0, 1e-2);
        EXPECT_LT(longest, room == 2000 ? 16.0 : 4.0);
    }
}

TEST(SurfacePicture, StillsShowTheFacesThatAreInFront) {
    auto points = some_points();
    points.erase(points.begin() + 800, points.end() - 1); // without points that are seen through
    const auto above = some_points();
    const ColoredMesh mesh = color_mesh(box_mesh(), above);
    const DeviationScale colors(velm::Tolerance{-0.05, 0.05}, 0.1);
    StillScale scale;
    scale.pixels_of_unit = 6.0;
    scale.border = 1.0;
    scale.longest_whisker = 1.0;
    scale.is_judged = true;
    const auto shown = [&](int view, int color) { // the share of the picture in a class's shades
        const IndexedImage image = draw_still(mesh, std::span(points).last(1),
                                              standard_views()[std::size_t(view)], scale, colors);
        const int first = 4 + 16 * color;
        return double(std::count_if(image.pixels.begin(), image.pixels.end(),
                                    [&](int n) { return n >= first && n < first + 16; })) /
               double(image.pixels.size());
    };
    enum { front, right, back, left, top, bottom };
    constexpr int bare = DeviationScale::classes;
    EXPECT_GT(shown(right, DeviationScale::above), 0.45); // less if pixels are left out
    for (const int view : {front, back, left, top, bottom})
        EXPECT_EQ(shown(view, DeviationScale::above), 0.0) << view;
    for (int color = 1; color < DeviationScale::above; ++color)
        EXPECT_GT(shown(top, color), 0.03) << color;
    for (const int view : {front, back, left, bottom})
        EXPECT_GT(shown(view, bare), 0.7) << view;
    // Dimensions: 40 by 20 with a border of 1, six pixels a unit.
    const IndexedImage image = draw_still(mesh, points, standard_views()[top], scale, colors);
    EXPECT_EQ(image.width, 252);
    EXPECT_EQ(image.height, 132);
}

double half_value(unsigned bits) {
    const int exponent = bits >> 10 & 31;
    const double digits = bits & 1023;
    const double size =
        exponent > 0 ? std::ldexp(1024 + digits, exponent - 25) : std::ldexp(digits, -24);
    return (bits & 0x8000) != 0 ? -size : size;
}

TEST(SurfacePicture, DataOfTheViewReadsBack) {
    Random draw{31};
    auto points = some_points();
    for (ViewPoint& point : points)
        point.deviation = float(std::ldexp(draw.uniform(-1, 1), draw.below(14) - 9));
    const ColoredMesh mesh = color_mesh(box_mesh(), points);
    const DeviationScale colors(velm::Tolerance{-0.05, 0.05}, 0.1);
    const double unit = half_unit(points);
    const auto word = [](const std::uint8_t* at) { return unsigned(at[0] | at[1] << 8); };
    for (const PointGroup group : {PointGroup::within, PointGroup::out, PointGroup::unassigned}) {
        const PackedPlaces packed = pack_points(mesh, points, group, unit, colors);
        ASSERT_EQ(packed.bytes.size(), group == PointGroup::within ? 12 * 800u
                                       : group == PointGroup::out  ? 12 * 200u
                                                                   : 12u);
        for (std::size_t i = 0; i < packed.bytes.size(); i += 12) {
            const std::uint8_t* const at = &packed.bytes[i];
            std::size_t nearest = 0;
            double best = HUGE_VAL;
            for (std::size_t n = 0; n < points.size(); ++n) {
                double off = 0.0;
                for (int k = 0; k < 3; ++k)
                    off = std::max(off, std::fabs(packed.cube.low[std::size_t(k)] +
                                                  packed.cube.side / 65535 * word(at + 2 * k) +
                                                  mesh.origin[k] - points[n].foot[k]));
                if (off < best) {
                    best = off;
                    nearest = n;
                }
            }
            const ViewPoint& point = points[nearest];
            EXPECT_LE(best, packed.cube.side / 65535);
            EXPECT_NEAR(half_value(word(at + 8)) * unit, point.deviation,
                        std::fabs(point.deviation) * 0x1p-11 + unit * 0x1p-25);
            EXPECT_EQ(at[10], color_of(point, colors));
            EXPECT_EQ(at[11], int(point.state));
            if (point.face >= 0) { // x and y of the normal, which has no third part below
                EXPECT_EQ(at[6], point.face == 1 ? 127 : 0);
                EXPECT_EQ(at[7], 0);
            }
        }
    }
    // The corners and ends after the vertices.
    const PackedPlaces packed = pack_mesh(mesh, unit);
    std::size_t at = 12 * mesh.vertices.size();
    std::int64_t last = 0;
    const auto next = [&] {
        std::int64_t folded = 0;
        for (int shift = 0;; shift += 7) {
            const int byte = packed.bytes.at(at++);
            folded |= std::int64_t(byte & 127) << shift;
            if (byte < 128) break;
        }
        last += folded % 2 != 0 ? -(folded + 1) / 2 : folded / 2;
        return std::uint32_t(last);
    };
    for (const auto& triangle : mesh.triangles)
        for (const std::uint32_t corner : triangle)
            ASSERT_EQ(next(), corner);
    last = 0;
    for (const auto& edge : mesh.edges)
        for (const std::uint32_t end : edge)
            ASSERT_EQ(next(), end);
    EXPECT_EQ(at, packed.bytes.size());
}

} // namespace
