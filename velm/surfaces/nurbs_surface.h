// ERSpoleNURBS3D: rational B-spline surfaces.
//
//     ERSpoleNURBS3D surface(poles, knots_u, knots_v);
//     const ERInfoPoint3DSurf p = surface.PtCur(0.3, 0.8);
//     surface.insertKnotU(0.4, 1);                          // the same surface, a column more
//     surface.redefinedDomain(ERLimites(0, 0.7), ERLimites(-0.1, 1)); // cut, continued
//     const ERCpoleNURBS3D section = surface.getIsoV(0.5);
//
// Editing works on homogeneous poles. The natural limits are the domains of the knots, knot p to
// knot n of n poles. A surface without poles, or whose poles don't agree with its knots, has NaN
// points and can't be cut.
#pragma once

#include "velm/curves/knot_vector.h"
#include "velm/curves/nurbs_curve.h"
#include "velm/frame/simple_vec.h"
#include "velm/surfaces/pole_surface.h"

#include <memory>

class tqkNurbSurf;

namespace velm::detail {
enum class Axis;
}

/// A tensor-product NURBS surface.
class VELM_API ERSpoleNURBS3D : public ERSpoleRep {
    VELM_DECLARE_CLASS(ERSpoleNURBS3D)

public:
    ERSpoleNURBS3D();
    /// A row of `control` for each pole along V.
    ERSpoleNURBS3D(const ERMatrix<ERPole3DH>& control, const ERKnotVector& u,
                   const ERKnotVector& v);
    /// The same, trimmed.
    ERSpoleNURBS3D(const ERMatrix<ERPole3DH>& control, const ERKnotVector& u, const ERKnotVector& v,
                   const ERLimites& trim_u, const ERLimites& trim_v);
    ERSpoleNURBS3D(const ERSpoleNURBS3D& other);
    ERSpoleNURBS3D& operator=(const ERSpoleNURBS3D& other);
    ~ERSpoleNURBS3D() override;

    /// The poles as they are stored, weighted.
    const ERMatrix<ERPole3DH>& poles() const { return poles_; }
    const ERKnotVector& knotVectorU() const { return knots_u_; }
    const ERKnotVector& knotVectorV() const { return knots_v_; }
    /// Whether there is something to evaluate: 1 or 0.
    int isValid() const override;

    using ERSpoleRep::operator();
    using ERSpoleRep::PtCur;
    /// By CalOnNurbs_H. At a knot the span above it counts, at the end of the domain the one below.
    ERPoint3D operator()(double u, double v) const override;
    /// By a tqkNurbSurf, which is built once. The span below a knot counts from the end of the
    /// working limits on.
    ERInfoPoint3DSurf PtCur(double u, double v) const override;

    int degreeU() const override;
    int degreeV() const override;
    int nbPolesU() const override;
    int nbPolesV() const override;
    /// 1 for degree + 1 poles in both directions, with knots that aren't flagged as unclamped.
    int isBezier() const override;
    /// An unclamped surface is clamped before.
    void incrDegree(int alongU, int alongV) override;
    /// Nothing: a NURBS surface keeps its degrees.
    void decrDegree(int alongU, int alongV) override;
    /// Insert a knot k times; nothing changes for a knot outside the domain.
    virtual void insertKnotU(double u, int k);
    virtual void insertKnotV(double v, int k);

    /// Makes the trim the domain: cuts at an end inside the domain, continues the polynomials of
    /// the end spans to one outside. An end within four roundings of the domain's is taken for it.
    /// A direction with an empty or reversed trim stays as it is.
    void adjust() override;

    /// The curve of constant u over the limits of V, and the other way round.
    ERCpoleNURBS3D getIsoU(double u) const;
    ERCpoleNURBS3D getIsoV(double v) const;
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoU(double u) const override;
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoV(double v) const override;

    /// Cut at u or v, which lies strictly inside the limits: new surfaces with the working limits
    /// on either side, both clamped there. Return 1, or 0 with both unchanged. Without a parameter:
    /// in the middle of the limits.
    int SplitInU(t_SmartPtr<ERSpoleNURBS3D>& a, t_SmartPtr<ERSpoleNURBS3D>& b) const;
    int SplitInU(t_SmartPtr<ERSpoleNURBS3D>& a, t_SmartPtr<ERSpoleNURBS3D>& b, double u) const;
    int SplitInV(t_SmartPtr<ERSpoleNURBS3D>& a, t_SmartPtr<ERSpoleNURBS3D>& b) const;
    int SplitInV(t_SmartPtr<ERSpoleNURBS3D>& a, t_SmartPtr<ERSpoleNURBS3D>& b, double v) const;
    using ERSpoleRep::SplitInU;
    using ERSpoleRep::SplitInV;
    int SplitInU(t_SmartPtr<ERAnyBoundedSurface>& a, t_SmartPtr<ERAnyBoundedSurface>& b,
                 double u) const override;
    int SplitInV(t_SmartPtr<ERAnyBoundedSurface>& a, t_SmartPtr<ERAnyBoundedSurface>& b,
                 double v) const override;

    /// Of both knot vectors, as ERKnotVector reports it: a clamped one counts its ends.
    int IsContinuous(int order) const override;
    /// Append what ERKnotVector::GetDiscontinuities finds.
    int GetDiscontinuitiesU(int order, ERVec<double>& params) const override;
    int GetDiscontinuitiesV(int order, ERVec<double>& params) const override;
    /// The spans of the domain that are not empty.
    void GetNumberOfSpans(int& nu, int& nv) const override;
    /// The boxes of the poles that govern each of them, as points: a row per span along U.
    void GetSpanBoxes(ERSimpleVec2<ERMinimax3D>& boxes) const override;

    using ERSpoleRep::ProjectionNormale;
    /// A foot of the perpendicular in the limits; see surfaces/surface_projection.h for what that
    /// is worth. None if p is farther than 1.1 `distance` from the box of the poles, 0.001 wider,
    /// or if the poles are within 0.001 of a plane and p is not above their hull. THE FORM WITHOUT
    /// `distance` TAKES 0: it finds feet of points in that box only.
    ///
    /// A surface more than twice as long as wide, and one whose poles leave their plane by more
    /// than 2.0, is halved again and again; the first half with a foot gives the result. Halves and
    /// their grids are kept until the surface changes, up to 64 megabytes.
    int ProjectionNormale(const ERPoint3D& p, double distance, ERPoint2D& parameter,
                          int inBound) const override;
    /// The crossings of each Bezier patch, by its own ProjectPoint; along U first. The whole
    /// surface counts, trimmed or not: filtreOutsidePoint leaves those in the limits.
    void ProjectPoint(const ERPoint3D& p, ERRaySurfaceResult& result, int inBound) const override;
    void ProjectPoint(const ERPoint3D& p, const ERVector3D& direction, ERRaySurfaceResult& result,
                      int inBound) const override;

    /// Builds the Bezier patches' decomposer unless it is there.
    void UpdateCache() const;
    /// The decomposer, null before UpdateCache and after each change but a map and reverse().
    Nurbs3DToBezier3DRDecomposer* decomposer() const;
    void ResetCacheInfo() const override;

    void scale(double s) override;
    void translate(const ERPoint3D& v) override;
    void transformFrom(const ERPmSimilitude3D& t) override;
    void transformFrom(const ERPmIsometrie3D& t) override;
    void transformTo(const ERPmSimilitude3D& t) override;
    void transformTo(const ERPmIsometrie3D& t) override;
    void reverse() override;

    /// The limits, "Control Points :" and the matrix, "Knot u         :" and "Knot v         :"
    /// with the knots.
    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;

    /// The limits, the matrix of the poles, the knots along U, the knots along V. A record whose
    /// poles or knots are damaged, not finite or of numbers that don't agree leaves the surface
    /// without poles and knots.
    VELM_DECLARE_STORED_FORM();

protected:
    PoleMatrix pole_matrix() override;

private:
    struct Caches;

    const tqkNurbSurf& kernel() const;
    bool has_extent(velm::detail::Axis axis) const;
    void insert_knot(velm::detail::Axis axis, double t, int k);
    template <class Surface>
    int split(velm::detail::Axis axis, t_SmartPtr<Surface>& a, t_SmartPtr<Surface>& b,
              double x) const;
    /// Runs a change of the base class, which drops the decomposer, and maps that along.
    template <class Change, class Along>
    void with_decomposer(Change change, Along along);

    template <class Surface, class Form>
    static void stored_fields(Surface& self, Form& form);
    void refuse_damaged();

    ERMatrix<ERPole3DH> poles_;
    ERKnotVector knots_u_;
    ERKnotVector knots_v_;
    mutable std::unique_ptr<Caches> caches_; ///< null until something is kept
};
