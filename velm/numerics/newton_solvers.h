// ERNewtonSSolver, ERNewtonMSolver, ERNewtonMSolverEx: Newton's iteration for one equation, for a
// square system, and for the gradient of a scalar function.
#pragma once

#include "velm/export.h"
#include "velm/numerics/newton_problems.h"

/// The values that Resoudre of the three plain solvers returns.
enum NewtonStatus : int {
    NewtonStatus_converged = 0, ///< residual within tolerance, last step within tolerance times x
    NewtonStatus_residual = 1,  ///< residual within tolerance but step too long; or x doesn't move
    NewtonStatus_limit = 2,     ///< the iterations are used up
    NewtonStatus_flat = 3,      ///< residual times the flatness ratio above the derivative's size
    NewtonStatus_singular = 4   ///< Jacobian singular, or residual rising again and again
};

/// The solvers never own their problem, which must outlive them, and may be used again: each
/// Resoudre starts from the beginning. One solver serves one thread. Nothing is thrown; x holds the
/// last iterate for every code. A NaN runs to the limit and gives 2.
///
/// The `tolerance` that constructors and SetTolerance take is the ratio of the flatness test. The
/// convergence tolerance is the argument of Resoudre: the residual is tested against it directly,
/// the step relative to the size of x, so that a root at 0 gives 1 unless the last step is exactly
/// zero. The codes are part of the contract.

/// Newton's method for one equation.
class VELM_API ERNewtonSSolver {
public:
    ERNewtonSSolver(ERCNewtonS* problem, double tolerance, int maxIterations)
        : problem_(problem), maxIterations_(maxIterations), tolerance_(tolerance) {}

    /// x is the start and, on return, the last iterate.
    int Resoudre(double& x, double tol);

    void SetMaxIter(int n) { maxIterations_ = n; }
    void SetTolerance(double ratio) { tolerance_ = ratio; }

private:
    int status_ = NewtonStatus_limit;
    int iterations_ = 0;
    ERCNewtonS* problem_;
    double x_ = 0.0;
    double fx_ = 0.0;
    int maxIterations_;
    double dfx_ = 0.0;
    double tolerance_;
};

/// Newton's method for a square system, with plain steps. Norms are Euclidean.
class VELM_API ERNewtonMSolver {
public:
    ERNewtonMSolver(ERCNewtonM* problem, unsigned int n, double tolerance, int maxIterations);

    int Resoudre(ERVec<double>& x, double tol);

    void SetMaxIter(int n) { maxIterations_ = n; }
    void SetTolerance(double ratio) { tolerance_ = ratio; }
    int getNBIter() const { return iterations_; }
    /// The norm of the last residual.
    double GetLastCriteria() const;

private:
    /// One Newton step from x; sets status when it ends the iteration.
    void step(ERVec<double>& x, double tol, const ERVec<double>& dx);

    int status_ = NewtonStatus_limit;
    int iterations_ = 0;
    ERCNewtonM* problem_;
    ERVec<double> previousX_;
    ERVec<double> fx_;
    int maxIterations_;
    ERMatrix<double> jacobian_;
    double tolerance_;
    double lastNorm_ = 0.0;
    int rises_ = 0;
};

/// Newton's method on the gradient of a scalar function. It computes a damped step length from H,
/// with all the calls of H and HDomaine that this takes, and then makes the full Newton step
/// regardless: its iterates are those of the undamped method. Both the calls and the iterates are
/// part of the contract.
class VELM_API ERNewtonMSolverEx {
public:
    ERNewtonMSolverEx(ERCNewtonH* problem, double tolerance, int maxIterations)
        : problem_(problem), maxIterations_(maxIterations), tolerance_(tolerance) {}

    int Resoudre(ERVec<double>& x, double tol);

    void SetMaxIter(int n) { maxIterations_ = n; }
    void SetTolerance(double ratio) { tolerance_ = ratio; }
    int getNBIter() const { return iterations_; }
    /// Always 0.0: set at the start of Resoudre and never written again.
    double Performance() const { return performance_; }

    /// Called at the start of each iteration of any solver in the process, if set. The library
    /// never sets it.
    static void (*iteration_hook)();

private:
    /// The length that a damped step would have; 1.0 if the full step is good enough.
    double damped_length(double slope, double h0, const ERVec<double>& y, double residual2,
                         double tol2);

    int status_ = NewtonStatus_limit;
    int iterations_ = 0;
    double performance_ = 0.0;
    ERCNewtonH* problem_;
    ERVec<double> previousX_;
    ERVec<double> fx_;
    int maxIterations_;
    ERMatrix<double> jacobian_;
    double tolerance_;
};
