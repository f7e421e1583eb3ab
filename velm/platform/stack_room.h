// velm::StackRoom: how much stack the calling thread has left, for recursion over data.
#pragma once

#include "velm/export.h"

#include <cstddef>
#include <cstdint>

namespace velm {

/// The calling thread's stack, asked of the system once per thread.
class VELM_API StackRoom {
public:
    static StackRoom of_this_thread();

    /// Whether the address is in the calling thread's stack, in the frames that are in use.
    static bool is_in_use(const void* address);

    /// Whether the address is in the stack. False for every address if the system doesn't know the
    /// stack, and for one in the stack of a coroutine that the host has made itself.
    bool holds(const void* address) const {
        return reinterpret_cast<std::uintptr_t>(address) - lowest_ < size_;
    }

    /// Whether a recursion may go one level deeper. A quarter of the stack, at most 256 KiB, is
    /// reserved for the calls of the last level and for unwinding: file operations take less than
    /// 16 KiB, the unwinder less than 8. On a stack that the system doesn't know the levels are
    /// counted: 512, which fit 512 KiB as long as a level takes less than 1 KiB.
    bool has_room_at(std::size_t depth) const;

private:
    static constexpr std::size_t most_kept_back = std::size_t{256} << 10;
    static constexpr std::size_t most_levels_unknown = 512;

    std::uintptr_t lowest_ = 0;
    std::size_t size_ = 0; // 0: not known
};

} // namespace velm
