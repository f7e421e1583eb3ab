// t_SmartPtr<T>: the counted pointer to an ERObject.
#pragma once

#include "velm/frame/reference.h"
#include "velm/platform/stack_room.h"

#include <cassert>
#include <compare>
#include <cstddef>
#include <functional>

/// Holds one T*, null when empty, and one reference on what it points to. T derives from ERObject,
/// directly or through virtual bases; the count is reached through that part. The pointee must have
/// come from `new`: the last pointer released deletes it. An object on the stack is an assertion
/// failure.
///
/// Threads may share the pointee, each through an instance of its own; a single instance is no
/// safer than a plain pointer. An instance is two words; there is no control block.
///
/// There is no checked conversion between pointee types: narrow with
/// `t_SmartPtr<B>(B::castdown(a.get()))`, which is empty when the object is no B.
template <class T>
class t_SmartPtr {
public:
    using element_type = T;

    t_SmartPtr() noexcept = default;
    t_SmartPtr(T* object) noexcept : pointer(object) { acquire(pointer); }
    t_SmartPtr(t_SmartPtr const& other) noexcept : pointer(other.pointer) { acquire(pointer); }
    t_SmartPtr(t_SmartPtr&& other) noexcept : pointer(other.pointer) { other.pointer = nullptr; }
    virtual ~t_SmartPtr() {
        release(pointer);
        pointer = nullptr;
    }

    /// The new object is referenced before the old one is released, so assigning a pointer to
    /// itself, or one that the old object owns, is safe.
    t_SmartPtr& operator=(t_SmartPtr const& other) { return *this = other.pointer; }
    t_SmartPtr& operator=(t_SmartPtr&& other) {
        if (this != &other) {
            T* const old = pointer;
            pointer = other.pointer;
            other.pointer = nullptr;
            release(old);
        }
        return *this;
    }
    t_SmartPtr& operator=(T* object) {
        acquire(object);
        T* const old = pointer;
        pointer = object;
        release(old);
        return *this;
    }

    T* get() const noexcept { return pointer; }
    T* operator->() const noexcept { return pointer; }
    T& operator*() const noexcept { return *pointer; }
    explicit operator bool() const noexcept { return pointer != nullptr; }

    /// Pointers compare by address. The second form serves nullptr and NULL too.
    friend bool operator==(t_SmartPtr const& a, t_SmartPtr const& b) noexcept {
        return a.pointer == b.pointer;
    }
    friend bool operator==(t_SmartPtr const& a, T const* b) noexcept { return a.pointer == b; }
    friend std::strong_ordering operator<=>(t_SmartPtr const& a, t_SmartPtr const& b) noexcept {
        return std::compare_three_way()(a.pointer, b.pointer);
    }

private:
    static void acquire(T* object) noexcept {
        if (!object) return;
        assert(!velm::StackRoom::is_in_use(object) &&
               "an object on the stack can't be counted: the last pointer would delete it");
        object->addReference();
    }
    static void release(T* object) {
        if (object && object->removeAndTestLast()) delete object;
    }

    T* pointer = nullptr;
};

template <class T>
struct std::hash<t_SmartPtr<T>> {
    std::size_t operator()(t_SmartPtr<T> const& p) const noexcept {
        return std::hash<T*>()(p.get());
    }
};
