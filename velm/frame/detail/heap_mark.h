// The heap mark: how an object under construction learns that `new` made its block.
#pragma once

#include <cstddef>

namespace velm::detail {

/// Allocates a block and keeps it, for this thread, as one whose object is still to come. The mark
/// stands beside the block, never in it: what an allocation function writes into the block is lost
/// or indeterminate once the object's lifetime begins.
void* allocate_marked(std::size_t size);

/// Whether the object lies in a block that still awaits its object; that block then awaits no more.
/// So the first object constructed in a block is the one that `new` made; its members and what its
/// constructor arguments make in blocks of their own are told apart by their addresses.
bool claim_mark(void const* object);

/// Frees the block, and drops its mark if no object ever claimed it: an exception came first.
void free_marked(void* block);

} // namespace velm::detail
