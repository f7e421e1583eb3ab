// ERCompCurve2D, ERCompCurve3D: finite curves of any classes one after another, as one curve.
// ERCrvCompPoly2D, ERCrvCompPoly3D: the same of polynomial patches.
//
//     ERCompCurve2D outline;
//     outline.append(ERSegment2D({0, 0}, {4, 0}), 1e-6);
//     if (!outline.append(arc, 1e-6))                 // reversed where its far end meets
//         report("the arc begins elsewhere");
//     ERPoint2D p = outline(1.5);                      // the middle of the arc
//     ERCpoleNURBS2D curve = outline.ConvertToNurbs();
//
// The parameter runs from 0 to the number of elements, one unit each; a whole one belongs to the
// later element, and the first and the last element go on beyond their ends. It counts the elements
// regardless of the domain: `reparametrize` changes the limits only. Gaps that were let in stay.
// The composite owns copies. Sections are not found (the interface's default of 0).
//
// Without elements: points at the origin, an empty box, length 0, a NURBS curve without poles.
#pragma once

#include "velm/curves/polynomial_patch.h"
#include "velm/frame/limited_entity.h"
#include "velm/frame/val_dlist.h"

#include <deque>

namespace velm::detail {

/// What a composite consists of, its dimension and its elements, and its twin in the other
/// dimension.
template <class Curve>
struct CompositeParts;
template <>
struct CompositeParts<ERCompCurve2D> {
    using Dimension = Plane;
    using Element = ERFiniteEntity2DWF;
    using Twin = ERCompCurve3D;
};
template <>
struct CompositeParts<ERCompCurve3D> {
    using Dimension = Space;
    using Element = ERFiniteEntity3DWF;
    using Twin = ERCompCurve2D;
};
template <>
struct CompositeParts<ERCrvCompPoly2D> {
    using Dimension = Plane;
    using Element = ERPatchCPoly2D;
    using Twin = ERCrvCompPoly3D;
};
template <>
struct CompositeParts<ERCrvCompPoly3D> {
    using Dimension = Space;
    using Element = ERPatchCPoly3D;
    using Twin = ERCrvCompPoly2D;
};

/// The four composites.
template <class Self>
class VELM_API CompositeCurve : public CompositeParts<Self>::Dimension::TrimmedEntity {
public:
    using D = typename CompositeParts<Self>::Dimension;
    using Element = typename CompositeParts<Self>::Element;
    using Twin = typename CompositeParts<Self>::Twin;
    using Point = typename D::Point;
    using InfoPoint = typename D::InfoPoint;
    using Curve = typename D::FiniteEntity;
    using Curve::approxime;

    /// Without elements.
    CompositeCurve() : D::TrimmedEntity(ERLimites(0.0, 0.0)) {}
    explicit CompositeCurve(const Element& element);
    CompositeCurve(const CompositeCurve& other);
    CompositeCurve& operator=(const CompositeCurve& other);

    int nbElements() const { return elements.entries(); }
    /// An element by its index, unchecked.
    const Element& element(int i) const;

    /// Puts a copy at the end: as it is if the first point is within tol of the last point here,
    /// else reversed if its last point is. A negative tol takes it as it is over any gap. Both
    /// domains become (0, number of elements), so that a trim is lost. Returns 1, or 0 with nothing
    /// changed for another gap and for null. The element may be this curve.
    int append(const t_SmartPtr<Element>& element, double tol);
    int append(const Element& element, double tol);
    /// The same at the start: the last point is the one that is compared first.
    int prepend(const t_SmartPtr<Element>& element, double tol);
    int prepend(const Element& element, double tol);

    /// The point and the info point of the element, with its derivatives by its own parameter; the
    /// info point's parameter is t.
    Point operator()(double t) override;
    InfoPoint PtCur(double t) override;
    /// The boxes of all elements together; a trim doesn't count.
    typename D::Box getBox() override;
    /// The sum of arcLength(1e-07) of the elements, regardless of the tolerance and the trim: part
    /// of the contract.
    double arcLength(double tol) const override;
    /// The sum over the parts of the elements in the interval, each with a tolerance of 1e-07.
    double arcLength(ERLimites interval, double tol) const override;
    /// The NURBS forms of the elements one after another, with their own parameter lengths; gaps
    /// become edges. An arc whose end is below its start gives its complement there (Convert).
    typename D::NurbsCurve ConvertToNurbs() override;

    /// The polylines of the elements' parts in the interval, equal ends once.
    ERVec<Point> approxime(const ERLimites& interval, double tol) override;
    /// Appends the parameters of the feet that the elements report, those inside their limits,
    /// equal neighbours once. A p farther than tol from the box has none. An element of which every
    /// point is a foot counts with its middle. Returns the size of `params`, or -1 if every element
    /// is such a one.
    int ProjectPoint(const Point& p, ERVec<double>& params, double tol) const override;
    /// Cuts at t, which lies strictly inside the limits: two composites of this class, of what is
    /// inside the limits. Returns 0, the outputs unchanged, for another t or an element that can't
    /// be cut.
    int splitAt(t_SmartPtr<Curve>& first, t_SmartPtr<Curve>& second, double t) const override;

    /// Reverses the order and every element. A trim is lost, as in append: part of the contract.
    void reverse() override;
    void scale(double s) override;
    void translate(const Point& v) override;

    /// A line of 53 "=", the class name with the number of elements, then of each element its ends,
    /// the gap to the next one and its own text.
    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;

    /// Both domains, then the elements as a list of optional references: they are records of their
    /// own. Elements that can't be read, or aren't of the class, are left out, and both domains are
    /// then those of the ones that came.
    VELM_DECLARE_STORED_FORM();

protected:
    using Link = t_SmartPtr<Element>;
    using Elements = ERTValDlist<Link>;

    /// The element at t; there is one.
    Element& findPatch(double t) const;
    /// The fraction of the way along it, outside [0, 1] beyond the curve's ends.
    double matchParamToPatch(double t) const;
    /// Calls f with every element.
    template <class F>
    void change_elements(F f);
    /// The twin of what `image` makes of each element; without those that have no image.
    template <class F>
    t_SmartPtr<Twin> twin(F image) const;

    Elements elements;

private:
    template <class Other>
    friend class CompositeCurve;
    template <class Any, class Form>
    static void stored_fields(Any& self, Form& form) {
        form(self.elements);
    }

    static Link copy_of(const Element& element);
    void take_copies(const CompositeCurve& other);
    /// Puts the element at either end and sets the domains.
    void put(const Link& element, bool at_end);
    int join(const Element& element, double tol, bool at_end);
    void take_natural_limits();
    void number_elements();
    /// Calls f(i, element, part) for the elements that the interval touches, in its order, `part`
    /// being fractions of the way along the element, reversed with the interval.
    template <class F>
    void for_parts(const ERLimites& interval, F f) const;
    bool cut_out(const ERLimites& interval, CompositeCurve& part) const;

    std::deque<Element*> numbered_; // those of `elements`, for access by index
};

/// A composite of the plane.
template <class Self>
class VELM_API FlatComposite : public CompositeCurve<Self> {
public:
    using CompositeCurve<Self>::CompositeCurve;
    using Element = typename CompositeCurve<Self>::Element;

    void transformFrom(const ERTransfo2D& t) override;
    void transformTo(const ERTransfo2D& t) override;
    /// The composite of the elements' equivalents.
    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& frame) override;
};

/// A composite of space.
template <class Self>
class VELM_API SpaceComposite : public CompositeCurve<Self> {
public:
    using CompositeCurve<Self>::CompositeCurve;
    using Element = typename CompositeCurve<Self>::Element;

    void transformFrom(const ERPmSimilitude3D& t) override;
    void transformFrom(const ERPmIsometrie3D& t) override;
    void transformTo(const ERPmSimilitude3D& t) override;
    void transformTo(const ERPmIsometrie3D& t) override;
    /// The composite of the elements' projections.
    t_SmartPtr<EREntity2DWF> get2DEntProjectedOn(const ERPmIsometrie3D& frame) override;
};

} // namespace velm::detail

/// Curves of the plane one after another. Its equivalent in space is an ERCompCurve3D.
class VELM_API ERCompCurve2D : public velm::detail::FlatComposite<ERCompCurve2D> {
    VELM_DECLARE_CLASS(ERCompCurve2D)
public:
    using FlatComposite::FlatComposite;
};

/// Curves of space one after another. Its projection is an ERCompCurve2D.
class VELM_API ERCompCurve3D : public velm::detail::SpaceComposite<ERCompCurve3D> {
    VELM_DECLARE_CLASS(ERCompCurve3D)
public:
    using SpaceComposite::SpaceComposite;
};

/// Polynomial patches of the plane one after another, with an ERCrvCompPoly3D as their equivalent.
class VELM_API ERCrvCompPoly2D : public velm::detail::FlatComposite<ERCrvCompPoly2D> {
    VELM_DECLARE_CLASS(ERCrvCompPoly2D)
public:
    using FlatComposite::FlatComposite;
};

/// Polynomial patches of space one after another, with an ERCrvCompPoly2D as their projection.
class VELM_API ERCrvCompPoly3D : public velm::detail::SpaceComposite<ERCrvCompPoly3D> {
    VELM_DECLARE_CLASS(ERCrvCompPoly3D)
public:
    using SpaceComposite::SpaceComposite;
};

extern template class velm::detail::CompositeCurve<ERCompCurve2D>;
extern template class velm::detail::CompositeCurve<ERCompCurve3D>;
extern template class velm::detail::CompositeCurve<ERCrvCompPoly2D>;
extern template class velm::detail::CompositeCurve<ERCrvCompPoly3D>;
extern template class velm::detail::FlatComposite<ERCompCurve2D>;
extern template class velm::detail::FlatComposite<ERCrvCompPoly2D>;
extern template class velm::detail::SpaceComposite<ERCompCurve3D>;
extern template class velm::detail::SpaceComposite<ERCrvCompPoly3D>;
