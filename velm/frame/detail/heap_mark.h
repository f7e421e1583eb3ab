// The heap mark: how an object under construction learns that `new` made its block.
#pragma once

#include "velm/fwd.h"

#include <cstddef>
#include <cstdint>
#include <new>

namespace velm::detail {

/// What `new` left for the object in its block. Two words, so that it is returned in registers.
struct HeapMark {
    /// The store in which the object is to be saved, null for none.
    ERObjectDataBase* database = nullptr;
    /// 0: `new` made no block for the object; else 1, plus 2 if the earlier object was saved, plus
    /// the address of that object, a multiple of 8.
    std::uintptr_t state = 0;

    int on_the_heap() const { return state != 0; }
    /// The ERObject part that had the mark before, null if none; it was no object of its own, and
    /// gives up what it got.
    ERObject* earlier() const { return reinterpret_cast<ERObject*>(state & ~std::uintptr_t{7}); }
    bool earlier_was_saved() const { return (state & 2) != 0; }
};

/// Allocates a block and keeps it, for this thread, as one whose object is still to come. The mark
/// is stored beside the block, never in it: what an allocation function writes into the block is
/// lost or indeterminate once the object's lifetime begins.
void* allocate_marked(std::size_t size, ERObjectDataBase* database = nullptr);
void* allocate_marked(std::size_t size, std::align_val_t alignment,
                      ERObjectDataBase* database = nullptr);

/// The mark of the block that the object lies in, if it still awaits its object; it then awaits
/// none. So the first object constructed in a block is the one that `new` made; its members and
/// what its constructor arguments make in blocks of their own are told apart by their addresses.
/// An object at the block's first byte takes the mark over from one that was constructed before it
/// further on in the block: that one is a member of a base.
HeapMark claim_mark(const void* object);

/// Frees the block, and drops its mark if no object ever claimed it: an exception came first.
void free_marked(void* block);
void free_marked(void* block, std::align_val_t alignment);

} // namespace velm::detail
