// ERNewtonMSolverWithBackTracking: Newton's method for a square system with a line search.
#pragma once

#include "velm/export.h"
#include "velm/numerics/newton_problems.h"

/// What Resoudre of the solver with line search returns.
enum BackTrackingStatus : int {
    BackTrackingStatus_limit = -1,    ///< the iterations are used up; x as given
    BackTrackingStatus_singular = 0,  ///< Jacobian singular; x as given
    BackTrackingStatus_at_root = 1,   ///< the start is already a root
    BackTrackingStatus_converged = 2, ///< largest residual below 1e-9 after a step
    BackTrackingStatus_spurious = 3,  ///< line search stopped at a minimum of the merit function
    BackTrackingStatus_stopped = 4,   ///< line search stopped elsewhere
    BackTrackingStatus_short_step = 5 ///< last step below 1e-9 relative to x
};

/// Newton steps, shortened until the half square of the residual falls: a quadratic, then cubic
/// backtracking line search (Dennis and Schnabel, Numerical Methods for Unconstrained Optimization
/// and Nonlinear Equations, 1983, algorithm A6.3.1). The line search gets the product of the
/// Jacobian as it stands with the residual for a gradient, not that of its transpose: intended.
///
/// The thresholds are fixed: neither the tolerance nor the argument of Resoudre is read. iterations
/// and evaluations go on counting from call to call, so a second Resoudre may return -1 at once:
/// intended. The problem is not owned.
class VELM_API ERNewtonMSolverWithBackTracking {
public:
    ERNewtonMSolverWithBackTracking(ERCNewtonM* problem_, double tolerance_, int maxIterations_)
        : problem(problem_), maxIterations(maxIterations_), tolerance(tolerance_) {}

    int Resoudre(ERVec<double>& x, double tol);

    void SetMaxIter(int n) { maxIterations = n; }
    void SetTolerance(double ratio) { tolerance = ratio; }
    int getNBIter() const { return iterations; }
    int getNBFevaluate() const { return evaluations; }

private:
    /// Goes from xold along p to where the merit falls enough. Returns 0, or 1 when the step has
    /// become too short or the lengths go in a circle, with x back at xold. p longer than stepMax
    /// is cut to it.
    int LinearSearch(const ERVec<double>& xold, double fold, const ERVec<double>& g,
                     ERVec<double>& p, ERVec<double>& xnew, double& f, double stepMax);

    [[maybe_unused]] int status = 0;
    int iterations = 0;
    int evaluations = 0;
    ERCNewtonM* problem;
    ERVec<double> x;
    ERVec<double> fx;
    int maxIterations;
    ERMatrix<double> jacobian;
    double tolerance;
};
