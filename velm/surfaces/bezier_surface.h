// ERSpoleBezier3D, ERSpoleBezier3DR: polynomial and rational Bezier surfaces.
//
//     ERSpoleBezier3D patch(poles, ERLimites(0.0, 1.0), ERLimites(0.0, 2.0));
//     const ERPoint3D p = patch(0.5, 1.0);
//     t_SmartPtr<ERSpoleBezier3D> low, high;
//     patch.SplitInV(low, high, 0.7);            // each over its own part of V
//     patch.redefineDomainU(ERLimites(-0.1, 1)); // continued
//
// Parameters are mapped from the natural limits to [0, 1]; they are not clamped, and a trim changes
// neither operator() nor PtCur. A rational surface has infinite or NaN points where its weight is
// 0. A surface without poles has NaN points and an empty box.
#pragma once

#include "velm/curves/bezier_curve.h"
#include "velm/surfaces/pole_surface.h"

namespace velm::detail {

/// What a Bezier surface class consists of: its stored poles and its iso curves.
template <class Surface>
struct BezierSurfaceParts;
template <>
struct BezierSurfaceParts<ERSpoleBezier3D> {
    using StoredPole = ERPoint3D;
    using IsoCurve = ERCpoleBezier3D;
};
template <>
struct BezierSurfaceParts<ERSpoleBezier3DR> {
    using StoredPole = ERPole3DH;
    using IsoCurve = ERCpoleBezier3DR;
};

enum class Axis;

/// Both Bezier surface classes.
template <class Self>
class VELM_API BezierSurface : public ERSpoleRep {
public:
    using StoredPole = typename BezierSurfaceParts<Self>::StoredPole;
    using IsoCurve = typename BezierSurfaceParts<Self>::IsoCurve;

    BezierSurface() = default;
    /// Over [0, 1] x [0, 1].
    /// A net that isn't whole (ERMatrix::is_whole) counts as none.
    explicit BezierSurface(const ERMatrix<StoredPole>& control)
        : BezierSurface(control, ERLimites(0.0, 1.0), ERLimites(0.0, 1.0)) {}
    BezierSurface(const ERMatrix<StoredPole>& control, const ERLimites& u, const ERLimites& v)
        : ERSpoleRep(u, v), poles_(control.is_whole() ? control : ERMatrix<StoredPole>()) {}

    /// The poles as they are stored, weighted on a rational surface.
    const ERMatrix<StoredPole>& poles() const { return poles_; }

    /// Whether there are poles: 1 or 0.
    int isValid() const override;

    using ERSpoleRep::operator();
    using ERSpoleRep::PtCur;
    /// By Horner's scheme on the poles.
    ERPoint3D operator()(double u, double v) const override;
    /// The derivatives by u and v, by de Casteljau's scheme along V, then along U.
    ERInfoPoint3DSurf PtCur(double u, double v) const override;

    int degreeU() const override;
    int degreeV() const override;
    int nbPolesU() const override;
    int nbPolesV() const override;
    /// Whether the poles have weights.
    int isRational() const override;
    void incrDegree(int alongU, int alongV) override;
    /// One degree after the other, along U first, as ERCpoleBezier3D::decrDegree does it, with the
    /// same effect on the surface. Degree 1 stays.
    void decrDegree(int alongU, int alongV) override;

    /// Makes the trim the natural limits; the poles become those of that part. A part outside
    /// continues the polynomial.
    void adjust() override;

    /// The curve of constant u over the limits of V, and the other way round.
    IsoCurve getIsoU(double u) const;
    IsoCurve getIsoV(double v) const;
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoU(double u) const override;
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoV(double v) const override;

    /// Cut at u or v, which lies strictly inside the limits, by de Casteljau's scheme: new surfaces
    /// with the working limits on either side. Return 1, or 0 with both unchanged. Without a
    /// parameter: in the middle of the limits.
    int SplitInU(t_SmartPtr<Self>& a, t_SmartPtr<Self>& b) const;
    int SplitInU(t_SmartPtr<Self>& a, t_SmartPtr<Self>& b, double u) const;
    int SplitInV(t_SmartPtr<Self>& a, t_SmartPtr<Self>& b) const;
    int SplitInV(t_SmartPtr<Self>& a, t_SmartPtr<Self>& b, double v) const;
    using ERSpoleRep::SplitInU;
    using ERSpoleRep::SplitInV;
    int SplitInU(t_SmartPtr<ERAnyBoundedSurface>& a, t_SmartPtr<ERAnyBoundedSurface>& b,
                 double u) const override;
    int SplitInV(t_SmartPtr<ERAnyBoundedSurface>& a, t_SmartPtr<ERAnyBoundedSurface>& b,
                 double v) const override;

    using ERSpoleRep::ProjectionNormale;
    using ERSpoleRep::ProjectPoint;
    /// SeedProjection and ReajustAtSeam (surfaces/surface_projection.h) on the part in the limits,
    /// over [0, 1] x [0, 1]. `distance` only prunes: a point farther than that from the box of the
    /// poles, 0.2 wider, has no foot. THE FORM WITHOUT `distance` TAKES 0. `parameter` takes the
    /// start, or the start of the limits if there is none, then the foot.
    int ProjectionNormale(const ERPoint3D& p, double distance, ERPoint2D& parameter,
                          int inBound) const override;
    /// By halving the patch until the line meets one of its parts in a regular way, then Newton's
    /// method (VerticalSolution, surfaces/vertical_crossing.h). A line that touches may be missed,
    /// a crossing where parts meet given twice. The whole patch counts, trimmed or not.
    void ProjectPoint(const ERPoint3D& p, ERRaySurfaceResult& result, int reserved) const override;

    /// The limits, "Les Poles :" and the matrix.
    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;

    /// The limits, then the matrix of the poles. A record whose matrix is damaged, not finite, or
    /// of a degree above 65536 leaves the surface without poles.
    VELM_DECLARE_STORED_FORM();

protected:
    PoleMatrix pole_matrix() override;

private:
    template <class Surface>
    int split(Axis axis, t_SmartPtr<Surface>& a, t_SmartPtr<Surface>& b, double x) const;
    template <class Surface, class Form>
    static void stored_fields(Surface& self, Form& form);

    ERMatrix<StoredPole> poles_;
};

} // namespace velm::detail

/// A polynomial Bezier surface.
class VELM_API ERSpoleBezier3D : public velm::detail::BezierSurface<ERSpoleBezier3D> {
    VELM_DECLARE_CLASS(ERSpoleBezier3D)

public:
    using BezierSurface::BezierSurface;
};

/// A rational Bezier surface.
class VELM_API ERSpoleBezier3DR : public velm::detail::BezierSurface<ERSpoleBezier3DR> {
    VELM_DECLARE_CLASS(ERSpoleBezier3DR)

public:
    using BezierSurface::BezierSurface;
};

extern template class velm::detail::BezierSurface<ERSpoleBezier3D>;
extern template class velm::detail::BezierSurface<ERSpoleBezier3DR>;
