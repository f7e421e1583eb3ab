#include "velm/numerics/lu_decomposition.h"

#include "velm/numerics/detail/small_size.h"
#include "velm/numerics/gauss_pivot.h"

#include <algorithm>
#include <cstddef>
#include <ostream>

namespace {

// A copy with a body of its own; empty if m's array lacks elements.
ERMatrix<double> own_copy(const ERMatrix<double>& m) {
    if (!m.is_whole()) return {};
    return ERMatrix<double>(m.rows(), m.columns(), m.view().data());
}

} // namespace

ERLUDecomp::ERLUDecomp(const ERMatrix<double>& m)
    : ERMatrix<double>(own_copy(m)), original_(m), permutation_(rows()) {
    decompose();
}

ERLUDecomp& ERLUDecomp::operator=(const ERMatrix<double>& m) {
    original_ = m;
    ERMatrix<double>::operator=(own_copy(original_));
    permutation_ = ERSimpleVec<int>(rows());
    decompose();
    return *this;
}

void ERLUDecomp::decompose() {
    singular_ = !velm::detail::gauss_pivot(data(), rows(), columns(), permutation_.data(), swaps_,
                                           pivot_tolerance);
}

ERMatrix<double> ERLUDecomp::L() const {
    ERMatrix<double> result(rows(), rows());
    for (int i = 0; i < rows(); ++i) {
        for (int j = 0; j < std::min(i, columns()); ++j)
            result(i, j) = (*this)(i, j);
        result(i, i) = 1.0;
    }
    return result;
}

ERMatrix<double> ERLUDecomp::U() const {
    ERMatrix<double> result(rows(), rows());
    for (int i = 0; i < rows(); ++i)
        for (int j = i; j < std::min(rows(), columns()); ++j)
            result(i, j) = (*this)(i, j);
    return result;
}

ERMatrix<double> ERLUDecomp::P() const {
    ERMatrix<double> result(rows(), rows());
    for (int i = 0; i < rows(); ++i)
        result(i, permutation_[i]) = 1.0;
    return result;
}

namespace {

// Forward and back substitution in place, on the packed factors of a square matrix.
template <class Size>
void substitute(const double* lu, Size n, double* x) {
    velm::detail::all_below(n, [=](auto i) {
        double value = x[i];
        for (int k = 0; k < i; ++k)
            value -= lu[std::ptrdiff_t(i) * n + k] * x[k];
        x[i] = value;
        return true;
    });
    velm::detail::all_below(n, [=](auto below) {
        const int i = n - 1 - below;
        double value = x[i];
        for (int k = i + 1; k < n; ++k)
            value -= lu[std::ptrdiff_t(i) * n + k] * x[k];
        x[i] = value / lu[std::ptrdiff_t(i) * n + i];
        return true;
    });
}

// The same for a row of right-hand sides: the same terms in the same order for each unknown.
void substitute(const double* lu, int n, double* x, int right_hand_sides) {
    const std::ptrdiff_t width = right_hand_sides;
    const auto subtract = [x, width](int from, double factor, int what) {
        double* __restrict const target = x + width * from;
        const double* __restrict const source = x + width * what;
        for (std::ptrdiff_t j = 0; j < width; ++j)
            target[j] -= factor * source[j];
    };
    const double* line = lu;
    for (int i = 0; i < n; ++i, line += n)
        for (int k = 0; k < i; ++k)
            subtract(i, line[k], k);
    for (int i = n - 1; i >= 0; --i) {
        line -= n;
        for (int k = i + 1; k < n; ++k)
            subtract(i, line[k], k);
        for (std::ptrdiff_t j = 0; j < width; ++j)
            x[width * i + j] /= line[i];
    }
}

} // namespace

double determinant(const ERLUDecomp& lu) {
    double result = lu.swaps_ % 2 != 0 ? -1.0 : 1.0;
    for (int i = 0; i < std::min(lu.rows(), lu.columns()); ++i)
        result *= lu(i, i);
    return result;
}

ERMatrix<double> solve(const ERLUDecomp& lu, const ERMatrix<double>& b) {
    if (lu.rows() != lu.columns() || b.rows() != lu.rows() || !b.is_whole()) return {};
    ERMatrix<double> x(b);
    double* const out = x.data();
    for (int i = 0; i < lu.rows(); ++i) {
        const int source = lu.permutation_[i];
        if (source != i) std::ranges::copy(b.row(source), out + std::ptrdiff_t(b.columns()) * i);
    }
    substitute(lu.view().data(), lu.columns(), out, b.columns());
    return x;
}

ERVec<double> solve(const ERLUDecomp& lu, const ERVec<double>& b) {
    if (lu.rows() != lu.columns() || b.size() != lu.rows()) return {};
    ERVec<double> x(b.view());
    double* const out = x.data();
    const double* const in = b.view().data();
    const int* const source = lu.permutation_.view().data();
    const double* const factors = lu.view().data();
    velm::detail::with_size(lu.columns(), [=](auto n) {
        for (int i = 0; i < n; ++i)
            out[i] = in[source[i]];
        substitute(factors, n, out);
    });
    return x;
}

ERVec<double> solve(const ERLUDecomp& lu) { return solve(lu, ERVec<double>(lu.columns())); }

ERMatrix<double> inverse(const ERLUDecomp& lu) { return solve(lu, IdentityMatrix(lu.rows())); }

std::ostream& operator<<(std::ostream& out, const ERLUDecomp& lu) {
    lu.printOn(out);
    return out;
}

bool velm::solve(std::span<const double> a, std::span<const double> b, std::span<double> x) {
    const std::size_t size = b.size();
    if (size < 1 || size > largest_small_system || a.size() != size * size || x.size() != size)
        return false;
    double factors[largest_small_system * largest_small_system];
    double unknowns[largest_small_system];
    int source[largest_small_system];
    int swaps = 0;
    return detail::with_size(static_cast<int>(size), [&](auto n) {
        std::copy_n(a.data(), n * n, factors);
        if (!detail::gauss_pivot(factors, n, n, source, swaps, ERLUDecomp::pivot_tolerance))
            return false;
        for (int i = 0; i < n; ++i)
            unknowns[i] = b[std::size_t(source[i])];
        substitute(factors, n, unknowns);
        std::copy_n(unknowns, std::size_t(n), x.data());
        return true;
    });
}
