#include "velm/frame/stored_value.h"

#include "velm/frame/box.h"
#include "velm/frame/interval.h"
#include "velm/frame/point.h"
#include "velm/frame/pole.h"
#include "velm/frame/stored_form.h"
#include "velm/frame/vector.h"

namespace velm::detail {

template <class Value>
void StoredValue<Value>::saveGuts(ERFile& file) const {
    static_assert(FormOf<Value>::bytes % sizeof(double) == 0);
    write_bytes(file, static_cast<const Value*>(this), stored_bytes);
}

template <class Value>
void StoredValue<Value>::restoreGuts(ERFile& file) {
    read_bytes(file, static_cast<Value*>(this), stored_bytes);
}

template class StoredValue<ERPoint2D>;
template class StoredValue<ERPoint3D>;
template class StoredValue<ERVector2D>;
template class StoredValue<ERVector3D>;
template class StoredValue<ERPole2DH>;
template class StoredValue<ERPole3DH>;
template class StoredValue<ERLimites>;
template class StoredValue<ERMinimax2D>;
template class StoredValue<ERMinimax3D>;

} // namespace velm::detail
