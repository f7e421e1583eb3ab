#include "velm/numerics/newton_solvers.h"

#include "velm/numerics/detail/vector_algebra.h"
#include "velm/numerics/lu_decomposition.h"

#include <algorithm>
#include <cmath>
#include <limits>

using velm::detail::distance2;
using velm::detail::dot;
using velm::detail::norm;
using velm::detail::norm2;

// ---- one equation ----

int ERNewtonSSolver::Resoudre(double& root, double tol) {
    x = root;
    fx = problem->f(x);
    status = NewtonStatus_limit;
    iterations = 0;
    while (status == NewtonStatus_limit && iterations < maxIterations) {
        dfx = problem->fprime(x);
        if (std::fabs(fx) * tolerance > std::fabs(dfx)) {
            status = NewtonStatus_flat;
            break;
        }
        ++iterations;
        root = root - fx / dfx;
        fx = problem->f(root);
        if (std::fabs(fx) <= tol)
            status = tol * std::fabs(root) >= std::fabs(x - root) ? NewtonStatus_converged
                                                                  : NewtonStatus_residual;
        x = root;
    }
    return status;
}

// ---- a square system ----

ERNewtonMSolver::ERNewtonMSolver(ERCNewtonM* problem_, unsigned int n, double tolerance_,
                                 int maxIterations_)
    : problem(problem_), previousX(static_cast<int>(n)), fx(static_cast<int>(n)),
      maxIterations(maxIterations_), jacobian(static_cast<int>(n), static_cast<int>(n)),
      tolerance(tolerance_) {}

double ERNewtonMSolver::GetLastCriteria() const { return norm(fx); }

int ERNewtonMSolver::Resoudre(ERVec<double>& x, double tol) {
    previousX = x;
    fx = problem->f(x);
    status = NewtonStatus_limit;
    iterations = 0;
    lastNorm = std::numeric_limits<double>::max();
    rises = 0;
    if (maxIterations < 1) return status;
    while (status == NewtonStatus_limit) {
        jacobian = problem->fprime(x);
        if (!velm::detail::is_square_system(jacobian, fx, x)) return status = NewtonStatus_singular;
        const ERLUDecomp lu(jacobian);
        if (lu.isSingular()) return status = NewtonStatus_singular;
        if (norm(fx) * tolerance > norm(jacobian))
            status = NewtonStatus_flat;
        else
            step(x, tol, solve(lu, fx));
        if (iterations >= maxIterations) break;
    }
    return status;
}

void ERNewtonMSolver::step(ERVec<double>& x, double tol, const ERVec<double>& dx) {
    constexpr int rises_allowed = 20;
    ++iterations;
    velm::detail::subtract(x, dx);
    fx = problem->f(x);
    const double residual = norm(fx);
    if (residual > lastNorm && residual > tol * 1e7 && ++rises > rises_allowed)
        status = NewtonStatus_singular;
    lastNorm = residual;
    if (residual <= tol)
        status = tol * norm(x) >= std::sqrt(distance2(previousX, x)) ? NewtonStatus_converged
                                                                     : NewtonStatus_residual;
    if (status == NewtonStatus_limit && std::ranges::equal(x.view(), previousX.view())) {
        status = NewtonStatus_residual;
        return;
    }
    previousX = x;
}

// ---- the gradient of a scalar function ----

void (*ERNewtonMSolverEx::iteration_hook)() = nullptr;

double ERNewtonMSolverEx::damped_length(double slope, double h0, const ERVec<double>& y,
                                        double residual2, double tol2) {
    const double h1 = problem->H(y);
    const double limit = slope * 0.0001 + h0;
    if (problem->HDomaine(y) == 0 && !(h1 > limit)) return 1.0;
    double length = std::min(1.0, std::max(0.1, slope * 0.5 / (h1 - h0 + slope)));
    if (tol2 * 40000.0 >= residual2) {
        if (length < 0.5) length *= 2.0;
        if (tol2 * 200.0 >= residual2) length = 1.0;
    }
    return length;
}

int ERNewtonMSolverEx::Resoudre(ERVec<double>& x, double tol) {
    const double tol2 = tol * tol;
    performance = 0.0;
    previousX = x;
    fx = problem->f(x);
    double residual2 = norm2(fx);
    status = NewtonStatus_limit;
    iterations = 0;
    if (maxIterations <= 0) return status;
    while (status == NewtonStatus_limit) {
        if (iteration_hook != nullptr) iteration_hook();
        jacobian = problem->fprime(x);
        if (!velm::detail::is_square_system(jacobian, fx, x)) return status = NewtonStatus_singular;
        const ERLUDecomp lu(jacobian);
        if (lu.isSingular()) return status = NewtonStatus_singular;
        if (residual2 * tolerance > norm2(jacobian)) {
            status = NewtonStatus_flat;
        } else {
            ++iterations;
            ERVec<double> d = solve(lu, fx);
            velm::detail::scale(d, -1.0);
            ERVec<double> y(x);
            velm::detail::add(y, d);
            const double slope = dot(fx, d);
            const double h0 = problem->H(x);
            const double length = damped_length(slope, h0, y, residual2, tol2);
            velm::detail::scale(d, length);
            x = y; // the full step: the damped one is measured and not taken
            fx = problem->f(x);
            residual2 = norm2(fx);
            if (residual2 <= tol2)
                status = norm2(x) * tol2 >= distance2(previousX, x) ? NewtonStatus_converged
                                                                    : NewtonStatus_residual;
            previousX = x;
        }
        if (iterations >= maxIterations) break;
    }
    return status;
}
