// operator>> and operator<<: transformed copies of points, vectors, arrays, boxes and entities.
//
// T >> x is a copy of x through TransFrom of T, T << x one through TransTo. A box is mapped by its
// corners: the result is the box of the mapped corners; an empty box comes back unchanged. An
// entity comes back as an object of its own class if the class is concrete, else as a pointer to a
// new object; a pointer gives a pointer to a new object.
#pragma once

#include "velm/frame/box.h"
#include "velm/frame/entity.h"
#include "velm/frame/vec.h"
#include "velm/transforms/plane_transformation.h"
#include "velm/transforms/transformation_handle.h"

#include <concepts>
#include <type_traits>

namespace velm::detail {

/// The values that a transformation of space maps in place.
template <class Value>
concept SpaceValue = std::same_as<Value, ERPoint3D> || std::same_as<Value, ERVector3D> ||
    std::same_as<Value, ERVec<ERPoint3D>> || std::same_as<Value, ERVec<ERPole3DH>>;

template <class Value>
concept PlaneValue = std::same_as<Value, ERPoint2D> || std::same_as<Value, ERVector2D> ||
    std::same_as<Value, ERVec<ERPoint2D>> || std::same_as<Value, ERVec<ERPole2DH>>;

/// Whether an entity of type E is mapped by a T.
template <class T, class E>
concept MapsEntity = (std::derived_from<T, ERPmSimilitude3D> && std::derived_from<E, EREntity3D>) ||
                     (std::derived_from<T, ERTransfo2D> && std::derived_from<E, EREntity2D>);

/// A new object of the entity's own class, changed by `change`.
template <class E, class Change>
t_SmartPtr<E> changed_copy(const E& entity, Change change) {
    const t_SmartPtr<E> copy(E::castdown(entity.getCopy()));
    change(*copy);
    return copy;
}

template <class E, class Change>
auto changed(const E& entity, Change change) {
    if constexpr (std::is_abstract_v<E>) {
        return changed_copy(entity, change);
    } else {
        E copy(entity);
        change(copy);
        return copy;
    }
}

} // namespace velm::detail

template <velm::detail::SpaceValue Value>
Value operator>>(const ERTr3DRev& t, const Value& value) {
    Value result(value);
    t.TransFrom(result);
    return result;
}
template <velm::detail::SpaceValue Value>
Value operator<<(const ERTr3DRev& t, const Value& value) {
    Value result(value);
    t.TransTo(result);
    return result;
}

VELM_API ERMinimax3D operator>>(const ERTr3DRev& t, const ERMinimax3D& box);
VELM_API ERMinimax3D operator<<(const ERTr3DRev& t, const ERMinimax3D& box);

template <velm::detail::PlaneValue Value>
Value operator>>(const ERTransfo2D& t, const Value& value) {
    Value result(value);
    return t.TransFrom(result);
}
template <velm::detail::PlaneValue Value>
Value operator<<(const ERTransfo2D& t, const Value& value) {
    Value result(value);
    return t.TransTo(result);
}

template <class T, class E>
requires velm::detail::MapsEntity<T, E>
auto operator>>(const T& t, const E& entity) {
    return velm::detail::changed(entity, [&t](E& copy) { copy.transformFrom(t); });
}
template <class T, class E>
requires velm::detail::MapsEntity<T, E>
auto operator<<(const T& t, const E& entity) {
    return velm::detail::changed(entity, [&t](E& copy) { copy.transformTo(t); });
}

template <class T, class E>
requires velm::detail::MapsEntity<T, E> t_SmartPtr<E>
operator>>(const T& t, const t_SmartPtr<E>& entity) {
    return velm::detail::changed_copy(*entity, [&t](E& copy) { copy.transformFrom(t); });
}
template <class T, class E>
requires velm::detail::MapsEntity<T, E> t_SmartPtr<E>
operator<<(const T& t, const t_SmartPtr<E>& entity) {
    return velm::detail::changed_copy(*entity, [&t](E& copy) { copy.transformTo(t); });
}
