#include "velm/measure/target_point.h"

#include "velm/frame/point_functions.h"
#include "velm/frame/stored_form.h"
#include "velm/frame/value_archive.h"
#include "velm/platform/archive.h"
#include "velm/surfaces/plane.h"
#include "velm/transforms/transformation_handle.h"
#include "velm/wireframe/line.h"

#include <cmath>
#include <limits>
#include <ostream>
#include <string_view>

VELM_DEFINE_CLASS(gmTargetPoint, EREntity3D)

gmTargetPoint::gmTargetPoint(const ERPoint3D& nominal, const ERCMMPointWithDiameter& touched)
    : target(nominal), measured(touched), calculated(touched.point) {}

gmTargetPoint::gmTargetPoint(const ERPoint3D& nominal, const ERCMMPointWithDiameter& touched,
                             const ERVector3D& surface_normal)
    : mode(on_plane), target(nominal), measured(touched), normal(surface_normal.getnormalized()) {
    calculated = touched.point - (touched.diameter / 2) * normal;
}

double gmTargetPoint::distance_to_point() const { return distance(target, calculated); }

double gmTargetPoint::distance_to_plane() const {
    double distance = 0.0;
    ERPlane(target, normal).SignedMinimalDistance(calculated, distance);
    return distance;
}

double gmTargetPoint::distance_on_plane() const {
    return distance(calculated, ERInfLine3D(normal, target).projectPt(calculated));
}

double gmTargetPoint::acceptance_distance() const {
    if (mode == direct) return distance_to_point();
    return mode == on_plane ? distance_on_plane() : std::numeric_limits<double>::max();
}

int gmTargetPoint::get_distance_to_plane(double& distance) const {
    if (mode == on_plane) distance = distance_to_plane();
    return mode == on_plane;
}

int gmTargetPoint::get_distance_on_plane(double& distance) const {
    if (mode == on_plane) distance = distance_on_plane();
    return mode == on_plane;
}

int gmTargetPoint::get_surface_normal(ERVector3D& surface_normal) const {
    if (mode == on_plane) surface_normal = normal;
    return mode == on_plane;
}

void gmTargetPoint::scale(double factor) {
    target *= factor;
    measured.scale(factor);
    calculated *= factor;
}

void gmTargetPoint::translate(const ERPoint3D& v) {
    const ERPoint3D by = v; // v may be a point of this target
    const ERVector3D approach = measured.IJK();
    target += by;
    calculated += by;
    measured.point += by;
    measured.pretouch = measured.point + approach;
}

// Applies an operation that changes a point or a vector in place.
template <class Map>
void gmTargetPoint::map(Map map_in_place) {
    map_in_place(target);
    map_in_place(measured.point);
    map_in_place(measured.pretouch);
    map_in_place(calculated);
    map_in_place(normal);
}

void gmTargetPoint::transformFrom(const ERPmIsometrie3D& t) {
    map([&t](auto& value) { t.TransFrom(value); });
}

void gmTargetPoint::transformTo(const ERPmIsometrie3D& t) {
    map([&t](auto& value) { t.TransTo(value); });
}

void gmTargetPoint::transformFrom(const ERPmSimilitude3D& t) {
    map([&t](auto& value) { t.TransFrom(value); });
    normal.normalize();
    measured.diameter *= std::fabs(t.getFactHomo());
}

void gmTargetPoint::transformTo(const ERPmSimilitude3D& t) {
    map([&t](auto& value) { t.TransTo(value); });
    normal.normalize();
    measured.diameter *= std::fabs(t.getFactHomo());
}

template <class Self, class Form>
void gmTargetPoint::stored_fields(Self& self, Form& form) {
    form(velm::as_byte(self.mode), self.target, self.measured.identifier, self.measured.point,
         self.measured.pretouch, self.calculated, self.normal);
}
VELM_DEFINE_STORED_FORM(gmTargetPoint, EREntity3D)

void gmTargetPoint::write_serialize(CArchive& archive) const {
    archive << static_cast<BYTE>(mode) << target << measured << calculated << normal;
}

void gmTargetPoint::read_serialize(CArchive& archive) {
    BYTE how;
    ERPoint3D nominal, reference;
    ERCMMPointWithDiameter touched;
    ERVector3D surface_normal;
    archive >> how >> nominal >> touched >> reference >> surface_normal;
    mode = how;
    target = nominal;
    measured = touched;
    calculated = reference;
    normal = surface_normal;
}

void gmTargetPoint::read_serialize_old(CArchive& archive) {
    BYTE how;
    ERPoint3D nominal, reference;
    ERVector3D surface_normal;
    archive >> how >> nominal >> reference >> surface_normal;
    mode = how;
    target = nominal;
    measured = ERCMMPointWithDiameter(reference, ERVector3D(0, 0, 1), 0.0, 0);
    calculated = reference;
    normal = surface_normal;
}

void gmTargetPoint::printOn(std::ostream& out) const {
    const ERCMMPoint& touched = measured;
    out << "gmTargetPoint {\n";
    if (mode == direct) {
        out << "  DIRECT\n"
            << "  Target:   " << target << "\n  Point:    " << touched
            << "  Calc:     " << calculated << "\n  Distance: " << distance_to_point() << '\n';
    } else if (mode == on_plane) {
        out << "  ON PLANE\n"
            << "  Target:        " << target << "\n  Point:         " << touched
            << "  Calc:          " << calculated << "\n  Distance:      " << distance_to_point()
            << "\n  Normal:        " << normal << "\n  Dist to plane: " << distance_to_plane()
            << "\n  Dist on plane: " << distance_on_plane() << '\n';
    }
    out << "}\n";
}

ERObject* gmTargetPoint::getCopy() const { return new gmTargetPoint(*this); }

CArchive& operator<<(CArchive& archive, const gmTargetPoint& target) {
    target.write_serialize(archive);
    return archive;
}

CArchive& operator>>(CArchive& archive, gmTargetPoint& target) {
    target.read_serialize(archive);
    return archive;
}
