#include "velm/numerics/newton_problems.h"

double ERCNewtonSDelta::fprime(double x) {
    return (f(x + increment_) - f(x - increment_)) * 0.5 / increment_;
}

ERMatrix<double> ERCNewtonMDelta::fprime(const ERVec<double>& x) {
    const int n = x.size();
    ERMatrix<double> jacobian(n, n);
    double* const out = jacobian.data();
    const auto at = [out, n](int i, int j) -> double& { return out[std::ptrdiff_t(n) * i + j]; };
    const double scale = 1.0 / (2 * increment_);
    for (int i = 0; i < n; ++i) {
        ERVec<double> before(x);
        ERVec<double> after(x);
        before[i] -= increment_;
        after[i] += increment_;
        const ERVec<double> f_before = f(before);
        const ERVec<double> f_after = f(after);
        if (f_before.size() != n || f_after.size() != n) return {};
        for (int row = 0; row < n; ++row)
            at(row, i) =
                (f_after.view()[std::size_t(row)] - f_before.view()[std::size_t(row)]) * scale;
    }
    for (int i = 1; i < n; ++i)
        for (int j = 0; j < i; ++j)
            at(i, j) = at(j, i) = (at(j, i) + at(i, j)) * 0.5;
    return jacobian;
}

ERVec<double> ERCNewtonH::f(const ERVec<double>& x) {
    ERVec<double> gradient(x.size());
    for (int i = 0; i < x.size(); ++i) {
        ERVec<double> shifted(x);
        shifted[i] += GetIncrement();
        // H(x) is evaluated again for every unknown: an H with side effects sees every call.
        const double there = H(shifted);
        gradient[i] = (there - H(x)) / GetIncrement();
    }
    return gradient;
}

int ERCNewtonH::HDomaine(const ERVec<double>&) { return 1; }
