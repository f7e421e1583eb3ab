// The stored forms of references between objects, as fields of a list of stored fields (see
// stored_form.h):
//   - t_SmartPtr<T>: an optional reference, an int 1 for none, or an int 0 and the identifier;
//   - ERTValDlist<t_SmartPtr<T>>: an int count, then as many optional references;
//   - velm::as_reference(pointer): a reference without a flag, for a pointer that is never null.
// The objects themselves are records of their own in the same store.
#pragma once

#include "velm/frame/object.h"
#include "velm/frame/smart_pointer.h"
#include "velm/frame/stored_form.h"
#include "velm/frame/val_dlist.h"

namespace velm {

template <class T>
struct AsReference {
    t_SmartPtr<T>& pointer;
};
template <class T>
AsReference<T> as_reference(t_SmartPtr<T>& pointer) {
    return {pointer};
}
template <class T>
AsReference<T> as_reference(const t_SmartPtr<T>& pointer) {
    return {const_cast<t_SmartPtr<T>&>(pointer)};
}

namespace detail {

/// Reads a reference; null where the object is no T.
template <class T>
t_SmartPtr<T> restore_reference(ERFile& file) {
    const t_SmartPtr<ERObject> object = ERObject::recursiveRestoreFrom(file);
    return t_SmartPtr<T>(T::castdown(object.get()));
}

template <class T>
struct FieldForm<AsReference<T>> {
    static constexpr bool fixed = false;
    static void save(ERFile& file, AsReference<T> field) { field.pointer->recursiveSaveOn(file); }
    static void restore(ERFile& file, AsReference<T> field) {
        field.pointer = nullptr;
        field.pointer = restore_reference<T>(file);
    }
    static unsigned int size(AsReference<T> field) { return field.pointer->recursiveStoreSize(); }
};

template <class T>
struct FieldForm<t_SmartPtr<T>> {
    static constexpr bool fixed = false;
    static void save(ERFile& file, const t_SmartPtr<T>& pointer) {
        file.Write(pointer ? 0 : 1);
        if (pointer) pointer->recursiveSaveOn(file);
    }
    static void restore(ERFile& file, t_SmartPtr<T>& pointer) {
        pointer = nullptr;
        int none = 1;
        if (file.Read(none) && none == 0) pointer = restore_reference<T>(file);
    }
    static unsigned int size(const t_SmartPtr<T>& pointer) {
        return 4u + (pointer ? pointer->recursiveStoreSize() : 0u);
    }
};

/// A count that the rest of the file can't hold gives an empty list.
template <class T>
struct FieldForm<ERTValDlist<t_SmartPtr<T>>> {
    using List = ERTValDlist<t_SmartPtr<T>>;
    using Element = FieldForm<t_SmartPtr<T>>;

    static constexpr bool fixed = false;
    static void save(ERFile& file, const List& list) {
        file.Write(list.entries());
        for (const t_SmartPtr<T>& pointer : list)
            Element::save(file, pointer);
    }
    static void restore(ERFile& file, List& list) {
        list.clear();
        int count = 0;
        if (!file.Read(count)) return;
        if (count < 0 || static_cast<ULONGLONG>(count) > bytes_left(file) / 4) {
            file.SeekToEnd();
            return;
        }
        for (int i = 0; i < count; ++i) {
            t_SmartPtr<T> pointer;
            Element::restore(file, pointer);
            list.append(pointer);
        }
    }
    static unsigned int size(const List& list) {
        unsigned int bytes = 4;
        for (const t_SmartPtr<T>& pointer : list)
            bytes += Element::size(pointer);
        return bytes;
    }
};

} // namespace detail
} // namespace velm
