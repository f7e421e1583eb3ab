// The heap mark: how an object under construction learns that `new` made its block.
#pragma once

#include "velm/fwd.h"

#include <cstddef>
#include <cstdint>
#include <new>

namespace velm::detail {

/// The message of `new` for the object in its block. Two words, so that it is returned in
/// registers.
struct HeapMark {
    /// The store in which the object is to be saved, null for none.
    ERObjectDataBase* database = nullptr;
    /// 0: `new` made no block for the object; else 1, plus 2 if the earlier object was saved, plus
    /// the address of that object, a multiple of 8.
    std::uintptr_t state = 0;

    int on_the_heap() const { return state != 0; }
    /// The ERObject part that had the mark before, null if none; it was no object of its own, and
    /// gives up its mark.
    ERObject* earlier() const { return reinterpret_cast<ERObject*>(state & ~std::uintptr_t{7}); }
    bool earlier_was_saved() const { return (state & 2) != 0; }
};

/// Allocates a block and lists it, for this thread, as one that awaits its object. The mark is
/// stored beside the block, never in it: a value that an allocation function writes into the block
/// is lost or indeterminate once the object's lifetime begins.
void* allocate_marked(std::size_t size, ERObjectDataBase* database = nullptr);
void* allocate_marked(std::size_t size, std::align_val_t alignment,
                      ERObjectDataBase* database = nullptr);

/// The mark of the block that the object lies in, if it still awaits its object; it then awaits
/// none. So the first object constructed in a block is the one that `new` made; its members, and
/// objects that its constructor arguments make in blocks of their own, are distinguished by their
/// addresses. An object at the block's first byte takes the mark over from one constructed earlier
/// at a later byte of the block: that one is a member of a base.
HeapMark claim_mark(const void* object);

/// Frees the block, and drops its mark if no object ever claimed it: an exception came first.
void free_marked(void* block);
void free_marked(void* block, std::align_val_t alignment);

} // namespace velm::detail
