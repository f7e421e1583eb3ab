#include "velm/frame/value_archive.h"

#include "velm/frame/box.h"
#include "velm/frame/coordinate.h"
#include "velm/frame/detail/archive_count.h"
#include "velm/frame/main_direction.h"
#include "velm/frame/point.h"
#include "velm/frame/vec.h"
#include "velm/frame/vector.h"
#include "velm/platform/archive.h"

#include <memory>
#include <span>
#include <type_traits>

using velm::detail::get_count;

namespace {

// Values that are nothing but doubles are stored in an archive as they are in memory.
template <class Value>
CArchive& put_doubles(CArchive& archive, const Value& value) {
    static_assert(std::is_trivially_copyable_v<Value> && sizeof(Value) % sizeof(double) == 0);
    archive.put_bytes(&value, sizeof value);
    return archive;
}

template <class Value>
CArchive& get_doubles(CArchive& archive, Value& value) {
    Value read;
    archive.get_bytes(&read, sizeof read);
    value = read;
    return archive;
}

} // namespace

#define VELM_DOUBLES_IN_ARCHIVE(Value)                                                             \
    CArchive& operator<<(CArchive& archive, const Value& value) {                                  \
        return put_doubles(archive, value);                                                        \
    }                                                                                              \
    CArchive& operator>>(CArchive& archive, Value& value) { return get_doubles(archive, value); }

VELM_DOUBLES_IN_ARCHIVE(ERPoint2D)
VELM_DOUBLES_IN_ARCHIVE(ERPoint3D)
VELM_DOUBLES_IN_ARCHIVE(ERVector3D)
VELM_DOUBLES_IN_ARCHIVE(Coordinate)
VELM_DOUBLES_IN_ARCHIVE(ERMinimax3D)

#undef VELM_DOUBLES_IN_ARCHIVE

CArchive& operator<<(CArchive& archive, const ERMainDirection& direction) {
    const int value = static_cast<ERMainDirection::TypeDir>(direction);
    return archive << static_cast<BYTE>(value / 2) << static_cast<BYTE>(value % 2 != 0 ? 255 : 1);
}

CArchive& operator>>(CArchive& archive, ERMainDirection& direction) {
    BYTE axis, sense;
    archive >> axis >> sense;
    if (axis > 2) archive.raise(CArchiveException::badIndex);
    direction = static_cast<ERMainDirection::TypeDir>(axis * 2 + (sense == 0 ? 1 : 0));
    return archive;
}

CArchive& operator<<(CArchive& archive, const velm::PointArrayList& arrays) {
    archive << static_cast<DWORD>(arrays.GetCount());
    for (const ERVec<ERPoint3D>* array : arrays) {
        const std::span<const ERPoint3D> points =
            array != nullptr ? array->view() : std::span<const ERPoint3D>();
        archive << static_cast<DWORD>(points.size());
        archive.put_bytes(points.data(), points.size_bytes());
    }
    return archive;
}

CArchive& operator>>(CArchive& archive, velm::PointArrayList& arrays) {
    for (DWORD n = get_count(archive, sizeof(DWORD)); n > 0; --n) {
        const DWORD count = get_count(archive, sizeof(ERPoint3D));
        auto array =
            std::make_unique<ERVec<ERPoint3D>>(ERVecRep::getRep(count * sizeof(ERPoint3D), 1));
        archive.get_bytes(array->data(), count * sizeof(ERPoint3D));
        arrays.AddTail(array.get());
        array.release();
    }
    return archive;
}
