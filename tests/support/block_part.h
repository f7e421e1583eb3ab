// A block of 60 x 40 x 20 with a bore of radius 8 about x = 40, y = 20, as a nominal part.
#pragma once

#include "support/random.h"
#include "velm/inspection/nominal_part.h"
#include "velm/surfaces/bounded_plane.h"
#include "velm/surfaces/cylinder.h"
#include "velm/transforms/transformation_factories.h"
#include "velm/wireframe/arc.h"
#include "velm/wireframe/polyline.h"

#include <cmath>
#include <numbers>
#include <string>

namespace velm_test {

struct Block {
    static constexpr double length = 60, width = 40, height = 20, radius = 8;
    static ERPoint3D axis() { return {40, 20, 0}; }

    static velm::NominalPart part() {
        velm::NominalPart part;
        part.source = "block";
        part.format = "none";
        part.file_unit = "mm";
        const ERVector3D x(1, 0, 0), y(0, 1, 0), z(0, 0, 1);
        add(part, "top", plane(x, y, {0, 0, height}, length, width, true));
        add(part, "bottom", plane(y, x, {0, 0, 0}, width, length, true));
        add(part, "front", plane(x, z, {0, 0, 0}, length, height, false));
        add(part, "back", plane(z, x, {0, width, 0}, height, length, false));
        add(part, "left", plane(z, y, {0, 0, 0}, height, width, false));
        add(part, "right", plane(y, z, {length, 0, 0}, width, height, false));
        const double turn = 2 * std::numbers::pi;
        ERTrimmedSurface bore(
            ERBoundedCylinder(ERTranslation3D(axis()), radius, {0.0, height}, {0.0, turn}));
        bore.addBound(ERPolygone2D({{0, 0}, {height, 0}, {height, turn}, {0, turn}}),
                      ERSurfaceBoundary::outer);
        add(part, "bore", new ERTrimmedSurface(bore));
        return part;
    }

    static void save(const std::string& path) {
        ERDataBase data;
        if (data.Open(path.c_str(), 0) != gmSuccess) throw std::runtime_error(path);
        velm::save_part(data, part());
        data.Close();
    }

    /// A place inside of a face, 1 from its edges at least, and the normal out of the material.
    struct Place {
        std::string face;
        ERPoint3D point;
        ERVector3D normal;
    };
    static Place place(Random& random) {
        constexpr double away = 1;
        const auto in = [&](double to) { return random.uniform(away, to - away); };
        for (;;) {
            const double x = in(length), y = in(width), z = in(height);
            const bool on_rim = std::hypot(x - 40, y - 20) < radius + away;
            switch (random.below(7)) {
            case 0:
                if (on_rim) continue;
                return {"/block/top", {x, y, height}, {0, 0, 1}};
            case 1:
                if (on_rim) continue;
                return {"/block/bottom", {x, y, 0}, {0, 0, -1}};
            case 2:
                return {"/block/front", {x, 0, z}, {0, -1, 0}};
            case 3:
                return {"/block/back", {x, width, z}, {0, 1, 0}};
            case 4:
                return {"/block/left", {0, y, z}, {-1, 0, 0}};
            case 5:
                return {"/block/right", {length, y, z}, {1, 0, 0}};
            default:
                const double angle = random.uniform(0, 2 * std::numbers::pi);
                const ERVector3D outwards(std::cos(angle), std::sin(angle), 0);
                return {"/block/bore", axis() + radius * outwards + z * ERVector3D(0, 0, 1),
                        -outwards};
            }
        }
    }

private:
    // The third axis of the frame points out of the material.
    static ERTrimmedSurface* plane(const ERVector3D& u, const ERVector3D& v, const ERPoint3D& o,
                                   double to_u, double to_v, bool has_bore) {
        auto* const face = new ERTrimmedSurface(
            ERBoundedPlane(ERChgRepere3D(u, v, o), ERLimites(0, to_u), ERLimites(0, to_v)));
        face->addBound(ERPolygone2D({{0, 0}, {to_u, 0}, {to_u, to_v}, {0, to_v}}),
                       ERSurfaceBoundary::outer);
        if (has_bore) {
            const bool is_turned = u.j() != 0;
            const ERPoint2D centre = is_turned ? ERPoint2D(20, 40) : ERPoint2D(40, 20);
            face->addBound(ERArc2D(centre, radius, 0, 2 * std::numbers::pi),
                           ERSurfaceBoundary::inner);
        }
        return face;
    }
    static void add(velm::NominalPart& part, const std::string& name, ERTrimmedSurface* surface) {
        velm::NominalFace face;
        face.path = "/block/" + name;
        face.surface = surface;
        face.bounds_a_solid = true;
        part.faces.push_back(face);
    }
};

} // namespace velm_test
