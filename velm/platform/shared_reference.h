// utRef: a reference that shares its object with its copies.
#pragma once

#include "velm/export.h"

#include <memory>

/// Owns an object together with its copies; the last one deletes it. The counts may be changed by
/// several threads, one reference belongs to one thread at a time.
template <class T>
class utRef {
public:
    utRef() = default;
    /// Takes ownership of the object; null for none.
    explicit utRef(T* object) : object_(object) {}

    T* get() const { return object_.get(); }
    T& operator*() const { return *object_; }
    T* operator->() const { return object_.get(); }
    explicit operator bool() const { return object_ != nullptr; }
    /// Whether both refer to the same object.
    friend bool operator==(const utRef&, const utRef&) = default;

private:
    std::shared_ptr<T> object_;
};
