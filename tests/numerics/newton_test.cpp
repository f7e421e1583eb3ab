// The Newton solvers on classic systems, and every code that they return.
#include "velm/numerics/newton_line_search.h"
#include "velm/numerics/newton_solvers.h"

#include "support/test.h"

#include <cfloat>

namespace {

using Vector = ERVec<double>;
using Matrix = ERMatrix<double>;

struct Equation : ERCNewtonS {
    Equation(std::function<double(double)> value, std::function<double(double)> slope)
        : f_(std::move(value)), df_(std::move(slope)) {}
    double f(double x) override { return f_(x); }
    double fprime(double x) override { return df_(x); }
    std::function<double(double)> f_, df_;
};

struct System : ERCNewtonM {
    using Slope = std::function<Matrix(const Vector&)>;
    System(std::function<Vector(const Vector&)> value, Slope slope = {})
        : f_(std::move(value)), df_(slope ? std::move(slope) : differences()) {}
    Vector f(const Vector& x) override { return f_(x); }
    Matrix fprime(const Vector& x) override { return df_(x); }
    Slope differences() const {
        return [f = f_](const Vector& x) {
            constexpr double h = 1e-6;
            Matrix j(x.size(), x.size());
            for (int k = 0; k < x.size(); ++k) {
                Vector before = x, after = x;
                before[k] -= h;
                after[k] += h;
                const Vector low = f(before), high = f(after);
                for (int i = 0; i < x.size(); ++i)
                    j(i, k) = (high.view()[std::size_t(i)] - low.view()[std::size_t(i)]) / (2 * h);
            }
            return j;
        };
    }
    std::function<Vector(const Vector&)> f_;
    Slope df_;
};

Matrix matrix2(double a, double b, double c, double d) {
    const double values[] = {a, b, c, d};
    return {2, 2, values};
}

// ---- the test set of More, Garbow and Hillstrom, ACM TOMS 7, 1981 ----

System rosenbrock() {
    return {[](const Vector& x) { return Vector{10.0 * (x[1] - x[0] * x[0]), 1.0 - x[0]}; }};
}

System freudenstein_roth() {
    return {[](const Vector& x) {
        const double y = x[1];
        return Vector{-13.0 + x[0] + ((5.0 - y) * y - 2.0) * y,
                      -29.0 + x[0] + ((y + 1.0) * y - 14.0) * y};
    }};
}

System broyden_tridiagonal() {
    return {[](const Vector& x) {
        const int n = x.size();
        Vector f(n);
        for (int i = 0; i < n; ++i)
            f[i] = (3.0 - 2.0 * x[i]) * x[i] - (i > 0 ? x[i - 1] : 0.0) -
                   (i + 1 < n ? 2.0 * x[i + 1] : 0.0) + 1.0;
        return f;
    }};
}

// One equation, and a Jacobian that need not be its own.
System single(std::function<double(double)> f, double slope) {
    return {[f = std::move(f)](const Vector& x) { return Vector{f(x[0])}; },
            [slope](const Vector&) { return Matrix(1, 1, &slope); }};
}

System line(double slope) {
    return single([slope](double x) { return slope * (x - 3.0); }, slope);
}

double residual(System& system, const Vector& x) {
    double sum = 0.0;
    const Vector values = system.f(x);
    for (const double f : values.view())
        sum += f * f;
    return std::sqrt(sum);
}

// ---- one equation ----

TEST(NewtonScalar, FindsRoots) {
    Equation square_root([](double x) { return x * x - 2.0; }, [](double x) { return 2.0 * x; });
    ERNewtonSSolver solver(&square_root, 0.0, 50);
    double x = 1.0;
    EXPECT_LE(solver.Resoudre(x, 1e-12), NewtonStatus_residual);
    EXPECT_NEAR(x, std::sqrt(2.0), 1e-15);
    struct Kepler : ERCNewtonSDelta {
        using ERCNewtonSDelta::ERCNewtonSDelta;
        double f(double e) override { return e - 0.9 * std::sin(e) - 1.0; }
    } kepler(1e-6);
    ERNewtonSSolver other(&kepler, 0.0, 50);
    EXPECT_LE(other.Resoudre(x = 1.5, 1e-14), NewtonStatus_residual);
    EXPECT_NEAR(kepler.f(x), 0.0, 1e-14);
}

TEST(NewtonScalar, EveryCode) {
    const auto code = [](Equation equation, double x, double tolerance, double flat, int most) {
        return ERNewtonSSolver(&equation, flat, most).Resoudre(x, tolerance);
    };
    const Equation through_3([](double x) { return x - 3.0; }, [](double) { return 1.0; });
    const Equation through_0([](double x) { return x * x * x + x; },
                             [](double x) { return 3.0 * x * x + 1.0; });
    const Equation above([](double x) { return x * x + 1.0; }, [](double x) { return 2.0 * x; });
    EXPECT_EQ(code(through_3, 3.0, 1e-9, 0.0, 10), NewtonStatus_converged);
    EXPECT_EQ(code(through_0, 0.5, 1e-9, 0.0, 50),
              NewtonStatus_residual); // relative to a root at 0
    EXPECT_EQ(code(above, 2.0, 1e-9, 0.0, 25), NewtonStatus_limit);
    EXPECT_EQ(code(through_3, 9.0, 1e-9, 0.0, 0), NewtonStatus_limit);
    EXPECT_EQ(code(above, 0.0, 1e-9, DBL_MIN, 25), NewtonStatus_flat);
    EXPECT_EQ(code(above, 0.0, 1e-9, 0.0, 25), NewtonStatus_limit); // divides by zero and goes on
}

// ---- square systems ----

TEST(NewtonSystem, ClassicSystems) {
    const auto solve = [](System system, const Vector& start) {
        Vector x = start;
        ERNewtonMSolver solver(&system, static_cast<unsigned>(x.size()), 0.0, 100);
        EXPECT_LE(solver.Resoudre(x, 1e-11), NewtonStatus_residual);
        EXPECT_EQ(solver.GetLastCriteria(), residual(system, x));
        EXPECT_LE(solver.GetLastCriteria(), 1e-11);
        EXPECT_GT(solver.getNBIter(), 1);
        Vector y = start;
        ERNewtonMSolverWithBackTracking searching(&system, 0.0, 200);
        EXPECT_EQ(searching.Resoudre(y, 0.0), BackTrackingStatus_converged);
        EXPECT_LE(residual(system, y), 1e-8);
        EXPECT_GT(searching.getNBFevaluate(), searching.getNBIter());
        return x;
    };
    const Vector rosen = solve(rosenbrock(), {-1.2, 1.0});
    EXPECT_NEAR(rosen[0], 1.0, 1e-10);
    EXPECT_NEAR(rosen[1], 1.0, 1e-10);
    const Vector roth = solve(freudenstein_roth(), {6.0, 5.0});
    EXPECT_NEAR(roth[0], 5.0, 1e-10);
    EXPECT_NEAR(roth[1], 4.0, 1e-10);
    solve(broyden_tridiagonal(), Vector(10, -1.0));
}

TEST(NewtonSystem, EveryCode) {
    const auto code = [](System system, Vector x, double tolerance, double flat, int most) {
        return ERNewtonMSolver(&system, static_cast<unsigned>(x.size()), flat, most)
            .Resoudre(x, tolerance);
    };
    EXPECT_EQ(code(line(1.0), {3.0}, 1e-9, 0.0, 10), NewtonStatus_converged);
    EXPECT_EQ(code(line(1.0), {9.0}, 1e-9, 0.0, 10), NewtonStatus_residual); // the step was long
    // A residual too small to move x, and still above the tolerance.
    const auto almost = [](double x) { return x - 1.0 + 1e-20; };
    EXPECT_EQ(code(single(almost, 1.0), {4.0}, 1e-30, 0.0, 100), NewtonStatus_residual);
    EXPECT_EQ(code(rosenbrock(), {-1.2, 1.0}, 1e-11, 0.0, 1), NewtonStatus_limit);
    EXPECT_EQ(code(line(1.0), {9.0}, 1e-9, 0.0, 0), NewtonStatus_limit);
    EXPECT_EQ(code(line(1.0), {9.0}, 1e-9, 1e6, 10), NewtonStatus_flat);
    EXPECT_EQ(code(line(0.0), {9.0}, 1e-9, 0.0, 10), NewtonStatus_singular);
    // Sizes that don't fit.
    const System one_equation([](const Vector&) { return Vector{1.0}; },
                              [](const Vector&) { return matrix2(1.0, 0.0, 0.0, 1.0); });
    EXPECT_EQ(code(one_equation, {9.0, 9.0}, 1e-9, 0.0, 10), NewtonStatus_singular);
    // The cube root: every step doubles the distance, and the 21st rise of the residual ends it.
    System cube_root([](const Vector& x) { return Vector{std::cbrt(x[0])}; });
    Vector x{1.0};
    ERNewtonMSolver solver(&cube_root, 1, 0.0, 100);
    EXPECT_EQ(solver.Resoudre(x, 1e-12), NewtonStatus_singular);
    EXPECT_EQ(solver.getNBIter(), 22);
}

// ---- gradients ----

// A narrow valley with its bottom at (2, 1).
struct Valley : ERCNewtonH {
    explicit Valley(int domain = 1) : ERCNewtonH(1e-4), domain_(domain) {}
    Vector f(const Vector& x) override {
        const double a = x[0] - 2.0, b = x[0] - 2.0 * x[1];
        return {4.0 * a * a * a + 2.0 * a + 2.0 * b, -4.0 * b};
    }
    Matrix fprime(const Vector& x) override {
        const double a = x[0] - 2.0;
        return matrix2(12.0 * a * a + 4.0, -4.0, -4.0, 8.0);
    }
    double H(const Vector& x) override {
        ++asked;
        const double a = x[0] - 2.0, b = x[0] - 2.0 * x[1];
        return a * a * a * a + a * a + b * b;
    }
    int HDomaine(const Vector&) override { return domain_; }
    int asked = 0;
    int domain_;
};

TEST(NewtonGradient, StepsAreNotDampedWhateverTheMeritSays) {
    static int steps;
    ERNewtonMSolverEx::iteration_hook = [] { ++steps; };
    for (const int domain : {0, 1}) {
        for (int most = 1; most < 12; ++most) {
            Valley valley(domain);
            Vector x{9.0, -3.0}, y = x;
            ERNewtonMSolverEx damped(&valley, 0.0, most);
            steps = 0;
            const int code = damped.Resoudre(x, 1e-12);
            EXPECT_EQ(steps, damped.getNBIter());
            EXPECT_EQ(valley.asked, 2 * damped.getNBIter());
            EXPECT_EQ(ERNewtonMSolver(&valley, 2, 0.0, most).Resoudre(y, 1e-12), code);
            EXPECT_EQ(x[0], y[0]);
            EXPECT_EQ(x[1], y[1]);
            EXPECT_EQ(damped.Performance(), 0.0);
        }
    }
    ERNewtonMSolverEx::iteration_hook = nullptr;
}

TEST(NewtonGradient, EveryCode) {
    const auto code = [](Vector x, double tolerance, double flat, int most) {
        Valley valley;
        return ERNewtonMSolverEx(&valley, flat, most).Resoudre(x, tolerance);
    };
    EXPECT_EQ(code({2.0, 1.0}, 1e-9, 0.0, 10), NewtonStatus_converged);
    EXPECT_EQ(code({2.1, 1.0}, 1e-3, 0.0, 10), NewtonStatus_residual);
    EXPECT_EQ(code({9.0, 1.0}, 1e-9, 0.0, 2), NewtonStatus_limit);
    EXPECT_EQ(code({9.0, 1.0}, 1e-9, 0.0, 0), NewtonStatus_limit);
    EXPECT_EQ(code({9.0, 1.0}, 1e-9, 1e9, 10), NewtonStatus_flat);
    struct Plain : ERCNewtonH {
        Plain() : ERCNewtonH(1e-3) {}
        double H(const Vector& x) override { return x[0]; }
    } plain;
    Vector x{1.0};
    EXPECT_EQ(ERNewtonMSolverEx(&plain, 0.0, 10).Resoudre(x, 1e-9), NewtonStatus_singular);
}

TEST(NewtonDerivatives, DifferencesAreSymmetrised) {
    struct Skew : ERCNewtonMDelta {
        Skew() : ERCNewtonMDelta(0.5) {}
        Vector f(const Vector& x) override { return {x[0] + 6.0 * x[1], 2.0 * x[0] + x[1]}; }
    } skew;
    EXPECT_TRUE(skew.fprime({1.0, 1.0}) == matrix2(1.0, 4.0, 4.0, 1.0));
    struct Bowl : ERCNewtonH {
        Bowl() : ERCNewtonH(0.25) {}
        double H(const Vector& x) override { return x[0] * x[0] + x[0] * x[1]; }
    } bowl;
    const Vector gradient = bowl.f({1.0, 2.0}); // forward differences: 2 x + h + y, x
    EXPECT_EQ(gradient[0], 4.25);
    EXPECT_EQ(gradient[1], 1.0);
}

// ---- with a line search ----

TEST(NewtonLineSearch, EveryCode) {
    const auto code = [](System system, Vector start, Vector* end = nullptr, int most = 50) {
        ERNewtonMSolverWithBackTracking solver(&system, 0.0, most);
        const int result = solver.Resoudre(start, 0.0);
        if (end != nullptr) *end = start;
        return result;
    };
    Vector x;
    EXPECT_EQ(code(line(1.0), {3.0}), BackTrackingStatus_at_root);
    EXPECT_EQ(code(line(1.0), {9.0}), BackTrackingStatus_converged);
    EXPECT_EQ(code(line(0.0), {9.0}), BackTrackingStatus_at_root); // zero everywhere
    EXPECT_EQ(code(single([](double) { return 1.0; }, 0.0), {9.0}, &x),
              BackTrackingStatus_singular);
    EXPECT_EQ(x[0], 9.0);
    EXPECT_EQ(code({[](const Vector&) {
                        return Vector{1.0, 2.0};
                    },
                    [](const Vector&) { return matrix2(1.0, 0.0, 0.0, 1.0); }},
                   {9.0}),
              BackTrackingStatus_singular);
    // A wrong Jacobian points uphill: no step length helps.
    EXPECT_EQ(code(single([](double v) { return 1.0 + v; }, -1.0), {1.0}, &x),
              BackTrackingStatus_stopped);
    EXPECT_EQ(x[0], 1.0);
    EXPECT_EQ(code(single([](double v) { return 1e-4 * (1.0 + v); }, -1e-4), {1.0}),
              BackTrackingStatus_spurious);
    // A step that the line search still accepts as long enough and that x rounds to a shorter one:
    // this is the only way to get there, because the two bounds are equal.
    const auto edge = [](double v) { return v == 1.5 ? -1.50000001e-3 : -1e-3; };
    EXPECT_EQ(code(single(edge, 1e6), {1.5}, &x), BackTrackingStatus_short_step);
    EXPECT_GT(x[0], 1.5);
    EXPECT_EQ(code(rosenbrock(), {-1.2, 1.0}, &x, 1), BackTrackingStatus_limit);
    EXPECT_EQ(x[0], -1.2); // as given
    EXPECT_EQ(code(rosenbrock(), {-1.2, 1.0}, nullptr, 0), BackTrackingStatus_limit);
    // The Jacobian turns by a right angle, so the direction leads uphill: a full step, twice as
    // far, half of that, which is the full step again, and the search stops.
    int calls = 0;
    const System circle(
        [&calls](const Vector& v) {
            ++calls;
            return v[1] == 1.0 ? Vector{2, 1} : v[1] == 2.0 ? Vector{3, 0} : Vector{1, 1};
        },
        [](const Vector&) { return matrix2(0.0, -1.0, 1.0, 0.0); });
    EXPECT_EQ(code(circle, {0.0, 0.0}, &x), BackTrackingStatus_stopped);
    EXPECT_EQ(x[1], 0.0);
    EXPECT_EQ(calls, 4);
    // Plain steps run away from here; the line search brings them back.
    const System arctangent([](const Vector& v) { return Vector{std::atan(v[0])}; });
    EXPECT_EQ(code(arctangent, {3.0}), BackTrackingStatus_converged);
    // A residual that is no number is no root.
    EXPECT_NE(code(single([](double) { return NAN; }, 1.0), {1.0}), BackTrackingStatus_at_root);
}

TEST(NewtonLineSearch, CountsGoOnFromCallToCall) {
    System system = rosenbrock();
    ERNewtonMSolverWithBackTracking solver(&system, 0.0, 20);
    Vector x{-1.2, 1.0};
    EXPECT_EQ(solver.Resoudre(x, 0.0), BackTrackingStatus_converged);
    const int before = solver.getNBIter();
    solver.SetMaxIter(before);
    Vector again{-1.2, 1.0};
    EXPECT_EQ(solver.Resoudre(again, 0.0), BackTrackingStatus_limit);
    EXPECT_EQ(solver.getNBIter(), before);
}

} // namespace
