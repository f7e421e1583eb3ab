#include "velm/platform/stack_room.h"

#include <algorithm>
#include <functional>

#if defined(__linux__)
#include <pthread.h>
#endif

namespace velm {

StackRoom StackRoom::of_this_thread() {
    // On the main thread the system reads a file to answer, so the answer is kept. No destructor:
    // it may be asked for at any time in a thread's life.
    static constinit thread_local StackRoom room;
    static constinit thread_local bool asked = false;
    if (asked) return room;
    asked = true;
#if defined(__linux__)
    pthread_attr_t attributes;
    if (pthread_getattr_np(pthread_self(), &attributes) != 0) return room;
    void* lowest = nullptr;
    std::size_t size = 0;
    if (pthread_attr_getstack(&attributes, &lowest, &size) == 0) {
        room.lowest_ = reinterpret_cast<std::uintptr_t>(lowest);
        room.size_ = size;
    }
    pthread_attr_destroy(&attributes);
#endif
    return room;
}

bool StackRoom::is_in_use(const void* address) {
    // Stacks grow down. Without a limit of the stack, the memory below this frame may be anything.
    return std::less_equal<>()(__builtin_frame_address(0), address) &&
           of_this_thread().holds(address);
}

bool StackRoom::has_room_at(std::size_t depth) const {
    // The frame's own address: under AddressSanitizer a local variable may be somewhere else.
    const void* const here = __builtin_frame_address(0);
    if (!holds(here)) return depth < most_levels_unknown;
    const std::size_t kept_back = std::min(size_ / 4, most_kept_back);
    return reinterpret_cast<std::uintptr_t>(here) - lowest_ > kept_back;
}

} // namespace velm
