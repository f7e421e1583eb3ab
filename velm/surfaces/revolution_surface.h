// ERSurOfRevolution: a curve turned about a line.
#pragma once

#include "velm/frame/finite_entity.h"
#include "velm/surfaces/any_bounded_surface.h"
#include "velm/surfaces/derived_cache.h"
#include "velm/wireframe/line.h"

class ERSpoleNURBS3D;
namespace velm::detail {
class SeedGrid;
}

/// P(u, v) is the point of the generatrix at u, turned by v about the axis, right-handed. U has the
/// bound of the curve; V runs over the angles. The curve is shared with the caller and never
/// changed: a map replaces it by a mapped copy, and every point goes where the map takes it. A
/// surface without a curve, as by default and from a damaged record, has points at the origin.
class VELM_API ERSurOfRevolution : public ERAnyBoundedSurface {
    VELM_DECLARE_CLASS(ERSurOfRevolution)

public:
    ERSurOfRevolution() = default;
    /// `zero` is the direction that getRepere3D takes as x; without one, the direction from the
    /// axis to the curve.
    ERSurOfRevolution(const t_SmartPtr<ERFiniteEntity3DWF>& curve, const ERInfLine3D& line,
                      const ERLimites& turn, const ERVector3D& zero = ERVector3D());
    ERSurOfRevolution(const t_SmartPtr<ERFiniteEntity3DWF>& curve, const ERInfLine3D& line,
                      double start, double end, const ERVector3D& zero = ERVector3D())
        : ERSurOfRevolution(curve, line, ERLimites(start, end), zero) {}

    const t_SmartPtr<ERFiniteEntity3DWF>& generatrix() const { return generatrice_; }
    const ERInfLine3D& axe() const { return axis_; }
    const ERVector3D& vect() const { return vector_; }
    /// The frame with the axis as z and the reference direction as x, at the axis's own origin: the
    /// foot from the origin of coordinates. The frame of a moved surface is therefore not the moved
    /// frame.
    ERPmIsometrie3D getRepere3D() const;

    double udeb() const override;
    double ufin() const override;
    double vdeb() const override { return angles_.start(); }
    double vfin() const override { return angles_.end(); }
    ERLimites getBoundU() const override;
    ERLimites getBoundV() const override { return angles_; }

    using ERAnyBoundedSurface::operator();
    using ERAnyBoundedSurface::PtCur;
    ERInfoPoint3DSurf PtCur(double u, double v) const override;
    /// The circle of a point as an ERArc3D with v as parameter; of radius 0 for a point within
    /// 1e-11 of the axis in each coordinate.
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoU(double u) const override;
    /// A copy of the curve, turned by v.
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoV(double v) const override;
    /// Holds the whole turn.
    ERMinimax3D getBox() const override;

    /// By CreateSurfOfRevolution, see surfaces/revolved_nurbs.h: the same points for a curve whose
    /// NURBS poles are in one half plane of the axis; v is the angle at the knots.
    ERSpoleNURBS3D ConvertToNurbs() const;

    /// Part of the contract: SplitInU divides the angles, SplitInV the curve, by its splitAt.
    /// SplitInU without an angle divides them in the middle, however they run.
    int SplitInU(t_SmartPtr<ERAnyBoundedSurface>& a,
                 t_SmartPtr<ERAnyBoundedSurface>& b) const override;
    int SplitInU(t_SmartPtr<ERAnyBoundedSurface>& a, t_SmartPtr<ERAnyBoundedSurface>& b,
                 double angle) const override;
    int SplitInV(t_SmartPtr<ERAnyBoundedSurface>& a,
                 t_SmartPtr<ERAnyBoundedSurface>& b) const override;
    int SplitInV(t_SmartPtr<ERAnyBoundedSurface>& a, t_SmartPtr<ERAnyBoundedSurface>& b,
                 double t) const override;

    /// The first point of the curve found that is off the axis by more than 1e-11 in a coordinate,
    /// with its parameter and its foot on the axis: the start, the end, then points between.
    /// Returns 1, or 0 with all unchanged.
    int getOnePointOfTheGeneratrixNotOnTheAxis(ERPoint3D& p, double& parameter,
                                               ERPoint3D& foot) const;
    /// No point of the curve is farther from the axis: the farthest corner of the curve's box.
    double upperEstimateRadius() const;
    /// The curve's, and the angle with that radius.
    double upperEstimateInU() const override;
    double upperEstimateInV() const override;

    using ERAnyBoundedSurface::ProjectionNormale;
    using ERAnyBoundedSurface::ProjectPoint;
    /// Finds a foot on the NURBS form by SeedProjection and ReajustAtSeam (see
    /// surfaces/surface_projection.h), then polishes it on this surface by ReajustAtSeam. Returns 1
    /// even if that last step fails, part of the contract: v is then the NURBS form's parameter,
    /// which differs from the angle by up to 0.07. The form is made at each call, since the curve
    /// may have changed, but its grid is kept while the form stays the same.
    int ProjectionNormale(const ERPoint3D& p, double distance, ERPoint2D& parameter,
                          int inBound) const override;
    /// ReajustAtSeam.
    int ReajustProjection(ERPoint3D& p, ERPoint2D& parameter, int inBound) const override;
    /// The crossings of the NURBS surface that velm::revolve makes of the curve, as points of this
    /// surface: polished by VerticalNewton. As described there (surfaces/vertical_crossing.h), a
    /// line that touches may be missed, and a crossing where patches meet is given twice.
    void ProjectPoint(const ERPoint3D& p, ERRaySurfaceResult& result, int inBound) const override;

    void scale(double s) override;
    void translate(const ERPoint3D& v) override;
    void transformFrom(const ERPmSimilitude3D& t) override;
    void transformFrom(const ERPmIsometrie3D& t) override;
    void transformTo(const ERPmSimilitude3D& t) override;
    void transformTo(const ERPmIsometrie3D& t) override;
    /// The same points the other way round the axis: its direction and the angles are negated.
    void reverse() override;

    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;
    /// The angles as two doubles, the axis, the reference to the curve with its flag, the reference
    /// direction.
    VELM_DECLARE_STORED_FORM();

private:
    friend VELM_API int SeedProjection(const ERSurOfRevolution& surface, const ERPoint3D& p,
                                       double distance, ERPoint2D& parameter);
    ERVector3D turned(const ERVector3D& v, double angle) const;
    t_SmartPtr<ERFiniteEntity3DWF> curve_copy() const;
    void divide(t_SmartPtr<ERAnyBoundedSurface>& a, t_SmartPtr<ERAnyBoundedSurface>& b,
                double angle) const;
    template <class Map>
    void move(Map map, bool reflecting);
    const ERSpoleNURBS3D& current_form() const;
    double angle_near(double guess, double u, const ERPoint3D& p) const;

    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form);

    ERInfLine3D axis_;
    t_SmartPtr<ERFiniteEntity3DWF> generatrice_;
    ERLimites angles_;
    ERVector3D vector_;
    /// Of the last projection, and the starts on this surface while it has that form.
    mutable velm::detail::DerivedCache<t_SmartPtr<ERSpoleNURBS3D>> form_;
    mutable velm::detail::DerivedCache<velm::detail::SeedGrid> seeds_;
};
