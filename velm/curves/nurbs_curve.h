// ERCpoleNURBS2D, ERCpoleNURBS3D: rational B-spline curves.
//
//     ERCpoleNURBS2D curve(poles, ERKnotVector(3, poles.size(), ERLimites(0.0, 1.0)));
//     curve.insertKnot(0.4, 1);         // the same curve with one pole more
//     curve.setBound(ERLimites(0.2, 0.7));
//     curve.adjust();                   // cut to that part
//     if (!curve.merge(next, 1e-6, 1)) // joined to another at either end
//         report(curve.lastPt());
//
// Editing works on homogeneous poles. An unclamped curve is one between knot p and knot n of its n
// poles; the limits that its constructor and insertKnot give it reach one knot further, which is
// part of the contract: the last span goes on there. A curve without poles has NaN points, an empty
// box, and no feet or crossings.
#pragma once

#include "velm/curves/knot_vector.h"
#include "velm/curves/pole_curve.h"
#include "velm/frame/pole.h"

namespace velm::detail {

/// The NURBS curves of the plane and of space.
template <class D>
class VELM_API NurbsCurve : public D::PoleCurve {
public:
    using Self = typename D::NurbsCurve;
    using Rep = typename D::PoleCurve;
    using Point = typename D::Point;
    using Pole = typename D::Pole;
    using PowerForm = typename Rep::PowerForm;

    NurbsCurve() = default;
    /// One Bezier piece over (0, 1).
    explicit NurbsCurve(const ERVec<Pole>& control);
    /// Clamped, with knots at even steps over (0, 1).
    NurbsCurve(const ERVec<Pole>& control, int degree);
    /// Over knots.limites().
    NurbsCurve(const ERVec<Pole>& control, const ERKnotVector& knots);
    /// The same, trimmed to the interval.
    NurbsCurve(const ERVec<Pole>& control, const ERKnotVector& knots, const ERLimites& trimmed);

    /// The poles as they are stored, weighted.
    const ERVec<Pole>& getPoles() const { return poles; }
    const ERKnotVector& getKnots() const { return knots; }

    /// By Horner's scheme on a single Bezier piece, else CalOnNurbs.
    Point operator()(double t) override;
    /// The point, that of CalOnNurbs, with its derivatives by t, from differences of poles and
    /// basis functions of lower degree. Up to degree 20 and weights from 1e-3 to 1e3 all three are
    /// within 8 roundings of the sizes of the terms that they are the sums of, where the derivative
    /// of a basis function, a difference of two lower ones, counts with the sum of both (largest at
    /// 60,000 parameters: 4.7, 2.7 and 2.9).
    typename D::InfoPoint PtCur(double t) override;
    /// The point by the basis functions of its span, and its homogeneous form.
    Point CalOnNurbs(double t) const;
    Pole CalOnNurbs_H(double t) const;

    int degree() const override;
    ERKnotVector knotVector() const override;
    /// 1 for degree + 1 poles with knots that are not flagged as unclamped.
    int isBezier() const override;
    /// 1 without poles and knots, or with as many knots as the poles and the degree need; else 0.
    int isValid() const override;
    int IsContinuous(int order) const override;
    int GetDiscontinuities(int order, ERVec<double>& params) const override;
    Self ConvertToNurbs() override;

    /// Inserts t r times; nothing changes for a t outside the domain. The trim is forgotten where
    /// something changes: domain and limits become those of the knots, here and below.
    void insertKnot(double t, int r);
    /// Takes up to r copies of the knot t out, none of the first and of the last knot. There is no
    /// test of what that does to the curve. Returns 1.
    int reduceKnotMultiplicity(double t, int r);
    /// The same curve, of a degree higher by k; an unclamped curve is clamped before.
    void incrDegree(int k) override;
    /// Changes nothing and returns 1: a NURBS curve keeps its degree, and callers rely on the 1.
    int decrDegree() override;

    /// Makes the trim the domain: cuts at an end inside the domain, continues the polynomial of the
    /// end span to one outside. An end within four roundings of the domain's is taken for it. An
    /// empty or reversed trim leaves the curve as it is.
    void adjust() override;
    /// Maps the knots, the first to the start of the interval and the last to its end: on an
    /// unclamped curve the domain is then a part of the interval.
    void reparametrize(const ERLimites& natural) override;
    void reverse() override;

    using Rep::split;
    using Rep::splitAt;
    /// Cuts at t, which lies strictly inside the limits. Returns 1, or 0 with both unchanged.
    /// Either may be this curve.
    int splitAt(Self& first, Self& second, double t) const;
    /// Cuts in the middle of the limits.
    int split(Self& first, Self& second) const;

    /// Joins `other` to the end of this curve, reversed where its far end is the one that meets.
    /// Returns 0, the shape unchanged, where neither end is within tol of the last point in each
    /// coordinate; a negative tol joins across any gap. Both are adjusted, clamped and raised to
    /// the higher degree; other's parameters go after this curve's, over their length times the
    /// scale below.
    ///
    /// With a continuity other than 0, derivatives are compared where the curves meet, order by
    /// order up to the degree: the positions within 1e-11, then vectors by |cross product| <= tol,
    /// so that parallel is enough. The knot of the joint is removed as often as orders beyond the
    /// position agree, without a test of what that does. If the first order agrees, the scale is
    /// the ratio of the end legs of the polygons times the length of this curve's last span,
    /// else 1.
    int append(const Self& other, double tol, int continuity);
    /// The same at the start. This curve takes the parameters of other's beginning.
    int prepend(const Self& other, double tol, int continuity);
    /// append or else prepend.
    int merge(const Self& other, double tol, int continuity);

    /// Of an empty span the point there, as constants.
    PowerForm getSpanPower(int i) const override;

    /// Sets `params` to the parameters of the feet of the perpendiculars from p, span by span and
    /// over the whole domain even of a trimmed curve, with the accuracy of the power form. Spans
    /// shorter than 1e-11 and those whose box is farther than tol from p are left out. A foot at a
    /// joint may come twice, or not at all. Returns their number, or -1 if every point of each span
    /// looked at is a foot, with the middles of the spans.
    int ProjectPoint(const Point& p, ERVec<double>& params, double tol) const override;

    /// The class name and poles as all pole curves, then the knots.
    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;

    /// Both domains, the body of the array of poles, then the knots. A record whose poles are no
    /// whole number of them or not finite, or whose knots are damaged or of another number, leaves
    /// the curve without poles and knots.
    VELM_DECLARE_STORED_FORM();

protected:
    typename Rep::PoleArray pole_array() override;
    /// degree + 1 parameters on each span inside the interval, joints once.
    ERVec<double> first_parameters(const ERLimites& interval) const override;
    /// Span by span, over the whole domain; parameters that `params` holds are not repeated.
    int level_crossings(double level, ERVec<double>& params) const override;

    ERVec<Pole> poles;
    ERKnotVector knots;

private:
    /// Whether there is something to evaluate.
    bool drawable() const;
    /// Whether the domain has an extent too: what edits that move ends or degrees need.
    bool has_extent() const;
    const PowerForm& span_power(int i) const;
    /// Calls f(i, span, box of its poles) for the spans longer than 1e-11, in order.
    template <class F>
    void for_spans(F f) const;

    void take_limits_of_knots();
    /// Makes the ends of the domain, knot p and knot n, those of the knots, and the limits.
    void clamp();
    bool remove_knot(double t);

    struct Joint;
    Joint joint_with(const Self& other, double tol) const;
    /// Puts `added` after this curve; both are clamped and of one degree.
    void attach(Self& added, double tol, int continuity);

    template <class Curve, class Form>
    static void stored_fields(Curve& self, Form& form);
    void refuse_damaged();
};

} // namespace velm::detail

/// A NURBS curve of the plane.
class VELM_API ERCpoleNURBS2D : public velm::detail::NurbsCurve<velm::Plane> {
    VELM_DECLARE_CLASS(ERCpoleNURBS2D)

public:
    using NurbsCurve::NurbsCurve;
    /// An ERCpoleNURBS3D.
    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& frame) override;
};

/// A NURBS curve of space.
class VELM_API ERCpoleNURBS3D : public velm::detail::NurbsCurve<velm::Space> {
    VELM_DECLARE_CLASS(ERCpoleNURBS3D)

public:
    using NurbsCurve::NurbsCurve;
    /// An ERCpoleNURBS2D.
    t_SmartPtr<EREntity2DWF> get2DEntProjectedOn(const ERPmIsometrie3D& frame) override;
};

extern template class velm::detail::NurbsCurve<velm::Plane>;
extern template class velm::detail::NurbsCurve<velm::Space>;
