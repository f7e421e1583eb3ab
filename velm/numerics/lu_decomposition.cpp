#include "velm/numerics/lu_decomposition.h"

#include "velm/numerics/gauss_pivot.h"

#include <algorithm>
#include <ostream>

ERLUDecomp::ERLUDecomp(const ERMatrix<double>& m)
    : ERMatrix<double>(m.rows(), m.columns(), m.view().data()), original(m) {
    decompose();
}

ERLUDecomp& ERLUDecomp::operator=(const ERMatrix<double>& m) {
    ERMatrix<double>::operator=(m);
    original = m;
    decompose();
    return *this;
}

void ERLUDecomp::decompose() {
    permutation = ERSimpleVec<int>(rows());
    singular = !velm::detail::gauss_pivot(data(), rows(), columns(), permutation.data(), swaps,
                                          pivot_tolerance);
}

ERMatrix<double> ERLUDecomp::L() const {
    ERMatrix<double> result(rows(), columns());
    for (int i = 0; i < rows(); ++i) {
        for (int j = 0; j < std::min(i, columns()); ++j)
            result(i, j) = (*this)(i, j);
        if (i < columns()) result(i, i) = 1.0;
    }
    return result;
}

ERMatrix<double> ERLUDecomp::U() const {
    ERMatrix<double> result(rows(), columns());
    for (int i = 0; i < rows(); ++i)
        for (int j = i; j < columns(); ++j)
            result(i, j) = (*this)(i, j);
    return result;
}

ERMatrix<double> ERLUDecomp::P() const {
    ERMatrix<double> result(rows(), columns());
    for (int i = 0; i < rows(); ++i)
        if (permutation[i] < columns()) result(i, permutation[i]) = 1.0;
    return result;
}

void ERLUDecomp::substitute(double* x, int right_hand_sides) const {
    const int n = columns();
    const double* const lu = view().data();
    const std::size_t width = std::size_t(right_hand_sides);
    const auto factor = [lu, n](int i, int k) {
        return lu[std::size_t(n) * std::size_t(i) + std::size_t(k)];
    };
    const auto row = [x, width](int i) { return x + width * std::size_t(i); };
    for (int k = 0; k < n; ++k)
        for (int i = k + 1; i < n; ++i)
            for (int j = 0; j < right_hand_sides; ++j)
                row(i)[j] -= factor(i, k) * row(k)[j];
    for (int j = 0; j < right_hand_sides; ++j) {
        for (int i = n - 1; i >= 0; --i) {
            double value = row(i)[j];
            for (int k = i + 1; k < n; ++k)
                value -= factor(i, k) * row(k)[j];
            row(i)[j] = value / factor(i, i);
        }
    }
}

/// One right-hand side: the same terms in the same order for each unknown, row by row.
void ERLUDecomp::substitute(double* x) const {
    const int n = columns();
    const double* line = view().data();
    for (int i = 0; i < n; ++i, line += n) {
        double value = x[i];
        for (int k = 0; k < i; ++k)
            value -= line[k] * x[k];
        x[i] = value;
    }
    for (int i = n - 1; i >= 0; --i) {
        line -= n;
        double value = x[i];
        for (int k = i + 1; k < n; ++k)
            value -= line[k] * x[k];
        x[i] = value / line[i];
    }
}

double determinant(const ERLUDecomp& lu) {
    double result = lu.swaps % 2 != 0 ? -1.0 : 1.0;
    for (int i = 0; i < std::min(lu.rows(), lu.columns()); ++i)
        result *= lu(i, i);
    return result;
}

ERMatrix<double> solve(const ERLUDecomp& lu, const ERMatrix<double>& b) {
    ERMatrix<double> x(b);
    double* const out = x.data();
    for (int i = 0; i < lu.rows(); ++i) {
        const int source = lu.permutation[i];
        if (source != i)
            std::ranges::copy(b.row(source), out + std::size_t(b.columns()) * std::size_t(i));
    }
    lu.substitute(out, b.columns());
    return x;
}

ERVec<double> solve(const ERLUDecomp& lu, const ERVec<double>& b) {
    ERVec<double> x(b.size());
    double* const out = x.data();
    const auto in = b.view();
    const auto source = lu.permutation.view();
    for (std::size_t i = 0; i < source.size(); ++i)
        out[i] = in[std::size_t(source[i])];
    lu.substitute(out);
    return x;
}

ERVec<double> solve(const ERLUDecomp& lu) { return solve(lu, ERVec<double>(lu.columns())); }

ERMatrix<double> inverse(const ERLUDecomp& lu) { return solve(lu, IdentityMatrix(lu.rows())); }

std::ostream& operator<<(std::ostream& out, const ERLUDecomp& lu) {
    lu.printOn(out);
    return out;
}
