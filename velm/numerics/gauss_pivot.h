// MatriceGaussPivot: elimination with row pivoting, as a factoriser and as a solver.
#pragma once

#include "velm/export.h"
#include "velm/fwd.h"

/// Gaussian elimination with partial (row) pivoting, in place.
///
/// With n rows and c columns, the first n columns become the packed factors: multipliers of the
/// unit lower triangle below the diagonal, the upper triangle on and above it. Columns from n on
/// are right-hand sides; they hold the solutions afterwards. perm needs room for n entries and
/// gives the input row that each row came from; swaps counts the row exchanges. Among equally large
/// pivot candidates the first is taken, so ties exchange no rows.
///
/// Returns 1, or 0 as soon as a pivot's absolute value is below tolerance (absolute, not scaled);
/// matrix, perm and swaps then keep the state reached. An empty matrix gives 0 for any positive
/// tolerance, a matrix with fewer columns than rows always gives 0. perm is not allocated here.
///
/// Method: Golub and Van Loan, Matrix Computations, 4th edition, algorithm 3.4.1 (outer product
/// form), one pass, no refinement.
VELM_API int MatriceGaussPivot(QuickAlgebra::ERMatrix<double>& m, int*& perm, int& swaps,
                               double tolerance);

namespace velm::detail {
/// The same on a bare row-major array of rows x columns.
int gauss_pivot(double* m, int rows, int columns, int* perm, int& swaps, double tolerance);
} // namespace velm::detail
