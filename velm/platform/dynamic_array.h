// coDynArr, coQuickSort: the growing array of the host's container library, and its sort.
#pragma once

#include "velm/export.h"

#include <algorithm>
#include <functional>
#include <initializer_list>
#include <utility>
#include <vector>

/// An array that grows at its end. Elements move when it does.
template <class T>
class coDynArr {
public:
    using value_type = T;

    coDynArr() : coDynArr(5, 10) {}
    /// Room for initial_size elements at first; it then grows by at least `growth` at a time.
    coDynArr(int initial_size, int growth) : growth_(std::max(growth, 1)) {
        elements_.reserve(at_least_0(initial_size));
    }
    coDynArr(std::initializer_list<T> values) : growth_(10), elements_(values) {}

    int length() const { return static_cast<int>(elements_.size()); }
    std::size_t size() const { return elements_.size(); }
    bool empty() const { return elements_.empty(); }

    T& operator[](int n) { return elements_[static_cast<std::size_t>(n)]; }
    const T& operator[](int n) const { return elements_[static_cast<std::size_t>(n)]; }
    /// Returns the index.
    int append(T value) {
        if (elements_.size() == elements_.capacity()) {
            const std::size_t by_half = elements_.size() / 2;
            elements_.reserve(elements_.size() + std::max(by_half, at_least_0(growth_)));
        }
        elements_.push_back(std::move(value));
        return length() - 1;
    }
    void reserve(int n) { elements_.reserve(at_least_0(n)); }
    /// Drops the elements from the n-th on.
    void shrink(int n) {
        if (n < length()) elements_.erase(begin() + std::max(n, 0), end());
    }
    void clear() { elements_.clear(); }

    auto begin() { return elements_.begin(); }
    auto end() { return elements_.end(); }
    auto begin() const { return elements_.begin(); }
    auto end() const { return elements_.end(); }

private:
    static std::size_t at_least_0(int n) { return static_cast<std::size_t>(std::max(n, 0)); }

    int growth_;
    std::vector<T> elements_;
};

/// Sorts so that before(a, b) holds for no later a and earlier b; equal elements in no particular
/// order.
template <class T, class Before>
void coQuickSort(T* elements, int count, Before before) {
    if (count > 1) std::sort(elements, elements + count, before);
}
template <class T>
void coQuickSort(T* elements, int count) {
    coQuickSort(elements, count, std::less<T>());
}
