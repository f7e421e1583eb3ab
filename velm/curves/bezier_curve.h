// ERCpoleBezier2D, ERCpoleBezier3D: polynomial Bezier curves.
// ERCpoleBezier2DR, ERCpoleBezier3DR: rational ones.
//
//     ERCpoleBezier2DR arc({{1, 0, 1}, {h, h, h}, {0, 1, 1}}); // a quarter circle, h = sqrt(0.5)
//     ERPoint2D middle = arc(0.5);
//     ERCpoleBezier2DR first, second;
//     arc.split(first, second);                                // both at their own limits
//     arc.incrDegree(1);                                       // the same curve, of degree 3
//
// The parameter runs over the domain, (0, 1) by default; it is not clamped, and a trim changes
// neither operator() nor PtCur. A rational curve has infinite or NaN points where its weight is 0.
// A curve without poles has NaN points, an empty box, and no feet or crossings.
#pragma once

#include "velm/curves/pole_curve.h"
#include "velm/frame/pole.h"

namespace velm::detail {

/// What a Bezier class consists of: its dimension, its stored poles, and its twin in the other
/// dimension.
template <class Curve>
struct BezierParts;
template <>
struct BezierParts<ERCpoleBezier2D> {
    using Dimension = Plane;
    using StoredPole = ERPoint2D;
    using Twin = ERCpoleBezier3D;
};
template <>
struct BezierParts<ERCpoleBezier2DR> {
    using Dimension = Plane;
    using StoredPole = ERPole2DH;
    using Twin = ERCpoleBezier3DR;
};
template <>
struct BezierParts<ERCpoleBezier3D> {
    using Dimension = Space;
    using StoredPole = ERPoint3D;
    using Twin = ERCpoleBezier2D;
};
template <>
struct BezierParts<ERCpoleBezier3DR> {
    using Dimension = Space;
    using StoredPole = ERPole3DH;
    using Twin = ERCpoleBezier2DR;
};

/// The four Bezier classes.
template <class Self>
class VELM_API BezierCurve : public BezierParts<Self>::Dimension::PoleCurve {
public:
    using D = typename BezierParts<Self>::Dimension;
    using StoredPole = typename BezierParts<Self>::StoredPole;
    using Twin = typename BezierParts<Self>::Twin;
    using Rep = typename D::PoleCurve;
    using Point = typename D::Point;
    using InfoPoint = typename D::InfoPoint;
    using PowerForm = typename Rep::PowerForm;

    BezierCurve() = default;
    /// Over the domain (0, 1).
    explicit BezierCurve(const ERVec<StoredPole>& control) : poles(control) {}
    BezierCurve(const ERVec<StoredPole>& control, const ERLimites& natural)
        : Rep(natural), poles(control) {}
    BezierCurve(const ERVec<StoredPole>& control, const ERLimites& natural,
                const ERLimites& trimmed)
        : Rep(natural, trimmed), poles(control) {}

    /// The poles as they are stored, weighted on a rational curve.
    const ERVec<StoredPole>& getPoles() const { return poles; }

    /// By Horner's scheme on the poles, over the whole domain.
    Point operator()(double t) override;
    /// The point with its derivatives by t, by de Casteljau's scheme.
    InfoPoint PtCur(double t) override;

    int degree() const override;
    /// 1.
    int isBezier() const override;
    ERKnotVector knotVector() const override;
    typename D::NurbsCurve ConvertToNurbs() override;

    /// Makes the trim the domain; the poles become those of that part.
    void adjust() override;
    void incrDegree(int k) override;
    /// The poles of one degree less by interpolation from both ends, regardless of what that does
    /// to the curve. Returns 1 if both ends agree in the middle within 1e-11 in each component:
    /// whether the curve was of the lower degree. A curve of degree 0 or 1 stays as it is, and the
    /// result is 0.
    int decrDegree() override;

    using Rep::split;
    using Rep::splitAt;
    /// Cuts at t, which lies strictly inside the limits. Returns 1, or 0 with both unchanged.
    /// Either may be this curve.
    int splitAt(Self& first, Self& second, double t) const;
    /// Cuts in the middle of the limits.
    int split(Self& first, Self& second) const;

    /// There is one span: i is not read.
    PowerForm getSpanPower(int i) const override;

    /// Appends the parameters of the feet of the perpendiculars from p, over the whole domain even
    /// of a trimmed curve, with the accuracy of the power form. A curve of degree 2 and more whose
    /// box is farther than tol from p gives 0, nothing appended. Returns the size of `params`, or
    /// -1 if every point is a foot, with the middle of the domain appended.
    int ProjectPoint(const Point& p, ERVec<double>& params, double tol) const override;

    ERObject* getCopy() const override;

    /// Both domains, then the body of the array of poles. A record whose poles are no whole number
    /// of them, more than 65537, or not finite leaves the curve without poles.
    VELM_DECLARE_STORED_FORM();

protected:
    typename Rep::PoleArray pole_array() override;
    /// Keeps those inside the limits that `params` doesn't hold yet.
    int level_crossings(double level, ERVec<double>& params) const override;
    Point point_at(double t) const;
    /// What getSpanPower returns a copy of; there are poles.
    const PowerForm& power_form() const;
    /// The curve in the other dimension: through Convert of the poles.
    Twin twin(const ERPmIsometrie3D& frame) const;

    ERVec<StoredPole> poles;

private:
    template <class Curve, class Form>
    static void stored_fields(Curve& self, Form& form);
};

} // namespace velm::detail

/// A polynomial Bezier curve of the plane.
class VELM_API ERCpoleBezier2D : public velm::detail::BezierCurve<ERCpoleBezier2D> {
    VELM_DECLARE_CLASS(ERCpoleBezier2D)

public:
    using BezierCurve::BezierCurve;
    /// An ERCpoleBezier3D.
    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& frame) override;
};

/// A rational Bezier curve of the plane.
class VELM_API ERCpoleBezier2DR : public velm::detail::BezierCurve<ERCpoleBezier2DR> {
    VELM_DECLARE_CLASS(ERCpoleBezier2DR)

public:
    using BezierCurve::BezierCurve;
    /// An ERCpoleBezier3DR.
    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& frame) override;
};

/// A polynomial Bezier curve of space.
class VELM_API ERCpoleBezier3D : public velm::detail::BezierCurve<ERCpoleBezier3D> {
    VELM_DECLARE_CLASS(ERCpoleBezier3D)

public:
    using BezierCurve::BezierCurve;
    /// An ERCpoleBezier2D.
    t_SmartPtr<EREntity2DWF> get2DEntProjectedOn(const ERPmIsometrie3D& frame) override;
};

/// A rational Bezier curve of space.
class VELM_API ERCpoleBezier3DR : public velm::detail::BezierCurve<ERCpoleBezier3DR> {
    VELM_DECLARE_CLASS(ERCpoleBezier3DR)

public:
    using BezierCurve::BezierCurve;
    /// An ERCpoleBezier2DR.
    t_SmartPtr<EREntity2DWF> get2DEntProjectedOn(const ERPmIsometrie3D& frame) override;
};

/// The point at t, with its derivatives by t, of the Bezier curve of these poles over a domain.
VELM_API ERInfoPoint2D CasteljauAll(const ERVec<ERPoint2D>& poles, double t,
                                    const ERLimites& domain);
VELM_API ERInfoPoint2D CasteljauAll(const ERVec<ERPole2DH>& poles, double t,
                                    const ERLimites& domain);
VELM_API ERInfoPoint3DWF CasteljauAll(const ERVec<ERPoint3D>& poles, double t,
                                      const ERLimites& domain);
VELM_API ERInfoPoint3DWF CasteljauAll(const ERVec<ERPole3DH>& poles, double t,
                                      const ERLimites& domain);

extern template class velm::detail::BezierCurve<ERCpoleBezier2D>;
extern template class velm::detail::BezierCurve<ERCpoleBezier2DR>;
extern template class velm::detail::BezierCurve<ERCpoleBezier3D>;
extern template class velm::detail::BezierCurve<ERCpoleBezier3DR>;
