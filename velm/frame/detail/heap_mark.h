// The heap mark: how an object under construction learns that `new` made its block.
#pragma once

#include "velm/fwd.h"

#include <cstddef>

namespace velm::detail {

/// What `new` left for the object in its block: that there is a block, and the store in which the
/// object is to be saved, null for none.
struct HeapMark {
    bool on_the_heap = false;
    ERObjectDataBase* database = nullptr;
};

/// Allocates a block and keeps it, for this thread, as one whose object is still to come. The mark
/// stands beside the block, never in it: what an allocation function writes into the block is lost
/// or indeterminate once the object's lifetime begins.
void* allocate_marked(std::size_t size, ERObjectDataBase* database = nullptr);

/// The mark of the block that the object lies in, if it still awaits its object; it then awaits
/// none. So the first object constructed in a block is the one that `new` made; its members and
/// what its constructor arguments make in blocks of their own are told apart by their addresses.
HeapMark claim_mark(void const* object);

/// Frees the block, and drops its mark if no object ever claimed it: an exception came first.
void free_marked(void* block);

} // namespace velm::detail
