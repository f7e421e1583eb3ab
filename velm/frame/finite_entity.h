// ERFiniteEntity2DWF, ERFiniteEntity3DWF: parametric curves on a closed interval, with evaluation,
// sampling, boxes, lengths, splitting and distance.
#pragma once

#include "velm/frame/box.h"
#include "velm/frame/dimension.h"
#include "velm/frame/entity.h"
#include "velm/frame/info_point.h"
#include "velm/frame/interval.h"
#include "velm/frame/smart_pointer.h"
#include "velm/frame/vec.h"

namespace velm::detail {

/// The common interface of the curves of the plane and of space: D is velm::Plane or velm::Space.
/// Operations that only read are partly declared without const, as the contract has them; none of
/// the defaults changes the curve.
template <class D>
class VELM_API FiniteEntity : public virtual D::WireEntity {
public:
    using Point = typename D::Point;
    using Vector = typename D::Vector;
    using InfoPoint = typename D::InfoPoint;
    using Curve = typename D::FiniteEntity;

    /// The start of the parameter interval: 0.
    virtual double udeb() const;
    /// The end of the parameter interval: 1.
    virtual double ufin() const;
    /// 1 if the interval is a part of the natural one, else 0.
    virtual int isTrimmed() const;
    /// The interval (udeb(), ufin()).
    virtual ERLimites getBound();
    /// 1 if both ends agree within tol on every axis, else 0.
    virtual int isClosed(double tol) const;

    /// The point at t with its derivatives; t is not clamped.
    virtual InfoPoint PtCur(double t) = 0;
    /// The point at the start.
    virtual Point firstPt();
    /// The point at the end.
    virtual Point lastPt();
    /// The point at t; t is not clamped.
    virtual Point operator()(double t);
    /// PtCur at a parameter drawn with std::rand().
    virtual InfoPoint randomPoint();

    /// The points of a polyline that follows the curve over `interval` within tol, refined from
    /// prepareApprox.
    virtual ERVec<Point> approxime(const ERLimites& interval, double tol);
    /// n points at even steps of the parameter over getBound(). A single point has a NaN parameter;
    /// n <= 0 gives none.
    virtual ERVec<Point> approxime(int n);

    /// A box that contains the curve.
    virtual typename D::Box getBox() = 0;

    /// The curve as a NURBS curve. Those of wireframe entities are defined in
    /// curves/wireframe_to_nurbs.cpp.
    virtual typename D::NurbsCurve ConvertToNurbs() = 0;

    /// The length over `interval`, to the tolerance tol.
    virtual double arcLength(ERLimites interval, double tol) const = 0;
    /// The length of the whole curve, to the tolerance tol.
    virtual double arcLength(double tol) const = 0;
    /// An upper bound of the length, by default arcLength(1e-7).
    virtual double upperEstimate() const;

    /// Cuts at t: `first` and `second` receive new curves. Returns 1, or 0 with both unchanged.
    /// Either may be the pointer that holds this curve.
    virtual int splitAt(t_SmartPtr<Curve>& first, t_SmartPtr<Curve>& second, double t) const = 0;
};

} // namespace velm::detail

/// A parametric curve of the plane.
class VELM_API ERFiniteEntity2DWF : public velm::detail::FiniteEntity<velm::Plane> {
    VELM_DECLARE_CLASS(ERFiniteEntity2DWF)

public:
    /// Appends the parameters where the curve crosses the level y; returns the size of `params`, or
    /// 0. The default finds nothing.
    virtual int intersectWithAxeY(double y, ERVec<double>& params) const;

    /// intersectWithAxeY of a copy of the curve at level 0, in the frame at p with its x axis along
    /// d: the parameters where the curve crosses the line. Defined in
    /// transforms/curve_sections.cpp.
    virtual int intersectWith(const ERPoint2D& p, const ERVector2D& d, ERVec<double>& params) const;

    /// Appends the parameters of the feet of the perpendiculars from p. Returns their number, or -1
    /// if every point of the curve is one. The default finds nothing.
    virtual int ProjectPoint(const ERPoint2D& p, ERVec<double>& params, double tol) const;

    /// The unit tangent at t turned by +90 degrees.
    virtual ERVector2D normal(double t);

    /// As below, without the parameter.
    DISTMINRES SignedMinimalDistance(const ERPoint2D& p, double& dist) override;
    /// The distance of p and, in the classes that override it, the parameter t of the nearest
    /// point. This default is part of the contract: `dist` is 0 whenever ProjectPoint finds
    /// anything, and t is unchanged.
    virtual DISTMINRES SignedMinimalDistance(const ERPoint2D& p, double& dist, double& t);

    /// 1 if the derivatives up to the given order are continuous.
    virtual int IsContinuous(int order) const;
    /// Sets the parameters where the derivative of the given order jumps; by default none. Returns
    /// 1.
    virtual int GetDiscontinuities(int order, ERVec<double>& params) const;

protected:
    /// Fills `list` with points to connect for approxime: by default the two ends of `interval`.
    virtual void prepareApprox(ERPoint12List& list, const ERLimites& interval, double tol) const;
    friend class velm::detail::FiniteEntity<velm::Plane>;
};

/// A parametric curve of space.
class VELM_API ERFiniteEntity3DWF : public velm::detail::FiniteEntity<velm::Space> {
    VELM_DECLARE_CLASS(ERFiniteEntity3DWF)

public:
    /// Appends the parameters where the curve meets the plane at height z; returns the size of
    /// `params`, or 0. The default finds nothing.
    virtual int intersectWithPlanZ(double z, ERVec<double>& params) const;

    /// intersectWithPlanZ of a copy of the curve at height 0, in a frame at p with its z axis along
    /// d: the parameters where the curve meets the plane. Defined in transforms/curve_sections.cpp.
    virtual int intersectWith(const ERPoint3D& p, const ERVector3D& d, ERVec<double>& params) const;

    /// As ERFiniteEntity2DWF::ProjectPoint.
    virtual int ProjectPoint(const ERPoint3D& p, ERVec<double>& params, double tol) const;

    /// As ERFiniteEntity2DWF::IsContinuous.
    virtual int IsContinuous(int order) const;
    /// As ERFiniteEntity2DWF::GetDiscontinuities.
    virtual int GetDiscontinuities(int order, ERVec<double>& params) const;

protected:
    /// As ERFiniteEntity2DWF::prepareApprox.
    virtual void prepareApprox(ERPoint13List& list, const ERLimites& interval, double tol) const;
    friend class velm::detail::FiniteEntity<velm::Space>;
};

extern template class velm::detail::FiniteEntity<velm::Plane>;
extern template class velm::detail::FiniteEntity<velm::Space>;
