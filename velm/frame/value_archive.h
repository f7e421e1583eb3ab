// The stream operators of values: their records on an ERFile and their forms in a CArchive.
#pragma once

#include "velm/export.h"
#include "velm/frame/binary_file.h"
#include "velm/frame/stored_value.h"
#include "velm/fwd.h"
#include "velm/platform/typed_lists.h"

#include <concepts>

class Coordinate;
class ERMainDirection;

namespace velm {

/// A point, vector, pole, interval or box: its doubles are its record.
template <class Value>
concept ValueOfDoubles = std::derived_from<Value, detail::StoredValue<Value>>;

/// A list of arrays that it does not own.
using PointArrayList = CList<QuickAlgebra::ERVec<ERPoint3D>*, QuickAlgebra::ERVec<ERPoint3D>*>;

} // namespace velm

/// On an ERFile: saveGuts and restoreGuts, no tag.
template <velm::ValueOfDoubles Value>
ERFile& operator<<(ERFile& file, const Value& value) {
    value.saveGuts(file);
    return file;
}
template <velm::ValueOfDoubles Value>
ERFile& operator>>(ERFile& file, Value& value) {
    value.restoreGuts(file);
    return file;
}

// In a CArchive. A damaged archive gives a CArchiveException* and nothing else; the value being
// read is unchanged.

VELM_API CArchive& operator<<(CArchive& archive, const ERPoint2D& point);
VELM_API CArchive& operator>>(CArchive& archive, ERPoint2D& point);
VELM_API CArchive& operator<<(CArchive& archive, const ERPoint3D& point);
VELM_API CArchive& operator>>(CArchive& archive, ERPoint3D& point);
VELM_API CArchive& operator<<(CArchive& archive, const ERVector3D& vector);
VELM_API CArchive& operator>>(CArchive& archive, ERVector3D& vector);
VELM_API CArchive& operator<<(CArchive& archive, const Coordinate& coordinate);
VELM_API CArchive& operator>>(CArchive& archive, Coordinate& coordinate);
VELM_API CArchive& operator<<(CArchive& archive, const ERMinimax3D& box);
VELM_API CArchive& operator>>(CArchive& archive, ERMinimax3D& box);

/// Two bytes: half the value, then 255 if it is odd and 1 if it is even. Reading takes an odd value
/// only from a second byte of 0, which older documents have: an odd value comes back as the even
/// value below it. Kept for file compatibility.
VELM_API CArchive& operator<<(CArchive& archive, const ERMainDirection& direction);
VELM_API CArchive& operator>>(CArchive& archive, ERMainDirection& direction);

/// A count, then each array as a count of points and the points. A null pointer is stored as an
/// empty array. Reading appends new arrays, which the caller deletes; those read before a failure
/// stay in the list.
VELM_API CArchive& operator<<(CArchive& archive, const velm::PointArrayList& arrays);
VELM_API CArchive& operator>>(CArchive& archive, velm::PointArrayList& arrays);
