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
    x_ = root;
    fx_ = problem_->f(x_);
    status_ = NewtonStatus_limit;
    iterations_ = 0;
    while (status_ == NewtonStatus_limit && iterations_ < maxIterations_) {
        dfx_ = problem_->fprime(x_);
        if (std::fabs(fx_) * tolerance_ > std::fabs(dfx_)) {
            status_ = NewtonStatus_flat;
            break;
        }
        ++iterations_;
        root = root - fx_ / dfx_;
        fx_ = problem_->f(root);
        if (std::fabs(fx_) <= tol)
            status_ = tol * std::fabs(root) >= std::fabs(x_ - root) ? NewtonStatus_converged
                                                                    : NewtonStatus_residual;
        x_ = root;
    }
    return status_;
}

// ---- a square system ----

ERNewtonMSolver::ERNewtonMSolver(ERCNewtonM* problem, unsigned int n, double tolerance,
                                 int maxIterations)
    : problem_(problem), previousX_(static_cast<int>(n)), fx_(static_cast<int>(n)),
      maxIterations_(maxIterations), jacobian_(static_cast<int>(n), static_cast<int>(n)),
      tolerance_(tolerance) {}

double ERNewtonMSolver::GetLastCriteria() const { return norm(fx_); }

int ERNewtonMSolver::Resoudre(ERVec<double>& x, double tol) {
    previousX_ = x;
    fx_ = problem_->f(x);
    status_ = NewtonStatus_limit;
    iterations_ = 0;
    lastNorm_ = std::numeric_limits<double>::max();
    rises_ = 0;
    if (maxIterations_ < 1) return status_;
    while (status_ == NewtonStatus_limit) {
        jacobian_ = problem_->fprime(x);
        if (!velm::detail::is_square_system(jacobian_, fx_, x))
            return status_ = NewtonStatus_singular;
        const ERLUDecomp lu(jacobian_);
        if (lu.isSingular()) return status_ = NewtonStatus_singular;
        if (norm(fx_) * tolerance_ > norm(jacobian_))
            status_ = NewtonStatus_flat;
        else
            step(x, tol, solve(lu, fx_));
        if (iterations_ >= maxIterations_) break;
    }
    return status_;
}

void ERNewtonMSolver::step(ERVec<double>& x, double tol, const ERVec<double>& dx) {
    constexpr int rises_allowed = 20;
    ++iterations_;
    velm::detail::subtract(x, dx);
    fx_ = problem_->f(x);
    const double residual = norm(fx_);
    if (residual > lastNorm_ && residual > tol * 1e7 && ++rises_ > rises_allowed)
        status_ = NewtonStatus_singular;
    lastNorm_ = residual;
    if (residual <= tol)
        status_ = tol * norm(x) >= std::sqrt(distance2(previousX_, x)) ? NewtonStatus_converged
                                                                       : NewtonStatus_residual;
    if (status_ == NewtonStatus_limit && std::ranges::equal(x.view(), previousX_.view())) {
        status_ = NewtonStatus_residual;
        return;
    }
    previousX_ = x;
}

// ---- the gradient of a scalar function ----

void (*ERNewtonMSolverEx::iteration_hook)() = nullptr;

double ERNewtonMSolverEx::damped_length(double slope, double h0, const ERVec<double>& y,
                                        double residual2, double tol2) {
    const double h1 = problem_->H(y);
    // The factors of a damped step. The full step is taken, so they do not change the iterates.
    const double limit = slope * 0.0001 + h0;
    if (problem_->HDomaine(y) == 0 && !(h1 > limit)) return 1.0;
    double length = std::min(1.0, std::max(0.1, slope * 0.5 / (h1 - h0 + slope)));
    if (tol2 * 40000.0 >= residual2) {
        if (length < 0.5) length *= 2.0;
        if (tol2 * 200.0 >= residual2) length = 1.0;
    }
    return length;
}

int ERNewtonMSolverEx::Resoudre(ERVec<double>& x, double tol) {
    const double tol2 = tol * tol;
    performance_ = 0.0;
    previousX_ = x;
    fx_ = problem_->f(x);
    double residual2 = norm2(fx_);
    status_ = NewtonStatus_limit;
    iterations_ = 0;
    if (maxIterations_ <= 0) return status_;
    while (status_ == NewtonStatus_limit) {
        if (iteration_hook != nullptr) iteration_hook();
        jacobian_ = problem_->fprime(x);
        if (!velm::detail::is_square_system(jacobian_, fx_, x))
            return status_ = NewtonStatus_singular;
        const ERLUDecomp lu(jacobian_);
        if (lu.isSingular()) return status_ = NewtonStatus_singular;
        if (residual2 * tolerance_ > norm2(jacobian_)) {
            status_ = NewtonStatus_flat;
        } else {
            ++iterations_;
            ERVec<double> d = solve(lu, fx_);
            velm::detail::scale(d, -1.0);
            ERVec<double> y(x);
            velm::detail::add(y, d);
            const double slope = dot(fx_, d);
            const double h0 = problem_->H(x);
            const double length = damped_length(slope, h0, y, residual2, tol2);
            velm::detail::scale(d, length);
            x = y; // the full step: the damped one is measured and not taken
            fx_ = problem_->f(x);
            residual2 = norm2(fx_);
            if (residual2 <= tol2)
                status_ = norm2(x) * tol2 >= distance2(previousX_, x) ? NewtonStatus_converged
                                                                      : NewtonStatus_residual;
            previousX_ = x;
        }
        if (iterations_ >= maxIterations_) break;
    }
    return status_;
}
