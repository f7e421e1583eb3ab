// ERSimpleVec<T>, ERSimpleVec2<T>: counted copy-on-write array handles, in one and two dimensions.
#pragma once

#include "velm/export.h"
#include "velm/frame/vec_rep.h"

#include <algorithm>
#include <cassert>
#include <climits>
#include <cstddef>
#include <cstring>
#include <initializer_list>
#include <new>
#include <span>
#include <utility>

/// A handle on a shared array body. Copying it costs one atomic increment; the first write through
/// a handle on a shared body takes a copy of the body (it detaches).
///
/// Elements are copied bit by bit and neither constructed nor destroyed, not even smart pointers:
/// code that puts those in an array releases them itself before the body is freed. New elements
/// without a given value are all zero bits.
///
/// On a handle that is not const, operator[], begin, end and data detach. A reference or iterator
/// taken from a handle stays valid until that handle changes size, is assigned to or, if a copy of
/// it has been made, is written through again. In a hot loop read through view(), and write through
/// writable(), called once.
///
/// Two handles on one body may be read, copied and written in two threads; one handle is for one
/// thread at a time.
template <class T>
class VELM_API ERSimpleVec {
public:
    using value_type = T;
    using size_type = int;
    using difference_type = std::ptrdiff_t;
    using reference = T&;
    using const_reference = const T&;
    using iterator = T*;
    using const_iterator = const T*;

    /// An empty array, with the body that all empty handles share.
    ERSimpleVec() noexcept : ERSimpleVec(ERVecRep::nullref_) {}
    /// n zeroed elements.
    explicit ERSimpleVec(int n) : ERSimpleVec(Fresh{ERVecRep::getRep(bytes(n), 0)}) {}
    /// n copies of a value.
    ERSimpleVec(int n, const T& value)
        : ERSimpleVec(Fresh{ERVecRep::getRep(bytes(n) / sizeof(T), sizeof(T), &value)}) {}
    ERSimpleVec(std::initializer_list<T> values)
        : ERSimpleVec(Fresh{ERVecRep::getRep(values.begin(), values.size() * sizeof(T))}) {}
    /// A copy of the elements of a span.
    explicit ERSimpleVec(std::span<const T> values)
        : ERSimpleVec(Fresh{ERVecRep::getRep(values.data(), values.size_bytes())}) {}
    /// A handle on this body: adds a reference.
    explicit ERSimpleVec(ERVecRep* rep) noexcept : elements_(static_cast<T*>(rep->data())) {
        rep->addReference();
    }
    ERSimpleVec(const ERSimpleVec& other) noexcept : elements_(other.elements_) {
        body()->addReference();
    }
    /// Leaves the other array empty.
    ERSimpleVec(ERSimpleVec&& other) noexcept : ERSimpleVec() { swap(other); }

    virtual ~ERSimpleVec() { release(body()); }

    ERSimpleVec& operator=(const ERSimpleVec& other) noexcept {
        attach(other.body());
        return *this;
    }
    ERSimpleVec& operator=(ERSimpleVec&& other) noexcept {
        swap(other);
        return *this;
    }
    ERSimpleVec& operator=(std::initializer_list<T> values) {
        attach(ERVecRep::getRep(values.begin(), values.size() * sizeof(T)));
        return *this;
    }
    void swap(ERSimpleVec& other) noexcept { std::swap(elements_, other.elements_); }

    int size() const { return static_cast<int>(body()->length() / sizeof(T)); }
    bool empty() const { return body()->length() < sizeof(T); }
    /// Elements that fit in the body.
    int capacity() const { return static_cast<int>(body()->capacity() / sizeof(T)); }

    const T& operator[](std::ptrdiff_t i) const { return elements_[i]; }
    T& operator[](std::ptrdiff_t i) {
        detach();
        return elements_[i];
    }
    const T& front() const { return elements_[0]; }
    T& front() { return (*this)[0]; }
    const T& back() const { return elements_[size() - 1]; }
    T& back() { return (*this)[size() - 1]; }

    const T* data() const { return elements_; }
    T* data() {
        detach();
        return elements_;
    }
    const T* begin() const { return elements_; }
    const T* end() const { return elements_ + size(); }
    const T* cbegin() const { return begin(); }
    const T* cend() const { return end(); }
    T* begin() { return data(); }
    T* end() { return data() + size(); }

    /// The elements, for reading: never detaches. Don't loop over the view of a temporary handle,
    /// which is destroyed before the first step.
    std::span<const T> view() const { return {elements_, count()}; }
    /// The elements, for writing: detaches once.
    std::span<T> writable() { return {data(), count()}; }

    /// Replaces removeCount elements from start on, fewer at the end, by the values. The body is
    /// edited in place if ERVecRep::replace does so. The values may be in this array.
    void replace(int start, int removeCount, std::span<const T> values) {
        assert(0 <= start && start <= size());
        ERVecRep* const rep = ERVecRep::replace(body(), bytes(start), bytes(removeCount),
                                                values.data(), values.size_bytes());
        if (rep != body()) attach(rep);
    }
    void insert(int at, std::span<const T> values) { replace(at, 0, values); }
    void insert(int at, const T& value) { replace(at, 0, {&value, 1}); }
    void remove(int start, int n = 1) { replace(start, n, {}); }

    /// Adds n copies of a value at the end: in place if the body is unshared and has the room, else
    /// in a new body of exactly the new size. The value may be in this array.
    void append(const T& value, int n = 1) {
        if (n <= 0) return;
        alignas(T) std::byte local[sizeof(T)];
        copy_bits(local, &value);
        const int old = size();
        const int total = sum(old, n);
        if (!body()->isUnshared() || capacity() < total) grow_to(total);
        body()->setLength(bytes(total));
        for (int i = old; i < total; ++i)
            copy_bits(elements_ + i, local);
    }
    /// append for long runs: a full body grows by half, so that n calls copy O(n) elements.
    void push_back(const T& value) {
        const int old = size();
        if (body()->isUnshared() && old < capacity()) {
            body()->setLength(bytes(old + 1));
            copy_bits(elements_ + old, &value);
            return;
        }
        alignas(T) std::byte local[sizeof(T)];
        copy_bits(local, &value);
        const int total = sum(old, 1);
        grow_to(total + std::min(old / 2, INT_MAX - total));
        body()->setLength(bytes(total));
        copy_bits(elements_ + old, local);
    }
    /// Makes room for n elements, so that append works in place up to that length.
    void reserve(int n) {
        const int old = size();
        if (body()->isUnshared() && n <= capacity()) return;
        grow_to(n < old ? old : n);
        body()->setLength(bytes(old));
    }
    /// Cuts the array, or extends it with zeroed elements.
    void resize(int n) {
        const int old = size();
        if (n == old) return;
        if (!body()->isUnshared() || capacity() < n) grow_to(n);
        body()->setLength(bytes(n));
        if (n > old) zero_bits(elements_ + old, bytes(n - old));
    }
    void clear() { attach(ERVecRep::nullref_); }

    /// The body; a caller that keeps it adds a reference.
    ERVecRep* rep() const { return body(); }

protected:
    /// A body made for this handle, unknown to any other.
    struct Fresh {
        ERVecRep* rep;
    };
    explicit ERSimpleVec(Fresh fresh) noexcept : elements_(static_cast<T*>(fresh.rep->data())) {
        fresh.rep->addFirstReference();
    }

    static std::size_t bytes(int n) {
        assert(n >= 0);
        return static_cast<std::size_t>(n) * sizeof(T);
    }
    static int sum(int a, int b) {
        if (b > INT_MAX - a) throw std::bad_array_new_length();
        return a + b;
    }
    std::size_t count() const { return body()->length() / sizeof(T); }

    /// The header is directly before the first element.
    ERVecRep* body() const { return static_cast<ERVecRep*>(static_cast<void*>(elements_)) - 1; }

    /// Takes a reference on rep before releasing the old body, so rep may be that body.
    void attach(ERVecRep* rep) noexcept {
        rep->addReference();
        ERVecRep* const old = body();
        elements_ = static_cast<T*>(rep->data());
        release(old);
    }
    void detach() {
        if (!body()->isUnshared()) attach(body()->duplicate());
    }
    static void release(ERVecRep* rep) noexcept {
        if (rep->removeAndTestLast()) rep->free();
    }

private:
    void grow_to(int n) { attach(ERVecRep::clone(body(), bytes(n))); }

    static void copy_bits(void* to, const void* from) { std::memcpy(to, from, sizeof(T)); }
    static void zero_bits(void* to, std::size_t n) { std::memset(to, 0, n); }

    T* elements_; // never null; the body's header is directly before it
};

/// A two-dimensional array, stored row after row.
template <class T>
class VELM_API ERSimpleVec2 : public ERSimpleVec<T> {
public:
    ERSimpleVec2() = default;
    /// rows by columns zeroed elements.
    ERSimpleVec2(int rows, int columns)
        : ERSimpleVec<T>(area(rows, columns)), rows_(rows), columns_(columns) {}
    ERSimpleVec2(int rows, int columns, const T& value)
        : ERSimpleVec<T>(area(rows, columns), value), rows_(rows), columns_(columns) {}
    ERSimpleVec2(const ERSimpleVec2&) = default;
    ERSimpleVec2(ERSimpleVec2&& other) noexcept { swap(other); }
    ERSimpleVec2& operator=(const ERSimpleVec2&) = default;
    ERSimpleVec2& operator=(ERSimpleVec2&& other) noexcept {
        swap(other);
        return *this;
    }
    void swap(ERSimpleVec2& other) noexcept {
        ERSimpleVec<T>::swap(other);
        std::swap(rows_, other.rows_);
        std::swap(columns_, other.columns_);
    }

    int rows() const { return rows_; }
    int columns() const { return columns_; }

    const T& operator()(int row, int column) const { return (*this)[index(row, column)]; }
    T& operator()(int row, int column) { return (*this)[index(row, column)]; }

    /// One row, for reading: never detaches.
    std::span<const T> row(int r) const {
        return this->view().subspan(static_cast<std::size_t>(index(r, 0)),
                                    static_cast<std::size_t>(columns_));
    }

    /// Inserts n zeroed columns before column at, 0 <= at <= columns().
    void insertColumns(int at, int n) {
        assert(0 <= at && at <= columns_ && n >= 0);
        const int wider = area(rows_, ERSimpleVec<T>::sum(columns_, n));
        if (this->empty()) { // without rows or without columns
            this->resize(wider);
        } else {
            this->attach(ERVecRep::polyInsert(this->body(), this->bytes(at), this->bytes(n),
                                              this->bytes(columns_)));
        }
        columns_ += n;
        for (int r = 0; r < rows_ && n > 0; ++r)
            std::memset(static_cast<void*>(&(*this)(r, at)), 0, this->bytes(n));
    }
    /// Removes n columns from column at on, at + n <= columns().
    void removeColumns(int at, int n) {
        assert(0 <= at && n >= 0 && at + n <= columns_);
        if (n == 0) return;
        if (rows_ > 0) {
            this->detach();
            this->body()->polyRemove(this->bytes(at), this->bytes(n), this->bytes(columns_));
        }
        columns_ -= n;
    }

private:
    static int area(int rows, int columns) {
        const long long n = static_cast<long long>(rows) * columns;
        if (n > INT_MAX) throw std::bad_array_new_length();
        return static_cast<int>(n);
    }
    std::ptrdiff_t index(int row, int column) const {
        return static_cast<std::ptrdiff_t>(row) * columns_ + column;
    }

    int rows_ = 0;
    int columns_ = 0;
};
