#include "velm/measure/measured_point.h"

#include "velm/frame/detail/archive_count.h"
#include "velm/frame/stored_form.h"
#include "velm/frame/value_archive.h"
#include "velm/platform/archive.h"
#include "velm/transforms/transformation_handle.h"

#include <memory>
#include <ostream>

namespace velm::detail {

// The direction of a measured point as a field: it follows the point in the record.
template <class Measured>
struct ApproachOf {
    Measured& measured;
};

template <class Measured>
struct FieldForm<ApproachOf<Measured>> {
    static constexpr bool fixed = true;
    static constexpr std::size_t bytes = FieldForm<ERVector3D>::bytes;

    static void pack(char* target, ApproachOf<Measured> field) {
        FieldForm<ERVector3D>::pack(target, field.measured.IJK());
    }
    static void unpack(const char* source, std::size_t available, ApproachOf<Measured> field) {
        ERVector3D direction = field.measured.IJK();
        FieldForm<ERVector3D>::unpack(source, available, direction);
        field.measured.pretouch = field.measured.point + direction;
    }
};

} // namespace velm::detail

namespace {

// The class has a version in documents (VERSIONABLE_SCHEMA of the framework), which is 1.
constexpr UINT schema = 0x80000001;

constexpr CRuntimeClass record(const char* name, UINT version, CRuntimeClass* (*base)()) {
    return {name,    static_cast<int>(sizeof(ERCMMPointWithDiameter)),
            version, &ERCMMPointWithDiameter::CreateObject,
            base,    nullptr};
}

} // namespace

VELM_DEFINE_STORED_FIELDS(ERCMMPoint)

void ERCMMPoint::scale(double factor) {
    point *= factor;
    pretouch *= factor;
}

std::ostream& operator<<(std::ostream& out, const ERCMMPoint& point) {
    return out << "CMM Point  " << point.point << " pretouch=" << point.pretouch << '\n';
}

ERFile& operator<<(ERFile& file, const ERCMMPoint& point) {
    point.saveGuts(file);
    return file;
}

ERFile& operator>>(ERFile& file, ERCMMPoint& point) {
    point.restoreGuts(file);
    return file;
}

CArchive& operator<<(CArchive& archive, const ERCMMPoint& point) {
    return archive << static_cast<WORD>(point.identifier) << point.point << ERPoint3D(point.IJK());
}

CArchive& operator>>(CArchive& archive, ERCMMPoint& point) {
    WORD id;
    ERPoint3D centre, direction;
    archive >> id >> centre >> direction;
    point = ERCMMPoint(centre, direction.asVector3D(), id);
    return archive;
}

constinit CRuntimeClass ERCMMPointWithDiameter::classERCMMPointWithDiameter =
    record("ERCMMPointWithDiameter", schema, &ERCMMPointWithDiameter::_GetBaseClass);
constinit CRuntimeClass ERCMMPointWithDiameter::classCMMPointWithDiameter =
    record("CMMPointWithDiameter", schema, &ERCMMPointWithDiameter::_GetBaseClass);
constinit CRuntimeClass ERCMMPointWithDiameter::classPointMesureDegauSurForme =
    record("PointMesureDegauSurForme", schema, &ERCMMPointWithDiameter::_GetBaseClass);

VELM_INIT_FIRST static const AFX_CLASSINIT known_names[] = {
    AFX_CLASSINIT(&ERCMMPointWithDiameter::classERCMMPointWithDiameter),
    AFX_CLASSINIT(&ERCMMPointWithDiameter::classCMMPointWithDiameter),
    AFX_CLASSINIT(&ERCMMPointWithDiameter::classPointMesureDegauSurForme)};

CRuntimeClass* ERCMMPointWithDiameter::GetRuntimeClass() const {
    return &classERCMMPointWithDiameter;
}

CObject* ERCMMPointWithDiameter::CreateObject() { return new ERCMMPointWithDiameter; }

void ERCMMPointWithDiameter::scale(double factor) {
    ERCMMPoint::scale(factor);
    diameter *= factor;
}

void ERCMMPointWithDiameter::Serialize(CArchive& archive) {
    if (archive.IsStoring()) {
        archive << *this;
    } else {
        archive >> *this;
    }
}

CArchive& operator<<(CArchive& archive, const ERCMMPointWithDiameter& point) {
    return archive << static_cast<const ERCMMPoint&>(point) << point.diameter;
}

CArchive& operator>>(CArchive& archive, ERCMMPointWithDiameter& point) {
    ERCMMPoint measured;
    double ball;
    archive >> measured >> ball;
    static_cast<ERCMMPoint&>(point) = measured;
    point.diameter = ball;
    return archive;
}

CArchive& operator<<(CArchive& archive, const velm::MeasuredPointList& points) {
    archive << static_cast<DWORD>(points.GetCount());
    for (const ERCMMPointWithDiameter* point : points)
        archive << (point != nullptr ? *point : ERCMMPointWithDiameter());
    return archive;
}

CArchive& operator>>(CArchive& archive, velm::MeasuredPointList& points) {
    constexpr std::size_t bytes = 58;
    for (DWORD n = velm::detail::get_count(archive, bytes); n > 0; --n) {
        auto point = std::make_unique<ERCMMPointWithDiameter>();
        archive >> *point;
        points.AddTail(point.get());
        point.release();
    }
    return archive;
}

void Purge(velm::MeasuredPointList& points) {
    for (const ERCMMPointWithDiameter* point : points)
        delete point;
    points.RemoveAll();
}

void TransformFrom(ERSimpleVec<ERCMMPoint>& points, const ERPmIsometrie3D& t) {
    for (ERCMMPoint& measured : points.writable()) {
        t.TransFrom(measured.point);
        t.TransFrom(measured.pretouch);
    }
}

void scale(ERSimpleVec<ERCMMPoint>& points, double factor) {
    for (ERCMMPoint& measured : points.writable())
        measured.scale(factor);
}
