// coPageArr, coPageArrIterator, coFeature: the page array of the host's container library, whose
// elements stay where they are while it grows.
#pragma once

#include "velm/export.h"
#include "velm/platform/copy_tag.h"
#include "velm/platform/dynamic_array.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <utility>

/// The description that a container gives of itself.
struct VELM_API coFeature {
    const char* container;
    const char* element;
    int element_size;
};

/// An array in blocks of 2^shift elements. Growing never moves an element: references stay valid
/// until the element's block is freed. New elements are default ones. Indices are not below 0.
template <class T>
class coPageArr {
    template <class Array, class Value>
    class Walk {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = T;
        using difference_type = std::ptrdiff_t;
        using pointer = Value*;
        using reference = Value&;

        Walk() = default;
        Walk(Array* array, int at) : array_(array), at_(at) {}
        Value& operator*() const { return array_->element(at_); }
        Value* operator->() const { return &**this; }
        Walk& operator++() {
            ++at_;
            return *this;
        }
        Walk operator++(int) {
            Walk before = *this;
            ++at_;
            return before;
        }
        bool operator==(const Walk&) const = default;

    private:
        Array* array_ = nullptr;
        int at_ = 0;
    };

public:
    using value_type = T;
    using iterator = Walk<coPageArr, T>;
    using const_iterator = Walk<const coPageArr, const T>;

    /// Initial size and growth are those of the array of blocks; the shift is brought into [0, 20].
    explicit coPageArr(int shift = 8, int initial_size = 5, int growth = 10)
        : shift_(std::clamp(shift, 0, 20)), blocks_(initial_size, growth) {}
    coPageArr(std::initializer_list<T> values) : coPageArr() {
        copyin(0, values.begin(), static_cast<int>(values.size()));
    }
    /// A copy with blocks of the same size.
    coPageArr(const coPageArr& other, utCopyTag) : coPageArr(other.shift_) { copy(other); }
    coPageArr(const coPageArr& other) : coPageArr(other, utCopy) {}
    coPageArr(coPageArr&& other) noexcept : coPageArr(other.shift_, 0) { swap(other); }
    /// Takes the elements and the block size of another array.
    coPageArr& operator=(coPageArr other) noexcept {
        swap(other);
        return *this;
    }
    ~coPageArr() = default;
    void swap(coPageArr& other) noexcept {
        std::swap(shift_, other.shift_);
        std::swap(length_, other.length_);
        std::swap(made_, other.made_);
        std::swap(blocks_, other.blocks_);
    }

    int length() const { return length_; }
    std::size_t size() const { return static_cast<std::size_t>(length_); }
    bool empty() const { return length_ == 0; }
    /// Blocks hold 2 to the power of this.
    int shift() const { return shift_; }

    /// Grows up to the index if that is beyond the end.
    T& operator[](int index) {
        if (index >= length_) set_length(index + 1);
        return element(index);
    }
    /// An index below the length.
    const T& operator[](int index) const { return element(index); }

    /// Adds an element at the end; returns its index.
    int append(const T& value) {
        enter(length_, value);
        return length_ - 1;
    }
    /// Puts a value at an index, growing up to it. The value may be an element.
    void enter(int index, const T& value) { (*this)[index] = value; }
    /// Adds count default elements at the end; returns the index of the first.
    int expand(int count) {
        const int first = length_;
        set_length(first + std::max(count, 0));
        return first;
    }
    /// Makes the blocks for that many elements; the length is unchanged.
    void reserve(int count) {
        while (blocks_.length() << shift_ < count)
            blocks_.append(std::make_unique<T[]>(block_size()));
    }

    /// With 0 only the length becomes 0 and the blocks are kept; otherwise they are freed.
    void clear(int free_blocks = 1) { shrink(0, free_blocks); }
    /// Drops the elements from that length on; blocks wholly beyond it are freed except with 0.
    void shrink(int length, int free_blocks) {
        length_ = std::clamp(length, 0, length_);
        if (free_blocks == 0) return;
        blocks_.shrink((length_ + static_cast<int>(block_size()) - 1) >> shift_);
        made_ = std::min(made_, blocks_.length() << shift_);
    }

    /// Takes the elements of another array; this one's block size is kept.
    void copy(const coPageArr& other) {
        if (this == &other) return;
        length_ = 0;
        set_length(other.length_);
        std::copy(other.begin(), other.end(), begin());
    }
    /// Puts count values at an index and after it, growing as needed. The values must not be
    /// elements.
    void copyin(int index, const T* values, int count) {
        if (count <= 0) return;
        if (index + count > length_) set_length(index + count);
        std::copy(values, values + count, iterator(this, index));
    }
    /// Copies up to count elements from an index on; returns their number.
    int copyout(int index, T* values, int count) const {
        const int there = std::clamp(length_ - index, 0, std::max(count, 0));
        std::copy(const_iterator(this, index), const_iterator(this, index + there), values);
        return there;
    }
    void reverse() {
        for (int low = 0, high = length_ - 1; low < high; ++low, --high)
            std::swap(element(low), element(high));
    }
    /// If all elements fit in one block: moves them to a block of the least size that holds them.
    /// The only operation that moves elements.
    void repaginate() {
        if (size() >= block_size()) return;
        int shift = 0;
        while (1 << shift < length_)
            ++shift;
        coPageArr tight(shift);
        tight.set_length(length_);
        std::move(begin(), end(), tight.begin());
        swap(tight);
    }

    iterator begin() { return {this, 0}; }
    iterator end() { return {this, length_}; }
    const_iterator begin() const { return {this, 0}; }
    const_iterator end() const { return {this, length_}; }

private:
    std::size_t block_size() const { return std::size_t{1} << shift_; }
    T& element(int index) {
        assert(index >= 0);
        return blocks_[index >> shift_][static_cast<std::size_t>(index) & (block_size() - 1)];
    }
    const T& element(int index) const { return const_cast<coPageArr*>(this)->element(index); }
    /// Grows; elements that were in use before are made default ones again.
    void set_length(int length) {
        reserve(length);
        for (int n = length_; n < std::min(length, made_); ++n)
            element(n) = T();
        length_ = length;
        made_ = std::max(made_, length);
    }

    int shift_;
    int length_ = 0;
    int made_ = 0; // elements from here on were never in use
    coDynArr<std::unique_ptr<T[]>> blocks_;
};

/// A walk over a page array, made on its first element; false when it is past the last.
template <class T>
class coPageArrIterator {
public:
    explicit coPageArrIterator(coPageArr<T>& array) : array_(&array) { do_first(); }

    explicit operator bool() const { return at_ < array_->length(); }
    /// The element; the walk must be on one.
    T& operator()() const { return *element_; }
    int index() const { return at_; }
    void do_first() { stand_at(0); }
    coPageArrIterator& operator++() {
        ++at_;
        if (at_ >= block_end_) {
            stand_at(at_);
        } else {
            ++element_;
        }
        return *this;
    }
    /// Goes to the first element of the next block; returns whether there is one.
    bool next_block() {
        stand_at(((at_ >> array_->shift()) + 1) << array_->shift());
        return static_cast<bool>(*this);
    }

private:
    void stand_at(int index) {
        at_ = index;
        block_end_ = std::min(array_->length(), ((at_ >> array_->shift()) + 1) << array_->shift());
        element_ = *this ? &(*array_)[at_] : nullptr;
    }

    coPageArr<T>* array_;
    int at_ = 0;
    int block_end_ = 0;
    T* element_ = nullptr;
};
