// ERKnotVector: the knots and the degree of a spline; spans, basis functions, editing.
//
//     const ERKnotVector knots(3, 6, ERLimites(0.0, 1.0)); // six poles, uniform, clamped
//     const int span = knots.FindSpan(0.4);
//     const ERVec<double> basis = knots.BasisFuns(span, 0.4); // of the poles span - 3 to span
//
// Knots are compared exactly, by == and <: there is no tolerance anywhere. A vector does not check
// what it is given; isUsable() does.
#pragma once

#include "velm/export.h"
#include "velm/frame/interval.h"
#include "velm/frame/vec.h"
#include "velm/fwd.h"
#include "velm/numerics/matrix.h"

#include <iosfwd>
#include <type_traits>

/// A non-decreasing array of parameters with a degree p. n poles have n + p + 1 knots; the curve
/// lives between knot p and knot n.
///
/// The flag of an unclamped vector says that the first or the last knot did not occur exactly
/// p + 1 times when it was last determined: by the constructors that take a degree and knots, and
/// by subVector. Operations that change the knots leave it as it is unless they say otherwise.
class VELM_API ERKnotVector {
public:
    static constexpr int highest_stored_degree = 65536;

    /// Empty, of degree 0.
    ERKnotVector() = default;
    /// The degree is the number of times the first knot occurs, less one; taken for clamped.
    explicit ERKnotVector(const ERVec<double>& knots);
    ERKnotVector(const double* knots, int count);
    ERKnotVector(int degree, const ERVec<double>& knots);
    ERKnotVector(int degree, const double* knots, int count);
    /// One span: each end of the interval degree + 1 times.
    ERKnotVector(int degree, const ERLimites& interval);
    /// For n poles: the ends degree + 1 times, the knots between them at even steps.
    ERKnotVector(int degree, int n, const ERLimites& interval);
    ERKnotVector(const ERKnotVector&) = default;
    ERKnotVector(ERKnotVector&&) = default;
    ERKnotVector& operator=(const ERKnotVector&) = default;
    ERKnotVector& operator=(ERKnotVector&&) = default;
    virtual ~ERKnotVector() = default;

    /// "KnotVector degree p", "  (**UNCLAMPLED**)" or "  ( Regular )", a line end, and the knots as
    /// "(count)[k,k,k]" with a line end. The words are part of the format.
    virtual void printOn(std::ostream& out) const;
    /// The stored form: the body of the knots, the degree, the flag. A record whose knots are not
    /// finite and in order, or whose degree is negative or above highest_stored_degree, gives an
    /// empty vector.
    virtual unsigned int binaryStoreSize() const;
    virtual void saveGuts(ERFile& file) const;
    virtual void restoreGuts(ERFile& file);

    double& operator[](int i) { return knots[i]; }
    double operator[](int i) const { return knots[i]; }
    double operator()(int i) const { return knots[i]; }
    const double* data() const { return knots.view().data(); }
    const ERVec<double>& getVec() const { return knots; }
    int length() const { return knots.size(); }
    int degree() const { return degree_; }
    /// The first knot and the last one; 0 of an empty vector.
    double first() const;
    double last() const;
    /// The flag, 0 or 1.
    int isUnclamped() const { return unclamped; }
    /// Whether there is a span to evaluate: a degree of at least 0, at least 2 degree + 2 knots,
    /// finite and in order.
    bool isUsable() const;

    /// (knot p, knot length - p). The upper one is the end of the last span on a clamped vector; on
    /// an unclamped vector it is the knot after that, which is part of the contract.
    ERLimites limites() const;
    /// length - 2 p - 1, empty spans counted.
    int nbSpans() const;
    /// Span i, from 0: the knots p + i and p + i + 1.
    ERLimites getSpanLimites(int i) const;

    /// The index s of the last knot of the span that holds u, so that knot s <= u < knot s + 1. A u
    /// up to knot p gives the first span, one from the end on, and a NaN, the last that is not
    /// empty.
    int FindSpan(double u) const;
    /// The index of the first knot that is exactly u, or -1.
    int quicklyFind(double u) const;

    /// The p + 1 basis functions that do not vanish on a span, by Cox and de Boor (Piegl and
    /// Tiller, The NURBS Book, A2.2). The span must not be empty: 0/0 is not guarded. A span that
    /// the knots do not surround gives NaN.
    ERVec<double> BasisFuns(int span, double u) const;
    void BasisFunsBuffer(int span, double u, double* out) const;
    /// Row k: their k-th derivatives, k from 0 to n (The NURBS Book, A2.3). Zero beyond the degree.
    ERMatrix<double> DersBasisFuns(int span, double u, int n) const;
    /// The homogeneous point at u of the curve of degree p with these poles. A window that leaves
    /// the poles gives NaN.
    ERPole2DH CalOnNurbs(double u, int p, const ERVec<ERPole2DH>& poles) const;

    /// 1 if no knot occurs more than degree - c times, the ends included: a clamped vector gives 0
    /// for any c from 0 on, which is part of the contract.
    int IsContinuous(int c) const;
    /// Appends the knots where the derivative of order c jumps, the ends included. Returns 1.
    int GetDiscontinuities(int c, ERVec<double>& out) const;

    /// Puts count copies of v before knot i; v may be one of the knots.
    void insertAt(int i, const double& v, int count);
    void removeAt(int i);
    /// Those knots, with the same degree.
    ERKnotVector subVector(int start, int count) const;
    /// Replaces the last degree + 1 knots by all of `other`.
    void concat(const ERKnotVector& other);
    /// Raises the degree, and each knot's multiplicity, by k.
    void incDegree(int k);
    /// The knots with the one at `start`, and each at another degree + 1 after it, doubled: what
    /// one of the curves that Prautzsch's degree elevation averages has. The degree is that of the
    /// first knot's multiplicity; taken for clamped.
    ERKnotVector GetPrautzsch(int start) const;
    /// Maps the knots affinely, the first to the start of the interval and the last to its end; the
    /// copies of those two are set exactly, the others stay between them.
    void reparametrize(const ERLimites& interval);
    /// Mirrors the knots between the first and the last.
    void reverse();

    /// A hook without effect.
    void AssertValid() const;

    friend VELM_API ERKnotVector Union(const ERKnotVector& a, const ERKnotVector& b);
    friend VELM_API ERKnotVector Diff(const ERKnotVector& a, const ERKnotVector& b);

private:
    static int _ComputeDegree(const ERVec<double>& knots);
    int isUnclamped(int degree);

    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.knots, self.degree_, self.unclamped);
        if constexpr (!std::is_const_v<Self>) self.refuse_damaged();
    }
    void refuse_damaged();

    ERVec<double> knots;
    int degree_ = 0;
    int unclamped = 0;
};

/// The constructors of one span and of even steps, by name.
VELM_API ERKnotVector BezierKnotVector(int degree, const ERLimites& interval);
VELM_API ERKnotVector UniformeKnotVector(int degree, int n, const ERLimites& interval);

/// The knots of either; one of both as often as where it occurs more often. Degree of a; taken for
/// clamped.
VELM_API ERKnotVector Union(const ERKnotVector& a, const ERKnotVector& b);
/// The knots of a that b has not, or not as often. Degree of a; flagged as unclamped.
VELM_API ERKnotVector Diff(const ERKnotVector& a, const ERKnotVector& b);

/// Raises a knot that is below the one before it to that one, where it is so by no more than relTol
/// times the range. Returns 0, with the array repaired up to there, at the first that is farther
/// below, and for knots without a range; else 1. The middle argument is not read.
VELM_API int CheckAndRepairKnotVector(ERVec<double>& k, double a, double relTol);

VELM_API std::ostream& operator<<(std::ostream& out, const ERKnotVector& knots);
