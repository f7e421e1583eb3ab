// ERPatchCPoly2D, ERPatchCPoly3D: curves held as one polynomial for each coordinate, and for the
// weight of a rational one. ERPatchCPoly: what they hold.
//
//     ERPatchCPoly2D patch(bezier);            // of an ERCpoleBezier2D
//     ERPoint2D p = patch(0.25);
//     ERCpoleNURBS2D curve = patch.ConvertToNurbs();
//
// The power basis loses digits as the degree grows, about half a digit a degree: take it up to
// degree 10 or so. Sections are not found (the interface's default of 0): ask castToCpole().
#pragma once

#include "velm/curves/pole_curve.h"
#include "velm/frame/pole.h"

/// The polynomials, first the numerators of the coordinates, then, of a rational patch, the weight.
class VELM_API ERPatchCPoly {
public:
    ERPatchCPoly() = default;
    explicit ERPatchCPoly(const ERTValVector<ERPolynome>& polynomials) : polys(polynomials) {}
    virtual ~ERPatchCPoly() = default;

    const ERTValVector<ERPolynome>& getPolys() const { return polys; }

    /// The values of the polynomials at t.
    ERVec<double> calculate(double t) const;
    /// The values and the first two derivatives; the arrays are set to the number of polynomials.
    void calculate(double t, ERVec<double>& value, ERVec<double>& first,
                   ERVec<double>& second) const;
    /// Replaces each polynomial P by P(q): with a q of degree 1 another parameter. As in
    /// composition of polynomials, a constant q takes P to its first coefficient.
    void apply(const ERPolynome& q);

    /// "Patch Polynomial" and each polynomial, a line each.
    virtual void printOn(std::ostream& out) const;
    /// The stored form: the number of polynomials, then each one's.
    virtual void saveGuts(ERFile& file) const;
    /// A record with more than four polynomials, or with numbers that are not finite, leaves none.
    virtual void restoreGuts(ERFile& file);
    virtual unsigned int binaryStoreSize() const;

protected:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form);

    ERTValVector<ERPolynome> polys;
};

namespace velm::detail {

/// Both patches.
template <class D>
class VELM_API PolynomialPatch : public ERPatchCPoly, public D::LimitedEntity {
public:
    using Point = typename D::Point;
    using Curve = typename D::FiniteEntity;

    /// No polynomials, with NaN points; bound (0, 1).
    PolynomialPatch() : D::LimitedEntity(ERLimites(0.0, 1.0)) {}
    PolynomialPatch(const ERTValVector<ERPolynome>& polynomials, const ERLimites& bound)
        : ERPatchCPoly(polynomials), D::LimitedEntity(bound) {}
    /// From Bezier poles, over (0, 1).
    explicit PolynomialPatch(const ERVec<Point>& poles);
    explicit PolynomialPatch(const ERVec<typename D::Pole>& poles);

    bool isRational() const { return polys.length() == D::size + 1; }

    /// The point at t, divided by the weight without a test for zero.
    Point operator()(double t) override;
    typename D::InfoPoint PtCur(double t) override;
    /// The box of the Bezier poles over the bound.
    typename D::Box getBox() override;
    /// That of the NURBS curve.
    double arcLength(ERLimites interval, double tol) const override;
    double arcLength(double tol) const override;
    typename D::NurbsCurve ConvertToNurbs() override;
    /// The NURBS curve as a new object.
    t_SmartPtr<typename D::PoleCurve> castToCpole();
    /// Cuts at t, which lies strictly inside the bound: two patches of the same polynomials.
    /// Otherwise returns 0, the outputs unchanged.
    int splitAt(t_SmartPtr<Curve>& first, t_SmartPtr<Curve>& second, double t) const override;

    /// The parameters in the bound of the feet of the perpendiculars from p, with the accuracy of
    /// the power form; `params` is emptied first and tol is not used. Returns their number, or -1
    /// with none if every point is a foot.
    int ProjectPoint(const Point& p, ERVec<double>& params, double tol) const override;

    /// The same points over another bound.
    void reparametrize(const ERLimites& natural) override;
    void reverse() override;
    void scale(double s) override;
    void translate(const Point& v) override;

    void printOn(std::ostream& out) const override;
    /// The bound, then the polynomials.
    VELM_DECLARE_STORED_FORM();

protected:
    using ERPatchCPoly::stored_fields;

    /// The polynomials that the curve u -> t of [0, 1] onto the bound gives.
    ERTValVector<ERPolynome> normalised_polynomials() const;
    ERVec<typename D::Pole> bezier_poles() const;
    Point point_at(double t) const;
    /// Degree + 1 points at even steps, refined to tol.
    void prepareApprox(typename D::PointList& list, const ERLimites& interval,
                       double tol) const override;

    /// From the power form of a Bezier curve over a domain.
    struct FormOver {
        ERTValVector<ERPolynome> form;
        ERLimites domain;
    };
    PolynomialPatch(const FormOver& given, const ERLimites& bound);

private:
    int greatest_degree() const;
};

} // namespace velm::detail

/// A patch of the plane: two polynomials, or three for a rational one.
class VELM_API ERPatchCPoly2D : public velm::detail::PolynomialPatch<velm::Plane> {
    VELM_DECLARE_CLASS(ERPatchCPoly2D)

public:
    using PolynomialPatch::PolynomialPatch;
    /// The whole curve over its domain, with its limits as the bound.
    explicit ERPatchCPoly2D(const ERCpoleBezier2D& curve);
    explicit ERPatchCPoly2D(const ERCpoleBezier2DR& curve);

    void transformFrom(const ERTransfo2D& t) override;
    void transformTo(const ERTransfo2D& t) override;
    /// An ERPatchCPoly3D.
    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& frame) override;
    ERObject* getCopy() const override;
};

/// A patch of space: three polynomials, or four for a rational one.
class VELM_API ERPatchCPoly3D : public velm::detail::PolynomialPatch<velm::Space> {
    VELM_DECLARE_CLASS(ERPatchCPoly3D)

public:
    using PolynomialPatch::PolynomialPatch;
    /// As for the patch of the plane.
    explicit ERPatchCPoly3D(const ERCpoleBezier3D& curve);
    explicit ERPatchCPoly3D(const ERCpoleBezier3DR& curve);

    void transformFrom(const ERPmSimilitude3D& t) override;
    void transformFrom(const ERPmIsometrie3D& t) override;
    void transformTo(const ERPmSimilitude3D& t) override;
    void transformTo(const ERPmIsometrie3D& t) override;
    /// An ERPatchCPoly2D.
    t_SmartPtr<EREntity2DWF> get2DEntProjectedOn(const ERPmIsometrie3D& frame) override;
    ERObject* getCopy() const override;
};

extern template class velm::detail::PolynomialPatch<velm::Plane>;
extern template class velm::detail::PolynomialPatch<velm::Space>;
