// The forms of ERPmIsometrie3D and ERPmSimilitude3D in a CArchive.
#pragma once

#include "velm/export.h"
#include "velm/fwd.h"

// A damaged archive throws a CArchiveException* and nothing else; the transformation that was being
// read is unchanged.

/// The first and second axis as vectors, and the origin: nine doubles. Reading builds the frame
/// again from the two axes, so that the result is a frame for any numbers.
VELM_API CArchive& operator<<(CArchive& archive, const ERPmIsometrie3D& t);
VELM_API CArchive& operator>>(CArchive& archive, ERPmIsometrie3D& t);

/// The matrix, the translation and the factor. A matrix that is not 3 x 3 is a damaged archive; one
/// that is not orthogonal gives a transformation that is not valid.
VELM_API CArchive& operator<<(CArchive& archive, const ERPmSimilitude3D& t);
VELM_API CArchive& operator>>(CArchive& archive, ERPmSimilitude3D& t);
