#include "velm/inspection/nominal_part.h"

#include "velm/frame/finite_entity.h"
#include "velm/inspection/inspection_records.h"
#include "velm/platform/file_exception.h"
#include "velm/store/db_object.h"
#include "velm/surfaces/bezier_surface.h"
#include "velm/surfaces/bounded_plane.h"
#include "velm/surfaces/cone.h"
#include "velm/surfaces/cylinder.h"
#include "velm/surfaces/nurbs_surface.h"
#include "velm/surfaces/offset_surface.h"
#include "velm/surfaces/revolution_surface.h"
#include "velm/surfaces/sphere.h"
#include "velm/surfaces/torus.h"

namespace velm {

namespace {

// Part of files: they never change, and new ones go to the end.
enum class PartKey : long {
    kind = 100, // as RecordKey::kind
    source = 400,
    format,
    file_unit,
    largest_gap,
    face_count,
    left_out_count,
    entity,
    bounds_a_solid,
    reason,
};

constexpr const char* part_kind = "part";
constexpr const char* face_kind = "face";
constexpr const char* left_out_kind = "left out";

constexpr long key(PartKey of) { return static_cast<long>(of); }

void save(ERDataBase& data, ERDBObject& record) {
    const gmErrorCode code = data.save(t_SmartPtr<ERObject>(&record));
    if (code != gmSuccess)
        AfxThrowFileException(code == gmFileRefused ? gmInvalidFile : code, -1, nullptr);
}

t_SmartPtr<ERDBObject> head_of(const NominalPart& part) {
    const t_SmartPtr<ERDBObject> head = new ERDBObject;
    head->property(key(PartKey::kind), part_kind);
    head->property(key(PartKey::source), part.source.c_str());
    head->property(key(PartKey::format), part.format.c_str());
    head->property(key(PartKey::file_unit), part.file_unit.c_str());
    head->property(key(PartKey::largest_gap), part.largest_gap);
    head->property(key(PartKey::face_count), static_cast<long>(part.faces.size()));
    head->property(key(PartKey::left_out_count), static_cast<long>(part.left_out.size()));
    return head;
}

t_SmartPtr<ERDBObject> record_of(const NominalFace& face) {
    const t_SmartPtr<ERDBObject> record = new ERDBObject;
    record->property(key(PartKey::kind), face_kind);
    record->name(face.path.c_str());
    if (face.colour) record->color_rgb(*face.colour);
    if (!face.layer.empty()) record->level_name(face.layer.c_str());
    record->property(key(PartKey::entity), face.entity);
    record->property(key(PartKey::bounds_a_solid), face.bounds_a_solid ? 1 : 0);
    record->object(t_SmartPtr<ERObject>(face.surface.get()));
    return record;
}

t_SmartPtr<ERDBObject> record_of(const LeftOutFace& face) {
    const t_SmartPtr<ERDBObject> record = new ERDBObject;
    record->property(key(PartKey::kind), left_out_kind);
    record->name(face.path.c_str());
    record->property(key(PartKey::entity), face.entity);
    record->property(key(PartKey::reason), face.reason.c_str());
    return record;
}

std::string text(const ERDBObject& record, PartKey of) {
    return static_cast<const char*>(record.property(key(of)));
}

bool is_of_kind(const t_SmartPtr<ERDBObject>& record, std::string_view kind) {
    return record && text(*record, PartKey::kind) == kind;
}

[[noreturn]] void fail_record(long index, const char* why) {
    throw RecordFault("record " + std::to_string(index) + ": " + why);
}

NominalFace face_of(ERDBObject& record, long index) {
    NominalFace face;
    face.path = record.name();
    face.surface = ERTrimmedSurface::castdown(record.object().get());
    if (!face.surface || !face.surface->base_surface())
        fail_record(index, "expected a face with its surface");
    if (record.properties().contains(ERDBObject::color_rgb_key)) face.colour = record.color_rgb();
    face.layer = record.level_name();
    face.entity = record.property(key(PartKey::entity));
    face.bounds_a_solid = int(record.property(key(PartKey::bounds_a_solid))) != 0;
    return face;
}

const ERAnyBoundedSurface& without_trim(const ERAnyBoundedSurface& surface) {
    const ERTrimmedSurface* const trimmed = ERTrimmedSurface::castdown(&surface);
    if (!trimmed || !trimmed->base_surface()) return surface;
    return without_trim(*trimmed->base_surface());
}

} // namespace

std::string_view surface_kind(const ERAnyBoundedSurface& any) {
    const ERAnyBoundedSurface* const surface = &without_trim(any);
    if (ERBoundedPlane::castdown(surface)) return "plane";
    if (ERBoundedCylinder::castdown(surface)) return "cylinder";
    if (ERBoundedCone::castdown(surface)) return "cone";
    if (ERBoundedSphere::castdown(surface)) return "sphere";
    if (ERBoundedTorus::castdown(surface)) return "torus";
    if (ERSurOfRevolution::castdown(surface)) return "revolution";
    if (EROffsetSurface::castdown(surface)) return "offset";
    if (ERSpoleNURBS3D::castdown(surface)) return "nurbs";
    if (ERSpoleBezier3D::castdown(surface) || ERSpoleBezier3DR::castdown(surface)) return "bezier";
    return "surface";
}

// By the area of a polygon through points of the boundary: its sign needs no fine polygon, since
// the pieces of a boundary don't turn round one another.
int outward_side(const ERTrimmedSurface& face) {
    const t_SmartPtr<ERFiniteEntity2DWF> boundary = face.getOutBnd();
    if (!boundary) return 1;
    const ERLimites limits = boundary->getBound();
    const ERVec<ERPoint2D> polygon = boundary->approxime(limits, 1e-3 * limits.amplitude());
    double area = 0.0;
    for (int i = 0; i < polygon.size(); ++i) {
        const ERVector2D a(polygon[0], polygon[i]),
            b(polygon[0], polygon[(i + 1) % polygon.size()]);
        area += a.i() * b.j() - a.j() * b.i();
    }
    return area > 0.0 ? 1 : area < 0.0 ? -1 : 0;
}

CADObjectID NominalFace::id() const {
    const utString place(path.c_str());
    const std::string_view kind = surface ? surface_kind(*surface) : "surface";
    return CADObjectID(gm_cad_string_hash(place), place, utString(std::string(kind).c_str()),
                       static_cast<unsigned long>(entity));
}

void save_part(ERDataBase& data, const NominalPart& part) {
    save(data, *head_of(part));
    for (const NominalFace& face : part.faces)
        save(data, *record_of(face));
    for (const LeftOutFace& face : part.left_out)
        save(data, *record_of(face));
}

NominalPart read_part(const std::string& path) {
    InspectionRecords file(path);
    long at = -1;
    t_SmartPtr<ERDBObject> head;
    for (long index = 0; index < file.size(); ++index) {
        const t_SmartPtr<ERDBObject> record = file.record(index);
        if (!is_of_kind(record, part_kind)) continue;
        head = record;
        at = index;
    }
    if (!head) throw RecordFault("holds no part");
    NominalPart part;
    part.source = text(*head, PartKey::source);
    part.format = text(*head, PartKey::format);
    part.file_unit = text(*head, PartKey::file_unit);
    part.largest_gap = head->property(key(PartKey::largest_gap));
    const long faces = head->property(key(PartKey::face_count));
    const long left_out = head->property(key(PartKey::left_out_count));
    if (faces < 0 || left_out < 0 || faces > file.size() - at - 1 ||
        left_out > file.size() - at - 1 - faces)
        fail_record(at, "records of its part are missing");
    for (long i = 0; i < faces; ++i) {
        const long index = at + 1 + i;
        const t_SmartPtr<ERDBObject> record = file.record(index);
        if (!is_of_kind(record, face_kind)) fail_record(index, "expected a face");
        part.faces.push_back(face_of(*record, index));
    }
    for (long i = 0; i < left_out; ++i) {
        const long index = at + 1 + faces + i;
        const t_SmartPtr<ERDBObject> record = file.record(index);
        if (!is_of_kind(record, left_out_kind)) fail_record(index, "expected a face left out");
        part.left_out.push_back({record->name(), long(record->property(key(PartKey::entity))),
                                 text(*record, PartKey::reason)});
    }
    return part;
}

} // namespace velm
