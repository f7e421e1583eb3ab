// ERLUDecomp: a matrix that holds its own LU factors. velm::solve: a small system in one call.
#pragma once

#include "velm/export.h"
#include "velm/numerics/matrix.h"

#include <span>

/// P * A = L * U of a square matrix by elimination with row pivoting (see gauss_pivot.h); the
/// inherited matrix holds the packed factors. A pivot below 1e-20, absolute and not scaled by the
/// matrix, stops the elimination and makes the object singular.
///
/// solve, inverse and determinant do not test that: ask isSingular() first. A singular object still
/// answers, from a partly reduced matrix; this is part of the contract.
class VELM_API ERLUDecomp : public ERMatrix<double> {
public:
    static constexpr double pivot_tolerance = 1e-20;

    /// Eliminates. Implicit, so that inverse(m) and determinant(m) work on a matrix.
    ERLUDecomp(const ERMatrix<double>& m);
    ERLUDecomp(const ERLUDecomp&) = default;
    ERLUDecomp& operator=(const ERLUDecomp&) = default;
    /// Drops the old factors and eliminates again.
    ERLUDecomp& operator=(const ERMatrix<double>& m);

    int isSingular() const { return singular_; }

    // The factors have as many columns as rows, regardless of the input's columns.

    /// The unit lower factor.
    ERMatrix<double> L() const;
    /// The upper factor.
    ERMatrix<double> U() const;
    /// The permutation: P(i, j) is 1.0 if row j of the input became row i.
    ERMatrix<double> P() const;

    /// The matrix as it was given.
    const ERMatrix<double>& input() const { return original_; }

    VELM_API friend double determinant(const ERLUDecomp& lu);
    VELM_API friend ERMatrix<double> solve(const ERLUDecomp& lu, const ERMatrix<double>& b);
    VELM_API friend ERVec<double> solve(const ERLUDecomp& lu, const ERVec<double>& b);

private:
    void decompose();

    ERMatrix<double> original_;
    ERSimpleVec<int> permutation_;
    int singular_ = 0;
    int swaps_ = 0;
};

/// The product of the pivots in row order, with the sign of the row exchanges.
VELM_API double determinant(const ERLUDecomp& lu);
/// The solution of A X = B; empty unless A is square and B has as many rows. `ERVec<double> b{6}`
/// is one element, 6.0, and not six: a larger system has no solution for it.
VELM_API ERMatrix<double> solve(const ERLUDecomp& lu, const ERMatrix<double>& b);
VELM_API ERVec<double> solve(const ERLUDecomp& lu, const ERVec<double>& b);
/// Solves against a zero vector.
VELM_API ERVec<double> solve(const ERLUDecomp& lu);
/// Empty unless A is square.
VELM_API ERMatrix<double> inverse(const ERLUDecomp& lu);
/// The text form of a matrix, of the packed factors.
VELM_API std::ostream& operator<<(std::ostream& out, const ERLUDecomp& lu);

namespace velm {

inline constexpr int largest_small_system = 6; ///< unknowns

/// Solves the system A x = b of b.size() unknowns, A row by row, to the same bits as
/// solve(ERLUDecomp(A), b) and without an array body: all work is on the stack. Returns false, with
/// x unchanged, if the decomposition would be singular, if a doesn't have b.size() squared elements
/// or x not b.size(), or if b has no element or more than largest_small_system. x may be b.
VELM_API bool solve(std::span<const double> a, std::span<const double> b, std::span<double> x);

} // namespace velm
