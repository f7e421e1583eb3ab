// ERCMMPoint: a point that a probe touched. ERCMMPointWithDiameter: such a point with the diameter
// of the probe's ball.
#pragma once

#include "velm/export.h"
#include "velm/frame/binary_file.h"
#include "velm/frame/point.h"
#include "velm/frame/simple_vec.h"
#include "velm/frame/vector.h"
#include "velm/fwd.h"
#include "velm/platform/root_class.h"
#include "velm/platform/typed_lists.h"

#include <iosfwd>

namespace velm::detail {
template <class Measured>
struct ApproachOf;
}

/// A plain value: the centre of the ball at the contact, and its place before the contact.
class VELM_API ERCMMPoint {
public:
    ERCMMPoint() = default;
    ERCMMPoint(const ERPoint3D& centre, const ERPoint3D& before, int id)
        : identifier(id), point(centre), pretouch(before) {}
    /// The direction points from the contact back to the ball's earlier place.
    ERCMMPoint(const ERPoint3D& centre, const ERVector3D& direction, int id)
        : ERCMMPoint(centre, centre + direction, id) {}

    int id() const { return identifier; }
    const ERPoint3D& probe_center() const { return point; }
    /// The direction, not normalised: pretouch - point.
    ERVector3D IJK() const { return ERVector3D(point, pretouch); }
    /// Both points.
    void scale(double factor);

    /// Compares only the identifier: part of the contract.
    bool operator==(const ERCMMPoint& other) const { return identifier == other.identifier; }

    /// The identifier as an int, the point, and the direction IJK as three doubles. Reading adds
    /// the direction to the point again, which may round.
    void saveGuts(ERFile& file) const;
    void restoreGuts(ERFile& file);
    unsigned int binaryStoreSize() const;

    int identifier = 0;
    ERPoint3D point;
    ERPoint3D pretouch; ///< before the contact

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.identifier, self.point, velm::detail::ApproachOf<Self>{self});
    }
};

/// The text form, closed by an end of line.
VELM_API std::ostream& operator<<(std::ostream& out, const ERCMMPoint& point);
VELM_API ERFile& operator<<(ERFile& file, const ERCMMPoint& point);
VELM_API ERFile& operator>>(ERFile& file, ERCMMPoint& point);
/// In an archive the identifier is cut to 16 bits, a property of the format; it comes back without
/// a sign.
VELM_API CArchive& operator<<(CArchive& archive, const ERCMMPoint& point);
VELM_API CArchive& operator>>(CArchive& archive, ERCMMPoint& point);

/// A measured point with the diameter of the ball. Stored by class it has three names, two of them
/// for older documents.
class VELM_API ERCMMPointWithDiameter : public CObject, public ERCMMPoint {
public:
    ERCMMPointWithDiameter() = default;
    ERCMMPointWithDiameter(const ERCMMPoint& measured, double ball)
        : ERCMMPoint(measured), diameter(ball) {}
    ERCMMPointWithDiameter(const ERPoint3D& centre, const ERPoint3D& before, double ball, int id)
        : ERCMMPoint(centre, before, id), diameter(ball) {}
    ERCMMPointWithDiameter(const ERPoint3D& centre, const ERVector3D& direction, double ball,
                           int id)
        : ERCMMPoint(centre, direction, id), diameter(ball) {}
    ERCMMPointWithDiameter(double x, double y, double z, double i, double j, double k, double ball,
                           int id)
        : ERCMMPointWithDiameter(ERPoint3D(x, y, z), ERVector3D(i, j, k), ball, id) {}

    double probe_diameter() const { return diameter; }
    void probe_diameter(double ball) { diameter = ball; }
    /// Scales both points and the diameter.
    void scale(double factor);
    /// Scales both points; the diameter is unchanged.
    void compensate(double factor) { ERCMMPoint::scale(factor); }

    CRuntimeClass* GetRuntimeClass() const override;
    static CRuntimeClass* GetThisClass() { return &classERCMMPointWithDiameter; }
    static CObject* CreateObject();
    /// The form of the ERCMMPoint, then the diameter. A point that can't be loaded is unchanged.
    void Serialize(CArchive& archive) override;

    static CRuntimeClass classERCMMPointWithDiameter;
    static CRuntimeClass classCMMPointWithDiameter;
    static CRuntimeClass classPointMesureDegauSurForme;

    double diameter = 0.0;

protected:
    static CRuntimeClass* _GetBaseClass() { return CObject::GetThisClass(); }
};

namespace velm {

/// Measured points as a document holds them. The list does not own them.
using MeasuredPointList = CTypedPtrList<CObList, ERCMMPointWithDiameter*>;

} // namespace velm

/// The form of Serialize.
VELM_API CArchive& operator<<(CArchive& archive, const ERCMMPointWithDiameter& point);
VELM_API CArchive& operator>>(CArchive& archive, ERCMMPointWithDiameter& point);
/// A count, then the points, a null pointer as a point of zeros. Reading appends new points, which
/// the caller deletes; those that were read before a failure remain in the list.
VELM_API CArchive& operator<<(CArchive& archive, const velm::MeasuredPointList& points);
VELM_API CArchive& operator>>(CArchive& archive, velm::MeasuredPointList& points);
/// Deletes the points and empties the list.
VELM_API void Purge(velm::MeasuredPointList& points);

/// Each point through TransFrom, and each scaled.
VELM_API void TransformFrom(ERSimpleVec<ERCMMPoint>& points, const ERPmIsometrie3D& t);
VELM_API void scale(ERSimpleVec<ERCMMPoint>& points, double factor);
