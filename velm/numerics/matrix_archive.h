// The form of ERMatrix<double> in a CArchive.
#pragma once

#include "velm/export.h"
#include "velm/fwd.h"
#include "velm/numerics/matrix.h"

/// The counts of rows and columns, then each row as a count of columns and its doubles. A damaged
/// archive throws a CArchiveException* and nothing else; the matrix that was being read is
/// unchanged. No count allocates more than the archive still holds.
VELM_API CArchive& operator<<(CArchive& archive, const ERMatrix<double>& matrix);
VELM_API CArchive& operator>>(CArchive& archive, ERMatrix<double>& matrix);
