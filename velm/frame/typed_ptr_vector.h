// ERTPtrVector, ERTPtrOrderedVector, ERTPtrSortedVector: typed vectors of pointers that are not
// owned; the ordered form holds a count below its capacity, the sorted one keeps its elements in
// ascending order.
#pragma once

#include "velm/frame/ptr_vector.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <iterator>
#include <type_traits>
#include <utility>

namespace velm::detail {

/// The writable place of a T* in an ERPtrVector, whose slots are void*.
template <class T>
class PointerSlot {
public:
    explicit PointerSlot(void*& slot) : slot_(slot) {}
    PointerSlot(const PointerSlot&) = default;
    PointerSlot& operator=(const PointerSlot& other) { return *this = static_cast<T*>(other); }
    PointerSlot& operator=(T* pointer) {
        slot_ = const_cast<std::remove_const_t<T>*>(pointer);
        return *this;
    }
    operator T*() const { return static_cast<T*>(slot_); }
    T* operator->() const { return static_cast<T*>(slot_); }

private:
    void*& slot_;
};

/// Walks void* slots as T*.
template <class T>
class PointerSlotIterator {
public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = T*;
    using difference_type = std::ptrdiff_t;
    using pointer = T* const*;
    using reference = T*;

    PointerSlotIterator() = default;
    explicit PointerSlotIterator(void* const* slot) : slot_(slot) {}
    T* operator*() const { return static_cast<T*>(*slot_); }
    PointerSlotIterator& operator++() { return ++slot_, *this; }
    PointerSlotIterator operator++(int) { return PointerSlotIterator(slot_++); }
    friend bool operator==(PointerSlotIterator, PointerSlotIterator) = default;

private:
    void* const* slot_ = nullptr;
};

} // namespace velm::detail

/// A vector of T*, not owned; see ERPtrVector.
template <class T>
class ERTPtrVector : public ERPtrVector {
public:
    ERTPtrVector() = default;
    explicit ERTPtrVector(int n) : ERPtrVector(n) {}
    ERTPtrVector(int n, T* value) : ERPtrVector(n) { *this = value; }

    ERTPtrVector& operator=(T* value) {
        for (int i = 0; i < npts; ++i)
            (*this)[i] = value;
        return *this;
    }

    velm::detail::PointerSlot<T> operator[](int i) {
        return velm::detail::PointerSlot<T>(ERPtrVector::operator[](i));
    }
    T* operator[](int i) const { return static_cast<T*>(ERPtrVector::operator[](i)); }
    velm::detail::PointerSlot<T> at(int i) { return (*this)[i]; }
    T* at(int i) const { return (*this)[i]; }

    velm::detail::PointerSlotIterator<T> begin() const {
        return velm::detail::PointerSlotIterator<T>(data());
    }
    velm::detail::PointerSlotIterator<T> end() const {
        return velm::detail::PointerSlotIterator<T>(data() + npts);
    }
};

/// The first `entries()` of `length()` slots are in use; a full vector grows by 64 slots.
template <class T>
class ERTPtrOrderedVector : public ERTPtrVector<T> {
public:
    static constexpr int growth = 64;

    explicit ERTPtrOrderedVector(int capacity = growth) : ERTPtrVector<T>(capacity) {}
    ERTPtrOrderedVector(const ERTPtrOrderedVector&) = default;
    ERTPtrOrderedVector(ERTPtrOrderedVector&& other) noexcept
        : ERTPtrVector<T>(std::move(other)), count_(std::exchange(other.count_, 0)) {}
    ~ERTPtrOrderedVector() = default;

    ERTPtrOrderedVector& operator=(const ERTPtrOrderedVector&) = default;
    ERTPtrOrderedVector& operator=(ERTPtrOrderedVector&& other) noexcept {
        ERTPtrVector<T>::operator=(std::move(other));
        std::swap(count_, other.count_);
        return *this;
    }

    /// The same number of elements and the same pointers, regardless of the capacities.
    friend bool operator==(const ERTPtrOrderedVector& a, const ERTPtrOrderedVector& b) {
        return std::equal(a.begin(), a.end(), b.begin(), b.end());
    }

    int entries() const { return count_; }
    int size() const { return count_; }
    int isEmpty() const { return count_ == 0; }
    T* first() const { return count_ > 0 ? this->at(0) : nullptr; }
    T* last() const { return count_ > 0 ? this->at(count_ - 1) : nullptr; }
    velm::detail::PointerSlotIterator<T> end() const {
        return velm::detail::PointerSlotIterator<T>(this->data() + count_);
    }

    void append(T* element) { insertAt(count_, element); }
    void insert(T* element) { append(element); }
    /// Puts `element` before the one at `i`, 0 <= i <= entries().
    void insertAt(int i, T* element) {
        assert(i >= 0 && i <= count_);
        if (count_ == this->npts) this->resize(count_ + growth);
        void** const slots = this->array;
        std::copy_backward(slots + i, slots + count_, slots + count_ + 1);
        (*this)[i] = element;
        ++count_;
    }
    /// Removes the element at `i` and returns it, 0 <= i < entries().
    T* removeAt(int i) {
        assert(i >= 0 && i < count_);
        T* const element = (*this)[i];
        void** const slots = this->array;
        std::copy(slots + i + 1, slots + count_, slots + i);
        slots[--count_] = nullptr;
        return element;
    }
    /// Changes the capacity; elements beyond it are dropped.
    void resize(int capacity) {
        ERPtrVector::resize(capacity);
        count_ = std::min(count_, this->npts);
    }
    void reshape(int capacity) { resize(capacity); }
    void clear() {
        std::fill_n(this->array, count_, nullptr);
        count_ = 0;
    }

private:
    int count_ = 0;
};

/// Elements ascend by `*a < *b`. A new element goes after those equal to it.
template <class T>
class ERTPtrSortedVector : public ERTPtrOrderedVector<T> {
public:
    using ERTPtrOrderedVector<T>::ERTPtrOrderedVector;

    void insert(T* element) { this->insertAt(place_behind(*element), element); }

private:
    using ERTPtrOrderedVector<T>::append;
    using ERTPtrOrderedVector<T>::insertAt;

    int place_behind(const T& element) const {
        int low = 0;
        for (int high = this->entries(); low < high;) {
            const int middle = low + (high - low) / 2;
            if (element < *this->at(middle))
                high = middle;
            else
                low = middle + 1;
        }
        return low;
    }
};
