// gmTargetPoint: a nominal point, the point that was measured for it, and the deviation.
#pragma once

#include "velm/frame/entity.h"
#include "velm/frame/point.h"
#include "velm/frame/vector.h"
#include "velm/measure/measured_point.h"

/// A direct target compares the measured point itself with the nominal one. A target on a plane has
/// the unit normal of the nominal surface; the ball touched the surface half a diameter below its
/// centre, against the normal, and that point is compared.
///
/// The record in a store has no place for the diameter of the ball: a restored target keeps its
/// present one, which is 0 in a new target. The calculated point is stored. Both are properties of
/// the format.
class VELM_API gmTargetPoint : public EREntity3D {
    VELM_DECLARE_CLASS(gmTargetPoint)

    /// How a target is judged. The values are stored in files and must never change.
    enum Mode { direct = 0, on_plane = 1 };

    /// Direct, all zero.
    gmTargetPoint() = default;
    gmTargetPoint(const ERPoint3D& nominal, const ERCMMPointWithDiameter& touched);
    /// The normal is normalised.
    gmTargetPoint(const ERPoint3D& nominal, const ERCMMPointWithDiameter& touched,
                  const ERVector3D& surface_normal);

    int is_compensated() const { return mode == on_plane; }
    const ERPoint3D& target_point() const { return target; }
    const ERCMMPointWithDiameter& measured_point() const { return measured; }
    const ERPoint3D& calculated_point() const { return calculated; }
    /// Gives a restored target the diameter of its ball back; the calculated point is unchanged.
    void probe_diameter(double ball) { measured.diameter = ball; }

    /// From the nominal to the calculated point.
    double distance_to_point() const;
    /// From the plane through the nominal point to the calculated one, positive on the side of the
    /// normal.
    double distance_to_plane() const;
    /// From the line along the normal through the nominal point to the calculated one.
    double distance_on_plane() const;
    /// The distance that is compared with a tolerance: distance_to_point for a direct target,
    /// distance_on_plane for one on a plane, the largest double for any other mode.
    double acceptance_distance() const;
    /// These return 1, or 0 with the value unchanged if there is no normal.
    int get_distance_to_plane(double& distance) const;
    int get_distance_on_plane(double& distance) const;
    int get_surface_normal(ERVector3D& surface_normal) const;

    /// Scales the points and the diameter; the normal is unchanged.
    void scale(double factor) override;
    /// Moves the points; the place before the contact keeps its offset from it.
    void translate(const ERPoint3D& v) override;
    /// The points as points, the normal as a vector. A similitude also multiplies the diameter by
    /// its factor, in transformTo as in transformFrom; part of the contract.
    void transformFrom(const ERPmSimilitude3D& t) override;
    void transformFrom(const ERPmIsometrie3D& t) override;
    void transformTo(const ERPmSimilitude3D& t) override;
    void transformTo(const ERPmIsometrie3D& t) override;

    /// The mode as a byte, the target, the measured identifier, point and point before, the
    /// calculated point, the normal.
    void saveGuts(ERFile& file) const override;
    void restoreGuts(ERFile& file) override;
    unsigned int binaryStoreSize() const override;

    /// In an archive, with the diameter: the mode as a byte, the target, Serialize of the measured
    /// point, the calculated point, the normal. A target that can't be read is unchanged.
    void write_serialize(CArchive& archive) const;
    void read_serialize(CArchive& archive);
    /// The form of older documents: mode, target, calculated point, normal. The measured point gets
    /// identifier and diameter 0, the calculated point, and the place before it is one unit above
    /// it in z.
    void read_serialize_old(CArchive& archive);

    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form);
    template <class Map>
    void map(Map map_in_place);

    int mode = direct;
    ERPoint3D target;
    ERCMMPointWithDiameter measured;
    ERPoint3D calculated;
    ERVector3D normal; // zero for a direct target
};

VELM_API CArchive& operator<<(CArchive& archive, const gmTargetPoint& target); ///< write_serialize
VELM_API CArchive& operator>>(CArchive& archive, gmTargetPoint& target);       ///< read_serialize
