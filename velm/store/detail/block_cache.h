// velm::detail::BlockCache: the nodes of a file's trees and free list that were read or written
// last.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

namespace velm::detail {

/// Holds blocks by their offset, up to a number of bytes; a full cache gives up blocks that have
/// not been asked for since it last went round (the clock of Corbato, 1968).
class BlockCache {
public:
    static constexpr std::size_t capacity = std::size_t{64} << 20;

    /// Copies a block of that size out; false where it isn't here.
    bool get(long offset, void* target, std::size_t size);
    /// Copies a block of any size up to a capacity out; 0 where there is none.
    std::size_t get_any(long offset, void* target, std::size_t most);
    void put(long offset, const void* source, std::size_t size);
    void erase(long offset);
    void clear();

private:
    struct Block {
        long offset = -1;
        std::size_t size = 0;
        bool asked_for = false;
        std::unique_ptr<char[]> bytes;
    };
    void free_slot(std::uint32_t slot);
    void make_room(std::size_t size);

    std::vector<Block> blocks_;
    std::vector<std::uint32_t> free_;
    std::unordered_map<long, std::uint32_t> places_;
    std::size_t held_ = 0;
    std::size_t hand_ = 0;
};

} // namespace velm::detail
