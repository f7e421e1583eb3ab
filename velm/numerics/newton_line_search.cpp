#include "velm/numerics/newton_line_search.h"

#include "velm/numerics/detail/vector_algebra.h"
#include "velm/numerics/lu_decomposition.h"

#include <algorithm>
#include <cmath>

using velm::detail::dot;

namespace {

// All of these are part of the contract: the iterates and the statuses depend on them.
constexpr double root_at_start = 1.0000000000000002e-10; // the double after 1e-10
constexpr double root_size = 1e-09;
constexpr double short_step = 1e-09;
constexpr double spurious_gradient = 1e-06;
constexpr double longest_step = 100.0;
constexpr double enough_descent = 0.0001;

// Whether all elements are below the limit in absolute value; a NaN isn't.
bool all_below(const ERVec<double>& f, double limit) {
    return std::ranges::all_of(f.view(), [limit](double x) { return std::fabs(x) < limit; });
}

// The largest of |step[i]| * weight relative to max(|x[i]|, 1).
double relative_length(const ERVec<double>& step, const ERVec<double>& x) {
    double test = 0.0;
    for (std::size_t i = 0; i < step.view().size(); ++i)
        test = std::max(test, std::fabs(step.view()[i]) / std::max(std::fabs(x.view()[i]), 1.0));
    return test;
}

double relative_gradient(const ERVec<double>& g, const ERVec<double>& x, double merit) {
    const double den = std::max(merit, 0.5 * x.size());
    double test = 0.0;
    for (std::size_t i = 0; i < x.view().size(); ++i)
        test = std::max(test, std::fabs(g.view()[i]) * std::max(std::fabs(x.view()[i]), 1.0) / den);
    return test;
}

// A point of the line search: step length and merit there, and the merit at the start.
struct Trial {
    double length;
    double merit;
    double start_merit;
};

// The minimum of the parabola or cubic through the trials made.
double next_length(const Trial& now, const Trial& before, double slope) {
    if (now.length == 1.0) return slope / ((now.merit - now.start_merit - slope) * -2.0);
    const double r1 = now.merit - now.start_merit - now.length * slope;
    const double r2 = before.merit - before.start_merit - before.length * slope;
    const double now2 = now.length * now.length;
    const double before2 = before.length * before.length;
    const double span = now.length - before.length;
    const double a = (r1 / now2 - r2 / before2) / span;
    const double b = (r2 * now.length / before2 - r1 * before.length / now2) / span;
    double length;
    if (a == 0.0) {
        length = slope / (b * -2.0);
    } else {
        const double disc = b * b - 3.0 * a * slope;
        if (disc < 0.0)
            length = 0.5 * now.length;
        else if (b <= 0.0)
            length = (std::sqrt(disc) - b) / (3.0 * a);
        else
            length = -(slope / (std::sqrt(disc) + b));
    }
    return std::min(0.5 * now.length, length);
}

} // namespace

int ERNewtonMSolverWithBackTracking::Resoudre(ERVec<double>& start, double) {
    x_ = start;
    fx_ = problem_->f(x_);
    ++evaluations_;
    double merit = 0.5 * dot(fx_, fx_);
    if (all_below(fx_, root_at_start)) return BackTrackingStatus_at_root;
    const int n = x_.size();
    const double stepMax = longest_step * std::max(std::sqrt(dot(x_, x_)), double(n));
    if (iterations_ >= maxIterations_) return BackTrackingStatus_limit;
    ++iterations_;
    for (;;) {
        jacobian_ = problem_->fprime(x_);
        if (!velm::detail::is_square_system(jacobian_, fx_, x_)) return BackTrackingStatus_singular;
        const ERVec<double> g = jacobian_ * fx_;
        const ERVec<double> xold = x_;
        const double old_merit = merit;
        const ERLUDecomp lu(jacobian_);
        if (lu.isSingular()) return BackTrackingStatus_singular;
        ERVec<double> p = fx_;
        velm::detail::scale(p, -1.0);
        p = solve(lu, p);
        const int stopped = LinearSearch(xold, old_merit, g, p, x_, merit, stepMax);
        if (all_below(fx_, root_size)) {
            start = x_;
            return BackTrackingStatus_converged;
        }
        if (stopped) {
            start = x_;
            return relative_gradient(g, x_, merit) < spurious_gradient ? BackTrackingStatus_spurious
                                                                       : BackTrackingStatus_stopped;
        }
        ERVec<double> moved = x_;
        velm::detail::subtract(moved, xold);
        if (relative_length(moved, x_) < short_step || n < 1) {
            start = x_;
            return BackTrackingStatus_short_step;
        }
        if (++iterations_ > maxIterations_) return BackTrackingStatus_limit;
    }
}

int ERNewtonMSolverWithBackTracking::LinearSearch(const ERVec<double>& xold, double fold,
                                                  const ERVec<double>& g, ERVec<double>& p,
                                                  ERVec<double>& xnew, double& f, double stepMax) {
    const double length = std::sqrt(dot(p, p));
    if (length > stepMax) velm::detail::scale(p, stepMax / length);
    const double slope = dot(g, p);
    const double shortest = short_step / relative_length(p, xold);
    Trial before{0.0, 0.0, 0.0};
    double full_step_merit = std::nan("");
    for (double alam = 1.0;;) {
        xnew = p;
        velm::detail::scale(xnew, alam);
        velm::detail::add(xnew, xold);
        fx_ = problem_->f(xnew);
        ++evaluations_;
        f = 0.5 * dot(fx_, fx_);
        // Uphill, the parabola may lengthen the full step and the cubic halve it again: a second
        // full step with the merit of the first would repeat for ever.
        const bool in_a_circle = alam == 1.0 && f == full_step_merit;
        if (shortest > alam || in_a_circle) {
            xnew = xold;
            return 1;
        }
        if (alam == 1.0) full_step_merit = f;
        if (fold + alam * enough_descent * slope >= f) return 0;
        const Trial now{alam, f, fold};
        const double next = next_length(now, before, slope);
        before = now;
        alam = std::max(alam * 0.1, next); // a NaN shortens, too
    }
}
