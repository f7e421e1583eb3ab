// ERKnot: an iterator over the distinct knots of a vector. PrepareBoehm, velm::insert_knot: a knot
// inserted into a curve's poles.
//
//     for (ERKnot knot(vector); !knot.overflow(); ++knot)
//         use(knot.value(), knot.multiplicity());
#pragma once

#include "velm/curves/knot_vector.h"
#include "velm/frame/pole.h"

#include <iosfwd>

/// Sees the knots as distinct values with multiplicities. It keeps a pointer to the vector's array
/// and is invalid once the vector has changed; take value() across an edit.
///
/// An iterator on an empty vector has no value to give: its error flag is set, its value is NaN.
class VELM_API ERKnot {
public:
    /// At the first knot.
    explicit ERKnot(const ERKnotVector& vector);
    /// At a value, as reach does it; the error flag says that the value is not a knot.
    ERKnot(const ERKnotVector& vector, double x);
    /// Goes to a value in the same vector and clears the flags but that of the error, as above.
    ERKnot& operator=(double x);

    /// To the next distinct knot, or the one before it. Returns 1 and clears the flags of underflow
    /// and overflow; at the end 0, the position stays and the flag is set.
    int operator++();
    int operator--();
    /// Goes to the knot x and returns 1; for an x between knots, or above the last, to the last
    /// knot below it, and 0. An x below the first knot counts as the first knot, with 1.
    int reach(double x);
    /// Back to the first knot; clears the flags.
    void reset();

    double value() const;
    operator double() const { return value(); }
    /// Where the knot's run begins.
    int index() const { return index_; }
    int multiplicity() const { return multiplicity_; }
    int isFirst() const { return index_ == 0; }
    int isLast() const;
    int underflow() const { return (flags & underflow_flag) != 0; }
    int overflow() const { return (flags & overflow_flag) != 0; }
    int error() const { return (flags & error_flag) != 0; }

private:
    enum : int { underflow_flag = 1, overflow_flag = 2, error_flag = 4 };

    void stand_on_run_from(int first);

    const ERVec<double>* owner;
    int index_ = 0;
    int multiplicity_ = 0;
    int valid = 0;
    int flags = 0;
};

/// Writes " Valeur = ", " Mult   = " and " index  = " with what they name, and a line end.
VELM_API std::ostream& operator<<(std::ostream& out, const ERKnot& knot);

/// The surroundings of t in K for Boehm's insertion: `a` is the knot at or below t with its index
/// and multiplicity, `b` the next one. For a t at or above the end of the domain, a is the knot
/// before that of t. `last` is the index of the last copy of a; lowMult is 0 where t lies strictly
/// between a and b. rOut is r. An empty vector leaves the outputs unchanged.
VELM_API void PrepareBoehm(const ERKnotVector& K, double t, int r, double& a, int& lowIndex,
                           int& lowMult, double& b, int& highIndex, int& highMult, int& last,
                           int& rOut);

namespace velm {

/// Inserts t r times into a curve of degree p with these poles and knots (W. Boehm, Inserting new
/// knots into B-spline curves, Computer-Aided Design 12, 1980). The curve stays the same. A copy
/// beyond multiplicity p repeats a pole. Nothing changes for r below 1, for a NaN and for a t
/// outside the domain, knot p to knot n of n poles. Returns whether something changed.
VELM_API bool insert_knot(ERVec<ERPole2DH>& poles, ERKnotVector& K, int p, double t, int r);
VELM_API bool insert_knot(ERVec<ERPole3DH>& poles, ERKnotVector& K, int p, double t, int r);

} // namespace velm
