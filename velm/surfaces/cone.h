// ERCone: a double cone without ends. ERBoundedCone: the part between two heights and angles.
// CreateBoundedCone: a cone through two circles.
#pragma once

#include "velm/frame/radian.h"
#include "velm/surfaces/framed_surface.h"
#include "velm/wireframe/arc_in_space.h"
#include "velm/wireframe/line.h"
#include "velm/wireframe/segment.h"

/// The lines through an apex at an angle to an axis.
class VELM_API ERCone : public ERSurface {
    VELM_DECLARE_CLASS(ERCone)

public:
    /// Apex at the origin, no direction, half angle 0.
    ERCone() = default;
    /// The direction is normalised.
    ERCone(const ERPoint3D& apex, const ERVector3D& direction, double half_angle);

    ERInfLine3D axe() const { return ERInfLine3D(direction_, apex_); }
    const ERPoint3D& sommet() const { return apex_; }
    const ERVector3D& direction() const { return direction_; }
    double demiAngle() const { return half_angle_; }
    /// At a height above the apex.
    double radius(double height) const;
    double diameter(double height) const { return 2.0 * radius(height); }

    /// Negative inside; always DISTMIN_FOUND. Seen in the half plane of p it is the distance to the
    /// nearer half's generator, also beyond the apex.
    DISTMINRES SignedMinimalDistance(const ERPoint3D& p, double& dist) override;
    static DISTMINRES SignedMinimalDistanceCone(const ERVector3D& direction, const ERPoint3D& apex,
                                                double half_angle, const ERPoint3D& p,
                                                double& dist);
    /// The foot on the generator nearest to p, on the side of the apex that p is on. The normal
    /// points to the axis, against the sign of the distance: part of the contract. 0 for a p on the
    /// axis.
    int ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) const override;
    static int ProjectionNormaleCone(const ERVector3D& direction, const ERPoint3D& apex,
                                     double half_angle, const ERPoint3D& p, ERPoint3D& foot,
                                     ERVector3D& normal);
    /// Part of the contract: returns 1 and does nothing. Use ProjectionNormale.
    int project(const ERPoint3D& p, ERPoint3D& foot) const;

    /// The cone whose points are d farther out: the apex moves back along the axis.
    ERCone getOffset(double d) const;
    void offset(double d) override;
    /// Negates the direction; the points of the double cone stay.
    void reverse() override;
    /// Scales the apex: the cone has no other length.
    void scale(double s) override;
    void translate(const ERPoint3D& v) override;
    void transformFrom(const ERPmSimilitude3D& t) override;
    void transformFrom(const ERPmIsometrie3D& t) override;
    void transformTo(const ERPmSimilitude3D& t) override;
    void transformTo(const ERPmIsometrie3D& t) override;

    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;
    /// The direction, the apex, the half angle.
    VELM_DECLARE_STORED_FORM();

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.direction_, self.apex_, self.half_angle_);
    }

    double half_angle_ = 0.0;
    ERPoint3D apex_;
    ERVector3D direction_;
};

/// P(u, v) = (u tan a cos v, u tan a sin v, u) in the frame, whose origin is the apex: u is a
/// height, not a length on the cone, and v an angle.
///
/// Part of the contract: PtCur gives the derivatives by v, dP/dv, d2P/dudv and d2P/dv2, at u = 1
/// for every u. They don't vanish at the apex.
class VELM_API ERBoundedCone : public velm::detail::FramedSurface<ERBoundedCone> {
    VELM_DECLARE_CLASS(ERBoundedCone)

public:
    /// Half angle 0, and [0, 1] for u and v.
    ERBoundedCone() = default;
    /// The whole turn between two heights above the frame's origin.
    ERBoundedCone(const ERPmIsometrie3D& placed, ERRadian half_angle, double h1, double h2);
    ERBoundedCone(const ERPmIsometrie3D& placed, ERRadian half_angle, const ERLimites& u,
                  const ERLimites& v);
    /// The whole turn between the heights of a and b, as working limits: the natural ones stay
    /// [0, 1], which is part of the contract.
    ERBoundedCone(const ERCone& cone, const ERPoint3D& a, const ERPoint3D& b);

    ERPoint3D apex() const { return frame.origine(); }
    ERVector3D direction() const { return getNormale(); }
    double demiAngle() const { return half_angle_; }
    /// From udeb to ufin on the axis.
    ERSegment3D axe() const;
    /// As for ERBoundedCylinder.
    void axe(const ERSegment3D& segment);
    /// ufin - udeb.
    double height() const { return ufin() - udeb(); }
    /// At a height above the apex.
    double radius(double height) const;
    double diameter(double height) const { return 2.0 * radius(height); }
    /// The sections at udeb and at ufin.
    ERArc3D topBase() const { return sectionAt(udeb()); }
    ERArc3D bottomBase() const { return sectionAt(ufin()); }
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoU(double u) const override;
    /// An ERCpoleBezier3D of degree 1.
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoV(double v) const override;

    /// A box about the whole turn. Part of the contract: half of its width is the greater of the
    /// radii with their signs, so that for heights below the apex it is that of the smaller end.
    ERMinimax3D getBox() const override;
    /// The height, and the longer arc with the tangent of the half angle in place of its sine.
    double upperEstimateInU() const override;
    double upperEstimateInV() const override;

    /// As for the whole cone.
    DISTMINRES SignedMinimalDistance(const ERPoint3D& p, double& dist) override;
    /// The angle is measured from vdeb. 1 with inBound 0; else if both parameters are in their
    /// limits. 0 for limits of u that are within 1e-11. The parameter is set whenever there is a
    /// foot.
    int ProjectionNormale(const ERPoint3D& p, double distance, ERPoint2D& parameter,
                          int inBound) const override;
    /// On the whole cone.
    int ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) const override;

    /// Moves the apex as ERCone does. The limits of u keep their numbers, which now count from the
    /// new apex, and those of v become the whole turn: part of the contract.
    void offset(double d) override;
    void printOn(std::ostream& out) const override;
    /// The frame, the four pairs of limits, the half angle.
    VELM_DECLARE_STORED_FORM();

private:
    friend class velm::detail::FramedSurface<ERBoundedCone>;
    velm::detail::LocalPoint local(double u, double v) const;
    void scale_extents(double s);
    ERArc3D sectionAt(double u) const;

    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        placed_fields(self, form);
        form(self.half_angle_);
    }

    double half_angle_ = 0.0;
};

/// The whole turn of the cone about the line from p1 to p2 with radius r1 at p1 and r2 at p2; u
/// rises from the smaller end. `direction` fixes the frame's x axis. Returns 1, also for equal
/// radii, for which the cone has no apex and is not finite: part of the contract.
VELM_API int CreateBoundedCone(ERVector3D direction, ERPoint3D p1, double r1, ERPoint3D p2,
                               double r2, ERBoundedCone& cone);
