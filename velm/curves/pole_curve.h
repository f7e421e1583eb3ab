// ERCpoleRep2D, ERCpoleRep3D: curves that are given by control poles, the ground of the Bezier and
// NURBS classes.
//
// A curve keeps its poles over a natural domain and may be trimmed to a part of it. Trimming costs
// nothing until adjust() bakes it in: evaluation goes on reading the whole curve, while the limits,
// the box and the lengths know the trim.
//
// Boxes and the power forms of the spans are computed on first use and kept, in operations that
// only read too: a curve is for one thread at a time. An operation that changes poles, knots or
// domain calls ResetCachedInfo(). velm::PreparedCurve is what threads share.
#pragma once

#include "velm/frame/limited_entity.h"
#include "velm/frame/val_vector.h"
#include "velm/numerics/polynomial.h"

#include <memory>
#include <vector>

namespace velm::detail {

/// What the pole curves of the plane and of space have in common.
template <class D>
class VELM_API PoleCurve : public D::TrimmedEntity {
public:
    using Point = typename D::Point;
    using Pole = typename D::Pole;
    using Box = typename D::Box;
    using Curve = typename D::FiniteEntity;
    using Rep = typename D::PoleCurve;
    /// A polynomial for each stored component of the poles, the weight last.
    using PowerForm = ERTValVector<ERPolynome>;

    /// No poles; both domains (0, 1).
    PoleCurve() : D::TrimmedEntity(ERLimites(0.0, 1.0)) {}
    explicit PoleCurve(const ERLimites& natural) : D::TrimmedEntity(natural) {}
    PoleCurve(const ERLimites& natural, const ERLimites& trimmed)
        : D::TrimmedEntity(natural, trimmed) {}

    /// A pole by its index, unchecked; of a rational curve its point.
    virtual Point operator[](int i) const;
    virtual ERKnotVector knotVector() const = 0;
    /// 0 on a curve without poles.
    virtual int degree() const = 0;
    virtual int nbPoles() const;
    /// 1 for a single Bezier piece.
    virtual int isBezier() const = 0;
    virtual int isRational() const;
    /// The number of spans, those of no length included.
    int nbSpans() const { return nbPoles() - degree(); }

    /// Raises the degree k times; the curve stays the same.
    virtual void incrDegree(int k) = 0;
    /// Lowers the degree by one; see the classes for what the result says.
    virtual int decrDegree() = 0;

    /// The power form of span i by the parameter of [0, 1] on the span; empty for a span that isn't
    /// there. Kept once computed.
    virtual PowerForm getSpanPower(int i) const = 0;
    /// The kept form of span i; null if there is none.
    const PowerForm* getCachedSpan(int i) const;
    /// Keeps a form, which the curve then owns. A form for a span that isn't there is deleted.
    void insertSpanInCache(int i, PowerForm* form) const;
    /// Forgets box and power forms.
    void ResetCachedInfo() const;

    /// The extent of the control polygon along its chord, or about its first pole if the chord has
    /// no length; 0 for up to two poles. It is not the height above the chord: a straight polygon
    /// has one too. Kept because flatness tests of hosts are set to it.
    virtual double cordalHeight() const;
    static double cordalHeight(const ERVec<Point>& poles);
    /// The length of the control polygon, of the whole curve.
    double upperEstimate() const override;
    /// The polygon's length and the chord's, averaged, once they agree within tol; else the sum
    /// over both halves with half of tol each. Below a tol of 1e-8 the average is taken as it is,
    /// so that 1e-7 halves four times only: ask velm::arc_length for a length to a tolerance.
    double arcLength(ERLimites interval, double tol) const override;
    /// The same over the curve's limits.
    double arcLength(double tol) const override;

    /// The box of the poles; of a trimmed curve that of the poles after adjust(). It holds the
    /// curve if no weight is negative.
    Box getBox() override;

    using Curve::approxime;
    /// The two ends of a curve of degree 1 with two poles, for any n.
    ERVec<Point> approxime(int n) override;

    /// Cuts at t, which lies strictly inside the limits: two curves of this class. Otherwise
    /// returns 0, the outputs unchanged.
    int splitAt(t_SmartPtr<Curve>& first, t_SmartPtr<Curve>& second, double t) const override;
    /// The same in the middle of the limits.
    virtual int splitAt(t_SmartPtr<Curve>& first, t_SmartPtr<Curve>& second) const;
    /// The same with new objects that the caller owns.
    virtual int splitAt(Rep*& first, Rep*& second, double t) const;
    virtual int split(Rep*& first, Rep*& second) const;

    /// A new bound forgets the kept box.
    ERLimites setBound(const ERLimites& trimmed) override;
    void reparametrize(const ERLimites& natural) override;

    void scale(double s) override;
    void translate(const Point& v) override;
    void reverse() override;

    /// The class name, "Poles :", then the poles as "(count)[first,...,last]", a line each.
    void printOn(std::ostream& out) const override;

    void restoreGuts(ERFile& file) override;

protected:
    /// The array that holds the poles; the other pointer is null.
    struct PoleArray {
        ERVec<Point>* points = nullptr;
        ERVec<Pole>* weighted = nullptr;
    };
    /// The poles, for everything here that reads or moves them.
    virtual PoleArray pole_array();

    /// The parameters, for a polyline over `interval`, of the points that refinement starts from:
    /// by default degree + 1 at even steps.
    virtual ERVec<double> first_parameters(const ERLimites& interval) const;
    /// The points at first_parameters, refined to tol by the list.
    void prepareApprox(typename D::PointList& list, const ERLimites& interval,
                       double tol) const override;

    /// Appends the parameters where the last coordinate has the given value, for a curve whose box
    /// holds the value and has an extent there.
    virtual int level_crossings(double level, ERVec<double>& params) const;
    /// The level against the box, then level_crossings: what intersectWithAxeY and
    /// intersectWithPlanZ do. -1 for a curve that is at the level within 1e-11.
    int crossings(double level, ERVec<double>& params) const;

    /// The points of the poles.
    ERVec<Point> pole_points() const;
    /// Calls f with the array of the poles, for reading or after ResetCachedInfo for writing.
    template <class F>
    auto with_poles(F f);
    template <class F>
    auto with_poles(F f) const;
    /// The box that getBox returns.
    const Box& kept_box() const;
    t_SmartPtr<Rep> cloned() const;

private:
    /// What has been computed. A copy of the curve starts without; assignment forgets.
    struct Kept {
        Kept() = default;
        Kept(const Kept&) noexcept {}
        Kept& operator=(const Kept&) noexcept {
            cachedSpans.clear();
            cachedBox.reset();
            return *this;
        }
        std::vector<std::unique_ptr<PowerForm>> cachedSpans;
        std::unique_ptr<Box> cachedBox;
    };
    mutable Kept kept_;
};

/// A point of a curve at t, from the value and the first two derivatives of its coordinates by the
/// parameter of [0, 1] on an interval of t of this length: row k of `derivatives` is the k-th, of
/// `width` doubles. With a weight, by the quotient rule.
template <class D>
VELM_API typename D::InfoPoint info_point(double t, const double* derivatives, int width,
                                          double length);

/// The form with a weight: the constant 1 is appended to that of a polynomial curve.
template <class D>
ERTValVector<ERPolynome> with_weight(ERTValVector<ERPolynome> form) {
    if (form.length() != D::size) return form;
    form.reshape(D::size + 1);
    form[D::size] = ERPolynome(polyValue, 1.0);
    return form;
}

} // namespace velm::detail

/// A pole curve of the plane.
class VELM_API ERCpoleRep2D : public velm::detail::PoleCurve<velm::Plane> {
    VELM_DECLARE_CLASS(ERCpoleRep2D)

public:
    using PoleCurve::PoleCurve;

    /// Appends the parameters where y has the given value. See the classes for which are kept; a
    /// curve that is at the level gives -1, one whose box misses it 0.
    int intersectWithAxeY(double y, ERVec<double>& params) const override;

    void transformFrom(const ERTransfo2D& t) override;
    void transformTo(const ERTransfo2D& t) override;
};

/// A pole curve of space.
class VELM_API ERCpoleRep3D : public velm::detail::PoleCurve<velm::Space> {
    VELM_DECLARE_CLASS(ERCpoleRep3D)

public:
    using PoleCurve::PoleCurve;

    /// As ERCpoleRep2D::intersectWithAxeY, for z.
    int intersectWithPlanZ(double z, ERVec<double>& params) const override;

    void transformFrom(const ERPmSimilitude3D& t) override;
    void transformFrom(const ERPmIsometrie3D& t) override;
    void transformTo(const ERPmSimilitude3D& t) override;
    void transformTo(const ERPmIsometrie3D& t) override;
};

extern template class velm::detail::PoleCurve<velm::Plane>;
extern template class velm::detail::PoleCurve<velm::Space>;
