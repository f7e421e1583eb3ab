#include "velm/inspection/record_check.h"

#include "velm/inspection/inspection_records.h"
#include "velm/inspection/kept_fit.h"
#include "velm/planar/outline_checks.h"
#include "velm/store/store_check.h"
#include "velm/wireframe/segment.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace velm {
namespace {

// Distances and places that a program of another version computed in another order differ by
// roundings of the coordinates; a flipped bit that matters is far beyond.
constexpr double rounding_part = 1e-9;

template <class Tuple>
bool is_finite(const Tuple& t, int size) {
    for (int i = 0; i < size; ++i)
        if (!std::isfinite(t[i])) return false;
    return true;
}

std::string fault_of(const gmTargetPoint& target) {
    const ERCMMPointWithDiameter& measured = target.measured_point();
    for (const ERPoint3D& p :
         {target.target_point(), measured.point, measured.pretouch, target.calculated_point()})
        if (!is_finite(p, 3)) return "a coordinate is not finite";
    ERVector3D normal;
    if (target.get_surface_normal(normal) != 0 &&
        !(std::fabs(normal.norme() - 1.0) <= rounding_part))
        return "its normal is not of length 1";
    return {};
}

std::string fault_of(const ERDBObject& record) {
    for (const auto& property : record.properties())
        if (property.value.getType() == ERDBObjProperty::double_value &&
            !std::isfinite(double(property.value)))
            return "the number under the key " + std::to_string(property.key) + " is not finite";
    return {};
}

std::string fault_of(const ERCpoleNURBS2D& curve) {
    const ERKnotVector& knots = curve.getKnots();
    std::vector<double> weights;
    for (const ERPole2DH& pole : curve.getPoles().view()) {
        if (!std::isfinite(pole[0]) || !std::isfinite(pole[1])) return "a pole is not finite";
        weights.push_back(pole.weigth());
    }
    const NurbsFault fault = nurbs_fault(
        curve.degree(), {knots.data(), static_cast<std::size_t>(knots.length())}, weights);
    return fault == NurbsFault::none ? "" : "its knots or weights are those of no curve";
}

// What an object's class promises and its values break; empty for what nothing is known about.
std::string fault_of(const ERObject& object) {
    if (const auto* const target = gmTargetPoint::castdown(&object)) return fault_of(*target);
    if (const auto* const record = ERDBObject::castdown(&object)) return fault_of(*record);
    if (const auto* const curve = ERCpoleNURBS2D::castdown(&object)) return fault_of(*curve);
    if (const auto* const segment = ERSegment2D::castdown(&object))
        return is_finite(segment->getP1(), 2) && is_finite(segment->getP2(), 2)
                   ? ""
                   : "a coordinate is not finite";
    if (const auto* const circle = ERCircle2D::castdown(&object))
        return is_finite(circle->center(), 2) && circle->radius() > 0.0 &&
                       std::isfinite(circle->radius())
                   ? ""
                   : "its centre or radius is that of no circle";
    return {};
}

ERPoint2D place_on_edge(const Contour& contour, int edge, double part) {
    if (const ERArc2D* const arc = contour.arc(edge)) {
        const double angle = arc->startAngle() + part * (arc->endAngle() - arc->startAngle());
        return arc->center() + ERVector2D(std::cos(angle), std::sin(angle)) * arc->radius();
    }
    if (const CurveEdge* const curve = contour.curve(edge)) return curve->point(part);
    return contour[edge] + ERVector2D(contour[edge], contour[edge + 1]) * part;
}

double size_of(const ERPoint2D& p) { return std::max(std::fabs(p.x()), std::fabs(p.y())); }

std::string fault_of(const SectionRow& row, const SectionRecordReader& reader) {
    const OutlineComparison& found = row.comparison;
    const Contour& contour = reader.outline().contours[static_cast<std::size_t>(found.contour)];
    // The vertices of arcs and curves may have fewer digits.
    const double size = std::max(size_of(row.placed()), size_of(found.foot));
    const double close = rounding_part * size + 2.0 * contour.mismatch();
    if (!(std::fabs(found.outward.norme() - 1.0) <= rounding_part))
        return "its direction outwards is not of length 1";
    const double distance = ERVector2D(found.foot, row.placed()).norme();
    if (!(std::fabs(distance - std::fabs(found.distance)) <= close))
        return "its distance is not that of its points";
    const ERPoint2D place = place_on_edge(contour, found.edge, found.parameter);
    if (!(ERVector2D(place, found.foot).norme() <= close)) return "its foot is not on its edge";
    return {};
}

std::string fault_of(const SurfaceRow& row, const SurfaceRecordReader& reader) {
    if (!row.found) return {};
    const SurfaceFind& found = *row.found;
    if (!(std::fabs(found.normal.norme() - 1.0) <= rounding_part))
        return "its direction outwards is not of length 1";
    double size = 0.0;
    const auto add_size = [&](const ERPoint3D& p) {
        for (int axis = 0; axis < 3; ++axis)
            size = std::max(size, std::fabs(p[axis]));
    };
    add_size(found.foot);
    add_size(row.measured);
    // At the origin the distance has the digits of the part, of which a triangle gives the size.
    if (const NominalMesh& mesh = reader.mesh(); !mesh.triangles.empty())
        for (const int corner : mesh.triangles.front())
            add_size(mesh.positions[static_cast<std::size_t>(corner)]);
    const double distance = ERVector3D(found.foot, row.measured).norme();
    if (!(std::fabs(distance - std::fabs(found.distance)) <= rounding_part * size))
        return "its distance is not that of its points";
    return {};
}

// The readers of these compare all that there is.
std::string fault_of(const TargetRow&, const TargetRecordReader&) { return {}; }
std::string fault_of(const FitRow&, const FitRecordReader&) { return {}; }

// The figures of a head against those of its rows.
std::string difference(const StoredInspection& inspection, const Figures& figures) {
    const auto differs = [&](RecordKey key, double found) {
        const ERDBObjProperty kept = inspection.head->property(static_cast<long>(key));
        if (kept.getType() == ERDBObjProperty::undefined) return false;
        return !(std::fabs(double(kept) - found) <=
                 rounding_part * std::max({std::fabs(figures.minimum), std::fabs(figures.maximum),
                                           std::fabs(found)}));
    };
    const std::pair<RecordKey, double> kept[] = {
        {RecordKey::count, static_cast<double>(figures.count)},
        {RecordKey::in_tolerance, static_cast<double>(figures.in_tolerance)},
        {RecordKey::out_of_tolerance, static_cast<double>(figures.out_of_tolerance)},
        {RecordKey::minimum, figures.minimum},
        {RecordKey::maximum, figures.maximum},
        {RecordKey::mean, figures.mean},
        {RecordKey::standard_deviation, figures.standard_deviation},
        {RecordKey::rms, figures.rms},
        {RecordKey::worst_deviation, figures.worst.deviation}};
    for (const auto& [key, found] : kept)
        if (differs(key, found))
            return "the figure under the key " + std::to_string(static_cast<long>(key)) +
                   " is not that of the points";
    return {};
}

template <class Reader>
void check_inspection(InspectionRecords& file, const StoredInspection& inspection,
                      RecordCheck& check) {
    Reader reader(file, inspection);
    Summary summary;
    summary.tolerance = reader.head().tolerance;
    summary.has_row_limits = reader.head().has_row_limits;
    for (typename Reader::Row row; reader.next(row); ++check.rows) {
        if (const std::string fault = fault_of(row, reader); !fault.empty())
            inspection.refuse("point '" + row.id + "': " + fault);
        summary.add(row);
    }
    // Files of before counted distances among the deviations.
    if (reader.head().rule || !summary.is_mixed())
        if (const std::string fault = difference(inspection, summary.figures()); !fault.empty())
            inspection.refuse(fault);
    ++check.inspections;
}

} // namespace

RecordCheck check_records(const char* name) {
    RecordCheck check;
    const StoreImage image(name);
    std::map<long, long> offsets; // by identifier
    {
        StoredObjects objects(name);
        for (const RecordImage& record : image.records) {
            offsets[record.identifier] = record.location;
            const t_SmartPtr<ERObject> object = objects.create(record.identifier);
            if (!object) continue;
            ++check.objects;
            if (const std::string fault = fault_of(*object); !fault.empty())
                check.faults.add(record.location,
                                 "object " + std::to_string(record.identifier) + ": " + fault);
        }
    }
    InspectionRecords file(name);
    for (const StoredInspection& inspection : file.inspections()) {
        const ERDBObjProperty finished =
            inspection.head->property(static_cast<long>(RecordKey::records));
        if (finished.getType() == ERDBObjProperty::undefined) continue;
        try {
            const std::string kind = inspection.kind();
            if (kind == section_kind)
                check_inspection<SectionRecordReader>(file, inspection, check);
            else if (kind == surfaces_kind)
                check_inspection<SurfaceRecordReader>(file, inspection, check);
            else if (kind == targets_kind)
                check_inspection<TargetRecordReader>(file, inspection, check);
            else
                check_inspection<FitRecordReader>(file, inspection, check);
        } catch (const RecordFault& fault) {
            check.faults.add(offsets[static_cast<long>(inspection.head->getObjectID())],
                             fault.what());
        }
    }
    return check;
}

} // namespace velm
