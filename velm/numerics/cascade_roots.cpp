#include "velm/numerics/cascade_roots.h"

#include "velm/numerics/newton_problems.h"
#include "velm/numerics/newton_solvers.h"
#include "velm/numerics/polynomial_derivatives.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <vector>

namespace {

// Values and products as cascade_roots.h states them, absolute: part of the contract.
constexpr double zero_size = 1e-11;
constexpr double change_of_sign = 1e-09; // not 0, so that false roots are possible
// A few roundings of a value of about 1, and many more steps than quadratic convergence needs.
constexpr double newton_tolerance = 1e-15;
constexpr int newton_steps = 100;

bool is_zero(double value) { return std::fabs(value) <= zero_size; }

// Newton's method from the middle of [a, b], then from its ends; appends a result within it.
void append_root(ERNewtonSSolver& solver, double a, double b, std::vector<double>& roots) {
    for (const double start : {(a + b) * 0.5, a, b}) {
        double x = start;
        solver.Resoudre(x, newton_tolerance); // the status is not needed: the test below decides
        if (x >= a && x <= b) return roots.push_back(x);
    }
}

// The roots of q in the pieces between consecutive places.
std::vector<double> roots_between(const std::vector<double>& places, const ERPolynome& q,
                                  const ERPolynome& derivative, const ERLimites& limits) {
    ERCNewtonSPolynome problem(q, derivative);
    ERNewtonSSolver solver(&problem, DBL_MIN, newton_steps);
    std::vector<double> roots{limits.start()};
    double before = q.evaluate(places.front());
    for (std::size_t i = 1; i < places.size(); ++i) {
        const double value = q.evaluate(places[i]);
        if (!is_zero(before)) {
            if (is_zero(value))
                roots.push_back(places[i]);
            else if (before * value < change_of_sign)
                append_root(solver, std::min(places[i - 1], places[i]),
                            std::max(places[i - 1], places[i]), roots);
        }
        before = value;
    }
    if (std::fabs(before) > zero_size) roots.push_back(limits.end());
    return roots;
}

} // namespace

ERVec<double> Zeros(const ERPolynome& p, const ERLimites& limits) {
    const int degree = p.degree();
    if (degree < 1) return {};
    const ERTValVector<ERPolynome> derivatives = getAllDerivate(p);
    const ERPolynome& line = derivatives[degree - 1];
    std::vector<double> roots{limits.start()};
    const double first = -line(0) / line(1);
    if (limits.strictlyInBound(first)) roots.push_back(first);
    roots.push_back(limits.end());
    for (int k = degree - 2; k >= 0; --k)
        roots = roots_between(roots, derivatives[k], derivatives[k + 1], limits);

    std::span<const double> kept(roots);
    if (std::fabs(p.evaluate(limits.start())) > zero_size) kept = kept.subspan(1);
    if (!kept.empty() && std::fabs(p.evaluate(limits.end())) > zero_size)
        kept = kept.first(kept.size() - 1);
    return ERVec<double>(kept);
}
