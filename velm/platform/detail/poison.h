// velm::detail::poison and its counterparts: mark the bytes of pools, cached array bodies and slack
// that nobody may touch, for AddressSanitizer and valgrind.
//
// The marks exist for AddressSanitizer in every build with it, for valgrind in builds with
// assertions if its header is found, and in other builds if VELM_VALGRIND is defined. Otherwise
// these functions are empty. Only the library's sources call them: an inline call in a header would
// depend on the host's build instead of the library's.
#pragma once

#include <cstddef>

#if defined(__SANITIZE_ADDRESS__)
#define VELM_POISON_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VELM_POISON_ASAN 1
#endif
#endif

#if defined(VELM_POISON_ASAN)
#include <sanitizer/asan_interface.h>
#elif (!defined(NDEBUG) || defined(VELM_VALGRIND)) && __has_include(<valgrind/memcheck.h>)
#define VELM_POISON_VALGRIND 1
#include <valgrind/memcheck.h>
#endif

namespace velm::detail {

/// Nobody may touch these bytes until they are exposed or made fresh.
inline void poison([[maybe_unused]] const void* first, [[maybe_unused]] std::size_t bytes) {
#if defined(VELM_POISON_ASAN)
    ASAN_POISON_MEMORY_REGION(first, bytes);
#elif defined(VELM_POISON_VALGRIND)
    VALGRIND_MAKE_MEM_NOACCESS(first, bytes);
#endif
}

/// The bytes may be touched again, and hold what they held.
inline void expose([[maybe_unused]] const void* first, [[maybe_unused]] std::size_t bytes) {
#if defined(VELM_POISON_ASAN)
    ASAN_UNPOISON_MEMORY_REGION(first, bytes);
#elif defined(VELM_POISON_VALGRIND)
    VALGRIND_MAKE_MEM_DEFINED(first, bytes);
#endif
}

/// The bytes may be touched again, and hold nothing yet.
inline void make_fresh([[maybe_unused]] const void* first, [[maybe_unused]] std::size_t bytes) {
#if defined(VELM_POISON_ASAN)
    ASAN_UNPOISON_MEMORY_REGION(first, bytes);
#elif defined(VELM_POISON_VALGRIND)
    VALGRIND_MAKE_MEM_UNDEFINED(first, bytes);
#endif
}

/// Reads a word that is poisoned between visits, such as the header before a pool's item.
template <class Word>
Word read_poisoned(const Word* word) {
    expose(word, sizeof(Word));
    const Word value = *word;
    poison(word, sizeof(Word));
    return value;
}

/// Writes such a word.
template <class Word>
void write_poisoned(Word* word, Word value) {
    expose(word, sizeof(Word));
    *word = value;
    poison(word, sizeof(Word));
}

} // namespace velm::detail
