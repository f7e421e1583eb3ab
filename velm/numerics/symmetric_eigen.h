// Mgc::Eigen: eigenvalues and eigenvectors of a real symmetric matrix.
#pragma once

#include "velm/export.h"
#include "velm/frame/simple_vec.h"

namespace Mgc {

/// A direct solver for real symmetric eigenproblems: Householder reduction to tridiagonal form
/// (closed forms for sizes 2, 3 and 4), then the implicit QL iteration (Martin and Wilkinson,
/// Handbook for Automatic Computation II/2 tred2 and II/4 imtql2, 1971).
///
/// Fill the matrix, call one solve. Every solve overwrites the matrix: afterwards its column j is
/// the unit eigenvector of eigenvalue j. The forms for 2, 3 and 4 read only the upper triangle, the
/// general one only the lower triangle. The forms with a digit assume that size.
///
/// The iteration allows 32 sweeps for each eigenvalue. Running out of them is not reported: the
/// arrays keep the state of that sweep, which is part of the contract.
///
/// Copies and assigned objects share the arrays and their ownership: what one writes the other
/// reads. This is part of the contract.
class VELM_API Eigen {
public:
    /// A zero matrix; a size below 0 counts as 0 wherever memory is concerned.
    explicit Eigen(int size);
    Eigen(const Eigen&) = default;
    Eigen& operator=(const Eigen&) = default;

    double& Matrix(int row, int col) { return matrix_[row][col]; }
    /// Copies size x size values in.
    void SetMatrix(double** source);

    double GetEigenvalue(int i) const { return diagonal_[i]; }
    double* GetEigenvalue() { return diagonal_; }
    const double* GetEigenvalue() const { return diagonal_; }
    double GetEigenvector(int row, int col) const { return matrix_[row][col]; }
    double** GetEigenvector() { return matrix_; }
    const double* const* GetEigenvector() const { return matrix_; }

    /// Solve, eigenvalues in no order.
    void EigenStuff2();
    void EigenStuff3();
    void EigenStuff4();
    void EigenStuffN();
    void EigenStuff();

    /// Solve, eigenvalues in decreasing order; equal ones keep their order.
    void DecrSortEigenStuff2();
    void DecrSortEigenStuff3();
    void DecrSortEigenStuff4();
    void DecrSortEigenStuffN();
    void DecrSortEigenStuff();

    /// Solve, eigenvalues in increasing order; equal ones keep their order.
    void IncrSortEigenStuff2();
    void IncrSortEigenStuff3();
    void IncrSortEigenStuff4();
    void IncrSortEigenStuffN();
    void IncrSortEigenStuff();

protected:
    static void Tridiagonal2(double** mat, double* diag, double* subd);
    static void Tridiagonal3(double** mat, double* diag, double* subd);
    static void Tridiagonal4(double** mat, double* diag, double* subd);
    static void TridiagonalN(int size, double** mat, double* diag, double* subd);
    /// False when an eigenvalue took more than 32 sweeps.
    static bool QLAlgorithm(int size, double* diag, double* subd, double** mat);
    static void DecreasingSort(int size, double* diag, double** mat);
    static void IncreasingSort(int size, double* diag, double** mat);

private:
    int size_;
    double** matrix_;
    double* diagonal_;
    double* subdiagonal_;
    // The arrays that the pointers above point into. Only the pointers write: a write through the
    // handles would give an object arrays of its own.
    ERSimpleVec<double> values_; // the matrix row by row, the diagonal, the subdiagonal
    ERSimpleVec<double*> rows_;
};

} // namespace Mgc
