// gmBinaryFlagsEx: the selected points of a set.
#pragma once

#include "velm/export.h"
#include "velm/frame/simple_vec.h"
#include "velm/fwd.h"
#include "velm/platform/copy_tag.h"

#include <cstdint>
#include <initializer_list>
#include <span>
#include <utility>
#include <vector>

/// A growing vector of bits, one per point, with the number of selected ones, which is counted
/// again only if it is stale. Indices below 0 are not points.
class VELM_API gmBinaryFlagsEx {
public:
    gmBinaryFlagsEx() = default;
    /// Selects the points with these numbers. The size is the largest one plus 1; the count is the
    /// length of the list even if a number occurs twice in it; part of the contract.
    explicit gmBinaryFlagsEx(std::span<const int> selected);
    explicit gmBinaryFlagsEx(const ERSimpleVec<int>& selected) : gmBinaryFlagsEx(selected.view()) {}
    explicit gmBinaryFlagsEx(std::initializer_list<int> selected)
        : gmBinaryFlagsEx(std::span(selected.begin(), selected.size())) {}
    gmBinaryFlagsEx(const gmBinaryFlagsEx& other, utCopyTag) : gmBinaryFlagsEx(other) {}
    gmBinaryFlagsEx(const gmBinaryFlagsEx&) = default;
    /// The other one is empty afterwards.
    gmBinaryFlagsEx(gmBinaryFlagsEx&& other) noexcept { swap(other); }
    gmBinaryFlagsEx& operator=(gmBinaryFlagsEx other) noexcept {
        swap(other);
        return *this;
    }
    ~gmBinaryFlagsEx() = default;
    void swap(gmBinaryFlagsEx& other) noexcept {
        words_.swap(other.words_);
        std::swap(size_, other.size_);
        std::swap(stale_, other.stale_);
        std::swap(count_, other.count_);
    }
    void become(const gmBinaryFlagsEx& other) { *this = other; }

    int size() const { return size_; }
    bool empty() const { return size_ == 0; }
    /// False beyond the size.
    bool get(int index) const;
    bool operator[](int index) const { return get(index); }
    /// Grows up to the index.
    void set(int index, bool value);
    void set_all(bool value);
    /// New bits are false.
    void resize(int size);
    void clear() { *this = gmBinaryFlagsEx(); }

    int num_of_selected_points() const;
    /// Counts the selected points, even if their number is known.
    int count_selected_points() const;

    /// Inverts all bits, and adds true bits up to a size of n. A known count becomes n less the
    /// count, or the size less the count for an n of 0, even if n is between 0 and the size; part
    /// of the contract.
    void negate(int n = 0);
    /// Selects also the points that the other selects. An empty vector becomes a copy of the other.
    void or_(const gmBinaryFlagsEx& other);
    /// Keeps the points that both select; the size becomes the smaller one. An empty vector is
    /// unchanged.
    void and_(const gmBinaryFlagsEx& other);
    gmBinaryFlagsEx& operator|=(const gmBinaryFlagsEx& other);
    gmBinaryFlagsEx& operator&=(const gmBinaryFlagsEx& other);
    /// Deselects the points that the other selects; if none remains selected, the vector becomes
    /// empty.
    void subtract(const gmBinaryFlagsEx& other);
    /// Removes the points that the other selects; those after them move up.
    void erase(const gmBinaryFlagsEx& other);

    /// The same size and the same bits.
    bool operator==(const gmBinaryFlagsEx& other) const;

    /// Stores the count of bits, each bit as a byte, whether the number of selected ones is stale
    /// (a byte), and that number. Loads this form or, with a loading version below 2, that of older
    /// documents: a count of bytes and, unless it is 0, the bytes and the count of bits, the lowest
    /// bit of a byte first. An archive doesn't contain its version: the host sets it. Flags that
    /// can't be loaded are unchanged.
    void serialize(CArchive& archive);
    void serialize_old(CArchive& archive);
    static void set_loading_version(int version) { s_loading_version = version; }
    static int loading_version() { return s_loading_version; }
    static void restore_loading_version() { s_loading_version = newest_version; }

private:
    static constexpr int newest_version = 2;
    static int s_loading_version;

    void store(CArchive& archive) const;
    void load(CArchive& archive);
    void set_bit(int index, bool value);
    void fill(int from, int to);
    void cut_to(int size);
    void mark_stale() { stale_ = true; }
    void know_count(int count);

    std::vector<std::uint64_t> words_; // bits from size_ on are 0
    int size_ = 0;
    mutable bool stale_ = false;
    mutable int count_ = 0;
};
