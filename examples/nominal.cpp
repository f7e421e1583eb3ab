// Makes a nominal surface through four sections, boxes it, triangulates it to 0.01 and looks
// whether a blank of it is a simple shape.
#include <velm/nominal.h>

#include <cstdio>
#include <vector>

int main() {
    // Sections of a blade, 20 apart: arcs that open and turn.
    std::vector<ERCpoleNURBS3D> sections;
    for (int k = 0; k < 4; ++k) {
        ERArc3D arc(ERPmIsometrie3D(), 30.0 + 4.0 * k, ERRadian(0.2 * k), ERRadian(1.2 + 0.3 * k));
        ERCpoleNURBS3D section = arc.ConvertToNurbs();
        section.translate({0, 0, 20.0 * k});
        sections.push_back(section);
    }
    const auto blade = velm::loft(sections, 3);
    if (!blade) return 1;
    std::printf("loft: %d x %d poles, degrees %d and %d\n", blade->surface.nbPolesU(),
                blade->surface.nbPolesV(), blade->surface.degreeU(), blade->surface.degreeV());

    const auto surface = velm::prepare(blade->surface);
    if (!surface) return 1;
    const velm::TightBox found = velm::tight_box(*surface, 1e-6);
    std::printf("box: %.3f x %.3f x %.3f\n", found.box.length(Coord3D_X),
                found.box.length(Coord3D_Y), found.box.length(Coord3D_Z));

    const velm::SurfaceMesh mesh = velm::tessellate(*surface, 0.01);
    double area = 0.0;
    for (const auto& t : mesh.triangles) {
        const ERPoint3D& a = mesh.positions[std::size_t(t[0])];
        const ERVector3D ab(a, mesh.positions[std::size_t(t[1])]);
        const ERVector3D ac(a, mesh.positions[std::size_t(t[2])]);
        area += 0.5 * (ab ^ ac).norme();
    }
    std::printf("mesh: %s, area %.1f\n",
                mesh.certified ? "within 0.01 of the surface" : "not certified", area);

    // A blank between two equal arcs is a cylinder, although nothing in its poles says so.
    ERCpoleNURBS3D raised = sections[0];
    raised.translate({0, 0, 50});
    const auto blank = velm::ruled(sections[0], raised);
    if (!blank) return 1;
    const auto shape = velm::recognize(*velm::prepare(*blank), 1e-6);
    if (!shape || shape->kind != velm::SurfaceKind::cylinder) return 1;
    const auto* const cylinder = ERBoundedCylinder::castdown(shape->surface.get());
    std::printf("blank: a cylinder of radius %.3f, %s\n", cylinder->radius(),
                shape->deviation < 1e-9 ? "to rounding" : "nearly");
}
