#include "velm/surfaces/surface_projection.h"

#include "velm/frame/point_functions.h"
#include "velm/numerics/downhill_simplex.h"
#include "velm/numerics/lu_decomposition.h"
#include "velm/numerics/newton_solvers.h"
#include "velm/surfaces/projection_functors.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr double at_limit = 0x1p-23; // parameters this near to a limit count as on it

double norm2(const double* v, int n) {
    double sum = 0.0;
    for (int i = 0; i < n; ++i)
        sum += v[i] * v[i];
    return sum;
}

// ERNewtonMSolver for two unknowns, with its arithmetic and its codes, without arrays. It has no
// rising residuals: those need more than twenty steps.
class FootSolver {
public:
    static constexpr int most_steps = 10;
    static constexpr double flatness = 1e-11;

    FootSolver(velm::detail::FootProblem& problem, double tolerance)
        : problem_(problem), tolerance_(tolerance) {}

    int solve(double* x) {
        std::copy_n(x, 2, previous_);
        problem_.residual(x, residual_);
        int status = NewtonStatus_limit;
        for (int step = 0; status == NewtonStatus_limit && step < most_steps; ++step) {
            double jacobian[4], change[2];
            problem_.jacobian(x, jacobian);
            if (!velm::solve(jacobian, residual_, change)) return NewtonStatus_singular;
            if (last_criterion() * flatness > std::sqrt(norm2(jacobian, 4)))
                return NewtonStatus_flat;
            status = moved(x, change);
        }
        return status;
    }

    double last_criterion() const { return std::sqrt(norm2(residual_, 2)); }

private:
    int moved(double* x, const double* change) {
        x[0] -= change[0];
        x[1] -= change[1];
        problem_.residual(x, residual_);
        int status = NewtonStatus_limit;
        if (last_criterion() <= tolerance_) {
            const double step[] = {previous_[0] - x[0], previous_[1] - x[1]};
            const bool short_step =
                tolerance_ * std::sqrt(norm2(x, 2)) >= std::sqrt(norm2(step, 2));
            status = short_step ? NewtonStatus_converged : NewtonStatus_residual;
        } else if (x[0] == previous_[0] && x[1] == previous_[1]) {
            return NewtonStatus_residual;
        }
        std::copy_n(x, 2, previous_);
        return status;
    }

    velm::detail::FootProblem& problem_;
    double tolerance_;
    double previous_[2] = {};
    double residual_[2] = {};
};

// The other side of the limits for a parameter at one of them.
bool opposite(const ERLimites& limits, double& t) {
    const double to_start = std::fabs(t - limits.start()), to_end = std::fabs(t - limits.end());
    if (!(to_start <= at_limit) && !(to_end <= at_limit)) return false;
    t = to_end <= to_start ? limits.start() : limits.end();
    return true;
}

} // namespace

int NewtonProjection(const ERAnyBoundedSurface& surface, ERPoint3D& p, ERPoint2D& parameter,
                     double& criterion, int& singular) {
    constexpr double residual_tolerance = 1e-10, good_enough = 1e-5;
    velm::detail::FootProblem problem(surface, p);
    FootSolver solver(problem,
                      std::max(residual_tolerance, residual_tolerance * problem.inverse_size()));
    double x[] = {problem.limits_u().ratio(parameter.x()), problem.limits_v().ratio(parameter.y())};
    int status = solver.solve(x);
    if (status == NewtonStatus_limit &&
        (solver.last_criterion() < good_enough || problem.angle_criterion(singular) < good_enough))
        status = NewtonStatus_converged;
    parameter = ERPoint2D(problem.limits_u()(x[0]), problem.limits_v()(x[1]));
    const double sine = problem.angle_criterion(parameter, singular);
    if (status != NewtonStatus_converged && status != NewtonStatus_residual) return 0;
    criterion = problem.difference().norme() < good_enough ? 0.0 : sine;
    p = problem.point().point();
    return 1;
}

int AcceptProjection(const ERAnyBoundedSurface& surface, const ERPoint2D& parameter,
                     double criterion, double tolerance) {
    const ERLimites in_u = surface.getBoundU(), in_v = surface.getBoundV();
    if (!in_u.inBound(parameter.x()) || !in_v.inBound(parameter.y())) return 0;
    const auto well_inside = [](const ERLimites& limits, double t) {
        return t - limits.start() >= at_limit && limits.end() - t >= at_limit;
    };
    if (well_inside(in_u, parameter.x()) && well_inside(in_v, parameter.y())) return 1;
    return criterion <= tolerance ? 1 : 0;
}

int SimplexProjection(const ERAnyBoundedSurface& surface, ERPoint3D& p, ERPoint2D& parameter,
                      int inBound) {
    constexpr double first_size = 0.001, least_offset2 = 1e-5;
    FunctorNormalProjection<> offset(surface, p);
    ERDownhillSimplex simplex(first_size, &offset);
    const double least = simplex.Minimise({parameter.x(), parameter.y()}, 2);
    const ERVec<double> best = simplex.vertex(0);
    parameter = ERPoint2D(best.view()[0], best.view()[1]);
    if (!(least < least_offset2)) return 0;
    p = surface.PtCur(parameter.x(), parameter.y()).point();
    if (!inBound) return 1;
    return surface.getBoundU().inBound(parameter.x()) && surface.getBoundV().inBound(parameter.y());
}

int RetryProjection(const ERAnyBoundedSurface& surface, ERPoint3D& p, ERPoint2D& parameter,
                    int inBound) {
    constexpr double sharp = 1e-5, wide = 0.001;
    constexpr int restarts = 8;
    const ERPoint2D entry = parameter;
    double criterion = std::numeric_limits<double>::max();
    int singular = 0;
    ERPoint3D foot = p;
    if (NewtonProjection(surface, foot, parameter, criterion, singular) &&
        AcceptProjection(surface, parameter, criterion, sharp)) {
        p = foot;
        return 1;
    }
    if (!singular) return 0;

    bool found = false;
    for (int k = 0; k < restarts && !found; ++k) {
        const double t = double(k >> 1) / 3.0;
        parameter = entry;
        (k % 2 == 0 ? parameter.x() : parameter.y()) =
            (k % 2 == 0 ? surface.getBoundU() : surface.getBoundV())(t);
        foot = p;
        found = SimplexProjection(surface, foot, parameter, inBound) != 0;
    }
    if (!found) return 0;
    velm::detail::FootProblem problem(surface, p);
    if (!AcceptProjection(surface, parameter, problem.angle_criterion(parameter, singular), wide))
        return 0;
    p = problem.point().point();
    return 1;
}

int ReajustAtSeam(const ERAnyBoundedSurface& surface, ERPoint3D& p, ERPoint2D& parameter,
                  int inBound) {
    constexpr double same_place = 1e-5;
    const ERPoint2D entry = parameter;
    if (RetryProjection(surface, p, parameter, inBound)) return 1;

    const ERPoint2D left = parameter;
    const double here = distance(surface(left), p);
    for (const int axis : {0, 1}) {
        parameter = left;
        double& t = axis == 0 ? parameter.x() : parameter.y();
        if (!opposite(axis == 0 ? surface.getBoundU() : surface.getBoundV(), t)) continue;
        if (distance(surface(parameter), p) < here + same_place &&
            RetryProjection(surface, p, parameter, inBound))
            return 1;
    }
    parameter = entry;
    return 0;
}
