// ERTValVector, ERTValOrderedVector: vectors of values; the ordered form holds a count below its
// capacity.
#pragma once

#include <algorithm>
#include <cassert>
#include <initializer_list>
#include <memory>
#include <utility>

/// An array of `length()` values that is copied with its handle. Indices are not checked. Counts
/// below zero are taken as zero.
template <class T>
class ERTValVector {
public:
    using value_type = T;
    using iterator = T*;
    using const_iterator = const T*;

    ERTValVector() = default;
    /// `n` default values.
    explicit ERTValVector(int n) : npts(std::max(n, 0)), array(make(npts)) {}
    ERTValVector(int n, const T& value) : ERTValVector(n) { std::fill(begin(), end(), value); }
    ERTValVector(std::initializer_list<T> values) : ERTValVector(static_cast<int>(values.size())) {
        std::copy(values.begin(), values.end(), begin());
    }
    ERTValVector(const ERTValVector& other) : ERTValVector(other.npts) {
        std::copy(other.begin(), other.end(), begin());
    }
    ERTValVector(ERTValVector&& other) noexcept
        : npts(std::exchange(other.npts, 0)), array(std::move(other.array)) {}

    ERTValVector& operator=(const ERTValVector& other) {
        if (this != &other) *this = ERTValVector(other);
        return *this;
    }
    ERTValVector& operator=(ERTValVector&& other) noexcept {
        std::swap(npts, other.npts);
        std::swap(array, other.array);
        return *this;
    }
    /// Sets every element to `value`.
    ERTValVector& operator=(const T& value) {
        std::fill(begin(), end(), T(value));
        return *this;
    }

    T& operator[](int i) { return array.get()[i]; }
    const T& operator[](int i) const { return array.get()[i]; }
    T& at(int i) { return array.get()[i]; }
    const T& at(int i) const { return array.get()[i]; }

    int length() const { return npts; }
    int size() const { return npts; }
    T* data() { return array.get(); }
    const T* data() const { return array.get(); }
    T* begin() { return array.get(); }
    T* end() { return array.get() + npts; }
    const T* begin() const { return array.get(); }
    const T* end() const { return array.get() + npts; }

    /// Changes the length; the first min(old, new) values stay, further values are default ones.
    void reshape(int n) {
        n = std::max(n, 0);
        if (n == npts) return;
        std::unique_ptr<T[]> values = make(n);
        std::move(begin(), begin() + std::min(npts, n), values.get());
        array = std::move(values);
        npts = n;
    }
    void resize(int n) { reshape(n); }

    friend bool operator==(const ERTValVector& a, const ERTValVector& b) {
        return std::equal(a.begin(), a.end(), b.begin(), b.end());
    }

protected:
    static std::unique_ptr<T[]> make(int n) {
        return n > 0 ? std::make_unique<T[]>(static_cast<std::size_t>(n)) : nullptr;
    }

    int npts = 0;
    std::unique_ptr<T[]> array;
};

/// The first `entries()` of `length()` values are in use; a full vector doubles its length.
template <class T>
class ERTValOrderedVector : public ERTValVector<T> {
public:
    static constexpr int initial_length = 64;

    explicit ERTValOrderedVector(int capacity = initial_length) : ERTValVector<T>(capacity) {}
    ERTValOrderedVector(std::initializer_list<T> values)
        : ERTValVector<T>(values), count_(static_cast<int>(values.size())) {}
    ERTValOrderedVector(const ERTValOrderedVector&) = default;
    ERTValOrderedVector(ERTValOrderedVector&& other) noexcept
        : ERTValVector<T>(std::move(other)), count_(std::exchange(other.count_, 0)) {}
    ~ERTValOrderedVector() = default;

    ERTValOrderedVector& operator=(const ERTValOrderedVector&) = default;
    ERTValOrderedVector& operator=(ERTValOrderedVector&& other) noexcept {
        ERTValVector<T>::operator=(std::move(other));
        std::swap(count_, other.count_);
        return *this;
    }

    int entries() const { return count_; }
    int size() const { return count_; }
    int isEmpty() const { return count_ == 0; }
    T* end() { return this->begin() + count_; }
    const T* end() const { return this->begin() + count_; }
    /// The first and the last value; the vector must not be empty.
    T& first() { return this->at(0); }
    const T& first() const { return this->at(0); }
    T& last() { return this->at(count_ - 1); }
    const T& last() const { return this->at(count_ - 1); }

    void append(const T& value) { insertAt(count_, value); }
    void insert(const T& value) { append(value); }
    /// Puts `value` before the one at `i`, 0 <= i <= entries(). It may be an element of the vector.
    void insertAt(int i, const T& value) {
        assert(i >= 0 && i <= count_);
        T copy(value);
        if (count_ == this->npts) this->reshape(std::max(initial_length, 2 * count_));
        std::move_backward(this->begin() + i, end(), end() + 1);
        (*this)[i] = std::move(copy);
        ++count_;
    }
    /// Removes the value at `i` and returns it, 0 <= i < entries().
    T removeAt(int i) {
        assert(i >= 0 && i < count_);
        T value = std::move((*this)[i]);
        std::move(this->begin() + i + 1, end(), this->begin() + i);
        (*this)[--count_] = T();
        return value;
    }
    void clear() {
        std::fill(this->begin(), end(), T());
        count_ = 0;
    }
    /// Changes the capacity; elements beyond it are dropped.
    void resize(int capacity) {
        ERTValVector<T>::reshape(capacity);
        count_ = std::min(count_, this->npts);
    }
    void reshape(int capacity) { resize(capacity); }

    friend bool operator==(const ERTValOrderedVector& a, const ERTValOrderedVector& b) {
        return std::equal(a.begin(), a.end(), b.begin(), b.end());
    }

private:
    int count_ = 0;
};
