// QuickAlgebra::ERMatrix<T>: the dense matrix; also at global scope as ERMatrix<T>.
#pragma once

#include "velm/export.h"
#include "velm/frame/vec.h"

#include <cstddef>
#include <iosfwd>
#include <new>
#include <span>
#include <utility>

namespace QuickAlgebra {

/// A row-major matrix on a counted copy-on-write body: element (i, j) is element columns * i + j of
/// the array, both from 0. Copies share the body as arrays do; the first write through a handle on
/// a shared body takes a copy. In a hot loop take view() to read and writable() once to write.
///
/// Made for double, ERPoint3D and ERPole3DH.
template <class T>
class VELM_API ERMatrix : public ERVec<T> {
public:
    ERMatrix() noexcept = default;
    /// rows x columns zeros.
    ERMatrix(int rows, int columns)
        : ERVec<T>(area(rows, columns)), columns_(columns), rows_(rows) {}
    /// A copy of rows * columns elements, row by row.
    ERMatrix(int rows, int columns, const T* values)
        : ERVec<T>(std::span<const T>(values, std::size_t(area(rows, columns)))), columns_(columns),
          rows_(rows) {}
    /// rows x columns elements without values yet, for a caller that writes them all.
    static ERMatrix unfilled(int rows, int columns) {
        return ERMatrix(rows, columns, {ERVecRep::getRep(ERVec<T>::bytes(area(rows, columns)), 1)});
    }
    ERMatrix(const ERMatrix&) noexcept = default;
    ERMatrix(ERMatrix&& other) noexcept { swap(other); }
    ERMatrix& operator=(const ERMatrix&) noexcept = default;
    ERMatrix& operator=(ERMatrix&& other) noexcept {
        swap(other);
        return *this;
    }

    /// Writes "( r= rows, c=columns" and then each row in brackets, in fixed notation with seven
    /// digits and signs. Sets the stream's fill, precision, alignment, notation and sign flags and
    /// does not restore them; hosts' texts depend on it.
    virtual void printOn(std::ostream& out) const;
    /// The stored form: rows and columns as 32-bit numbers, then the array body.
    virtual unsigned int binaryStoreSize() const;
    virtual void saveGuts(ERFile& file) const;
    /// A record whose body is cut short or doesn't fit its rows and columns leaves the matrix
    /// unchanged.
    virtual void restoreGuts(ERFile& file);

    int rows() const { return rows_; }
    int columns() const { return columns_; }
    /// Whether the array holds rows times columns elements. An operation that changes the array's
    /// length may have left fewer: the operations of this floor then treat the matrix as one of
    /// unsuitable size.
    bool is_whole() const {
        return this->view().size() >= std::size_t(rows_) * std::size_t(columns_);
    }

    const T& operator()(int i, int j) const { return (*this)[index(i, j)]; }
    T& operator()(int i, int j) { return (*this)[index(i, j)]; }

    /// A row, for reading: never detaches.
    std::span<const T> row(int i) const {
        return this->view().subspan(std::size_t(index(i, 0)), std::size_t(columns_));
    }

    void swap(ERMatrix& other) noexcept {
        ERVec<T>::swap(other);
        std::swap(columns_, other.columns_);
        std::swap(rows_, other.rows_);
    }

private:
    ERMatrix(int rows, int columns, typename ERVec<T>::Fresh fresh) noexcept
        : ERVec<T>(fresh), columns_(columns), rows_(rows) {}

    static int area(int rows, int columns) {
        const long long n = static_cast<long long>(rows) * columns;
        if (rows < 0 || columns < 0 || n > 0x7fffffff) throw std::bad_array_new_length();
        return static_cast<int>(n);
    }
    std::ptrdiff_t index(int i, int j) const {
        return static_cast<std::ptrdiff_t>(columns_) * i + j;
    }

    int columns_ = 0;
    int rows_ = 0;
};

template <class T>
std::ostream& operator<<(std::ostream& out, const ERMatrix<T>& m) {
    m.printOn(out);
    return out;
}

/// Equal sizes and exactly equal elements.
VELM_API bool operator==(const ERMatrix<double>& a, const ERMatrix<double>& b);

// Arithmetic of matrices whose sizes agree; if they don't, the result is empty. A product's element
// sums its terms in the order of the inner index.
VELM_API ERMatrix<double> operator+(const ERMatrix<double>& a, const ERMatrix<double>& b);
VELM_API ERMatrix<double> operator-(const ERMatrix<double>& a, const ERMatrix<double>& b);
VELM_API ERMatrix<double> operator*(const ERMatrix<double>& a, const ERMatrix<double>& b);
VELM_API ERVec<double> operator*(const ERMatrix<double>& a, const ERVec<double>& x);
VELM_API ERMatrix<double> operator*(const ERMatrix<double>& a, double factor);
VELM_API ERMatrix<double> operator*(double factor, const ERMatrix<double>& a);
/// The outer product: element (i, j) is a[i] * b[j].
VELM_API ERMatrix<double> operator%(const ERVec<double>& a, const ERVec<double>& b);

extern template class ERMatrix<double>;

} // namespace QuickAlgebra

using QuickAlgebra::ERMatrix;

VELM_API ERMatrix<double> transposed(const ERMatrix<double>& m);

/// The n x n identity.
VELM_API ERMatrix<double> IdentityMatrix(int n);
/// Element (i, j) is 1.0 / (i + j + 1): the standard ill-conditioned matrix.
VELM_API ERMatrix<double> Hilbert(int n);
/// The lower factor L with L * transposed(L) = m; empty if m has fewer columns than rows. Reads
/// only the lower triangle. There is no test of positive definiteness: a negative radicand gives a
/// NaN, which spreads. Method: Golub and Van Loan, Matrix Computations, 4th edition, section 4.2,
/// by rows of L.
VELM_API ERMatrix<double> MatrixCholesky(const ERMatrix<double>& m);
/// Each element above the diagonal takes the value of its mirror below, in place. Elements without
/// a mirror, in a matrix that is not square, are unchanged.
VELM_API void CopyTriInfToTriSup(ERMatrix<double>& m);
/// Each element below the diagonal takes the value of its mirror above, in place, with the same
/// exception.
VELM_API void CopyTriSupToTriInf(ERMatrix<double>& m);
/// Copies with CopyTriInfToTriSup and CopyTriSupToTriInf applied.
VELM_API ERMatrix<double> MatSymetrisInf(const ERMatrix<double>& m);
VELM_API ERMatrix<double> MatSymetrisSup(const ERMatrix<double>& m);

/// A vector that m maps to zero, or to zero within rounding: the last unknown in the permuted order
/// is set to 1.0 and the others follow. Not normalised; columns() entries.
///
/// Each step brings the largest remaining element to the front, by rows and columns (complete
/// pivoting; the rest of the diagonal is ordered in the same way). There is no tolerance and no
/// test of the rank: a zero leading pivot divides by zero, and the result holds infinities or NaNs
/// then. Missing rows count as zeros; a single column gives (1.0).
VELM_API ERVec<double> ResolveHyperPlan(const ERMatrix<double>& m);
