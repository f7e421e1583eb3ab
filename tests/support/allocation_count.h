// velm_test::allocations(): the calls of the global operator new so far. Include it in one source
// of a test program: it replaces the operators of the whole program.
#pragma once

#include <atomic>
#include <cstdlib>
#include <new>

namespace velm_test {

inline std::atomic<long> allocation_count{0};

inline long allocations() { return allocation_count.load(); }

} // namespace velm_test

void* operator new(std::size_t size) {
    ++velm_test::allocation_count;
    if (void* block = std::malloc(size)) return block;
    throw std::bad_alloc();
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
