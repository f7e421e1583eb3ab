// FunctorBase: a scalar function of n variables. ERDownhillSimplex: its minimum by the method of
// Nelder and Mead.
//
//     struct Bowl : FunctorBase {
//         Bowl() : FunctorBase(2) {}
//         double operator()(const ERVec<double>& x) override { return x[0] * x[0] + x[1] * x[1]; }
//     } bowl;
//     ERDownhillSimplex simplex(0.1, &bowl);
//     const double least = simplex.Minimise({1.0, 2.0}, 2);
//     const ERVec<double> place = simplex.vertex(0);
#pragma once

#include "velm/export.h"
#include "velm/frame/vec.h"
#include "velm/numerics/matrix.h"

/// A scalar function. A derived class gives the value; the derivatives here are differences with
/// the step h = 2^-23, good for a function whose values and variables are of size 1 or so.
class VELM_API FunctorBase {
public:
    explicit FunctorBase(int variables) : variables_(variables) {}
    virtual ~FunctorBase() = default;

    virtual double operator()(const ERVec<double>& x) = 0;
    /// Central differences: (f(x + h) - f(x - h)) / 2h.
    virtual ERVec<double> gradient(const ERVec<double>& x);
    /// Differences of differences, symmetric; on the diagonal the forward less the backward one
    /// over h, else the central differences of central differences.
    virtual ERMatrix<double> hessian(const ERVec<double>& x);

    int dimension() const { return variables_; }

private:
    int variables_;
};

/// The minimiser (J. A. Nelder and R. Mead, A simplex method for function minimization, The
/// Computer Journal 7, 1965), without derivatives: it moves the highest of n + 1 vertices. It finds
/// a local minimum at best, and may stop at a place that is none. The functor is not owned.
class VELM_API ERDownhillSimplex {
public:
    /// `step` is the size of the first simplex along each axis.
    ERDownhillSimplex(double step, FunctorBase* functor);

    /// Minimises from `start`, with n coordinates, and returns the least value found; its place is
    /// vertex(0). `level` is how hard to try: 0 takes at most 100 evaluations with the tolerance
    /// 1e-5, 1 takes 600, 2 takes 2000, and any other 20000, all three with 1e-13. The evaluations
    /// of a pass are not interrupted.
    ///
    /// It stops once 2 |fh - fl| / (|fh| + |fl| + 1e-15) is below the tolerance, fh and fl being
    /// the highest and the lowest value, or |fh| is below 1e-15, or no coordinate of their vertices
    /// differs by 1e-15. A function without numbers (NaN) ends with the evaluations.
    double Minimise(const ERVec<double>& start, int level);

    /// A vertex, the best one first once Minimise has returned, and all of them, one row each.
    ERVec<double> vertex(int i) const { return ERVec<double>(vertices_.row(i)); }
    const ERMatrix<double>& vertices() const { return vertices_; }
    int evaluations() const { return evaluations_; }

private:
    struct Extremes {
        int lowest, highest, next_highest;
    };
    void start_at(const ERVec<double>& start);
    Extremes extremes() const;
    bool is_done(const Extremes& found, int most_evaluations) const;
    double evaluate(const double* place);
    /// Moves the highest vertex through the middle of the others by the factor if that is better;
    /// returns the value there.
    double try_move(int highest, double factor);
    void shrink_to(int lowest);

    double step_;
    FunctorBase* functor_;
    ERMatrix<double> vertices_;
    ERVec<double> values_;
    ERVec<double> sums_; ///< of the coordinates of all vertices
    ERVec<double> trial_;
    int variables_;
    double tolerance_ = 0.0;
    int evaluations_ = 0;
};
