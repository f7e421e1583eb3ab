// ERVecRep: the counted body that array handles share.
#pragma once

#include "velm/export.h"
#include "velm/frame/reference.h"
#include "velm/fwd.h"

#include <cstddef>

/// The body of every array: a header and the storage after it, one allocation of operator new[].
///
/// A new body has no references: its first handle adds one. Bodies released by free() go to the
/// cache of the thread that frees them (ERVecRepCache), regardless of the thread that made them.
/// All sizes are in bytes; elements are copied bit by bit.
///
/// A request for more than PTRDIFF_MAX bytes throws std::bad_array_new_length, exhausted memory
/// std::bad_alloc.
class VELM_API ERVecRep : public ERReference {
public:
    ERVecRep(const ERVecRep&) = delete;
    ERVecRep& operator=(const ERVecRep&) = delete;

    /// The body of all default-constructed handles: empty, in static storage, always with a
    /// reference of its own. It stays valid for the life of the process and is never freed.
    static ERVecRep* const nullref_;

    /// A body of this length. Its whole capacity is zero, or uninitialised with noInit.
    static ERVecRep* getRep(std::size_t bytes, int noInit);
    /// A body with a copy of the bytes at src.
    static ERVecRep* getRep(const void* src, std::size_t bytes);
    /// A body of count copies of the element at value.
    static ERVecRep* getRep(std::size_t count, std::size_t elemBytes, const void* value);
    /// Reads a body from its stored form: a 32-bit length and that many bytes. Null if the file
    /// fails or holds less than the length says; the position is then at the end, so that no part
    /// of it is taken for the data that should follow.
    static ERVecRep* getRep(ERFile& file);

    /// A body with a copy of this one's bytes.
    ERVecRep* duplicate() const;
    /// A body with room for newBytes and the source's bytes, as many as fit. Its length is the
    /// source's, even where that is more than its capacity: the caller sets the right one.
    static ERVecRep* clone(ERVecRep* source, std::size_t newBytes);
    /// Frees a body whose last reference has been removed.
    void free();

    /// Puts srcBytes from src (none if src is null) in the place of at most removeBytes at start,
    /// start <= length. The edit happens in place and rep is returned if the body has at most one
    /// reference, has the room, would not waste more than maxWaste, and src does not point into it;
    /// otherwise the result is a new body and rep is unchanged. The caller attaches a new body and
    /// releases rep.
    static ERVecRep* replace(ERVecRep* rep, std::size_t start, std::size_t removeBytes,
                             const void* src, std::size_t srcBytes);

    /// A copy of rep, taken as rows of stride bytes, with a column of gap bytes inserted at start
    /// in each row; the caller fills the gaps, (length / stride) of them. stride is not 0.
    static ERVecRep* polyInsert(ERVecRep* rep, std::size_t start, std::size_t gap,
                                std::size_t stride);
    /// Removes such a column, in place: the caller has detached the body. gap <= stride.
    void polyRemove(std::size_t start, std::size_t gap, std::size_t stride);

    std::size_t length() const { return length_; }
    std::size_t capacity() const { return capacity_; }
    void* data() { return data_; }
    const void* data() const { return data_; }
    /// Bytes between the length and the capacity keep their values, but are out of bounds for tools
    /// that watch memory.
    void setLength(std::size_t bytes);

    /// Copies bytes to an offset, within the capacity.
    void init(const void* src, std::size_t offset, std::size_t bytes);
    /// Copies length() bytes to the start.
    void initWithVector(const void* src);
    /// Fills the length by repeating one element; a remainder shorter than an element gets its
    /// first bytes.
    void initWithValue(const void* value, std::size_t elemBytes);

    /// The stored form, and its size: length() + 4.
    void saveGuts(ERFile& file) const;
    unsigned int binaryStoreSize() const { return static_cast<unsigned int>(length_ + 4); }

    /// The capacity that a body of this length gets: the initial capacity, beyond it grown in
    /// steps of the resize increment.
    static std::size_t adjustCapacity(std::size_t bytes);

    // Tuning of the whole process, set before arrays are used. Setters return the old value. All
    // are 64 at load.

    /// The smallest capacity of a body.
    static std::size_t getInitialCapacity() { return initialCapac; }
    static std::size_t initialCapacity(std::size_t bytes);
    /// The step by which capacities grow; 0 for none, the capacity then being the length.
    static std::size_t getResizeIncrement() { return resizeInc; }
    static std::size_t resizeIncrement(std::size_t bytes);
    /// The most bytes that replace leaves unused in a body that it edits in place.
    static std::size_t getMaxWaste() { return freeboard; }
    static std::size_t maxWaste(std::size_t bytes);

    static std::size_t initialCapac;
    static std::size_t resizeInc;
    static std::size_t freeboard;

private:
    friend class ERVecRepCache;
    struct EmptyBody;

    constexpr ERVecRep(long references, std::size_t capacity, std::size_t length, void* data)
        : ERReference(references), capacity_(capacity), length_(length), data_(data) {}

    static ERVecRep* allocate(std::size_t capacity);
    void deallocate();
    void* storage() { return this + 1; }
    ERVecRep* occupy(std::size_t bytes, int noInit);
    static ERVecRep* getUnusualRep(std::size_t bytes, int noInit);
    void freeUnusual();

    static EmptyBody empty_body;

    std::size_t capacity_;
    std::size_t length_;
    void* data_; // the storage; in the cache, the next cached body
};
