// A housing with a free-form lid, a boss with a fillet and a drilled hole, two bores and a pocket
// in its front. Writes housing.velm, a closed solid of 18 trimmed faces, and scan.ply, a simulated
// scan of them: the lid is warped and has a bump, one bore is off its place, and all is a little
// rough.
#include "sample_tools.h"

#include "velm/curves/composite_curve.h"
#include "velm/curves/nurbs_curve.h"
#include "velm/inspection/nominal_part.h"
#include "velm/platform/file_exception.h"
#include "velm/store/database.h"
#include "velm/surfaces/bounded_plane.h"
#include "velm/surfaces/cone.h"
#include "velm/surfaces/cylinder.h"
#include "velm/surfaces/nurbs_surface.h"
#include "velm/surfaces/torus.h"
#include "velm/transforms/transformation_factories.h"
#include "velm/wireframe/arc.h"
#include "velm/wireframe/segment.h"

#include <algorithm>
#include <bit>
#include <filesystem>
#include <fstream>
#include <functional>
#include <numbers>
#include <numeric>
#include <vector>

namespace demo {
namespace {

using std::numbers::pi;

constexpr double length = 150.0, width = 90.0, plateau = 40.0; // of the lid, where it is flat
constexpr int spans_x = 15, spans_y = 9, degree = 3;           // of the lid
constexpr double hump = 16.0;                                  // height of its poles
constexpr double boss_x = 112.0, boss_y = 45.0, boss_radius = 14.0, boss_top = 58.0, fillet = 4.0;
constexpr double hole_radius = 7.0, hole_floor = 20.0, drill_angle = 59.0 * pi / 180.0;
constexpr double bore_x = 136.0, bore_y[2] = {14.0, 76.0}, bore_radius = 5.0;
constexpr double pocket_x = 40.0, pocket_z = 20.0, pocket_half = 16.0, pocket_radius = 8.0,
                 pocket_depth = 6.0;

constexpr double bump = 0.25, bump_x = 38.0, bump_y = 52.0, bump_width = 7.0;
constexpr double warp = 0.09, roughness = 0.008;
constexpr double bore_shift[2] = {0.13, -0.07}; // of the first bore
constexpr int scanned_points = 20000, least_points = 150;

ERVec<double> even_knots(int spans, double end) {
    ERVec<double> knots(spans + 1 + 2 * degree);
    for (int i = 0; i < knots.size(); ++i)
        knots[i] = end * std::clamp(i - degree, 0, spans) / spans;
    return knots;
}

// Where a pole has to be for the curve to run evenly through its parameter.
double even_place(const ERVec<double>& knots, int pole) {
    double sum = 0.0;
    for (int k = 1; k <= degree; ++k)
        sum += knots[pole + k];
    return sum / degree;
}

// The lid is a height over x and y, which are its parameters.
struct Lid {
    ERVec<double> knots_x = even_knots(spans_x, length), knots_y = even_knots(spans_y, width);

    ERPoint3D pole(int i, int j) const {
        const double x = even_place(knots_x, i), y = even_place(knots_y, j);
        const double along = x < 70.0 ? std::cos(pi * x / 140.0) * std::cos(pi * x / 140.0) : 0.0;
        const double across = 0.55 + 0.45 * std::cos(2.0 * pi * (y - 55.0) / 110.0);
        return {x, y, plateau + hump * along * across * (1.0 + 0.25 * std::sin(x / 13.0))};
    }
    int poles_x() const { return spans_x + degree; }
    int poles_y() const { return spans_y + degree; }

    t_SmartPtr<ERAnyBoundedSurface> surface() const {
        ERMatrix<ERPole3DH> poles(poles_y(), poles_x());
        for (int j = 0; j < poles_y(); ++j)
            for (int i = 0; i < poles_x(); ++i)
                poles(j, i) = ERPole3DH(pole(i, j), 1.0);
        return static_cast<ERAnyBoundedSurface*>(new ERSpoleNURBS3D(
            poles, ERKnotVector(degree, knots_x), ERKnotVector(degree, knots_y)));
    }

    // Its border as heights over x (for j of a border) or y, in the parameters of a wall.
    template <class Pole>
    static ERCpoleNURBS2D border(const ERVec<double>& knots, int count, Pole pole) {
        ERVec<ERPole2DH> poles(count);
        for (int i = 0; i < count; ++i)
            poles[i] = ERPole2DH(pole(i), 1.0);
        return ERCpoleNURBS2D(poles, ERKnotVector(degree, knots));
    }
};

ERCompCurve2D polygon(std::initializer_list<ERPoint2D> corners) {
    ERCompCurve2D loop;
    for (auto at = corners.begin(); at != corners.end(); ++at)
        loop.append(ERSegment2D(*at, at + 1 == corners.end() ? *corners.begin() : *(at + 1)), -1.0);
    return loop;
}

ERCompCurve2D circle(double x, double y, double radius) {
    ERCompCurve2D loop;
    loop.append(ERArc2D(ERPoint2D(x, y), radius, 0.0, 2.0 * pi), -1.0);
    return loop;
}

// Two half circles joined by lines along the first parameter.
ERCompCurve2D slot(double x, double y, double half, double radius) {
    ERCompCurve2D loop;
    loop.append(ERSegment2D({x - half, y - radius}, {x + half, y - radius}), -1.0);
    loop.append(ERArc2D(ERPoint2D(x + half, y), radius, -0.5 * pi, 0.5 * pi), -1.0);
    loop.append(ERSegment2D({x + half, y + radius}, {x - half, y + radius}), -1.0);
    loop.append(ERArc2D(ERPoint2D(x - half, y), radius, 0.5 * pi, 1.5 * pi), -1.0);
    return loop;
}

class Housing {
public:
    Housing() {
        part_.source = "housing";
        part_.format = "velm";
        part_.file_unit = "mm";
        add_outside();
        add_boss();
        add_bores();
        add_pocket();
    }
    const velm::NominalPart& part() const { return part_; }

private:
    enum Outward { along, against }; // of dP/du ^ dP/dv

    // Loops run counter-clockwise as they are given: the first is the outer one.
    void add(const std::string& path, const t_SmartPtr<ERAnyBoundedSurface>& surface,
             Outward outward, std::vector<ERCompCurve2D> loops) {
        velm::NominalFace face;
        face.path = "/housing/" + path;
        face.surface = new ERTrimmedSurface(surface.get());
        face.bounds_a_solid = true;
        for (std::size_t i = 0; i < loops.size(); ++i) {
            if ((outward == along) != (i == 0)) loops[i].reverse();
            face.surface->addBound(loops[i],
                                   i == 0 ? ERSurfaceBoundary::outer : ERSurfaceBoundary::inner);
        }
        part_.faces.push_back(face);
    }

    // A plane by its origin and the directions of its parameters; its normal points outwards.
    void add_plane(const std::string& path, const ERPoint3D& origin, const ERVector3D& u,
                   const ERVector3D& v, std::vector<ERCompCurve2D> loops) {
        const ERMinimax2D box = loops.front().getBox();
        const t_SmartPtr<ERAnyBoundedSurface> plane =
            new ERBoundedPlane(ERChgRepere3D(u, v, origin), ERLimites(box.xmin, box.xmax),
                               ERLimites(box.ymin, box.ymax));
        add(path, plane, along, std::move(loops));
    }

    static ERCompCurve2D rectangle(const ERLimites& u, const ERLimites& v) {
        return polygon({{u.start(), v.start()},
                        {u.end(), v.start()},
                        {u.end(), v.end()},
                        {u.start(), v.end()}});
    }

    // About `frame`'s z, over heights and angles.
    void add_cylinder(const std::string& path, const ERPmIsometrie3D& frame, double radius,
                      const ERLimites& heights, const ERLimites& angles, Outward outward) {
        add(path, new ERBoundedCylinder(frame, radius, heights, angles), outward,
            {rectangle(heights, angles)});
    }

    static ERPmIsometrie3D upright(double x, double y, double z = 0.0) {
        return ERChgRepere3D(ERVector3D(1, 0, 0), ERVector3D(0, 1, 0), ERPoint3D(x, y, z));
    }

    // A wall below a border of the lid, which runs along the wall's first parameter or against it.
    void add_wall(const std::string& path, const ERPoint3D& origin, const ERVector3D& u,
                  double extent, ERCpoleNURBS2D top, bool runs_along,
                  std::vector<ERCompCurve2D> holes = {}) {
        if (runs_along) top.reverse();
        ERCompCurve2D loop;
        loop.append(ERSegment2D({0.0, 0.0}, {extent, 0.0}), -1.0);
        loop.append(ERSegment2D({extent, 0.0}, top.firstPt()), -1.0);
        loop.append(top, -1.0);
        loop.append(ERSegment2D(top.lastPt(), {0.0, 0.0}), -1.0);
        holes.insert(holes.begin(), loop);
        add_plane(path, origin, u, ERVector3D(0, 0, 1), std::move(holes));
    }

    void add_outside() {
        std::vector<ERCompCurve2D> loops{rectangle(ERLimites(0.0, length), ERLimites(0.0, width)),
                                         circle(boss_x, boss_y, boss_radius + fillet)};
        for (const double y : bore_y)
            loops.push_back(circle(bore_x, y, bore_radius));
        add("lid", lid_.surface(), along, loops);

        const int last_x = lid_.poles_x() - 1, last_y = lid_.poles_y() - 1;
        const auto over_x = [&](int j, bool mirrored) {
            return Lid::border(lid_.knots_x, lid_.poles_x(), [&](int i) {
                const ERPoint3D p = lid_.pole(i, j);
                return ERPoint2D(mirrored ? length - p.x() : p.x(), p.z());
            });
        };
        const auto over_y = [&](int i, bool mirrored) {
            return Lid::border(lid_.knots_y, lid_.poles_y(), [&](int j) {
                const ERPoint3D p = lid_.pole(i, j);
                return ERPoint2D(mirrored ? width - p.y() : p.y(), p.z());
            });
        };
        add_wall("wall front", {0, 0, 0}, {1, 0, 0}, length, over_x(0, false), true,
                 {slot(pocket_x, pocket_z, pocket_half, pocket_radius)});
        add_wall("wall right", {length, 0, 0}, {0, 1, 0}, width, over_y(last_x, false), true);
        add_wall("wall back", {length, width, 0}, {-1, 0, 0}, length, over_x(last_y, true), false);
        add_wall("wall left", {0, width, 0}, {0, -1, 0}, width, over_y(0, true), false);

        std::vector<ERCompCurve2D> base{rectangle(ERLimites(0.0, length), ERLimites(0.0, width))};
        for (const double y : bore_y)
            base.push_back(circle(bore_x, width - y, bore_radius));
        add_plane("base", {0, width, 0}, {1, 0, 0}, {0, -1, 0}, base);
    }

    void add_boss() {
        const ERLimites turn(0.0, 2.0 * pi);
        const double foot = plateau + fillet;
        const t_SmartPtr<ERBoundedTorus> torus =
            new ERBoundedTorus(upright(boss_x, boss_y, foot), boss_radius + fillet, fillet, 0.0,
                               2.0 * pi, pi, 1.5 * pi);
        // The hollow quarter of the tube: outwards is towards its middle.
        add("boss/fillet", t_SmartPtr<ERAnyBoundedSurface>(torus.get()), against,
            {rectangle(turn, ERLimites(pi, 1.5 * pi))});
        add_cylinder("boss/side", upright(boss_x, boss_y), boss_radius, ERLimites(foot, boss_top),
                     turn, against);
        add_plane("boss/top", {boss_x, boss_y, boss_top}, {1, 0, 0}, {0, 1, 0},
                  {circle(0, 0, boss_radius), circle(0, 0, hole_radius)});
        add_cylinder("boss/hole", upright(boss_x, boss_y), hole_radius,
                     ERLimites(hole_floor, boss_top), turn, along);
        const double depth = hole_radius / std::tan(drill_angle);
        add("boss/hole tip",
            new ERBoundedCone(upright(boss_x, boss_y, hole_floor - depth), drill_angle,
                              ERLimites(0.0, depth), turn),
            along, {rectangle(ERLimites(0.0, depth), turn)});
    }

    void add_bores() {
        for (int i = 0; i < 2; ++i)
            add_cylinder("bore " + std::to_string(i + 1), upright(bore_x, bore_y[i]), bore_radius,
                         ERLimites(0.0, plateau), ERLimites(0.0, 2.0 * pi), along);
    }

    void add_pocket() {
        add_plane("pocket/floor", {0, pocket_depth, 0}, {1, 0, 0}, {0, 0, 1},
                  {slot(pocket_x, pocket_z, pocket_half, pocket_radius)});
        const ERLimites sides(-pocket_half, pocket_half), depths(0.0, pocket_depth);
        add_plane("pocket/side below", {pocket_x, 0, pocket_z - pocket_radius}, {1, 0, 0},
                  {0, 1, 0}, {rectangle(sides, depths)});
        add_plane("pocket/side above", {pocket_x, 0, pocket_z + pocket_radius}, {0, 1, 0},
                  {1, 0, 0}, {rectangle(depths, sides)});
        const auto end = [&](double x) { // about y, angles from z to x
            return ERChgRepere3D(ERVector3D(0, 0, 1), ERVector3D(1, 0, 0),
                                 ERPoint3D(x, 0, pocket_z));
        };
        add_cylinder("pocket/end right", end(pocket_x + pocket_half), pocket_radius, depths,
                     ERLimites(0.0, pi), along);
        add_cylinder("pocket/end left", end(pocket_x - pocket_half), pocket_radius, depths,
                     ERLimites(pi, 2.0 * pi), along);
    }

    Lid lid_;
    velm::NominalPart part_;
};

void save(const velm::NominalPart& part, const std::string& path) {
    std::filesystem::remove(path);
    try {
        ERDataBase data;
        if (data.Open(path.c_str(), 0) != gmSuccess) throw std::ios_base::failure("can't open");
        velm::save_part(data, part);
        if (data.Close() != gmSuccess) throw std::ios_base::failure("can't write");
    } catch (CFileException* error) {
        error->Delete();
        throw std::ios_base::failure("can't write");
    }
}

// A place on a face with the outward normal.
struct Place {
    ERPoint3D point;
    ERVector3D outward;
    double area; // of a unit of the parameters
};

Place place_on(const ERTrimmedSurface& face, double u, double v, const ERMinimax2D& box) {
    const double du = 1e-5 * (box.xmax - box.xmin), dv = 1e-5 * (box.ymax - box.ymin);
    const ERVector3D along_u(face(u - du, v), face(u + du, v));
    const ERVector3D along_v(face(u, v - dv), face(u, v + dv));
    const ERVector3D normal = along_u ^ along_v;
    return {face(u, v), normal.getnormalized() * double(velm::outward_side(face)),
            normal.norme() / (4.0 * du * dv)};
}

class Scan {
public:
    explicit Scan(const velm::NominalPart& part) : part_(part) {}

    // As many points on a face as its area asks for, evenly spread by chance.
    void measure() {
        std::vector<double> areas;
        for (const velm::NominalFace& face : part_.faces)
            areas.push_back(probe(*face.surface, 4000, {}));
        const double whole = std::accumulate(areas.begin(), areas.end(), 0.0);
        for (std::size_t i = 0; i < areas.size(); ++i) {
            const velm::NominalFace& face = part_.faces[i];
            const int wanted = std::max(least_points, int(scanned_points * areas[i] / whole));
            int found = 0;
            probe(*face.surface, 1000000, [&](const Place& place) {
                take(face.path, place);
                return ++found < wanted;
            });
        }
    }

    void write(const std::string& path) const {
        std::ofstream out(path, std::ios::binary);
        out << "ply\nformat binary_little_endian 1.0\ncomment a simulated scan of the housing, in "
               "millimetres\nelement vertex "
            << points_.size()
            << "\nproperty double x\nproperty double y\nproperty double z\nproperty float nx\n"
               "property float ny\nproperty float nz\nend_header\n";
        for (const auto& [point, normal] : points_) {
            for (int i = 0; i < 3; ++i)
                put(out, std::bit_cast<std::uint64_t>(point[i]), 8);
            for (int i = 0; i < 3; ++i)
                put(out, std::bit_cast<std::uint32_t>(float(normal[i])), 4);
        }
        out.close();
        if (!out) throw std::ios_base::failure("can't write");
    }

private:
    static void put(std::ofstream& out, std::uint64_t bits, int bytes) {
        for (int i = 0; i < bytes; ++i)
            out.put(static_cast<char>(bits >> (8 * i)));
    }

    // Random places inside, as dense everywhere; returns the area that so many tries show.
    double probe(const ERTrimmedSurface& face, int tries,
                 const std::function<bool(const Place&)>& take_place) {
        const ERMinimax2D box = face.boundaryBox();
        const double extent = (box.xmax - box.xmin) * (box.ymax - box.ymin);
        double densest = 0.0, sum = 0.0;
        for (const double r : {0.02, 0.3, 0.5, 0.7, 0.98})
            for (const double s : {0.02, 0.3, 0.5, 0.7, 0.98})
                densest = std::max(densest, 1.2 * at(face, box, r, s).area);
        for (int i = 0; i < tries; ++i) {
            const double r = noise_.part(), s = noise_.part(), kept = noise_.part();
            if (face.isInBound({box.xmin + r * (box.xmax - box.xmin),
                                box.ymin + s * (box.ymax - box.ymin)}) == 0)
                continue;
            const Place place = at(face, box, r, s);
            sum += place.area * extent;
            if (take_place && kept * densest < place.area && !take_place(place)) break;
        }
        return sum / tries;
    }
    static Place at(const ERTrimmedSurface& face, const ERMinimax2D& box, double r, double s) {
        return place_on(face, box.xmin + r * (box.xmax - box.xmin),
                        box.ymin + s * (box.ymax - box.ymin), box);
    }

    void take(const std::string& path, const Place& place) {
        const double x = place.point.x(), y = place.point.y();
        double off = roughness * noise_.next();
        ERPoint3D point = place.point;
        if (path == "/housing/lid") {
            const double from_bump = std::hypot(x - bump_x, y - bump_y) / bump_width;
            off += bump * std::exp(-0.5 * from_bump * from_bump) +
                   warp * (2.0 * x / length - 1.0) * (2.0 * y / width - 1.0);
        }
        if (path == "/housing/bore 1")
            point = point + ERVector3D(bore_shift[0], bore_shift[1], 0.0);
        points_.emplace_back(point + place.outward * off, place.outward);
    }

    const velm::NominalPart& part_;
    std::vector<std::pair<ERPoint3D, ERVector3D>> points_;
    Noise noise_{2027};
};

} // namespace

void write_housing(const std::string& folder) {
    const Housing housing;
    save(housing.part(), folder + "/housing.velm");
    Scan scan(housing.part());
    scan.measure();
    scan.write(folder + "/scan.ply");
}

} // namespace demo
