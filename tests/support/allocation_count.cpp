#include "support/allocation_count.h"

#include <atomic>
#include <cstdlib>
#include <new>

static std::atomic<long> count{0};

long velm_test::allocations() { return count.load(); }

// Every form that ends in the operator delete below: a sanitizer has its own of each one left out.
void* operator new(std::size_t size) {
    ++count;
    if (void* block = std::malloc(size)) return block;
    throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    ++count;
    return std::malloc(size);
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
