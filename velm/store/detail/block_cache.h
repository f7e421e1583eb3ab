// velm::detail::BlockCache: the nodes of a file's trees and free list that were read or written
// last.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace velm::detail {

/// Holds blocks by their offset, up to a number of bytes; a full cache gives up blocks that have
/// not been asked for since it last went round (the clock of Corbato, 1968). The blocks are in
/// one table with linear probing, so that a look costs two misses of the processor's cache: the
/// place and the bytes.
class BlockCache {
public:
    static constexpr std::size_t capacity = std::size_t{64} << 20;

    /// The bytes of a block of that size, good until the next change; null where it isn't here.
    const char* look(long offset, std::size_t size) { return edit(offset, size); }
    /// The same, to be changed.
    char* edit(long offset, std::size_t size) {
        Block* const block = find(offset);
        if (block == nullptr || block->size != size) return nullptr;
        block->asked_for = 1;
        return block->bytes.get();
    }
    void put(long offset, const void* source, std::size_t size);
    /// The same with bytes that are taken over.
    void take(long offset, std::unique_ptr<char[]> bytes, std::size_t size);
    void erase(long offset);
    void clear();
    unsigned long times_cleared() const { return cleared_; }

private:
    struct Block {
        std::int32_t offset = none;
        std::uint32_t size : 31 = 0;
        std::uint32_t asked_for : 1 = 0;
        std::unique_ptr<char[]> bytes;
    };
    static constexpr std::int32_t none = -1;

    std::size_t home(long offset) const {
        return static_cast<std::size_t>(offset >> 2) * 0x9E3779B97F4A7C15u >> shift_;
    }
    std::size_t after(std::size_t place) const { return (place + 1) & (table_.size() - 1); }
    /// The place of a block, or the free one where it would be.
    std::size_t place_of(long offset) const {
        std::size_t place = home(offset);
        while (table_[place].offset != none && table_[place].offset != offset)
            place = after(place);
        return place;
    }
    Block* find(long offset) {
        if (blocks_ == 0 || offset < 0 || offset > INT32_MAX) return nullptr;
        Block& block = table_[place_of(offset)];
        return block.offset == offset ? &block : nullptr;
    }
    /// The place of a block of that size, without bytes where it is new; null where it isn't kept.
    Block* room_for(long offset, std::size_t size);
    void erase_at(std::size_t place);
    void make_room(std::size_t size);
    void grow();

    std::vector<Block> table_; // a power of two, at most half full
    int shift_ = 64;
    std::size_t blocks_ = 0;
    std::size_t held_ = 0;
    std::size_t hand_ = 0;
    unsigned long cleared_ = 0;
};

} // namespace velm::detail
