// EROffsetSurface: a surface moved along its normal. EROffsetSurfaceIsoParam: a curve of constant u
// or v of it.
#pragma once

#include "velm/frame/finite_entity.h"
#include "velm/surfaces/any_bounded_surface.h"

/// The points of a base surface moved by `offset` along its normal. `direction` says on which side
/// a positive offset is: where the normal in the middle of the base's limits points away from it,
/// the constructors negate both, so that `offset` counts along the base's normal. A map or a
/// reversal of the base that turns its normal round does so again: the points stay with the base.
///
/// Without a base, as by default and from a damaged record, the points are at the origin.
class VELM_API EROffsetSurface : public ERAnyBoundedSurface {
    VELM_DECLARE_CLASS(EROffsetSurface)

public:
    EROffsetSurface() = default;
    /// Keeps a copy of the base.
    EROffsetSurface(const ERAnyBoundedSurface& base, double offset, const ERVector3D& direction);
    /// Shares the base, which is on the heap: maps of this surface change it, or a copy that takes
    /// its place if the base is stored.
    EROffsetSurface(ERAnyBoundedSurface* base, double offset, const ERVector3D& direction);
    /// A copy has a base of its own.
    EROffsetSurface(const EROffsetSurface& other);
    EROffsetSurface& operator=(const EROffsetSurface& other);

    const t_SmartPtr<ERAnyBoundedSurface>& base() const { return base_; }
    double getOffset() const { return offset_; }
    const ERVector3D& direction() const { return direction_; }
    /// The simple surface that is equal to this one, null if none is known; stored with it.
    const t_SmartPtr<ERAnyBoundedSurface>& equivEntity() const { return equivalent_; }
    void equivEntity(ERAnyBoundedSurface* surface) { equivalent_ = surface; }
    /// A number of the host's, stored with the surface.
    double indicateur() const { return indicator_; }
    void indicateur(double value) { indicator_ = value; }
    /// Negates offset and direction if the base's normal in the middle of its limits points away
    /// from the direction.
    void Normalize();

    double udeb() const override;
    double ufin() const override;
    double vdeb() const override;
    double vfin() const override;
    using ERAnyBoundedSurface::operator();
    using ERAnyBoundedSurface::PtCur;
    /// The moved point with the derivatives of the base, unchanged: part of the contract.
    ERInfoPoint3DSurf PtCur(double u, double v) const override;
    /// An EROffsetSurfaceIsoParam.
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoU(double u) const override;
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoV(double v) const override;
    /// The base's box, wider by the offset.
    ERMinimax3D getBox() const override;

    using ERAnyBoundedSurface::ProjectionNormale;
    /// The base's foot: both surfaces have the same normals.
    int ProjectionNormale(const ERPoint3D& p, double distance, ERPoint2D& parameter,
                          int inBound) const override;
    /// The base's, with the moved point in p.
    int ReajustProjection(ERPoint3D& p, ERPoint2D& parameter, int inBound) const override;
    using ERAnyBoundedSurface::ProjectPoint;
    /// By VerticalNewton from the middle of each cell near the line, of a grid of points with eight
    /// cells per span of the base. Each crossing is given once; those of folds smaller than a cell
    /// may be missed.
    void ProjectPoint(const ERPoint3D& p, ERRaySurfaceResult& result, int reserved) const override;
    /// The base's, with a whole turn of the offset added. Not a bound for a wildly curved base.
    double upperEstimateInU() const override;
    double upperEstimateInV() const override;
    /// The parts of the base, each with this offset and direction; without a parameter where the
    /// base itself would be split.
    int SplitInU(t_SmartPtr<ERAnyBoundedSurface>& a,
                 t_SmartPtr<ERAnyBoundedSurface>& b) const override;
    int SplitInV(t_SmartPtr<ERAnyBoundedSurface>& a,
                 t_SmartPtr<ERAnyBoundedSurface>& b) const override;
    int SplitInU(t_SmartPtr<ERAnyBoundedSurface>& a, t_SmartPtr<ERAnyBoundedSurface>& b,
                 double u) const override;
    int SplitInV(t_SmartPtr<ERAnyBoundedSurface>& a, t_SmartPtr<ERAnyBoundedSurface>& b,
                 double v) const override;

    /// Adds to the offset; the equal surface is no longer known, unless d is 0.
    void offset(double d) override;
    void scale(double s) override;
    void translate(const ERPoint3D& v) override;
    void transformFrom(const ERPmSimilitude3D& t) override;
    void transformFrom(const ERPmIsometrie3D& t) override;
    void transformTo(const ERPmSimilitude3D& t) override;
    void transformTo(const ERPmIsometrie3D& t) override;
    /// Reverses the base.
    void reverse() override;

    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;
    /// The offset, the number, the direction, the references to the base and to the equal surface
    /// with a flag each.
    VELM_DECLARE_STORED_FORM();

private:
    ERVector3D middle_normal() const;
    /// Changes base, equal surface and direction; `map_vector` says where directions go.
    template <class Change, class MapVector>
    void move(Change change, MapVector map_vector, double factor);
    int part(int done, const t_SmartPtr<ERAnyBoundedSurface>& low,
             const t_SmartPtr<ERAnyBoundedSurface>& high, t_SmartPtr<ERAnyBoundedSurface>& a,
             t_SmartPtr<ERAnyBoundedSurface>& b) const;

    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form);

    t_SmartPtr<ERAnyBoundedSurface> base_;
    double offset_ = 0.0;
    ERVector3D direction_;
    t_SmartPtr<ERAnyBoundedSurface> equivalent_;
    double indicator_ = 0.0;
};

/// Evaluated through the surface; its derivatives along the curve are therefore those of the base.
class VELM_API EROffsetSurfaceIsoParam : public ERFiniteEntity3DWF {
    VELM_DECLARE_CLASS(EROffsetSurfaceIsoParam)

public:
    EROffsetSurfaceIsoParam() = default;
    /// Constant u (`constant_u` not 0) or v, over the limits of the other parameter. Keeps a copy
    /// of the surface.
    EROffsetSurfaceIsoParam(const EROffsetSurface& surface, int constant_u, double value);
    EROffsetSurfaceIsoParam(const EROffsetSurfaceIsoParam& other);
    EROffsetSurfaceIsoParam& operator=(const EROffsetSurfaceIsoParam& other);

    double udeb() const override { return limits_.start(); }
    double ufin() const override { return limits_.end(); }
    ERInfoPoint3DWF PtCur(double t) override;
    /// The surface's box.
    ERMinimax3D getBox() override;
    /// The cubic through 65 points at even steps, over the same parameters: not exact.
    ERCpoleNURBS3D ConvertToNurbs() override;
    /// By polylines of up to 65536 pieces, until doubling them changes less than tol.
    double arcLength(ERLimites interval, double tol) const override;
    double arcLength(double tol) const override;
    int splitAt(t_SmartPtr<ERFiniteEntity3DWF>& first, t_SmartPtr<ERFiniteEntity3DWF>& second,
                double t) const override;

    void scale(double s) override;
    void translate(const ERPoint3D& v) override;
    void transformFrom(const ERPmSimilitude3D& t) override;
    void transformFrom(const ERPmIsometrie3D& t) override;
    void transformTo(const ERPmSimilitude3D& t) override;
    void transformTo(const ERPmIsometrie3D& t) override;
    /// The other sense: the parameter runs over the negated limits.
    void reverse() override;

    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;
    /// Which parameter is constant and the sense as 32-bit numbers, its value, the limits, the
    /// reference to the surface with its flag.
    VELM_DECLARE_STORED_FORM();

protected:
    void prepareApprox(ERPoint13List& list, const ERLimites& interval, double tol) const override;

private:
    ERPoint3D point(double t) const;

    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form);

    t_SmartPtr<EROffsetSurface> surface_;
    int constant_u_ = 1;
    int sense_ = 1;
    double value_ = 0.0;
    ERLimites limits_;
};
