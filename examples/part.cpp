// Makes a plate with a bore of seven faces: the edges that they share, signed distances of probed
// points, a point between two walls with its direction, and one mesh of the whole part.
#include <velm/part.h>

#include <cstdio>
#include <utility>
#include <vector>

namespace {

constexpr double length = 60, width = 40, height = 10, radius = 12, full_turn = 6.283185307179586;
constexpr double tolerance = 0.001;

// A rectangle from a corner of the plate, whose normal, x ^ y, points out of the material.
ERTrimmedSurface wall(const ERPoint3D& corner, const ERVector3D& x, const ERVector3D& y,
                      double along_x, double along_y) {
    ERTrimmedSurface face(
        ERBoundedPlane(ERChgRepere3D(x, y, corner), {-1, along_x + 1}, {-1, along_y + 1}));
    face.addBound(ERPolyline2D({{0, 0}, {along_x, 0}, {along_x, along_y}, {0, along_y}, {0, 0}}),
                  ERSurfaceBoundary::outer);
    return face;
}

std::vector<velm::PartFace> plate() {
    const ERVector3D x(1, 0, 0), y(0, 1, 0), z(0, 0, 1);
    ERTrimmedSurface bottom = wall({0, 0, 0}, y, x, width, length);
    ERTrimmedSurface top = wall({0, 0, height}, x, y, length, width);
    bottom.addBound(ERArc2D({width / 2, length / 2}, radius, 0.0, full_turn),
                    ERSurfaceBoundary::inner);
    top.addBound(ERArc2D({length / 2, width / 2}, radius, 0.0, full_turn),
                 ERSurfaceBoundary::inner);
    const ERBoundedCylinder bore(ERChgRepere3D(x, y, {length / 2, width / 2, 0}), radius,
                                 {0, height}, {0, full_turn});
    std::vector<velm::PartFace> faces;
    for (const ERTrimmedSurface& face : {bottom, top, wall({0, 0, 0}, x, z, length, height),
                                         wall({length, 0, 0}, y, z, width, height),
                                         wall({length, width, 0}, -x, z, length, height),
                                         wall({0, width, 0}, -y, z, width, height)})
        faces.push_back({*velm::prepare_face(face), velm::outward_side(face)});
    // u is the height and v the angle, so that the normal points to the axis: out of the material
    // about a bore, into that of a shaft.
    faces.push_back({*velm::prepare_face(bore), 1});
    return faces;
}

const char* name_of(velm::PartSide side) {
    switch (side) {
    case velm::PartSide::certain:
        return "foot in a face";
    case velm::PartSide::edge:
        return "foot where faces meet";
    case velm::PartSide::open_edge:
        return "foot at an open edge";
    case velm::PartSide::uncertain:
        break;
    }
    return "side uncertain";
}

void print(const ERPoint3D& p, const velm::PartFoot& foot) {
    std::printf("(%g, %g, %g): ", p.x(), p.y(), p.z());
    if (foot.face < 0) {
        std::printf("no place\n");
        return;
    }
    std::printf("%+.4f, %s", foot.signed_distance, name_of(foot.side));
    if (foot.side == velm::PartSide::certain) std::printf(", number %d", foot.face);
    std::printf("%s\n", foot.certified ? "" : ", not certified");
}

void print(const velm::PartEdges& edges) {
    std::printf("%zu stretches of %d edges, %d open, gaps %s\n", edges.all().size(), edges.joints(),
                edges.open(), edges.largest_gap() < 1e-9 ? "of rounding" : "to be looked at");
}

} // namespace

int main() {
    std::vector<velm::PartFace> faces = plate();
    const auto part = velm::PreparedPart::of(faces, tolerance);
    if (!part) return 1;
    print(part->edges());

    // Over the top, in the material, in the bore, beside a corner, beneath the edge of the bore.
    const std::vector<ERPoint3D> points{
        {10, 10, 10.02}, {10, 5, 8}, {41.99, 20, 5}, {-0.3, -0.4, -1.2}, {18.5, 20, -0.5}};
    std::vector<velm::PartFoot> feet(points.size());
    part->nearest(points, feet);
    for (std::size_t i = 0; i < points.size(); ++i)
        print(points[i], feet[i]);

    // Probed from above, the point belongs to the top, although the bottom is nearer; with a limit
    // below its distance it has no place.
    velm::PartSearch search;
    search.direction = ERVector3D(0, 0, 1);
    search.max_angle = 0.5;
    print({10, 10, 4}, part->nearest({10, 10, 4}));
    print({10, 10, 4}, part->nearest({10, 10, 4}, search));
    search.max_distance = 5;
    print({10, 10, 4}, part->nearest({10, 10, 4}, search));

    const velm::PartMesh mesh = velm::tessellate(*part, 0.01);
    double volume = 0.0; // by the divergence theorem, from the corner of the plate
    for (const auto& t : mesh.triangles) {
        const ERVector3D a(ERPoint3D(), mesh.positions[std::size_t(t[0])]);
        const ERVector3D b(ERPoint3D(), mesh.positions[std::size_t(t[1])]);
        const ERVector3D c(ERPoint3D(), mesh.positions[std::size_t(t[2])]);
        volume += (a ^ b) * c / 6;
    }
    std::printf("mesh: %s, %s, volume %.0f\n", mesh.closed ? "closed" : "with holes",
                mesh.certified ? "within 0.01 of the part" : "not certified", volume);

    // Without the bore's wall both circles are open.
    faces.pop_back();
    const auto open_part = velm::PreparedPart::of(std::move(faces), tolerance);
    if (!open_part) return 1;
    print(open_part->edges());
    for (const velm::PartEdge& edge : open_part->edges().all())
        if (edge.kind == velm::PartEdgeKind::open)
            std::printf("  face %d, loop %d, from %g to %g\n", edge.face, edge.loop, edge.from,
                        edge.to);
    std::printf("mesh: %zu borders\n", velm::tessellate(*open_part, 0.01).borders.size());
}
