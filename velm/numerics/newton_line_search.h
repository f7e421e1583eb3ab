// ERNewtonMSolverWithBackTracking: Newton's method for a square system with a line search.
#pragma once

#include "velm/export.h"
#include "velm/numerics/newton_problems.h"

/// The values that Resoudre of the solver with line search returns.
enum BackTrackingStatus : int {
    BackTrackingStatus_limit = -1,    ///< the iterations are used up; x unchanged
    BackTrackingStatus_singular = 0,  ///< Jacobian singular; x unchanged
    BackTrackingStatus_at_root = 1,   ///< the start is already a root
    BackTrackingStatus_converged = 2, ///< largest residual below 1e-9 after a step
    BackTrackingStatus_spurious = 3,  ///< line search stopped at a minimum of the merit function
    BackTrackingStatus_stopped = 4,   ///< line search stopped elsewhere
    BackTrackingStatus_short_step = 5 ///< last step below 1e-9 relative to x
};

/// Newton steps, shortened until the half square of the residual falls: a quadratic, then cubic
/// backtracking line search (Dennis and Schnabel, Numerical Methods for Unconstrained Optimization
/// and Nonlinear Equations, 1983, algorithm A6.3.1). The line search takes the product of the
/// Jacobian and the residual as the gradient, not that of its transpose; the iterates are part of
/// the contract.
///
/// The thresholds are fixed: neither the tolerance nor the argument of Resoudre is read. iterations
/// and evaluations keep counting from call to call, so a second Resoudre may return -1 at once;
/// both are part of the contract. The problem is not owned.
class VELM_API ERNewtonMSolverWithBackTracking {
public:
    ERNewtonMSolverWithBackTracking(ERCNewtonM* problem, double tolerance, int maxIterations)
        : problem_(problem), maxIterations_(maxIterations), tolerance_(tolerance) {}

    int Resoudre(ERVec<double>& x, double tol);

    void SetMaxIter(int n) { maxIterations_ = n; }
    void SetTolerance(double ratio) { tolerance_ = ratio; }
    int getNBIter() const { return iterations_; }
    int getNBFevaluate() const { return evaluations_; }

private:
    /// Goes from xold along p until the merit has fallen enough. Returns 0, or 1 if the step has
    /// become too short or the lengths repeat, with x back at xold. A p longer than stepMax is
    /// shortened to it.
    int LinearSearch(const ERVec<double>& xold, double fold, const ERVec<double>& g,
                     ERVec<double>& p, ERVec<double>& xnew, double& f, double stepMax);

    [[maybe_unused]] int status_ = 0;
    int iterations_ = 0;
    int evaluations_ = 0;
    ERCNewtonM* problem_;
    ERVec<double> x_;
    ERVec<double> fx_;
    int maxIterations_;
    ERMatrix<double> jacobian_;
    double tolerance_;
};
